// COLMAP and Metashape files written by the tests: each imports exactly where the models agree,
// maps points as the format's published equations say, and goes round (import, export, import)
// to the same camera and the same numbers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>

#include "ExchangeTestSupport.h"
#include "VxCameraUtils.h"

namespace {

using namespace vx_exchange_test;
using ::testing::HasSubstr;

class ExchangeFormats : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { Init_VxCameraUtils(); }
  static void TearDownTestSuite() { Deinit_VxCameraUtils(); }
};

constexpr double kPixel = 0.0044;  // mm

std::string Num(double v) {
  char buffer[40];
  std::snprintf(buffer, sizeof buffer, "%.17g", v);
  return buffer;
}

// COLMAP (src/colmap/sensor/models.h): OPENCV's parameters fx, fy, cx, cy, k1, k2, p1, p2; the
// distortion is OpenCV's; the pixel origin is the corner of the top-left pixel, so that in
// OpenCV's centre convention cx and cy are 0.5 smaller.
TSourceCamera ColmapAsOpenCv(const TSourceCamera& colmap) {
  TSourceCamera c = colmap;
  c.cx -= 0.5;
  c.cy -= 0.5;
  return c;
}

TSourceCamera ColmapCamera() {
  TSourceCamera c;
  c.width = 6000;
  c.height = 4000;
  c.fx = 4561.25;
  c.fy = 4559.75;
  c.cx = 3012.5;
  c.cy = 1987.25;
  c.k1 = -0.0871;
  c.k2 = 0.1123;
  c.p1 = 0.00021;
  c.p2 = -0.00047;
  c.k3 = -0.0341;
  return c;
}

std::string ColmapLine(const TSourceCamera& c, const std::string& model, int id) {
  std::string line = std::to_string(id) + " " + model + " 6000 4000 " + Num(c.fx) + " " +
                     Num(c.fy) + " " + Num(c.cx) + " " + Num(c.cy) + " " + Num(c.k1) + " " +
                     Num(c.k2) + " " + Num(c.p1) + " " + Num(c.p2);
  if (model == "FULL_OPENCV") line += " " + Num(c.k3) + " 0 0 0";
  return line + "\n";
}

void PutBytes(std::string* out, const void* value, std::size_t size) {
  out->append(static_cast<const char*>(value), size);  // the test machine is little-endian
}

std::string ColmapBinary(const TSourceCamera& c, std::uint32_t id, std::int32_t model,
                         const std::vector<double>& params) {
  std::string bytes;
  const std::uint64_t count = 1, w = 6000, h = 4000;
  PutBytes(&bytes, &count, 8);
  PutBytes(&bytes, &id, 4);
  PutBytes(&bytes, &model, 4);
  PutBytes(&bytes, &w, 8);
  PutBytes(&bytes, &h, 8);
  for (double p : params) PutBytes(&bytes, &p, 8);
  (void)c;
  return bytes;
}

TEST_F(ExchangeFormats, ColmapTextWithSeveralCamerasImportsTheChosenOneExactly) {
  TSourceCamera c = ColmapCamera();
  c.k3 = 0.0;
  const std::string text =
      "# Camera list with one line of data per camera:\n"
      "1 PINHOLE 6000 4000 4000 4000 3000 2000\n" +
      ColmapLine(c, "OPENCV", 7);
  TVxExchangeOptions options = Options(kPixel, "cameras.txt");
  options.cameraId = 7;
  const TVxImportResult result = ImportCameraE(text, TVxExchangeFormat::ColmapText, options);
  EXPECT_FALSE(result.report.fitted);
  EXPECT_EQ(result.report.model, "OPENCV");
  const TSourceCamera asCv = ColmapAsOpenCv(c);
  EXPECT_LE(LargestImportError(
                result.camera, [&](double x, double y) { return OpenCvProject(asCv, x, y); },
                c.width, c.height, c.fx, c.fy, kPixel),
            kExactPx);
  // Round trip: the same numbers, digit for digit.
  TVxExchangeOptions out;
  out.cameraId = 7;
  const TVxExportResult written = ExportCameraE(result.camera, TVxExchangeFormat::ColmapText, out);
  EXPECT_THAT(written.content, HasSubstr(ColmapLine(c, "OPENCV", 7).substr(0, 12)));
  const TVxImportResult again =
      ImportCameraE(written.content, TVxExchangeFormat::ColmapText, options);
  EXPECT_EQ(again.camera.distortion, result.camera.distortion);
  EXPECT_EQ(again.camera.focus, result.camera.focus);
  EXPECT_EQ(again.camera.pixelSize.y, result.camera.pixelSize.y);
  EXPECT_EQ(again.camera.principalPoint.x, result.camera.principalPoint.x);
  EXPECT_EQ(again.camera.principalPoint.y, result.camera.principalPoint.y);
}

TEST_F(ExchangeFormats, ColmapTextExportWritesTheSourceNumbers) {
  const TSourceCamera c = ColmapCamera();
  const std::string line = ColmapLine(c, "FULL_OPENCV", 1);
  const TVxImportResult result =
      ImportCameraE(line, TVxExchangeFormat::ColmapText, Options(kPixel, "cameras.txt"));
  const TVxExportResult written = ExportCameraE(result.camera, TVxExchangeFormat::ColmapText, {});
  // The source holds short decimals: they come back as written.
  EXPECT_THAT(written.content,
              HasSubstr("1 FULL_OPENCV 6000 4000 4561.25 4559.75 3012.5 1987.25 -0.0871 0.1123 "
                        "0.00021 -0.00047 -0.0341 0 0 0\n"));
}

TEST_F(ExchangeFormats, ColmapBinaryImportsExactlyAndGoesRound) {
  const TSourceCamera c = ColmapCamera();
  const std::string bytes =
      ColmapBinary(c, 3, 6, {c.fx, c.fy, c.cx, c.cy, c.k1, c.k2, c.p1, c.p2, c.k3, 0, 0, 0});
  const TVxImportResult result =
      ImportCameraE(bytes, TVxExchangeFormat::ColmapBinary, Options(kPixel, "cameras.bin"));
  EXPECT_FALSE(result.report.fitted);
  EXPECT_EQ(result.report.model, "FULL_OPENCV");
  const TSourceCamera asCv = ColmapAsOpenCv(c);
  EXPECT_LE(LargestImportError(
                result.camera, [&](double x, double y) { return OpenCvProject(asCv, x, y); },
                c.width, c.height, c.fx, c.fy, kPixel),
            kExactPx);
  TVxExchangeOptions out;
  out.cameraId = 3;
  const TVxExportResult written =
      ExportCameraE(result.camera, TVxExchangeFormat::ColmapBinary, out);
  EXPECT_EQ(written.content, bytes) << "the same bytes: id, model, size and every double";
}

TEST_F(ExchangeFormats, ColmapSimpleModelsImport) {
  const std::string text =
      "1 SIMPLE_PINHOLE 640 480 500 320 240\n2 SIMPLE_RADIAL 640 480 500 320 240 -0.1\n"
      "3 RADIAL 640 480 500 320 240 -0.1 0.02\n";
  for (std::uint64_t id : {1u, 2u, 3u}) {
    TVxExchangeOptions options = Options(0.005, "cameras.txt");
    options.cameraId = id;
    const TVxImportResult result = ImportCameraE(text, TVxExchangeFormat::ColmapText, options);
    EXPECT_FALSE(result.report.fitted);
    TSourceCamera c;
    c.width = 640;
    c.height = 480;
    c.fx = c.fy = 500;
    c.cx = 319.5;
    c.cy = 239.5;
    c.k1 = id >= 2 ? -0.1 : 0.0;
    c.k2 = id == 3 ? 0.02 : 0.0;
    EXPECT_LE(LargestImportError(
                  result.camera, [&](double x, double y) { return OpenCvProject(c, x, y); }, 640,
                  480, 500, 500, 0.005),
              kExactPx)
        << id;
  }
}

TMetashapeCamera MetashapeCamera() {
  TMetashapeCamera c;
  c.width = 8192;
  c.height = 5460;
  c.f = 8843.125;
  c.cx = 12.375;
  c.cy = -7.625;
  c.b1 = 1.5;
  c.k1 = -0.0412;
  c.k2 = 0.0218;
  c.k3 = -0.0093;
  c.k4 = 0.0011;
  c.p1 = 0.00031;
  c.p2 = -0.00022;
  c.p3 = 0.12;
  c.p4 = -0.05;
  return c;
}

std::string MetashapeXml(const TMetashapeCamera& c) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<calibration>\n"
         "  <projection>frame</projection>\n  <width>8192</width>\n  <height>5460</height>\n"
         "  <f>" +
         Num(c.f) + "</f>\n  <cx>" + Num(c.cx) + "</cx>\n  <cy>" + Num(c.cy) + "</cy>\n  <b1>" +
         Num(c.b1) + "</b1>\n  <k1>" + Num(c.k1) + "</k1>\n  <k2>" + Num(c.k2) + "</k2>\n  <k3>" +
         Num(c.k3) + "</k3>\n  <k4>" + Num(c.k4) + "</k4>\n  <p1>" + Num(c.p1) + "</p1>\n  <p2>" +
         Num(c.p2) + "</p2>\n  <p3>" + Num(c.p3) + "</p3>\n  <p4>" + Num(c.p4) +
         "</p4>\n  <date>2024-03-01T10:00:00Z</date>\n</calibration>\n";
}

TEST_F(ExchangeFormats, MetashapeWithK4P3P4AndB1ImportsExactlyAndGoesRound) {
  const TMetashapeCamera c = MetashapeCamera();
  const TVxImportResult result =
      ImportCameraE(MetashapeXml(c), TVxExchangeFormat::Metashape, Options(kPixel, "cal.xml"));
  EXPECT_FALSE(result.report.fitted);
  // Metashape's pixels: corner origin; OpenCV's centre convention is 0.5 less. fx = f + b1.
  auto project = [&](double x, double y) {
    const std::array<double, 2> uv = MetashapeProject(c, x, y);
    return std::array<double, 2>{uv[0] - 0.5, uv[1] - 0.5};
  };
  EXPECT_LE(LargestImportError(result.camera, project, c.width, c.height, c.f + c.b1, c.f, kPixel),
            kExactPx);
  const TVxExportResult written = ExportCameraE(result.camera, TVxExchangeFormat::Metashape, {});
  EXPECT_FALSE(written.report.fitted);
  for (const char* element :
       {"<f>8843.125</f>", "<b1>1.5</b1>", "<cx>12.375</cx>", "<cy>-7.625</cy>", "<k1>-0.0412</k1>",
        "<k4>0.0011</k4>", "<p1>0.00031</p1>", "<p2>-0.00022</p2>", "<p3>0.12</p3>",
        "<p4>-0.05</p4>"})
    EXPECT_THAT(written.content, HasSubstr(element));
  const TVxImportResult again =
      ImportCameraE(written.content, TVxExchangeFormat::Metashape, Options(kPixel, "again.xml"));
  EXPECT_EQ(again.camera.distortion, result.camera.distortion);
  EXPECT_EQ(again.camera.focus, result.camera.focus);
  EXPECT_EQ(again.camera.pixelSize.y, result.camera.pixelSize.y);
}

// The older PhotoScan form: fx, fy, cx, cy absolute (corner origin), and P1, P2 named as OpenCV
// names them.
TEST_F(ExchangeFormats, PhotoScanFormWithAbsolutePrincipalPointImportsExactly) {
  const std::string xml =
      "<?xml version=\"1.0\"?>\n<calibration><projection>frame</projection><width>4000</width>"
      "<height>3000</height><fx>3500.5</fx><fy>3498.25</fy><cx>2011.75</cx><cy>1490.5</cy>"
      "<skew>0</skew><k1>-0.05</k1><k2>0.01</k2><k3>0</k3><p1>0.0002</p1><p2>-0.0001</p2>"
      "</calibration>\n";
  const TVxImportResult result =
      ImportCameraE(xml, TVxExchangeFormat::Metashape, Options(kPixel, "lens.xml"));
  EXPECT_FALSE(result.report.fitted);
  TSourceCamera c;
  c.width = 4000;
  c.height = 3000;
  c.fx = 3500.5;
  c.fy = 3498.25;
  c.cx = 2011.75 - 0.5;
  c.cy = 1490.5 - 0.5;
  c.k1 = -0.05;
  c.k2 = 0.01;
  c.p1 = 0.0002;
  c.p2 = -0.0001;
  EXPECT_LE(LargestImportError(
                result.camera, [&](double x, double y) { return OpenCvProject(c, x, y); }, 4000,
                3000, c.fx, c.fy, kPixel),
            kExactPx);
}

// Skew is not a term of the formula model: it is fitted with b2 and reported.
TEST_F(ExchangeFormats, MetashapeSkewIsFittedAndReported) {
  TMetashapeCamera c = MetashapeCamera();
  c.b2 = 2.0;
  std::string xml = MetashapeXml(c);
  xml.replace(xml.find("<k1>"), 0, "<b2>2</b2>\n  ");
  const TVxImportResult result =
      ImportCameraE(xml, TVxExchangeFormat::Metashape, Options(kPixel, "cal.xml"));
  EXPECT_TRUE(result.report.fitted);
  EXPECT_GT(result.report.maxDeviationPx, 0.0);
  // 2 px of skew acting on the distorted point leaves a few hundredths of a pixel.
  EXPECT_LT(result.report.maxDeviationPx, 0.1);
}

TEST_F(ExchangeFormats, TheFormatIsGuessedFromTheContent) {
  EXPECT_EQ(GuessExchangeFormatE(MetashapeXml(MetashapeCamera()), "a"),
            TVxExchangeFormat::Metashape);
  EXPECT_EQ(GuessExchangeFormatE("1 PINHOLE 10 10 5 5 5 5\n", "a"), TVxExchangeFormat::ColmapText);
  EXPECT_EQ(GuessExchangeFormatE(std::string("\1\0\0\0", 4), "a"), TVxExchangeFormat::ColmapBinary);
  EXPECT_EQ(GuessExchangeFormatE("<?xml version=\"1.0\"?>\n<opencv_storage/>", "a"),
            TVxExchangeFormat::OpenCvXml);
  EXPECT_EQ(GuessExchangeFormatE("%YAML:1.0\n---\n", "a"), TVxExchangeFormat::OpenCvYaml);
  EXPECT_EQ(GuessExchangeFormatE("distortion_model: plumb_bob\n", "a"), TVxExchangeFormat::Ros);
  EXPECT_THROW(GuessExchangeFormatE("hello\n", "a"), TVxExchangeError);
}

}  // namespace

namespace {

// ROS's rational_polynomial, written here: fitted, reported, and the fitted camera goes back
// into ROS (plumb_bob) with no second fit and imports again as the same camera.
TEST_F(ExchangeFormats, RosRationalPolynomialIsFittedAndGoesBackWithoutASecondFit) {
  const std::string text =
      "image_width: 1280\nimage_height: 1024\ncamera_name: wide\n"
      "camera_matrix:\n  rows: 3\n  cols: 3\n  data: [1400, 0, 640.5, 0, 1401, 511.5, 0, 0, 1]\n"
      "distortion_model: rational_polynomial\n"
      "distortion_coefficients:\n  rows: 1\n  cols: 8\n"
      "  data: [-0.28, 0.07, 0.0004, -0.0002, -0.01, 0.01, 0, 0]\n";
  const TVxImportResult result =
      ImportCameraE(text, TVxExchangeFormat::Ros, Options(0.0048, "wide.yaml"));
  EXPECT_TRUE(result.report.fitted);
  EXPECT_EQ(result.report.model, "rational_polynomial");
  EXPECT_EQ(result.camera.name, "wide");
  EXPECT_GT(result.report.maxDeviationPx, 0.0);
  EXPECT_LT(result.report.maxDeviationPx, 1.0);
  EXPECT_EQ(result.camera.distortion.k4, 0.0) << "plumb_bob holds no k4";
  const TVxExportResult out = ExportCameraE(result.camera, TVxExchangeFormat::Ros, {});
  EXPECT_FALSE(out.report.fitted);
  const TVxImportResult again =
      ImportCameraE(out.content, TVxExchangeFormat::Ros, Options(0.0048, "again.yaml"));
  EXPECT_FALSE(again.report.fitted);
  EXPECT_EQ(again.camera.distortion, result.camera.distortion);
}

// The spelling of OpenCV's older calibration sample (Camera_Matrix, Distortion_Coefficients,
// three-digit exponents) reads as the new one.
TEST_F(ExchangeFormats, OlderOpenCvSpellingsImport) {
  const std::string text =
      "%YAML:1.0\nimage_Width: 640\nimage_Height: 480\n"
      "Camera_Matrix: !!opencv-matrix\n   rows: 3\n   cols: 3\n   dt: d\n"
      "   data: [ 6.5746697810243404e+002, 0., 3.1950000000000000e+002, 0.,\n"
      "       6.5746697810243404e+002, 2.3950000000000000e+002, 0., 0., 1. ]\n"
      "Distortion_Coefficients: !!opencv-matrix\n   rows: 5\n   cols: 1\n   dt: d\n"
      "   data: [ -4.1802327018241026e-001, 5.0715243805833121e-001, 0., 0.,\n"
      "       -5.7843596847939704e-001 ]\n";
  const TVxImportResult result =
      ImportCameraE(text, TVxExchangeFormat::OpenCvYaml, Options(0.006, "out_camera_data.yml"));
  EXPECT_FALSE(result.report.fitted);
  TSourceCamera c;
  c.width = 640;
  c.height = 480;
  c.fx = c.fy = 6.5746697810243404e+002;
  c.cx = 319.5;
  c.cy = 239.5;
  c.k1 = -4.1802327018241026e-001;
  c.k2 = 5.0715243805833121e-001;
  c.k3 = -5.7843596847939704e-001;
  EXPECT_LE(LargestImportError(
                result.camera, [&](double x, double y) { return OpenCvProject(c, x, y); }, 640, 480,
                c.fx, c.fy, 0.006),
            kExactPx);
}

// A digital camera whose pixel origin is the lower-left corner: the export centres its camera
// system, and the imported camera maps the same sensor points (shifted by the sensor's centre)
// as the original.
TEST_F(ExchangeFormats, ACameraWithItsOriginInACornerKeepsItsTransform) {
  TVxCameraInfo camera = CreateDefaultCamera();
  camera.name = "corner";
  camera.focus = 35.0;
  camera.pixelSize = {0.006, 0.006};
  camera.sensorDims = {6000, 4000};
  camera.digitalCameraOrigin = TVxCameraInfo::TDigitalCameraOrigin::LowerLeft;
  camera.principalPoint = {18.03, 11.96};
  camera.distortion.type = TDistortionType::Formula;
  camera.distortion.direction = TVxCameraDistortion::TDirection::MmToCam;
  camera.distortion.symmetryPoint = camera.principalPoint;
  camera.distortion.k1 = -7e-5;
  camera.distortion.p1 = 2e-6;
  const TVxExportResult out = ExportCameraE(camera, TVxExchangeFormat::OpenCvXml, {});
  EXPECT_FALSE(out.report.fitted);
  const TVxImportResult in =
      ImportCameraE(out.content, TVxExchangeFormat::OpenCvXml, Options(0.006, "corner.xml"));
  const TransformHandle a = CreateCamToMmTransform(camera);
  const TransformHandle b = CreateCamToMmTransform(in.camera);
  double worst = 0.0;
  for (int j = 0; j <= 20; ++j) {
    for (int i = 0; i <= 20; ++i) {
      const vec_t_<double, 2> p{36.0 * i / 20, 24.0 * j / 20};  // the corner at (0, 0)
      const vec_t_<double, 2> qa = a->TransformPoint(p);
      const vec_t_<double, 2> qb = b->TransformPoint({p.x - 18.0, p.y - 12.0});
      worst = std::max(worst, std::hypot(qa.x - qb.x, qa.y - qb.y));
    }
  }
  EXPECT_LE(worst, 1e-12);
}

}  // namespace

namespace {

// A file with Windows line ends (as OpenCV's samples are in its repository) reads as the same.
TEST_F(ExchangeFormats, WindowsLineEndsReadAsTheSameCamera) {
  const std::string path = DataPath("opencv_samples_data_aruco_tutorial_camera_charuco.yml");
  std::ifstream in(path, std::ios::binary);
  const std::string unix((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  std::string windows;
  for (char c : unix) windows += c == '\n' ? std::string("\r\n") : std::string(1, c);
  const TVxExchangeOptions options = Options(kPixel, "charuco.yml");
  EXPECT_EQ(GuessExchangeFormatE(windows, "charuco.yml"), TVxExchangeFormat::OpenCvYaml);
  const TVxImportResult a = ImportCameraE(unix, TVxExchangeFormat::OpenCvYaml, options);
  const TVxImportResult b = ImportCameraE(windows, TVxExchangeFormat::OpenCvYaml, options);
  EXPECT_EQ(a.camera, b.camera);
}

}  // namespace

namespace {

// A camera without distortion, its principal point off the centre, goes out and back in every
// format as a camera without distortion (no coefficient of the smallest size creeps in).
TEST_F(ExchangeFormats, ACameraWithoutDistortionStaysWithout) {
  TVxCameraInfo camera = CreateDefaultCamera();
  camera.focus = 50.0;
  camera.pixelSize = {0.005, 0.005};
  camera.sensorDims = {4000, 3000};
  camera.principalPoint = {0.125, -0.0625};
  camera.distortion.type = TDistortionType::None;
  for (int f = 0; f <= static_cast<int>(TVxExchangeFormat::Metashape); ++f) {
    const auto format = static_cast<TVxExchangeFormat>(f);
    const TVxExportResult out = ExportCameraE(camera, format, {});
    EXPECT_FALSE(out.report.fitted);
    const TVxImportResult in = ImportCameraE(out.content, format, Options(0.005, "plain"));
    EXPECT_EQ(in.camera.distortion.type, TDistortionType::None) << ExchangeFormatToText(format);
    EXPECT_EQ(in.camera.principalPoint.x, 0.125);
    EXPECT_EQ(in.camera.principalPoint.y, -0.0625);
  }
}

}  // namespace
