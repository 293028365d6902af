#include <gtest/gtest.h>

#include <string>

#include "VxCameraInfo.h"
#include "VxRecordBytes.h"
#include "VxSettingsText.h"
#include "VxXIni.h"

using vx_test::KeysOf;
using vx_test::LoadedFrom;
using vx_test::RecordBytes;
using vx_test::SavedText;
using Keys = std::vector<std::string>;

namespace {

TCameraMarkTemplates TwoMarks() {
  TCameraMarkTemplates set;
  set.templatePixelSize = 12.5;
  set.defaultScanSize = {240.0, 240.0};
  set.templates = {{1, {-106.0, -106.0}, "mark1.tif", {32, 32}, 0},
                   {2, {106.0, 106.0}, "mark2.tif", {32, 24}, 12}};
  return set;
}

const char kLowerCaseText[] =
    "template_pixel_size_um: 12.5\n"
    "default_scan_size_mm: {x: 240, y: 230}\n"
    "mark_templates:\n"
    "  - template_index: 1\n"
    "    coords_cam: {x: -106, y: -106}\n"
    "    filename: mark1.tif\n"
    "    half_size_reduced: {x: 32, y: 32}\n"
    "  - template_index: 2\n"
    "    coords_cam: {x: 106, y: 106}\n"
    "    filename: mark2.tif\n"
    "    half_size_reduced: {x: 32, y: 24}\n"
    "    min_corr_half_size: 12\n";

}  // namespace

TEST(MarkTemplates, EmptySetSavesTwoKeysAndEmptyList) {
  TCameraMarkTemplates set;
  const std::string text = SavedText(set);
  EXPECT_EQ(KeysOf(text), (Keys{"TemplatePixelSizeMkm", "DefaultScanSizeMm", "MarkTemplates"}));
  EXPECT_TRUE(KeysOf(text, {"MarkTemplates"}).empty());
}

TEST(MarkTemplates, ElementKeysInOrderAndMinCorrOnlyWhenSet) {
  const std::string text = SavedText(TwoMarks());
  const auto reader = TVxXIniReader::FromText(text);
  reader->EnterSectionSE("MarkTemplates");
  reader->EnterSectionFE(0);
  EXPECT_EQ(reader->NameAt(0), "TemplateIndex");
  EXPECT_EQ(reader->NameAt(1), "Coords_cam");
  EXPECT_EQ(reader->NameAt(2), "FileName");
  EXPECT_EQ(reader->NameAt(3), "HalfSizeReduced");
  EXPECT_FALSE(reader->HasEntry(4));
  reader->LeaveSectionE(2);
}

TEST(MarkTemplates, LowerCaseFileLoadsInFileOrder) {
  const TCameraMarkTemplates set = LoadedFrom<TCameraMarkTemplates>(kLowerCaseText);
  EXPECT_EQ(set.templatePixelSize, 12.5);
  EXPECT_EQ(set.defaultScanSize, (vec_t_<double, 2>{240.0, 230.0}));
  ASSERT_EQ(set.templates.size(), 2u);
  EXPECT_EQ(set.templates[0].fileName, "mark1.tif");
  EXPECT_EQ(set.templates[0].minCorrHalfSize, 0u);
  EXPECT_EQ(set.templates[1].halfSizeReduced.y, 24u);
  EXPECT_EQ(set.templates[1].minCorrHalfSize, 12u);
}

TEST(MarkTemplates, EmptyMarkTemplatesGivesEmptyArray) {
  TCameraMarkTemplates start = TwoMarks();
  const TCameraMarkTemplates set = LoadedFrom(
      "template_pixel_size_um: 10\ndefault_scan_size_mm: {x: 1, y: 2}\nmark_templates: {}\n",
      start);
  EXPECT_TRUE(set.templates.empty());
  EXPECT_EQ(set.templatePixelSize, 10.0);
}

TEST(MarkTemplates, NamedElementsAreReadLikeUnnamedOnes) {
  const TCameraMarkTemplates set = LoadedFrom<TCameraMarkTemplates>(
      "template_pixel_size_um: 10\ndefault_scan_size_mm: {x: 1, y: 2}\nmark_templates:\n"
      "  second:\n    template_index: 2\n    coords_cam: {x: 0, y: 1}\n    filename: b\n"
      "    half_size_reduced: {x: 1, y: 1}\n"
      "  first:\n    template_index: 1\n    coords_cam: {x: 0, y: 2}\n    filename: a\n"
      "    half_size_reduced: {x: 2, y: 2}\n");
  ASSERT_EQ(set.templates.size(), 2u);
  EXPECT_EQ(set.templates[0].index, 2);
  EXPECT_EQ(set.templates[1].fileName, "a");
}

TEST(MarkTemplates, SetWrittenBySaveIsNotFoundByExactReaderAndTargetKeepsContent) {
  TCameraMarkTemplates target = TwoMarks();
  target.templates.pop_back();
  const std::string before = RecordBytes(target);
  const auto reader = TVxXIniReader::FromText(SavedText(TwoMarks()));
  try {
    target.LoadE(reader.get());
    FAIL() << "no error";
  } catch (const TVxXIniReadError& e) {
    EXPECT_NE(std::string(e.what()).find("template_pixel_size_um"), std::string::npos);
  }
  EXPECT_EQ(RecordBytes(target), before);
}

TEST(MarkTemplates, MissingRequiredElementKeyFailsAndKeepsTarget) {
  std::string text = kLowerCaseText;
  text.replace(text.rfind("filename"), 8, "file");
  TCameraMarkTemplates target = TwoMarks();
  const std::string before = RecordBytes(target);
  const auto reader = TVxXIniReader::FromText(text);
  EXPECT_THROW(target.LoadE(reader.get()), TVxXIniReadError);
  EXPECT_EQ(RecordBytes(target), before);
}

TEST(MarkTemplates, NegativeHalfSizeIsAnError) {
  std::string text = kLowerCaseText;
  text.replace(text.find("{x: 32, y: 32}"), 14, "{x: -1, y: 32}");
  const auto reader = TVxXIniReader::FromText(text);
  TCameraMarkTemplates set;
  EXPECT_THROW(set.LoadE(reader.get()), TVxXIniReadError);
}
