#include "VxTransformGrid.h"

#include "VxInverseSolver.h"

namespace {

// Points generated at a time for a transform without a fused grid loop: 8 KiB, in the first
// level cache.
constexpr std::size_t kBlock = 512;

}  // namespace

std::size_t TransformGrid(const TVx2DTransform& transform, const TVxPointGrid& grid,
                          vec_t_<double, 2>* out) {
  std::size_t nan = 0;
  // A transform with a loop of its own generates the points in registers.
  if (transform.TransformGridAfter(nullptr, grid, out, &nan)) return nan;
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
