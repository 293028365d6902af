// Writes the example cameras and measurements into a folder (default: examples/ of the source
// tree, in cameras/ and measurements/) with the library's own SaveE, in English.
//
// Usage: vx_make_examples [OUTPUT_FOLDER]

#include <filesystem>
#include <iostream>
#include <string>

#include "ExampleCameras.h"
#include "ExampleMeasurements.h"
#include "VxCameraUtils.h"
#include "VxResources.h"
#include "VxXIni.h"

int main(int argc, char** argv) {
  const std::string folder = argc > 1 ? argv[1] : std::string(VX_SOURCE_DIR) + "/examples";
  Init_VxCameraUtils();
  VxSetResLanguage("en");
  try {
    std::filesystem::create_directories(folder + "/cameras");
    std::filesystem::create_directories(folder + "/measurements");
    for (const TExampleCamera& example : ExampleCameras()) {
      TVxXIniWriter writer;
      XIniSaveE(&writer, example.camera);
      writer.SaveFile(folder + "/cameras/" + example.fileName);
      std::cout << folder << "/cameras/" << example.fileName << '\n';
    }
    for (const TExampleMeasurement& example : ExampleMeasurements()) {
      TVxXIniWriter writer;
      example.measurement.SaveE(&writer);
      writer.SaveFile(folder + "/measurements/" + example.fileName);
      std::cout << folder << "/measurements/" << example.fileName << '\n';
    }
  } catch (const std::exception& e) {
    std::cerr << "vx_make_examples: " << e.what() << '\n';
    Deinit_VxCameraUtils();
    return 1;
  }
  Deinit_VxCameraUtils();
  return 0;
}
