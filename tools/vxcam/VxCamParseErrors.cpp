#include "VxCamParseErrors.h"

#include <string_view>
#include <vector>

#include "VxCamText.h"
#include "VxResources.h"

namespace vxcam {
namespace {

// One kind of CLI11 message: its English form, with * for the parts that vary (the names and
// values), and how they are put together again: $1.. for the parts, {key} for the text of
// "vxcam.cli.key".
struct TMessageKind {
  const char* english;
  const char* layout;
};

constexpr TMessageKind kKinds[] = {
    {"* is required", "$1 {required}"},
    {"The following argument was not expected: *", "{unexpected}: $1"},
    {"The following arguments were not expected: *", "{unexpected}: $1"},
    {"*: Value * not in range * to *", "$1: $2 {not_in_range} $3 .. $4"},
    {"*: * not in {*}", "$1: $2 {not_member} {$3}"},
    {"* excludes *", "$1: {excludes} $2"},
    {"* requires *", "$1: {requires} $2"},
    {"Could not convert: * = *", "$1: {not_converted}: $2"},
    {"Expected exactly * arguments to *, got *", "$2: {expected_exactly} $1, {got} $3"},
    {"Expected exactly * argument to *, got *", "$2: {expected_exactly} $1, {got} $3"},
    {"*: * required * missing", "$1: {missing_values} ($2 $3)"},
    {"*: too many inputs for a flag", "$1: {flag_value}"},
};

// Matches `text` against `pattern`, each * taking as little as it can (the last as much as is
// left); the parts the stars took go to `parts`.
bool Match(std::string_view pattern, std::string_view text, std::vector<std::string>& parts) {
  const std::size_t star = pattern.find('*');
  if (star == std::string_view::npos) return pattern == text;
  if (text.substr(0, star) != pattern.substr(0, star)) return false;
  const std::string_view rest = pattern.substr(star + 1);
  for (std::size_t take = 0; star + take <= text.size(); ++take) {
    parts.emplace_back(text.substr(star, take));
    if (Match(rest, text.substr(star + take), parts)) return true;
    parts.pop_back();
  }
  return false;
}

// The layout with its parts and texts filled in.
std::string Fill(std::string_view layout, const std::vector<std::string>& parts) {
  std::string out;
  for (std::size_t i = 0; i < layout.size(); ++i) {
    const char c = layout[i];
    if (c == '$' && i + 1 < layout.size() && layout[i + 1] >= '1' && layout[i + 1] <= '9') {
      const auto part = static_cast<std::size_t>(layout[++i] - '1');
      if (part < parts.size()) out += parts[part];
    } else if (c == '{' && i + 1 < layout.size() && layout[i + 1] != '$') {
      const std::size_t end = layout.find('}', i);
      out += Text(("vxcam.cli." + std::string(layout.substr(i + 1, end - i - 1))).c_str());
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
  for (const TMessageKind& kind : kKinds) {
    std::vector<std::string> parts;
    if (Match(kind.english, message, parts)) return Fill(kind.layout, parts);
  }
  return message;
}

}  // namespace vxcam
