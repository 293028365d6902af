#pragma once
// The settings operations of the library's own loaders and savers. Private to the library.
//
// Defined on top of the settings reader (in PointLoad.cpp and PointLoadDefault.cpp):
//   - TVxXIniReader::ReadS<std::string>(name, default): Read<std::string>(FindF(name, 0), default);
//   - vec_t_<double,2>::LoadS(reader, name): the point stored as a subsection `name`; false and
//     the point unchanged if there is none; a missing coordinate becomes 0.0;
//   - vec_t_<double,2>::LoadS(reader, name, default): the point starts as the default; false if
//     there is no such subsection; a missing coordinate keeps the default's coordinate.
// None of them throws for missing entries; the reader's own errors pass through.
//
// Below: the patterns every record's SaveE and LoadE repeat, a checked key write, a point
// written as a compact section, a required point read back.

#include <cstdint>
#include <string>

#include "VxCameraInfo.h"
#include "VxXIni.h"

// Writes one key; a refused write is reported through the writer's own error at once.
template <class T>
void WriteChecked(TVxXIniWriter* writer, const std::string& key, const T& value) {
  if (!writer->WriteS<T>(key, value)) writer->ThrowWriteError();
}

// A point as a compact section {x, y}.
inline void WritePoint(TVxXIniWriter* writer, const std::string& key,
                       const vec_t_<double, 2>& point) {
  const TVxXIniSectionHandle section = writer->BeginSectionCompactSE(key);
  WriteChecked<double>(writer, vx::s_x, point.x);
  WriteChecked<double>(writer, vx::s_y, point.y);
  writer->EndSectionE(section);
}

// A pair of unsigned numbers as a compact section {x, y}.
inline void WriteSize(TVxXIniWriter* writer, const std::string& key, const TVxSize2& size) {
  const TVxXIniSectionHandle section = writer->BeginSectionCompactSE(key);
  WriteChecked<unsigned long>(writer, vx::s_x, size.x);
  WriteChecked<unsigned long>(writer, vx::s_y, size.y);
  writer->EndSectionE(section);
}

// A required value of the current section.
template <class T>
T ReadRequired(TVxXIniReader* reader, const char* key) {
  return reader->ReadE<T>(reader->FindFE(key, 0));
}

// An optional value of the current section, or its default.
template <class T>
T ReadOptional(TVxXIniReader* reader, const char* key, const T& defaultValue) {
  return reader->Read<T>(reader->FindF(key, 0), defaultValue);
}

// The x and y of the section at `position`, both required.
template <class T, class TPoint>
TPoint ReadPairAt(TVxXIniReader* reader, TVxXIniPosition position) {
  const TVxXIniSectionHandle section = reader->EnterSectionFE(position);
  TPoint point;
  point.x = reader->ReadE<T>(reader->FindFE(vx::s_x, 0));
  point.y = reader->ReadE<T>(reader->FindFE(vx::s_y, 0));
  reader->LeaveSectionE(section);
  return point;
}

// A required point of the current section.
inline vec_t_<double, 2> ReadPointE(TVxXIniReader* reader, const char* key) {
  return ReadPairAt<double, vec_t_<double, 2>>(reader, reader->FindFE(key, 0));
}

// A required pair of unsigned numbers of the current section.
inline TVxSize2 ReadSizeE(TVxXIniReader* reader, const char* key) {
  return ReadPairAt<unsigned long, TVxSize2>(reader, reader->FindFE(key, 0));
}

// The most rows a table and the most marks a list may hold. Calibration tables have a few dozen
// rows and reseau cameras a few hundred marks; the bound keeps what a hostile file can make the
// geometry and the checks do in proportion to what a camera needs.
inline constexpr TVxXIniPosition kVxMaxListEntries = 10000;

// Reads the elements of the current list section in order: for each entry, whatever its name,
// enters it, lets `readElement` read it, and leaves it. A list of more than kVxMaxListEntries
// entries is refused at its first surplus entry, before any element is read.
template <class F>
void ForEachListEntry(TVxXIniReader* reader, F readElement) {
  if (reader->HasEntry(kVxMaxListEntries)) {
    reader->ThrowAtEntry(kVxMaxListEntries, "the list has more than " +
                                                std::to_string(kVxMaxListEntries) +
                                                " entries, more than any camera needs");
  }
  for (TVxXIniPosition i = 0; reader->HasEntry(i); ++i) {
    const TVxXIniSectionHandle element = reader->EnterSectionFE(i);
    readElement();
    reader->LeaveSectionE(element);
  }
}
