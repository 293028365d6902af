#include "YamlFiles.h"

#include "ExchangeText.h"

namespace vx_exchange {

YAML::Node LoadYamlE(const std::string& content, const std::string& path) {
  std::string text = content;
  if (text.rfind("%YAML:", 0) == 0) {
    const std::size_t end = text.find('\n');
    // Blank the header rather than cut it, so that yaml-cpp's line numbers stay the file's.
    text.replace(0, end == std::string::npos ? text.size() : end, "");
  }
  YAML::Node root;
  try {
    root = YAML::Load(text);
  } catch (const YAML::Exception& e) {
    Fail(path, "",
         "not YAML: line " + std::to_string(e.mark.line + 1) + ", column " +
             std::to_string(e.mark.column + 1) + ": " + e.msg);
  }
  if (!root.IsMap()) Fail(path, "", "not a YAML mapping of keys");
  return root;
}

std::string Where(const std::string& path, const YAML::Node& node) {
  const YAML::Mark mark = node.Mark();
  if (mark.is_null()) return path;
  return path + ":" + std::to_string(mark.line + 1) + ":" + std::to_string(mark.column + 1);
}

YAML::Node FindKeyE(const YAML::Node& map, std::initializer_list<const char*> names,
                    const std::string& path, bool required, std::string* found) {
  for (const char* name : names) {
    if (const YAML::Node node = map[name]) {
      if (found) *found = name;
      return node;
    }
  }
  if (required) Fail(path, *names.begin(), "missing key");
  return YAML::Node(YAML::NodeType::Undefined);
}

double YamlNumberE(const YAML::Node& node, const std::string& path, const std::string& key) {
  if (!node.IsScalar()) Fail(Where(path, node), key, "expected a number");
  return ParseNumberE(node.Scalar(), Where(path, node), key);
}

std::uint64_t YamlCountE(const YAML::Node& node, const std::string& path, const std::string& key) {
  if (!node.IsScalar()) Fail(Where(path, node), key, "expected a whole number");
  return ParseCountE(node.Scalar(), Where(path, node), key);
}

TMatrix YamlMatrixE(const YAML::Node& node, const std::string& path, const std::string& key) {
  const std::string where = Where(path, node);
  if (!node.IsMap()) Fail(where, key, "expected a matrix with rows, cols and data");
  auto need = [&](const char* sub) {
    const YAML::Node n = node[sub];
    if (!n) Fail(where, key + "." + sub, "missing key");
    return n;
  };
  TMatrix m;
  m.where = where;
  m.rows = YamlCountE(need("rows"), path, key + ".rows");
  m.cols = YamlCountE(need("cols"), path, key + ".cols");
  if (const YAML::Node dt = node["dt"]) {
    if (!dt.IsScalar() || (dt.Scalar() != "d" && dt.Scalar() != "f"))
      Fail(Where(path, dt), key + ".dt",
           "expected d or f (numbers), found '" + (dt.IsScalar() ? dt.Scalar() : std::string("?")) +
               "'");
  }
  const YAML::Node data = need("data");
  if (!data.IsSequence()) Fail(Where(path, data), key + ".data", "expected a list of numbers");
  if (data.size() != m.rows * m.cols)
    Fail(Where(path, data), key + ".data",
         std::to_string(m.rows) + " x " + std::to_string(m.cols) + " values expected, found " +
             std::to_string(data.size()));
  for (std::size_t i = 0; i < data.size(); ++i)
    m.data.push_back(YamlNumberE(data[i], path, key + ".data[" + std::to_string(i) + "]"));
  return m;
}

std::string FlowList(const std::vector<std::string>& texts) {
  std::string out = "[";
  for (std::size_t i = 0; i < texts.size(); ++i) out += (i ? ", " : "") + texts[i];
  return out + "]";
}

}  // namespace vx_exchange
