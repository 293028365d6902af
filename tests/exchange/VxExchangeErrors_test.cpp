// Malformed files of every format: a clear error that names the file, the key and what is wrong.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ExchangeTestSupport.h"
#include "VxCameraUtils.h"

namespace {

using namespace vx_exchange_test;

struct TBadFile {
  const char* name;
  TVxExchangeFormat format;
  std::string content;
  const char* message;  // the whole message
};

void PrintTo(const TBadFile& f, std::ostream* os) {
  *os << f.name;
}

const char* const kCv =
    "%YAML:1.0\n---\nimage_width: 640\nimage_height: 480\n"
    "camera_matrix: !!opencv-matrix\n   rows: 3\n   cols: 3\n   dt: d\n"
    "   data: [ 500., 0., 320., 0., 500., 240., 0., 0., 1. ]\n";
const char* const kRos =
    "image_width: 640\nimage_height: 480\ncamera_name: c\n"
    "camera_matrix:\n  rows: 3\n  cols: 3\n  data: [500, 0, 320, 0, 500, 240, 0, 0, 1]\n";

std::string CvDistortion(const std::string& rowsCols, const std::string& data) {
  return "distortion_coefficients: !!opencv-matrix\n   " + rowsCols + "\n   dt: d\n   data: [" +
         data + "]\n";
}

std::string Bytes(std::initializer_list<unsigned char> bytes) {
  return std::string(bytes.begin(), bytes.end());
}

const std::vector<TBadFile>& BadFiles() {
  static const std::vector<TBadFile> files = {
      {"OpenCvMissingDistortion", TVxExchangeFormat::OpenCvYaml, kCv,
       "f: distortion_coefficients: missing key"},
      {"OpenCvSixCoefficients", TVxExchangeFormat::OpenCvYaml,
       std::string(kCv) + CvDistortion("rows: 6\n   cols: 1", "0, 0, 0, 0, 0, 0"),
       "f:10:26: distortion_coefficients: expected a row or column of 4, 5, 8, 12 or 14 "
       "coefficients, "
       "found 6 x 1"},
      {"OpenCvWrongDataCount", TVxExchangeFormat::OpenCvYaml,
       std::string(kCv) + CvDistortion("rows: 5\n   cols: 1", "0, 0, 0, 0"),
       "f:14:10: distortion_coefficients.data: 5 x 1 values expected, found 4"},
      {"OpenCvNaN", TVxExchangeFormat::OpenCvYaml,
       std::string(kCv) + CvDistortion("rows: 5\n   cols: 1", "0, .nan, 0, 0, 0"),
       "f:14:14: distortion_coefficients.data[1]: not a finite decimal number: '.nan'"},
      {"OpenCvThinPrism", TVxExchangeFormat::OpenCvYaml,
       std::string(kCv) +
           CvDistortion("rows: 12\n   cols: 1", "0, 0, 0, 0, 0, 0, 0, 0, 0.001, 0, 0, 0"),
       "f: distortion_coefficients: the thin prism terms s1..s4 cannot be represented"},
      {"OpenCvTilt", TVxExchangeFormat::OpenCvYaml,
       std::string(kCv) +
           CvDistortion("rows: 14\n   cols: 1", "0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0.01, 0"),
       "f:10:26: distortion_coefficients: the tilt of the sensor (tauX, tauY = 0.01, 0) cannot be "
       "represented"},
      {"OpenCvXmlMissingData", TVxExchangeFormat::OpenCvXml,
       "<?xml version=\"1.0\"?><opencv_storage><image_width>640</image_width><image_height>480"
       "</image_height><camera_matrix type_id=\"opencv-matrix\"><rows>3</rows><cols>3</cols>"
       "<dt>d</dt></camera_matrix><distortion_coefficients type_id=\"opencv-matrix\"><rows>5"
       "</rows><cols>1</cols><dt>d</dt><data>0 0 0 0 0</data></distortion_coefficients>"
       "</opencv_storage>",
       "f:1:100: camera_matrix.data: missing key"},
      {"OpenCvXmlBroken", TVxExchangeFormat::OpenCvXml, "<opencv_storage><a></b></opencv_storage>",
       "f: not XML: Start-end tags mismatch at byte 21"},
      {"RosUnknownModel", TVxExchangeFormat::Ros, std::string(kRos) + "distortion_model: brown\n",
       "f:8:19: distortion_model: unknown model 'brown' (known: plumb_bob, rational_polynomial)"},
      {"RosFisheye", TVxExchangeFormat::Ros, std::string(kRos) + "distortion_model: equidistant\n",
       "f:8:19: distortion_model: the fisheye model 'equidistant' cannot be represented"},
      {"RosWrongCount", TVxExchangeFormat::Ros,
       std::string(kRos) +
           "distortion_model: plumb_bob\ndistortion_coefficients:\n  rows: 1\n  cols: 8\n"
           "  data: [0, 0, 0, 0, 0, 0, 0, 0]\n",
       "f:10:3: distortion_coefficients: plumb_bob has 5 coefficients, found 8"},
      {"RosCameraMatrix2x3", TVxExchangeFormat::Ros,
       "image_width: 640\nimage_height: 480\ncamera_matrix:\n  rows: 2\n  cols: 3\n"
       "  data: [500, 0, 320, 0, 500, 240]\ndistortion_model: plumb_bob\n"
       "distortion_coefficients:\n  rows: 1\n  cols: 5\n  data: [0, 0, 0, 0, 0]\n",
       "f:4:3: camera_matrix: a camera matrix has 3 x 3 values, found 2 x 3"},
      {"ColmapUnknownModel", TVxExchangeFormat::ColmapText, "1 PINHOLISH 640 480 1 2 3 4\n",
       "f: line 1: unknown model 'PINHOLISH'"},
      {"ColmapFisheye", TVxExchangeFormat::ColmapText,
       "1 OPENCV_FISHEYE 640 480 500 500 320 240 0.1 0 0 0\n",
       "f: camera 1: the fisheye model 'OPENCV_FISHEYE' cannot be represented"},
      {"ColmapTooFewParams", TVxExchangeFormat::ColmapText, "1 OPENCV 640 480 500 500 320 240\n",
       "f: line 1: OPENCV has 8 parameters, found 4"},
      {"ColmapNaN", TVxExchangeFormat::ColmapText, "1 PINHOLE 640 480 nan 500 320 240\n",
       "f: line 1: PARAMS[0]: not a finite decimal number: 'nan'"},
      {"ColmapTwoCamerasNoId", TVxExchangeFormat::ColmapText,
       "1 PINHOLE 640 480 500 500 320 240\n2 PINHOLE 640 480 500 500 320 240\n",
       "f: 2 cameras in the file: choose one by its id"},
      {"ColmapBinaryTruncated", TVxExchangeFormat::ColmapBinary,
       Bytes({1, 0, 0, 0, 0, 0, 0, 0,   1, 0, 0, 0, 1, 0, 0, 0, 128,
              2, 0, 0, 0, 0, 0, 0, 224, 1, 0, 0, 0, 0, 0, 0, 0, 0}),
       "f: camera 1 of 1: PARAMS[0]: the file is truncated at byte 34 (8 bytes needed at byte "
       "32)"},
      {"ColmapBinaryUnknownModelId", TVxExchangeFormat::ColmapBinary,
       Bytes({1,   0, 0, 0, 0, 0, 0, 0, 1,   0, 0, 0, 99, 0, 0, 0,
              128, 2, 0, 0, 0, 0, 0, 0, 224, 1, 0, 0, 0,  0, 0, 0}),
       "f: camera 1 of 1: unknown model id 99"},
      {"ColmapBinaryCountTooLarge", TVxExchangeFormat::ColmapBinary,
       Bytes({255, 255, 255, 255, 0, 0, 0, 0, 1}),
       "f: number of cameras: 4294967295 cameras cannot fit into 9 bytes: the file is truncated "
       "or not cameras.bin"},
      {"MetashapeMissingF", TVxExchangeFormat::Metashape,
       "<calibration><projection>frame</projection><width>10</width><height>10</height>"
       "</calibration>",
       "f: f: missing key"},
      {"MetashapeFisheye", TVxExchangeFormat::Metashape,
       "<calibration><projection>fisheye</projection><width>10</width><height>10</height><f>5"
       "</f></calibration>",
       "f:1:14: projection: the projection 'fisheye' cannot be represented"},
      {"MetashapeBadNumber", TVxExchangeFormat::Metashape,
       "<calibration><width>10</width><height>10</height><f>5</f><k1>0.1x</k1></calibration>",
       "f:1:58: k1: not a finite decimal number: '0.1x'"},
      {"MetashapeNoWidth", TVxExchangeFormat::Metashape,
       "<calibration><height>10</height><f>5</f></calibration>",
       "f: width: not a whole number greater than 0: ''"},
  };
  return files;
}

class ExchangeErrors : public ::testing::TestWithParam<TBadFile> {
 protected:
  static void SetUpTestSuite() { Init_VxCameraUtils(); }
  static void TearDownTestSuite() { Deinit_VxCameraUtils(); }
};

TEST_P(ExchangeErrors, NamesTheFileAndWhatIsWrong) {
  const TBadFile& bad = GetParam();
  try {
    ImportCameraE(bad.content, bad.format, Options(0.005, "f"));
    FAIL() << "imported";
  } catch (const TVxExchangeError& e) {
    EXPECT_STREQ(e.what(), bad.message);
  }
}

INSTANTIATE_TEST_SUITE_P(Files, ExchangeErrors, ::testing::ValuesIn(BadFiles()),
                         [](const ::testing::TestParamInfo<TBadFile>& param) {
                           return std::string(param.param.name);
                         });

TEST(ExchangeErrorsPixelSize, AnImportWithoutPixelSizeIsRefused) {
  try {
    ImportCameraE("1 PINHOLE 640 480 500 500 320 240\n", TVxExchangeFormat::ColmapText,
                  Options(0.0, "cameras.txt"));
    FAIL() << "imported";
  } catch (const TVxExchangeError& e) {
    EXPECT_STREQ(e.what(),
                 "cameras.txt: a pixel size is needed: the file gives pixels, the camera "
                 "millimetres");
  }
}

TEST(ExchangeErrorsFrame, AFilmCameraWithoutPixelSizeIsNotExported) {
  Init_VxCameraUtils();
  TVxCameraInfo camera;
  camera.name = "film";
  camera.cameraType = TCameraType::Fiducials;
  camera.focus = 153.0;
  try {
    ExportCameraE(camera, TVxExchangeFormat::OpenCvYaml, {});
    FAIL() << "exported";
  } catch (const TVxExchangeError& e) {
    EXPECT_STREQ(e.what(), "the film camera 'film' has no pixels: give the pixel size of its scan");
  }
  Deinit_VxCameraUtils();
}

}  // namespace
