// Feeds arbitrary bytes to the settings reader and walks every entry. Whatever reads must also
// write: the tree is written again, read back and written once more, and the two texts must agree
// (the writer lays out distinct trees as distinct texts, so this checks the read-back entry for
// entry).

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "VxXIni.h"

namespace {

// Copies the current section of `reader` into `writer`, trying every conversion on the way.
// False if the writer refuses the tree (a mapping that holds an empty key next to named ones).
bool Copy(TVxXIniReader& reader, TVxXIniWriter& writer) {
  for (TVxXIniPosition i = 0; reader.HasEntry(i); ++i) {
    const std::string name = reader.NameAt(i);
    if (!name.empty() && reader.FindF(name, 0) != i) {
      std::abort();  // keys are unique within a section
    }
    if (reader.IsSectionAt(i)) {
      const TVxXIniSectionHandle in = reader.EnterSectionFE(i);
      TVxXIniSectionHandle out = 0;
      try {
        out =
            name.size() % 2 == 1 ? writer.BeginSectionCompactSE(name) : writer.BeginSectionSE(name);
      } catch (const TVxXIniWriteError&) {
        return false;
      }
      if (!Copy(reader, writer)) {
        return false;
      }
      reader.LeaveSectionE(in);
      writer.EndSectionE(out);
      continue;
    }
    const std::string value = reader.ReadE<std::string>(i);
    try {
      (void)reader.ReadE<double>(i);
    } catch (const TVxXIniReadError&) {
    }
    try {
      (void)reader.ReadE<int>(i);
    } catch (const TVxXIniReadError&) {
    }
    try {
      (void)reader.Read<unsigned long>(i, 0);
    } catch (const TVxXIniReadError&) {
    }
    if (value.find('\n') != std::string::npos) {
      try {
        writer.WriteLongStringSE(name, value);
      } catch (const TVxXIniWriteError&) {
        return false;
      }
    } else if (!writer.WriteS(name, value)) {
      return false;
    }
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::unique_ptr<TVxXIniReader> reader;
  try {
    reader = TVxXIniReader::FromText(text, "fuzz.yaml");
  } catch (const TVxXIniReadError&) {
    return 0;
  }
  TVxXIniWriter first;
  if (!Copy(*reader, first)) {
    return 0;
  }
  const std::string written = first.ToText();
  std::unique_ptr<TVxXIniReader> again;
  try {
    again = TVxXIniReader::FromText(written, "written.yaml");
  } catch (const TVxXIniReadError&) {
    std::abort();  // the writer made a text that does not read
  }
  TVxXIniWriter second;
  if (!Copy(*again, second) || second.ToText() != written) {
    std::abort();  // what was written did not read back as it was
  }
  return 0;
}
