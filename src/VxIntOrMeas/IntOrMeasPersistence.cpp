// The interior orientation measurements in settings files.

#include <algorithm>
#include <utility>

#include "VxIntOrMeas.h"
#include "VxXIni.h"
#include "internal/VxSettingsIO.h"

namespace {

bool HasPoints(TCameraType type) {
  const auto value = static_cast<std::int32_t>(type);
  return value >= 1 && value <= 4;
}

bool HasScanResolution(TCameraType type) {
  return type == TCameraType::PrincipalPoint || type == TCameraType::Cross;
}

// The positions of the marks in ascending index; marks that share an index keep their order.
std::vector<std::size_t> MarksByIndex(const std::vector<TVxIntOrMeas::TMarkMeas>& marks) {
  std::vector<std::pair<std::int32_t, std::size_t>> order;
  for (std::size_t i = 0; i < marks.size(); ++i) order.emplace_back(marks[i].index, i);
  std::sort(order.begin(), order.end());
  std::vector<std::size_t> positions;
  for (const auto& entry : order) positions.push_back(entry.second);
  return positions;
}

void SavePoints(TVxXIniWriter* writer, const TVxIntOrMeas& meas) {
  const TVxXIniSectionHandle points = writer->BeginSectionSE("points");
  for (std::size_t position : MarksByIndex(meas.marks)) {
    const TVxIntOrMeas::TMarkMeas& mark = meas.marks[position];
    const TVxXIniSectionHandle element = writer->BeginSectionCompactSE("");
    WriteChecked<int>(writer, "index", mark.index);
    WritePoint(writer, "coords_pix", mark.coordsPix);
    if (meas.cameraType == TCameraType::Fiducials) {
      WritePoint(writer, "residuals_pix", mark.residualsPix);
    }
    writer->EndSectionE(element);
  }
  writer->EndSectionE(points);
}

std::vector<TVxIntOrMeas::TMarkMeas> LoadPoints(TVxXIniReader* reader, bool withResiduals) {
  std::vector<TVxIntOrMeas::TMarkMeas> marks;
  const TVxXIniSectionHandle points = reader->EnterSectionS("points");
  if (points == kVxXIniNoSection) return marks;
  ForEachListEntry(reader, [&] {
    TVxIntOrMeas::TMarkMeas mark;
    mark.index = ReadRequired<int>(reader, "index");
    mark.coordsPix = ReadPointE(reader, "coords_pix");
    if (withResiduals) mark.residualsPix.LoadS(reader, "residuals_pix", {0.0, 0.0});
    marks.push_back(mark);
  });
  reader->LeaveSectionE(points);
  return marks;
}

// An optional enumeration word: empty or missing keeps `value`; an unknown word is the reader's
// value error for the key.
template <class E>
void ReadOptionalEnum(TVxXIniReader* reader, const char* key, E (*fromText)(const std::string&),
                      E* value) {
  const std::string text = reader->ReadS<std::string>(key, "");
  if (text.empty()) return;
  const E found = fromText(text);
  if (static_cast<std::int32_t>(found) == 0) reader->throw_error_valueS(key);
  *value = found;
}

}  // namespace

void TVxIntOrMeas::SaveE(TVxXIniWriter* writer) const {
  if (static_cast<std::int32_t>(cameraType) != 0) {
    WriteChecked<std::string>(
        writer, "camera_type",
        CameraTypeToTextE(cameraType, "@TVxIntOrMeas::Save: invalid CameraType"));
  }
  if (HasPoints(cameraType)) SavePoints(writer, *this);
  const std::string rotationText =
      static_cast<std::int32_t>(rotation) == 0
          ? std::string()
          : CamRotateToTextE(rotation, "@TVxIntOrMeas::Save: invalid Rotate");
  WriteChecked<std::string>(writer, "rotation", rotationText);
  if (HasScanResolution(cameraType)) {
    WritePoint(writer, "scan_resolution", scanResolution);
    WriteChecked<std::string>(
        writer, "resolution_units",
        ResolutionUnitsToTextE(resolutionUnits, "@TVxIntOrMeas::Save: invalid ResolutionUnits"));
  }
  if (cameraType == TCameraType::Fiducials) {
    WriteChecked<std::string>(
        writer, "transform_type",
        TransformTypeToTextE(transformType, "@TVxIntOrMeas::Save: invalid TransformType"));
  }
}

void TVxIntOrMeas::LoadE(TVxXIniReader* reader) {
  TVxIntOrMeas loaded;
  // Lenient: a missing, empty or unknown type is "not measured", and then nothing else of the
  // marks is read.
  loaded.cameraType = TextToCameraType(reader->ReadS<std::string>("camera_type", ""));
  if (HasPoints(loaded.cameraType)) {
    // Residuals belong to a fit; they are taken only into a record that is already of the
    // Fiducials kind, so a fresh record never inherits a stale fit from a file.
    loaded.marks = LoadPoints(reader, cameraType == TCameraType::Fiducials);
  }
  ReadOptionalEnum(reader, "rotation", &TextToCamRotate, &loaded.rotation);
  if (HasScanResolution(loaded.cameraType)) {
    vec_t_<double, 2> resolution;
    resolution.LoadS(reader, "scan_resolution");
    // The resolution counts only together with its unit.
    const std::string units = ReadOptional<std::string>(reader, "resolution_units", "");
    if (!units.empty()) {
      loaded.resolutionUnits = TextToResolutionUnits(units);
      if (static_cast<std::int32_t>(loaded.resolutionUnits) == 0) {
        reader->throw_error_valueS("resolution_units");
      }
      loaded.scanResolution = resolution;
    }
  }
  ReadOptionalEnum(reader, "transform_type", &TextToTransformType, &loaded.transformType);
  *this = std::move(loaded);
}
