// Writes the example cameras into a folder (default: examples/cameras of the source tree)
// with the library's own SaveE, in English.
//
// Usage: vx_make_examples [OUTPUT_FOLDER]

#include <filesystem>
#include <iostream>
#include <string>

#include "ExampleCameras.h"
#include "VxCameraUtils.h"
#include "VxResources.h"
#include "VxXIni.h"

int main(int argc, char** argv) {
  const std::string folder = argc > 1 ? argv[1] : std::string(VX_SOURCE_DIR) + "/examples/cameras";
  Init_VxCameraUtils();
  VxSetResLanguage("en");
  try {
    std::filesystem::create_directories(folder);
    for (const TExampleCamera& example : ExampleCameras()) {
      TVxXIniWriter writer;
      XIniSaveE(&writer, example.camera);
      writer.SaveFile(folder + "/" + example.fileName);
      std::cout << folder << "/" << example.fileName << '\n';
    }
  } catch (const std::exception& e) {
    std::cerr << "vx_make_examples: " << e.what() << '\n';
    Deinit_VxCameraUtils();
    return 1;
  }
  Deinit_VxCameraUtils();
  return 0;
}
