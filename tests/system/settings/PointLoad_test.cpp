#include <gtest/gtest.h>

#include <string>

#include "internal/VxSettingsIO.h"

namespace {

const char* const kPoints =
    "full: {x: 1.5, y: -2.5}\n"
    "only_x: {x: 3}\n"
    "only_y: {y: 4}\n"
    "empty: {}\n"
    "value: 7\n"
    "bad: {x: wide, y: 1}\n"
    "outer:\n"
    "  inner: {x: 5, y: 6}\n";

using TPoint = vec_t_<double, 2>;

}  // namespace

TEST(PointLoadS, MissingSectionReturnsFalseAndLeavesThePointUntouched) {
  auto reader = TVxXIniReader::FromText(kPoints);
  TPoint point(8.0, 9.0);
  EXPECT_FALSE(point.LoadS(reader.get(), "missing"));
  EXPECT_EQ(point, TPoint(8.0, 9.0));
}

TEST(PointLoadS, EntryThatIsAValueCountsAsMissing) {
  auto reader = TVxXIniReader::FromText(kPoints);
  TPoint point(8.0, 9.0);
  EXPECT_FALSE(point.LoadS(reader.get(), "value"));
  EXPECT_EQ(point, TPoint(8.0, 9.0));
}

TEST(PointLoadS, PresentSectionGivesBothCoordinates) {
  auto reader = TVxXIniReader::FromText(kPoints);
  TPoint point(8.0, 9.0);
  EXPECT_TRUE(point.LoadS(reader.get(), "full"));
  EXPECT_EQ(point, TPoint(1.5, -2.5));
  EXPECT_EQ(reader->CurrentPath(), "");  // the section was left again
}

TEST(PointLoadS, SectionWithOnlyXGivesYZero) {
  auto reader = TVxXIniReader::FromText(kPoints);
  TPoint point(8.0, 9.0);
  EXPECT_TRUE(point.LoadS(reader.get(), "only_x"));
  EXPECT_EQ(point, TPoint(3.0, 0.0));
  EXPECT_TRUE(point.LoadS(reader.get(), "only_y"));
  EXPECT_EQ(point, TPoint(0.0, 4.0));
  EXPECT_TRUE(point.LoadS(reader.get(), "empty"));
  EXPECT_EQ(point, TPoint(0.0, 0.0));
}

TEST(PointLoadS, WorksInsideTheReadersCurrentSection) {
  auto reader = TVxXIniReader::FromText(kPoints);
  const TVxXIniSectionHandle outer = reader->EnterSectionSE("outer");
  TPoint point;
  EXPECT_TRUE(point.LoadS(reader.get(), "inner"));
  EXPECT_EQ(point, TPoint(5.0, 6.0));
  EXPECT_EQ(reader->CurrentPath(), "outer");
  reader->LeaveSectionE(outer);
}

TEST(PointLoadS, UnreadableCoordinateIsTheReadersErrorAndThePointIsUnchanged) {
  auto reader = TVxXIniReader::FromText(kPoints, "points.yaml");
  TPoint point(8.0, 9.0);
  try {
    point.LoadS(reader.get(), "bad");
    FAIL() << "no error";
  } catch (const TVxXIniReadError& error) {
    EXPECT_STREQ(error.what(), "points.yaml:6:10: bad/x: invalid value 'wide' (expected a number)");
  }
  EXPECT_EQ(point, TPoint(8.0, 9.0));
}

TEST(PointLoadSWithDefault, MissingSectionReturnsFalseAndGivesTheDefault) {
  auto reader = TVxXIniReader::FromText(kPoints);
  TPoint point(8.0, 9.0);
  EXPECT_FALSE(point.LoadS(reader.get(), "missing", TPoint(0.5, 0.25)));
  EXPECT_EQ(point, TPoint(0.5, 0.25));
  EXPECT_FALSE(point.LoadS(reader.get(), "value", TPoint(1.0, 2.0)));
  EXPECT_EQ(point, TPoint(1.0, 2.0));
}

TEST(PointLoadSWithDefault, SectionWithOnlyXKeepsTheDefaultsY) {
  auto reader = TVxXIniReader::FromText(kPoints);
  TPoint point;
  EXPECT_TRUE(point.LoadS(reader.get(), "only_x", TPoint(-1.0, -2.0)));
  EXPECT_EQ(point, TPoint(3.0, -2.0));
  EXPECT_TRUE(point.LoadS(reader.get(), "only_y", TPoint(-1.0, -2.0)));
  EXPECT_EQ(point, TPoint(-1.0, 4.0));
  EXPECT_TRUE(point.LoadS(reader.get(), "empty", TPoint(-1.0, -2.0)));
  EXPECT_EQ(point, TPoint(-1.0, -2.0));
}

TEST(PointLoadSWithDefault, PresentSectionGivesBothCoordinates) {
  auto reader = TVxXIniReader::FromText(kPoints);
  TPoint point;
  EXPECT_TRUE(point.LoadS(reader.get(), "full", TPoint(-1.0, -2.0)));
  EXPECT_EQ(point, TPoint(1.5, -2.5));
  EXPECT_EQ(reader->CurrentPath(), "");
}

TEST(PointLoadSWithDefault, DefaultMayBeThePointItself) {
  auto reader = TVxXIniReader::FromText(kPoints);
  TPoint point(3.0, 4.0);
  EXPECT_TRUE(point.LoadS(reader.get(), "only_y", point));
  EXPECT_EQ(point, TPoint(3.0, 4.0));
}

TEST(PointLoadS, BothFormsFailWithTheReaderAtEveryStep) {
  // Each form is: find, enter, find, read, find, read, leave.
  constexpr std::uint64_t kSteps = 7;
  for (std::uint64_t n = 1; n <= kSteps; ++n) {
    auto reader = TVxXIniReader::FromText(kPoints);
    reader->FailAtOperation(n);
    TPoint point(8.0, 9.0);
    EXPECT_THROW(point.LoadS(reader.get(), "full"), TVxXIniReadError) << n;
    EXPECT_EQ(point, TPoint(8.0, 9.0)) << n;
    auto second = TVxXIniReader::FromText(kPoints);
    second->FailAtOperation(n);
    EXPECT_THROW(point.LoadS(second.get(), "full", TPoint(1.0, 1.0)), TVxXIniReadError) << n;
  }
  auto reader = TVxXIniReader::FromText(kPoints);
  TPoint point;
  point.LoadS(reader.get(), "full");
  EXPECT_EQ(reader->OperationCount(), kSteps);
}
