#pragma once
// The settings writer: builds a settings tree in memory and lays it out as a YAML text.
//
// A new writer writes into the root section. A saver adds keys with their values to the current
// section and begins and ends subsections. Layout of the text:
//   - a section whose entries all carry names is a block mapping ("key: value", two spaces of
//     indentation per level); one whose entries are all unnamed is a block list ("- value");
//     an empty section is written {};
//   - a compact section is written in flow style on one line: principal_point: {x: 0.25, y: -0.5}
//     (a compact list: [1, 2]); everything inside a compact section is compact too;
//   - a long text with line ends is a literal block scalar (|, |- or |+ as its final line ends
//   ask);
//   - numbers are written in the shortest form that reads back bit for bit (0.1, -0, 5e-324,
//     1e+20); NaN and the infinities as .nan, .inf and -.inf; texts that could be taken for a
//     number, a truth value or nothing, or that hold special characters, are double-quoted.
// Formatting never depends on the process locale.
//
// A section that would mix named and unnamed entries, or repeat a key, is refused when the entry
// is added (WriteS returns false, the ...SE operations throw TVxXIniWriteError), so that every text
// the writer makes reads back entry for entry.

#include <cstdint>
#include <memory>
#include <string>

#include "VxXIniTypes.h"
#include "VxXIni_export.h"

class VXXINI_EXPORT TVxXIniWriter {
 public:
  TVxXIniWriter();
  TVxXIniWriter(const TVxXIniWriter&) = delete;
  TVxXIniWriter& operator=(const TVxXIniWriter&) = delete;

  // Opens a subsection named `name` (empty for a list element) in the current section and makes it
  // current. Throws if the name does not fit the section (see above) or if nesting would exceed
  // kVxXIniMaxDepth.
  TVxXIniSectionHandle BeginSectionSE(const std::string& name);
  // The same, laid out compactly (flow style, one line).
  TVxXIniSectionHandle BeginSectionCompactSE(const std::string& name);

  // Adds the key `name` (empty for a list element) with its value to the current section; T is
  // int, double, unsigned long or std::string. False if the entry cannot be added; the reason is
  // kept for ThrowWriteError.
  template <class T>
  bool WriteS(const std::string& name, const T& value) {
    static_assert(kVxXIniUnsupported<T>,
                  "WriteS<T>: T is int, double, unsigned long or std::string");
    static_cast<void>(name);
    static_cast<void>(value);
    return false;
  }

  // Adds a long (multi-line) text under `name`; throws where WriteS would return false.
  void WriteLongStringSE(const std::string& name, const std::string& value);

  // Closes the subsection begun with `handle` and makes its parent current. Throws if `handle` is
  // not the current section's handle.
  virtual void EndSectionE(TVxXIniSectionHandle handle);
  // Throws the failure of the last WriteS that returned false as TVxXIniWriteError. Never returns.
  [[noreturn]] virtual void ThrowWriteError();

  virtual ~TVxXIniWriter();

  // The settings text of everything written so far, sections not yet ended included.
  std::string ToText() const;
  // Saves ToText() to `path` atomically with VxSaveFileAtomically (VxAtomicFile.h): the text goes
  // to a new temporary file in the target's folder, is flushed to disk and renamed over the
  // target, which keeps its permissions. A symbolic link is written through to the file it names
  // and stays a link; a read-only file and anything that is not a regular file are refused. On
  // any failure the temporary file is removed, an existing target is left byte for byte as it
  // was, and TVxXIniWriteError names the path and the reason.
  void SaveFile(const std::string& path) const;

#if defined(VX_TEST_HOOKS)
  // --- Failure injection (tests of savers; only in builds with the tests) ---
  //
  // Every BeginSectionSE, BeginSectionCompactSE, WriteS, WriteLongStringSE and EndSectionE counts
  // as one operation. After FailAtOperation(n), the operation that is the n-th since the writer
  // was made fails ("injected failure") without doing its work: WriteS returns false, the others
  // throw TVxXIniWriteError. 0 switches injection off. To fail a saver at every step: save once,
  // take OperationCount(), then for n = 1 .. that count save into a fresh writer with
  // FailAtOperation(n).
  void FailAtOperation(std::uint64_t n);
  // The number of operations counted so far.
  std::uint64_t OperationCount() const;
#endif

 private:
  struct VXXINI_NO_EXPORT Impl;
  std::unique_ptr<Impl> impl_;
};

template <>
bool TVxXIniWriter::WriteS<int>(const std::string& name, const int& value);
template <>
bool TVxXIniWriter::WriteS<double>(const std::string& name, const double& value);
template <>
bool TVxXIniWriter::WriteS<unsigned long>(const std::string& name, const unsigned long& value);
template <>
bool TVxXIniWriter::WriteS<std::string>(const std::string& name, const std::string& value);
