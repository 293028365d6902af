// The vxcam program on real standard streams: standard input that is a folder or closed is an
// error, not empty input; transform answers each line of a pipe before it reads the next.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>
#include <vector>

namespace {

// The program with `args`, its standard input `in` (-1: closed), standard output `out`,
// standard error `err`, and the environment `environment` ("NAME=value"; empty: VX_LANG=en and
// the rest of this process's environment). Returns the child's pid.
pid_t Start(const std::vector<std::string>& args, int in, int out, int err,
            std::vector<std::string> environment = {}) {
  std::vector<char*> env;
  for (auto& e : environment) env.push_back(e.data());
  env.push_back(nullptr);
  std::vector<std::string> argv{VXCAM_PROGRAM};
  argv.insert(argv.end(), args.begin(), args.end());
  std::vector<char*> cargv;
  for (auto& a : argv) cargv.push_back(a.data());
  cargv.push_back(nullptr);
  const pid_t child = ::fork();
  if (child == 0) {
    if (in >= 0) {
      if (::dup2(in, 0) < 0) ::_exit(127);
    } else {
      ::close(0);
    }
    if (::dup2(out, 1) < 0 || ::dup2(err, 2) < 0 || ::chdir(VX_SOURCE_DIR) != 0 ||
        ::setenv("VX_LANG", "en", 1) != 0) {
      ::_exit(127);
    }
    if (environment.empty()) {
      ::execv(cargv[0], cargv.data());
    } else {
      ::execve(cargv[0], cargv.data(), env.data());
    }
    ::_exit(127);
  }
  return child;
}

// What can be read from `fd` within `milliseconds`, up to and including the first line end.
std::string ReadLineWithin(int fd, int milliseconds) {
  std::string line;
  while (line.empty() || line.back() != '\n') {
    pollfd waiting{fd, POLLIN, 0};
    if (::poll(&waiting, 1, milliseconds) <= 0) break;
    char c = 0;
    if (::read(fd, &c, 1) != 1) break;
    line += c;
  }
  return line;
}

std::string ReadAll(int fd) {
  std::string text;
  char buffer[4096];
  for (ssize_t n; (n = ::read(fd, buffer, sizeof buffer)) > 0;) {
    text.append(buffer, static_cast<std::size_t>(n));
  }
  return text;
}

int ExitStatus(pid_t child) {
  int status = 0;
  if (::waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

struct TRun {
  int status;
  std::string out;
  std::string err;
};

TRun RunWithInput(const std::vector<std::string>& args, int in,
                  const std::vector<std::string>& environment = {}) {
  int out[2], err[2];
  if (::pipe2(out, O_CLOEXEC) != 0 || ::pipe2(err, O_CLOEXEC) != 0) return {-1, "", "no pipes"};
  const pid_t child = Start(args, in, out[1], err[1], environment);
  ::close(out[1]);
  ::close(err[1]);
  TRun run{0, ReadAll(out[0]), ReadAll(err[0])};
  run.status = ExitStatus(child);
  ::close(out[0]);
  ::close(err[0]);
  return run;
}

}  // namespace

TEST(VxCamStandardStreams, StandardInputThatIsAFolderIsAFileError) {
  const int folder = ::open(VX_SOURCE_DIR, O_RDONLY | O_DIRECTORY);
  ASSERT_GE(folder, 0);
  const TRun run = RunWithInput({"transform", "examples/cameras/dmc.yaml"}, folder);
  ::close(folder);
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "vxcam transform: file error: standard input: it is a folder\n");
}

TEST(VxCamStandardStreams, ClosedStandardInputIsAFileError) {
  const TRun run = RunWithInput({"transform", "examples/cameras/dmc.yaml"}, -1);
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "vxcam transform: file error: standard input: Bad file descriptor\n");
}

// A reader that writes one line, waits for its answer, and only then writes the next: a
// transform that read all its input first would never answer, and the reader would give up.
TEST(VxCamStandardStreams, TransformAnswersEachLineBeforeTheNextIsWritten) {
  constexpr int kPatienceMs = 20000;
  int in[2], out[2], err[2];
  ASSERT_EQ(::pipe2(in, O_CLOEXEC), 0);
  ASSERT_EQ(::pipe2(out, O_CLOEXEC), 0);
  ASSERT_EQ(::pipe2(err, O_CLOEXEC), 0);
  std::signal(SIGPIPE, SIG_IGN);
  const pid_t child =
      Start({"transform", "examples/cameras/rc10_radial.yaml"}, in[0], out[1], err[1]);
  ::close(in[0]);
  ::close(out[1]);
  ::close(err[1]);
  const std::pair<const char*, const char*> exchanges[] = {
      {"-105.993 -106.006\n", "-106.000959 -106.020961\n"},
      {"# a comment gets no answer\n100 0\n", "100.004268 -0.007000\n"},
      {"0 0.007\n", "0.000000 0.000000\n"},
  };
  for (const auto& [line, answer] : exchanges) {
    ASSERT_EQ(::write(in[1], line, std::char_traits<char>::length(line)),
              static_cast<ssize_t>(std::char_traits<char>::length(line)));
    EXPECT_EQ(ReadLineWithin(out[0], kPatienceMs), answer) << "after " << line;
  }
  ::close(in[1]);
  EXPECT_EQ(ReadAll(out[0]), "");
  // The first point, a corner mark, lies past the radial table's last row.
  EXPECT_EQ(ReadAll(err[0]),
            "vxcam transform: warning: <stdin>:1: the point lies outside the calibrated field "
            "(r = 149.9109 mm, the calibration ends at 128.574 mm)\n");
  EXPECT_EQ(ExitStatus(child), 0);
  ::close(out[0]);
  ::close(err[0]);
}

// The language of the texts comes from VX_LANG, else LANGUAGE (unless the locale is C), else
// the locale of LC_ALL, LC_MESSAGES or LANG; CLI11's own messages follow it.
TEST(VxCamStandardStreams, TheLanguageComesFromTheEnvironmentAsGettextChoosesIt) {
  const struct {
    std::vector<std::string> environment;
    const char* expected;
  } cases[] = {
      {{"VX_LANG=de", "LANG=en_US.UTF-8"}, "falsche Argumente: --output fehlt"},
      {{"VX_LANG=en", "LANGUAGE=de"}, "wrong arguments: --output is required"},
      {{"LANGUAGE=fr:de:en", "LANG=en_GB.UTF-8"}, "falsche Argumente: --output fehlt"},
      {{"LANGUAGE=de", "LANG=C"}, "wrong arguments: --output is required"},
      {{"LC_ALL=de_AT.UTF-8", "LANG=en_US.UTF-8"}, "falsche Argumente: --output fehlt"},
      {{"LC_MESSAGES=de_CH", "LANG=en_US"}, "falsche Argumente: --output fehlt"},
      {{"LANG=de_DE.UTF-8"}, "falsche Argumente: --output fehlt"},
      {{"LANG=fr_FR.UTF-8"}, "wrong arguments: --output is required"},
      {{"PATH=/usr/bin"}, "wrong arguments: --output is required"},
  };
  const int none = ::open("/dev/null", O_RDONLY);
  for (const auto& c : cases) {
    const TRun run = RunWithInput({"new", "dmc"}, none, c.environment);
    EXPECT_EQ(run.status, 2);
    EXPECT_NE(run.err.find(c.expected), std::string::npos) << c.environment[0] << "\n" << run.err;
  }
  ::close(none);
}
