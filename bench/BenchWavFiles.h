// Helpers shared by the WAV benchmarks: a scratch directory and WAV files written block by block.
#pragma once

#include <time.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace nybench {

// CPU seconds of this process (user + system): on a shared machine this is steadier than wall time,
// and it still counts the kernel's copies out of the page cache.
inline double CpuSeconds() {
  timespec ts{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
  return double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
}

inline void Put16(std::vector<uint8_t>& o, uint16_t v) {
  o.push_back(uint8_t(v));
  o.push_back(uint8_t(v >> 8));
}
inline void Put32(std::vector<uint8_t>& o, uint32_t v) {
  for (int i = 0; i < 4; ++i) o.push_back(uint8_t(v >> (8 * i)));
}
inline void PutId(std::vector<uint8_t>& o, const char* id) { o.insert(o.end(), id, id + 4); }

// A directory under /tmp, removed at exit.
inline const std::string& ScratchDir() {
  static const std::string dir = [] {
    char tmpl[] = "/tmp/nybase-bench-XXXXXX";
    const char* made = ::mkdtemp(tmpl);
    return std::string(made ? made : "/tmp");
  }();
  return dir;
}
inline void RemoveScratch() { std::system(("rm -rf " + ScratchDir()).c_str()); }

// fmt + data header of a plain WAVE file (PCM or float tag), with the data size given.
inline std::vector<uint8_t> WavHeader(uint16_t tag, uint16_t channels, uint16_t bits, uint64_t dataBytes,
                                      const std::vector<uint8_t>& chunksBeforeData = {}) {
  std::vector<uint8_t> h;
  PutId(h, "RIFF");
  Put32(h, uint32_t(4 + 24 + chunksBeforeData.size() + 8 + dataBytes));
  PutId(h, "WAVE");
  PutId(h, "fmt ");
  Put32(h, 16);
  Put16(h, tag);
  Put16(h, channels);
  Put32(h, 48000);
  Put32(h, 48000u * channels * bits / 8);
  Put16(h, uint16_t(channels * bits / 8));
  Put16(h, bits);
  h.insert(h.end(), chunksBeforeData.begin(), chunksBeforeData.end());
  PutId(h, "data");
  Put32(h, uint32_t(dataBytes));
  return h;
}

}  // namespace nybench
