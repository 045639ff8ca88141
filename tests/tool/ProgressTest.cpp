// The progress bar: drawn on stderr only when stderr is a terminal, never mixed into stdout.
#include <gtest/gtest.h>

#include <string>

#include "../support/TestSupport.h"
#include "ToolRunner.h"
#include "WavBuilder.h"

namespace {

using nytest::Quote;

TEST(ToolProgress, ABarOnATerminalOnly) {
  if (!nytest::HaveProgram("script")) GTEST_SKIP() << "script(1) is not installed";
  nytest::TempDir dir;
  nytest::TestWav wav;
  wav.samples = nytest::Bursts(wav.sampleRate, 5.0, {1.0, 3.0});
  std::string files;
  for (int i = 0; i < 4; ++i) {
    const std::string path = dir.Native("f" + std::to_string(i) + ".wav");
    nytest::WriteFileBytes(path, nytest::BuildWav(wav));
    files += " " + Quote(path);
  }
  const std::string command = "NYBASE_PROGRESS_DELAY_MS=0 " + Quote(nytest::ToolPath()) + " onsets -j 1" + files;
  // script(1) gives the tool a terminal; stdout goes to a file, so only stderr reaches the terminal.
  const std::string typescript = dir.Native("typescript");
  const std::string out = dir.Native("out");
  ASSERT_EQ(nytest::Run("script -qec " + Quote(command + " >" + Quote(out)) + " " + Quote(typescript) +
                        " </dev/null >/dev/null"),
            0);
  const auto termBytes = nytest::ReadFileBytes(typescript);
  const std::string terminal(termBytes.begin(), termBytes.end());
  EXPECT_NE(terminal.find("nybase onsets ["), std::string::npos) << terminal;
  EXPECT_NE(terminal.find("\r\033[2K"), std::string::npos) << "the bar is not cleared";
  const auto outBytes = nytest::ReadFileBytes(out);
  const std::string stdoutText(outBytes.begin(), outBytes.end());
  EXPECT_EQ(stdoutText.find("nybase onsets ["), std::string::npos);
  EXPECT_EQ(stdoutText.find('\033'), std::string::npos);
  EXPECT_NE(stdoutText.find("f3.wav: 2 onsets"), std::string::npos) << stdoutText;

  // Not a terminal: nothing but the results, even with no delay.
  const auto r = nytest::RunTool("onsets -j 1" + files);
  EXPECT_EQ(r.exitCode, 0);
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.out, stdoutText);
}

}  // namespace
