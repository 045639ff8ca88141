// nybase demo: the README's main job runs end to end and its files hold what it reports.
#include <gtest/gtest.h>

#include <sndfile.h>

#include <string>

#include "../support/TestSupport.h"
#include "ToolRunner.h"

namespace {

TEST(ToolDemo, FindsEveryBurstAndReadsTheMarkersBack) {
  nytest::TempDir dir;
  const std::string keep = dir.Native("demo");
  const auto r = nytest::RunTool("demo --keep " + nytest::Quote(keep));
  ASSERT_EQ(r.exitCode, 0) << r.out << r.err;
  EXPECT_EQ(r.err, "");
  EXPECT_NE(r.out.find("8 of 8 bursts found"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("demo passed"), std::string::npos) << r.out;

  // The marked file is a WAV file another library reads, with the eight markers.
  SF_INFO info{};
  SNDFILE* f = sf_open((keep + "/bursts-marked.wav").c_str(), SFM_READ, &info);
  ASSERT_NE(f, nullptr) << sf_strerror(nullptr);
  uint32_t cues = 0;
  EXPECT_EQ(sf_command(f, SFC_GET_CUE_COUNT, &cues, sizeof cues), SF_TRUE);
  EXPECT_EQ(cues, 8u);
  EXPECT_EQ(info.samplerate, 48000);
  sf_close(f);

  // Without --keep the run succeeds and leaves nothing behind in its temporary directory.
  nytest::TempDir tmp;
  EXPECT_EQ(nytest::Run("env TMPDIR=" + nytest::Quote(tmp.Native()) + " " + nytest::Quote(nytest::ToolPath()) +
                        " demo >/dev/null && [ -z \"$(ls -A " + nytest::Quote(tmp.Native()) + ")\" ]"),
            0);
}

}  // namespace
