#include "VxModule_Initializer.h"

#include <dlfcn.h>

#include <atomic>
#include <stdexcept>

#include "VxCameraUtils.h"
#include "VxCloudDetector.h"
#include "VxResources.h"

namespace {

const char* DynamicLoaderQuery(const void* address) {
  Dl_info info{};
  // The result code is not examined: a failed query leaves dli_fname null.
  dladdr(address, &info);
  return info.dli_fname;
}

std::atomic<VxModule_Initializer::TLoaderQuery> g_loaderQuery{&DynamicLoaderQuery};

}  // namespace

VxModule_Initializer& VxModule_Initializer::getInst() {
  static VxModule_Initializer instance;
  return instance;
}

void VxModule_Initializer::SetLoaderQuery(TLoaderQuery query) {
  g_loaderQuery.store(query != nullptr ? query : &DynamicLoaderQuery);
}

void VxModule_Initializer::init(const std::string& /*unused1*/, const std::string& /*unused2*/) {
  if (init_count != 0) {
    ++init_count;
    return;
  }
  // The dependency comes first; should the rest fail, the next start starts it again.
  Init_VxCloudDetector();
  const char* fileName = g_loaderQuery.load()(reinterpret_cast<const void*>(&Init_VxCameraUtils));
  if (fileName == nullptr) throw std::logic_error("basic_string::_M_construct null not valid");
  module_path = fileName;

  const auto separator = module_path.find_last_of("/\\");
  const std::size_t split = separator == std::string::npos ? 0 : separator + 1;
  module_dir = module_path.substr(0, split);
  module_file_name = module_path.substr(split);

  const auto dot = module_file_name.rfind('.');
  const bool hasExt = dot != std::string::npos && dot + 1 < module_file_name.size();
  module_ext = hasExt ? module_file_name.substr(dot + 1) : std::string();

  ++init_count;
}

void VxModule_Initializer::deinit() {
  if (init_count == 0) return;
  if (--init_count == 0) Deinit_VxCloudDetector();
}

std::string VxModule_Initializer::get_resource_string(const std::string& key) const {
  const std::string* text = nullptr;
  return LoadResString(module_name, key, &text) ? *text : std::string();
}

std::string VxModule_Initializer::get_resource_string(const std::string& key,
                                                      const std::string& defaultText) const {
  const std::string* text = nullptr;
  return LoadResString(module_name, key, &text) ? *text : defaultText;
}
