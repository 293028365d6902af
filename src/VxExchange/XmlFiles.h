#pragma once
// Reading and writing the XML of OpenCV and Metashape through pugixml.

#include <pugixml.hpp>

#include <string>

namespace vx_exchange {

// The document of `content`; a syntax error throws naming the file and the byte offset.
void LoadXmlE(pugi::xml_document* document, const std::string& content, const std::string& path);

// The file with the line and column of a node of `content` ("cal.xml:12:4"), for messages.
std::string XmlWhere(const std::string& content, const std::string& path,
                     const pugi::xml_node& node);

// The text of the child element `name` of `parent`; empty when there is none.
std::string ChildText(const pugi::xml_node& parent, const char* name);

// The whole document as text, indented by two spaces.
std::string SaveXml(const pugi::xml_document& document);

}  // namespace vx_exchange
