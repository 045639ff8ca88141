// nybase spectrum: the peak-hold spectrum of a WAV file, its strongest frequency, an SVG plot.
#include "Commands.h"

namespace nybase::tool {

const CommandSpec& SpectrumSpec() {
  static const CommandSpec spec{
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
  return spec;
}

int RunSpectrum(int argc, char** argv) {
  const CommandSpec& spec = SpectrumSpec();
  const ParseResult parsed = ParseArgs(spec, argc, argv);
  if (!parsed.args) return parsed.exitCode;
  const Args& args = *parsed.args;
  unsigned long long size = 4096;
  if (const auto s = args.Value("size")) {
    if (!ParseUnsigned(*s, 65536, size) || size < 16 || size % 2 != 0) {
      return UsageError(spec, "--size needs an even number from 16 to 65536, not '" + *s + "'");
    }
  }
  if (const auto w = args.Value("window")) {
    if (*w != "hann" && *w != "hamming" && *w != "triangular") {
      return UsageError(spec, "--window must be hann, hamming or triangular, not '" + *w + "'");
    }
  }
  return NotAvailable(spec, "spectra need the WAV reader and the FFT helper, which are not built yet");
}

}  // namespace nybase::tool
