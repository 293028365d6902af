// Settings operations of the camera side: the point loader without default, and the text read
// with a default that every loader of the library uses.

#include "internal/VxSettingsIO.h"

// The default is taken by value, as the reader's declaration has it.
template <>
std::string TVxXIniReader::ReadS<std::string>(
    const char* name, std::string defaultValue) {  // NOLINT(performance-unnecessary-value-param)
  return Read<std::string>(FindF(name, 0), defaultValue);
}

bool vec_t_<double, 2>::LoadS(TVxXIniReader* reader, const std::string& name) {
  const TVxXIniSectionHandle handle = reader->EnterSectionF(reader->FindF(name, 0));
  if (handle == kVxXIniNoSection) {
    return false;
  }
  const double newX = reader->Read<double>(reader->FindF(vx::s_x, 0), 0.0);
  const double newY = reader->Read<double>(reader->FindF(vx::s_y, 0), 0.0);
  reader->LeaveSection(handle);
  x = newX;
  y = newY;
  return true;
}
