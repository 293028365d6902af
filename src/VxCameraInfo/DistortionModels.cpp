// The table of the distortion models.

#include <iterator>

#include "internal/VxDistortionModelTable.h"

namespace vx_distortion_models {
namespace {

// In the order of the enumeration. The polynomial of calibration reports is kept, saved and
// mapped, but no fit starts from it.
constexpr TModel kModels[] = {
    {TDistortionType::Formula, &SaveFormula, &LoadFormula, &CreateFormula, &FitRadiusOfCoefficients,
     &FormulaCoefficients, nullptr},
    {TDistortionType::Radial, &SaveRadial, &LoadRadial, &CreateRadial, &FitRadiusOfRadial, nullptr,
     &RadialReach},
    {TDistortionType::Directed4Plus, &SaveDirected4Plus, &LoadDirected4Plus, &CreateDirected4Plus,
     &FitRadiusOfDirected4Plus, nullptr, &Directed4PlusReach},
    {TDistortionType::Directed4X, &SaveDirected4X, &LoadDirected4X, &CreateDirected4X,
     &FitRadiusOfDirected4X, nullptr, &Directed4XReach},
    {TDistortionType::Directed8, &SaveDirected8, &LoadDirected8, &CreateDirected8,
     &FitRadiusOfDirected8, nullptr, &Directed8Reach},
    {TDistortionType::Mixed, &SaveMixed, &LoadMixed, &CreateMixed, &FitRadiusOfCoefficients,
     &MixedCoefficients, nullptr},
    {TDistortionType::Polynomial, &SavePolynomial, &LoadPolynomial, &CreatePolynomial, nullptr,
     &PolynomialCoefficients, nullptr},
};

}  // namespace

const TModel* Find(TDistortionType type) {
  for (const TModel& model : kModels) {
    if (model.type == type) return &model;
  }
  return nullptr;
}

}  // namespace vx_distortion_models
