// A solved pixel-to-camera map as coefficients: its inverse, its transforms and its file.

#include <cmath>
#include <stdexcept>
#include <utility>

#include "IntOrPlanar.h"
#include "VxAffineTransform.h"
#include "VxIntOrSolve.h"
#include "VxProjectiveTransform.h"
#include "VxXIni.h"
#include "internal/VxSettingsIO.h"

using namespace vx_intor_detail;

namespace {

constexpr const char* kMatrixKey = "pix_to_cam";
constexpr const char* kRowKeys[3] = {"x", "y", "w"};

double Determinant(const TMatrix& m) {
  return m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) +
         m[2] * (m[3] * m[7] - m[4] * m[6]);
}

// Why the matrix maps no pixel plane onto the camera plane, or null.
const char* MatrixProblem(const TMatrix& m) {
  if (!AllFinite(m)) return "the matrix holds a value that is not a finite number";
  if (!(Determinant(m) != 0.0)) return "the matrix is singular";
  return nullptr;
}

void CheckMatrix(const TMatrix& m) {
  if (const char* problem = MatrixProblem(m)) {
    throw std::invalid_argument(std::string("TVxPixToCamMap: ") + problem);
  }
}

TransformHandle MatrixTransform(const TMatrix& m, bool affine) {
  if (affine) return MakeTransformHandle<TAffineTransform>(m[0], m[1], m[2], m[3], m[4], m[5]);
  return MakeTransformHandle<TProjectiveTransform>(m);
}

void SaveRow(TVxXIniWriter* writer, const char* key, const double* row) {
  const TVxXIniSectionHandle section = writer->BeginSectionCompactSE(key);
  for (int k = 0; k < 3; ++k) WriteChecked<double>(writer, "", row[k]);
  writer->EndSectionE(section);
}

// Three finite numbers under `key` of the current section.
void LoadRow(TVxXIniReader* reader, const char* key, double* row) {
  const TVxXIniSectionHandle section = reader->EnterSectionFE(reader->FindFE(key, 0));
  if (!reader->HasEntry(2) || reader->HasEntry(3)) {
    reader->ThrowAtEntry(reader->HasEntry(3) ? 3 : 0, "a row of the matrix holds three numbers");
  }
  for (TVxXIniPosition k = 0; k < 3; ++k) {
    row[k] = reader->ReadE<double>(k);
    if (!std::isfinite(row[k])) reader->ThrowAtEntry(k, "not a finite number");
  }
  reader->LeaveSectionE(section);
}

// An optional enumeration word; missing or empty keeps `value`.
template <class E>
void LoadWord(TVxXIniReader* reader, const char* key,
              std::optional<E> (*fromText)(const std::string&), E* value) {
  const std::string text = ReadOptional<std::string>(reader, key, "");
  if (text.empty()) return;
  const std::optional<E> found = fromText(text);
  if (!found) reader->throw_error_valueS(key);
  *value = *found;
}

}  // namespace

const char* PixelYAxisToText(TVxPixelYAxis axis) {
  return axis == TVxPixelYAxis::Up ? "Up" : "Down";
}

std::optional<TVxPixelYAxis> TextToPixelYAxis(const std::string& text) {
  if (text == "Down") return TVxPixelYAxis::Down;
  if (text == "Up") return TVxPixelYAxis::Up;
  return std::nullopt;
}

const char* ResidualSpaceToText(TVxResidualSpace space) {
  return space == TVxResidualSpace::Camera ? "Camera" : "Pixels";
}

std::optional<TVxResidualSpace> TextToResidualSpace(const std::string& text) {
  if (text == "Pixels") return TVxResidualSpace::Pixels;
  if (text == "Camera") return TVxResidualSpace::Camera;
  return std::nullopt;
}

bool TVxPixToCamMap::IsAffine() const {
  return matrix[6] == 0.0 && matrix[7] == 0.0 && matrix[8] == 1.0;
}

std::array<double, 9> TVxPixToCamMap::InverseMatrix() const {
  CheckMatrix(matrix);
  if (IsAffine()) return InverseAffine(matrix);
  // The adjugate is the inverse up to a factor: scaled to m8 = 1 unless the camera origin lies
  // on the horizon of the inverse.
  return Adjugate(matrix)[8] != 0.0 ? InverseProjective(matrix) : Adjugate(matrix);
}

TransformHandle TVxPixToCamMap::CreatePixToCam() const {
  CheckMatrix(matrix);
  return MatrixTransform(matrix, IsAffine());
}

TransformHandle TVxPixToCamMap::CreateCamToPix() const {
  return MatrixTransform(InverseMatrix(), IsAffine());
}

void TVxPixToCamMap::SaveE(TVxXIniWriter* writer) const {
  WriteChecked<std::string>(writer, "pixel_y_axis", PixelYAxisToText(pixelYAxis));
  WriteChecked<std::string>(writer, "minimised_in", ResidualSpaceToText(minimisedIn));
  const TVxXIniSectionHandle section = writer->BeginSectionSE(kMatrixKey);
  for (std::size_t row = 0; row < 3; ++row) SaveRow(writer, kRowKeys[row], &matrix[3 * row]);
  writer->EndSectionE(section);
}

void TVxPixToCamMap::LoadE(TVxXIniReader* reader) {
  TVxPixToCamMap loaded;
  LoadWord(reader, "pixel_y_axis", &TextToPixelYAxis, &loaded.pixelYAxis);
  LoadWord(reader, "minimised_in", &TextToResidualSpace, &loaded.minimisedIn);
  const TVxXIniSectionHandle section = reader->EnterSectionFE(reader->FindFE(kMatrixKey, 0));
  LoadRow(reader, kRowKeys[0], &loaded.matrix[0]);
  LoadRow(reader, kRowKeys[1], &loaded.matrix[3]);
  if (reader->FindF(kRowKeys[2], 0) != kVxXIniNotFound) {
    LoadRow(reader, kRowKeys[2], &loaded.matrix[6]);
  }
  reader->LeaveSectionE(section);
  if (const char* problem = MatrixProblem(loaded.matrix)) {
    reader->ThrowAtEntry(reader->FindF(kMatrixKey, 0), problem);
  }
  *this = std::move(loaded);
}
