// Reading and writing rasters through GDAL. Nothing of GDAL leaves this file.

#include <sys/stat.h>
#include <unistd.h>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

#include "GdalLibrary.h"
#include "ScanInternal.h"
#include "VxScan.h"

namespace {

std::string LastGdalError() {
  const char* text = Gdal().CPLGetLastErrorMsg();
  return (text != nullptr && *text != '\0') ? std::string(text) : std::string("GDAL failed");
}

std::string Quoted(const std::string& path) {
  return "'" + path + "'";
}

}  // namespace

struct TVxScanImage::TImpl {
  // First, so that a GDAL that cannot be loaded stops the construction before anything else.
  const TGdalLibrary& gdal = Gdal();
  std::string path;
  GDALDatasetH dataset = nullptr;
  int width = 0;
  int height = 0;
  int bits = 8;
  int bands = 1;
  // The bands averaged into one grey value: 1, or the first three of a colour raster.
  int greyBands = 1;
  std::mutex mutex;

  ~TImpl() {
    if (dataset != nullptr) gdal.GDALClose(dataset);
  }
};

TVxScanImage::TVxScanImage(const std::string& path) : impl_(new TImpl) {
  const TGdalLibrary& gdal = impl_->gdal;
  impl_->path = path;
  gdal.CPLErrorReset();
  impl_->dataset = gdal.GDALOpen(path.c_str(), GA_ReadOnly);
  if (impl_->dataset == nullptr) {
    const std::string reason = LastGdalError();
    delete impl_;
    throw TVxScanError("cannot read the raster " + Quoted(path) + ": " + reason);
  }
  impl_->width = gdal.GDALGetRasterXSize(impl_->dataset);
  impl_->height = gdal.GDALGetRasterYSize(impl_->dataset);
  impl_->bands = gdal.GDALGetRasterCount(impl_->dataset);
  if (impl_->bands < 1 || impl_->width < 1 || impl_->height < 1) {
    delete impl_;
    throw TVxScanError("the raster " + Quoted(path) + " holds no image");
  }
  impl_->greyBands = impl_->bands >= 3 ? 3 : 1;
  const GDALDataType type = gdal.GDALGetRasterDataType(gdal.GDALGetRasterBand(impl_->dataset, 1));
  impl_->bits = type == GDT_Byte ? 8 : 16;
}

TVxScanImage::~TVxScanImage() {
  delete impl_;
}

TVxScanImage::TVxScanImage(TVxScanImage&& other) noexcept : impl_(other.impl_) {
  other.impl_ = nullptr;
}

TVxScanImage& TVxScanImage::operator=(TVxScanImage&& other) noexcept {
  if (this != &other) {
    delete impl_;
    impl_ = other.impl_;
    other.impl_ = nullptr;
  }
  return *this;
}

int TVxScanImage::Width() const {
  return impl_->width;
}
int TVxScanImage::Height() const {
  return impl_->height;
}
int TVxScanImage::Bits() const {
  return impl_->bits;
}
int TVxScanImage::Bands() const {
  return impl_->bands;
}
const std::string& TVxScanImage::Path() const {
  return impl_->path;
}

TVxRaster TVxScanImage::ReadWindow(int x, int y, int width, int height) const {
  const TGdalLibrary& gdal = impl_->gdal;
  const int x1 = std::max(x, 0);
  const int y1 = std::max(y, 0);
  const int x2 = std::min(x + width, impl_->width);
  const int y2 = std::min(y + height, impl_->height);
  TVxRaster raster;
  if (x2 <= x1 || y2 <= y1) {
    raster.x0 = x1;
    raster.y0 = y1;
    return raster;
  }
  raster = TVxRaster(x2 - x1, y2 - y1);
  raster.x0 = x1;
  raster.y0 = y1;
  const auto readFailed = [&] {
    throw TVxScanError("cannot read the raster " + Quoted(impl_->path) + " at (" +
                       std::to_string(x1) + ", " + std::to_string(y1) + "): " + LastGdalError());
  };
  if (impl_->greyBands == 1) {
    // The samples in their own type under the lock, turned into floats after it, so that
    // threads reading windows of one scan wait for each other as little as they can.
    const bool bytes = impl_->bits == 8;
    std::vector<std::uint8_t> samples8(bytes ? raster.pixels.size() : 0);
    std::vector<std::uint16_t> samples16(bytes ? 0 : raster.pixels.size());
    {
      std::lock_guard<std::mutex> lock(impl_->mutex);
      gdal.CPLErrorReset();
      void* target =
          bytes ? static_cast<void*>(samples8.data()) : static_cast<void*>(samples16.data());
      if (gdal.GDALRasterIO(gdal.GDALGetRasterBand(impl_->dataset, 1), GF_Read, x1, y1,
                            raster.width, raster.height, target, raster.width, raster.height,
                            bytes ? GDT_Byte : GDT_UInt16, 0, 0) != CE_None)
        readFailed();
    }
    for (std::size_t i = 0; i < raster.pixels.size(); ++i)
      raster.pixels[i] = bytes ? static_cast<float>(samples8[i]) : static_cast<float>(samples16[i]);
    return raster;
  }
  std::vector<float> band(raster.pixels.size());
  std::lock_guard<std::mutex> lock(impl_->mutex);
  for (int b = 1; b <= impl_->greyBands; ++b) {
    float* target = b == 1 ? raster.pixels.data() : band.data();
    gdal.CPLErrorReset();
    if (gdal.GDALRasterIO(gdal.GDALGetRasterBand(impl_->dataset, b), GF_Read, x1, y1, raster.width,
                          raster.height, target, raster.width, raster.height, GDT_Float32, 0,
                          0) != CE_None)
      readFailed();
    if (b > 1)
      for (std::size_t i = 0; i < band.size(); ++i) raster.pixels[i] += band[i];
  }
  const float scale = 1.0f / static_cast<float>(impl_->greyBands);
  for (float& value : raster.pixels) value *= scale;
  return raster;
}

TVxRaster TVxScanImage::ReadWindowBytes(int x, int y, int width, int height, std::size_t padBytes,
                                        std::vector<std::uint8_t>* samples) const {
  const TGdalLibrary& gdal = impl_->gdal;
  TVxRaster raster;
  samples->clear();
  if (impl_->bits != 8 || impl_->greyBands != 1) return raster;
  const int x1 = std::max(x, 0);
  const int y1 = std::max(y, 0);
  const int x2 = std::min(x + width, impl_->width);
  const int y2 = std::min(y + height, impl_->height);
  raster.x0 = x1;
  raster.y0 = y1;
  if (x2 <= x1 || y2 <= y1) return raster;
  raster.width = x2 - x1;
  raster.height = y2 - y1;
  samples->assign(
      static_cast<std::size_t>(raster.width) * static_cast<std::size_t>(raster.height) + padBytes,
      0);
  std::lock_guard<std::mutex> lock(impl_->mutex);
  gdal.CPLErrorReset();
  if (gdal.GDALRasterIO(gdal.GDALGetRasterBand(impl_->dataset, 1), GF_Read, x1, y1, raster.width,
                        raster.height, samples->data(), raster.width, raster.height, GDT_Byte, 0,
                        0) != CE_None)
    throw TVxScanError("cannot read the raster " + Quoted(impl_->path) + " at (" +
                       std::to_string(x1) + ", " + std::to_string(y1) + "): " + LastGdalError());
  return raster;
}

TVxRaster TVxScanImage::ReadReduced(int x, int y, int width, int height, int factor) const {
  if (factor <= 1) return ReadWindow(x, y, width, height);
  const int reducedWidth = impl_->width / factor;
  const int reducedHeight = impl_->height / factor;
  const int x1 = std::max(x, 0);
  const int y1 = std::max(y, 0);
  const int x2 = std::min(x + width, reducedWidth);
  const int y2 = std::min(y + height, reducedHeight);
  TVxRaster reduced;
  reduced.x0 = x1;
  reduced.y0 = y1;
  if (x2 <= x1 || y2 <= y1) return reduced;
  const TVxRaster full =
      ReadWindow(x1 * factor, y1 * factor, (x2 - x1) * factor, (y2 - y1) * factor);
  reduced = TVxRaster(x2 - x1, y2 - y1);
  reduced.x0 = x1;
  reduced.y0 = y1;
  // Block means, summed row by row so that the full window is read once in order.
  std::vector<float> rowSums(static_cast<std::size_t>(reduced.width));
  const float scale = 1.0f / static_cast<float>(factor * factor);
  for (int j = 0; j < reduced.height; ++j) {
    std::fill(rowSums.begin(), rowSums.end(), 0.0f);
    for (int dy = 0; dy < factor; ++dy) {
      const float* row = &full.pixels[static_cast<std::size_t>(j * factor + dy) *
                                      static_cast<std::size_t>(full.width)];
      for (int i = 0; i < reduced.width; ++i) {
        float sum = 0.0f;
        for (int dx = 0; dx < factor; ++dx) sum += row[i * factor + dx];
        rowSums[static_cast<std::size_t>(i)] += sum;
      }
    }
    for (int i = 0; i < reduced.width; ++i)
      reduced.At(i, j) = rowSums[static_cast<std::size_t>(i)] * scale;
  }
  return reduced;
}

namespace {

const char* DriverName(TVxRasterFormat format) {
  switch (format) {
    case TVxRasterFormat::Png:
      return "PNG";
    case TVxRasterFormat::Jpeg:
      return "JPEG";
    case TVxRasterFormat::Tiff:
    case TVxRasterFormat::BigTiff:
      break;
  }
  return "GTiff";
}

// The process's file creation mask, read without changing it (umask() would, for a moment, for
// every thread): from /proc/self/status, else the common 022.
mode_t CreationMask() {
  std::FILE* status = std::fopen("/proc/self/status", "r");
  unsigned mask = 022;
  if (status != nullptr) {
    char line[256];
    while (std::fgets(line, sizeof line, status) != nullptr)
      if (std::sscanf(line, "Umask: %o", &mask) == 1) break;
    std::fclose(status);
  }
  return static_cast<mode_t>(mask);
}

// A name for the temporary file in the target's folder, reserved by creating it empty, with the
// permissions of a new file (0666 less the creation mask), not mkstemp's 0600.
std::string ReserveTemporaryName(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  const std::string folder = slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
  std::string name = folder + ".vxscan-XXXXXX";
  std::vector<char> buffer(name.begin(), name.end());
  buffer.push_back('\0');
  const int fd = mkstemp(buffer.data());
  if (fd < 0) return std::string();
  fchmod(fd, static_cast<mode_t>(0666) & ~CreationMask());
  close(fd);
  return std::string(buffer.data());
}

}  // namespace

void WriteRaster(const std::string& path, const TVxRaster& raster,
                 const TVxRasterWriteOptions& options) {
  const auto fail = [&](const std::string& reason) {
    throw TVxScanError("cannot write the raster " + Quoted(path) + ": " + reason);
  };
  if (raster.width < 1 || raster.height < 1 ||
      raster.pixels.size() !=
          static_cast<std::size_t>(raster.width) * static_cast<std::size_t>(raster.height))
    fail("the image is empty");
  if (options.bits != 8 && options.bits != 16)
    fail("bits must be 8 or 16, not " + std::to_string(options.bits));
  if (options.format == TVxRasterFormat::Jpeg && options.bits != 8) fail("JPEG holds 8 bits only");
  const TGdalLibrary& gdal = Gdal();
  GDALDriverH driver = gdal.GDALGetDriverByName(DriverName(options.format));
  GDALDriverH memory = gdal.GDALGetDriverByName("MEM");
  if (driver == nullptr || memory == nullptr) fail("GDAL has no driver for the format");

  const GDALDataType type = options.bits == 8 ? GDT_Byte : GDT_UInt16;
  const double top = options.bits == 8 ? 255.0 : 65535.0;
  GDALDatasetH source = gdal.GDALCreate(memory, "", raster.width, raster.height, 1, type, nullptr);
  if (source == nullptr) fail(LastGdalError());
  std::vector<double> row(static_cast<std::size_t>(raster.width));
  CPLErr error = CE_None;
  for (int y = 0; y < raster.height && error == CE_None; ++y) {
    for (int x = 0; x < raster.width; ++x) {
      const double value = static_cast<double>(raster.At(x, y));
      row[static_cast<std::size_t>(x)] =
          std::isfinite(value) ? std::clamp(std::round(value), 0.0, top) : 0.0;
    }
    error = gdal.GDALRasterIO(gdal.GDALGetRasterBand(source, 1), GF_Write, 0, y, raster.width, 1,
                              row.data(), raster.width, 1, GDT_Float64, 0, 0);
  }
  if (error != CE_None) {
    gdal.GDALClose(source);
    fail(LastGdalError());
  }

  char** creation = nullptr;
  const std::string tile = std::to_string(options.tileSize);
  const std::string quality = std::to_string(options.jpegQuality);
  if (options.format == TVxRasterFormat::Tiff || options.format == TVxRasterFormat::BigTiff) {
    creation = gdal.CSLSetNameValue(creation, "COMPRESS", "DEFLATE");
    if (options.format == TVxRasterFormat::BigTiff)
      creation = gdal.CSLSetNameValue(creation, "BIGTIFF", "YES");
    if (options.tiled) {
      creation = gdal.CSLSetNameValue(creation, "TILED", "YES");
      creation = gdal.CSLSetNameValue(creation, "BLOCKXSIZE", tile.c_str());
      creation = gdal.CSLSetNameValue(creation, "BLOCKYSIZE", tile.c_str());
    }
  } else if (options.format == TVxRasterFormat::Jpeg) {
    creation = gdal.CSLSetNameValue(creation, "QUALITY", quality.c_str());
  }

  const std::string temporary = ReserveTemporaryName(path);
  if (temporary.empty()) {
    gdal.CSLDestroy(creation);
    gdal.GDALClose(source);
    fail("cannot create a temporary file beside it");
  }
  gdal.CPLErrorReset();
  GDALDatasetH written =
      gdal.GDALCreateCopy(driver, temporary.c_str(), source, FALSE, creation, nullptr, nullptr);
  gdal.CSLDestroy(creation);
  gdal.GDALClose(source);
  std::string reason;
  if (written == nullptr) {
    reason = LastGdalError();
  } else {
    gdal.GDALClose(written);
    if (gdal.CPLGetLastErrorType() >= CE_Failure) reason = LastGdalError();
  }
  // Side files that a driver may leave (PNG and JPEG write none with these options).
  const std::string auxiliary = temporary + ".aux.xml";
  std::remove(auxiliary.c_str());
  if (reason.empty() && std::rename(temporary.c_str(), path.c_str()) != 0)
    reason = "cannot rename the temporary file over it";
  if (!reason.empty()) {
    std::remove(temporary.c_str());
    fail(reason);
  }
}

namespace vxscan {

struct TRasterFileWriter::TImpl {
  // First, so that a GDAL that cannot be loaded stops the construction before anything else.
  const TGdalLibrary& gdal = Gdal();
  std::string path;
  std::string temporary;
  GDALDatasetH dataset = nullptr;
  int bits = 8;
  bool committed = false;
  std::mutex mutex;
};

TRasterFileWriter::TRasterFileWriter(const std::string& path, int width, int height, int bits,
                                     int tileSize, const double geoTransform[6], bool compress)
    : impl_(new TImpl) {
  const TGdalLibrary& gdal = impl_->gdal;
  impl_->path = path;
  impl_->bits = bits;
  const auto fail = [&](const std::string& reason) {
    const std::string message = "cannot write the raster " + Quoted(path) + ": " + reason;
    if (impl_->dataset != nullptr) gdal.GDALClose(impl_->dataset);
    if (!impl_->temporary.empty()) std::remove(impl_->temporary.c_str());
    delete impl_;
    throw TVxScanError(message);
  };
  GDALDriverH driver = gdal.GDALGetDriverByName("GTiff");
  if (driver == nullptr) fail("GDAL has no GTiff driver");
  impl_->temporary = ReserveTemporaryName(path);
  if (impl_->temporary.empty()) fail("cannot create a temporary file beside it");
  const double bytes = static_cast<double>(width) * height * (bits / 8);
  const std::string tile = std::to_string(tileSize);
  char** creation = nullptr;
  creation = gdal.CSLSetNameValue(creation, "TILED", "YES");
  creation = gdal.CSLSetNameValue(creation, "BLOCKXSIZE", tile.c_str());
  creation = gdal.CSLSetNameValue(creation, "BLOCKYSIZE", tile.c_str());
  if (compress) creation = gdal.CSLSetNameValue(creation, "COMPRESS", "DEFLATE");
  // Classic TIFF ends at 4 GB; deflate rarely doubles a scan, so BigTIFF from 2 GB on.
  if (bytes > 2.0e9) creation = gdal.CSLSetNameValue(creation, "BIGTIFF", "YES");
  gdal.CPLErrorReset();
  impl_->dataset = gdal.GDALCreate(driver, impl_->temporary.c_str(), width, height, 1,
                                   bits == 8 ? GDT_Byte : GDT_UInt16, creation);
  gdal.CSLDestroy(creation);
  if (impl_->dataset == nullptr) fail(LastGdalError());
  double transform[6];
  std::copy(geoTransform, geoTransform + 6, transform);
  gdal.GDALSetGeoTransform(impl_->dataset, transform);
}

TRasterFileWriter::~TRasterFileWriter() {
  if (impl_ == nullptr) return;
  if (impl_->dataset != nullptr) impl_->gdal.GDALClose(impl_->dataset);
  if (!impl_->committed) std::remove(impl_->temporary.c_str());
  delete impl_;
}

void TRasterFileWriter::Write(const TVxRaster& tile) {
  const TGdalLibrary& gdal = impl_->gdal;
  if (tile.width < 1 || tile.height < 1) return;
  // Rounded half away from zero and clamped, as std::round and std::clamp would, without a
  // branch a sample (the loops vectorise): c - trunc(c) is exact for a float, and NaN gives 0.
  const bool bytes = impl_->bits == 8;
  const float top = bytes ? 255.0f : 65535.0f;
  const auto sample = [top](float v) {
    float c = v > 0.0f ? v : 0.0f;
    c = c < top ? c : top;
    const int whole = static_cast<int>(c);
    return whole + (c - static_cast<float>(whole) >= 0.5f ? 1 : 0);
  };
  std::vector<std::uint8_t> values8(bytes ? tile.pixels.size() : 0);
  std::vector<std::uint16_t> values16(bytes ? 0 : tile.pixels.size());
  if (bytes) {
    std::size_t i = 0;
#if defined(__SSE2__)
    // Sixteen samples at a time, the same steps: max with 0 turns NaN into 0 (it returns its
    // second operand then), the comparison's mask is -1 where the fraction rounds up.
    const __m128 zero = _mm_setzero_ps(), limit = _mm_set1_ps(top), half = _mm_set1_ps(0.5f);
    const auto round4 = [&](const float* v) {
      const __m128 c = _mm_min_ps(_mm_max_ps(_mm_loadu_ps(v), zero), limit);
      const __m128i whole = _mm_cvttps_epi32(c);
      const __m128 up = _mm_cmpge_ps(_mm_sub_ps(c, _mm_cvtepi32_ps(whole)), half);
      return _mm_sub_epi32(whole, _mm_castps_si128(up));
    };
    for (; i + 16 <= values8.size(); i += 16) {
      const float* v = &tile.pixels[i];
      const __m128i low = _mm_packs_epi32(round4(v), round4(v + 4));
      const __m128i high = _mm_packs_epi32(round4(v + 8), round4(v + 12));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(&values8[i]), _mm_packus_epi16(low, high));
    }
#endif
    for (; i < values8.size(); ++i) values8[i] = static_cast<std::uint8_t>(sample(tile.pixels[i]));
  } else {
    for (std::size_t i = 0; i < values16.size(); ++i)
      values16[i] = static_cast<std::uint16_t>(sample(tile.pixels[i]));
  }
  void* values = bytes ? static_cast<void*>(values8.data()) : static_cast<void*>(values16.data());
  std::lock_guard<std::mutex> lock(impl_->mutex);
  gdal.CPLErrorReset();
  if (gdal.GDALRasterIO(gdal.GDALGetRasterBand(impl_->dataset, 1), GF_Write, tile.x0, tile.y0,
                        tile.width, tile.height, values, tile.width, tile.height,
                        bytes ? GDT_Byte : GDT_UInt16, 0, 0) != CE_None)
    throw TVxScanError("cannot write the raster " + Quoted(impl_->path) + ": " + LastGdalError());
}

void TRasterFileWriter::Commit() {
  const TGdalLibrary& gdal = impl_->gdal;
  gdal.CPLErrorReset();
  gdal.GDALClose(impl_->dataset);
  impl_->dataset = nullptr;
  if (gdal.CPLGetLastErrorType() >= CE_Failure)
    throw TVxScanError("cannot write the raster " + Quoted(impl_->path) + ": " + LastGdalError());
  std::remove((impl_->temporary + ".aux.xml").c_str());
  if (std::rename(impl_->temporary.c_str(), impl_->path.c_str()) != 0)
    throw TVxScanError("cannot write the raster " + Quoted(impl_->path) +
                       ": cannot rename the temporary file over it");
  impl_->committed = true;
}

}  // namespace vxscan
