// The fusion hooks: a composite and TransformGrid hand an affine map and the points to the member
// that has one loop for both, whatever its class, and fall back to member by member otherwise.

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "VxAffineTransform.h"
#include "VxCombinedTransform.h"
#include "VxFormulaDistortion.h"
#include "VxTransformGrid.h"

namespace {

using TPoint = vec_t_<double, 2>;

// A model of the caller's own with a fused loop: it records what it was handed.
class TRecordingModel final : public TVx2DTransform {
 public:
  mutable int pointCalls = 0;
  mutable int gridCalls = 0;
  mutable std::array<double, 6> firstSeen{};
  mutable bool hadFirst = false;

  std::unique_ptr<TVx2DTransform> Clone() const override {
    return std::unique_ptr<TVx2DTransform>(new TRecordingModel(*this));
  }
  const char* Name() const override { return "recording"; }
  bool IsIdentity() const override { return false; }
  TPoint TransformPoint(const TPoint& p) const override { return {2.0 * p.x, p.y + 1.0}; }
  bool TransformPointsAfter(const std::array<double, 6>* first, const TPoint* in, TPoint* out,
                            std::size_t n, std::size_t* nanCount) const override {
    ++pointCalls;
    Remember(first);
    for (std::size_t i = 0; i < n; ++i) out[i] = TransformPoint(Affine(first, in[i]));
    *nanCount = 0;
    return true;
  }
  bool TransformGridAfter(const std::array<double, 6>* first, const TVxPointGrid& grid, TPoint* out,
                          std::size_t* nanCount) const override {
    ++gridCalls;
    Remember(first);
    for (std::size_t j = 0; j < grid.rows; ++j) {
      for (std::size_t i = 0; i < grid.columns; ++i) {
        const TPoint p{grid.x0 + static_cast<double>(i) * grid.dx,
                       grid.y0 + static_cast<double>(j) * grid.dy};
        out[j * grid.columns + i] = TransformPoint(Affine(first, p));
      }
    }
    *nanCount = 0;
    return true;
  }
  TRecordingModel() = default;

 private:
  TRecordingModel(const TRecordingModel&) = default;
  static TPoint Affine(const std::array<double, 6>* a, const TPoint& p) {
    if (a == nullptr) return p;
    const auto& c = *a;
    return {c[0] * p.x + c[1] * p.y + c[2], c[3] * p.x + c[4] * p.y + c[5]};
  }
  void Remember(const std::array<double, 6>* first) const {
    hadFirst = first != nullptr;
    if (first != nullptr) firstSeen = *first;
  }
};

const TRecordingModel& Recorder(const TransformHandle& chain, std::size_t member) {
  return static_cast<const TRecordingModel&>(
      static_cast<const TCombinedTransform&>(*chain).Item(member));
}

TEST(FusionHooks, ACompositeHandsTheAffineMapBeforeAMemberToItsLoop) {
  const TAffineTransform shift(1.0, 0.0, 0.5, 0.0, 1.0, -0.25);
  const TRecordingModel model;
  const TransformHandle chain = MakeCombinedTransformHandle({&shift, &model});
  const std::vector<TPoint> in{{1.0, 2.0}, {-3.0, 4.0}};
  std::vector<TPoint> out(2);
  EXPECT_EQ(chain->TransformPoints(in.data(), out.data(), 2), 0u);
  EXPECT_EQ(Recorder(chain, 1).pointCalls, 1);
  EXPECT_TRUE(Recorder(chain, 1).hadFirst);
  EXPECT_EQ(Recorder(chain, 1).firstSeen, shift.Coefficients());
  for (std::size_t i = 0; i < 2; ++i) EXPECT_EQ(out[i], chain->TransformPoint(in[i]));
}

TEST(FusionHooks, TheGridGoesToTheMembersLoopThroughTheComposite) {
  const TAffineTransform shift(1.0, 0.0, 0.5, 0.0, 1.0, -0.25);
  const TRecordingModel model;
  const TransformHandle chain = MakeCombinedTransformHandle({&shift, &model});
  TVxPointGrid grid;
  grid.columns = 3;
  grid.rows = 2;
  std::vector<TPoint> out(6);
  EXPECT_EQ(TransformGrid(*chain, grid, out.data()), 0u);
  EXPECT_EQ(Recorder(chain, 1).gridCalls, 1);
  EXPECT_EQ(Recorder(chain, 1).firstSeen, shift.Coefficients());
  EXPECT_EQ(out[5], chain->TransformPoint({2.0, 1.0}));
}

TEST(FusionHooks, AModelWithoutALoopIsMappedMemberByMember) {
  // The formula model's loop needs an affine map in front; a model after it is on its own.
  const TFormulaDistortion formula({0.0, 0.0}, 1e-5, 0, 0, 0, 0, 0, 0, 0, 0, false);
  const TRecordingModel model;
  const TransformHandle chain = MakeCombinedTransformHandle({&formula, &model});
  const std::vector<TPoint> in{{10.0, 20.0}};
  std::vector<TPoint> out(1);
  chain->TransformPoints(in.data(), out.data(), 1);
  EXPECT_EQ(Recorder(chain, 1).pointCalls, 0);  // not fused: its plain batch path ran
  EXPECT_EQ(out[0], chain->TransformPoint(in[0]));
}

TEST(FusionHooks, OnlyAnAffineMapSaysItIsOne) {
  std::array<double, 6> c{};
  EXPECT_TRUE(TAffineTransform(1, 2, 3, 4, 5, 6).AffineCoefficients(&c));
  EXPECT_EQ(c, (std::array<double, 6>{1, 2, 3, 4, 5, 6}));
  const TFormulaDistortion formula({0.0, 0.0}, 1e-5, 0, 0, 0, 0, 0, 0, 0, 0, false);
  EXPECT_FALSE(formula.AffineCoefficients(&c));
  EXPECT_EQ(c[0], 1.0);  // untouched
}

}  // namespace
