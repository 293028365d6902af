#include "VxTransformGrid.h"

#include "VxBatch.h"
#include "VxCombinedTransform.h"

namespace {

// Points generated at a time for a transform without a fused grid loop: 8 KiB, in the first
// level cache.
constexpr std::size_t kBlock = 512;

}  // namespace

namespace vx_geometry_detail {

bool AsFormulaChain(const TVx2DTransform& transform, const TFormulaDistortion*& model,
                    const TAffineTransform*& first) {
  first = nullptr;
  model = dynamic_cast<const TFormulaDistortion*>(&transform);
  if (model != nullptr) return true;
  const auto* combined = dynamic_cast<const TCombinedTransform*>(&transform);
  if (combined == nullptr) return false;
  if (combined->Count() == 1) {
    model = dynamic_cast<const TFormulaDistortion*>(&combined->Item(0));
    return model != nullptr;
  }
  if (combined->Count() != 2) return false;
  first = dynamic_cast<const TAffineTransform*>(&combined->Item(0));
  model = dynamic_cast<const TFormulaDistortion*>(&combined->Item(1));
  return first != nullptr && model != nullptr;
}

}  // namespace vx_geometry_detail

std::size_t TransformGrid(const TVx2DTransform& transform, const TVxPointGrid& grid,
                          vec_t_<double, 2>* out) {
  const TFormulaDistortion* model = nullptr;
  const TAffineTransform* first = nullptr;
  if (vx_geometry_detail::AsFormulaChain(transform, model, first)) {
    return vx_geometry_detail::MapFormulaGrid(*model, first, grid, out);
  }
  std::size_t nan = 0;
  for (std::size_t row = 0; row < grid.rows; ++row) {
    const double y = grid.y0 + static_cast<double>(row) * grid.dy;
    vec_t_<double, 2>* line = out + row * grid.columns;
    for (std::size_t i = 0; i < grid.columns; i += kBlock) {
      const std::size_t count = grid.columns - i < kBlock ? grid.columns - i : kBlock;
      for (std::size_t k = 0; k < count; ++k) {
        line[i + k] = {grid.x0 + static_cast<double>(i + k) * grid.dx, y};
      }
      nan += transform.TransformPoints(line + i, line + i, count);
    }
  }
  return nan;
}
