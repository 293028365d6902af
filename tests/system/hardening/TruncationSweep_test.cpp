// Every example file cut at every byte offset is either loaded or rejected with the reader's
// error, and a rejected load leaves its target exactly as it was.
//
// The examples write points and marks on one line in braces; a cut inside braces never parses,
// so those cuts test the parser, not the loaders. Each file is therefore swept twice: as
// written, and in block style (the same content, one value a line), where nearly every cut is
// a settings text that reaches the loader, and at least 80 % must.

#include <gtest/gtest.h>

#include <yaml-cpp/yaml.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "VxRecordBytes.h"
#include "VxXIni.h"

namespace {

// A node in block style: mappings and lists one entry a line, a text of several lines as a
// literal block, a quoted text quoted again.
void EmitInBlockStyle(YAML::Emitter& out, const YAML::Node& node) {
  if (node.IsMap()) {
    out << YAML::BeginMap;
    for (const auto& entry : node) {
      out << YAML::Key << entry.first.Scalar() << YAML::Value;
      EmitInBlockStyle(out, entry.second);
    }
    out << YAML::EndMap;
  } else if (node.IsSequence()) {
    out << YAML::BeginSeq;
    for (const auto& item : node) EmitInBlockStyle(out, item);
    out << YAML::EndSeq;
  } else if (node.IsScalar()) {
    const std::string& text = node.Scalar();
    if (text.find('\n') != std::string::npos) {
      out << YAML::Literal << text;
    } else if (node.Tag() == "!") {
      out << YAML::DoubleQuoted << text;
    } else {
      out << text;
    }
  } else {
    out << YAML::Null;
  }
}

std::string BlockStyle(const std::string& text) {
  YAML::Emitter out;
  EmitInBlockStyle(out, YAML::Load(text));
  return std::string(out.c_str()) + "\n";
}

std::vector<std::string> InBlockStyle(const std::vector<std::string>& texts) {
  std::vector<std::string> block;
  for (const std::string& text : texts) block.push_back(BlockStyle(text));
  return block;
}

std::vector<std::string> ExampleTexts(const std::string& folder) {
  std::vector<std::string> texts;
  for (const auto& entry :
       std::filesystem::directory_iterator(std::string(VX_SOURCE_DIR) + "/examples/" + folder)) {
    std::ifstream in(entry.path(), std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    texts.push_back(text.str());
  }
  return texts;
}

// What a sweep did with the prefixes: how many there were, how many parsed and so reached the
// loader, and how many the loader took.
struct TSweep {
  std::size_t prefixes = 0;
  std::size_t reached = 0;
  std::size_t loaded = 0;
};

// Loads every prefix of every text into a copy of `marker`.
template <class TRecord, class FLoad>
TSweep SweepPrefixes(const std::vector<std::string>& texts, const TRecord& marker, FLoad load) {
  const std::string before = vx_test::RecordBytes(marker);
  TSweep sweep;
  for (const std::string& text : texts) {
    for (std::size_t cut = 0; cut < text.size(); ++cut) {
      ++sweep.prefixes;
      TRecord target = marker;
      std::unique_ptr<TVxXIniReader> reader;
      try {
        reader = TVxXIniReader::FromText(std::string_view(text).substr(0, cut));
      } catch (const TVxXIniReadError&) {
        continue;  // not a settings text: the loader is never asked
      }
      ++sweep.reached;
      try {
        load(reader.get(), &target);
        ++sweep.loaded;
      } catch (const TVxXIniReadError&) {
        EXPECT_EQ(vx_test::RecordBytes(target), before) << "cut at " << cut << " of\n" << text;
      }
    }
  }
  std::cout << sweep.prefixes << " prefixes, " << sweep.reached << " reached the loader, "
            << sweep.loaded << " loaded\n";
  return sweep;
}

// A sweep tests the loader only with the prefixes that parse; most must.
void ExpectMostReachTheLoader(const TSweep& sweep) {
  EXPECT_GE(sweep.reached * 10, sweep.prefixes * 8)
      << sweep.reached << " of " << sweep.prefixes << " prefixes reached the loader";
}

TVxCameraInfo MarkerCamera() {
  TVxCameraInfo c;
  c.name = "marker";
  c.focus = std::numeric_limits<double>::quiet_NaN();
  c.principalPoint.x = -0.0;
  return c;
}

}  // namespace

// Sweeps the texts as written and in block style; most cuts of the block style reach the loader.
template <class TRecord, class FLoad>
TSweep SweepBothStyles(const std::vector<std::string>& texts, const TRecord& marker, FLoad load) {
  SweepPrefixes(texts, marker, load);
  const TSweep block = SweepPrefixes(InBlockStyle(texts), marker, load);
  ExpectMostReachTheLoader(block);
  return block;
}

TEST(TruncationSweep, CameraFilesLoadOrFailWithoutChangingTarget) {
  const auto texts = ExampleTexts("cameras");
  ASSERT_GE(texts.size(), 11u);
  const TSweep sweep = SweepBothStyles(texts, MarkerCamera(),
                                       [](TVxXIniReader* r, TVxCameraInfo* c) { c->LoadE(r); });
  // A cut inside the last table row or digit can still be a complete camera; most cuts are not.
  EXPECT_LT(sweep.loaded * 10, sweep.reached);
}

TEST(TruncationSweep, DistortionSectionsLoadOrFailWithoutChangingTarget) {
  TVxCameraDistortion marker;
  marker.polyK[2] = -0.0;
  marker.tableR = {{std::numeric_limits<double>::quiet_NaN(), 1.0}};
  SweepBothStyles(ExampleTexts("cameras"), marker, [](TVxXIniReader* r, TVxCameraDistortion* d) {
    r->EnterSectionSE("distortion");
    d->LoadE(r);
  });
}

TEST(TruncationSweep, MeasurementFilesLoadOrFailWithoutChangingTarget) {
  TVxIntOrMeas marker;
  marker.cameraType = TCameraType::Fiducials;
  marker.marks = {{5, {-0.0, 1.0}, {2.0, 3.0}}};
  const TSweep sweep = SweepBothStyles(ExampleTexts("measurements"), marker,
                                       [](TVxXIniReader* r, TVxIntOrMeas* m) { m->LoadE(r); });
  // Every key of a measurement is optional, so many prefixes load.
  EXPECT_GT(sweep.loaded, 0u);
}

TEST(TruncationSweep, MarkTemplateFilesLoadOrFailWithoutChangingTarget) {
  TCameraMarkTemplates marker;
  marker.templatePixelSize = -0.0;
  SweepBothStyles(ExampleTexts("templates"), marker,
                  [](TVxXIniReader* r, TCameraMarkTemplates* t) { t->LoadE(r); });
}

TEST(TruncationSweep, TolerantCameraLoadNeverFailsOtherwiseThanWithReaderError) {
  for (const std::string& text : ExampleTexts("cameras")) {
    for (std::size_t cut = 0; cut < text.size(); cut += 7) {
      TVxCameraInfo camera;
      try {
        const auto reader = TVxXIniReader::FromText(std::string_view(text).substr(0, cut));
        EXPECT_TRUE(camera.Load(reader.get()));
      } catch (const TVxXIniReadError&) {
      }
    }
  }
}
