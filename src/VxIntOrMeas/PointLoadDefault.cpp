// Settings operation of the interior-orientation side: the point loader with a default.

#include "internal/VxSettingsIO.h"

bool vec_t_<double, 2>::LoadS(TVxXIniReader* reader, const std::string& name,
                              const vec_t_& defaultPoint) {
  *this = defaultPoint;
  const TVxXIniSectionHandle handle = reader->EnterSectionF(reader->FindF(name, 0));
  if (handle == kVxXIniNoSection) {
    return false;
  }
  x = reader->Read<double>(reader->FindF(vx::s_x, 0), x);
  y = reader->Read<double>(reader->FindF(vx::s_y, 0), y);
  reader->LeaveSection(handle);
  return true;
}
