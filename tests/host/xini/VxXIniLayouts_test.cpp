// The layouts that the records of the library write, built with the writer's operations the way
// their savers call them, and read back the way their loaders do.

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "VxXIni.h"

namespace {

void WritePoint(TVxXIniWriter& writer, const std::string& name, double x, double y) {
  const TVxXIniSectionHandle handle = writer.BeginSectionCompactSE(name);
  ASSERT_TRUE(writer.WriteS(vx::s_x, x));
  ASSERT_TRUE(writer.WriteS(vx::s_y, y));
  writer.EndSectionE(handle);
}

std::array<double, 2> ReadPointE(TVxXIniReader& reader, const char* name) {
  const TVxXIniSectionHandle handle = reader.EnterSectionFE(reader.FindFE(name, 0));
  const double x = reader.ReadE<double>(reader.FindFE(vx::s_x, 0));
  const double y = reader.ReadE<double>(reader.FindFE(vx::s_y, 0));
  reader.LeaveSectionE(handle);
  return {x, y};
}

struct TRow {
  double r;
  std::array<double, 4> dr;
};

void WriteDirectedTable(TVxXIniWriter& writer, const std::vector<TRow>& rows) {
  for (const TRow& row : rows) {
    const TVxXIniSectionHandle element = writer.BeginSectionSE("");
    ASSERT_TRUE(writer.WriteS("r", row.r));
    const TVxXIniSectionHandle dr = writer.BeginSectionSE("dr");
    for (const double value : row.dr) {
      ASSERT_TRUE(writer.WriteS("", value));
    }
    writer.EndSectionE(dr);
    writer.EndSectionE(element);
  }
}

std::vector<TRow> ReadDirectedTable(TVxXIniReader& reader) {
  std::vector<TRow> rows;
  for (TVxXIniPosition i = 0; reader.HasEntry(i); ++i) {
    const TVxXIniSectionHandle element = reader.EnterSectionFE(i);
    TRow row{};
    row.r = reader.ReadE<double>(reader.FindFE("r", 0));
    const TVxXIniSectionHandle dr = reader.EnterSectionSE("dr");
    for (TVxXIniPosition k = 0; k < 4; ++k) {
      row.dr[k] = reader.ReadE<double>(k);
    }
    reader.LeaveSectionE(dr);
    reader.LeaveSectionE(element);
    rows.push_back(row);
  }
  return rows;
}

}  // namespace

TEST(VxXIniLayouts, Directed8DistortionWritesListsOfValuesUnderEmptyKeysAndReadsThemBack) {
  const std::vector<TRow> plus = {{10.0, {0.1, 0.2, 0.3, 0.4}}, {20.0, {-1.0, 0.0, 1.0, 2.5}}};
  const std::vector<TRow> diagonal = {{15.0, {1e-3, -2e-3, 0.0, -0.0}}};
  TVxXIniWriter writer;
  const TVxXIniSectionHandle distortion = writer.BeginSectionSE("distortion");
  writer.WriteS<std::string>("type", "Directed8");
  writer.WriteS<std::string>("direction", "CamToMm");
  WritePoint(writer, "symmetry_point", 0.0, 0.0);
  TVxXIniSectionHandle table = writer.BeginSectionSE("table_+");
  WriteDirectedTable(writer, plus);
  writer.EndSectionE(table);
  table = writer.BeginSectionSE("table_x");
  WriteDirectedTable(writer, diagonal);
  writer.EndSectionE(table);
  writer.EndSectionE(distortion);
  const std::string text = writer.ToText();
  EXPECT_EQ(text,
            "distortion:\n"
            "  type: Directed8\n"
            "  direction: CamToMm\n"
            "  symmetry_point: {x: 0, y: 0}\n"
            "  table_+:\n"
            "    - r: 10\n"
            "      dr:\n"
            "        - 0.1\n"
            "        - 0.2\n"
            "        - 0.3\n"
            "        - 0.4\n"
            "    - r: 20\n"
            "      dr:\n"
            "        - -1\n"
            "        - 0\n"
            "        - 1\n"
            "        - 2.5\n"
            "  table_x:\n"
            "    - r: 15\n"
            "      dr:\n"
            "        - 0.001\n"
            "        - -0.002\n"
            "        - 0\n"
            "        - -0\n");

  auto reader = TVxXIniReader::FromText(text);
  reader->EnterSectionSE("distortion");
  EXPECT_EQ(reader->ReadE<std::string>(reader->FindFE("type", 0)), "Directed8");
  EXPECT_EQ(ReadPointE(*reader, "symmetry_point"), (std::array<double, 2>{0.0, 0.0}));
  TVxXIniSectionHandle in = reader->EnterSectionSE("table_+");
  const std::vector<TRow> plusRead = ReadDirectedTable(*reader);
  reader->LeaveSectionE(in);
  in = reader->EnterSectionSE("table_x");
  const std::vector<TRow> diagonalRead = ReadDirectedTable(*reader);
  reader->LeaveSectionE(in);
  ASSERT_EQ(plusRead.size(), 2u);
  EXPECT_EQ(plusRead[1].r, 20.0);
  EXPECT_EQ(plusRead[1].dr, plus[1].dr);
  ASSERT_EQ(diagonalRead.size(), 1u);
  EXPECT_EQ(diagonalRead[0].dr, diagonal[0].dr);
}

TEST(VxXIniLayouts, EmptyDirectedTableWritesAnEmptySectionThatReadsAsNoRows) {
  TVxXIniWriter writer;
  writer.EndSectionE(writer.BeginSectionSE("table_+"));
  EXPECT_EQ(writer.ToText(), "table_+: {}\n");
  auto reader = TVxXIniReader::FromText(writer.ToText());
  reader->EnterSectionSE("table_+");
  EXPECT_TRUE(ReadDirectedTable(*reader).empty());
}

TEST(VxXIniLayouts, CameraWithFiducialsAndDescription) {
  TVxXIniWriter writer;
  writer.WriteS<std::string>("name", "RMK TOP 15");
  writer.WriteS<std::string>("calibration_date", "2024-03-01");
  writer.WriteLongStringSE("description", "Calibrated by the maker.\nLens 15/4 UAG-S\n");
  writer.WriteS("focus", 153.124);
  WritePoint(writer, "principal_point", 0.002, -0.004);
  const TVxXIniSectionHandle intOr = writer.BeginSectionSE("int_or");
  writer.WriteS<std::string>("type", "Fiducials");
  const TVxXIniSectionHandle fiducials = writer.BeginSectionSE("fiducials");
  for (int index = 1; index <= 2; ++index) {
    const TVxXIniSectionHandle mark = writer.BeginSectionCompactSE("");
    writer.WriteS("index", index);
    WritePoint(writer, "coords_cam", index == 1 ? -106.0 : 106.0, -106.0);
    writer.WriteS("template_index", index);
    writer.EndSectionE(mark);
  }
  writer.EndSectionE(fiducials);
  writer.WriteS<std::string>("fiducial_template_id", "RMK");
  writer.EndSectionE(intOr);
  const TVxXIniSectionHandle distortion = writer.BeginSectionSE("distortion");
  writer.WriteS<std::string>("type", "None");
  writer.EndSectionE(distortion);
  const std::string text = writer.ToText();
  EXPECT_EQ(text,
            "name: RMK TOP 15\n"
            "calibration_date: \"2024-03-01\"\n"
            "description: |\n"
            "  Calibrated by the maker.\n"
            "  Lens 15/4 UAG-S\n"
            "focus: 153.124\n"
            "principal_point: {x: 0.002, y: -0.004}\n"
            "int_or:\n"
            "  type: Fiducials\n"
            "  fiducials:\n"
            "    - {index: 1, coords_cam: {x: -106, y: -106}, template_index: 1}\n"
            "    - {index: 2, coords_cam: {x: 106, y: -106}, template_index: 2}\n"
            "  fiducial_template_id: RMK\n"
            "distortion:\n"
            "  type: None\n");

  auto reader = TVxXIniReader::FromText(text, "camera.yaml");
  EXPECT_EQ(reader->ReadE<std::string>(reader->FindFE("calibration_date", 0)), "2024-03-01");
  EXPECT_EQ(reader->ReadLongStringSE("description"), "Calibrated by the maker.\nLens 15/4 UAG-S\n");
  EXPECT_EQ(ReadPointE(*reader, "principal_point"), (std::array<double, 2>{0.002, -0.004}));
  const TVxXIniSectionHandle in = reader->EnterSectionSE("int_or");
  const TVxXIniSectionHandle list = reader->EnterSectionSE("fiducials");
  std::vector<int> indices;
  for (TVxXIniPosition i = 0; reader->HasEntry(i); ++i) {
    const TVxXIniSectionHandle mark = reader->EnterSectionFE(i);
    indices.push_back(reader->ReadE<int>(reader->FindFE("index", 0)));
    EXPECT_EQ(ReadPointE(*reader, "coords_cam")[1], -106.0);
    EXPECT_EQ(reader->Read<int>(reader->FindF("template_index", 0), -1), indices.back());
    reader->LeaveSectionE(mark);
  }
  reader->LeaveSectionE(list);
  reader->LeaveSectionE(in);
  EXPECT_EQ(indices, (std::vector<int>{1, 2}));
}

TEST(VxXIniLayouts, InteriorOrientationMarksAndEmptyRotation) {
  TVxXIniWriter writer;
  writer.WriteS<std::string>("camera_type", "Cross");
  const TVxXIniSectionHandle points = writer.BeginSectionSE("points");
  const TVxXIniSectionHandle mark = writer.BeginSectionCompactSE("");
  writer.WriteS("index", -1);
  WritePoint(writer, "coords_pix", 1024.5, 768.25);
  writer.EndSectionE(mark);
  writer.EndSectionE(points);
  writer.WriteS<std::string>("rotation", "");
  WritePoint(writer, "scan_resolution", 0.02, 0.02);
  writer.WriteS<std::string>("resolution_units", "mm");
  const std::string text = writer.ToText();
  EXPECT_EQ(text,
            "camera_type: Cross\n"
            "points:\n"
            "  - {index: -1, coords_pix: {x: 1024.5, y: 768.25}}\n"
            "rotation: \"\"\n"
            "scan_resolution: {x: 0.02, y: 0.02}\n"
            "resolution_units: mm\n");
  auto reader = TVxXIniReader::FromText(text);
  EXPECT_EQ(reader->Read<std::string>(reader->FindF("rotation", 0), "unset"), "");
  const TVxXIniSectionHandle in = reader->EnterSectionS("points");
  ASSERT_NE(in, kVxXIniNoSection);
  reader->EnterSectionFE(0);
  EXPECT_EQ(reader->ReadE<int>(reader->FindFE("index", 0)), -1);
  EXPECT_EQ(ReadPointE(*reader, "coords_pix"), (std::array<double, 2>{1024.5, 768.25}));
  reader->LeaveSectionE(in);
  EXPECT_EQ(reader->CurrentPath(), "");
}

TEST(VxXIniLayouts, MarkTemplatesWithUnsignedPairsAndAnEmptyList) {
  TVxXIniWriter writer;
  writer.WriteS("TemplatePixelSizeMkm", 12.5);
  WritePoint(writer, "DefaultScanSizeMm", 240.0, 240.0);
  TVxXIniSectionHandle list = writer.BeginSectionSE("MarkTemplates");
  const TVxXIniSectionHandle element = writer.BeginSectionSE("");
  writer.WriteS("TemplateIndex", 3);
  WritePoint(writer, "Coords_cam", 110.0, 0.0);
  writer.WriteS<std::string>("FileName", "mark_03.tif");
  const TVxXIniSectionHandle half = writer.BeginSectionCompactSE("HalfSizeReduced");
  writer.WriteS<unsigned long>(vx::s_x, 18446744073709551615ul);
  writer.WriteS<unsigned long>(vx::s_y, 16ul);
  writer.EndSectionE(half);
  writer.EndSectionE(element);
  writer.EndSectionE(list);
  list = writer.BeginSectionSE("Empty");
  writer.EndSectionE(list);
  const std::string text = writer.ToText();
  EXPECT_EQ(text,
            "TemplatePixelSizeMkm: 12.5\n"
            "DefaultScanSizeMm: {x: 240, y: 240}\n"
            "MarkTemplates:\n"
            "  - TemplateIndex: 3\n"
            "    Coords_cam: {x: 110, y: 0}\n"
            "    FileName: mark_03.tif\n"
            "    HalfSizeReduced: {x: 18446744073709551615, y: 16}\n"
            "Empty: {}\n");
  auto reader = TVxXIniReader::FromText(text);
  // Names are compared exactly: the lower-case spelling is not found.
  EXPECT_EQ(reader->FindF("template_pixel_size_um", 0), kVxXIniNotFound);
  reader->EnterSectionSE("MarkTemplates");
  reader->EnterSectionFE(0);
  reader->EnterSectionFE(reader->FindFE("HalfSizeReduced", 0));
  EXPECT_EQ(reader->ReadE<unsigned long>(reader->FindFE(vx::s_x, 0)), 18446744073709551615ul);
}
