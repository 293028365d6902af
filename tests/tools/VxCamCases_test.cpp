// Runs the vxcam program over the command-line cases in tests/tools/cases/*.yaml, once in English
// and once in German, and compares exit status, standard output and standard error.
//
// A case file holds a list "cases"; each case has
//   name      the test's name (letters, digits, underscores)
//   args      the arguments after "vxcam", a list of texts
//   stdin     what the program reads on standard input (optional; else nothing)
//   stdin_long_line   a line of this many '1's that follows stdin (optional), for inputs too
//                     large to write out
//   exit      the expected exit status
//   stdout, stdout_en, stdout_de   the expected standard output, for both languages or one
//   stderr, stderr_en, stderr_de   the expected standard error, likewise
//   stdout_has                     a text that standard output must contain (both languages)
//   stdout_to  a file that standard output goes to instead, such as /dev/full (optional); then
//              nothing is expected of standard output
//   file_size_limit  the largest file the program may write, in bytes (ulimit -f; optional)
//   out_files  the names in the case's fresh folder afterwards, in any order (optional; else
//              they are not checked)
// An output without any expectation must be empty. The program runs in the source tree, so
// paths are written as from there; "{out}" stands for a fresh folder of the case, in the
// arguments and in the expected outputs.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "VxXIni.h"

namespace {

struct CliCase {
  std::string file;
  std::string name;
  std::string language;
  std::vector<std::string> args;
  std::string input;
  int exitStatus = 0;
  std::string out;
  std::string err;
  std::string outHas;
  std::string stdoutTo;
  long long fileSizeLimit = 0;  // none
  bool checkOutFiles = false;
  std::vector<std::string> outFiles;
};

void PrintTo(const CliCase& c, std::ostream* os) {
  *os << c.file << ".yaml: " << c.name << " [" << c.language << "]";
}

std::string ReadText(TVxXIniReader& reader, const char* key, const std::string& fallback) {
  return reader.ReadLongStringS(key, fallback);
}

// The expectation for one language: the key with the language's suffix, else the plain key.
std::string ForLanguage(TVxXIniReader& reader, const std::string& key,
                        const std::string& language) {
  const std::string plain = ReadText(reader, key.c_str(), "");
  return ReadText(reader, (key + "_" + language).c_str(), plain);
}

std::vector<CliCase> LoadCases() {
  std::vector<CliCase> cases;
  const std::filesystem::path folder = std::filesystem::path(VX_SOURCE_DIR) / "tests/tools/cases";
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    if (entry.path().extension() == ".yaml") files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  for (const auto& path : files) {
    const auto reader = TVxXIniReader::FromFile(path.string());
    const TVxXIniSectionHandle list = reader->EnterSectionSE("cases");
    for (TVxXIniPosition i = 0; reader->HasEntry(i); ++i) {
      const TVxXIniSectionHandle item = reader->EnterSectionFE(i);
      for (const char* language : {"en", "de"}) {
        CliCase c;
        c.file = path.stem().string();
        c.name = reader->ReadE<std::string>(reader->FindFE("name", 0));
        c.language = language;
        const TVxXIniSectionHandle args = reader->EnterSectionSE("args");
        for (TVxXIniPosition a = 0; reader->HasEntry(a); ++a)
          c.args.push_back(reader->ReadE<std::string>(a));
        reader->LeaveSectionE(args);
        c.input = ReadText(*reader, "stdin", "");
        const int longLine = reader->Read<int>(reader->FindF("stdin_long_line", 0), 0);
        if (longLine > 0) c.input += std::string(static_cast<std::size_t>(longLine), '1') + "\n";
        c.exitStatus = reader->ReadE<int>(reader->FindFE("exit", 0));
        c.out = ForLanguage(*reader, "stdout", language);
        c.err = ForLanguage(*reader, "stderr", language);
        c.outHas = ReadText(*reader, "stdout_has", "");
        c.stdoutTo = ReadText(*reader, "stdout_to", "");
        c.fileSizeLimit = std::stoll(ReadText(*reader, "file_size_limit", "0"));
        const TVxXIniSectionHandle outFiles = reader->EnterSectionS("out_files");
        if (outFiles != kVxXIniNoSection) {
          c.checkOutFiles = true;
          for (TVxXIniPosition f = 0; reader->HasEntry(f); ++f)
            c.outFiles.push_back(reader->ReadE<std::string>(f));
          std::sort(c.outFiles.begin(), c.outFiles.end());
          reader->LeaveSectionE(outFiles);
        }
        cases.push_back(c);
      }
      reader->LeaveSectionE(item);
    }
    reader->LeaveSectionE(list);
  }
  return cases;
}

std::string Replace(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos;
       at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

std::string Slurp(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

struct Outcome {
  int status = -1;
  std::string out;
  std::string err;
};

// How the program is run beyond its arguments and input.
struct RunSettings {
  std::string stdoutTo;         // else a file of the work folder, read back
  long long fileSizeLimit = 0;  // RLIMIT_FSIZE in bytes; 0: as inherited
};

// Runs vxcam in the source tree with VX_LANG set, the input on standard input.
Outcome RunProgram(const std::vector<std::string>& args, const std::string& input,
                   const std::string& language, const std::filesystem::path& work,
                   const RunSettings& settings = {}) {
  const auto inPath = work / "stdin.txt", errPath = work / "stderr.txt";
  const std::filesystem::path outPath =
      settings.stdoutTo.empty() ? work / "stdout.txt" : std::filesystem::path(settings.stdoutTo);
  std::ofstream(inPath, std::ios::binary) << input;
  std::vector<std::string> argv{VXCAM_PROGRAM};
  argv.insert(argv.end(), args.begin(), args.end());
  std::vector<char*> cargv;
  for (auto& a : argv) cargv.push_back(a.data());
  cargv.push_back(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    const int in = open(inPath.c_str(), O_RDONLY);
    const int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (in < 0 || out < 0 || err < 0 || dup2(in, 0) < 0 || dup2(out, 1) < 0 || dup2(err, 2) < 0 ||
        chdir(VX_SOURCE_DIR) != 0 || setenv("VX_LANG", language.c_str(), 1) != 0)
      _exit(127);
    if (settings.fileSizeLimit > 0) {
      rlimit limit{};
      limit.rlim_cur = limit.rlim_max = static_cast<rlim_t>(settings.fileSizeLimit);
      if (setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(127);
    }
    execv(cargv[0], cargv.data());
    _exit(127);
  }
  Outcome outcome;
  int status = 0;
  if (child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status))
    outcome.status = WEXITSTATUS(status);
  if (settings.stdoutTo.empty()) outcome.out = Slurp(outPath);
  outcome.err = Slurp(errPath);
  return outcome;
}

std::vector<std::string> NamesIn(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

class VxCamCli : public testing::TestWithParam<CliCase> {};

TEST_P(VxCamCli, GivesExpectedOutputAndStatus) {
  const CliCase& c = GetParam();
  const auto work = std::filesystem::path(VX_BINARY_DIR) / "tests/tools/cases" /
                    (c.file + "_" + c.name + "_" + c.language);
  std::filesystem::remove_all(work);
  std::filesystem::create_directories(work / "out");
  const std::string out = (work / "out").string();
  std::vector<std::string> args;
  for (const auto& a : c.args) args.push_back(Replace(a, "{out}", out));
  const Outcome outcome =
      RunProgram(args, c.input, c.language, work, {c.stdoutTo, c.fileSizeLimit});
  EXPECT_EQ(outcome.status, c.exitStatus);
  if (c.stdoutTo.empty()) {
    if (c.outHas.empty()) {
      EXPECT_EQ(Replace(outcome.out, out, "{out}"), c.out);
    } else {
      EXPECT_NE(outcome.out.find(c.outHas), std::string::npos) << outcome.out;
    }
  }
  EXPECT_EQ(Replace(outcome.err, out, "{out}"), c.err);
  if (c.checkOutFiles) {
    EXPECT_EQ(NamesIn(work / "out"), c.outFiles);
  }
}

std::string CaseName(const testing::TestParamInfo<CliCase>& param) {
  return param.param.file + "_" + param.param.name + "_" + param.param.language;
}

INSTANTIATE_TEST_SUITE_P(Cases, VxCamCli, testing::ValuesIn(LoadCases()), CaseName);

// Too long for a case file: standard output fails after its first few thousand lines.
TEST(VxCamProgram, TransformOfManyLinesToAFullStandardOutput_IsOneFileError) {
  constexpr int kLines = 100000;
  const auto work = std::filesystem::path(VX_BINARY_DIR) / "tests/tools/program/transform_full";
  std::filesystem::remove_all(work);
  std::filesystem::create_directories(work);
  std::string input;
  for (int i = 0; i < kLines; ++i) input += "10.5 -20.25\n";
  const Outcome outcome = RunProgram({"transform", "examples/cameras/rc10_radial.yaml"}, input,
                                     "en", work, {"/dev/full"});
  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(outcome.err, "vxcam transform: file error: standard output: No space left on device\n");
}

}  // namespace
