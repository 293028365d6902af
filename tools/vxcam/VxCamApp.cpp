#include "VxCamApp.h"

#include "VxCamFiles.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <iostream>
#include <new>

#include <streambuf>
#include "VxCamNumbers.h"
#include "VxCamParseErrors.h"

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
  // Messages quote file names, keys and values: no control character of theirs reaches the
  // terminal.
  io.err << command << ": " << Text(kindKey) << ": " << EscapeControlCharacters(detail) << '\n';
  return status;
}

// Stands between io.out and its buffer while a command runs and keeps the errno of the first
// write that failed, which is long gone when the failure is noticed. Unbuffered itself, so that
// the buffer below (line buffered on a terminal) decides when text appears.
class TWatchedOutput : public std::streambuf {
 public:
  explicit TWatchedOutput(std::ostream& out) : out_(out), inner_(out.rdbuf()) {
    const std::ios::iostate state = out_.rdstate();
    out_.rdbuf(this);
    out_.setstate(state);
  }
  ~TWatchedOutput() override {
    const std::ios::iostate state = out_.rdstate();
    out_.rdbuf(inner_);
    out_.setstate(state);
  }
  TWatchedOutput(const TWatchedOutput&) = delete;
  TWatchedOutput& operator=(const TWatchedOutput&) = delete;

  // The errno of the first failed write, or 0.
  int Error() const { return error_; }

 protected:
  int_type overflow(int_type c) override {
    if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
    errno = 0;
    const int_type result = inner_ ? inner_->sputc(traits_type::to_char_type(c)) : c;
    if (traits_type::eq_int_type(result, traits_type::eof())) Remember();
    return result;
  }
  std::streamsize xsputn(const char* text, std::streamsize n) override {
    errno = 0;
    const std::streamsize written = inner_ ? inner_->sputn(text, n) : n;
    if (written != n) Remember();
    return written;
  }
  int sync() override {
    errno = 0;
    const int result = inner_ ? inner_->pubsync() : 0;
    if (result != 0) Remember();
    return result;
  }

 private:
  void Remember() {
    if (error_ == 0) error_ = errno != 0 ? errno : EIO;
  }

  std::ostream& out_;
  std::streambuf* inner_;
  int error_ = 0;
};

// Flushes io.out and returns `status`, or reports that standard output failed and returns the
// status of a file error.
int FinishOutput(TIo& io, const std::string& command, int status) {
  io.out.flush();
  try {
    CheckOutput(io);
  } catch (const TFileError& e) {
    return Report(io, command, "vxcam.error.file", e.what(), kExitFileError);
  }
  return status;
}

}  // namespace

void CheckOutput(TIo& io) {
  if (io.out) return;
  const auto* watch = dynamic_cast<const TWatchedOutput*>(io.out.rdbuf());
  const int error = watch != nullptr && watch->Error() != 0 ? watch->Error() : EIO;
  throw TFileError(Text("vxcam.text.standard_output") + ": " + std::strerror(error));
}

int RunCommand(const char* name, const char* summaryKey, const TArgs& args, TIo& io,
               const std::function<void(CLI::App&)>& define, const std::function<int()>& act) {
  ApplyLanguageOption(args);
  const std::string command = std::string("vxcam ") + name;
  const TWatchedOutput watch(io.out);
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
    return FinishOutput(io, command, kExitSuccess);
  } catch (const CLI::ParseError& e) {
    Report(io, command, "vxcam.error.usage", LocaliseParseError(e.what()), kExitUsage);
    io.err << Text("vxcam.error.see_help") << ' ' << command << " --help\n";
    return kExitUsage;
  }
  try {
    // What a command wrote is checked when it is done; a command that streams checks each line
    // itself (CheckOutput) and stops at the first that fails. When a command fails otherwise, its
    // own error is the one reported.
    const int status = act();
    io.out.flush();
    CheckOutput(io);
    return status;
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
  } catch (const std::bad_alloc&) {
    return Report(io, command, "vxcam.error.content", Text("vxcam.error.out_of_memory"),
                  kExitInvalidContent);
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
  option->option_text(Text("vxcam.help.file"))->check(NonEmptyPath());
  if (required) option->required();
}

CLI::Validator NonEmptyPath() {
  return CLI::Validator(
      [](std::string& text) -> std::string {
        return text.empty() ? Text("vxcam.error.empty_path") : std::string();
      },
      "", "PATH");
}

CLI::Validator NumberValidator(bool (*accepts)(double), const char* errorKey, const char* name) {
  return CLI::Validator(
      [accepts, errorKey](std::string& text) -> std::string {
        double value = 0.0;
        if (ParseFiniteNumber(text, value) && accepts(value)) return {};
        return Text(errorKey) + ": " + text;
      },
      "", name);
}

CLI::Validator PositiveNumber() {
  return NumberValidator([](double value) { return value > 0.0; }, "vxcam.error.not_positive",
                         "POSITIVE");
}

CLI::Validator FiniteNumber() {
  return NumberValidator([](double) { return true; }, "vxcam.error.not_a_number", "NUMBER");
}

void ReportWarning(TIo& io, const char* command, const std::string& text) {
  io.err << "vxcam " << command << ": " << Text("vxcam.text.warning") << ": "
         << EscapeControlCharacters(text) << '\n';
}

void ReportWritten(TIo& io, const std::string& path) {
  // A file sent to standard output is not announced there among its own lines.
  if (IsStandardStream(path)) return;
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
  ApplyLanguageFromEnvironment();
  const TWatchedOutput watch(io.out);
  const TArgs all(argv + std::min(argc, 1), argv + argc);
  std::size_t i = 0;
  for (; i < all.size() && !all[i].empty() && all[i][0] == '-'; ++i) {
    const std::string& option = all[i];
    if (option == "-h" || option == "--help") {
      ApplyLanguageOption(all);
      PrintMainHelp(commands, io.out);
      return FinishOutput(io, "vxcam", kExitSuccess);
    }
    if (option == "--version") {
      io.out << "vxcam " << VXCAM_VERSION << '\n';
      return FinishOutput(io, "vxcam", kExitSuccess);
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
