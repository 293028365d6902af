#include "VxXIniReader.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "XIniTestSupport.h"

using xini_test::Read;
using xini_test::ReadErrorOf;

namespace {

const char* const kCamera =
    "name: RMK TOP 15\n"
    "focus: 153.12\n"
    "principal_point: {x: 0.25, y: -0.5}\n"
    "distortion:\n"
    "  type: Radial\n"
    "  table_r:\n"
    "    - r: 10\n"
    "      dr: 0.001\n"
    "    - r: 20\n"
    "      dr: -0.002\n";

}  // namespace

TEST(VxXIniReader, AxisKeyNamesAreXAndY) {
  EXPECT_EQ(vx::s_x, "x");
  EXPECT_EQ(vx::s_y, "y");
}

TEST(VxXIniReader, FindFGivesPositionsInFileOrderOrNotFound) {
  auto reader = Read(kCamera);
  EXPECT_EQ(reader->FindF("name", 0), 0u);
  EXPECT_EQ(reader->FindF(std::string("focus"), 0), 1u);
  EXPECT_EQ(reader->FindF("distortion", 0), 3u);
  EXPECT_EQ(reader->FindF("missing", 0), kVxXIniNotFound);
  EXPECT_EQ(kVxXIniNotFound, ~std::uint64_t{0});
}

TEST(VxXIniReader, FindFStartsAtTheGivenPosition) {
  auto reader = Read(kCamera);
  EXPECT_EQ(reader->FindF("focus", 1), 1u);
  EXPECT_EQ(reader->FindF("focus", 2), kVxXIniNotFound);
  EXPECT_EQ(reader->FindF("focus", kVxXIniNotFound), kVxXIniNotFound);
}

TEST(VxXIniReader, KeyNamesAreComparedExactly) {
  auto reader = Read("principal_point: 1\nFocus: 2\n");
  EXPECT_EQ(reader->FindF("principalpoint", 0), kVxXIniNotFound);
  EXPECT_EQ(reader->FindF("Principal_Point", 0), kVxXIniNotFound);
  EXPECT_EQ(reader->FindF("focus", 0), kVxXIniNotFound);
  EXPECT_EQ(reader->FindF("Focus", 0), 1u);
}

TEST(VxXIniReader, FindFEThrowsMissingKeyAtTheSection) {
  auto reader = Read(kCamera, "camera.yaml");
  reader->EnterSectionSE("distortion");
  EXPECT_EQ(ReadErrorOf([&] { reader->FindFE("k3", 0); }),
            "camera.yaml:5:3: distortion/k3: missing key");
}

TEST(VxXIniReader, ReadConvertsToEachType) {
  auto reader = Read("i: -42\nu: 18446744073709551615\nd: 0.1\ns: text with spaces\n");
  EXPECT_EQ(reader->ReadE<int>(reader->FindFE("i", 0)), -42);
  EXPECT_EQ(reader->ReadE<unsigned long>(reader->FindFE("u", 0)),
            std::numeric_limits<unsigned long>::max());
  EXPECT_EQ(reader->ReadE<double>(reader->FindFE("d", 0)), 0.1);
  EXPECT_EQ(reader->ReadE<std::string>(reader->FindFE("s", 0)), "text with spaces");
}

TEST(VxXIniReader, ReadGivesTheDefaultForTheNotFoundPosition) {
  auto reader = Read("a: 1\n");
  EXPECT_EQ(reader->Read<int>(kVxXIniNotFound, 7), 7);
  EXPECT_EQ(reader->Read<double>(reader->FindF("b", 0), 2.5), 2.5);
  EXPECT_EQ(reader->Read<unsigned long>(kVxXIniNotFound, 9ul), 9ul);
  EXPECT_EQ(reader->Read<std::string>(kVxXIniNotFound, "dflt"), "dflt");
  EXPECT_EQ(reader->Read<int>(reader->FindF("a", 0), 7), 1);
}

TEST(VxXIniReader, ReadOfAPresentButUnreadableValueThrows) {
  auto reader = Read("a: abc\n");
  EXPECT_EQ(ReadErrorOf([&] { reader->Read<int>(0, 0); }),
            "test.yaml:1:4: a: invalid value 'abc' (expected an integer)");
}

TEST(VxXIniReader, ReadEOfTheNotFoundPositionThrows) {
  auto reader = Read("a: 1\n");
  EXPECT_EQ(ReadErrorOf([&] { reader->ReadE<int>(kVxXIniNotFound); }),
            "test.yaml:1:1: no such entry");
  EXPECT_EQ(ReadErrorOf([&] { reader->ReadE<double>(3); }),
            "test.yaml:1:1: no entry at position 3");
}

TEST(VxXIniReader, IntegersThatDoNotConvertAreErrors) {
  auto reader = Read("a: 3.5\nb: 1e20\nc: 2147483648\nd: -2147483649\ne: 0x10\nf: '12'\n");
  EXPECT_EQ(ReadErrorOf([&] { reader->ReadE<int>(0); }),
            "test.yaml:1:4: a: invalid value '3.5' (expected an integer)");
  EXPECT_EQ(ReadErrorOf([&] { reader->ReadE<int>(1); }),
            "test.yaml:2:4: b: invalid value '1e20' (expected an integer)");
  EXPECT_EQ(ReadErrorOf([&] { reader->ReadE<int>(2); }),
            "test.yaml:3:4: c: invalid value '2147483648' (out of range for an integer)");
  EXPECT_EQ(ReadErrorOf([&] { reader->ReadE<int>(3); }),
            "test.yaml:4:4: d: invalid value '-2147483649' (out of range for an integer)");
  EXPECT_EQ(ReadErrorOf([&] { reader->ReadE<int>(4); }),
            "test.yaml:5:4: e: invalid value '0x10' (expected an integer)");
  EXPECT_EQ(ReadErrorOf([&] { reader->ReadE<int>(5); }),
            "test.yaml:6:4: f: invalid value '12' (expected an integer, found a quoted text)");
}

TEST(VxXIniReader, IntegerLimitsAndSignsAreRead) {
  auto reader = Read("a: 2147483647\nb: -2147483648\nc: +5\nd: 007\n");
  EXPECT_EQ(reader->ReadE<int>(0), std::numeric_limits<int>::max());
  EXPECT_EQ(reader->ReadE<int>(1), std::numeric_limits<int>::min());
  EXPECT_EQ(reader->ReadE<int>(2), 5);
  EXPECT_EQ(reader->ReadE<int>(3), 7);
}

TEST(VxXIniReader, UnsignedValuesThatDoNotConvertAreErrors) {
  auto reader = Read("a: -1\nb: 18446744073709551616\nc: 1.0\nd: -0\n");
  EXPECT_EQ(ReadErrorOf([&] { reader->ReadE<unsigned long>(0); }),
            "test.yaml:1:4: a: invalid value '-1' (expected an unsigned integer)");
  EXPECT_EQ(ReadErrorOf([&] { reader->ReadE<unsigned long>(1); }),
            "test.yaml:2:4: b: invalid value '18446744073709551616' (out of range for an unsigned "
            "integer)");
  EXPECT_EQ(ReadErrorOf([&] { reader->ReadE<unsigned long>(2); }),
            "test.yaml:3:4: c: invalid value '1.0' (expected an unsigned integer)");
  EXPECT_EQ(ReadErrorOf([&] { reader->ReadE<unsigned long>(3); }),
            "test.yaml:4:4: d: invalid value '-0' (expected an unsigned integer)");
}

TEST(VxXIniReader, DoublesTakeYamlSpellingsOfInfinityAndNaN) {
  auto reader = Read("a: .inf\nb: -.Inf\nc: .NaN\nd: +.INF\ne: 5\nf: -0\ng: 1E-3\nh: .5\n");
  EXPECT_EQ(reader->ReadE<double>(0), std::numeric_limits<double>::infinity());
  EXPECT_EQ(reader->ReadE<double>(1), -std::numeric_limits<double>::infinity());
  EXPECT_TRUE(std::isnan(reader->ReadE<double>(2)));
  EXPECT_EQ(reader->ReadE<double>(3), std::numeric_limits<double>::infinity());
  EXPECT_EQ(reader->ReadE<double>(4), 5.0);
  EXPECT_TRUE(std::signbit(reader->ReadE<double>(5)));
  EXPECT_EQ(reader->ReadE<double>(6), 0.001);
  EXPECT_EQ(reader->ReadE<double>(7), 0.5);
}

TEST(VxXIniReader, DoublesThatDoNotConvertAreErrors) {
  auto reader = Read("a: 1,5\nb: inf\nc: 1e400\nd: 0x1p3\ne: \"1.5\"\nf:\n");
  EXPECT_EQ(ReadErrorOf([&] { reader->ReadE<double>(0); }),
            "test.yaml:1:4: a: invalid value '1,5' (expected a number)");
  EXPECT_EQ(ReadErrorOf([&] { reader->ReadE<double>(1); }),
            "test.yaml:2:4: b: invalid value 'inf' (expected a number)");
  EXPECT_EQ(ReadErrorOf([&] { reader->ReadE<double>(2); }),
            "test.yaml:3:4: c: invalid value '1e400' (out of range for a double)");
  EXPECT_EQ(ReadErrorOf([&] { reader->ReadE<double>(3); }),
            "test.yaml:4:4: d: invalid value '0x1p3' (expected a number)");
  EXPECT_EQ(ReadErrorOf([&] { reader->ReadE<double>(4); }),
            "test.yaml:5:4: e: invalid value '1.5' (expected a number, found a quoted text)");
  EXPECT_EQ(ReadErrorOf([&] { reader->ReadE<double>(5); }),
            "test.yaml:6:1: f: invalid value '' (expected a number)");
}

TEST(VxXIniReader, EmptyValuesReadAsEmptyText) {
  auto reader = Read("a:\nb: ~\nc: null\nd: ''\n");
  for (TVxXIniPosition i = 0; i < 4; ++i) {
    EXPECT_EQ(reader->ReadE<std::string>(i), "") << "position " << i;
  }
}

TEST(VxXIniReader, NumbersReadAsTextGiveTheirSpelling) {
  auto reader = Read("a: 0.10\nb: .nan\nc: \"90\"\n");
  EXPECT_EQ(reader->ReadE<std::string>(0), "0.10");
  EXPECT_EQ(reader->ReadE<std::string>(1), ".nan");
  EXPECT_EQ(reader->ReadE<std::string>(2), "90");
}

TEST(VxXIniReader, ReadingASectionAsAValueThrows) {
  auto reader = Read(kCamera, "camera.yaml");
  EXPECT_EQ(ReadErrorOf([&] { reader->ReadE<std::string>(reader->FindFE("distortion", 0)); }),
            "camera.yaml:5:3: distortion: expected a value, found a section");
}

TEST(VxXIniReader, LongStringsKeepLineEnds) {
  auto reader = Read("d: |\n  line 1\n    line 2\n\n  line 4\ne: |-\n  no end\nf: plain\n");
  EXPECT_EQ(reader->ReadLongStringSE("d"), "line 1\n  line 2\n\nline 4\n");
  EXPECT_EQ(reader->ReadLongStringSE("e"), "no end");
  EXPECT_EQ(reader->ReadLongStringS("f", "x"), "plain");
  EXPECT_EQ(reader->ReadLongStringS("g", "default"), "default");
  EXPECT_EQ(ReadErrorOf([&] { reader->ReadLongStringSE("g"); }), "test.yaml:1:1: g: missing key");
}

TEST(VxXIniReader, ThrowErrorValueNamesKeyPlaceAndValue) {
  auto reader =
      Read("name: a\ndistortion:\n  direction: CamToMm\n  type: Fromula\n", "camera.yaml");
  reader->EnterSectionSE("distortion");
  EXPECT_EQ(ReadErrorOf([&] { reader->throw_error_valueS("type"); }),
            "camera.yaml:4:9: distortion/type: invalid value 'Fromula'");
  EXPECT_EQ(ReadErrorOf([&] { reader->throw_error_valueS("missing"); }),
            "camera.yaml:3:3: distortion/missing: invalid value (the key is missing)");
}

TEST(VxXIniReader, ErrorCarriesItsPartsSeparately) {
  auto reader = Read("a:\n  b: x\n", "f.yaml");
  reader->EnterSectionSE("a");
  try {
    reader->ReadE<int>(0);
    FAIL() << "no error";
  } catch (const TVxXIniReadError& error) {
    EXPECT_EQ(error.Source(), "f.yaml");
    EXPECT_EQ(error.Line(), 2u);
    EXPECT_EQ(error.Column(), 6u);
    EXPECT_EQ(error.KeyPath(), "a/b");
    const std::runtime_error& base = error;
    EXPECT_NE(std::string(base.what()).find("invalid value 'x'"), std::string::npos);
  }
}

TEST(VxXIniReader, EnterSectionSAndSEFindSubsectionsByName) {
  auto reader = Read(kCamera);
  EXPECT_EQ(reader->EnterSectionS("missing"), kVxXIniNoSection);
  EXPECT_EQ(reader->EnterSectionS("name"), kVxXIniNoSection);  // a value, not a section
  const TVxXIniSectionHandle handle = reader->EnterSectionS("distortion");
  ASSERT_NE(handle, kVxXIniNoSection);
  EXPECT_EQ(reader->CurrentPath(), "distortion");
  EXPECT_EQ(reader->ReadE<std::string>(reader->FindFE("type", 0)), "Radial");
  reader->LeaveSection(handle);
  EXPECT_EQ(reader->CurrentPath(), "");
  EXPECT_EQ(reader->FindF("name", 0), 0u);
}

TEST(VxXIniReader, EnterSectionSEThrowsForMissingSectionsAndValues) {
  auto reader = Read(kCamera, "camera.yaml");
  EXPECT_EQ(ReadErrorOf([&] { reader->EnterSectionSE("int_or"); }),
            "camera.yaml:1:1: int_or: missing section");
  EXPECT_EQ(ReadErrorOf([&] { reader->EnterSectionSE("focus"); }),
            "camera.yaml:2:8: focus: expected a section, found a value");
}

TEST(VxXIniReader, ListsAreWalkedByPositionWithHasEntry) {
  auto reader = Read(kCamera);
  reader->EnterSectionSE("distortion");
  reader->EnterSectionSE("table_r");
  std::vector<std::pair<double, double>> rows;
  for (TVxXIniPosition i = 0; reader->HasEntry(i); ++i) {
    const TVxXIniSectionHandle row = reader->EnterSectionFE(i);
    rows.emplace_back(reader->ReadE<double>(reader->FindFE("r", 0)),
                      reader->ReadE<double>(reader->FindFE("dr", 0)));
    reader->LeaveSectionE(row);
  }
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[1], std::make_pair(20.0, -0.002));
}

TEST(VxXIniReader, ListElementsThatCarryNamesAreWalkedLikeUnnamedOnes) {
  auto reader = Read("marks:\n  first: {index: 1}\n  second: {index: 2}\n");
  reader->EnterSectionSE("marks");
  std::vector<int> indices;
  for (TVxXIniPosition i = 0; reader->HasEntry(i); ++i) {
    const TVxXIniSectionHandle mark = reader->EnterSectionFE(i);
    indices.push_back(reader->ReadE<int>(reader->FindFE("index", 0)));
    reader->LeaveSectionE(mark);
  }
  EXPECT_EQ(indices, (std::vector<int>{1, 2}));
}

TEST(VxXIniReader, EnterSectionFReturnsZeroForValuesAndMissingPositions) {
  auto reader = Read(kCamera);
  EXPECT_EQ(reader->EnterSectionF(reader->FindF("missing", 0)), kVxXIniNoSection);
  EXPECT_EQ(reader->EnterSectionF(0), kVxXIniNoSection);
  EXPECT_EQ(reader->EnterSectionF(99), kVxXIniNoSection);
  EXPECT_NE(reader->EnterSectionF(2), kVxXIniNoSection);
}

TEST(VxXIniReader, EnterSectionFEThrowsForValuesAndMissingPositions) {
  auto reader = Read(kCamera, "camera.yaml");
  EXPECT_EQ(ReadErrorOf([&] { reader->EnterSectionFE(1); }),
            "camera.yaml:2:8: focus: expected a section, found a value");
  EXPECT_EQ(ReadErrorOf([&] { reader->EnterSectionFE(kVxXIniNotFound); }),
            "camera.yaml:1:1: no such entry");
}

TEST(VxXIniReader, BothLeaveOperationsAcceptHandlesOfEveryEnter) {
  auto reader = Read(kCamera);
  const TVxXIniSectionHandle byName = reader->EnterSectionS("distortion");
  reader->LeaveSectionE(byName);
  EXPECT_EQ(reader->CurrentPath(), "");
  const TVxXIniSectionHandle byNameE = reader->EnterSectionSE("distortion");
  reader->LeaveSection(byNameE);
  EXPECT_EQ(reader->CurrentPath(), "");
  const TVxXIniSectionHandle byPosition = reader->EnterSectionF(3);
  reader->LeaveSectionE(byPosition);
  const TVxXIniSectionHandle byPositionE = reader->EnterSectionFE(2);
  EXPECT_EQ(reader->CurrentPath(), "principal_point");
  reader->LeaveSection(byPositionE);
  EXPECT_EQ(reader->CurrentPath(), "");
}

TEST(VxXIniReader, LeavingAnOuterSectionLeavesTheInnerOnesToo) {
  auto reader = Read(kCamera);
  const TVxXIniSectionHandle outer = reader->EnterSectionSE("distortion");
  reader->EnterSectionSE("table_r");
  reader->EnterSectionFE(1);
  EXPECT_EQ(reader->CurrentPath(), "distortion/table_r/[1]");
  reader->LeaveSectionE(outer);
  EXPECT_EQ(reader->CurrentPath(), "");
}

TEST(VxXIniReader, LeaveSectionEThrowsForHandlesNotOpenAndLeaveSectionIgnoresThem) {
  auto reader = Read(kCamera, "camera.yaml");
  const TVxXIniSectionHandle handle = reader->EnterSectionSE("distortion");
  reader->LeaveSectionE(handle);
  reader->LeaveSection(handle);  // already left: nothing happens
  reader->LeaveSection(kVxXIniNoSection);
  EXPECT_EQ(reader->CurrentPath(), "");
  EXPECT_EQ(ReadErrorOf([&] { reader->LeaveSectionE(handle); }),
            "camera.yaml:1:1: cannot leave section " + std::to_string(handle) + ": it is not open");
  EXPECT_EQ(ReadErrorOf([&] { reader->LeaveSectionE(kVxXIniNoSection); }),
            "camera.yaml:1:1: cannot leave section 0: it is not open");
}

TEST(VxXIniReader, EachEnterGivesAFreshNonZeroHandle) {
  auto reader = Read(kCamera);
  const TVxXIniSectionHandle first = reader->EnterSectionSE("distortion");
  reader->LeaveSectionE(first);
  const TVxXIniSectionHandle second = reader->EnterSectionSE("distortion");
  EXPECT_NE(first, kVxXIniNoSection);
  EXPECT_NE(second, first);
}

TEST(VxXIniReader, ErrorPathsNameListElementsByIndex) {
  auto reader = Read(kCamera, "camera.yaml");
  reader->EnterSectionSE("distortion");
  reader->EnterSectionSE("table_r");
  reader->EnterSectionFE(1);
  EXPECT_EQ(ReadErrorOf([&] { reader->ReadE<std::string>(reader->FindFE("x", 0)); }),
            "camera.yaml:9:7: distortion/table_r/[1]/x: missing key");
}

TEST(VxXIniReader, ValuesUnderEmptyKeysAreReadByPosition) {
  auto reader = Read("dr:\n  - 0.1\n  - 0.2\n  - 0.3\n  - 0.4\n");
  reader->EnterSectionSE("dr");
  const double expected[] = {0.1, 0.2, 0.3, 0.4};
  for (TVxXIniPosition i = 0; i < 4; ++i) {
    EXPECT_EQ(reader->ReadE<double>(i), expected[i]) << i;
    EXPECT_EQ(reader->NameAt(i), "");
  }
  EXPECT_FALSE(reader->HasEntry(4));
}

TEST(VxXIniReader, NameAtAndIsSectionAtDescribeEntries) {
  auto reader = Read(kCamera);
  EXPECT_EQ(reader->NameAt(2), "principal_point");
  EXPECT_TRUE(reader->IsSectionAt(2));
  EXPECT_FALSE(reader->IsSectionAt(0));
  EXPECT_THROW(reader->NameAt(4), TVxXIniReadError);
}

TEST(VxXIniReader, EmptyTextGivesAnEmptyRootSection) {
  for (const char* text : {"", "# just a comment\n", "---\n", "{}\n", "[]\n"}) {
    auto reader = Read(text);
    EXPECT_FALSE(reader->HasEntry(0)) << text;
    EXPECT_EQ(reader->FindF("name", 0), kVxXIniNotFound) << text;
  }
}

TEST(VxXIniReader, MissingKeyInAnEmptyFileHasNoLineOrColumn) {
  auto reader = Read("", "empty.yaml");
  EXPECT_EQ(ReadErrorOf([&] { reader->FindFE("name", 0); }), "empty.yaml: name: missing key");
}

TEST(VxXIniReader, DefaultSourceNameIsText) {
  auto reader = TVxXIniReader::FromText("a: x\n");
  EXPECT_EQ(ReadErrorOf([&] { reader->ReadE<int>(0); }),
            "<text>:1:4: a: invalid value 'x' (expected an integer)");
}

TEST(VxXIniReader, FromFileNamesThePathInMessages) {
  const std::string path = ::testing::TempDir() + "xini_reader_from_file.yaml";
  {
    TVxXIniWriter writer;
    writer.WriteS<std::string>("type", "Fromula");
    writer.SaveFile(path);
  }
  auto reader = TVxXIniReader::FromFile(path);
  EXPECT_EQ(ReadErrorOf([&] { reader->throw_error_valueS("type"); }),
            path + ":1:7: type: invalid value 'Fromula'");
  std::remove(path.c_str());
}

TEST(VxXIniReader, FromFileOfAMissingFileThrows) {
  const std::string path = ::testing::TempDir() + "xini_no_such_file.yaml";
  EXPECT_EQ(ReadErrorOf([&] { TVxXIniReader::FromFile(path); }),
            path + ": cannot open the file: No such file or directory");
}

TEST(VxXIniReader, FromFileOfAFolderThrows) {
  EXPECT_EQ(ReadErrorOf([&] { TVxXIniReader::FromFile(::testing::TempDir()); }),
            ::testing::TempDir() + ": cannot read the file: it is a folder, not a regular file");
}

// Without a writer, opening a FIFO for reading would wait forever; it is refused at once.
TEST(VxXIniReader, FromFileOfAFifoWithoutWriterThrowsWithoutWaiting) {
  const std::string path = ::testing::TempDir() + "xini_reader_fifo";
  std::remove(path.c_str());
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(ReadErrorOf([&] { TVxXIniReader::FromFile(path); }),
            path + ": cannot read the file: it is a FIFO (named pipe), not a regular file");
  std::remove(path.c_str());
}

TEST(VxXIniReader, FromFileOfACharacterDeviceThrows) {
  EXPECT_EQ(ReadErrorOf([&] { TVxXIniReader::FromFile("/dev/null"); }),
            "/dev/null: cannot read the file: it is a character device, not a regular file");
}

TEST(VxXIniReader, ThrowAtEntryLocatesTheEntryOrElseTheSection) {
  auto reader = Read("a: 1\nlist:\n  - 5\n  - 6\n");
  reader->EnterSectionSE("list");
  EXPECT_EQ(ReadErrorOf([&] { reader->ThrowAtEntry(1, "too many"); }),
            "test.yaml:4:5: list/[1]: too many");
  EXPECT_EQ(ReadErrorOf([&] { reader->ThrowAtEntry(7, "too few"); }),
            "test.yaml:3:3: list: too few");
}

TEST(VxXIniReader, MessagesShowControlCharactersEscapedAndLongValuesShortened) {
  auto reader = Read("a: \"x\\ty\\nz\"\nb: " + std::string(100, 'q') + "\n");
  EXPECT_EQ(ReadErrorOf([&] { reader->throw_error_valueS("a"); }),
            "test.yaml:1:4: a: invalid value 'x\\x09y\\nz'");
  EXPECT_EQ(ReadErrorOf([&] { reader->throw_error_valueS("b"); }),
            "test.yaml:2:4: b: invalid value '" + std::string(80, 'q') + "...'");
}

TEST(VxXIniReader, WindowsLineEndsAndAByteOrderMarkAreRead) {
  auto reader = Read(
      "\xEF\xBB\xBF"
      "a: 1\r\nb: |\r\n  x\r\n  y\r\nc: {x: 2}\r\n");
  EXPECT_EQ(reader->ReadE<int>(reader->FindFE("a", 0)), 1);
  EXPECT_EQ(reader->ReadLongStringSE("b"), "x\ny\n");
  EXPECT_EQ(reader->FindF("c", 0), 2u);
}

TEST(VxXIniReader, CommentsAreIgnored) {
  auto reader = Read("# camera of the survey\nfocus: 153.1  # from the report\n# end\n");
  EXPECT_EQ(reader->ReadE<double>(reader->FindFE("focus", 0)), 153.1);
  EXPECT_FALSE(reader->HasEntry(1));
}
