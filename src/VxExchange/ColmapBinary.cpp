// COLMAP cameras.bin, little-endian: uint64 number of cameras, then for each camera uint32
// CAMERA_ID, int32 MODEL_ID, uint64 WIDTH, uint64 HEIGHT and the model's parameters as doubles.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "ColmapModels.h"
#include "ExchangeText.h"

namespace vx_exchange {
namespace {

// Reads little-endian values from the bytes, naming what is missing when they end too early.
class TBytes {
 public:
  TBytes(const std::string& bytes, const std::string& path) : bytes_(bytes), path_(path) {}

  template <class T>
  T ReadE(const std::string& what) {
    if (bytes_.size() - at_ < sizeof(T))
      Fail(path_, what,
           "the file is truncated at byte " + std::to_string(bytes_.size()) + " (" +
               std::to_string(sizeof(T)) + " bytes needed at byte " + std::to_string(at_) + ")");
    unsigned char raw[sizeof(T)];
    std::memcpy(raw, bytes_.data() + at_, sizeof(T));
    at_ += sizeof(T);
    std::uint64_t bits = 0;
    for (std::size_t i = sizeof(T); i-- > 0;) bits = (bits << 8) | raw[i];
    T value;
    if constexpr (sizeof(T) == 8) {
      std::memcpy(&value, &bits, 8);
    } else {
      const std::uint32_t narrow = static_cast<std::uint32_t>(bits);
      std::memcpy(&value, &narrow, 4);
    }
    return value;
  }
  std::size_t Left() const { return bytes_.size() - at_; }

 private:
  const std::string& bytes_;
  const std::string& path_;
  std::size_t at_ = 0;
};

TPixelCamera Read(const std::string& content, const TVxExchangeOptions& options) {
  TBytes bytes(content, options.path);
  const std::uint64_t count = bytes.ReadE<std::uint64_t>("number of cameras");
  // Each camera takes at least 24 bytes: a count beyond that is a damaged file, not a reason
  // to reserve memory.
  if (count > bytes.Left() / 24)
    Fail(options.path, "number of cameras",
         std::to_string(count) + " cameras cannot fit into " + std::to_string(content.size()) +
             " bytes: the file is truncated or not cameras.bin");
  std::vector<TColmapCamera> cameras;
  for (std::uint64_t i = 0; i < count; ++i) {
    const std::string where = "camera " + std::to_string(i + 1) + " of " + std::to_string(count);
    TColmapCamera camera;
    camera.id = bytes.ReadE<std::uint32_t>(where + ": CAMERA_ID");
    const std::int32_t modelId = bytes.ReadE<std::int32_t>(where + ": MODEL_ID");
    camera.model = ColmapModelName(modelId);
    if (camera.model.empty())
      Fail(options.path, where, "unknown model id " + std::to_string(modelId));
    camera.width = bytes.ReadE<std::uint64_t>(where + ": WIDTH");
    camera.height = bytes.ReadE<std::uint64_t>(where + ": HEIGHT");
    bool fisheye = false;
    const int n = ColmapParamCount(camera.model, &fisheye);
    for (int j = 0; j < n; ++j) {
      const std::string key = where + ": PARAMS[" + std::to_string(j) + "]";
      const double value = bytes.ReadE<double>(key);
      if (!std::isfinite(value)) Fail(options.path, key, "not a finite number");
      camera.params.push_back(value);
    }
    cameras.push_back(camera);
  }
  if (bytes.Left() != 0)
    Fail(options.path, "", std::to_string(bytes.Left()) + " bytes after the last camera");
  return ColmapPixelCamera(cameras, options);
}

template <class T>
void Append(std::string* out, T value) {
  // The file is little-endian whatever the machine: write the bytes from the value's bits.
  std::uint64_t bits = 0;
  if constexpr (sizeof(T) == 8) {
    std::memcpy(&bits, &value, 8);
  } else {
    std::uint32_t narrow = 0;
    std::memcpy(&narrow, &value, 4);
    bits = narrow;
  }
  for (std::size_t i = 0; i < sizeof(T); ++i)
    out->push_back(static_cast<char>((bits >> (8 * i)) & 0xff));
}

std::string Write(const std::vector<TParam>& params, const TPixelCamera& c,
                  const TVxExchangeOptions& options) {
  std::string model;
  ColmapParams(c, &model);
  std::string out;
  Append<std::uint64_t>(&out, 1);
  Append<std::uint32_t>(&out, static_cast<std::uint32_t>(options.cameraId.value_or(1)));
  Append<std::int32_t>(&out, ColmapModelId(model));
  Append<std::uint64_t>(&out, c.width);
  Append<std::uint64_t>(&out, c.height);
  // The binary file holds doubles: the chosen texts' values, so that both files agree.
  for (const TParam& p : params) Append<double>(&out, std::strtod(p.text.c_str(), nullptr));
  return out;
}

}  // namespace

TFormatIo ColmapBinaryIo() {
  return {Read, ColmapParams, Write};
}

}  // namespace vx_exchange
