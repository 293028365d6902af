#pragma once
// The distortion models of the record, one row each: what persistence, the transform factory
// and the fit do with each model. The parts of the library look a model up here instead of
// switching on its type. Private to the library.

#include <optional>
#include <vector>

#include "VxCameraInfo.h"
#include "VxDistortionModels.h"
#include "VxTransformHandle.h"
#include "VxVec.h"

class TVxXIniReader;
class TVxXIniWriter;

namespace vx_distortion_models {

struct TModel {
  TDistortionType type;
  // The keys that follow type, direction and symmetry point in the model's section.
  void (*save)(TVxXIniWriter* writer, const TVxCameraDistortion& d);
  void (*load)(TVxXIniReader* reader, TVxCameraDistortion* d);
  // The model's geometry transform, with its centre relative to the principal point.
  TransformHandle (*create)(const TVxCameraDistortion& d, const vec_t_<double, 2>& centre,
                            double focal, bool inverse);
  // The radius of the disc a fit samples, from the camera and the caller's limit; false where
  // the model gives none. Null for a model that a fit cannot start from.
  bool (*fitRadius)(const TVxCameraInfo& camera, double maxRadius, double* radius);
  // The coefficients with names and units; null for the tables.
  std::vector<TVxDistortionCoefficient> (*coefficients)(const TVxCameraDistortion& d);
  // The largest radius of the tables in use; null for the coefficient models.
  std::optional<double> (*tableReach)(const TVxCameraDistortion& d);
};

// The row of `type`; null for None and for any value outside the enumeration.
const TModel* Find(TDistortionType type);

// The rows' functions, defined by the part of the library each belongs to: persistence
// (DistortionPersistence.cpp), the transforms (DistortionTransform.cpp), the fit
// (ApproxDistortion.cpp), the names of the numbers (DistortionCoefficients.cpp).
void SaveFormula(TVxXIniWriter* writer, const TVxCameraDistortion& d);
void LoadFormula(TVxXIniReader* reader, TVxCameraDistortion* d);
void SaveRadial(TVxXIniWriter* writer, const TVxCameraDistortion& d);
void LoadRadial(TVxXIniReader* reader, TVxCameraDistortion* d);
void SaveDirected4Plus(TVxXIniWriter* writer, const TVxCameraDistortion& d);
void LoadDirected4Plus(TVxXIniReader* reader, TVxCameraDistortion* d);
void SaveDirected4X(TVxXIniWriter* writer, const TVxCameraDistortion& d);
void LoadDirected4X(TVxXIniReader* reader, TVxCameraDistortion* d);
void SaveDirected8(TVxXIniWriter* writer, const TVxCameraDistortion& d);
void LoadDirected8(TVxXIniReader* reader, TVxCameraDistortion* d);
void SaveMixed(TVxXIniWriter* writer, const TVxCameraDistortion& d);
void LoadMixed(TVxXIniReader* reader, TVxCameraDistortion* d);
void SavePolynomial(TVxXIniWriter* writer, const TVxCameraDistortion& d);
void LoadPolynomial(TVxXIniReader* reader, TVxCameraDistortion* d);

TransformHandle CreateFormula(const TVxCameraDistortion& d, const vec_t_<double, 2>& centre,
                              double focal, bool inverse);
TransformHandle CreateRadial(const TVxCameraDistortion& d, const vec_t_<double, 2>& centre,
                             double focal, bool inverse);
TransformHandle CreateDirected4Plus(const TVxCameraDistortion& d, const vec_t_<double, 2>& centre,
                                    double focal, bool inverse);
TransformHandle CreateDirected4X(const TVxCameraDistortion& d, const vec_t_<double, 2>& centre,
                                 double focal, bool inverse);
TransformHandle CreateDirected8(const TVxCameraDistortion& d, const vec_t_<double, 2>& centre,
                                double focal, bool inverse);
TransformHandle CreateMixed(const TVxCameraDistortion& d, const vec_t_<double, 2>& centre,
                            double focal, bool inverse);
TransformHandle CreatePolynomial(const TVxCameraDistortion& d, const vec_t_<double, 2>& centre,
                                 double focal, bool inverse);

// The coefficient models are fitted over a disc of the caller's radius (half the focal length by
// default, the focal length at most); the tables over the radii they hold.
bool FitRadiusOfCoefficients(const TVxCameraInfo& camera, double maxRadius, double* radius);
bool FitRadiusOfRadial(const TVxCameraInfo& camera, double maxRadius, double* radius);
bool FitRadiusOfDirected4Plus(const TVxCameraInfo& camera, double maxRadius, double* radius);
bool FitRadiusOfDirected4X(const TVxCameraInfo& camera, double maxRadius, double* radius);
bool FitRadiusOfDirected8(const TVxCameraInfo& camera, double maxRadius, double* radius);

// DistortionCoefficients.cpp.
std::vector<TVxDistortionCoefficient> FormulaCoefficients(const TVxCameraDistortion& d);
std::vector<TVxDistortionCoefficient> MixedCoefficients(const TVxCameraDistortion& d);
std::vector<TVxDistortionCoefficient> PolynomialCoefficients(const TVxCameraDistortion& d);
std::optional<double> RadialReach(const TVxCameraDistortion& d);
std::optional<double> Directed4PlusReach(const TVxCameraDistortion& d);
std::optional<double> Directed4XReach(const TVxCameraDistortion& d);
std::optional<double> Directed8Reach(const TVxCameraDistortion& d);

}  // namespace vx_distortion_models
