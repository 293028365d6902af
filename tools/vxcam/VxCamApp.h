#pragma once
// What every command shares: its CLI11 application with the common options, the errors that a
// command reports, and the one place that turns them into messages and exit statuses.

#include <CLI/CLI.hpp>
#include <functional>
#include <stdexcept>
#include <string>

#include "VxCamCommands.h"

namespace vxcam {

// Arguments that parse but make no sense together (an odd number of coordinates). Exit 2.
class TUsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A file that cannot be read or written, named in the message. Exit 3. (The settings reader's
// and writer's own errors, which name file, line, column and key, and TVxFileSaveError of a save
// count as file errors too.)
class TFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Content that was read but cannot be used: a distortion the geometry library refuses, a fit
// that fails, a line of standard input that is not two numbers. Exit 4.
class TContentError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Measurements that were read but cannot be solved: the reason, localised. Exit 1, as a check
// that is not passed.
class TNotSolvedError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Runs one command: a CLI11 application named "vxcam <name>" with the summary text of
// `summaryKey`, the options --help and --lang, and what `define` adds; then `act`. Help goes to
// io.out with status 0; a parse error, and the errors above, go to io.err as one message with
// their status. When `act` returns, or help was written, io.out is flushed; if any write to it
// failed, that is reported as a file error of standard output with status 3.
int RunCommand(const char* name, const char* summaryKey, const TArgs& args, TIo& io,
               const std::function<void(CLI::App&)>& define, const std::function<int()>& act);

// Adds a positional file argument such as CAMERA, shown with the type FILE.
CLI::Option* AddFileArgument(CLI::App& app, const char* name, std::string& path,
                             const char* descriptionKey);

// Adds --limit: the residual length in micrometres above which a mark is reported.
void AddResidualLimitOption(CLI::App& app, double& limitUm);

// Adds --json to a command.
void AddJsonFlag(CLI::App& app, bool& json);
// Adds -o/--output, required or not.
void AddOutputOption(CLI::App& app, std::string& path, const char* descriptionKey, bool required);

// Accepts a finite decimal number for which `accepts` is true; refuses anything else with the
// localised text of `errorKey` and what was given. `name` is the value's kind in the help.
CLI::Validator NumberValidator(bool (*accepts)(double), const char* errorKey, const char* name);
// Accepts a finite number greater than zero; refuses anything else with a localised message.
CLI::Validator PositiveNumber();
// Accepts a finite decimal number, as the settings files hold them; refuses hexadecimal, nan,
// inf and numbers beyond the range of double with a localised message.
CLI::Validator FiniteNumber();
// Refuses an empty path ("-o ''") with a localised message.
CLI::Validator NonEmptyPath();

// Throws TFileError "standard output: <reason>" (localised) if a write to io.out has failed, so
// that a command stops instead of computing what nobody can read. A command that writes line by
// line calls it after each line; RunCommand flushes io.out and calls it after every command, so
// that a full disk, /dev/full or a closed terminal gives exit status 3 instead of 0. It does not
// flush: a failure shows once the buffer of io.out is written out.
void CheckOutput(TIo& io);

// Tells the user on io.out that `path` was written; nothing for "-", standard output.
void ReportWritten(TIo& io, const std::string& path);

// Writes "vxcam <command>: warning: <text>" (localised) to io.err.
void ReportWarning(TIo& io, const char* command, const std::string& text);

// Calls `build` and turns what the library throws for bad content into TContentError naming
// `path`. Errors of the settings files pass on unchanged.
template <class F>
auto WithContentOf(const std::string& path, F build) -> decltype(build()) {
  try {
    return build();
  } catch (const TContentError&) {
    throw;
  } catch (const std::invalid_argument& e) {
    throw TContentError(path + ": " + e.what());
  } catch (const std::domain_error& e) {
    throw TContentError(path + ": " + e.what());
  }
}

}  // namespace vxcam
