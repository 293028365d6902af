// File texts of the camera-side enumerations.

#include "VxCameraInfo.h"
#include "internal/VxEnumText.h"

namespace {

using TDirection = TVxCameraDistortion::TDirection;
using TOrigin = TVxCameraInfo::TDigitalCameraOrigin;

const TEnumToTextTableItem<TCameraType> CameraTypeTable[] = {
    {TCameraType::PrincipalPoint, "PrincipalPoint"},
    {TCameraType::Cross, "Cross"},
    {TCameraType::CalibratedCross, "CalibratedCross"},
    {TCameraType::Fiducials, "Fiducials"},
    {TCameraType::Digital, "Digital"},
    {static_cast<TCameraType>(0), nullptr},
};

// The one table whose values start at 0, so its end carries -1.
const TEnumToTextTableItem<TOrigin> DigitalCameraOriginTable[] = {
    {TOrigin::Center, "Center"},
    {TOrigin::LowerLeft, "LowerLeft"},
    {TOrigin::UpperLeft, "UpperLeft"},
    {static_cast<TOrigin>(-1), nullptr},
};

const TEnumToTextTableItem<TDistortionType> CameraDistortionTypeTable[] = {
    {TDistortionType::None, "None"},
    {TDistortionType::Formula, "Formula"},
    {TDistortionType::Radial, "Radial"},
    {TDistortionType::Directed4Plus, "Directed4+"},
    {TDistortionType::Directed4X, "Directed4X"},
    {TDistortionType::Directed8, "Directed8"},
    {TDistortionType::Mixed, "Mixed"},
    {TDistortionType::Polynomial, "Polynomial"},
    {static_cast<TDistortionType>(0), nullptr},
};

// The end keeps 0, which is CamToMm: an unknown direction read leniently becomes CamToMm.
const TEnumToTextTableItem<TDirection> CameraDistortionDirectionTable[] = {
    {TDirection::CamToMm, "CamToMm"},
    {TDirection::MmToCam, "MmToCam"},
    {TDirection::CamToMm, nullptr},
};

}  // namespace

std::string CameraTypeToTextE(TCameraType value, const char* context) {
  return EnumToTextE_do(value, CameraTypeTable, context);
}
TCameraType TextToCameraType(const std::string& text) {
  return TextToEnum_do<TCameraType>(text, CameraTypeTable);
}
TCameraType TextToCameraTypeE(const std::string& text) {
  return TextToEnumE_do<TCameraType>(text, CameraTypeTable, nullptr);
}

std::string DigitalCameraOriginToTextE(TOrigin value, const char* context) {
  return EnumToTextE_do(value, DigitalCameraOriginTable, context);
}
TOrigin TextToDigitalCameraOrigin(const std::string& text) {
  return TextToEnum_do<TOrigin>(text, DigitalCameraOriginTable);
}
TOrigin TextToDigitalCameraOriginE(const std::string& text) {
  return TextToEnumE_do<TOrigin>(text, DigitalCameraOriginTable, nullptr);
}

std::string DistortionTypeToTextE(TDistortionType value, const char* context) {
  return EnumToTextE_do(value, CameraDistortionTypeTable, context);
}
TDistortionType TextToDistortionType(const std::string& text) {
  return TextToEnum_do<TDistortionType>(text, CameraDistortionTypeTable);
}
TDistortionType TextToDistortionTypeE(const std::string& text) {
  return TextToEnumE_do<TDistortionType>(text, CameraDistortionTypeTable, nullptr);
}

std::string TVxCameraDistortion::DirectionToTextE(TDirection value, const char* context) {
  return EnumToTextE_do(value, CameraDistortionDirectionTable, context);
}
TDirection TVxCameraDistortion::TextToDirection(const std::string& text) {
  return TextToEnum_do<TDirection>(text, CameraDistortionDirectionTable);
}
TDirection TVxCameraDistortion::TextToDirectionE(const std::string& text) {
  return TextToEnumE_do<TDirection>(text, CameraDistortionDirectionTable, nullptr);
}
