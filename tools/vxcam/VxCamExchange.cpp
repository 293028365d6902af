#include "VxCamExchange.h"

#include <ostream>
#include <utility>

#include "VxCamFiles.h"
#include "VxCamFormat.h"
#include "VxCamText.h"
#include "VxCameraInfo.h"

namespace vxcam {

CLI::Validator ExchangeFormatName() {
  return CLI::Validator(
      [](std::string& text) -> std::string {
        return TextToExchangeFormat(text) ? std::string()
                                          : Text("vxcam.exchange.unknown_format") + " " + text;
      },
      "FORMAT");
}

std::optional<TVxExchangeFormat> FormatOfName(const std::string& path) {
  auto ends = [&](const char* suffix) {
    const std::string s = suffix;
    return path.size() >= s.size() && path.compare(path.size() - s.size(), s.size(), s) == 0;
  };
  if (ends(".yml") || ends(".yaml")) return TVxExchangeFormat::OpenCvYaml;
  if (ends(".xml")) return TVxExchangeFormat::OpenCvXml;
  if (ends(".txt")) return TVxExchangeFormat::ColmapText;
  if (ends(".bin")) return TVxExchangeFormat::ColmapBinary;
  return std::nullopt;
}

std::string ReportText(const TVxExchangeReport& report) {
  if (!report.fitted) return Text("vxcam.exchange.exact");
  return Text("vxcam.exchange.fitted") + " " + FormatNumber(report.maxDeviationPx, 3) + " " +
         UnitsPixUserTextAbbr() + " (" + FormatNumber(report.maxDeviationMm * 1000.0, 3) + " " +
         UnitsCamMkmUserTextAbbr() + ")";
}

nlohmann::ordered_json ReportJson(TVxExchangeFormat format, const TVxExchangeReport& report) {
  return {{"format", ExchangeFormatToText(format)},
          {"model", report.model},
          {"exact", !report.fitted},
          {"max_deviation_px", report.maxDeviationPx},
          {"max_deviation_um", report.maxDeviationMm * 1000.0}};
}

void SortFormatAndFile(std::string& format, std::string& file) {
  if (file.empty()) std::swap(format, file);
  if (file.empty()) throw TUsageError(Text("vxcam.exchange.no_file"));
  if (!format.empty() && !TextToExchangeFormat(format))
    throw TUsageError(Text("vxcam.exchange.unknown_format") + " " + format);
}

void ReportExchange(TIo& io, TVxExchangeFormat format, const TVxExchangeReport& report,
                    const std::string& outputPath, bool json) {
  std::ostream& out = ReportStream(io, outputPath);
  if (json) {
    nlohmann::ordered_json document = ReportJson(format, report);
    document["output"] = outputPath;
    WriteJson(out, document);
    return;
  }
  WriteRows(out, {{0, Text("vxcam.label.format"),
                   ExchangeFormatToText(format) + " (" + report.model + ")"},
                  {0, Text("vxcam.label.conversion"), ReportText(report)}});
  ReportWritten(io, outputPath);
}

}  // namespace vxcam
