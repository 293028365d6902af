#pragma once
// The module object: counted start and stop of the library, the place of its file, and the
// lookup of its localised texts. Private to the library.

#include <cstdint>
#include <string>

class VxModule_Initializer {
 public:
  // The one object of the process, made on first use (thread-safe).
  static VxModule_Initializer& getInst();

  // Where the dynamic loader says the code at an address lies; null when it cannot say.
  using TLoaderQuery = const char* (*)(const void* address);
  // Replaces the loader query of later starts (a null query restores the dynamic loader's).
  // Tests use it to start the module with synthetic file names.
  static void SetLoaderQuery(TLoaderQuery query);

  // Counts a start; the first one starts the dependency and splits the library's file name.
  // The two texts are accepted and ignored.
  void init(const std::string& unused1, const std::string& unused2);
  // Counts a stop; the one that reaches zero stops the dependency. A surplus stop does nothing.
  void deinit();

  // The localised text of a dotted key such as "global.TEXT_CI_TYPE_DIGITAL", or "" (or the
  // default) when the resource service has none.
  std::string get_resource_string(const std::string& key) const;
  std::string get_resource_string(const std::string& key, const std::string& defaultText) const;

  std::uint64_t InitCount() const { return init_count; }
  const std::string& ModuleName() const { return module_name; }
  const std::string& ModulePath() const { return module_path; }
  const std::string& ModuleDir() const { return module_dir; }
  const std::string& ModuleFileName() const { return module_file_name; }
  const std::string& ModuleExt() const { return module_ext; }

  VxModule_Initializer(const VxModule_Initializer&) = delete;
  VxModule_Initializer& operator=(const VxModule_Initializer&) = delete;

 private:
  VxModule_Initializer() = default;
  ~VxModule_Initializer() = default;

  std::uint64_t init_count = 0;
  std::string module_name = "VxCameraUtils";
  std::string module_path;
  std::string module_dir;
  std::string module_file_name;
  std::string module_ext = "so";
};
