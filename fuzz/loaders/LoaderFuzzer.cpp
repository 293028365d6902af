// Fuzzes one strict or tolerant loader of the library through the settings reader. The oracle:
// whatever loads can be saved, and what was saved loads back to a record that saves to the same
// text (text, not operator==, so that NaN values compare).
//
// Built once per loader with VX_FUZZ_LOADER set to one of the values below.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>

#include "VxCameraInfo.h"
#include "VxIntOrMeas.h"
#include "VxXIni.h"

#define VX_CAMERA_LOADE 1
#define VX_CAMERA_LOAD 2
#define VX_DISTORTION_LOADE 3
#define VX_TEMPLATES_LOADE 4
#define VX_INTORMEAS_LOADE 5

namespace {

#if VX_FUZZ_LOADER == VX_CAMERA_LOADE || VX_FUZZ_LOADER == VX_CAMERA_LOAD
using TRecord = TVxCameraInfo;
#elif VX_FUZZ_LOADER == VX_DISTORTION_LOADE
using TRecord = TVxCameraDistortion;
#elif VX_FUZZ_LOADER == VX_TEMPLATES_LOADE
using TRecord = TCameraMarkTemplates;
#else
using TRecord = TVxIntOrMeas;
#endif

void Load(TVxXIniReader* reader, TRecord* record) {
#if VX_FUZZ_LOADER == VX_CAMERA_LOAD
  record->Load(reader);
#else
  record->LoadE(reader);
#endif
}

// The mark templates are written under other key names than they are read under, so their
// saved text cannot be loaded again; it is only checked to be writable.
constexpr bool kReloadable = VX_FUZZ_LOADER != VX_TEMPLATES_LOADE;

std::string Saved(const TRecord& record) {
  TVxXIniWriter writer;
  record.SaveE(&writer);
  return writer.ToText();
}

[[noreturn]] void Fail(const char* what, const std::string& text) {
  std::cerr << "oracle failed: " << what << "\n--- text:\n" << text << "\n";
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  TRecord record;
  try {
    const auto reader =
        TVxXIniReader::FromText(std::string_view(reinterpret_cast<const char*>(data), size));
    Load(reader.get(), &record);
  } catch (const TVxXIniReadError&) {
    return 0;  // rejected with the reader's error: fine
  }
  const std::string first = Saved(record);
  if (!kReloadable) return 0;
  TRecord again;
  try {
    const auto reader = TVxXIniReader::FromText(first);
    Load(reader.get(), &again);
  } catch (const std::exception& e) {
    Fail(e.what(), first);
  }
  if (Saved(again) != first) Fail("saved text differs after a reload", first);
  return 0;
}
