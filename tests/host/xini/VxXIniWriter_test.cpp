#include "VxXIniWriter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "XIniTestSupport.h"

using xini_test::WriteErrorOf;

namespace {

void WritePoint(TVxXIniWriter& writer, const std::string& name, double x, double y) {
  const TVxXIniSectionHandle handle = writer.BeginSectionCompactSE(name);
  ASSERT_TRUE(writer.WriteS(vx::s_x, x));
  ASSERT_TRUE(writer.WriteS(vx::s_y, y));
  writer.EndSectionE(handle);
}

}  // namespace

TEST(VxXIniWriter, NewWriterWritesAnEmptyMapping) {
  EXPECT_EQ(TVxXIniWriter().ToText(), "{}\n");
}

TEST(VxXIniWriter, NamedEntriesBecomeABlockMapping) {
  TVxXIniWriter writer;
  EXPECT_TRUE(writer.WriteS<std::string>("name", "RMK TOP 15"));
  EXPECT_TRUE(writer.WriteS("focus", 153.12));
  EXPECT_TRUE(writer.WriteS("index", -3));
  EXPECT_TRUE(writer.WriteS("dims", 18446744073709551615ul));
  EXPECT_EQ(writer.ToText(),
            "name: RMK TOP 15\n"
            "focus: 153.12\n"
            "index: -3\n"
            "dims: 18446744073709551615\n");
}

TEST(VxXIniWriter, CompactSectionIsOneFlowLine) {
  TVxXIniWriter writer;
  WritePoint(writer, "principal_point", 0.25, -0.5);
  EXPECT_EQ(writer.ToText(), "principal_point: {x: 0.25, y: -0.5}\n");
}

TEST(VxXIniWriter, NestedSectionsAreIndentedTwoSpaces) {
  TVxXIniWriter writer;
  const TVxXIniSectionHandle distortion = writer.BeginSectionSE("distortion");
  writer.WriteS<std::string>("type", "Radial");
  const TVxXIniSectionHandle table = writer.BeginSectionSE("table_r");
  for (int row = 1; row <= 2; ++row) {
    const TVxXIniSectionHandle element = writer.BeginSectionSE("");
    writer.WriteS("r", 10.0 * row);
    writer.WriteS("dr", 0.001 * row);
    writer.EndSectionE(element);
  }
  writer.EndSectionE(table);
  writer.EndSectionE(distortion);
  EXPECT_EQ(writer.ToText(),
            "distortion:\n"
            "  type: Radial\n"
            "  table_r:\n"
            "    - r: 10\n"
            "      dr: 0.001\n"
            "    - r: 20\n"
            "      dr: 0.002\n");
}

TEST(VxXIniWriter, EmptySectionsAreEmptyMappings) {
  TVxXIniWriter writer;
  writer.EndSectionE(writer.BeginSectionSE("table_r"));
  writer.EndSectionE(writer.BeginSectionCompactSE("point"));
  const TVxXIniSectionHandle list = writer.BeginSectionSE("list");
  writer.EndSectionE(writer.BeginSectionSE(""));
  writer.EndSectionE(list);
  EXPECT_EQ(writer.ToText(), "table_r: {}\npoint: {}\nlist:\n  - {}\n");
}

TEST(VxXIniWriter, ValuesUnderEmptyKeysBecomeAList) {
  TVxXIniWriter writer;
  const TVxXIniSectionHandle dr = writer.BeginSectionSE("dr");
  for (const double value : {0.1, -0.2, 0.0, 4.0}) {
    EXPECT_TRUE(writer.WriteS("", value));
  }
  writer.EndSectionE(dr);
  EXPECT_EQ(writer.ToText(), "dr:\n  - 0.1\n  - -0.2\n  - 0\n  - 4\n");
}

TEST(VxXIniWriter, UnnamedCompactSectionsAreFlowListElements) {
  TVxXIniWriter writer;
  const TVxXIniSectionHandle points = writer.BeginSectionSE("points");
  for (int index = 1; index <= 2; ++index) {
    const TVxXIniSectionHandle mark = writer.BeginSectionCompactSE("");
    writer.WriteS("index", index);
    WritePoint(writer, "coords_pix", 10.5 * index, -1.0);
    writer.EndSectionE(mark);
  }
  writer.EndSectionE(points);
  EXPECT_EQ(writer.ToText(),
            "points:\n"
            "  - {index: 1, coords_pix: {x: 10.5, y: -1}}\n"
            "  - {index: 2, coords_pix: {x: 21, y: -1}}\n");
}

TEST(VxXIniWriter, CompactListIsAFlowSequence) {
  TVxXIniWriter writer;
  const TVxXIniSectionHandle list = writer.BeginSectionCompactSE("dr");
  writer.WriteS("", 1);
  writer.WriteS("", 2);
  writer.EndSectionE(list);
  EXPECT_EQ(writer.ToText(), "dr: [1, 2]\n");
}

TEST(VxXIniWriter, ListsNestInLists) {
  TVxXIniWriter writer;
  const TVxXIniSectionHandle outer = writer.BeginSectionSE("");
  writer.WriteS("", 1);
  writer.WriteS("", 2);
  writer.EndSectionE(outer);
  EXPECT_EQ(writer.ToText(), "- - 1\n  - 2\n");
}

TEST(VxXIniWriter, NumbersAreShortestRoundTripTexts) {
  TVxXIniWriter writer;
  writer.WriteS("a", 0.1);
  writer.WriteS("b", -0.0);
  writer.WriteS("c", std::numeric_limits<double>::quiet_NaN());
  writer.WriteS("d", std::numeric_limits<double>::infinity());
  writer.WriteS("e", -std::numeric_limits<double>::infinity());
  writer.WriteS("f", 1e20);
  writer.WriteS("g", std::numeric_limits<double>::denorm_min());
  writer.WriteS("h", std::numeric_limits<int>::min());
  EXPECT_EQ(writer.ToText(),
            "a: 0.1\nb: -0\nc: .nan\nd: .inf\ne: -.inf\nf: 1e+20\ng: 5e-324\nh: -2147483648\n");
}

TEST(VxXIniWriter, TextsThatLookLikeOtherValuesAreQuoted) {
  TVxXIniWriter writer;
  for (const char* text : {"90", "2024-01-05", "true", "No", "null", "~", "", ".inf", "-1", " lead",
                           "trail ", "a: b", "a #b", "[x]", "it's", "Ünter"}) {
    writer.WriteS<std::string>("", text);
  }
  EXPECT_EQ(writer.ToText(),
            "- \"90\"\n- \"2024-01-05\"\n- \"true\"\n- \"No\"\n- \"null\"\n- \"~\"\n- \"\"\n"
            "- \".inf\"\n- \"-1\"\n- \" lead\"\n- \"trail \"\n- \"a: b\"\n- \"a #b\"\n"
            "- \"[x]\"\n- \"it's\"\n- \"Ünter\"\n");
}

// Each word that a YAML 1.1 reader takes for a truth value or for nothing, in three spellings,
// is written in quotes and reads back as the text it was; a letter more makes an ordinary word.
TEST(VxXIniWriter, EveryReservedWordIsQuotedInAnySpellingAndReadsBackAsText) {
  const char* const words[][3] = {
      {"yes", "Yes", "YES"},       {"no", "No", "NO"},    {"true", "True", "TRUE"},
      {"false", "False", "FALSE"}, {"on", "On", "ON"},    {"off", "Off", "OFF"},
      {"null", "Null", "NULL"},    {"nan", "NaN", "NAN"}, {"inf", "Inf", "INF"}};
  for (const auto& spellings : words) {
    for (const char* word : spellings) {
      SCOPED_TRACE(word);
      TVxXIniWriter writer;
      writer.WriteS<std::string>("v", word);
      const std::string text = writer.ToText();
      EXPECT_EQ(text, "v: \"" + std::string(word) + "\"\n");
      auto reader = xini_test::Read(text);
      EXPECT_EQ(reader->ReadE<std::string>(reader->FindFE("v", 0)), word);
      // One letter more: no longer a reserved word.
      TVxXIniWriter longer;
      longer.WriteS<std::string>("v", std::string(word) + "s");
      EXPECT_EQ(longer.ToText(), "v: " + std::string(word) + "s\n");
    }
  }
}

TEST(VxXIniWriter, OrdinaryWordsStayPlain) {
  TVxXIniWriter writer;
  writer.WriteS<std::string>("type", "Directed4+");
  writer.WriteS<std::string>("direction", "CamToMm");
  writer.WriteS<std::string>("file", "marks/mark_01.tif");
  writer.WriteS<std::string>("y", "x");
  EXPECT_EQ(writer.ToText(),
            "type: Directed4+\ndirection: CamToMm\nfile: marks/mark_01.tif\ny: x\n");
}

TEST(VxXIniWriter, ControlCharactersAreEscapedInQuotes) {
  TVxXIniWriter writer;
  writer.WriteS<std::string>("a", std::string("t\tn\nr\rq\"b\\z\x01", 12) + std::string(1, '\0'));
  EXPECT_EQ(writer.ToText(), "a: \"t\\tn\\nr\\rq\\\"b\\\\z\\x01\\x00\"\n");
}

// DEL (0x7F) is a control character too: escaped in quotes, in a text and in a long text,
// never written raw, and it reads back as the byte it was.
TEST(VxXIniWriter, DeleteCharacterIsEscapedInQuotes) {
  const std::string del(1, '\x7F');
  TVxXIniWriter writer;
  writer.WriteS<std::string>("a", "x" + del + "y");
  writer.WriteS<std::string>("b", del);
  // A long text with line ends would be a literal block, which cannot hold the byte.
  writer.WriteLongStringSE("c", "line 1\nx" + del + "\n");
  const std::string text = writer.ToText();
  EXPECT_EQ(text, "a: \"x\\x7Fy\"\nb: \"\\x7F\"\nc: \"line 1\\nx\\x7F\\n\"\n");
  EXPECT_EQ(text.find(del), std::string::npos);
  auto reader = xini_test::Read(text);
  EXPECT_EQ(reader->ReadE<std::string>(reader->FindFE("a", 0)), "x" + del + "y");
  EXPECT_EQ(reader->ReadE<std::string>(reader->FindFE("b", 0)), del);
  EXPECT_EQ(reader->ReadE<std::string>(reader->FindFE("c", 0)), "line 1\nx" + del + "\n");
}

TEST(VxXIniWriter, KeysThatNeedQuotesAreQuoted) {
  TVxXIniWriter writer;
  writer.WriteS("null", 1);
  writer.WriteS("a:b", 2);
  writer.WriteS("1st", 3);
  EXPECT_EQ(writer.ToText(), "\"null\": 1\n\"a:b\": 2\n\"1st\": 3\n");
}

TEST(VxXIniWriter, LongTextIsALiteralBlockWithTheRightChomping) {
  TVxXIniWriter writer;
  writer.WriteLongStringSE("strip", "line 1\nline 2");
  writer.WriteLongStringSE("clip", "line 1\n");
  writer.WriteLongStringSE("keep", "line 1\n\n");
  writer.WriteLongStringSE("indented", "  starts indented\nx");
  writer.WriteLongStringSE("one_line", "no line end");
  EXPECT_EQ(writer.ToText(),
            "strip: |-\n  line 1\n  line 2\n"
            "clip: |\n  line 1\n"
            "keep: |+\n  line 1\n\n"
            "indented: |2-\n    starts indented\n  x\n"
            "one_line: no line end\n");
}

TEST(VxXIniWriter, LongTextWithCarriageReturnsIsQuoted) {
  TVxXIniWriter writer;
  writer.WriteLongStringSE("description", "a\r\nb");
  EXPECT_EQ(writer.ToText(), "description: \"a\\r\\nb\"\n");
}

TEST(VxXIniWriter, LongTextInsideACompactSectionIsQuoted) {
  TVxXIniWriter writer;
  const TVxXIniSectionHandle handle = writer.BeginSectionCompactSE("c");
  writer.WriteLongStringSE("t", "a\nb");
  writer.EndSectionE(handle);
  EXPECT_EQ(writer.ToText(), "c: {t: \"a\\nb\"}\n");
}

TEST(VxXIniWriter, SectionsInsideACompactSectionAreCompact) {
  TVxXIniWriter writer;
  const TVxXIniSectionHandle outer = writer.BeginSectionCompactSE("c");
  const TVxXIniSectionHandle inner = writer.BeginSectionSE("d");
  writer.WriteS("e", 1);
  writer.EndSectionE(inner);
  writer.EndSectionE(outer);
  EXPECT_EQ(writer.ToText(), "c: {d: {e: 1}}\n");
}

TEST(VxXIniWriter, RepeatedKeyIsRefusedNamingTheSection) {
  TVxXIniWriter writer;
  const TVxXIniSectionHandle distortion = writer.BeginSectionSE("distortion");
  EXPECT_TRUE(writer.WriteS("k1", 1.0));
  EXPECT_FALSE(writer.WriteS("k1", 2.0));
  EXPECT_EQ(WriteErrorOf([&] { writer.ThrowWriteError(); }),
            "section 'distortion' already has the key 'k1'");
  EXPECT_EQ(WriteErrorOf([&] { writer.BeginSectionSE("k1"); }),
            "section 'distortion' already has the key 'k1'");
  writer.EndSectionE(distortion);
  EXPECT_EQ(writer.ToText(), "distortion:\n  k1: 1\n");
}

TEST(VxXIniWriter, MixingNamedAndUnnamedEntriesIsRefusedNamingTheSection) {
  TVxXIniWriter writer;
  const TVxXIniSectionHandle table = writer.BeginSectionSE("table_r");
  const TVxXIniSectionHandle row = writer.BeginSectionSE("");
  writer.WriteS("r", 1.0);
  EXPECT_FALSE(writer.WriteS("", 2.0));
  EXPECT_EQ(WriteErrorOf([&] { writer.ThrowWriteError(); }),
            "section 'table_r/[0]' would mix named and unnamed entries (at an unnamed entry)");
  writer.EndSectionE(row);
  EXPECT_EQ(WriteErrorOf([&] { writer.WriteLongStringSE("named", "x"); }),
            "section 'table_r' would mix named and unnamed entries (at key 'named')");
  writer.EndSectionE(table);
  EXPECT_FALSE(writer.WriteS("", 1));
  EXPECT_EQ(WriteErrorOf([&] { writer.ThrowWriteError(); }),
            "the root section would mix named and unnamed entries (at an unnamed entry)");
}

TEST(VxXIniWriter, EndSectionEThrowsForAHandleThatIsNotCurrent) {
  TVxXIniWriter writer;
  const TVxXIniSectionHandle outer = writer.BeginSectionSE("outer");
  const TVxXIniSectionHandle inner = writer.BeginSectionSE("inner");
  EXPECT_EQ(WriteErrorOf([&] { writer.EndSectionE(outer); }),
            "section 'outer/inner': cannot end section " + std::to_string(outer) +
                ", it is not the current section");
  writer.EndSectionE(inner);
  writer.EndSectionE(outer);
  EXPECT_EQ(WriteErrorOf([&] { writer.EndSectionE(outer); }),
            "the root section: cannot end section " + std::to_string(outer) +
                ", it is not the current section");
}

TEST(VxXIniWriter, NestingDeeperThanTheLimitIsRefused) {
  TVxXIniWriter writer;
  for (int depth = 1; depth <= kVxXIniMaxDepth; ++depth) {
    writer.BeginSectionSE("s");
  }
  EXPECT_THROW(writer.BeginSectionSE("s"), TVxXIniWriteError);
  auto reader = TVxXIniReader::FromText(writer.ToText());
  for (int depth = 1; depth <= kVxXIniMaxDepth - 1; ++depth) {
    reader->EnterSectionSE("s");
  }
  EXPECT_NE(reader->EnterSectionS("s"), kVxXIniNoSection);
}

TEST(VxXIniWriter, KeysLongerThanTheLimitAsWrittenAreRefused) {
  TVxXIniWriter writer;
  EXPECT_TRUE(writer.WriteS(std::string(kVxXIniMaxKeyLength, 'k'), 1));
  EXPECT_FALSE(writer.WriteS(std::string(kVxXIniMaxKeyLength + 1, 'k'), 1));
  EXPECT_EQ(WriteErrorOf([&] { writer.ThrowWriteError(); }),
            "the root section: the key '" + std::string(40, 'k') +
                "...' is longer than 1000 characters as written");
  EXPECT_FALSE(writer.WriteS(std::string(300, '\x01'), 1));  // 1202 characters with escapes
  EXPECT_THROW(writer.BeginSectionSE(std::string(2000, 'k')), TVxXIniWriteError);
}

TEST(VxXIniWriter, ThrowWriteErrorWithoutAFailureStillThrows) {
  TVxXIniWriter writer;
  EXPECT_EQ(WriteErrorOf([&] { writer.ThrowWriteError(); }), "a write failed");
}

TEST(VxXIniWriter, ErrorsDeriveFromRuntimeError) {
  TVxXIniWriter writer;
  EXPECT_THROW(writer.ThrowWriteError(), std::runtime_error);
  EXPECT_THROW(TVxXIniReader::FromText("a: [")->HasEntry(0), std::runtime_error);
}
