#pragma once
// The example interior orientation measurements shipped under examples/measurements/, one per
// situation a scan can be in, for the example cameras.

#include <string>
#include <vector>

#include "VxIntOrMeas.h"

struct TExampleMeasurement {
  std::string fileName;  // under examples/measurements/
  TVxIntOrMeas measurement;
};

std::vector<TExampleMeasurement> ExampleMeasurements();
