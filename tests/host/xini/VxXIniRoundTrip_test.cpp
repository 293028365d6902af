// Property: a tree written by the writer reads back entry for entry, name for name, value for
// value, and writing what was read gives the same text again.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <locale>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "VxXIni.h"

namespace {

enum class TKind { Int, Unsigned, Double, Text, LongText, Section };

struct TModel {
  std::string name;
  TKind kind = TKind::Section;
  int i = 0;
  unsigned long u = 0;
  double d = 0.0;
  std::string text;
  bool compact = false;
  std::vector<TModel> children;
};

class TTreeGenerator {
 public:
  explicit TTreeGenerator(std::uint64_t seed) : random_(seed) {}

  TModel Root() {
    TModel root;
    FillSection(root, 0);
    return root;
  }

 private:
  static constexpr int kMaxModelDepth = 5;
  static constexpr int kMaxEntries = 8;

  std::uint64_t Below(std::uint64_t n) { return random_() % n; }

  std::string Word() {
    static const char* const kWords[] = {"x",          "y",   "type", "table_+", "K0",
                                         "Coords_cam", "a b", "name", "r",       "dr"};
    return kWords[Below(10)];
  }

  // Texts of every kind that a user or a fuzzer might put in a file.
  std::string Text() {
    switch (Below(6)) {
      case 0:
        return Word();
      case 1:
        return std::string();
      case 2: {  // any bytes at all
        std::string text;
        for (std::uint64_t n = Below(12); n > 0; --n) {
          text += static_cast<char>(Below(256));
        }
        return text;
      }
      case 3: {  // look-alikes of other values
        static const char* const kLookAlikes[] = {"90",  "-0",  ".nan", "true", "null", "~",
                                                  "1e5", "- x", "a: b", "#c",   "{}",   "'q'"};
        return kLookAlikes[Below(12)];
      }
      case 4:
        return MultiLine();
      default: {
        std::string text;
        const std::string alphabet = "aZ _-+./()09:#,[]{}\"'\\\t ";
        for (std::uint64_t n = 1 + Below(10); n > 0; --n) {
          text += alphabet[Below(alphabet.size())];
        }
        return text;
      }
    }
  }

  std::string MultiLine() {
    std::string text;
    for (std::uint64_t lines = 1 + Below(4); lines > 0; --lines) {
      const std::string pieces[] = {
          "", " ", "  indented", "text", "\ttab", "# not a comment", "trailing  ", "---", "- item"};
      text += pieces[Below(9)];
      text += '\n';
    }
    const std::uint64_t cut = Below(3);  // drop the final line end, keep it, or add one
    if (cut == 0) {
      text.pop_back();
    } else if (cut == 2) {
      text += '\n';
    }
    return text;
  }

  double Double() {
    switch (Below(4)) {
      case 0: {
        double value = 0.0;
        const std::uint64_t bits = random_();
        std::memcpy(&value, &bits, sizeof value);
        return value;
      }
      case 1:
        return static_cast<double>(static_cast<std::int64_t>(Below(2000)) - 1000) / 8.0;
      case 2: {
        const double specials[] = {-0.0, std::numeric_limits<double>::infinity(),
                                   -std::numeric_limits<double>::infinity(),
                                   std::numeric_limits<double>::denorm_min(), 0.1};
        return specials[Below(5)];
      }
      default:
        return std::ldexp(static_cast<double>(Below(1000)), static_cast<int>(Below(100)) - 50);
    }
  }

  void FillSection(TModel& section, int depth) {
    section.kind = TKind::Section;
    const bool list = Below(3) == 0;
    std::set<std::string> names;
    for (std::uint64_t n = Below(kMaxEntries + 1); n > 0; --n) {
      TModel entry;
      if (!list) {
        entry.name = Below(2) == 0 ? Word() : Text();
        if (entry.name.empty() || !names.insert(entry.name).second) {
          continue;
        }
      }
      const std::uint64_t kind = Below(depth < kMaxModelDepth ? 6 : 5);
      entry.kind = static_cast<TKind>(kind);
      switch (entry.kind) {
        case TKind::Int:
          entry.i = static_cast<int>(static_cast<std::uint32_t>(random_()));
          break;
        case TKind::Unsigned:
          entry.u = random_();
          break;
        case TKind::Double:
          entry.d = Double();
          break;
        case TKind::Text:
          entry.text = Text();
          break;
        case TKind::LongText:
          entry.text = Below(2) == 0 ? MultiLine() : Text();
          break;
        case TKind::Section:
          entry.compact = section.compact || Below(3) == 0;
          FillSection(entry, depth + 1);
          break;
      }
      section.children.push_back(std::move(entry));
    }
  }

  std::mt19937_64 random_;
};

void Write(TVxXIniWriter& writer, const TModel& section) {
  for (const TModel& entry : section.children) {
    switch (entry.kind) {
      case TKind::Int:
        ASSERT_TRUE(writer.WriteS(entry.name, entry.i));
        break;
      case TKind::Unsigned:
        ASSERT_TRUE(writer.WriteS(entry.name, entry.u));
        break;
      case TKind::Double:
        ASSERT_TRUE(writer.WriteS(entry.name, entry.d));
        break;
      case TKind::Text:
        ASSERT_TRUE(writer.WriteS(entry.name, entry.text));
        break;
      case TKind::LongText:
        writer.WriteLongStringSE(entry.name, entry.text);
        break;
      case TKind::Section: {
        const TVxXIniSectionHandle handle = entry.compact ? writer.BeginSectionCompactSE(entry.name)
                                                          : writer.BeginSectionSE(entry.name);
        Write(writer, entry);
        writer.EndSectionE(handle);
        break;
      }
    }
  }
}

bool SameDouble(double a, double b) {
  if (std::isnan(a)) {
    return std::isnan(b);
  }
  std::uint64_t bitsA = 0;
  std::uint64_t bitsB = 0;
  std::memcpy(&bitsA, &a, sizeof a);
  std::memcpy(&bitsB, &b, sizeof b);
  return bitsA == bitsB;
}

// Reads the current section of `reader` as `section` says it should be, checking every entry,
// and writes what it read into `copy` (with the model's kinds and layout).
void ReadAndCopy(TVxXIniReader& reader, const TModel& section, TVxXIniWriter& copy) {
  TVxXIniPosition position = 0;
  for (const TModel& entry : section.children) {
    ASSERT_TRUE(reader.HasEntry(position)) << reader.CurrentPath();
    ASSERT_EQ(reader.NameAt(position), entry.name) << reader.CurrentPath();
    ASSERT_EQ(reader.IsSectionAt(position), entry.kind == TKind::Section);
    if (!entry.name.empty()) {
      ASSERT_EQ(reader.FindF(entry.name, 0), position);
    }
    switch (entry.kind) {
      case TKind::Int: {
        const int value = reader.ReadE<int>(position);
        ASSERT_EQ(value, entry.i);
        copy.WriteS(entry.name, value);
        break;
      }
      case TKind::Unsigned: {
        const unsigned long value = reader.ReadE<unsigned long>(position);
        ASSERT_EQ(value, entry.u);
        copy.WriteS(entry.name, value);
        break;
      }
      case TKind::Double: {
        const double value = reader.ReadE<double>(position);
        ASSERT_TRUE(SameDouble(value, entry.d)) << entry.d << " read as " << value;
        copy.WriteS(entry.name, value);
        break;
      }
      case TKind::Text: {
        const std::string value = reader.ReadE<std::string>(position);
        ASSERT_EQ(value, entry.text);
        copy.WriteS(entry.name, value);
        break;
      }
      case TKind::LongText: {
        const std::string value = reader.Read<std::string>(position, "");
        ASSERT_EQ(value, entry.text);
        copy.WriteLongStringSE(entry.name, value);
        break;
      }
      case TKind::Section: {
        const TVxXIniSectionHandle in = reader.EnterSectionFE(position);
        const TVxXIniSectionHandle out = entry.compact ? copy.BeginSectionCompactSE(entry.name)
                                                       : copy.BeginSectionSE(entry.name);
        ReadAndCopy(reader, entry, copy);
        reader.LeaveSectionE(in);
        copy.EndSectionE(out);
        break;
      }
    }
    ++position;
  }
  ASSERT_FALSE(reader.HasEntry(position)) << reader.CurrentPath();
}

}  // namespace

TEST(VxXIniRoundTrip, RandomTreesReadBackEntryForEntryAndRewriteToTheSameText) {
  constexpr int kTrees = 400;
  TTreeGenerator generator(19700101);
  for (int tree = 0; tree < kTrees; ++tree) {
    const TModel root = generator.Root();
    TVxXIniWriter writer;
    Write(writer, root);
    const std::string text = writer.ToText();
    SCOPED_TRACE("tree " + std::to_string(tree) + ":\n" + text);
    std::unique_ptr<TVxXIniReader> reader;
    try {
      reader = TVxXIniReader::FromText(text);
    } catch (const TVxXIniReadError& error) {
      FAIL() << error.what();
    }
    TVxXIniWriter copy;
    ReadAndCopy(*reader, root, copy);
    ASSERT_EQ(copy.ToText(), text);
  }
}

TEST(VxXIniRoundTrip, CommaDecimalGlobalLocaleChangesNeitherTextNorValues) {
  struct TCommaDecimal : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  TVxXIniWriter writer;
  writer.WriteS("focus", 1234.5);
  writer.WriteS("count", 1234567);
  const std::locale previous =
      std::locale::global(std::locale(std::locale::classic(), new TCommaDecimal));
  const std::string text = writer.ToText();
  auto reader = TVxXIniReader::FromText("focus: 0.25\ncount: 1000000\n");
  const double focus = reader->ReadE<double>(0);
  const int count = reader->ReadE<int>(1);
  std::locale::global(previous);
  EXPECT_EQ(text, "focus: 1234.5\ncount: 1234567\n");
  EXPECT_EQ(focus, 0.25);
  EXPECT_EQ(count, 1000000);
}

TEST(VxXIniRoundTrip, LongKeysAndTextsReadBack) {
  const std::string longKey(kVxXIniMaxKeyLength, 'k');
  const std::string longText(100000, 'v');
  TVxXIniWriter writer;
  writer.WriteS(longKey, longText);
  auto reader = TVxXIniReader::FromText(writer.ToText());
  EXPECT_EQ(reader->ReadE<std::string>(reader->FindFE(longKey, 0)), longText);
}

TEST(VxXIniRoundTrip, TenThousandRandomDoublesRoundTripThroughText) {
  constexpr int kValues = 10000;
  std::mt19937_64 random(42);
  std::vector<double> values;
  TVxXIniWriter writer;
  const TVxXIniSectionHandle list = writer.BeginSectionSE("values");
  for (int i = 0; i < kValues; ++i) {
    double value = 0.0;
    const std::uint64_t bits = random();
    std::memcpy(&value, &bits, sizeof value);
    values.push_back(value);
    writer.WriteS("", value);
  }
  writer.EndSectionE(list);
  auto reader = TVxXIniReader::FromText(writer.ToText());
  reader->EnterSectionSE("values");
  for (std::size_t i = 0; i < values.size(); ++i) {
    ASSERT_TRUE(SameDouble(reader->ReadE<double>(i), values[i])) << values[i];
  }
}
