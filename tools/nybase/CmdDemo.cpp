// nybase demo: makes a burst train, finds its onsets, stores them as cue markers, reads them back.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <nybase/analysis/NyOnsetDetector.h>
#include <nybase/audio/NyWavFileWriter.h>
#include <nybase/audio/RiffChunks.h>
#include <nybase/audio/WaveFormat.h>

#include "AudioInput.h"
#include "BurstTrain.h"
#include "Commands.h"
#include "CueWriter.h"

namespace nybase::tool {
namespace {

// A detected onset within this distance of a burst's start counts as finding it. The detector
// works on 10 ms hops with a 2048-frame window, so its times sit a hop or so before the attack.
constexpr double k_toleranceSeconds = 0.025;

// The demo's input, written by the library's WAV writer: 16-bit PCM in the published extensible
// format, which every WAV reader takes.
std::string WriteInput(const std::string& path, BurstTrain& train) {
  WAVEFORMATEXTENSIBLE format{};
  format.Format.wFormatTag = WAVE_FORMAT_EXTENSIBLE;
  format.Format.nChannels = static_cast<uint16_t>(train.channels);
  format.Format.nSamplesPerSec = train.sampleRate;
  format.Format.nBlockAlign = static_cast<uint16_t>(train.channels * 2);
  format.Format.nAvgBytesPerSec = train.sampleRate * format.Format.nBlockAlign;
  format.Format.wBitsPerSample = 16;
  format.Format.cbSize = 22;
  format.Samples.wValidBitsPerSample = 16;
  format.dwChannelMask = train.channels == 1 ? 0x4 : 0x3;
  format.SubFormat = KSDATAFORMAT_SUBTYPE_PCM;

  NyWavFileWriter writer;
  if (!writer.Open(ToLibraryPath(path), false)) return "cannot create '" + path + "'";
  writer.SetFormat(format);
  const auto frames = static_cast<unsigned>(train.samples.size() / train.channels);
  const bool ok = writer.WriteChunks(ChunkFlag_Fmt | ChunkFlag_Data) &&
                  writer.WriteReal32AsPCMData(frames, train.samples.data());
  if (!writer.Close() || !ok) return "cannot write '" + path + "' (disk full?)";
  return {};
}

std::string Label(const NY_WAVE_MARKER& m) {
  if (m.strLabel == nullptr) return {};
  return std::string(m.strLabel, ::strnlen(m.strLabel, m.dwLabelSize));
}

}  // namespace

const CommandSpec& DemoSpec() {
  static const CommandSpec cmdSpec{
      "demo",
      "[--keep DIR]",
      "run the library end to end on a burst train it makes itself",
      "Writes a WAV file of noise bursts at known times into a temporary directory, finds the\n"
      "onsets, writes them as cue markers, reads them back and compares them with the known\n"
      "times. Exits 0 only if every burst was found and every marker read back.",
      {{"keep", 0, "DIR", "write the files into DIR (created if needed) and keep them"}},
      "  nybase demo",
      0,
      0};
  return cmdSpec;
}

int RunDemo(int argc, char** argv) {
  const CommandSpec& cmdSpec = DemoSpec();
  const ParseResult parsed = ParseArgs(cmdSpec, argc, argv);
  if (!parsed.args) return parsed.exitCode;

  std::string dir;
  const auto keep = parsed.args->Value("keep");
  if (keep) {
    dir = *keep;
    if (::mkdir(dir.c_str(), 0777) != 0 && errno != EEXIST) {
      PrintError(cmdSpec, dir + ": " + std::strerror(errno));
      return k_exitFailure;
    }
  } else {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/nybase-demo-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) {
      PrintError(cmdSpec, "cannot make a temporary directory: " + std::string(std::strerror(errno)));
      return k_exitFailure;
    }
    dir = pattern;
  }
  const std::string input = dir + "/bursts.wav";
  const std::string marked = dir + "/bursts-marked.wav";
  auto cleanup = [&] {
    if (keep) return;
    std::remove(input.c_str());
    std::remove(marked.c_str());
    ::rmdir(dir.c_str());
  };
  auto fail = [&](const std::string& message) {
    PrintError(cmdSpec, message);
    cleanup();
    return k_exitFailure;
  };

  // 1. The input: bursts at known times.
  BurstTrain train = MakeBurstTrain(48000, 1);
  std::printf("1. wrote %zu noise bursts over %.1f s at %u Hz to %s\n", train.onsets.size(),
              static_cast<double>(train.samples.size()) / train.channels / train.sampleRate, train.sampleRate,
              input.c_str());
  if (std::string e = WriteInput(input, train); !e.empty()) return fail(e);

  // 2. Onsets, through the reader and the detector.
  std::vector<double> found;
  {
    NyOnsetDetector detector;
    detector.SetSource(ToLibraryPath(input));
    detector.GetMarkerTimes(found, 1.0f);
  }
  std::printf("2. found %zu onsets\n", found.size());

  // 3. The onsets as cue markers, through the chunk classes, in a copy of the input.
  std::vector<NewCue> cues;
  for (size_t i = 0; i < found.size(); ++i) {
    cues.push_back({static_cast<unsigned>(std::llround(found[i] * train.sampleRate)), "Onset " + std::to_string(i + 1)});
  }
  if (std::string e = AddCues(input, marked, cues); !e.empty()) return fail(marked + ": " + e);
  std::printf("3. wrote them as cue markers to %s\n", marked.c_str());

  // 4. Read back through the reader.
  std::string error;
  const auto reader = OpenWav(marked, error);
  if (!reader) return fail(marked + ": " + error);
  const std::vector<NY_WAVE_MARKER>& markers = reader->GetMarkers();
  std::printf("4. read back %zu cue markers\n\n", markers.size());

  std::printf("  burst  expected (s)  found (s)  error (ms)  marker read back\n");
  size_t matched = 0;
  for (size_t b = 0; b < train.onsets.size(); ++b) {
    const double want = train.onsets[b];
    size_t best = found.size();
    for (size_t i = 0; i < found.size(); ++i) {
      if (best == found.size() || std::fabs(found[i] - want) < std::fabs(found[best] - want)) best = i;
    }
    const bool hit = best < found.size() && std::fabs(found[best] - want) <= k_toleranceSeconds;
    std::string back = "-";
    bool backOk = false;
    if (hit) {
      const std::string label = "Onset " + std::to_string(best + 1);
      for (const NY_WAVE_MARKER& m : markers) {
        if (Label(m) == label && m.dwPosition == cues[best].frame) {
          back = label + " at frame " + std::to_string(m.dwPosition);
          backOk = true;
        }
      }
    }
    if (hit && backOk) ++matched;
    if (hit) {
      std::printf("  %5zu  %12.4f  %9.4f  %+10.1f  %s\n", b + 1, want, found[best], (found[best] - want) * 1000.0,
                  back.c_str());
    } else {
      std::printf("  %5zu  %12.4f  %9s  %10s  %s\n", b + 1, want, "missed", "-", back.c_str());
    }
  }
  const bool extra = found.size() != train.onsets.size();
  std::printf("\n%zu of %zu bursts found within %.0f ms and read back as markers%s\n", matched,
              train.onsets.size(), k_toleranceSeconds * 1000,
              extra ? (", " + std::to_string(found.size()) + " onsets reported in all").c_str() : "");
  if (keep) std::printf("files kept in %s\n", dir.c_str());
  cleanup();
  if (matched != train.onsets.size() || extra) {
    PrintError(cmdSpec, "FAILED: not every burst was found exactly once");
    return k_exitFailure;
  }
  std::printf("demo passed\n");
  return k_exitOk;
}

}  // namespace nybase::tool
