// The tool's command line: help, usage errors (exit 2) and the shape of its error lines.
#include <gtest/gtest.h>

#include "ToolRunner.h"

namespace {

using nytest::RunTool;

const char* const k_commands[] = {"info", "onsets", "spectrum", "validate", "tone", "midi", "watch", "demo"};

TEST(ToolUsage, EveryCommandHasHelpWithAnExample) {
  for (const char* command : k_commands) {
    for (const char* flag : {"--help", "-h"}) {
      const auto r = RunTool(std::string(command) + " " + flag);
      EXPECT_EQ(r.exitCode, 0) << command;
      EXPECT_EQ(r.out.rfind(std::string("usage: nybase ") + command + " ", 0), 0u) << r.out;
      EXPECT_NE(r.out.find("example:\n  nybase " + std::string(command)), std::string::npos) << r.out;
      EXPECT_EQ(r.err, "") << command;
    }
  }
  const auto top = RunTool("--help");
  EXPECT_EQ(top.exitCode, 0);
  EXPECT_EQ(RunTool("--version").out.rfind("nybase ", 0), 0u);
  for (const char* command : k_commands) {
    EXPECT_NE(top.out.find(std::string("\n  ") + command + " "), std::string::npos) << command;
  }
}

// Every usage error exits 2 with one line on stderr naming the command and the problem, and prints
// nothing on stdout; nothing is done, whatever the files.
TEST(ToolUsage, BadCommandLinesExitWithTwo) {
  struct Case {
    const char* args;
    const char* message;
  } cases[] = {
      {"", "usage: nybase"},
      {"frobnicate x.wav", "nybase: unknown command 'frobnicate'"},
      {"info", "nybase info: no file given"},
      {"info --bogus x.wav", "nybase info: unknown option '--bogus'"},
      {"info --json=yes x.wav", "nybase info: option '--json' takes no value"},
      {"info -j 0 x.wav", "nybase info: -j needs a number of jobs from 1 to 1024"},
      {"info x.wav -j", "nybase info: option '-j' needs a value (N)"},
      {"onsets x.wav --sensitivity", "nybase onsets: option '--sensitivity' needs a value (S)"},
      {"onsets x.wav --sensitivity 1.5", "nybase onsets: --sensitivity needs a number from 0 to 1, not '1.5'"},
      {"onsets x.wav y.wav --write-cues out.wav", "nybase onsets: --write-cues takes exactly one FILE"},
      {"onsets x.wav --write-cues out.wav --in-place", "nybase onsets: --write-cues and --in-place exclude each other"},
      {"spectrum x.wav --size 1023", "nybase spectrum: --size needs an even number from 16 to 65536"},
      {"spectrum x.wav --size 131072", "nybase spectrum: --size needs an even number"},
      {"spectrum x.wav --window blackman", "nybase spectrum: --window must be hann, hamming or triangular"},
      {"validate doc.xml", "nybase validate: expected 2 argument(s), got 1"},
      {"demo extra", "nybase demo: too many arguments"},
  };
  for (const Case& c : cases) {
    const auto r = RunTool(c.args);
    EXPECT_EQ(r.exitCode, 2) << c.args;
    EXPECT_EQ(r.out, "") << c.args;
    ASSERT_FALSE(r.err.empty()) << c.args;
    EXPECT_EQ(r.err.rfind(c.message, 0), 0u) << c.args << "\n" << r.err;
    if (std::string(c.args).empty()) continue;  // the bare command prints the whole usage
    EXPECT_EQ(r.ErrLines().size(), 1u) << r.err;
  }
}

TEST(ToolUsage, OptionsMayFollowFilesAndDoubleDashEndsThem) {
  // "--" makes "--help" a file name, so this is not a help request: the run fails on the file
  // (or on a missing library part), never with a usage error.
  const auto r = RunTool("info -- --help");
  EXPECT_EQ(r.exitCode, 1) << r.err;
  EXPECT_EQ(r.ErrLines().size(), 1u) << r.err;
  // -j4 and --jobs=4 are the same as -j 4.
  for (const char* jobs : {"-j4", "--jobs=4"}) {
    EXPECT_NE(RunTool(std::string("info ") + jobs + " /nonexistent.wav").exitCode, 2) << jobs;
  }
}

}  // namespace
