// Localised names of camera types, distortion models, directions and units.

#include "VxCameraInfo.h"
#include "internal/VxUserText.h"

namespace {

const TUserTextKey kCameraTypeKeys[] = {
    {1, "global.TEXT_CI_TYPE_PPONLY"},     {2, "global.TEXT_CI_TYPE_CROSS"},
    {3, "global.TEXT_CI_TYPE_CALIBRATED"}, {4, "global.TEXT_CI_TYPE_FIDUCIAL"},
    {5, "global.TEXT_CI_TYPE_DIGITAL"},
};

// The key of Directed4X says "4CROSS"; the keys are the resource files' names, not ours.
const TUserTextKey kDistortionTypeKeys[] = {
    {1, "global.TEXT_CI_DISTORT_NONE"},   {2, "global.TEXT_CI_DISTORT_FORMULA"},
    {3, "global.TEXT_CI_DISTORT_RADIAL"}, {4, "global.TEXT_CI_DISTORT_4PLUS"},
    {5, "global.TEXT_CI_DISTORT_4CROSS"}, {6, "global.TEXT_CI_DISTORT_8DIRECT"},
    {7, "global.TEXT_CI_DISTORT_MIXED"},  {8, "global.TEXT_CI_DISTORT_POLYNOMIAL"},
};

const TUserTextKey kDirectionKeys[] = {
    {0, "global.TEXT_DD_CamToMm"},
    {1, "global.TEXT_DD_MmToCam"},
};

}  // namespace

std::string CameraTypeToUserText(TCameraType value) {
  return UserTextOf(static_cast<std::int64_t>(value), kCameraTypeKeys);
}

std::string DistortionTypeToUserText(TDistortionType value) {
  return UserTextOf(static_cast<std::int64_t>(value), kDistortionTypeKeys);
}

std::string TVxCameraDistortion::DirectionToUserText(TDirection value) {
  return UserTextOf(static_cast<std::int64_t>(value), kDirectionKeys);
}

std::string UnitsPixUserTextAbbr() {
  return UserTextOfKey("global.TEXT_CI_UNITS_PIXEL");
}

std::string UnitsCamMmUserTextAbbr() {
  return UserTextOfKey("global.TEXT_CI_UNITS_MM");
}

std::string UnitsCamMkmUserTextAbbr() {
  return UserTextOfKey("global.TEXT_CI_UNITS_MKM");
}
