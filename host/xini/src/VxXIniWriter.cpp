#include "VxXIniWriter.h"

#include <cstdint>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "VxAtomicFile.h"
#include "XIniNumbers.h"
#include "XIniScalars.h"

namespace {

enum class TKind : std::uint8_t { Number, Text, LongText, Section };

struct TNode {
  std::string name;
  std::string text;  // number or text of a value
  std::vector<std::uint32_t> children;
  TKind kind = TKind::Section;
  bool compact = false;
};

std::string JoinPath(const std::string& parent, const std::string& component) {
  return parent.empty() ? component : parent + "/" + component;
}

std::string SectionLabel(const std::string& path) {
  return path.empty() ? std::string("the root section") : "section '" + path + "'";
}

// Lays a tree of nodes out as YAML text.
class TLayout {
 public:
  explicit TLayout(const std::vector<TNode>& nodes) : nodes_(nodes) {}

  std::string Text() {
    const TNode& root = nodes_[0];
    if (root.children.empty()) {
      return "{}\n";
    }
    Block(root, 0, false);
    return std::move(out_);
  }

 private:
  static bool IsList(const TNode& section, const std::vector<TNode>& nodes) {
    return !section.children.empty() && nodes[section.children.front()].name.empty();
  }

  // The entries of a non-empty block section, each on its own line(s) at `indent`. With
  // `firstInline` the first entry continues a line already begun ("- ").
  void Block(const TNode& section, std::size_t indent, bool firstInline) {
    const bool list = IsList(section, nodes_);
    bool first = true;
    for (const std::uint32_t index : section.children) {
      const TNode& child = nodes_[index];
      if (!(first && firstInline)) {
        out_.append(indent, ' ');
      }
      first = false;
      if (list) {
        out_ += "- ";
        if (child.kind == TKind::Section && !child.compact && !child.children.empty()) {
          Block(child, indent + 2, true);
          continue;
        }
      } else {
        out_ += vx_xini::ScalarText(child.name);
        out_ += ':';
        if (child.kind == TKind::Section && !child.compact && !child.children.empty()) {
          out_ += '\n';
          Block(child, indent + 2, false);
          continue;
        }
        out_ += ' ';
      }
      if (child.kind == TKind::LongText && vx_xini::SuitsLiteralBlock(child.text)) {
        vx_xini::AppendLiteralBlock(out_, child.text, indent + 2);
        continue;
      }
      Flow(child);
      out_ += '\n';
    }
  }

  // A value, or a section in flow style.
  void Flow(const TNode& node) {
    switch (node.kind) {
      case TKind::Number:
        out_ += node.text;
        return;
      case TKind::Text:
      case TKind::LongText:
        out_ += vx_xini::ScalarText(node.text);
        return;
      case TKind::Section:
        break;
    }
    if (node.children.empty()) {
      out_ += "{}";
      return;
    }
    const bool list = IsList(node, nodes_);
    out_ += list ? '[' : '{';
    bool first = true;
    for (const std::uint32_t index : node.children) {
      if (!first) {
        out_ += ", ";
      }
      first = false;
      const TNode& child = nodes_[index];
      if (!list) {
        out_ += vx_xini::ScalarText(child.name);
        out_ += ": ";
      }
      Flow(child);
    }
    out_ += list ? ']' : '}';
  }

  const std::vector<TNode>& nodes_;
  std::string out_;
};

}  // namespace

struct TVxXIniWriter::Impl {
  struct TOpen {
    std::uint32_t node = 0;
    TVxXIniSectionHandle handle = 0;
    std::string path;
    std::unordered_set<std::string> names;
  };

  std::vector<TNode> nodes;  // [0] is the root section
  std::vector<TOpen> open;   // [0] is the root section, never ended
  TVxXIniSectionHandle nextHandle = 1;
  std::string lastFailure;
  std::uint64_t operations = 0;
  std::uint64_t failAt = 0;

  // Counts one operation; false (with the reason kept) if it is the one chosen for failure.
  bool Count() {
    if (++operations == failAt) {
      lastFailure = SectionLabel(open.back().path) + ": injected failure (operation " +
                    std::to_string(operations) + ")";
      return false;
    }
    return true;
  }

  // Adds an entry to the current section; false (with the reason kept) if it does not fit.
  bool Add(const std::string& name, TKind kind, std::string text, bool compact) {
    TOpen& current = open.back();
    const std::vector<std::uint32_t>& siblings = nodes[current.node].children;
    if (!siblings.empty() && nodes[siblings.front()].name.empty() != name.empty()) {
      lastFailure = SectionLabel(current.path) + " would mix named and unnamed entries (at " +
                    (name.empty() ? std::string("an unnamed entry") : "key '" + name + "'") + ")";
      return false;
    }
    if (vx_xini::ScalarText(name).size() > kVxXIniMaxKeyLength) {
      lastFailure = SectionLabel(current.path) + ": the key '" + name.substr(0, 40) +
                    "...' is longer than " + std::to_string(kVxXIniMaxKeyLength) +
                    " characters as written";
      return false;
    }
    if (!name.empty() && !current.names.insert(name).second) {
      lastFailure = SectionLabel(current.path) + " already has the key '" + name + "'";
      return false;
    }
    TNode node;
    node.name = name;
    node.kind = kind;
    node.text = std::move(text);
    node.compact = compact;
    nodes.push_back(std::move(node));
    nodes[current.node].children.push_back(static_cast<std::uint32_t>(nodes.size() - 1));
    return true;
  }

  bool Write(const std::string& name, TKind kind, std::string text) {
    return Count() && Add(name, kind, std::move(text), false);
  }

  TVxXIniSectionHandle Begin(const std::string& name, bool compact) {
    if (!Count()) {
      throw TVxXIniWriteError(lastFailure);
    }
    if (open.size() > static_cast<std::size_t>(kVxXIniMaxDepth)) {
      throw TVxXIniWriteError(SectionLabel(open.back().path) + ": sections nest deeper than " +
                              std::to_string(kVxXIniMaxDepth) + " levels");
    }
    const std::size_t position = nodes[open.back().node].children.size();
    // A section inside a compact one is laid out compactly as well.
    if (!Add(name, TKind::Section, std::string(), compact || nodes[open.back().node].compact)) {
      throw TVxXIniWriteError(lastFailure);
    }
    TOpen next;
    next.node = static_cast<std::uint32_t>(nodes.size() - 1);
    next.handle = nextHandle++;
    next.path =
        JoinPath(open.back().path, name.empty() ? "[" + std::to_string(position) + "]" : name);
    open.push_back(std::move(next));
    return open.back().handle;
  }
};

TVxXIniWriter::TVxXIniWriter() : impl_(std::make_unique<Impl>()) {
  impl_->nodes.emplace_back();
  impl_->open.emplace_back();
}

TVxXIniWriter::~TVxXIniWriter() = default;

TVxXIniSectionHandle TVxXIniWriter::BeginSectionSE(const std::string& name) {
  return impl_->Begin(name, false);
}

TVxXIniSectionHandle TVxXIniWriter::BeginSectionCompactSE(const std::string& name) {
  return impl_->Begin(name, true);
}

template <>
bool TVxXIniWriter::WriteS<int>(const std::string& name, const int& value) {
  return impl_->Write(name, TKind::Number, vx_xini::FormatInt(value));
}

template <>
bool TVxXIniWriter::WriteS<double>(const std::string& name, const double& value) {
  return impl_->Write(name, TKind::Number, vx_xini::FormatDouble(value));
}

template <>
bool TVxXIniWriter::WriteS<unsigned long>(const std::string& name, const unsigned long& value) {
  return impl_->Write(name, TKind::Number, vx_xini::FormatUnsigned(value));
}

template <>
bool TVxXIniWriter::WriteS<std::string>(const std::string& name, const std::string& value) {
  return impl_->Write(name, TKind::Text, value);
}

void TVxXIniWriter::WriteLongStringSE(const std::string& name, const std::string& value) {
  if (!impl_->Write(name, TKind::LongText, value)) {
    throw TVxXIniWriteError(impl_->lastFailure);
  }
}

void TVxXIniWriter::EndSectionE(TVxXIniSectionHandle handle) {
  if (!impl_->Count()) {
    throw TVxXIniWriteError(impl_->lastFailure);
  }
  if (impl_->open.size() < 2 || impl_->open.back().handle != handle) {
    throw TVxXIniWriteError(SectionLabel(impl_->open.back().path) + ": cannot end section " +
                            std::to_string(handle) + ", it is not the current section");
  }
  impl_->open.pop_back();
}

void TVxXIniWriter::ThrowWriteError() {
  throw TVxXIniWriteError(impl_->lastFailure.empty() ? std::string("a write failed")
                                                     : impl_->lastFailure);
}

std::string TVxXIniWriter::ToText() const {
  return TLayout(impl_->nodes).Text();
}

void TVxXIniWriter::SaveFile(const std::string& path) const {
  const std::string text = ToText();
  try {
    VxSaveFileAtomically(path, text);
  } catch (const TVxFileSaveError& error) {
    throw TVxXIniWriteError(error.what());
  }
}

#if defined(VX_TEST_HOOKS)
void TVxXIniWriter::FailAtOperation(std::uint64_t n) {
  impl_->failAt = n;
}

std::uint64_t TVxXIniWriter::OperationCount() const {
  return impl_->operations;
}
#endif
