// The images of a set of mark templates, read from their files.

#include <string>
#include <vector>

#include "VxScan.h"

std::vector<TVxRaster> LoadMarkTemplateImages(const TCameraMarkTemplates& templates,
                                              const std::string& folder) {
  std::vector<TVxRaster> images;
  images.reserve(templates.templates.size());
  for (const TCameraMarkTemplates::TMarkTemplate& info : templates.templates) {
    if (info.fileName.empty())
      throw TVxScanError("mark template " + std::to_string(info.index) + ": filename is empty");
    std::string path = info.fileName;
    if (path.front() != '/' && !folder.empty())
      path = folder + (folder.back() == '/' ? "" : "/") + path;
    const TVxScanImage image(path);
    images.push_back(image.ReadWindow(0, 0, image.Width(), image.Height()));
  }
  return images;
}
