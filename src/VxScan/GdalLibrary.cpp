#include "GdalLibrary.h"

#include <dlfcn.h>

#include <cstring>
#include <string>

#include "VxScan.h"

namespace {

// The library the scan library was built against, by the name its users' systems know it by
// (libgdal.so.N), so that a newer GDAL of another interface is never taken for it.
constexpr const char* kSoname = VX_GDAL_SONAME;

// GDAL's block cache, unless GDAL_CACHEMAX says otherwise.
constexpr GIntBig kCacheBytes = GIntBig{128} << 20;

std::string LoadError(const std::string& what) {
  return std::string("cannot load GDAL (") + kSoname + "): " + what;
}

// The function `name` of the loaded library, as `function`.
template <class Function>
void Find(void* handle, const char* name, Function& function) {
  void* symbol = dlsym(handle, name);
  if (symbol == nullptr) throw TVxScanError(LoadError(std::string("it has no function ") + name));
  // POSIX guarantees that a function's address survives the round trip through void*.
  static_assert(sizeof(function) == sizeof(symbol), "a function pointer is not a data pointer");
  std::memcpy(&function, &symbol, sizeof(function));
}

TGdalLibrary Load() {
  // RTLD_NOW: a missing symbol of GDAL's own dependencies shows here, not mid-read.
  void* handle = dlopen(kSoname, RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    const char* reason = dlerror();
    throw TVxScanError(LoadError(reason != nullptr ? reason : "not found"));
  }
  // The handle stays open for the process: GDAL's drivers keep threads and caches of their own.
  TGdalLibrary gdal{};
#define VX_FIND_GDAL_FUNCTION(name) Find(handle, #name, gdal.name)
  VX_FIND_GDAL_FUNCTION(CPLErrorReset);
  VX_FIND_GDAL_FUNCTION(CPLGetConfigOption);
  VX_FIND_GDAL_FUNCTION(CPLGetLastErrorMsg);
  VX_FIND_GDAL_FUNCTION(CPLGetLastErrorType);
  VX_FIND_GDAL_FUNCTION(CPLQuietErrorHandler);
  VX_FIND_GDAL_FUNCTION(CPLSetErrorHandler);
  VX_FIND_GDAL_FUNCTION(CSLDestroy);
  VX_FIND_GDAL_FUNCTION(CSLSetNameValue);
  VX_FIND_GDAL_FUNCTION(GDALAllRegister);
  VX_FIND_GDAL_FUNCTION(GDALClose);
  VX_FIND_GDAL_FUNCTION(GDALCreate);
  VX_FIND_GDAL_FUNCTION(GDALCreateCopy);
  VX_FIND_GDAL_FUNCTION(GDALGetDriverByName);
  VX_FIND_GDAL_FUNCTION(GDALGetRasterBand);
  VX_FIND_GDAL_FUNCTION(GDALGetRasterCount);
  VX_FIND_GDAL_FUNCTION(GDALGetRasterDataType);
  VX_FIND_GDAL_FUNCTION(GDALGetRasterXSize);
  VX_FIND_GDAL_FUNCTION(GDALGetRasterYSize);
  VX_FIND_GDAL_FUNCTION(GDALOpen);
  VX_FIND_GDAL_FUNCTION(GDALRasterIO);
  VX_FIND_GDAL_FUNCTION(GDALSetCacheMax64);
  VX_FIND_GDAL_FUNCTION(GDALSetGeoTransform);
#undef VX_FIND_GDAL_FUNCTION

  gdal.GDALAllRegister();
  // GDAL caches blocks up to 5 % of the memory by default; the windows of a scan are read
  // once or twice each, so a smaller cache keeps resampling a large scan within bounds.
  // GDAL_CACHEMAX in the environment still decides where it is set.
  if (gdal.CPLGetConfigOption("GDAL_CACHEMAX", nullptr) == nullptr) {
    gdal.GDALSetCacheMax64(kCacheBytes);
  }
  // The scan library reports its own errors; GDAL's go into the messages, not to stderr.
  gdal.CPLSetErrorHandler(gdal.CPLQuietErrorHandler);
  return gdal;
}

}  // namespace

const TGdalLibrary& Gdal() {
  static const TGdalLibrary gdal = Load();
  return gdal;
}
