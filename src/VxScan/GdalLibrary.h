#pragma once
// GDAL, loaded when the scan library first reads or writes a raster. A program that links the
// scan library and never touches a raster (vxcam transform, the Python module's camera calls)
// does not pay for GDAL and the hundred libraries it loads: about 50 ms at every start.

#include <cpl_conv.h>
#include <cpl_error.h>
#include <cpl_string.h>
#include <gdal.h>

// The functions of GDAL the scan library calls, under GDAL's own names and types.
struct TGdalLibrary {
  decltype(&::CPLErrorReset) CPLErrorReset;
  decltype(&::CPLGetConfigOption) CPLGetConfigOption;
  decltype(&::CPLGetLastErrorMsg) CPLGetLastErrorMsg;
  decltype(&::CPLGetLastErrorType) CPLGetLastErrorType;
  decltype(&::CPLQuietErrorHandler) CPLQuietErrorHandler;
  decltype(&::CPLSetErrorHandler) CPLSetErrorHandler;
  decltype(&::CSLDestroy) CSLDestroy;
  decltype(&::CSLSetNameValue) CSLSetNameValue;
  decltype(&::GDALAllRegister) GDALAllRegister;
  decltype(&::GDALClose) GDALClose;
  decltype(&::GDALCreate) GDALCreate;
  decltype(&::GDALCreateCopy) GDALCreateCopy;
  decltype(&::GDALGetDriverByName) GDALGetDriverByName;
  decltype(&::GDALGetRasterBand) GDALGetRasterBand;
  decltype(&::GDALGetRasterCount) GDALGetRasterCount;
  decltype(&::GDALGetRasterDataType) GDALGetRasterDataType;
  decltype(&::GDALGetRasterXSize) GDALGetRasterXSize;
  decltype(&::GDALGetRasterYSize) GDALGetRasterYSize;
  decltype(&::GDALOpen) GDALOpen;
  decltype(&::GDALRasterIO) GDALRasterIO;
  decltype(&::GDALSetCacheMax64) GDALSetCacheMax64;
  decltype(&::GDALSetGeoTransform) GDALSetGeoTransform;
};

// GDAL with its drivers registered, loaded by the first call in the process (whichever thread
// makes it; the others wait for it). Throws TVxScanError naming the library when it cannot be
// loaded or lacks a function; a later call tries again.
const TGdalLibrary& Gdal();
