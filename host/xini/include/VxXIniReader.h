#pragma once
// The settings reader: reads a settings file (YAML) into memory and lets a loader walk its tree.
//
// The reader always stands in one section, at first the root section of the document. A loader
// finds entries of the current section by name (positions), reads their values, and enters and
// leaves subsections. Suffixes: S - the key or section is given by name; F - the entry is given by
// a position; E - a missing or bad entry throws TVxXIniReadError. Every error message names the
// source, the line and column, and the key path (see VxXIniTypes.h).
//
// Values are converted strictly: an int or unsigned long is a plain decimal integer in range
// ("3.5", "1e20" or "-1" for unsigned long are errors), a double is a plain YAML number or one of
// .nan, .inf, -.inf; a quoted text is never a number. A text read as std::string is the value as
// written; an empty value (key with nothing after it, ~ or null) reads as the empty text.
// Parsing never depends on the process locale.
//
// Key names are compared exactly: case and underscores matter.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "VxXIniTypes.h"
#include "VxXIni_export.h"

class VXXINI_EXPORT TVxXIniReader {
 public:
  // Parses a settings text. `sourceName` heads every error message. Throws TVxXIniReadError for
  // bad syntax, several documents, anchors, aliases, tags, a repeated key in one mapping, a key
  // that is not a text, a root that is a single value, nesting deeper than kVxXIniMaxDepth, a text
  // longer than kVxXIniMaxTextSize or more than kVxXIniMaxEntries entries. An empty text (or one
  // of only comments) gives an empty root section.
  static std::unique_ptr<TVxXIniReader> FromText(std::string_view text,
                                                 std::string sourceName = "<text>");
  // Reads and parses a file; the path is the source name. Throws TVxXIniReadError as FromText,
  // and when the file cannot be read.
  static std::unique_ptr<TVxXIniReader> FromFile(const std::string& path);

  TVxXIniReader(const TVxXIniReader&) = delete;
  TVxXIniReader& operator=(const TVxXIniReader&) = delete;

  // --- Finding entries of the current section ---

  // Position of the first entry named `name` at or after position `from`, or kVxXIniNotFound.
  // An empty name finds the first unnamed entry.
  TVxXIniPosition FindF(const char* name, TVxXIniPosition from);
  TVxXIniPosition FindF(const std::string& name, TVxXIniPosition from);
  // As FindF; throws "missing key" if there is no such entry.
  TVxXIniPosition FindFE(const char* name, TVxXIniPosition from);
  TVxXIniPosition FindFE(const std::string& name, TVxXIniPosition from);

  // --- Reading values; T is int, double, unsigned long or std::string ---

  // The value at `position` converted to T, or `defaultValue` if there is no entry at that
  // position (kVxXIniNotFound included). A present entry that is a section or does not convert
  // throws: an optional key may be absent, not wrong.
  template <class T>
  T Read(TVxXIniPosition position, const T& defaultValue) {
    static_assert(kVxXIniUnsupported<T>, "Read<T>: T is int, double, unsigned long or std::string");
    static_cast<void>(position);
    return defaultValue;
  }
  // The value at `position` converted to T; throws if there is no entry there, if it is a section
  // or if the value does not convert.
  template <class T>
  T ReadE(TVxXIniPosition position) {
    static_assert(kVxXIniUnsupported<T>,
                  "ReadE<T>: T is int, double, unsigned long or std::string");
    return Read<T>(position, T());
  }
  // Read<T>(FindF(name, 0), defaultValue). Defined by VxCameraUtils for std::string, for its own
  // use only (not exported).
  template <class T>
  VXXINI_NO_EXPORT T ReadS(const char* name, T defaultValue);

  // The (possibly multi-line) text stored under `name`, or `defaultValue` if there is none; throws
  // if the entry is a section.
  std::string ReadLongStringS(const char* name, const std::string& defaultValue);
  // The text stored under `name`; throws if there is none or if it is a section.
  std::string ReadLongStringSE(const char* name);

  // Throws "invalid value '<value>'" for the key `name` of the current section, located at the
  // value (or at the section if there is no such key). For values that were read but are not
  // acceptable, such as an unknown enumeration word. Never returns.
  [[noreturn]] void throw_error_valueS(const char* name);
  // Throws `problem` located at the entry at `position` of the current section (at the section
  // if there is no such entry), for content that is readable but refused, such as a list longer
  // than its reader accepts. Never returns.
  [[noreturn]] void ThrowAtEntry(TVxXIniPosition position, const std::string& problem) const;

  // --- Sections ---

  // Enters the subsection named `name` of the current section; kVxXIniNoSection if there is none
  // (or the entry is a value).
  TVxXIniSectionHandle EnterSectionS(const char* name);
  // As EnterSectionS; throws if there is no such subsection.
  TVxXIniSectionHandle EnterSectionSE(const char* name);

  // True if the current section has an entry at `position` (positions count from 0).
  virtual bool HasEntry(TVxXIniPosition position);
  // Enters the subsection at `position`; kVxXIniNoSection if there is none (or it is a value).
  virtual TVxXIniSectionHandle EnterSectionF(TVxXIniPosition position);
  // As EnterSectionF; throws if there is no entry there or it is a value.
  virtual TVxXIniSectionHandle EnterSectionFE(TVxXIniPosition position);
  // Returns to the section that was current before the section of `handle` was entered, leaving
  // any sections entered after it as well. Does nothing for a handle that is not open (0, one
  // already left). Accepts handles of every enter operation.
  virtual void LeaveSection(TVxXIniSectionHandle handle);
  // As LeaveSection; throws for a handle that is not open.
  virtual void LeaveSectionE(TVxXIniSectionHandle handle);

  virtual ~TVxXIniReader();

  // --- Looking at entries without reading them (tools, tests) ---

  // The name of the entry at `position` (empty for list elements); throws if there is none.
  std::string NameAt(TVxXIniPosition position) const;
  // True if the entry at `position` is a subsection; throws if there is none.
  bool IsSectionAt(TVxXIniPosition position) const;
  // The slash-separated key path of the current section ("" in the root section).
  std::string CurrentPath() const;

#if defined(VX_TEST_HOOKS)
  // --- Failure injection (tests of loaders; only in builds with the tests) ---
  //
  // Every operation above from FindF to LeaveSectionE counts as one operation (ReadS as two: its
  // FindF and its Read). After FailAtOperation(n), the operation that is the n-th since the reader
  // was made throws TVxXIniReadError ("injected failure") instead of doing its work, whether it is
  // a throwing operation or not; 0 switches injection off. To fail a loader at every step: load
  // once, take OperationCount(), then for n = 1 .. that count load from a fresh reader with
  // FailAtOperation(n).
  void FailAtOperation(std::uint64_t n);
  // The number of operations counted so far.
  std::uint64_t OperationCount() const;
#endif

 private:
  struct VXXINI_NO_EXPORT Impl;
  explicit TVxXIniReader(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

template <>
int TVxXIniReader::Read<int>(TVxXIniPosition position, const int& defaultValue);
template <>
double TVxXIniReader::Read<double>(TVxXIniPosition position, const double& defaultValue);
template <>
unsigned long TVxXIniReader::Read<unsigned long>(TVxXIniPosition position,
                                                 const unsigned long& defaultValue);
template <>
std::string TVxXIniReader::Read<std::string>(TVxXIniPosition position,
                                             const std::string& defaultValue);
template <>
int TVxXIniReader::ReadE<int>(TVxXIniPosition position);
template <>
double TVxXIniReader::ReadE<double>(TVxXIniPosition position);
template <>
unsigned long TVxXIniReader::ReadE<unsigned long>(TVxXIniPosition position);
template <>
std::string TVxXIniReader::ReadE<std::string>(TVxXIniPosition position);
template <>
std::string TVxXIniReader::ReadS<std::string>(const char* name, std::string defaultValue);
