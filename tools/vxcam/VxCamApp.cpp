#include "VxCamApp.h"

#include <algorithm>
#include <cmath>
#include <iostream>

#include "VxAtomicFile.h"
#include "VxCamText.h"
#include "VxCameraUtils.h"
#include "VxXIni.h"

namespace vxcam {
namespace {

void LocaliseHelp(CLI::App& app) {
  auto formatter = app.get_formatter();
  formatter->label("Usage", Text("vxcam.help.usage"));
  formatter->label("OPTIONS", Text("vxcam.help.options_badge"));
  formatter->label("Positionals", Text("vxcam.help.positionals"));
  formatter->label("REQUIRED", Text("vxcam.help.required"));
  formatter->column_width(28);
  app.option_defaults()->group(Text("vxcam.help.options"));
}

void AddCommonOptions(CLI::App& app, std::string& language) {
  app.set_help_flag("-h,--help", Text("vxcam.opt.help"));
  // Already applied before the parse so that help and messages speak it; declared for checking.
  app.add_option("--lang", language, Text("vxcam.opt.lang"))
      ->check(CLI::IsMember({kLanguages[0], kLanguages[1]}))
      ->option_text("en|de");
}

int Report(TIo& io, const std::string& command, const char* kindKey, const std::string& detail,
           int status) {
  io.err << command << ": " << Text(kindKey) << ": " << detail << '\n';
  return status;
}

}  // namespace

int RunCommand(const char* name, const char* summaryKey, const TArgs& args, TIo& io,
               const std::function<void(CLI::App&)>& define, const std::function<int()>& act) {
  ApplyLanguageOption(args);
  const std::string command = std::string("vxcam ") + name;
  CLI::App app(Text(summaryKey), command);
  LocaliseHelp(app);
  std::string language;
  AddCommonOptions(app, language);
  define(app);
  try {
    std::vector<std::string> reversed(args.rbegin(), args.rend());
    app.parse(reversed);
  } catch (const CLI::CallForHelp&) {
    std::string help = app.help();
    while (help.size() > 1 && help[help.size() - 2] == '\n') help.pop_back();
    io.out << help;
    return kExitSuccess;
  } catch (const CLI::ParseError& e) {
    Report(io, command, "vxcam.error.usage", e.what(), kExitUsage);
    io.err << Text("vxcam.error.see_help") << ' ' << command << " --help\n";
    return kExitUsage;
  }
  try {
    return act();
  } catch (const TUsageError& e) {
    Report(io, command, "vxcam.error.usage", e.what(), kExitUsage);
    io.err << Text("vxcam.error.see_help") << ' ' << command << " --help\n";
    return kExitUsage;
  } catch (const TVxXIniReadError& e) {
    return Report(io, command, "vxcam.error.file", e.what(), kExitFileError);
  } catch (const TVxXIniWriteError& e) {
    return Report(io, command, "vxcam.error.file", e.what(), kExitFileError);
  } catch (const TFileError& e) {
    return Report(io, command, "vxcam.error.file", e.what(), kExitFileError);
  } catch (const TVxFileSaveError& e) {
    return Report(io, command, "vxcam.error.file", e.what(), kExitFileError);
  } catch (const TNotSolvedError& e) {
    return Report(io, command, "vxcam.error.not_solved", e.what(), kExitCheckFailed);
  } catch (const TContentError& e) {
    return Report(io, command, "vxcam.error.content", e.what(), kExitInvalidContent);
  } catch (const std::exception& e) {
    return Report(io, command, "vxcam.error.content", e.what(), kExitInvalidContent);
  }
}

CLI::Option* AddFileArgument(CLI::App& app, const char* name, std::string& path,
                             const char* descriptionKey) {
  return app.add_option(name, path, Text(descriptionKey))->type_name(Text("vxcam.help.file"));
}

void AddResidualLimitOption(CLI::App& app, double& limitUm) {
  app.add_option("--limit", limitUm, Text("vxcam.opt.residual_limit"))
      ->option_text("UM")
      ->check(PositiveNumber());
}

void AddJsonFlag(CLI::App& app, bool& json) {
  app.add_flag("--json", json, Text("vxcam.opt.json"));
}

void AddOutputOption(CLI::App& app, std::string& path, const char* descriptionKey, bool required) {
  auto* option = app.add_option("-o,--output", path, Text(descriptionKey));
  option->option_text(Text("vxcam.help.file"));
  if (required) option->required();
}

CLI::Validator PositiveNumber() {
  return CLI::Validator(
      [](std::string& text) -> std::string {
        double value = 0.0;
        if (CLI::detail::lexical_cast(text, value) && std::isfinite(value) && value > 0.0)
          return {};
        return Text("vxcam.error.not_positive") + ": " + text;
      },
      "", "POSITIVE");
}

void ReportWritten(TIo& io, const std::string& path) {
  io.out << Text("vxcam.text.written") << ' ' << path << '\n';
}

namespace {

void PrintMainHelp(const std::vector<TCommand>& commands, std::ostream& out) {
  out << Text("vxcam.help.title") << "\n\n"
      << Text("vxcam.help.usage") << ": vxcam [--lang en|de] " << Text("vxcam.help.command")
      << " ... [--help]\n\n"
      << Text("vxcam.help.commands") << ":\n";
  for (const TCommand& command : commands) {
    std::string name = command.name;
    name.resize(12, ' ');
    out << "  " << name << Text(command.summaryKey) << '\n';
  }
  out << '\n'
      << Text("vxcam.help.options") << ":\n"
      << "  -h, --help    " << Text("vxcam.opt.help") << '\n'
      << "  --version     " << Text("vxcam.opt.version") << '\n'
      << "  --lang en|de  " << Text("vxcam.opt.lang") << "\n\n"
      << Text("vxcam.help.exit") << '\n';
}

int MainUsageError(TIo& io, const std::string& detail) {
  io.err << "vxcam: " << Text("vxcam.error.usage") << ": " << detail << '\n'
         << Text("vxcam.error.see_help") << " vxcam --help\n";
  return kExitUsage;
}

}  // namespace

int RunMain(const std::vector<TCommand>& commands, int argc, const char* const* argv, TIo& io) {
  const TArgs all(argv + std::min(argc, 1), argv + argc);
  std::size_t i = 0;
  for (; i < all.size() && !all[i].empty() && all[i][0] == '-'; ++i) {
    const std::string& option = all[i];
    if (option == "-h" || option == "--help") {
      ApplyLanguageOption(all);
      PrintMainHelp(commands, io.out);
      return kExitSuccess;
    }
    if (option == "--version") {
      io.out << "vxcam " << VXCAM_VERSION << '\n';
      return kExitSuccess;
    }
    const bool withValue = option == "--lang" && i + 1 < all.size();
    const std::string value = withValue                         ? all[i + 1]
                              : option.rfind("--lang=", 0) == 0 ? option.substr(7)
                                                                : std::string();
    if (value.empty())
      return MainUsageError(io, Text("vxcam.error.unknown_option") + ": " + option);
    if (!ApplyLanguageOption({"--lang", value}))
      return MainUsageError(io, Text("vxcam.error.unknown_language") + ": " + value);
    if (withValue) ++i;
  }
  if (i == all.size()) {
    PrintMainHelp(commands, io.err);
    return kExitUsage;
  }
  const auto found = std::find_if(commands.begin(), commands.end(),
                                  [&](const TCommand& c) { return all[i] == c.name; });
  if (found == commands.end())
    return MainUsageError(io, Text("vxcam.error.unknown_command") + ": " + all[i]);
  try {
    Init_VxCameraUtils();
  } catch (const std::exception& e) {
    io.err << "vxcam: " << e.what() << '\n';
    return kExitInvalidContent;
  }
  const int status =
      found->run(TArgs(all.begin() + static_cast<std::ptrdiff_t>(i) + 1, all.end()), io);
  Deinit_VxCameraUtils();
  return status;
}

}  // namespace vxcam
