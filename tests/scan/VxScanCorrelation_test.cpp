// The correlation surface against the coefficient summed directly in double, and the sub-pixel
// peak against marks drawn at known sub-pixel positions.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <random>
#include <string>

#include "VxScan.h"

namespace {

// The correlation coefficient of the template at (i, j), summed directly.
double DirectCoefficient(const TVxRaster& image_, const TVxRaster& templ_, int i, int j) {
  const auto image = [&](int x, int y) { return static_cast<double>(image_.At(x, y)); };
  const auto templ = [&](int x, int y) { return static_cast<double>(templ_.At(x, y)); };
  const int tw = templ_.width, th = templ_.height;
  const double n = tw * th;
  double mt = 0.0, mi = 0.0;
  for (int v = 0; v < th; ++v)
    for (int u = 0; u < tw; ++u) {
      mt += templ(u, v);
      mi += image(i + u, j + v);
    }
  mt /= n;
  mi /= n;
  double stt = 0.0, sii = 0.0, sti = 0.0;
  for (int v = 0; v < th; ++v)
    for (int u = 0; u < tw; ++u) {
      const double t = templ(u, v) - mt;
      const double p = image(i + u, j + v) - mi;
      stt += t * t;
      sii += p * p;
      sti += t * p;
    }
  return sti / std::sqrt(stt * sii);
}

TEST(CorrelationSurface, EqualsTheDirectCoefficient) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> grey(0.0, 255.0);
  TVxRaster image(40, 30), templ(9, 7);
  for (float& v : image.pixels) v = static_cast<float>(grey(random));
  for (float& v : templ.pixels) v = static_cast<float>(grey(random));
  const TVxRaster surface = CorrelationSurface(image, templ);
  ASSERT_EQ(surface.width, 32);
  ASSERT_EQ(surface.height, 24);
  for (int j = 0; j < surface.height; ++j)
    for (int i = 0; i < surface.width; ++i)
      // Float products of the numerator: about 1e-6 of the coefficient.
      EXPECT_NEAR(static_cast<double>(surface.At(i, j)), DirectCoefficient(image, templ, i, j),
                  2e-5)
          << i << ", " << j;
}

TEST(CorrelationSurface, SixteenBitValuesOnAnOffset_KeepTheirPrecision) {
  std::mt19937 random(11);
  std::uniform_real_distribution<double> grey(0.0, 300.0);
  TVxRaster image(30, 30), templ(7, 7);
  for (float& v : image.pixels) v = static_cast<float>(60000.0 + grey(random));
  for (float& v : templ.pixels) v = static_cast<float>(grey(random));
  const TVxRaster surface = CorrelationSurface(image, templ);
  for (int j = 0; j < surface.height; j += 3)
    for (int i = 0; i < surface.width; i += 3)
      EXPECT_NEAR(static_cast<double>(surface.At(i, j)), DirectCoefficient(image, templ, i, j),
                  1e-4);
}

TEST(CorrelationSurface, FlatImagePart_GivesZero) {
  TVxRaster image(20, 20, 100.0f), templ(5, 5);
  for (int i = 0; i < 25; ++i)
    templ.pixels[static_cast<std::size_t>(i)] = static_cast<float>(i % 3);
  const TVxRaster surface = CorrelationSurface(image, templ);
  for (float v : surface.pixels) EXPECT_EQ(v, 0.0f);
}

TEST(FindTemplate, FlatTemplate_IsNotFound) {
  TVxRaster image(20, 20);
  for (std::size_t i = 0; i < image.pixels.size(); ++i) image.pixels[i] = static_cast<float>(i % 7);
  EXPECT_FALSE(FindTemplate(image, TVxRaster(5, 5, 3.0f)).found);
  EXPECT_FALSE(FindTemplate(TVxRaster(4, 4, 1.0f), image).found);
}

// A dark disc of radius 6 with a bar to its right, centre (cx, cy). With `edge` 0 its edges are
// sharp, anti-aliased by 16 × 16 samples a pixel; otherwise they are blurred by a Gaussian of
// that sigma (pixels), the ink share at a pixel centre being Φ((6 - distance) / edge) for the
// disc, and the same across the bar's long edges.
TVxRaster Disc(int width, int height, double cx, double cy, double edge = 0.0) {
  TVxRaster r(width, height);
  const int n = 16;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      double ink = 0.0;
      if (edge > 0.0) {
        const double sx = x - cx, sy = y - cy;
        const auto phi = [&](double d) { return 0.5 * std::erfc(-d / (std::sqrt(2.0) * edge)); };
        const double disc = phi(6.0 - std::hypot(sx, sy));
        const double bar = phi(1.5 - std::abs(sy)) * phi(sx - 4.0) * phi(11.0 - sx);
        ink = std::max(disc, bar);
      } else {
        int count = 0;
        for (int j = 0; j < n; ++j)
          for (int i = 0; i < n; ++i) {
            const double sx = x - 0.5 + (i + 0.5) / n - cx;
            const double sy = y - 0.5 + (j + 0.5) / n - cy;
            if (std::hypot(sx, sy) <= 6.0 || (sx > 4.0 && sx < 11.0 && std::abs(sy) < 1.5)) ++count;
          }
        ink = static_cast<double>(count) / (n * n);
      }
      r.At(x, y) = static_cast<float>(200.0 - 150.0 * ink);
    }
  return r;
}

struct TSubPixelCase {
  const char* name;
  double edge;
  double refinedLimit;    // worst refined error, pixels
  double quadraticLimit;  // worst error of the quadratic alone
};

class SubPixel : public ::testing::TestWithParam<TSubPixelCase> {};

// Sub-pixel positions over a grid of fractions: the refined peak against the drawn position.
TEST_P(SubPixel, RefinedPeak_MatchesTheDrawnPosition) {
  const TSubPixelCase& c = GetParam();
  const TVxRaster templ = Disc(31, 31, 15.0, 15.0, c.edge);
  double worstRefined = 0.0, worstQuadratic = 0.0;
  for (double fx = 0.0; fx < 1.0; fx += 0.125)
    for (double fy = 0.05; fy < 1.0; fy += 0.3) {
      const double cx = 30.0 + fx, cy = 27.0 + fy;
      const TVxRaster image = Disc(80, 70, cx, cy, c.edge);
      const TVxCorrelationPeak refined = FindTemplate(image, templ, true);
      const TVxCorrelationPeak quadratic = FindTemplate(image, templ, false);
      ASSERT_TRUE(refined.found);
      EXPECT_GT(refined.score, 0.95);
      const vec_t_<double, 2> truth(cx - 15.0, cy - 15.0);
      worstRefined = std::max(worstRefined, (refined.offset - truth).Length());
      worstQuadratic = std::max(worstQuadratic, (quadratic.offset - truth).Length());
    }
  std::cout << "[ subpixel ] " << c.name << ": worst refined " << worstRefined
            << " px, quadratic alone " << worstQuadratic << " px\n";
  EXPECT_LT(worstRefined, c.refinedLimit);
  EXPECT_LT(worstQuadratic, c.quadraticLimit);
}

INSTANTIATE_TEST_SUITE_P(Marks, SubPixel,
                         ::testing::Values(TSubPixelCase{"sharp", 0.0, 0.04, 0.15},
                                           TSubPixelCase{"blurred", 0.8, 0.015, 0.15}),
                         [](const ::testing::TestParamInfo<TSubPixelCase>& p) {
                           return std::string(p.param.name);
                         });

TEST(FindTemplate, SecondPeak_IsTheOtherMark) {
  TVxRaster image = Disc(120, 60, 30.0, 30.0);
  const TVxRaster other = Disc(120, 60, 85.0, 31.0);
  for (std::size_t i = 0; i < image.pixels.size(); ++i)
    image.pixels[i] = std::min(image.pixels[i], other.pixels[i]);
  const TVxCorrelationPeak peak = FindTemplate(image, Disc(31, 31, 15.0, 15.0));
  ASSERT_TRUE(peak.found);
  EXPECT_GT(peak.secondScore, 0.95);
  EXPECT_LE(peak.secondScore, peak.score);
}

}  // namespace
