// Inputs the fuzz targets found harmful, reduced to their cause: each is opened the way the
// target did and must neither crash nor allocate what the file only claims to hold.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <string>

#include "ChunkTestSupport.h"

using namespace nytest;

namespace {

// Runs `body` in a child process whose address space may grow by at most `extraBytes` beyond
// what it has at the start; true when the child finished normally. A size believed from a file
// and allocated at once makes the child fail (out of memory) instead of going unnoticed.
bool RunsInBoundedMemory(const std::function<void()>& body, unsigned long long extraBytes) {
  const pid_t child = ::fork();
  if (child < 0) return false;
  if (child == 0) {
    unsigned long long vmKiB = 0;
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
      if (line.rfind("VmSize:", 0) == 0) vmKiB = std::stoull(line.substr(7));
    }
    const rlimit limit{vmKiB * 1024 + extraBytes, RLIM_INFINITY};
    if (vmKiB == 0 || ::setrlimit(RLIMIT_AS, &limit) != 0) ::_exit(3);
    body();
    ::_exit(0);
  }
  int status = 0;
  if (::waitpid(child, &status, 0) != child) return false;
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

constexpr unsigned long long k_room = 512ull << 20;

const Bytes k_fmt = Chunk("fmt ", FmtPayload(1, 1, 8000, 8));
const Bytes k_data = Chunk("data", Bytes{1, 2, 3, 4, 5});

}  // namespace

TEST(FuzzRegression, ClaimedChunkContentsAreNotAllocatedBeforeTheyAreRead) {
  Bytes hugeCount = Header("cue ", 0xFFFFFF4Cu);
  PutU32(hugeCount, 0xFFFFFFFFu);  // records claimed
  hugeCount.insert(hugeCount.end(), 30, 0xFF);  // one whole record and a part of another
  // Sizes near 4 GiB that still end inside 32 bits, so the chunk scan takes them.
  Bytes hugeLabel = Header("LIST", 0xFFFFFE00u);
  PutFourCC(hugeLabel, "adtl");
  const Bytes label = Header("labl", 0xFFFFFD00u);
  hugeLabel.insert(hugeLabel.end(), label.begin(), label.end());
  PutU32(hugeLabel, 1);
  hugeLabel.insert(hugeLabel.end(), {'a', 'b', 'c'});
  const struct {
    const char* name;
    Bytes file;
    size_t cues;      // records present, a partial last one counted
    size_t labelSize; // bytes of the first label really present
  } cases[] = {
      {"cue count and size near 4 GiB", Riff(Concat({k_fmt, k_data, hugeCount})), 2, 0},
      {"label size near 4 GiB", Riff(Concat({k_fmt, k_data, hugeLabel})), 0, 3},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    TempDir dir;
    Store(dir, "f.wav", c.file);
    const lu::Path path(dir.Wide("f.wav"));
    EXPECT_TRUE(RunsInBoundedMemory(
        [&] {
          NyWavFile wav;
          wav.Open(path, false);
        },
        k_room));
    // What is really there is still read.
    NyWavFile wav;
    ASSERT_TRUE(wav.Open(path, false));
    std::vector<WAV_CUE> cues;
    wav.GetCueChunk().GetCuesVector(cues);
    EXPECT_EQ(cues.size(), c.cues);
    if (c.labelSize != 0) {
      ASSERT_EQ(wav.GetListChunk().GetLabels().size(), 1u);
      EXPECT_EQ(wav.GetListChunk().GetLabels()[0].dwSize, c.labelSize);
    }
  }
}
