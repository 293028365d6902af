#pragma once
// The camera matrix and distortion vector shared by OpenCV's files and ROS's camera_info.

#include <string>
#include <vector>

#include "FormatIo.h"

namespace vx_exchange {

struct TMatrix {
  std::size_t rows = 0, cols = 0;
  std::vector<double> data;  // row after row
  std::string where;         // the file, with the matrix's line and column where known
};

// The pixel camera of K = [fx skew cx; 0 fy cy; 0 0 1] and D = (k1, k2, p1, p2[, k3[, k4, k5,
// k6[, s1, s2, s3, s4[, tauX, tauY]]]]), a row or column of 4, 5, 8, 12 or 14 values. Throws
// naming the file and the key for another size, a matrix that is not a camera matrix, a
// focal length that is not positive, and a tilt (tauX, tauY not 0), which has no place.
TPixelCamera OpenCvCamera(const TMatrix& k, const TMatrix& d, const std::string& kKey,
                          const std::string& dKey);

// fx, fy, cx, cy, k1, k2, p1, p2, k3: the numbers of camera_matrix and a 5-value distortion.
std::vector<TParam> OpenCvParams(const TPixelCamera& c);

// The format of a file with OpenCV's five-value model, whose writer names the model `model`.
TFormatIo OpenCvFormatIo(TFormatIo::TRead read, TFormatIo::TWrite write, std::string model);

// The nine values of the camera matrix and the five of the distortion, as texts.
std::vector<std::string> CameraMatrixTexts(const std::vector<TParam>& params);
std::vector<std::string> DistortionTexts(const std::vector<TParam>& params);

}  // namespace vx_exchange
