#include "XmlFiles.h"

#include <sstream>

#include "ExchangeText.h"

namespace vx_exchange {

void LoadXmlE(pugi::xml_document* document, const std::string& content, const std::string& path) {
  const pugi::xml_parse_result result = document->load_buffer(content.data(), content.size());
  if (!result)
    Fail(path, "",
         std::string("not XML: ") + result.description() + " at byte " +
             std::to_string(result.offset));
}

std::string XmlWhere(const std::string& content, const std::string& path,
                     const pugi::xml_node& node) {
  const std::ptrdiff_t offset = node.offset_debug();
  if (offset < 0 || static_cast<std::size_t>(offset) > content.size()) return path;
  const std::size_t end = static_cast<std::size_t>(offset);
  std::size_t line = 1, lineStart = 0;
  for (std::size_t i = 0; i < end; ++i)
    if (content[i] == '\n') ++line, lineStart = i + 1;
  // pugixml's offset is past the '<' of an element: the column of the '<' itself.
  const std::size_t column = end - lineStart;
  return path + ":" + std::to_string(line) + ":" + std::to_string(column);
}

std::string ChildText(const pugi::xml_node& parent, const char* name) {
  std::string text = parent.child(name).text().get();
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  const std::size_t last = text.find_last_not_of(" \t\r\n");
  return first == std::string::npos ? std::string() : text.substr(first, last - first + 1);
}

std::string SaveXml(const pugi::xml_document& document) {
  std::ostringstream out;
  document.save(out, "  ", pugi::format_default, pugi::encoding_utf8);
  return out.str();
}

}  // namespace vx_exchange
