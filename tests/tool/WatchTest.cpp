// nybase watch: batches printed as lines and JSON, recursive watching, --info, bad folders.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "../support/TestSupport.h"
#include "ToolRunner.h"
#include "WavBuilder.h"

namespace {

// Runs `nybase watch ARGS` in the background, runs `actions` in the shell a moment later, and
// waits for the tool; a watchdog ends it after 30 s so a broken watch never hangs the suite.
nytest::ToolResult WatchWhile(const std::string& args, const std::string& actions) {
  nytest::TempDir capture;
  const std::string out = capture.Native("out"), err = capture.Native("err");
  const std::string script = "{ " + nytest::Quote(nytest::ToolPath()) + " watch " + args + " </dev/null & pid=$!; sleep 1; " +
                             actions + "; ( sleep 30; kill $pid ) 2>/dev/null & dog=$!; wait $pid; rc=$?; kill $dog; exit $rc; } >" +
                             nytest::Quote(out) + " 2>" + nytest::Quote(err);
  const int status = std::system(script.c_str());
  nytest::ToolResult r;
  r.exitCode = (status != -1 && WIFEXITED(status)) ? WEXITSTATUS(status) : -1;
  const auto o = nytest::ReadFileBytes(out), e = nytest::ReadFileBytes(err);
  r.out.assign(o.begin(), o.end());
  r.err.assign(e.begin(), e.end());
  return r;
}

TEST(Watch, PrintsOneBatchOfPathsAsLinesOrJson) {
  nytest::TempDir dir;
  const std::string q = nytest::Quote(dir.Native());
  auto r = WatchWhile(q + " --quiet-ms 300 --count 1",
                      "printf x > " + q + "/b.txt; printf y > " + q + "/a.txt; printf z > " + q + "/.hidden");
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.OutLines(), (std::vector<std::string>{dir.Native("a.txt"), dir.Native("b.txt")}));

  r = WatchWhile("-r --json --quiet-ms 300 --count 1 " + q, "mkdir " + q + "/sub; printf x > " + q + "/sub/c.txt");
  EXPECT_EQ(r.exitCode, 0) << r.err;
  ASSERT_EQ(r.OutLines().size(), 1u) << r.out;
  const auto doc = nytest::ParseLine(r.OutLines()[0]);
  EXPECT_FALSE(doc["lost"].GetBool());
  std::vector<std::string> paths;
  for (const auto& p : doc["paths"].GetArray()) paths.emplace_back(p.GetString());
  EXPECT_EQ(paths, (std::vector<std::string>{dir.Native("sub"), dir.Native("sub/c.txt")}));
}

TEST(Watch, InfoReportsTheWavFilesOfABatchAndDeletionEndsTheWatch) {
  nytest::TempDir parent;
  const std::string dir = parent.Native("w");
  const std::string q = nytest::Quote(dir);
  ASSERT_EQ(nytest::Run("mkdir " + q + " && printf x > " + q + "/x.txt"), 0);
  nytest::TestWav wav;
  wav.samples.assign(4800, 0);
  nytest::WriteFileBytes(parent.Native("t.wav"), nytest::BuildWav(wav));
  auto r = WatchWhile(q + " --info --quiet-ms 500 --count 1", "cp " + nytest::Quote(parent.Native("t.wav")) + " " + q);
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_NE(r.out.find(dir + "/t.wav\n  format    PCM"), std::string::npos) << r.out;
  r = WatchWhile(q + " --quiet-ms 300", "rm -rf " + q);
  EXPECT_EQ(r.exitCode, 0) << r.err;
  const auto lines = r.OutLines();
  EXPECT_NE(std::find(lines.begin(), lines.end(), dir), lines.end()) << r.out;
}

TEST(Watch, MissingFolderAndBadValuesFailAtOnce) {
  nytest::TempDir dir;
  auto r = nytest::RunTool("watch " + nytest::Quote(dir.Native("none")));
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_NE(r.err.find("no such folder"), std::string::npos) << r.err;
  EXPECT_EQ(nytest::RunTool("watch --quiet-ms 0 " + nytest::Quote(dir.Native())).exitCode, 2);
  EXPECT_EQ(nytest::RunTool("watch --count x " + nytest::Quote(dir.Native())).exitCode, 2);
}

}  // namespace
