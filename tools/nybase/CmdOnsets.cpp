// nybase onsets: onset times of WAV files, optionally written back as labelled cue markers.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include <nybase/analysis/NyOnsetDetector.h>

#include "AudioInput.h"
#include "Commands.h"
#include "CueWriter.h"
#include "Json.h"
#include "Runner.h"

namespace nybase::tool {
namespace {

struct Found {
  unsigned sampleRate = 0;
  unsigned frames = 0;
  double duration = 0;
  bool analysed = false;  // false when the file is too short to analyse
  std::vector<double> times;
  std::string cuesWritten;  // the file the cue markers went to, if any
};

// The shortest source the detector analyses: one hop (a hundredth of a second) plus a window.
unsigned MinimumFrames(unsigned sampleRate) { return sampleRate / 100 + 2048; }

std::string AsText(const std::string& file, const Found& f, double sensitivity) {
  char head[160];
  std::snprintf(head, sizeof head, ": %zu onset%s (sensitivity %g)\n", f.times.size(),
                f.times.size() == 1 ? "" : "s", sensitivity);
  std::string s = file + head;
  if (!f.analysed) {
    s = file + ": too short to analyse (" + std::to_string(f.frames) + " frames, at least " +
        std::to_string(MinimumFrames(f.sampleRate)) + " needed)\n";
  }
  if (!f.cuesWritten.empty()) s += "  cue markers written to " + f.cuesWritten + "\n";
  for (size_t i = 0; i < f.times.size(); ++i) {
    char line[96];
    std::snprintf(line, sizeof line, "  %4zu  %10.4f s  frame %lld\n", i + 1, f.times[i],
                  std::llround(f.times[i] * f.sampleRate));
    s += line;
  }
  return s;
}

std::string AsJson(const std::string& file, const Found& f, double sensitivity) {
  Json j;
  j.BeginObject().Field("file", file).Field("ok", true).Field("sampleRate", f.sampleRate)
      .Field("frames", f.frames).Field("duration", f.duration).Field("sensitivity", sensitivity)
      .Field("analysed", f.analysed);
  j.Key("cuesWritten");
  if (f.cuesWritten.empty()) j.Null(); else j.String(f.cuesWritten);
  j.Key("onsets").BeginArray();
  for (double t : f.times) {
    j.BeginObject().Field("time", t).Field("frame", static_cast<int64_t>(std::llround(t * f.sampleRate))).EndObject();
  }
  j.EndArray().EndObject();
  return j.Text() + "\n";
}

}  // namespace

const CommandSpec& OnsetsSpec() {
  static const CommandSpec cmdSpec{
      "onsets",
      "FILE... [--sensitivity S] [--json] [--write-cues OUT | --in-place] [-j N]",
      "find where sound events begin in WAV files",
      "Prints the onset times in seconds. --sensitivity from 0 to 1 selects among the candidates:\n"
      "1 (the default) keeps every candidate; below 1 the weakest go, and small values keep only\n"
      "those close to the strongest.\n"
      "--write-cues OUT writes a copy of the one FILE with the onsets as cue markers labelled\n"
      "\"Onset 1\", \"Onset 2\", ...; --in-place adds them to each FILE itself, through a temporary\n"
      "file that replaces the original only once complete. Sample data is never changed.",
      {{"sensitivity", 's', "S", "selection from 0 to 1 (default 1: every candidate)"},
       {"write-cues", 0, "OUT", "write FILE with the onsets as cue markers to OUT"},
       {"in-place", 0, nullptr, "add the onsets as cue markers to each FILE"},
       k_jsonOption,
       k_jobsOption},
      "  nybase onsets drums.wav --sensitivity 0.3\n"
      "  nybase onsets drums.wav --write-cues drums-marked.wav",
      1,
      SIZE_MAX};
  return cmdSpec;
}

int RunOnsets(int argc, char** argv) {
  const CommandSpec& cmdSpec = OnsetsSpec();
  const ParseResult parsed = ParseArgs(cmdSpec, argc, argv);
  if (!parsed.args) return parsed.exitCode;
  const Args& args = *parsed.args;
  unsigned jobs = 0;
  if (!ParseJobs(args, jobs)) return UsageError(cmdSpec, "-j needs a number of jobs from 1 to 1024");
  double sensitivity = 1.0;
  if (const auto s = args.Value("sensitivity")) {
    if (!ParseDouble(*s, sensitivity) || !(sensitivity >= 0.0 && sensitivity <= 1.0)) {
      return UsageError(cmdSpec, "--sensitivity needs a number from 0 to 1, not '" + *s + "'");
    }
  }
  if (args.Has("write-cues") && args.Has("in-place")) {
    return UsageError(cmdSpec, "--write-cues and --in-place exclude each other");
  }
  if (args.Has("write-cues") && args.Positional().size() != 1) {
    return UsageError(cmdSpec, "--write-cues takes exactly one FILE");
  }
  const auto cuesTo = args.Value("write-cues");
  const bool inPlace = args.Has("in-place");
  const bool json = args.Has("json");
  const auto& files = args.Positional();
  const size_t failed = RunInOrder(cmdSpec.name, files.size(), jobs, [&](size_t i, JobProgress&) {
    std::string error;
    Found found;
    {
      const auto reader = OpenWav(files[i], error);
      if (reader && (error = CheckSampleFormat(*reader)).empty()) {
        found.sampleRate = reader->GetFormat().nSamplesPerSec;
        found.frames = reader->GetNumFrames();
        found.duration = reader->GetDuration();
      }
    }
    if (!error.empty()) return FailedFile(files[i], error, json);
    found.analysed = found.frames >= MinimumFrames(found.sampleRate);
    if (found.analysed) {
      NyOnsetDetector detector;
      detector.SetSource(ToLibraryPath(files[i]));
      detector.GetMarkerTimes(found.times, static_cast<float>(sensitivity));
    }
    if (cuesTo || inPlace) {
      std::vector<NewCue> cues;
      for (size_t k = 0; k < found.times.size(); ++k) {
        const long long frame = std::llround(found.times[k] * found.sampleRate);
        const unsigned last = found.frames == 0 ? 0 : found.frames - 1;
        cues.push_back({static_cast<unsigned>(std::clamp<long long>(frame, 0, last)), "Onset " + std::to_string(k + 1)});
      }
      const std::string target = inPlace ? files[i] : *cuesTo;
      if (std::string e = AddCues(files[i], target, cues); !e.empty()) return FailedFile(files[i], e, json);
      found.cuesWritten = target;
    }
    return FileOutcome{json ? AsJson(files[i], found, sensitivity) : AsText(files[i], found, sensitivity), {}, true};
  });
  return failed == 0 ? k_exitOk : k_exitFailure;
}

}  // namespace nybase::tool
