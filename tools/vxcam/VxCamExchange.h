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

}  // namespace vxcam
