// Orientations of a scan, the similarity fit and the pool of threads.

#include <algorithm>
#include <cmath>
#include <thread>

#include "ScanInternal.h"
#include "VxParallel.h"

namespace vxscan {

std::vector<TOrientation> AllOrientations() {
  std::vector<TOrientation> all;
  for (int mirrored = 0; mirrored < 2; ++mirrored)
    for (int k = 0; k < 4; ++k) all.push_back({k, mirrored != 0});
  return all;
}

void OrientationMatrix(const TOrientation& orientation, int m[4]) {
  static constexpr int kCos[4] = {1, 0, -1, 0};
  static constexpr int kSin[4] = {0, 1, 0, -1};
  const int k = ((orientation.quarterTurns % 4) + 4) % 4;
  const int c = kCos[k];
  const int s = kSin[k];
  m[0] = c;
  m[1] = s;
  m[2] = orientation.mirrored ? s : -s;
  m[3] = orientation.mirrored ? -c : c;
}

TVxRaster OrientRaster(const TVxRaster& image, const TOrientation& orientation) {
  int m[4];
  OrientationMatrix(orientation, m);
  const bool swap = m[0] == 0;
  TVxRaster out(swap ? image.height : image.width, swap ? image.width : image.height);
  // Twice the centres, so that every coordinate stays whole.
  const int cx2 = image.width - 1, cy2 = image.height - 1;
  const int ox2 = out.width - 1, oy2 = out.height - 1;
  for (int j = 0; j < out.height; ++j)
    for (int i = 0; i < out.width; ++i) {
      const int qx2 = 2 * i - ox2;
      const int qy2 = 2 * j - oy2;
      // p = Mᵀ q: M is orthogonal.
      const int px2 = m[0] * qx2 + m[2] * qy2;
      const int py2 = m[1] * qx2 + m[3] * qy2;
      out.At(i, j) = image.At((px2 + cx2) / 2, (py2 + cy2) / 2);
    }
  return out;
}

vec_t_<double, 2> TSimilarity::Apply(const vec_t_<double, 2>& p) const {
  const double y = reflect ? -p.y : p.y;
  return {a * p.x - b * y + tx, b * p.x + a * y + ty};
}

bool FitSimilarity(const std::vector<vec_t_<double, 2>>& from,
                   const std::vector<vec_t_<double, 2>>& to, bool reflect, TSimilarity* result) {
  const std::size_t n = from.size();
  if (n < 2 || to.size() != n) return false;
  vec_t_<double, 2> mf, mt;
  for (std::size_t i = 0; i < n; ++i) {
    mf += vec_t_<double, 2>(from[i].x, reflect ? -from[i].y : from[i].y);
    mt += to[i];
  }
  mf /= static_cast<double>(n);
  mt /= static_cast<double>(n);
  double norm = 0.0, sa = 0.0, sb = 0.0;
  for (std::size_t i = 0; i < n; ++i) {
    const double px = from[i].x - mf.x;
    const double py = (reflect ? -from[i].y : from[i].y) - mf.y;
    const double qx = to[i].x - mt.x;
    const double qy = to[i].y - mt.y;
    norm += px * px + py * py;
    sa += px * qx + py * qy;
    sb += px * qy - py * qx;
  }
  if (!(norm > 0.0)) return false;
  TSimilarity s;
  s.reflect = reflect;
  s.a = sa / norm;
  s.b = sb / norm;
  s.tx = mt.x - (s.a * mf.x - s.b * mf.y);
  s.ty = mt.y - (s.b * mf.x + s.a * mf.y);
  *result = s;
  return true;
}

double CubicKernel(double s) {
  s = std::abs(s);
  if (s < 1.0) return (1.5 * s - 2.5) * s * s + 1.0;
  if (s < 2.0) return ((-0.5 * s + 2.5) * s - 4.0) * s + 2.0;
  return 0.0;
}

void GaussianSmooth(TVxRaster& r, double sigma) {
  if (!(sigma > 0.0) || r.width < 1 || r.height < 1) return;
  const int radius = static_cast<int>(std::ceil(3.0 * sigma));
  std::vector<double> kernel(static_cast<std::size_t>(2 * radius + 1));
  double sum = 0.0;
  for (int i = -radius; i <= radius; ++i) {
    kernel[static_cast<std::size_t>(i + radius)] = std::exp(-0.5 * i * i / (sigma * sigma));
    sum += kernel[static_cast<std::size_t>(i + radius)];
  }
  for (double& k : kernel) k /= sum;
  std::vector<float> line(static_cast<std::size_t>(std::max(r.width, r.height)));
  for (int y = 0; y < r.height; ++y) {
    for (int x = 0; x < r.width; ++x) {
      double v = 0.0;
      for (int i = -radius; i <= radius; ++i)
        v += kernel[static_cast<std::size_t>(i + radius)] *
             static_cast<double>(r.At(std::clamp(x + i, 0, r.width - 1), y));
      line[static_cast<std::size_t>(x)] = static_cast<float>(v);
    }
    for (int x = 0; x < r.width; ++x) r.At(x, y) = line[static_cast<std::size_t>(x)];
  }
  for (int x = 0; x < r.width; ++x) {
    for (int y = 0; y < r.height; ++y) {
      double v = 0.0;
      for (int i = -radius; i <= radius; ++i)
        v += kernel[static_cast<std::size_t>(i + radius)] *
             static_cast<double>(r.At(x, std::clamp(y + i, 0, r.height - 1)));
      line[static_cast<std::size_t>(y)] = static_cast<float>(v);
    }
    for (int y = 0; y < r.height; ++y) r.At(x, y) = line[static_cast<std::size_t>(y)];
  }
}

int ThreadCount(int option) {
  if (option > 0) return option;
  const unsigned hardware = std::thread::hardware_concurrency();
  return std::clamp(static_cast<int>(hardware), 1, 8);
}

namespace {

// The scan library's threads: one pool for the process, started on the first call that asks for
// more than one thread and reused by every later one (a call waits while another runs).
TVxWorkerPool& ScanPool() {
  static TVxWorkerPool pool;
  return pool;
}

// True on a thread while it runs a task of the pool: a ParallelFor inside a task runs on that
// thread alone, as the pool cannot run a call within one of its own.
thread_local bool tInPoolTask = false;

// Marks the thread as running a task for its lifetime.
class TInPoolTask {
 public:
  TInPoolTask() : outer_(tInPoolTask) { tInPoolTask = true; }
  ~TInPoolTask() { tInPoolTask = outer_; }
  TInPoolTask(const TInPoolTask&) = delete;
  TInPoolTask& operator=(const TInPoolTask&) = delete;

 private:
  bool outer_;
};

}  // namespace

void ParallelFor(int count, int threads, const std::function<void(int)>& body) {
  const int workers = std::min(std::max(threads, 1), count);
  if (workers <= 1 || tInPoolTask) {
    for (int i = 0; i < count; ++i) body(i);
    return;
  }
  RunTasks(ScanPool(), static_cast<std::size_t>(count), workers, [&body](std::size_t k) {
    const TInPoolTask inTask;
    body(static_cast<int>(k));
  });
}

}  // namespace vxscan
