// Reading and writing settings texts: a camera description of about 5 KB and a list of 10 000
// measured marks. Texts and trees are built outside the timed loops.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "VxXIni.h"

namespace {

constexpr int kCameraFiducials = 40;  // with the distortion table this makes about 5 KB
constexpr int kLargeListElements = 10000;

void WritePoint(TVxXIniWriter& writer, const std::string& name, double x, double y) {
  const TVxXIniSectionHandle handle = writer.BeginSectionCompactSE(name);
  writer.WriteS(vx::s_x, x);
  writer.WriteS(vx::s_y, y);
  writer.EndSectionE(handle);
}

// A camera with fiducial marks and a radial distortion table, as its saver writes it.
void WriteCamera(TVxXIniWriter& writer) {
  writer.WriteS<std::string>("name", "RMK TOP 15 serial 154 387");
  writer.WriteS<std::string>("calibration_date", "2024-03-01");
  writer.WriteLongStringSE("description",
                           "Calibration report of the maker.\nLens UAG-S 15/4, filter 525 nm.\n");
  writer.WriteS("focus", 153.124);
  WritePoint(writer, "principal_point", 0.002, -0.004);
  const TVxXIniSectionHandle intOr = writer.BeginSectionSE("int_or");
  writer.WriteS<std::string>("type", "Fiducials");
  const TVxXIniSectionHandle fiducials = writer.BeginSectionSE("fiducials");
  for (int i = 0; i < kCameraFiducials; ++i) {
    const TVxXIniSectionHandle mark = writer.BeginSectionCompactSE("");
    writer.WriteS("index", i + 1);
    WritePoint(writer, "coords_cam", -106.001 + 5.3 * i, 105.998 - 5.3 * i);
    writer.WriteS("template_index", i % 4 + 1);
    writer.EndSectionE(mark);
  }
  writer.EndSectionE(fiducials);
  writer.EndSectionE(intOr);
  const TVxXIniSectionHandle distortion = writer.BeginSectionSE("distortion");
  writer.WriteS<std::string>("type", "Radial");
  writer.WriteS<std::string>("direction", "CamToMm");
  WritePoint(writer, "symmetry_point", 0.001, 0.003);
  const TVxXIniSectionHandle table = writer.BeginSectionSE("table_r");
  for (int i = 1; i <= 30; ++i) {
    const TVxXIniSectionHandle row = writer.BeginSectionSE("");
    writer.WriteS("r", 5.0 * i);
    writer.WriteS("dr", 0.0001 * i * (30 - i));
    writer.EndSectionE(row);
  }
  writer.EndSectionE(table);
  writer.EndSectionE(distortion);
}

// Measured marks of an interior orientation, 10 000 of them.
void WriteLargeList(TVxXIniWriter& writer) {
  const TVxXIniSectionHandle points = writer.BeginSectionSE("points");
  for (int i = 0; i < kLargeListElements; ++i) {
    const TVxXIniSectionHandle mark = writer.BeginSectionCompactSE("");
    writer.WriteS("index", i);
    WritePoint(writer, "coords_pix", 0.5 * i, 12000.25 - 0.75 * i);
    writer.EndSectionE(mark);
  }
  writer.EndSectionE(points);
}

// Reads every entry of the current section, as a loader would.
void Walk(TVxXIniReader& reader, double& sink) {
  for (TVxXIniPosition i = 0; reader.HasEntry(i); ++i) {
    if (reader.IsSectionAt(i)) {
      const TVxXIniSectionHandle handle = reader.EnterSectionFE(i);
      Walk(reader, sink);
      reader.LeaveSectionE(handle);
    } else {
      sink += static_cast<double>(reader.ReadE<std::string>(i).size());
    }
  }
}

template <void (*Build)(TVxXIniWriter&)>
void BM_Write(benchmark::State& state) {
  std::size_t bytes = 0;
  for (auto _ : state) {
    TVxXIniWriter writer;
    Build(writer);
    const std::string text = writer.ToText();
    bytes = text.size();
    benchmark::DoNotOptimize(text.data());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
  state.counters["text_bytes"] = static_cast<double>(bytes);
}

template <void (*Build)(TVxXIniWriter&)>
void BM_Read(benchmark::State& state) {
  TVxXIniWriter writer;
  Build(writer);
  const std::string text = writer.ToText();
  for (auto _ : state) {
    auto reader = TVxXIniReader::FromText(text);
    double sink = 0.0;
    Walk(*reader, sink);
    benchmark::DoNotOptimize(sink);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
  state.counters["text_bytes"] = static_cast<double>(text.size());
}

}  // namespace

BENCHMARK_TEMPLATE(BM_Write, WriteCamera)->Name("Write/Camera5KB");
BENCHMARK_TEMPLATE(BM_Read, WriteCamera)->Name("Read/Camera5KB");
BENCHMARK_TEMPLATE(BM_Write, WriteLargeList)
    ->Name("Write/List10000")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_Read, WriteLargeList)->Name("Read/List10000")->Unit(benchmark::kMillisecond);
