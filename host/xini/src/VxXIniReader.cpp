#include "VxXIniReader.h"

#include <algorithm>
#include <cstdint>
#include <istream>
#include <limits>
#include <streambuf>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/exceptions.h>
#include <yaml-cpp/mark.h>
#include <yaml-cpp/parser.h>

#include "VxReadFile.h"
#include "XIniFlowDepth.h"
#include "XIniNumbers.h"

namespace {

constexpr std::uint32_t kNoSection = std::numeric_limits<std::uint32_t>::max();

struct TEntry {
  std::string name;
  std::string value;                   // the text of a value entry
  std::uint32_t section = kNoSection;  // index of the subsection, or kNoSection for a value
  std::uint32_t line = 0;              // 1-based place of the value or of the section's start
  std::uint32_t column = 0;
  bool plain = false;  // an unquoted scalar: the only kind that may be read as a number

  bool IsSection() const { return section != kNoSection; }
};

struct TSection {
  std::vector<TEntry> entries;
  std::uint32_t line = 0;  // 0: the root section of an empty document, which has no place
  std::uint32_t column = 0;
};

std::uint32_t OneBased(int zeroBased) {
  return zeroBased < 0 ? 0 : static_cast<std::uint32_t>(zeroBased) + 1;
}

// "name", or "[i]" for an unnamed entry at position i.
std::string PathComponent(const std::string& name, std::uint64_t position) {
  return name.empty() ? "[" + std::to_string(position) + "]" : name;
}

std::string JoinPath(const std::string& parent, const std::string& component) {
  return parent.empty() ? component : parent + "/" + component;
}

// A value as it appears in a message: quoted, special characters escaped, long ones shortened.
std::string Quote(const std::string& value) {
  constexpr std::size_t kMaxShown = 80;
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out = "'";
  for (std::size_t i = 0; i < value.size() && i < kMaxShown; ++i) {
    const auto byte = static_cast<unsigned char>(value[i]);
    if (value[i] == '\n') {
      out += "\\n";
    } else if (byte < 0x20 || byte == 0x7F) {
      out += "\\x";
      out += kHex[byte >> 4];
      out += kHex[byte & 0x0F];
    } else {
      out += value[i];
    }
  }
  if (value.size() > kMaxShown) {
    out += "...";
  }
  return out + "'";
}

std::string TooDeepProblem() {
  return "sections nest deeper than " + std::to_string(kVxXIniMaxDepth) + " levels";
}

// A stream over the caller's text, so that the parser reads it without a copy.
class TViewBuffer final : public std::streambuf {
 public:
  explicit TViewBuffer(std::string_view text) {
    // The parser only reads; std::streambuf wants mutable pointers all the same.
    char* begin = const_cast<char*>(text.data());
    setg(begin, begin, begin + text.size());
  }
};

// Raised inside the event handler; turned into the reader's error with the source name.
struct TParseFailure {
  YAML::Mark mark;
  std::string keyPath;
  std::string problem;
  bool tooDeep = false;  // the nesting limit, as opposed to any other refusal
};

// Builds the tree from the parser's events and refuses what a settings file may not hold.
class TTreeBuilder final : public YAML::EventHandler {
 public:
  explicit TTreeBuilder(std::vector<TSection>& sections) : sections_(sections) {}

  // The key path of the place the parser has reached, for messages.
  std::string CurrentPath() const {
    std::string path;
    for (std::size_t i = 1; i < stack_.size(); ++i) {
      path = JoinPath(path, stack_[i].component);
    }
    if (!stack_.empty() && stack_.back().mapping && !stack_.back().expectKey) {
      path = JoinPath(path, stack_.back().key);
    }
    return path;
  }

  void OnDocumentStart(const YAML::Mark& mark) override {
    if (++documents_ > 1) {
      Fail(mark, "a settings file holds one document; a second one starts here");
    }
  }
  void OnDocumentEnd() override {}

  void OnNull(const YAML::Mark& mark, YAML::anchor_t anchor) override {
    CheckAnchor(mark, anchor);
    if (stack_.empty()) {
      return;  // an empty document: an empty root section
    }
    if (ExpectsKey()) {
      Fail(mark, "a key must be a text, found nothing");
    }
    // The parser places an empty value at the next token; the key is the better place.
    AddEntry(stack_.back().mapping ? stack_.back().keyMark : mark, std::string(), kNoSection, true);
  }

  void OnAlias(const YAML::Mark& mark, YAML::anchor_t /*anchor*/) override {
    Fail(mark, "aliases (*name) are not allowed in settings files");
  }

  void OnAnchor(const YAML::Mark& mark, const std::string& /*name*/) override {
    Fail(mark, "anchors (&name) are not allowed in settings files");
  }

  void OnScalar(const YAML::Mark& mark, const std::string& tag, YAML::anchor_t anchor,
                const std::string& value) override {
    CheckAnchor(mark, anchor);
    // Untagged scalars come as "?" (plain) or "!" (quoted or block).
    if (tag != "?" && tag != "!") {
      Fail(mark, "tags (" + tag + ") are not allowed in settings files");
    }
    if (stack_.empty()) {
      Fail(mark, "a settings file must hold keys or a list, not a single value");
    }
    if (ExpectsKey()) {
      TFrame& frame = stack_.back();
      CheckNewKey(mark, value);
      frame.key = value;
      frame.keyMark = mark;
      frame.expectKey = false;
      return;
    }
    AddEntry(mark, value, kNoSection, tag == "?");
  }

  void OnSequenceStart(const YAML::Mark& mark, const std::string& tag, YAML::anchor_t anchor,
                       YAML::EmitterStyle::value /*style*/) override {
    StartSection(mark, tag, anchor, false);
  }
  void OnSequenceEnd() override { stack_.pop_back(); }

  void OnMapStart(const YAML::Mark& mark, const std::string& tag, YAML::anchor_t anchor,
                  YAML::EmitterStyle::value /*style*/) override {
    StartSection(mark, tag, anchor, true);
  }
  void OnMapEnd() override { stack_.pop_back(); }

 private:
  struct TFrame {
    std::uint32_t section = 0;
    bool mapping = false;
    bool expectKey = true;
    std::string key;                       // the key whose value comes next
    YAML::Mark keyMark;                    // where that key stands
    std::string component;                 // this section's name in the key path
    std::unordered_set<std::string> keys;  // the keys so far, once the mapping grows large
  };

  // Below this many keys a repeated key is found by looking through the entries.
  static constexpr std::size_t kLinearKeySearch = 16;

  [[noreturn]] void Fail(const YAML::Mark& mark, const std::string& problem,
                         bool tooDeep = false) const {
    throw TParseFailure{mark, CurrentPath(), problem, tooDeep};
  }

  void CheckAnchor(const YAML::Mark& mark, YAML::anchor_t anchor) const {
    if (anchor != YAML::NullAnchor) {
      Fail(mark, "anchors (&name) are not allowed in settings files");
    }
  }

  bool ExpectsKey() const { return stack_.back().mapping && stack_.back().expectKey; }

  void CheckNewKey(const YAML::Mark& mark, const std::string& key) {
    TFrame& frame = stack_.back();
    std::vector<TEntry>& entries = sections_[frame.section].entries;
    bool repeated = false;
    if (entries.size() < kLinearKeySearch) {
      for (const TEntry& entry : entries) {
        repeated = repeated || entry.name == key;
      }
    } else {
      if (frame.keys.empty()) {
        for (const TEntry& entry : entries) {
          frame.keys.insert(entry.name);
        }
      }
      repeated = !frame.keys.insert(key).second;
    }
    if (repeated) {
      frame.expectKey = false;
      frame.key = key;
      Fail(mark, "the key " + Quote(key) + " appears twice in this section");
    }
  }

  void StartSection(const YAML::Mark& mark, const std::string& tag, YAML::anchor_t anchor,
                    bool mapping) {
    CheckAnchor(mark, anchor);
    if (tag != "?") {
      Fail(mark, "tags (" + tag + ") are not allowed in settings files");
    }
    if (!stack_.empty() && ExpectsKey()) {
      Fail(mark, "a key must be a text, found a " + std::string(mapping ? "mapping" : "list"));
    }
    // The root section has depth 0; stack_.size() is the depth of the section starting here.
    if (stack_.size() > static_cast<std::size_t>(kVxXIniMaxDepth)) {
      Fail(mark, TooDeepProblem(), true);
    }
    std::uint32_t index = 0;
    std::string component;
    if (stack_.empty()) {
      sections_.at(0).line = OneBased(mark.line);
      sections_.at(0).column = OneBased(mark.column);
    } else {
      index = static_cast<std::uint32_t>(sections_.size());
      component = PathComponent(stack_.back().mapping ? stack_.back().key : std::string(),
                                sections_[stack_.back().section].entries.size());
      AddEntry(mark, std::string(), index, false);
      sections_.emplace_back();
      sections_.back().line = OneBased(mark.line);
      sections_.back().column = OneBased(mark.column);
    }
    TFrame frame;
    frame.section = index;
    frame.mapping = mapping;
    frame.component = std::move(component);
    stack_.push_back(std::move(frame));
  }

  void AddEntry(const YAML::Mark& mark, const std::string& value, std::uint32_t section,
                bool plain) {
    if (++entryCount_ > kVxXIniMaxEntries) {
      Fail(mark, "more than " + std::to_string(kVxXIniMaxEntries) + " entries");
    }
    TFrame& frame = stack_.back();
    TEntry entry;
    if (frame.mapping) {
      entry.name = std::move(frame.key);
      frame.key.clear();
      frame.expectKey = true;
    }
    entry.value = value;
    entry.section = section;
    entry.line = OneBased(mark.line);
    entry.column = OneBased(mark.column);
    entry.plain = plain;
    sections_[frame.section].entries.push_back(std::move(entry));
  }

  std::vector<TSection>& sections_;
  std::vector<TFrame> stack_;
  int documents_ = 0;
  std::uint64_t entryCount_ = 0;
};

// Builds the sections of `text`; throws the reader's error for anything a settings file may not
// hold. With `nestingOnly`, only the error of too deep nesting is thrown and any other is
// dropped: for a cut text, whose end is no error of the file.
void ParseTree(std::string_view text, const std::string& source, std::vector<TSection>& sections,
               bool nestingOnly) {
  sections.clear();
  sections.emplace_back();
  TViewBuffer buffer(text);
  std::istream stream(&buffer);
  TTreeBuilder builder(sections);
  try {
    YAML::Parser parser(stream);
    while (parser.HandleNextDocument(builder)) {
    }
  } catch (const TParseFailure& failure) {
    if (nestingOnly && !failure.tooDeep) return;
    throw TVxXIniReadError(source, OneBased(failure.mark.line), OneBased(failure.mark.column),
                           failure.keyPath, failure.problem);
  } catch (const YAML::Exception& error) {
    if (nestingOnly) return;
    // The parser's own message, without its "yaml-cpp: error at line..." preamble.
    const bool located = !error.mark.is_null();
    throw TVxXIniReadError(source, located ? OneBased(error.mark.line) : 0,
                           located ? OneBased(error.mark.column) : 0, builder.CurrentPath(),
                           error.msg);
  }
}

}  // namespace

struct TVxXIniReader::Impl {
  struct TOpen {
    std::uint32_t section = 0;
    TVxXIniSectionHandle handle = 0;
    std::string path;  // key path of this section
  };

  std::string source;
  std::vector<TSection> sections;  // [0] is the root section
  std::vector<TOpen> open;         // [0] is the root section, never left
  TVxXIniSectionHandle nextHandle = 1;
  std::uint64_t operations = 0;
  std::uint64_t failAt = 0;

  const TSection& Current() const { return sections[open.back().section]; }
  const std::string& Path() const { return open.back().path; }

  [[noreturn]] void Throw(std::uint32_t line, std::uint32_t column, const std::string& keyPath,
                          const std::string& problem) const {
    throw TVxXIniReadError(source, line, column, keyPath, problem);
  }
  // An error about the current section as a whole (where a key is missing, for example).
  [[noreturn]] void ThrowAtSection(const std::string& keyPath, const std::string& problem) const {
    Throw(Current().line, Current().column, keyPath, problem);
  }
  [[noreturn]] void ThrowAtEntry(TVxXIniPosition position, const std::string& problem) const {
    const TEntry& entry = Current().entries[position];
    Throw(entry.line, entry.column, EntryPath(position), problem);
  }

  std::string EntryPath(TVxXIniPosition position) const {
    return JoinPath(Path(), PathComponent(Current().entries[position].name, position));
  }

  // Counts one operation and fails it if it is the one chosen for failure.
  void Count() {
    if (++operations == failAt) {
      ThrowAtSection(Path(), "injected failure (operation " + std::to_string(operations) + ")");
    }
  }

  bool Has(TVxXIniPosition position) const { return position < Current().entries.size(); }

  TVxXIniPosition Find(const std::string& name, TVxXIniPosition from) const {
    const std::vector<TEntry>& entries = Current().entries;
    for (TVxXIniPosition i = from; i < entries.size(); ++i) {
      if (entries[i].name == name) {
        return i;
      }
    }
    return kVxXIniNotFound;
  }

  TVxXIniPosition FindE(const std::string& name, TVxXIniPosition from) const {
    const TVxXIniPosition position = Find(name, from);
    if (position == kVxXIniNotFound) {
      ThrowAtSection(JoinPath(Path(), name), "missing key");
    }
    return position;
  }

  // The text of the value at an existing position; throws if it is a section.
  const TEntry& Value(TVxXIniPosition position) const {
    const TEntry& entry = Current().entries[position];
    if (entry.IsSection()) {
      ThrowAtEntry(position, "expected a value, found a section");
    }
    return entry;
  }

  void RequireEntry(TVxXIniPosition position) const {
    if (!Has(position)) {
      ThrowAtSection(Path(), position == kVxXIniNotFound
                                 ? std::string("no such entry")
                                 : "no entry at position " + std::to_string(position));
    }
  }

  template <class T>
  T Convert(TVxXIniPosition position) const;

  void RequireNumber(TVxXIniPosition position, vx_xini::TParseResult result, const char* expected,
                     const char* range) const {
    const TEntry& entry = Current().entries[position];
    if (!entry.plain) {
      ThrowAtEntry(position, "invalid value " + Quote(entry.value) + " (expected " + expected +
                                 ", found a quoted text)");
    }
    if (result == vx_xini::TParseResult::Invalid) {
      ThrowAtEntry(position,
                   "invalid value " + Quote(entry.value) + " (expected " + expected + ")");
    }
    if (result == vx_xini::TParseResult::OutOfRange) {
      ThrowAtEntry(position,
                   "invalid value " + Quote(entry.value) + " (out of range for " + range + ")");
    }
  }

  TVxXIniSectionHandle Enter(TVxXIniPosition position) {
    const TEntry& entry = Current().entries[position];
    TOpen next;
    next.section = entry.section;
    next.handle = nextHandle++;
    next.path = EntryPath(position);
    open.push_back(std::move(next));
    return open.back().handle;
  }

  // Index in `open` of the section with this handle, or 0 if it is not open.
  std::size_t OpenIndex(TVxXIniSectionHandle handle) const {
    for (std::size_t i = open.size(); i-- > 1;) {
      if (open[i].handle == handle) {
        return i;
      }
    }
    return 0;
  }
};

template <>
int TVxXIniReader::Impl::Convert<int>(TVxXIniPosition position) const {
  int value = 0;
  const auto result = vx_xini::ParseInt(Value(position).value, value);
  RequireNumber(position, result, "an integer", "an integer");
  return value;
}

template <>
unsigned long TVxXIniReader::Impl::Convert<unsigned long>(TVxXIniPosition position) const {
  unsigned long value = 0;
  const auto result = vx_xini::ParseUnsigned(Value(position).value, value);
  RequireNumber(position, result, "an unsigned integer", "an unsigned integer");
  return value;
}

template <>
double TVxXIniReader::Impl::Convert<double>(TVxXIniPosition position) const {
  double value = 0.0;
  const auto result = vx_xini::ParseDouble(Value(position).value, value);
  RequireNumber(position, result, "a number", "a double");
  return value;
}

template <>
std::string TVxXIniReader::Impl::Convert<std::string>(TVxXIniPosition position) const {
  return Value(position).value;
}

std::unique_ptr<TVxXIniReader> TVxXIniReader::FromText(std::string_view text,
                                                       std::string sourceName) {
  if (text.size() > kVxXIniMaxTextSize) {
    throw TVxXIniReadError(
        sourceName, 0, 0, std::string(),
        "the text is larger than " + std::to_string(kVxXIniMaxTextSize) + " bytes");
  }
  // The parser would end the text at a NUL byte without a word, or take it for a broken escape.
  if (const std::size_t nul = text.find('\0'); nul != std::string_view::npos) {
    const std::size_t lineStart = text.rfind('\n', nul) + 1;  // npos + 1 is 0
    const auto line = static_cast<std::uint32_t>(
        1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(nul), '\n'));
    throw TVxXIniReadError(sourceName, line, static_cast<std::uint32_t>(nul - lineStart + 1),
                           std::string(),
                           "the text holds a NUL byte, which no settings file holds");
  }
  auto impl = std::make_unique<Impl>();
  impl->source = std::move(sourceName);
  // Flow brackets nested too deep are refused before the parser reads ahead over them (it
  // would hold every unclosed one in memory first). The text up to the first too deep bracket,
  // its collections closed, shows where the nesting first goes too deep, with the key path.
  if (const auto cut = vx_xini::FindTooDeepFlow(text, kVxXIniMaxDepth + 1)) {
    std::string part(text.substr(0, cut->end));
    part += cut->closers;
    ParseTree(part, impl->source, impl->sections, true);
    throw TVxXIniReadError(impl->source, cut->line, cut->column, std::string(), TooDeepProblem());
  }
  ParseTree(text, impl->source, impl->sections, false);
  Impl::TOpen root;
  impl->open.push_back(std::move(root));
  return std::unique_ptr<TVxXIniReader>(new TVxXIniReader(std::move(impl)));
}

std::unique_ptr<TVxXIniReader> TVxXIniReader::FromFile(const std::string& path) {
  std::string text;
  if (const auto failure = VxReadRegularFile(path, kVxXIniMaxTextSize, &text)) {
    using TStep = TVxReadFailure::TStep;
    const char* what = failure->step == TStep::Open   ? "cannot open the file: "
                       : failure->step == TStep::Size ? ""
                                                      : "cannot read the file: ";
    throw TVxXIniReadError(path, 0, 0, std::string(), what + failure->detail);
  }
  return FromText(text, path);
}

TVxXIniReader::TVxXIniReader(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

TVxXIniReader::~TVxXIniReader() = default;

TVxXIniPosition TVxXIniReader::FindF(const char* name, TVxXIniPosition from) {
  return FindF(std::string(name), from);
}

TVxXIniPosition TVxXIniReader::FindF(const std::string& name, TVxXIniPosition from) {
  impl_->Count();
  return impl_->Find(name, from);
}

TVxXIniPosition TVxXIniReader::FindFE(const char* name, TVxXIniPosition from) {
  return FindFE(std::string(name), from);
}

TVxXIniPosition TVxXIniReader::FindFE(const std::string& name, TVxXIniPosition from) {
  impl_->Count();
  return impl_->FindE(name, from);
}

template <>
int TVxXIniReader::Read<int>(TVxXIniPosition position, const int& defaultValue) {
  impl_->Count();
  return impl_->Has(position) ? impl_->Convert<int>(position) : defaultValue;
}

template <>
double TVxXIniReader::Read<double>(TVxXIniPosition position, const double& defaultValue) {
  impl_->Count();
  return impl_->Has(position) ? impl_->Convert<double>(position) : defaultValue;
}

template <>
unsigned long TVxXIniReader::Read<unsigned long>(TVxXIniPosition position,
                                                 const unsigned long& defaultValue) {
  impl_->Count();
  return impl_->Has(position) ? impl_->Convert<unsigned long>(position) : defaultValue;
}

template <>
std::string TVxXIniReader::Read<std::string>(TVxXIniPosition position,
                                             const std::string& defaultValue) {
  impl_->Count();
  return impl_->Has(position) ? impl_->Convert<std::string>(position) : defaultValue;
}

template <>
int TVxXIniReader::ReadE<int>(TVxXIniPosition position) {
  impl_->Count();
  impl_->RequireEntry(position);
  return impl_->Convert<int>(position);
}

template <>
double TVxXIniReader::ReadE<double>(TVxXIniPosition position) {
  impl_->Count();
  impl_->RequireEntry(position);
  return impl_->Convert<double>(position);
}

template <>
unsigned long TVxXIniReader::ReadE<unsigned long>(TVxXIniPosition position) {
  impl_->Count();
  impl_->RequireEntry(position);
  return impl_->Convert<unsigned long>(position);
}

template <>
std::string TVxXIniReader::ReadE<std::string>(TVxXIniPosition position) {
  impl_->Count();
  impl_->RequireEntry(position);
  return impl_->Convert<std::string>(position);
}

std::string TVxXIniReader::ReadLongStringS(const char* name, const std::string& defaultValue) {
  impl_->Count();
  const TVxXIniPosition position = impl_->Find(name, 0);
  return position == kVxXIniNotFound ? defaultValue : impl_->Convert<std::string>(position);
}

std::string TVxXIniReader::ReadLongStringSE(const char* name) {
  impl_->Count();
  return impl_->Convert<std::string>(impl_->FindE(name, 0));
}

void TVxXIniReader::ThrowAtEntry(TVxXIniPosition position, const std::string& problem) const {
  if (!impl_->Has(position)) impl_->ThrowAtSection(impl_->Path(), problem);
  impl_->ThrowAtEntry(position, problem);
}

void TVxXIniReader::throw_error_valueS(const char* name) {
  impl_->Count();
  const TVxXIniPosition position = impl_->Find(name, 0);
  if (position == kVxXIniNotFound) {
    impl_->ThrowAtSection(JoinPath(impl_->Path(), name), "invalid value (the key is missing)");
  }
  const TEntry& entry = impl_->Current().entries[position];
  impl_->ThrowAtEntry(position, entry.IsSection() ? std::string("invalid value (a section)")
                                                  : "invalid value " + Quote(entry.value));
}

TVxXIniSectionHandle TVxXIniReader::EnterSectionS(const char* name) {
  impl_->Count();
  const TVxXIniPosition position = impl_->Find(name, 0);
  if (position == kVxXIniNotFound || !impl_->Current().entries[position].IsSection()) {
    return kVxXIniNoSection;
  }
  return impl_->Enter(position);
}

TVxXIniSectionHandle TVxXIniReader::EnterSectionSE(const char* name) {
  impl_->Count();
  const TVxXIniPosition position = impl_->Find(name, 0);
  if (position == kVxXIniNotFound) {
    impl_->ThrowAtSection(JoinPath(impl_->Path(), name), "missing section");
  }
  if (!impl_->Current().entries[position].IsSection()) {
    impl_->ThrowAtEntry(position, "expected a section, found a value");
  }
  return impl_->Enter(position);
}

bool TVxXIniReader::HasEntry(TVxXIniPosition position) {
  impl_->Count();
  return impl_->Has(position);
}

TVxXIniSectionHandle TVxXIniReader::EnterSectionF(TVxXIniPosition position) {
  impl_->Count();
  if (!impl_->Has(position) || !impl_->Current().entries[position].IsSection()) {
    return kVxXIniNoSection;
  }
  return impl_->Enter(position);
}

TVxXIniSectionHandle TVxXIniReader::EnterSectionFE(TVxXIniPosition position) {
  impl_->Count();
  impl_->RequireEntry(position);
  if (!impl_->Current().entries[position].IsSection()) {
    impl_->ThrowAtEntry(position, "expected a section, found a value");
  }
  return impl_->Enter(position);
}

void TVxXIniReader::LeaveSection(TVxXIniSectionHandle handle) {
  impl_->Count();
  const std::size_t index = impl_->OpenIndex(handle);
  if (index != 0) {
    impl_->open.resize(index);
  }
}

void TVxXIniReader::LeaveSectionE(TVxXIniSectionHandle handle) {
  impl_->Count();
  const std::size_t index = impl_->OpenIndex(handle);
  if (index == 0) {
    impl_->ThrowAtSection(impl_->Path(),
                          "cannot leave section " + std::to_string(handle) + ": it is not open");
  }
  impl_->open.resize(index);
}

std::string TVxXIniReader::NameAt(TVxXIniPosition position) const {
  impl_->RequireEntry(position);
  return impl_->Current().entries[position].name;
}

bool TVxXIniReader::IsSectionAt(TVxXIniPosition position) const {
  impl_->RequireEntry(position);
  return impl_->Current().entries[position].IsSection();
}

std::string TVxXIniReader::CurrentPath() const {
  return impl_->Path();
}

#if defined(VX_TEST_HOOKS)
void TVxXIniReader::FailAtOperation(std::uint64_t n) {
  impl_->failAt = n;
}

std::uint64_t TVxXIniReader::OperationCount() const {
  return impl_->operations;
}
#endif
