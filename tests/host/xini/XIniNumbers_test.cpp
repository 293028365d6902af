#include "XIniNumbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <locale>
#include <random>
#include <string>

using vx_xini::FormatDouble;
using vx_xini::ParseDouble;
using vx_xini::TParseResult;

namespace {

std::uint64_t Bits(double value) {
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

double FromBits(std::uint64_t bits) {
  double value = 0.0;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

// Formats and parses `value`; true if the result has the same bits (any NaN for a NaN).
::testing::AssertionResult RoundTrips(double value) {
  const std::string text = FormatDouble(value);
  double back = 0.0;
  if (ParseDouble(text, back) != TParseResult::Ok) {
    return ::testing::AssertionFailure() << "'" << text << "' does not parse";
  }
  if (std::isnan(value) ? !std::isnan(back) : Bits(back) != Bits(value)) {
    return ::testing::AssertionFailure() << "'" << text << "' reads back with bits " << std::hex
                                         << Bits(back) << " instead of " << Bits(value);
  }
  return ::testing::AssertionSuccess();
}

// A numeric punctuation with a decimal comma and grouping, as some national locales have.
struct TCommaDecimal : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

}  // namespace

TEST(XIniNumbers, MillionRandomBitPatternsRoundTripBitForBit) {
  constexpr int kTrials = 1000000;
  std::mt19937_64 random(20240521);
  int nans = 0;
  for (int trial = 0; trial < kTrials; ++trial) {
    const double value = FromBits(random());
    nans += std::isnan(value) ? 1 : 0;
    ASSERT_TRUE(RoundTrips(value)) << "trial " << trial;
  }
  EXPECT_GT(nans, 0);  // NaN patterns were among them: they read back as NaN
}

TEST(XIniNumbers, SpecialValuesRoundTripBitForBit) {
  using limits = std::numeric_limits<double>;
  for (const double value : {0.0,
                             -0.0,
                             limits::denorm_min(),
                             -limits::denorm_min(),
                             limits::min() / 2,
                             limits::min(),
                             -limits::min(),
                             limits::max(),
                             -limits::max(),
                             limits::lowest(),
                             limits::epsilon(),
                             1.0 + limits::epsilon(),
                             0.1,
                             1.0 / 3.0,
                             1e20,
                             1e-20,
                             123456789.0,
                             9007199254740993.0,
                             limits::infinity(),
                             -limits::infinity(),
                             limits::quiet_NaN()}) {
    EXPECT_TRUE(RoundTrips(value)) << value;
  }
}

TEST(XIniNumbers, AllSubnormalExponentsRoundTrip) {
  for (std::uint64_t mantissa = 1; mantissa < (std::uint64_t{1} << 52); mantissa <<= 1) {
    EXPECT_TRUE(RoundTrips(FromBits(mantissa)));
    EXPECT_TRUE(RoundTrips(FromBits(mantissa | (std::uint64_t{1} << 63))));
    EXPECT_TRUE(RoundTrips(FromBits(mantissa * 3 / 2 + 1)));
  }
}

TEST(XIniNumbers, ShortestFormsAreWritten) {
  EXPECT_EQ(FormatDouble(0.1), "0.1");
  EXPECT_EQ(FormatDouble(-0.0), "-0");
  EXPECT_EQ(FormatDouble(5.0), "5");
  EXPECT_EQ(FormatDouble(1e20), "1e+20");
  EXPECT_EQ(FormatDouble(std::numeric_limits<double>::denorm_min()), "5e-324");
  EXPECT_EQ(FormatDouble(std::numeric_limits<double>::quiet_NaN()), ".nan");
  EXPECT_EQ(FormatDouble(-std::numeric_limits<double>::quiet_NaN()), ".nan");
  EXPECT_EQ(FormatDouble(std::numeric_limits<double>::infinity()), ".inf");
  EXPECT_EQ(FormatDouble(-std::numeric_limits<double>::infinity()), "-.inf");
  EXPECT_EQ(vx_xini::FormatInt(std::numeric_limits<long long>::min()), "-9223372036854775808");
  EXPECT_EQ(vx_xini::FormatUnsigned(std::numeric_limits<unsigned long long>::max()),
            "18446744073709551615");
}

TEST(XIniNumbers, UnderflowAndOverflowAreOutOfRange) {
  double value = 1.0;
  EXPECT_EQ(ParseDouble("1e-400", value), TParseResult::OutOfRange);
  EXPECT_EQ(ParseDouble("1e400", value), TParseResult::OutOfRange);
  EXPECT_EQ(ParseDouble("0e400", value), TParseResult::Ok);
  EXPECT_EQ(value, 0.0);
  EXPECT_EQ(ParseDouble("-0.000e-999", value), TParseResult::Ok);
  EXPECT_TRUE(std::signbit(value));
}

TEST(XIniNumbers, OnlyYamlNumberSpellingsParse) {
  double value = 0.0;
  for (const char* bad : {"", "+", "-", ".", "e5", "1e", "1e+", "1.5.5", "1,5", " 1", "1 ", "inf",
                          "nan", "-.nan", "+.nan", "infinity", "0x10", "1_000", ".Nan"}) {
    EXPECT_EQ(ParseDouble(bad, value), TParseResult::Invalid) << "'" << bad << "'";
  }
  for (const char* good : {"1", "+1", "-1", "1.", ".5", "1.5e3", "1E-3", "+.inf", "-.INF"}) {
    EXPECT_EQ(ParseDouble(good, value), TParseResult::Ok) << "'" << good << "'";
  }
}

TEST(XIniNumbers, CommaDecimalGlobalLocaleChangesNothing) {
  const std::locale previous =
      std::locale::global(std::locale(std::locale::classic(), new TCommaDecimal));
  const std::string text = FormatDouble(1234.5);
  double value = 0.0;
  const TParseResult result = ParseDouble("1234.5", value);
  std::locale::global(previous);
  EXPECT_EQ(text, "1234.5");
  EXPECT_EQ(result, TParseResult::Ok);
  EXPECT_EQ(value, 1234.5);
}
