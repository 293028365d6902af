// Bad and hostile settings texts: each gives the reader's error with source, line and column.

#include <gtest/gtest.h>

#include <string>

#include "VxXIni.h"
#include "XIniTestSupport.h"

using xini_test::Read;
using xini_test::ReadErrorOf;

namespace {

// The error that reading `text` gives, checked to carry source, line and column.
std::string LocatedError(const std::string& text) {
  try {
    Read(text, "bad.yaml");
  } catch (const TVxXIniReadError& error) {
    EXPECT_EQ(error.Source(), "bad.yaml");
    EXPECT_GT(error.Line(), 0u) << error.what();
    EXPECT_GT(error.Column(), 0u) << error.what();
    return error.what();
  }
  ADD_FAILURE() << "read without error: " << text;
  return std::string();
}

}  // namespace

TEST(VxXIniHostileInput, BrokenSyntaxIsAnError) {
  EXPECT_EQ(LocatedError("a: 1\nb: [1, 2\n"), "bad.yaml:3:1: b: end of sequence flow not found");
  EXPECT_EQ(LocatedError("a:\n  b: 1\n c: 2\n"), "bad.yaml:3:2: end of map not found");
  EXPECT_EQ(LocatedError("a: b: c\n"), "bad.yaml:1:5: illegal map value");
  EXPECT_EQ(LocatedError("a: \"x"), "bad.yaml:1:6: a: illegal EOF in scalar");
}

TEST(VxXIniHostileInput, DuplicateKeyIsAnErrorAtTheSecondKey) {
  EXPECT_EQ(LocatedError("name: a\nfocus: 1\nname: b\n"),
            "bad.yaml:3:1: name: the key 'name' appears twice in this section");
  EXPECT_EQ(LocatedError("p: {x: 1, x: 2}\n"),
            "bad.yaml:1:11: p/x: the key 'x' appears twice in this section");
}

TEST(VxXIniHostileInput, DuplicateKeyIsFoundInLargeMappings) {
  std::string text;
  for (int i = 0; i < 100; ++i) {
    text += "k" + std::to_string(i) + ": " + std::to_string(i) + "\n";
  }
  text += "k42: again\n";
  EXPECT_EQ(LocatedError(text), "bad.yaml:101:1: k42: the key 'k42' appears twice in this section");
}

TEST(VxXIniHostileInput, SameKeyInDifferentSectionsIsFine) {
  auto reader = Read("a: {x: 1}\nb: {x: 2}\n");
  EXPECT_TRUE(reader->HasEntry(1));
}

TEST(VxXIniHostileInput, AnchorsAndAliasesAreErrors) {
  EXPECT_EQ(LocatedError("a: &p 1\n"),
            "bad.yaml:1:4: a: anchors (&name) are not allowed in settings files");
  EXPECT_EQ(LocatedError("a: &p {x: 1}\n"),
            "bad.yaml:1:4: a: anchors (&name) are not allowed in settings files");
  EXPECT_EQ(LocatedError("a: 1\nb: *p\n"), "bad.yaml:2:4: b: the referenced anchor is not defined");
}

TEST(VxXIniHostileInput, TagsAreErrors) {
  EXPECT_EQ(LocatedError("a: !!str 1\n"),
            "bad.yaml:1:4: a: tags (tag:yaml.org,2002:str) are not allowed in settings files");
  EXPECT_EQ(LocatedError("a: !local {x: 1}\n"),
            "bad.yaml:1:4: a: tags (!local) are not allowed in settings files");
}

TEST(VxXIniHostileInput, SeveralDocumentsAreAnError) {
  EXPECT_EQ(LocatedError("a: 1\n---\nb: 2\n"),
            "bad.yaml:2:1: a settings file holds one document; a second one starts here");
}

TEST(VxXIniHostileInput, TenThousandNestedBracketsAreAnError) {
  const std::string closed = std::string(10000, '[') + std::string(10000, ']');
  EXPECT_NE(LocatedError(closed).find("bad.yaml:1:66: "), std::string::npos);
  EXPECT_NE(LocatedError(closed).find("sections nest deeper than 64 levels"), std::string::npos);
  LocatedError(std::string(10000, '['));
  LocatedError(std::string(10000, '{'));
  LocatedError("a: " + std::string(10000, '{') + std::string(10000, '}'));
}

TEST(VxXIniHostileInput, NestingUpToTheLimitIsRead) {
  auto reader = Read("a: " + std::string(64, '[') + "1" + std::string(64, ']'));
  for (int depth = 1; depth <= kVxXIniMaxDepth; ++depth) {
    ASSERT_NE(reader->EnterSectionF(0), kVxXIniNoSection) << depth;
  }
  EXPECT_EQ(reader->ReadE<int>(0), 1);
  EXPECT_EQ(LocatedError("a: " + std::string(65, '[') + std::string(65, ']')).substr(0, 14),
            "bad.yaml:1:68:");
}

TEST(VxXIniHostileInput, DeepBlockNestingIsAnError) {
  std::string text;
  for (int i = 0; i < 100; ++i) {
    text += std::string(static_cast<std::size_t>(i), ' ') + "k:\n";
  }
  EXPECT_NE(LocatedError(text).find("sections nest deeper than 64 levels"), std::string::npos);
}

TEST(VxXIniHostileInput, KeysMustBeTexts) {
  EXPECT_EQ(LocatedError("? [a]\n: 1\n"), "bad.yaml:1:3: a key must be a text, found a list");
  EXPECT_EQ(LocatedError("~: 1\n"), "bad.yaml:1:1: a key must be a text, found nothing");
}

TEST(VxXIniHostileInput, ASingleValueIsNotASettingsFile) {
  EXPECT_EQ(LocatedError("hello\n"),
            "bad.yaml:1:1: a settings file must hold keys or a list, not a single value");
}

TEST(VxXIniHostileInput, TooLargeTextIsAnErrorWithoutParsing) {
  const std::string huge(static_cast<std::size_t>(kVxXIniMaxTextSize) + 1, ' ');
  EXPECT_EQ(ReadErrorOf([&] { Read(huge, "big.yaml"); }),
            "big.yaml: the text is larger than 67108864 bytes");
}

TEST(VxXIniHostileInput, ValueOfTheWrongKindIsAnErrorAtTheValue) {
  auto reader = Read("focus: wide\nprincipal_point: 3\n", "camera.yaml");
  EXPECT_EQ(ReadErrorOf([&] { reader->ReadE<double>(reader->FindFE("focus", 0)); }),
            "camera.yaml:1:8: focus: invalid value 'wide' (expected a number)");
  EXPECT_EQ(ReadErrorOf([&] { reader->EnterSectionFE(reader->FindFE("principal_point", 0)); }),
            "camera.yaml:2:18: principal_point: expected a section, found a value");
}

TEST(VxXIniHostileInput, ArbitraryBytesNeverCrash) {
  // Texts of random bytes biased towards YAML's special characters; each either reads or gives
  // the reader's error. Sanitizer builds turn any memory fault into a failure.
  constexpr int kTrials = 2000;
  const std::string alphabet = "[]{}:-?,#&*!|>'\"%@` \n\t\\ax0.1";
  std::uint32_t state = 12345u;
  const auto next = [&state] {
    state = state * 1664525u + 1013904223u;
    return state >> 8;
  };
  int read = 0;
  int refused = 0;
  for (int trial = 0; trial < kTrials; ++trial) {
    std::string text;
    const std::uint32_t length = next() % 64;
    for (std::uint32_t i = 0; i < length; ++i) {
      const std::uint32_t r = next();
      text += (r & 1u) ? alphabet[(r >> 1) % alphabet.size()] : static_cast<char>(r >> 3);
    }
    try {
      auto reader = Read(text);
      for (TVxXIniPosition i = 0; reader->HasEntry(i); ++i) {
        EXPECT_NO_THROW(reader->NameAt(i));
      }
      ++read;
    } catch (const TVxXIniReadError& error) {
      EXPECT_EQ(error.Source(), "test.yaml");
      ++refused;
    }
  }
  // The generator reaches both outcomes, so both paths ran under the sanitizers.
  EXPECT_GT(read, 0);
  EXPECT_GT(refused, 0);
}

TEST(VxXIniHostileInput, BracketsInTextsCommentsAndBlockScalarsAreNoNesting) {
  const std::string deep(200, '[');
  auto reader =
      Read("a: \"" + deep + "\"\nb: '" + deep + "'\n# " + deep + "\nc: |\n  " + deep + "\n  " +
           deep + "\nd: x " + deep + "\ne: [1, \"" + deep + "\", '" + deep + "''']\n");
  EXPECT_EQ(reader->ReadE<std::string>(reader->FindFE("a", 0)), deep);
  EXPECT_EQ(reader->ReadE<std::string>(reader->FindFE("b", 0)), deep);
  EXPECT_EQ(reader->ReadE<std::string>(reader->FindFE("c", 0)), deep + "\n" + deep + "\n");
  EXPECT_EQ(reader->ReadE<std::string>(reader->FindFE("d", 0)), "x " + deep);
  reader->EnterSectionSE("e");
  EXPECT_EQ(reader->ReadE<std::string>(2), deep + "'");
}

TEST(VxXIniHostileInput, TooDeepBracketsAfterOtherLinesAreLocatedOnTheirLine) {
  const std::string text = "a: 1\nb: \"x\n  y\"\nc:\n  d: " + std::string(100, '[');
  // c/d is at depth 2: its 64th bracket, in column 5 + 64, is the first too deep.
  EXPECT_EQ(LocatedError(text).substr(0, 14), "bad.yaml:5:69:");
  EXPECT_NE(LocatedError(text).find("c/d/[0]"), std::string::npos);
}

TEST(VxXIniHostileInput, UnclosedBracketsOfMixedKindsAreRefused) {
  std::string text = "a: ";
  for (int i = 0; i < 5000; ++i) text += i % 2 == 0 ? "[" : "{k: ";
  EXPECT_NE(LocatedError(text).find("sections nest deeper than 64 levels"), std::string::npos);
}

TEST(VxXIniHostileInput, ANulByteIsRefusedWhereItStands) {
  EXPECT_EQ(LocatedError(std::string("name: a\0b\nfocus: 1\n", 19)),
            "bad.yaml:1:8: the text holds a NUL byte, which no settings file holds");
  EXPECT_EQ(LocatedError(std::string("a: 1\n\0\n", 7)),
            "bad.yaml:2:1: the text holds a NUL byte, which no settings file holds");
}
