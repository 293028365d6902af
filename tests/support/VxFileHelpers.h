#pragma once
// Files in tests: a file's bytes, a file written whole, the names in a folder.

#include <dirent.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace vx_test {

// The bytes of the file; empty if it cannot be read.
inline std::string Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// Writes `text` as the whole file.
inline void Spit(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

// The names in the folder, without "." and "..", sorted; empty if it cannot be read.
inline std::vector<std::string> FilesIn(const std::string& folder) {
  std::vector<std::string> names;
  if (DIR* dir = ::opendir(folder.c_str())) {
    while (const dirent* entry = ::readdir(dir)) {
      const std::string name = entry->d_name;
      if (name != "." && name != "..") names.push_back(name);
    }
    ::closedir(dir);
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace vx_test
