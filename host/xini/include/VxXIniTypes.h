#pragma once
// What the settings reader and writer share: positions, section handles, the axis key names of a
// point, and the two exceptions.
//
// A settings file is a tree. A section holds an ordered list of entries; an entry has a name
// (possibly empty) and either a value (a number or a text) or a subsection. A section whose
// entries all carry names is a mapping of keys; a section whose entries are all unnamed is a list.

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "VxXIni_export.h"

// The place of an entry within the current section, counted from 0.
using TVxXIniPosition = std::uint64_t;
// Identifies an entered (reader) or begun (writer) section until it is left or ended.
using TVxXIniSectionHandle = std::uint64_t;

// The position that denotes "no such entry" (all bits set).
inline constexpr TVxXIniPosition kVxXIniNotFound = ~TVxXIniPosition{0};
// The handle that a non-throwing enter returns when there is no such section.
inline constexpr TVxXIniSectionHandle kVxXIniNoSection = 0;

// Sections nest at most this deep below the root section; deeper files are refused on reading and
// deeper sections on writing, so that every written file can be read again.
inline constexpr int kVxXIniMaxDepth = 64;
// A key is at most 1000 characters long as written in the text, quotes and escapes included (a
// longer one cannot stand in front of its value in YAML); the writer refuses longer keys.
inline constexpr std::size_t kVxXIniMaxKeyLength = 1000;
// A settings text is at most 64 MiB long.
inline constexpr std::uint64_t kVxXIniMaxTextSize = std::uint64_t{64} << 20;
// A settings text holds at most this many entries (about 2 million), which bounds the memory a
// hostile file can claim.
inline constexpr std::uint64_t kVxXIniMaxEntries = std::uint64_t{1} << 21;

// False for every type: makes the value operations of the reader and writer fail to compile,
// rather than to link, for a type they do not support.
template <class T>
inline constexpr bool kVxXIniUnsupported = false;

namespace vx {
// The key names of the coordinates of a point stored as a section: "x" and "y".
extern VXXINI_EXPORT const std::string s_x;
extern VXXINI_EXPORT const std::string s_y;
}  // namespace vx

// The reader's error: bad syntax, a missing or unreadable entry, a value that is not acceptable.
// what() reads "<source>:<line>:<column>: <key path>: <problem>", for example
//   camera.yaml:14:9: distortion/type: invalid value 'Fromula'
// Line and column are left out where the text has none (an empty file, a file that cannot be
// opened); the key path is left out for the root section. Elements of a list appear in the key
// path as [i], counted from 0: distortion/table_r/[2]/dr.
class VXXINI_EXPORT TVxXIniReadError : public std::runtime_error {
 public:
  TVxXIniReadError(const std::string& source, std::uint32_t line, std::uint32_t column,
                   const std::string& keyPath, const std::string& problem);

  // The file name given to the reader, or "<text>".
  const std::string& Source() const noexcept { return source_; }
  // 1-based line and column of the place in the text; 0 where the text has none.
  std::uint32_t Line() const noexcept { return line_; }
  std::uint32_t Column() const noexcept { return column_; }
  // Slash-separated names from the root section down to the entry concerned.
  const std::string& KeyPath() const noexcept { return keyPath_; }

 private:
  std::string source_;
  std::uint32_t line_;
  std::uint32_t column_;
  std::string keyPath_;
};

// The writer's error: a section that cannot be written as asked (a repeated key, named and
// unnamed entries mixed, nesting too deep, a handle that does not match) or a file that cannot be
// saved. what() names the section ("section 'distortion/table_r' ...") or the file.
class VXXINI_EXPORT TVxXIniWriteError : public std::runtime_error {
 public:
  explicit TVxXIniWriteError(const std::string& message);
};
