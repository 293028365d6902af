#pragma once
// Records to settings texts and back, for tests.

#include <memory>
#include <string>
#include <vector>

#include "VxXIni.h"

namespace vx_test {

// The text that the record's SaveE writes into the root section of a new writer.
template <class TRecord>
std::string SavedText(const TRecord& record) {
  TVxXIniWriter writer;
  record.SaveE(&writer);
  return writer.ToText();
}

// A record loaded with LoadE from the root section of a text, starting from `start`.
template <class TRecord>
TRecord LoadedFrom(const std::string& text, TRecord start = TRecord()) {
  const auto reader = TVxXIniReader::FromText(text);
  start.LoadE(reader.get());
  return start;
}

// The record read back from the text that its own SaveE wrote.
template <class TRecord>
TRecord RoundTrip(const TRecord& record) {
  return LoadedFrom<TRecord>(SavedText(record));
}

// The names of the entries of a section of `text`, reached from the root through `path`.
inline std::vector<std::string> KeysOf(const std::string& text,
                                       std::initializer_list<const char*> path = {}) {
  const auto reader = TVxXIniReader::FromText(text);
  for (const char* name : path) reader->EnterSectionSE(name);
  std::vector<std::string> keys;
  for (TVxXIniPosition i = 0; reader->HasEntry(i); ++i) keys.push_back(reader->NameAt(i));
  return keys;
}

// True if `text` holds `line` as one of its lines.
inline bool HasLine(const std::string& text, const std::string& line) {
  std::size_t start = 0;
  while (start <= text.size()) {
    const auto end = text.find('\n', start);
    if (text.compare(start, end == std::string::npos ? std::string::npos : end - start, line) ==
        0) {
      return true;
    }
    if (end == std::string::npos) break;
    start = end + 1;
  }
  return false;
}

}  // namespace vx_test
