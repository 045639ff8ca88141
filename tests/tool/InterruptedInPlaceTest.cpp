// nybase onsets --in-place and --write-cues cut short by a full disk at several points: the tool
// fails with a reason, the file keeps every byte and no temporary file is left beside it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "../support/InterruptedWrite.h"
#include "../support/TestSupport.h"
#include "ToolRunner.h"
#include "WavBuilder.h"

TEST(ToolInterrupted, CueWritingCutShortLeavesTheFileAndNoTemporary) {
  nytest::TestWav wav;
  wav.samples = nytest::Bursts(wav.sampleRate, 2.0, {0.5, 1.2});
  wav.markers = {{3, 100, "Kept"}};
  const std::vector<uint8_t> original = nytest::BuildWav(wav);
  const size_t size = original.size();

  {
    // Unhindered, the file gains markers: the cuts below are what makes the runs fail.
    nytest::TempDir dir;
    nytest::WriteFileBytes(dir.Native("take.wav"), original);
    const auto r = nytest::RunTool("onsets --in-place " + nytest::Quote(dir.Native("take.wav")));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    ASSERT_GT(nytest::ReadFileBytes(dir.Native("take.wav")).size(), size);
  }
  // Cuts inside the header, inside the samples, at the end of the copy and inside the markers.
  // The tool inherits the limit; the limit is far above what its own stdout and stderr need.
  for (const size_t cut : {size_t(2048), size / 2, size, size + 40}) {
    for (const bool inPlace : {true, false}) {
      SCOPED_TRACE("cut at " + std::to_string(cut) + (inPlace ? " in place" : " to a copy"));
      nytest::TempDir dir;
      const std::string path = dir.Native("take.wav");
      nytest::WriteFileBytes(path, original);
      nytest::ToolResult r;
      {
        nytest::FileSizeLimit limit(cut);
        ASSERT_TRUE(limit.IsSet());
        r = nytest::RunTool("onsets " + nytest::Quote(path) +
                            (inPlace ? " --in-place" : " --write-cues " + nytest::Quote(dir.Native("out.wav"))));
      }
      EXPECT_EQ(r.exitCode, 1) << r.out;
      EXPECT_EQ(r.ErrLines().size(), 1u) << r.err;
      EXPECT_EQ(nytest::ReadFileBytes(path), original);
      // A copy that could not be finished is not left as the output either.
      EXPECT_EQ(nytest::FolderNames(dir.Native()), std::vector<std::string>{"take.wav"});
    }
  }
}
