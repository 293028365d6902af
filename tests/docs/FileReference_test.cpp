// docs/file-reference.md against the loaders and savers: its examples load with the strict
// loaders, its key tables hold exactly the keys the savers write and the examples use, and its
// column "Required" says what a loader does without the key.
//
// The page marks what this test reads with HTML comments: "<!-- example: KIND -->" before a
// fenced YAML block, "<!-- keys: TABLE -->" before a key table (first column the key path in
// backquotes, fourth column "yes" or "no").

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "VxCameraInfo.h"
#include "VxIntOrMeas.h"
#include "VxIntOrSolve.h"
#include "VxXIni.h"

namespace {

const char kPage[] = "docs/file-reference.md";

struct TExample {
  std::string kind;  // camera, distortion, mark-templates, measurements, pixel-map
  int line = 0;      // line of the page that holds the block's first line
  std::string text;
};

struct TKeyRow {
  bool required = false;
  int line = 0;  // line of the page that holds the row
};

using TKeyTable = std::map<std::string, TKeyRow>;  // by key path

struct TReference {
  std::vector<TExample> examples;
  std::map<std::string, TKeyTable> tables;  // by the name in the marker
};

std::string Trim(const std::string& text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

// The name in a marker line "<!-- WHAT: NAME -->", or "" if the line is not such a marker.
std::string MarkerName(const std::string& line, const std::string& what) {
  const std::string head = "<!-- " + what + ": ";
  const std::string tail = " -->";
  if (line.rfind(head, 0) != 0 || line.size() < head.size() + tail.size() ||
      line.compare(line.size() - tail.size(), tail.size(), tail) != 0) {
    return "";
  }
  return line.substr(head.size(), line.size() - head.size() - tail.size());
}

std::vector<std::string> Cells(const std::string& row) {
  std::vector<std::string> cells;
  std::string cell;
  std::istringstream in(row);
  while (std::getline(in, cell, '|')) cells.push_back(Trim(cell));
  return cells;
}

TReference ReadReference() {
  std::ifstream in(std::string(VX_SOURCE_DIR) + "/" + kPage);
  if (!in) throw std::runtime_error(std::string("cannot read ") + kPage);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);

  TReference reference;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const std::string kind = MarkerName(lines[i], "example");
    if (!kind.empty()) {
      std::size_t open = i + 1;
      while (open < lines.size() && Trim(lines[open]).empty()) ++open;
      if (open >= lines.size() || lines[open] != "```yaml") {
        throw std::runtime_error(std::string(kPage) + ":" + std::to_string(i + 1) +
                                 ": the example marker is not followed by a ```yaml block");
      }
      TExample example{kind, static_cast<int>(open + 2), ""};
      std::size_t k = open + 1;
      for (; k < lines.size() && lines[k] != "```"; ++k) example.text += lines[k] + "\n";
      if (k >= lines.size()) {
        throw std::runtime_error(std::string(kPage) + ":" + std::to_string(open + 1) +
                                 ": the block does not end");
      }
      reference.examples.push_back(example);
      i = k;
      continue;
    }
    const std::string table = MarkerName(lines[i], "keys");
    if (table.empty()) continue;
    TKeyTable& rows = reference.tables[table];
    std::size_t k = i + 3;  // past the marker, the header and the separator
    for (; k < lines.size() && lines[k].rfind('|', 0) == 0; ++k) {
      const std::vector<std::string> cells = Cells(lines[k]);
      const std::string where = std::string(kPage) + ":" + std::to_string(k + 1);
      if (cells.size() < 6) throw std::runtime_error(where + ": a key row needs six columns");
      const std::string& key = cells[1];
      const auto open = key.find('`');
      const auto close = key.find('`', open + 1);
      if (open == std::string::npos || close == std::string::npos) {
        throw std::runtime_error(where + ": the first column holds no `key path`");
      }
      if (cells[4] != "yes" && cells[4] != "no") {
        throw std::runtime_error(where + ": the column Required says neither yes nor no");
      }
      rows[key.substr(open + 1, close - open - 1)] = {cells[4] == "yes", static_cast<int>(k + 1)};
    }
    i = k;
  }
  return reference;
}

// The reference, read once; a page that cannot be read fails every test that asks for it.
const TReference& Reference() {
  static const TReference reference = ReadReference();
  return reference;
}

std::string Where(const TExample& example) {
  return std::string(kPage) + ":" + std::to_string(example.line);
}

// What the saver of the kind writes of the record that its strict loader reads from `text`.
std::string LoadAndSave(const std::string& kind, const std::string& text,
                        const std::string& source) {
  const auto reader = TVxXIniReader::FromText(text, source);
  TVxXIniWriter writer;
  if (kind == "camera") {
    TVxCameraInfo camera;
    XIniLoadE(reader.get(), camera);
    XIniSaveE(&writer, camera);
  } else if (kind == "distortion") {
    TVxCameraDistortion distortion;
    distortion.LoadE(reader.get());
    distortion.SaveE(&writer);
  } else if (kind == "mark-templates") {
    TCameraMarkTemplates templates;
    templates.LoadE(reader.get());
    templates.SaveE(&writer);
  } else if (kind == "measurements") {
    TVxIntOrMeas measurements;
    measurements.LoadE(reader.get());
    measurements.SaveE(&writer);
  } else if (kind == "pixel-map") {
    TVxPixToCamMap map;
    map.LoadE(reader.get());
    map.SaveE(&writer);
  } else {
    throw std::invalid_argument("no loader for the kind '" + kind + "'");
  }
  return writer.ToText();
}

// A point ({x, y}) and a list of plain values (a directed table's dr) are single keys of the
// tables; the walk below does not go into them.
bool IsLeafSection(TVxXIniReader* reader) {
  std::vector<std::string> names;
  for (TVxXIniPosition i = 0; reader->HasEntry(i); ++i) {
    if (reader->IsSectionAt(i)) return false;
    names.push_back(reader->NameAt(i));
  }
  if (names.empty()) return false;
  if (names == std::vector<std::string>{"x", "y"}) return true;
  for (const std::string& name : names) {
    if (!name.empty()) return false;
  }
  return true;
}

// The key paths of the named entries of the current section and below, list elements as [i].
void CollectPaths(TVxXIniReader* reader, const std::string& prefix, std::set<std::string>* paths) {
  for (TVxXIniPosition i = 0; reader->HasEntry(i); ++i) {
    const std::string name = reader->NameAt(i);
    const std::string path = prefix + (name.empty() ? "[i]" : name);
    if (!name.empty()) paths->insert(path);
    if (!reader->IsSectionAt(i)) continue;
    const TVxXIniSectionHandle section = reader->EnterSectionFE(i);
    if (!IsLeafSection(reader)) CollectPaths(reader, path + "/", paths);
    reader->LeaveSectionE(section);
  }
}

std::set<std::string> KeyPaths(const std::string& text) {
  const auto reader = TVxXIniReader::FromText(text);
  std::set<std::string> paths;
  CollectPaths(reader.get(), "", &paths);
  return paths;
}

// A camera's distortion keys are in the distortion table: the table of a key path of a file
// whose keys are in `table`, and the path in that table.
std::string TableOf(const std::string& table, const std::string& path) {
  return table == "camera" && path.rfind("distortion/", 0) == 0 ? "distortion" : table;
}
std::string KeyOf(const std::string& table, const std::string& path) {
  return TableOf(table, path) == table ? path : path.substr(std::string("distortion/").size());
}

// The row of a key path of a file whose keys are in `table`; null if there is none.
const TKeyRow* Row(const std::string& table, const std::string& path) {
  const auto found = Reference().tables.find(TableOf(table, path));
  if (found == Reference().tables.end()) return nullptr;
  const auto row = found->second.find(KeyOf(table, path));
  return row == found->second.end() ? nullptr : &row->second;
}

// The table of the keys that the saver of `kind` writes.
std::string SavedTable(const std::string& kind) {
  return kind == "mark-templates" ? "mark-templates-saved" : kind;
}

// Writes the value at `position` as the number it reads as, or else as the text it is.
void CopyValue(TVxXIniReader* reader, TVxXIniWriter* writer, TVxXIniPosition position,
               const std::string& name) {
  bool written = false;
  try {
    written = writer->WriteS<int>(name, reader->ReadE<int>(position));
  } catch (const TVxXIniReadError&) {
    try {
      written = writer->WriteS<unsigned long>(name, reader->ReadE<unsigned long>(position));
    } catch (const TVxXIniReadError&) {
      try {
        written = writer->WriteS<double>(name, reader->ReadE<double>(position));
      } catch (const TVxXIniReadError&) {
        written = writer->WriteS<std::string>(name, reader->ReadE<std::string>(position));
      }
    }
  }
  if (!written) writer->ThrowWriteError();
}

// Copies the current section into the writer's, leaving out the first named entry whose key
// path is `skip` with everything below it.
void CopySection(TVxXIniReader* reader, TVxXIniWriter* writer, const std::string& prefix,
                 const std::string& skip, bool* skipped) {
  for (TVxXIniPosition i = 0; reader->HasEntry(i); ++i) {
    const std::string name = reader->NameAt(i);
    const std::string path = prefix + (name.empty() ? "[i]" : name);
    if (!*skipped && !name.empty() && path == skip) {
      *skipped = true;
      continue;
    }
    if (!reader->IsSectionAt(i)) {
      CopyValue(reader, writer, i, name);
      continue;
    }
    const TVxXIniSectionHandle in = reader->EnterSectionFE(i);
    const TVxXIniSectionHandle out = writer->BeginSectionSE(name);
    CopySection(reader, writer, path + "/", skip, skipped);
    writer->EndSectionE(out);
    reader->LeaveSectionE(in);
  }
}

// The text without the first entry at `skip` ("" leaves nothing out).
std::string Without(const std::string& text, const std::string& skip) {
  const auto reader = TVxXIniReader::FromText(text);
  TVxXIniWriter writer;
  bool skipped = false;
  CopySection(reader.get(), &writer, "", skip, &skipped);
  if (!skip.empty() && !skipped) throw std::logic_error("no key " + skip + " to leave out");
  return writer.ToText();
}

bool Loads(const std::string& kind, const std::string& text) {
  try {
    LoadAndSave(kind, text, "<copy>");
    return true;
  } catch (const TVxXIniReadError&) {
    return false;
  }
}

// The examples that load, with what their saver writes.
std::vector<std::pair<TExample, std::string>> LoadedExamples() {
  std::vector<std::pair<TExample, std::string>> loaded;
  for (const TExample& example : Reference().examples) {
    try {
      loaded.emplace_back(example, LoadAndSave(example.kind, example.text, Where(example)));
    } catch (const std::exception&) {
      // EveryExampleLoadsWithTheStrictLoader names it.
    }
  }
  return loaded;
}

}  // namespace

TEST(FileReference, HasAKeyTableOfEveryKind) {
  for (const char* table : {"camera", "distortion", "mark-templates", "mark-templates-saved",
                            "measurements", "pixel-map"}) {
    const auto found = Reference().tables.find(table);
    ASSERT_NE(found, Reference().tables.end()) << "no table marked <!-- keys: " << table << " -->";
    EXPECT_GE(found->second.size(), 3u) << table;
  }
  EXPECT_EQ(Reference().tables.size(), 6u);
}

TEST(FileReference, EveryExampleLoadsWithTheStrictLoader) {
  ASSERT_GE(Reference().examples.size(), 20u);
  for (const TExample& example : Reference().examples) {
    try {
      LoadAndSave(example.kind, example.text, "example at " + Where(example));
    } catch (const std::exception& e) {
      ADD_FAILURE() << Where(example) << ": the " << example.kind
                    << " example does not load: " << e.what();
    }
  }
}

TEST(FileReference, ExamplesShowEveryCameraTypeDistortionModelAndMeasuredKind) {
  std::set<int> cameraTypes;
  std::set<int> models;
  std::set<int> measuredTypes;
  int templateSets = 0;
  for (const TExample& example : Reference().examples) {
    try {
      const auto reader = TVxXIniReader::FromText(example.text);
      if (example.kind == "camera") {
        TVxCameraInfo camera;
        XIniLoadE(reader.get(), camera);
        cameraTypes.insert(static_cast<int>(camera.cameraType));
        models.insert(static_cast<int>(camera.distortion.type));
      } else if (example.kind == "distortion") {
        TVxCameraDistortion distortion;
        distortion.LoadE(reader.get());
        models.insert(static_cast<int>(distortion.type));
      } else if (example.kind == "measurements") {
        TVxIntOrMeas measurements;
        measurements.LoadE(reader.get());
        measuredTypes.insert(static_cast<int>(measurements.cameraType));
      } else if (example.kind == "mark-templates") {
        ++templateSets;
      }
    } catch (const std::exception&) {
      // EveryExampleLoadsWithTheStrictLoader names it.
    }
  }
  EXPECT_EQ(cameraTypes, (std::set<int>{1, 2, 3, 4, 5})) << "a camera of every type";
  EXPECT_EQ(models, (std::set<int>{1, 2, 3, 4, 5, 6, 7, 8})) << "a distortion of every model";
  EXPECT_EQ(measuredTypes, (std::set<int>{0, 1, 2, 3, 4, 5}))
      << "measurements of every camera type and of an image not measured";
  EXPECT_GE(templateSets, 1);
}

TEST(FileReference, EveryExampleSavesAgainToTheSameTextAfterACopy) {
  // The copy that the test of the column Required makes of an example keeps what it means.
  for (const TExample& example : Reference().examples) {
    try {
      const std::string saved = LoadAndSave(example.kind, example.text, Where(example));
      EXPECT_EQ(LoadAndSave(example.kind, Without(example.text, ""), Where(example)), saved)
          << Where(example);
    } catch (const std::exception&) {
      // EveryExampleLoadsWithTheStrictLoader names it.
    }
  }
}

TEST(FileReference, EveryKeyTheSaversWriteIsInTheTables) {
  for (const auto& [example, saved] : LoadedExamples()) {
    for (const std::string& path : KeyPaths(saved)) {
      EXPECT_NE(Row(SavedTable(example.kind), path), nullptr)
          << Where(example) << ": saving the " << example.kind << " writes the key " << path
          << ", which the table " << TableOf(SavedTable(example.kind), path) << " lacks";
    }
  }
}

TEST(FileReference, EveryKeyOfTheExamplesIsInTheTables) {
  for (const TExample& example : Reference().examples) {
    for (const std::string& path : KeyPaths(example.text)) {
      EXPECT_NE(Row(example.kind, path), nullptr)
          << Where(example) << ": the " << example.kind << " example uses the key " << path
          << ", which the table " << TableOf(example.kind, path) << " lacks";
    }
  }
}

TEST(FileReference, EveryKeyOfTheTablesIsUsedByAnExample) {
  std::map<std::string, std::set<std::string>> used;  // by table
  for (const TExample& example : Reference().examples) {
    for (const std::string& path : KeyPaths(example.text)) {
      used[TableOf(example.kind, path)].insert(KeyOf(example.kind, path));
    }
  }
  for (const char* table :
       {"camera", "distortion", "mark-templates", "measurements", "pixel-map"}) {
    for (const auto& [key, row] : Reference().tables.at(table)) {
      EXPECT_EQ(used[table].count(key), 1u)
          << kPage << ":" << row.line << ": no example of the table " << table << " uses " << key;
    }
  }
}

TEST(FileReference, EveryKeyOfTheTablesIsWrittenBySavingTheExamples) {
  std::map<std::string, std::set<std::string>> written;  // by table
  for (const auto& [example, saved] : LoadedExamples()) {
    const std::string table = SavedTable(example.kind);
    for (const std::string& path : KeyPaths(saved)) {
      written[TableOf(table, path)].insert(KeyOf(table, path));
    }
  }
  for (const char* table :
       {"camera", "distortion", "mark-templates-saved", "measurements", "pixel-map"}) {
    for (const auto& [key, row] : Reference().tables.at(table)) {
      EXPECT_EQ(written[table].count(key), 1u)
          << kPage << ":" << row.line << ": saving the examples never writes " << key
          << " of the table " << table;
    }
  }
}

TEST(FileReference, ColumnRequiredSaysWhetherTheLoaderNeedsTheKey) {
  int checked = 0;
  for (const auto& loaded : LoadedExamples()) {
    const TExample& example = loaded.first;
    for (const std::string& path : KeyPaths(example.text)) {
      const TKeyRow* row = Row(example.kind, path);
      if (row == nullptr) continue;  // EveryKeyOfTheExamplesIsInTheTables names it
      const bool loads = Loads(example.kind, Without(example.text, path));
      EXPECT_EQ(loads, !row->required)
          << kPage << ":" << row->line << ": " << path << " is marked Required "
          << (row->required ? "yes" : "no") << ", but the " << example.kind << " example of line "
          << example.line << (loads ? " loads" : " does not load") << " without it";
      ++checked;
    }
  }
  EXPECT_GE(checked, 100);
}
