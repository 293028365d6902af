// Every example camera, exported to every format and imported again, keeps its transform within
// the deviation that the export reports; the reported deviation is the largest one that a grid
// of the test's own finds (every second point of the library's 201 x 201 grid).
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

#include "ExchangeTestSupport.h"
#include "VxCameraUtils.h"
#include "VxXIni.h"

namespace {

using namespace vx_exchange_test;

class ExchangeExamples : public ::testing::TestWithParam<std::string> {
 protected:
  static void SetUpTestSuite() { Init_VxCameraUtils(); }
  static void TearDownTestSuite() { Deinit_VxCameraUtils(); }
};

// The scan of a film camera: 10 um pixels; a frame of 230 mm where the camera has no marks.
constexpr double kFilmPixel = 0.01;
constexpr double kFilmFrame = 230.0;
// Rounding of the transforms themselves: the inverse solvers stop at 1e-12 mm.
constexpr double kRoundingMm = 1e-9;

TVxCameraInfo LoadExample(const std::string& name) {
  const auto reader =
      TVxXIniReader::FromFile(std::string(VX_SOURCE_DIR) + "/examples/cameras/" + name);
  TVxCameraInfo camera;
  XIniLoadE(reader.get(), camera);
  return camera;
}

std::vector<std::string> ExampleNames() {
  std::vector<std::string> names;
  for (const auto& entry :
       std::filesystem::directory_iterator(std::string(VX_SOURCE_DIR) + "/examples/cameras"))
    if (entry.path().extension() == ".yaml") names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

TEST_P(ExchangeExamples, ExportThenImportKeepsTheTransformWithinTheReportedDeviation) {
  const TVxCameraInfo camera = LoadExample(GetParam());
  const bool digital = camera.cameraType == TCameraType::Digital;
  const bool marks = camera.cameraType == TCameraType::Fiducials ||
                     camera.cameraType == TCameraType::CalibratedCross;
  TVxExchangeOptions options;
  options.pixelSizeMm = digital ? 0.0 : kFilmPixel;
  options.frameMm = digital || marks ? 0.0 : kFilmFrame;
  for (int f = 0; f <= static_cast<int>(TVxExchangeFormat::Metashape); ++f) {
    const auto format = static_cast<TVxExchangeFormat>(f);
    SCOPED_TRACE(ExchangeFormatToText(format));
    const TVxExportResult out = ExportCameraE(camera, format, options);
    const double sx = digital ? camera.pixelSize.x : kFilmPixel;
    const TVxImportResult in = ImportCameraE(out.content, format, Options(sx, "exported"));
    // The example cameras are centred on their sensor or frame: one camera system for both.
    const double w = static_cast<double>(in.camera.sensorDims.x) * in.camera.pixelSize.x;
    const double h = static_cast<double>(in.camera.sensorDims.y) * in.camera.pixelSize.y;
    if (digital) {
      EXPECT_EQ(in.camera.sensorDims.x, camera.sensorDims.x);
      EXPECT_EQ(in.camera.sensorDims.y, camera.sensorDims.y);
    }
    const TransformHandle a = CreateCamToMmTransform(camera);
    const TransformHandle b = CreateCamToMmTransform(in.camera);
    double worstMm = 0.0, worstPx = 0.0;
    for (int j = 0; j <= 100; ++j) {
      for (int i = 0; i <= 100; ++i) {
        const vec_t_<double, 2> p{w * (i / 100.0 - 0.5), h * (j / 100.0 - 0.5)};
        const vec_t_<double, 2> qa = a->TransformPoint(p), qb = b->TransformPoint(p);
        worstMm = std::max(worstMm, std::hypot(qa.x - qb.x, qa.y - qb.y));
        worstPx = std::max(worstPx, std::hypot((qa.x - qb.x) / in.camera.pixelSize.x,
                                               (qa.y - qb.y) / in.camera.pixelSize.y));
      }
    }
    EXPECT_LE(worstMm, out.report.maxDeviationMm + kRoundingMm);
    EXPECT_LE(worstPx, out.report.maxDeviationPx + kRoundingMm / sx);
    // A sanity bound: the formula model follows every example within 50 um over its frame.
    EXPECT_LT(out.report.maxDeviationMm, 0.05);
    if (out.report.fitted) {
      EXPECT_GE(worstMm, 0.9 * out.report.maxDeviationMm) << "the reported deviation is real";
    } else {
      EXPECT_EQ(out.report.maxDeviationMm, 0.0);
    }
    // Import, export, import: the same camera.
    const TVxExportResult again = ExportCameraE(in.camera, format, {});
    EXPECT_FALSE(again.report.fitted);
    const TVxImportResult twice = ImportCameraE(again.content, format, Options(sx, "again"));
    EXPECT_EQ(twice.camera.distortion, in.camera.distortion);
    EXPECT_EQ(twice.camera.focus, in.camera.focus);
    EXPECT_EQ(twice.camera.pixelSize.y, in.camera.pixelSize.y);
    EXPECT_EQ(twice.camera.principalPoint.x, in.camera.principalPoint.x);
    EXPECT_EQ(twice.camera.principalPoint.y, in.camera.principalPoint.y);
  }
}

INSTANTIATE_TEST_SUITE_P(Cameras, ExchangeExamples, ::testing::ValuesIn(ExampleNames()),
                         [](const ::testing::TestParamInfo<std::string>& param) {
                           std::string name = param.param.substr(0, param.param.size() - 5);
                           for (char& c : name)
                             if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                           return name;
                         });

}  // namespace
