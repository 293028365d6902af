// The distortion record in settings files: only the keys of the model in force are written.

#include "VxCameraInfo.h"
#include "VxMessage.h"
#include "VxSsprintf.h"
#include "VxXIni.h"
#include "internal/VxDistortionModelTable.h"
#include "internal/VxSettingsIO.h"

namespace {

using T4Direction = TVxCameraDistortion::T4Direction;

// One unnamed section per row: "r", then a section "dr" holding the four corrections under
// empty keys, read back by position.
void SaveDistortionTable(TVxXIniWriter* writer, const std::vector<T4Direction>& table) {
  for (const T4Direction& row : table) {
    const TVxXIniSectionHandle element = writer->BeginSectionSE("");
    WriteChecked<double>(writer, "r", row.r);
    const TVxXIniSectionHandle dr = writer->BeginSectionSE("dr");
    for (double value : row.dr) WriteChecked<double>(writer, "", value);
    writer->EndSectionE(dr);
    writer->EndSectionE(element);
  }
}

// Appends the rows of the current section to `table`; a gap in the positions ends the table.
void LoadDistortionTable(TVxXIniReader* reader, std::vector<T4Direction>* table) {
  ForEachListEntry(reader, [&] {
    T4Direction row;
    row.r = ReadRequired<double>(reader, "r");
    const TVxXIniSectionHandle dr = reader->EnterSectionSE("dr");
    for (TVxXIniPosition k = 0; k < 4; ++k) row.dr[k] = reader->ReadE<double>(k);
    reader->LeaveSectionE(dr);
    table->push_back(row);
  });
}

void SaveDirectedSection(TVxXIniWriter* writer, const char* name,
                         const std::vector<T4Direction>& table) {
  const TVxXIniSectionHandle section = writer->BeginSectionSE(name);
  SaveDistortionTable(writer, table);
  writer->EndSectionE(section);
}

void LoadDirectedSection(TVxXIniReader* reader, const char* name, std::vector<T4Direction>* table) {
  const TVxXIniSectionHandle section = reader->EnterSectionSE(name);
  LoadDistortionTable(reader, table);
  reader->LeaveSectionE(section);
}

// Keys "<prefix>1", "<prefix>2", ... (or from 0) of a coefficient group.
std::string CoefficientKey(const char* prefix, std::size_t number) {
  return Vextrion::ssprintf("%s%llu", prefix, static_cast<unsigned long long>(number));
}

void SaveGroup(TVxXIniWriter* writer, const char* prefix, std::size_t first, const double* values,
               std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    WriteChecked<double>(writer, CoefficientKey(prefix, first + i), values[i]);
  }
}

void LoadGroup(TVxXIniReader* reader, const char* prefix, std::size_t first, double* values,
               std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    values[i] = ReadRequired<double>(reader, CoefficientKey(prefix, first + i).c_str());
  }
}

}  // namespace

namespace vx_distortion_models {

void SaveFormula(TVxXIniWriter* writer, const TVxCameraDistortion& d) {
  const std::pair<const char*, double> always[] = {{"k1", d.k1}, {"k2", d.k2}, {"k3", d.k3},
                                                   {"k4", d.k4}, {"k5", d.k5}, {"p1", d.p1},
                                                   {"p2", d.p2}, {"p3", d.p3}, {"p4", d.p4}};
  for (const auto& [key, value] : always) WriteChecked<double>(writer, key, value);
  // The in-plane terms only where they act; a NaN is not zero and is written.
  const std::pair<const char*, double> inPlane[] = {
      {"b1", d.b1}, {"b2", d.b2}, {"a1", d.a1}, {"a2", d.a2}};
  for (const auto& [key, value] : inPlane) {
    if (value != 0.0) WriteChecked<double>(writer, key, value);
  }
}

void LoadFormula(TVxXIniReader* reader, TVxCameraDistortion* d) {
  d->k1 = ReadRequired<double>(reader, "k1");
  d->k2 = ReadRequired<double>(reader, "k2");
  d->k3 = ReadRequired<double>(reader, "k3");
  d->k4 = ReadOptional(reader, "k4", 0.0);
  d->k5 = ReadOptional(reader, "k5", 0.0);
  d->p1 = ReadRequired<double>(reader, "p1");
  d->p2 = ReadRequired<double>(reader, "p2");
  d->p3 = ReadOptional(reader, "p3", 0.0);
  d->p4 = ReadOptional(reader, "p4", 0.0);
  d->b1 = ReadOptional(reader, "b1", 0.0);
  d->b2 = ReadOptional(reader, "b2", 0.0);
  d->a1 = ReadOptional(reader, "a1", 0.0);
  d->a2 = ReadOptional(reader, "a2", 0.0);
}

void SaveRadial(TVxXIniWriter* writer, const TVxCameraDistortion& d) {
  const TVxXIniSectionHandle section = writer->BeginSectionSE("table_r");
  for (const auto& row : d.tableR) {
    const TVxXIniSectionHandle element = writer->BeginSectionSE("");
    WriteChecked<double>(writer, "r", row.r);
    WriteChecked<double>(writer, "dr", row.dr);
    writer->EndSectionE(element);
  }
  writer->EndSectionE(section);
}

void LoadRadial(TVxXIniReader* reader, TVxCameraDistortion* d) {
  const TVxXIniSectionHandle section = reader->EnterSectionSE("table_r");
  ForEachListEntry(reader, [&] {
    TVxCameraDistortion::TRadialDistortion row;
    row.r = ReadRequired<double>(reader, "r");
    row.dr = ReadRequired<double>(reader, "dr");
    d->tableR.push_back(row);
  });
  reader->LeaveSectionE(section);
}

void SaveMixed(TVxXIniWriter* writer, const TVxCameraDistortion& d) {
  const TVxCameraDistortion::TMixed& m = d.mixed;
  const TVxXIniSectionHandle section = writer->BeginSectionSE("mixed_coeffs");
  SaveGroup(writer, "a", 1, m.a, 7);
  SaveGroup(writer, "b", 1, m.b, 7);
  SaveGroup(writer, "c", 1, m.c, 7);
  SaveGroup(writer, "K", 1, m.K, 3);
  SaveGroup(writer, "P", 1, m.P, 2);
  writer->EndSectionE(section);
}

void LoadMixed(TVxXIniReader* reader, TVxCameraDistortion* d) {
  TVxCameraDistortion::TMixed* m = &d->mixed;
  const TVxXIniSectionHandle section = reader->EnterSectionSE("mixed_coeffs");
  LoadGroup(reader, "a", 1, m->a, 7);
  LoadGroup(reader, "b", 1, m->b, 7);
  LoadGroup(reader, "c", 1, m->c, 7);
  LoadGroup(reader, "K", 1, m->K, 3);
  LoadGroup(reader, "P", 1, m->P, 2);
  reader->LeaveSectionE(section);
}

// K is numbered from 0 and P from 1, as calibration reports number them.
void SavePolynomial(TVxXIniWriter* writer, const TVxCameraDistortion& d) {
  const TVxXIniSectionHandle section = writer->BeginSectionSE("polynomial_coeffs");
  SaveGroup(writer, "K", 0, d.polyK, 8);
  SaveGroup(writer, "P", 1, d.polyP, 4);
  writer->EndSectionE(section);
}

void LoadPolynomial(TVxXIniReader* reader, TVxCameraDistortion* d) {
  const TVxXIniSectionHandle section = reader->EnterSectionSE("polynomial_coeffs");
  LoadGroup(reader, "K", 0, d->polyK, 8);
  LoadGroup(reader, "P", 1, d->polyP, 4);
  reader->LeaveSectionE(section);
}

void SaveDirected4Plus(TVxXIniWriter* writer, const TVxCameraDistortion& d) {
  SaveDirectedSection(writer, "table_+", d.table4Plus);
}

void LoadDirected4Plus(TVxXIniReader* reader, TVxCameraDistortion* d) {
  LoadDirectedSection(reader, "table_+", &d->table4Plus);
}

void SaveDirected4X(TVxXIniWriter* writer, const TVxCameraDistortion& d) {
  SaveDirectedSection(writer, "table_x", d.table4X);
}

void LoadDirected4X(TVxXIniReader* reader, TVxCameraDistortion* d) {
  LoadDirectedSection(reader, "table_x", &d->table4X);
}

void SaveDirected8(TVxXIniWriter* writer, const TVxCameraDistortion& d) {
  SaveDirected4Plus(writer, d);
  SaveDirected4X(writer, d);
}

void LoadDirected8(TVxXIniReader* reader, TVxCameraDistortion* d) {
  LoadDirected4Plus(reader, d);
  LoadDirected4X(reader, d);
}

}  // namespace vx_distortion_models

void TVxCameraDistortion::SaveE(TVxXIniWriter* writer) const {
  WriteChecked<std::string>(
      writer, "type",
      DistortionTypeToTextE(type, "@TVxCameraDistortion::Save: invalid DistortionType"));
  if (type == TDistortionType::None) return;
  WriteChecked<std::string>(
      writer, "direction",
      DirectionToTextE(direction, "@TVxCameraDistortion::Save: invalid Direction"));
  WritePoint(writer, "symmetry_point", symmetryPoint);
  if (const auto* model = vx_distortion_models::Find(type)) return model->save(writer, *this);
  // Unreachable with the type table: every type that converts to text has a model.
  throw VxMsg_helper("Err_Internal_func") << "TVxCameraDistortion::Save()";
}

void TVxCameraDistortion::LoadE(TVxXIniReader* reader) {
  TVxCameraDistortion loaded;
  loaded.type = TextToDistortionType(ReadRequired<std::string>(reader, "type"));
  if (static_cast<std::int32_t>(loaded.type) == 0) reader->throw_error_valueS("type");
  // A stored None leaves the target as it was; callers that want None reset first.
  if (loaded.type == TDistortionType::None) return;
  // Lenient on purpose: an empty or unknown direction is CamToMm.
  loaded.direction = TextToDirection(ReadOptional<std::string>(reader, "direction", ""));
  loaded.symmetryPoint = ReadPointE(reader, "symmetry_point");
  // Every type the text names but None has a model.
  vx_distortion_models::Find(loaded.type)->load(reader, &loaded);
  *this = std::move(loaded);
}
