#pragma once
// A distortion record's numbers in a person's terms: the coefficients of the model in force with
// their names and units, and how far its tables reach. For reports, plots and bindings that show
// a camera without knowing each model.

#include <optional>
#include <string>
#include <vector>

#include "VxCameraInfo.h"
#include "VxCameraUtils_export.h"

// One coefficient: its name as reports and the files write it ("k1", "K0", "a3"), its value,
// and its unit, millimetres to the power `mmPower` (k1: -2, p1: -1, b1: 0).
struct TVxDistortionCoefficient {
  std::string name;
  double value = 0.0;
  int mmPower = 0;
};

// The coefficients of the model in force, in the model's order: Formula k1..k5, p1..p4, b1, b2,
// a1, a2; Mixed a1..a7, b1..b7, c1..c7, K1..K3, P1, P2; Polynomial K0..K7, P1..P4. Empty for
// None, the tables and a type outside the enumeration.
VXCAMERAUTILS_EXPORT std::vector<TVxDistortionCoefficient> DistortionCoefficients(
    const TVxCameraDistortion& distortion);

// The first number of the model in force that is not finite, by name: "symmetry_point", a
// coefficient ("k1"), a table row ("table_r[3]", "table_x[0]"); nullopt when every number is
// finite. Such a record still builds its transform, which maps every point to NaN; callers
// that would rather refuse it say so with this name.
VXCAMERAUTILS_EXPORT std::optional<std::string> FirstNonFiniteValue(
    const TVxCameraDistortion& distortion);

// The largest radius among the rows of the tables that the model in force uses (a radial table;
// the axes, the diagonals or both of a directed model), in mm; nullopt for the other models and
// for tables without a row of positive radius. Beyond it the model extrapolates.
VXCAMERAUTILS_EXPORT std::optional<double> DistortionTableReach(
    const TVxCameraDistortion& distortion);
