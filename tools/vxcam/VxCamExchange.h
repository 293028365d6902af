#pragma once
// What import and export share: the format argument, reading the file, and the report of how
// the camera went across.

#include <iosfwd>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "VxCamApp.h"
#include "VxExchange.h"

namespace vxcam {

// The format named by the user, checked against the known texts.
CLI::Validator ExchangeFormatName();

// The format of an output file from its name (.yml, .yaml, .xml, .txt, .bin); nullopt when
// the name does not tell.
std::optional<TVxExchangeFormat> FormatOfName(const std::string& path);

// "Exact conversion" or "Fitted: largest deviation 0.123 px (0.456 µm)", localised.
std::string ReportText(const TVxExchangeReport& report);

// The report for programs.
nlohmann::ordered_json ReportJson(TVxExchangeFormat format, const TVxExchangeReport& report);

// The positional arguments of import and export: one is the file, its format left to find; two
// are the format and the file. Throws TUsageError for no file and for a format name not known.
void SortFormatAndFile(std::string& format, std::string& file);

// How the camera went across, on the report stream (standard error when the file went to
// standard output): JSON with the output's name, or rows and the file named.
void ReportExchange(TIo& io, TVxExchangeFormat format, const TVxExchangeReport& report,
                    const std::string& outputPath, bool json);

}  // namespace vxcam
