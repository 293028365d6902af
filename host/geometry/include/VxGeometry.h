#pragma once
// The whole planar geometry library: points, the 3x3 matrix, the transforms, the distortion
// models and the transform handle. docs/distortion-models.md gives the models' formulas.

#include "VxAffineTransform.h"
#include "VxCombinedTransform.h"
#include "VxDirectedDistortion.h"
#include "VxFormulaDistortion.h"
#include "VxMatr3x3.h"
#include "VxMixedDistortion.h"
#include "VxPolynomialDistortion.h"
#include "VxProjectiveTransform.h"
#include "VxRadialDistortion.h"
#include "VxTransform.h"
#include "VxTransformGrid.h"
#include "VxTransformHandle.h"
#include "VxUnityTransform.h"
#include "VxVec.h"
