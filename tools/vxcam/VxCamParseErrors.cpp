#include "VxCamParseErrors.h"

#include <regex>
#include <vector>

#include "VxCamText.h"
#include "VxResources.h"

namespace vxcam {
namespace {

// One kind of CLI11 message: its English form, and how the parts it caught are put together
// again. In `layout`, $1.. stand for the caught parts and {key} for the text of "vxcam.cli.key".
struct TMessageKind {
  std::regex english;
  const char* layout;
};

const std::vector<TMessageKind>& Kinds() {
  static const std::vector<TMessageKind> kinds = {
      {std::regex("^(.+) is required$"), "$1 {required}"},
      {std::regex("^The following arguments? (?:was|were) not expected: (.*)$"),
       "{unexpected}: $1"},
      {std::regex("^(.+): (.*) not in \\{(.*)\\}$"), "$1: $2 {not_member} {$3}"},
      {std::regex("^(.+): Value (.+) not in range (.+) to (.+)$"),
       "$1: $2 {not_in_range} $3 .. $4"},
      {std::regex("^(.+) excludes (.+)$"), "$1: {excludes} $2"},
      {std::regex("^(.+) requires (.+)$"), "$1: {requires} $2"},
      {std::regex("^Could not convert: (.+) = (.*)$"), "$1: {not_converted}: $2"},
      {std::regex("^Expected exactly (\\d+) arguments? to (.+), got (\\d+)$"),
       "$2: {expected_exactly} $1, {got} $3"},
      {std::regex("^(.+): (\\d+) required (.+) missing$"), "$1: {missing_values} ($2 $3)"},
      {std::regex("^(.+): too many inputs for a flag$"), "$1: {flag_value}"},
  };
  return kinds;
}

// The layout with its caught parts and texts filled in.
std::string Fill(const std::string& layout, const std::smatch& parts) {
  std::string out;
  for (std::size_t i = 0; i < layout.size(); ++i) {
    const char c = layout[i];
    if (c == '$' && i + 1 < layout.size() && layout[i + 1] >= '1' && layout[i + 1] <= '9') {
      out += parts[static_cast<std::size_t>(layout[++i] - '0')].str();
    } else if (c == '{' && layout.find('}', i) != std::string::npos && layout[i + 1] != '$') {
      const std::size_t end = layout.find('}', i);
      out += Text(("vxcam.cli." + layout.substr(i + 1, end - i - 1)).c_str());
      i = end;
    } else {
      out += c;
    }
  }
  return out;
}

}  // namespace

std::string LocaliseParseError(const std::string& message) {
  if (VxGetResLanguage() == "en") return message;
  for (const TMessageKind& kind : Kinds()) {
    std::smatch parts;
    if (std::regex_match(message, parts, kind.english)) return Fill(kind.layout, parts);
  }
  return message;
}

}  // namespace vxcam
