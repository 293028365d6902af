#pragma once
// The settings operations that the library defines on top of the settings reader, for its own
// loaders (not exported):
//   - TVxXIniReader::ReadS<std::string>(name, default): Read<std::string>(FindF(name, 0), default);
//   - vec_t_<double,2>::LoadS(reader, name): the point stored as a subsection `name`; false and
//     the point unchanged if there is none; a missing coordinate becomes 0.0;
//   - vec_t_<double,2>::LoadS(reader, name, default): the point starts as the default; false if
//     there is no such subsection; a missing coordinate keeps the default's coordinate.
// None of them throws for missing entries; the reader's own errors (a coordinate that is not a
// number, an injected failure) pass through.

#include "VxVec.h"
#include "VxXIni.h"
