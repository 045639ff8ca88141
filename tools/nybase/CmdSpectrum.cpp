// nybase spectrum: the peak-hold spectrum of a WAV file, its strongest frequency, an SVG plot.
#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include <nybase/analysis/FFTHelper.h>

#include "AudioInput.h"
#include "Commands.h"
#include "Json.h"
#include "Runner.h"
#include "SpectrumPlot.h"

namespace nybase::tool {
namespace {

// Level below which the highest frequency is no longer counted as present.
constexpr double k_presenceDb = -60.0;

struct Result {
  std::vector<float> db;
  unsigned sampleRate = 0;
  size_t peakBin = 0;
  bool hasPeak = false;
  double peakHz = 0;
  double highestHz = 0;
};

double BinHz(const Result& r, size_t k) { return static_cast<double>(k) * r.sampleRate / (2.0 * r.db.size()); }

}  // namespace

const CommandSpec& SpectrumSpec() {
  static const CommandSpec cmdSpec{
      "spectrum",
      "FILE [--size N] [--window hann|hamming|triangular] [--svg OUT] [--json]",
      "show the spectrum of a WAV file and its strongest frequency",
      "The spectrum is held at its peak over the whole file and given in dB, the peak at 0 dB.\n"
      "--svg OUT draws it on a logarithmic frequency axis, to open in a web browser.",
      {{"size", 'n', "N", "FFT length, even, from 16 to 65536 (default 4096)"},
       {"window", 'w', "NAME", "hann (default), hamming or triangular"},
       {"svg", 0, "OUT", "write a labelled plot as an SVG file"},
       k_jsonOption},
      "  nybase spectrum tone.wav --svg tone.svg",
      1,
      1};
  return cmdSpec;
}

int RunSpectrum(int argc, char** argv) {
  const CommandSpec& cmdSpec = SpectrumSpec();
  const ParseResult parsed = ParseArgs(cmdSpec, argc, argv);
  if (!parsed.args) return parsed.exitCode;
  const Args& args = *parsed.args;
  unsigned long long size = 4096;
  if (const auto s = args.Value("size")) {
    if (!ParseUnsigned(*s, 65536, size) || size < 16 || size % 2 != 0) {
      return UsageError(cmdSpec, "--size needs an even number from 16 to 65536, not '" + *s + "'");
    }
  }
  std::string windowName = args.Value("window").value_or("hann");
  FFTHelper::WindowFunction window = FFTHelper::Hann;
  if (windowName == "hamming") window = FFTHelper::Hamming;
  else if (windowName == "triangular") window = FFTHelper::Triangular;
  else if (windowName != "hann") {
    return UsageError(cmdSpec, "--window must be hann, hamming or triangular, not '" + windowName + "'");
  }
  const bool json = args.Has("json");
  const std::string file = args.Positional()[0];
  const auto svg = args.Value("svg");

  const size_t failed = RunInOrder(cmdSpec.name, 1, 1, [&](size_t, JobProgress& progress) {
    std::string error;
    {
      const auto reader = OpenWav(file, error);
      if (reader) error = CheckSampleFormat(*reader);
    }
    if (!error.empty()) return FailedFile(file, error, json);
    Result r;
    FFTHelper fft(static_cast<unsigned>(size), window);
    if (!fft.GetSpectrum(ToLibraryPath(file), r.db, r.sampleRate, &progress)) {
      return FailedFile(file, "the spectrum could not be computed", json);
    }
    // The strongest bin above 0 Hz (DC is no frequency a person looks for).
    for (size_t k = 1; k < r.db.size(); ++k) {
      if (std::isfinite(r.db[k]) && (!r.hasPeak || r.db[k] > r.db[r.peakBin])) {
        r.peakBin = k;
        r.hasPeak = true;
      }
    }
    r.peakHz = r.hasPeak ? BinHz(r, r.peakBin) : 0;
    r.highestHz = FFTHelper::FindMaximumFrequency(r.db, r.sampleRate, k_presenceDb);

    if (svg) {
      std::ofstream out(*svg, std::ios::binary);
      const std::string text = SpectrumSvg(r.db, r.sampleRate, file, r.peakHz);
      out.write(text.data(), static_cast<std::streamsize>(text.size()));
      out.close();
      if (!out) return FailedFile(file, "cannot write the plot to '" + *svg + "'", json);
    }

    FileOutcome outcome;
    if (json) {
      Json j;
      j.BeginObject().Field("file", file).Field("ok", true).Field("size", static_cast<uint64_t>(size))
          .Field("window", windowName).Field("sampleRate", r.sampleRate)
          .Field("binWidth", static_cast<double>(r.sampleRate) / static_cast<double>(size));
      j.Key("peakFrequency");
      if (r.hasPeak) j.Number(r.peakHz); else j.Null();
      j.Field("highestFrequency", r.highestHz).Field("highestFrequencyThreshold", k_presenceDb);
      j.Key("svg");
      if (svg) j.String(*svg); else j.Null();
      j.Key("levels").BeginArray();
      for (float v : r.db) j.Number(v);
      j.EndArray().EndObject();
      outcome.out = j.Text() + "\n";
    } else {
      char line[256];
      if (r.hasPeak) {
        std::snprintf(line, sizeof line,
                      "%s: strongest frequency %.1f Hz (bin %zu of %zu, %.2f Hz per bin, %s window)\n",
                      file.c_str(), r.peakHz, r.peakBin, r.db.size(),
                      static_cast<double>(r.sampleRate) / static_cast<double>(size), windowName.c_str());
      } else {
        std::snprintf(line, sizeof line, "%s: silent, no strongest frequency\n", file.c_str());
      }
      outcome.out = line;
      std::snprintf(line, sizeof line, "  highest frequency above %.0f dB: %.1f Hz\n", k_presenceDb, r.highestHz);
      outcome.out += line;
      if (svg) outcome.out += "  plot written to " + *svg + "\n";
    }
    return outcome;
  });
  return failed == 0 ? k_exitOk : k_exitFailure;
}

}  // namespace nybase::tool
