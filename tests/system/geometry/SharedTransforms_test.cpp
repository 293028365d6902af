// Transforms built from cameras, used read-only by several threads at once: every example camera
// in both senses (the camera-to-millimetre sense runs the inverse solver for a distortion given
// MmToCam), and the pixel-to-camera transform of a solved scan. Each thread maps the points one
// at a time, in a batch and as a grid, and must get exactly the results of a single thread.
// Run under ThreadSanitizer by the test label "concurrency", which also sees any data race.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "CameraMathTestSupport.h"
#include "VxIntOrMeas.h"
#include "VxIntOrSolve.h"
#include "VxTransformGrid.h"

namespace {

using TPoint = vec_t_<double, 2>;

constexpr int kThreads = 4;
// Points of the grid along each side: a 230 mm film format and some way beyond its corners.
const TVxPointGrid kGrid{-130.0, 130.0, 260.0 / 23.0, -260.0 / 23.0, 24, 24};

// What one caller gets from a transform: the grid one point at a time, as a batch, as a grid.
struct TResults {
  std::vector<TPoint> single, batch, grid;
};

TResults MapAll(const TVx2DTransform& transform) {
  const std::size_t n = kGrid.columns * kGrid.rows;
  TResults results;
  std::vector<TPoint> points;
  for (std::size_t j = 0; j < kGrid.rows; ++j)
    for (std::size_t i = 0; i < kGrid.columns; ++i)
      points.push_back({kGrid.x0 + static_cast<double>(i) * kGrid.dx,
                        kGrid.y0 + static_cast<double>(j) * kGrid.dy});
  for (const TPoint& p : points) results.single.push_back(transform.TransformPoint(p));
  results.batch.resize(n);
  transform.TransformPoints(points.data(), results.batch.data(), n);
  results.grid.resize(n);
  TransformGrid(transform, kGrid, results.grid.data());
  return results;
}

// Bit for bit, so that NaN results compare too.
bool SameBits(const std::vector<TPoint>& a, const std::vector<TPoint>& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(TPoint)) == 0;
}

struct TShared {
  std::string name;
  TransformHandle transform;
};

std::vector<TShared> SharedTransforms() {
  std::vector<TShared> shared;
  for (const auto& entry :
       std::filesystem::directory_iterator(std::string(VX_SOURCE_DIR) + "/examples/cameras")) {
    const std::string file = entry.path().filename().string();
    TVxCameraInfo camera = vx_test::ExampleCamera(file);
    shared.push_back({file, CreateCamToMmTransform(camera)});
    camera.distortion.direction =
        camera.distortion.direction == TVxCameraDistortion::TDirection::CamToMm
            ? TVxCameraDistortion::TDirection::MmToCam
            : TVxCameraDistortion::TDirection::CamToMm;
    shared.push_back({file + " (other sense)", CreateCamToMmTransform(camera)});
  }
  TVxIntOrMeas scan;
  scan.cameraType = TCameraType::Fiducials;
  const TVxCameraInfo film = vx_test::ExampleCamera("rc10_radial.yaml");
  for (const auto& fiducial : film.fiducials)
    scan.marks.push_back(
        {fiducial.index,
         {9628.0 + fiducial.coordsCam.x / 0.0125, 9616.0 - fiducial.coordsCam.y / 0.0125},
         {}});
  TVxIntOrSolution solution;
  if (SolveIntOr(scan, film, &solution, nullptr)) {
    shared.push_back({"pixels to camera", solution.pixToCam});
    shared.push_back({"camera to pixels", solution.camToPix});
  }
  return shared;
}

TEST(SharedTransforms, ManyThreadsReadingOneTransform_GetTheResultsOfOne) {
  const std::vector<TShared> shared = SharedTransforms();
  ASSERT_EQ(shared.size(), 2 * 11u + 2u);  // the example cameras and the solved scan
  std::vector<TResults> expected;
  for (const TShared& s : shared) {
    ASSERT_TRUE(s.transform) << s.name;
    expected.push_back(MapAll(*s.transform));
  }
  std::vector<std::vector<TResults>> got(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&shared, &got, t] {
      // Each thread starts at another transform, so that different threads use one at once.
      for (std::size_t k = 0; k < shared.size(); ++k) {
        const std::size_t i = (k + static_cast<std::size_t>(t) * 5) % shared.size();
        got[static_cast<std::size_t>(t)].resize(shared.size());
        got[static_cast<std::size_t>(t)][i] = MapAll(*shared[i].transform);
      }
    });
  for (std::thread& thread : threads) thread.join();
  for (int t = 0; t < kThreads; ++t)
    for (std::size_t i = 0; i < shared.size(); ++i) {
      const TResults& r = got[static_cast<std::size_t>(t)][i];
      EXPECT_TRUE(SameBits(r.single, expected[i].single)) << shared[i].name << ", thread " << t;
      EXPECT_TRUE(SameBits(r.batch, expected[i].batch)) << shared[i].name << ", thread " << t;
      EXPECT_TRUE(SameBits(r.grid, expected[i].grid)) << shared[i].name << ", thread " << t;
    }
}

}  // namespace
