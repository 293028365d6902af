// Localised names of image rotations and fitting transforms.

#include "VxIntOrMeas.h"
#include "internal/VxUserText.h"

namespace {

// The rotation alone gives its "not set" value a text of its own.
const TUserTextKey kCamRotateKeys[] = {
    {0, "global.TEXT_IO_CAMROTATE_INVALID"}, {1, "global.TEXT_IO_CAMROTATE_0"},
    {2, "global.TEXT_IO_CAMROTATE_90"},      {3, "global.TEXT_IO_CAMROTATE_180"},
    {4, "global.TEXT_IO_CAMROTATE_270"},
};

// Similarity is "RSS" (rotation, shift, scale) in the resource files.
const TUserTextKey kTransformTypeKeys[] = {
    {1, "global.TEXT_IO_TRANSFORM_RSS"},
    {2, "global.TEXT_IO_TRANSFORM_AFFINE"},
    {3, "global.TEXT_IO_TRANSFORM_PROJECTIVE"},
};

}  // namespace

std::string CamRotateToUserText(TCamRotate value) {
  return UserTextOf(static_cast<std::int64_t>(value), kCamRotateKeys);
}

std::string TransformTypeToUserText(TTransformType value) {
  return UserTextOf(static_cast<std::int64_t>(value), kTransformTypeKeys);
}
