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
