// Failure injection: a loader or saver can be made to fail at each of its steps in turn.

#include <gtest/gtest.h>

#include <string>

#include "VxXIni.h"
#include "XIniTestSupport.h"

using xini_test::ReadErrorOf;
using xini_test::WriteErrorOf;

namespace {

struct TSample {
  std::string name;
  double focus = 0.0;
  double x = 0.0;
  double y = 0.0;
  bool operator==(const TSample& o) const {
    return name == o.name && focus == o.focus && x == o.x && y == o.y;
  }
};

// A saver written the way every record's SaveE is: each WriteS tested, ThrowWriteError on false.
void SaveSample(TVxXIniWriter& writer, const TSample& sample) {
  if (!writer.WriteS("name", sample.name)) {
    writer.ThrowWriteError();
  }
  if (!writer.WriteS("focus", sample.focus)) {
    writer.ThrowWriteError();
  }
  const TVxXIniSectionHandle point = writer.BeginSectionCompactSE("principal_point");
  if (!writer.WriteS(vx::s_x, sample.x)) {
    writer.ThrowWriteError();
  }
  if (!writer.WriteS(vx::s_y, sample.y)) {
    writer.ThrowWriteError();
  }
  writer.EndSectionE(point);
}

// A strict loader: reads into a working copy, assigns it at the end.
void LoadSample(TVxXIniReader& reader, TSample& target) {
  TSample loaded;
  loaded.name = reader.ReadE<std::string>(reader.FindFE("name", 0));
  loaded.focus = reader.Read<double>(reader.FindF("focus", 0), 0.0);
  const TVxXIniSectionHandle point = reader.EnterSectionFE(reader.FindFE("principal_point", 0));
  loaded.x = reader.ReadE<double>(reader.FindFE(vx::s_x, 0));
  loaded.y = reader.ReadE<double>(reader.FindFE(vx::s_y, 0));
  reader.LeaveSectionE(point);
  target = loaded;
}

const TSample kSample{"RMK", 153.0, 0.25, -0.5};

}  // namespace

TEST(VxXIniFailureInjection, OperationCountsCountEveryOperation) {
  TVxXIniWriter writer;
  SaveSample(writer, kSample);
  EXPECT_EQ(writer.OperationCount(), 6u);  // 4 writes, begin, end
  auto reader = TVxXIniReader::FromText(writer.ToText());
  TSample loaded;
  LoadSample(*reader, loaded);
  EXPECT_EQ(reader->OperationCount(), 11u);  // 5 finds, 4 reads, enter, leave
  EXPECT_EQ(loaded, kSample);
}

TEST(VxXIniFailureInjection, ReaderFailsAtEveryStepAndTheTargetStaysUnchanged) {
  std::string text;
  std::uint64_t steps = 0;
  {
    TVxXIniWriter writer;
    SaveSample(writer, kSample);
    text = writer.ToText();
    auto reader = TVxXIniReader::FromText(text);
    TSample loaded;
    LoadSample(*reader, loaded);
    steps = reader->OperationCount();
  }
  for (std::uint64_t n = 1; n <= steps; ++n) {
    auto reader = TVxXIniReader::FromText(text, "sample.yaml");
    reader->FailAtOperation(n);
    const TSample before{"before", 1.0, 2.0, 3.0};
    TSample target = before;
    const std::string message = ReadErrorOf([&] { LoadSample(*reader, target); });
    EXPECT_NE(message.find("injected failure (operation " + std::to_string(n) + ")"),
              std::string::npos)
        << message;
    EXPECT_EQ(message.rfind("sample.yaml:", 0), 0u) << message;
    EXPECT_EQ(target, before) << "step " << n;
    EXPECT_EQ(reader->OperationCount(), n);
  }
}

TEST(VxXIniFailureInjection, ReaderFailsNonThrowingOperationsToo) {
  auto reader = TVxXIniReader::FromText("a: 1\n");
  reader->FailAtOperation(2);
  EXPECT_EQ(reader->FindF("a", 0), 0u);
  EXPECT_THROW(reader->HasEntry(0), TVxXIniReadError);
  EXPECT_TRUE(reader->HasEntry(0));  // only the chosen operation fails
}

TEST(VxXIniFailureInjection, ReaderInjectionCanBeSwitchedOff) {
  auto reader = TVxXIniReader::FromText("a: 1\n");
  reader->FailAtOperation(1);
  reader->FailAtOperation(0);
  EXPECT_TRUE(reader->HasEntry(0));
}

TEST(VxXIniFailureInjection, WriterFailsAtEveryStepWithTheWritersError) {
  std::uint64_t steps = 0;
  {
    TVxXIniWriter writer;
    SaveSample(writer, kSample);
    steps = writer.OperationCount();
  }
  for (std::uint64_t n = 1; n <= steps; ++n) {
    TVxXIniWriter writer;
    writer.FailAtOperation(n);
    const std::string message = WriteErrorOf([&] { SaveSample(writer, kSample); });
    EXPECT_NE(message.find("injected failure (operation " + std::to_string(n) + ")"),
              std::string::npos)
        << message;
  }
}

TEST(VxXIniFailureInjection, InjectedWriteSReturnsFalseAndWritesNothing) {
  TVxXIniWriter writer;
  writer.FailAtOperation(2);
  EXPECT_TRUE(writer.WriteS("a", 1));
  EXPECT_FALSE(writer.WriteS("b", 2));
  EXPECT_EQ(WriteErrorOf([&] { writer.ThrowWriteError(); }),
            "the root section: injected failure (operation 2)");
  EXPECT_TRUE(writer.WriteS("c", 3));
  EXPECT_EQ(writer.ToText(), "a: 1\nc: 3\n");
}

TEST(VxXIniFailureInjection, InjectedSectionOperationsThrow) {
  TVxXIniWriter writer;
  writer.FailAtOperation(1);
  EXPECT_THROW(writer.BeginSectionSE("s"), TVxXIniWriteError);
  const TVxXIniSectionHandle handle = writer.BeginSectionSE("s");
  writer.FailAtOperation(3);
  EXPECT_THROW(writer.EndSectionE(handle), TVxXIniWriteError);
  writer.EndSectionE(handle);
  writer.FailAtOperation(5);
  EXPECT_THROW(writer.WriteLongStringSE("t", "a\nb"), TVxXIniWriteError);
  EXPECT_EQ(writer.ToText(), "s: {}\n");
}
