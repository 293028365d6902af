#include "XIniFlowDepth.h"

namespace vx_xini {
namespace {

bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}
bool IsLineEnd(char c) {
  return c == '\n' || c == '\r';
}

// A scanner over the text that knows just enough YAML to find where flow collections open.
class TFlowScanner {
 public:
  TFlowScanner(std::string_view text, std::size_t limit) : text_(text), limit_(limit) {}

  std::optional<TFlowCut> Run() {
    StartLine();
    bool nodeStart = true;  // a node may begin here (start of line, after ": ", "- ", "? ")
    while (at_ < text_.size()) {
      const char c = text_[at_];
      if (IsLineEnd(c)) {
        NextLine();
        nodeStart = true;
      } else if (IsBlank(c)) {
        ++at_;
      } else if (c == '#' && AfterBlank()) {
        SkipToLineEnd();
      } else if (c == '"' || c == '\'') {
        SkipQuoted(c);
        nodeStart = false;
      } else if (nodeStart && (c == '[' || c == '{')) {
        if (ScanFlow()) return cut_;
        nodeStart = false;
      } else if (nodeStart && (c == '|' || c == '>')) {
        SkipBlockScalar();
        nodeStart = true;
      } else if ((c == '-' || c == '?' || c == ':') && FollowedByBlank()) {
        ++at_;
        nodeStart = true;
      } else {
        ++at_;
        nodeStart = false;
      }
    }
    return std::nullopt;
  }

 private:
  bool AfterBlank() const {
    return at_ == 0 || IsBlank(text_[at_ - 1]) || IsLineEnd(text_[at_ - 1]);
  }
  bool FollowedByBlank() const {
    return at_ + 1 >= text_.size() || IsBlank(text_[at_ + 1]) || IsLineEnd(text_[at_ + 1]);
  }

  void NextLine() {
    if (text_[at_] == '\n') ++line_;
    ++at_;
    lineStart_ = at_;
    StartLine();
  }

  void StartLine() {
    indent_ = 0;
    while (at_ + indent_ < text_.size() && text_[at_ + indent_] == ' ') ++indent_;
  }

  void SkipToLineEnd() {
    while (at_ < text_.size() && !IsLineEnd(text_[at_])) ++at_;
  }

  // Past the closing quote: '' stands for ' in single quotes, \x escapes in double quotes.
  void SkipQuoted(char quote) {
    ++at_;
    while (at_ < text_.size()) {
      if (IsLineEnd(text_[at_])) {
        NextLine();
        continue;
      }
      const char c = text_[at_++];
      if (quote == '"' && c == '\\') {
        ++at_;
      } else if (c == quote) {
        if (quote == '\'' && at_ < text_.size() && text_[at_] == '\'') {
          ++at_;
        } else {
          return;
        }
      }
    }
  }

  // The header line of a block scalar and every following line that is empty or indented more
  // than the line of the header.
  void SkipBlockScalar() {
    const std::size_t headerIndent = indent_;
    SkipToLineEnd();
    while (at_ < text_.size()) {
      std::size_t next = at_;
      if (text_[next] == '\r') ++next;
      if (next < text_.size() && text_[next] == '\n') ++next;
      std::size_t spaces = 0;
      while (next + spaces < text_.size() && text_[next + spaces] == ' ') ++spaces;
      const std::size_t content = next + spaces;
      const bool empty = content >= text_.size() || IsLineEnd(text_[content]);
      if (!empty && spaces <= headerIndent) return;  // at the line end before that line
      while (at_ < next) NextLine();
      at_ = content;
      SkipToLineEnd();
    }
  }

  // From an opening bracket to the bracket that closes the outermost collection; true, with
  // cut_ set, at a bracket that opens too deep.
  bool ScanFlow() {
    std::string open;  // the brackets of the collections open here, outermost first
    while (at_ < text_.size()) {
      const char c = text_[at_];
      if (c == '[' || c == '{') {
        open += c;
        ++at_;
        if (open.size() > limit_) return Cut(open);
      } else if (c == ']' || c == '}') {
        ++at_;
        open.pop_back();
        if (open.empty()) return false;
      } else if (c == '"' || c == '\'') {
        SkipQuoted(c);
      } else if (c == '#' && AfterBlank()) {
        SkipToLineEnd();
      } else if (IsLineEnd(c)) {
        NextLine();
      } else {
        ++at_;
      }
    }
    return false;
  }

  bool Cut(const std::string& open) {
    cut_.end = at_;
    for (auto it = open.rbegin(); it != open.rend(); ++it) cut_.closers += *it == '[' ? ']' : '}';
    cut_.line = static_cast<std::uint32_t>(line_ + 1);
    cut_.column = static_cast<std::uint32_t>(at_ - lineStart_);
    return true;
  }

  std::string_view text_;
  std::size_t limit_;
  std::size_t at_ = 0;
  std::size_t indent_ = 0;
  std::size_t lineStart_ = 0;
  std::size_t line_ = 0;
  TFlowCut cut_;
};

}  // namespace

std::optional<TFlowCut> FindTooDeepFlow(std::string_view text, std::size_t limit) {
  TFlowScanner scanner(text, limit);
  return scanner.Run();
}

}  // namespace vx_xini
