// File texts of the interior-orientation enumerations.

#include "VxIntOrMeas.h"
#include "internal/VxEnumText.h"

namespace {

const TEnumToTextTableItem<TResolutionUnits> ResolutionUnitsTable[] = {
    {TResolutionUnits::Mm, "mm"},
    {TResolutionUnits::Dpi, "dpi"},
    {static_cast<TResolutionUnits>(0), nullptr},
};

const TEnumToTextTableItem<TCamRotate> CamRotateTable[] = {
    {TCamRotate::Rotate0, "0"},
    {TCamRotate::Rotate90, "90"},
    {TCamRotate::Rotate180, "180"},
    {TCamRotate::Rotate270, "270"},
    {static_cast<TCamRotate>(0), nullptr},
};

const TEnumToTextTableItem<TTransformType> TransformTypeTable[] = {
    {TTransformType::Similarity, "Similarity"},
    {TTransformType::Affine, "Affine"},
    {TTransformType::Projective, "Projective"},
    {static_cast<TTransformType>(0), nullptr},
};

}  // namespace

std::string ResolutionUnitsToTextE(TResolutionUnits value, const char* context) {
  return EnumToTextE_do(value, ResolutionUnitsTable, context);
}
TResolutionUnits TextToResolutionUnits(const std::string& text) {
  return TextToEnum_do<TResolutionUnits>(text, ResolutionUnitsTable);
}
TResolutionUnits TextToResolutionUnitsE(const std::string& text) {
  return TextToEnumE_do<TResolutionUnits>(text, ResolutionUnitsTable, nullptr);
}

std::string CamRotateToTextE(TCamRotate value, const char* context) {
  return EnumToTextE_do(value, CamRotateTable, context);
}
TCamRotate TextToCamRotate(const std::string& text) {
  return TextToEnum_do<TCamRotate>(text, CamRotateTable);
}
TCamRotate TextToCamRotateE(const std::string& text) {
  return TextToEnumE_do<TCamRotate>(text, CamRotateTable, nullptr);
}

std::string TransformTypeToTextE(TTransformType value, const char* context) {
  return EnumToTextE_do(value, TransformTypeTable, context);
}
TTransformType TextToTransformType(const std::string& text) {
  return TextToEnum_do<TTransformType>(text, TransformTypeTable);
}
TTransformType TextToTransformTypeE(const std::string& text) {
  return TextToEnumE_do<TTransformType>(text, TransformTypeTable, nullptr);
}
