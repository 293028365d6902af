#pragma once
// Reading the YAML of OpenCV and ROS through yaml-cpp (never through the strict settings
// reader, which refuses tags in our own files and must keep doing so).

#include <yaml-cpp/yaml.h>

#include <initializer_list>
#include <string>

#include "OpenCvModel.h"

namespace vx_exchange {

// The document of `content`. OpenCV's header "%YAML:1.0" is not a YAML 1.2 directive; it is
// checked and dropped. Throws naming the file, line and column of a syntax error, or for a
// document that is not a mapping.
YAML::Node LoadYamlE(const std::string& content, const std::string& path);

// The value of the first of `names` present in `map` and, in *found, that name; a missing key
// throws naming the first name (with `required`) or gives an undefined node.
YAML::Node FindKeyE(const YAML::Node& map, std::initializer_list<const char*> names,
                    const std::string& path, bool required, std::string* found);

// The file with the line and column of a node ("cal.yml:12:4"), for messages.
std::string Where(const std::string& path, const YAML::Node& node);

// A number, or a whole number > 0.
double YamlNumberE(const YAML::Node& node, const std::string& path, const std::string& key);
std::uint64_t YamlCountE(const YAML::Node& node, const std::string& path, const std::string& key);

// A matrix {rows, cols, [dt], data} whose data hold rows x cols finite numbers; its `where` is
// the file with the matrix's line and column.
TMatrix YamlMatrixE(const YAML::Node& node, const std::string& path, const std::string& key);

// A YAML flow sequence of texts: "[a, b, c]".
std::string FlowList(const std::vector<std::string>& texts);

}  // namespace vx_exchange
