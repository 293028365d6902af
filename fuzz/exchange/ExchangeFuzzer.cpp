// Fuzzes the import of every exchange format. The first byte chooses the format, the rest is
// the file. The oracle: a file is imported or refused with TVxExchangeError, nothing else
// escapes; an imported camera is exported to its own format or refused the same way; an exact
// import exported exactly imports again to the same distortion.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>

#include "VxCameraUtils.h"
#include "VxExchange.h"

namespace {

[[noreturn]] void Fail(const char* what, const std::string& text) {
  std::cerr << "oracle failed: " << what << "\n--- file:\n" << text << "\n";
  std::abort();
}

void RoundTrip(const TVxImportResult& imported, TVxExchangeFormat format,
               const TVxExchangeOptions& options, const std::string& text) {
  TVxExportResult exported;
  try {
    exported = ExportCameraE(imported.camera, format, options);
  } catch (const TVxExchangeError&) {
    return;  // a camera beyond what can be mapped over its sensor
  }
  if (imported.report.fitted || exported.report.fitted) return;
  const TVxImportResult again = ImportCameraE(exported.content, format, options);
  if (!(again.camera.distortion == imported.camera.distortion))
    Fail("an exact import did not come back as the same distortion", text);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Init_VxCameraUtils();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const auto format = static_cast<TVxExchangeFormat>(data[0] % 6);
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  TVxExchangeOptions options;
  options.pixelSizeMm = 0.005;
  options.path = "fuzz";
  TVxImportResult imported;
  try {
    imported = ImportCameraE(text, format, options);
  } catch (const TVxExchangeError&) {
    return 0;
  }
  RoundTrip(imported, format, options, text);
  return 0;
}
