// nybase tone: writes a test tone as a WAV file.
#include "Commands.h"

namespace nybase::tool {

const CommandSpec& ToneSpec() {
  static const CommandSpec cmdSpec{
      "tone",
      "OUT [--frequency HZ] [--duration S] [--rate R]",
      "write a test tone as a WAV file",
      nullptr,
      {{"frequency", 'f', "HZ", "tone frequency (default 1000)"},
       {"duration", 'd', "S", "length in seconds (default 1)"},
       {"rate", 'r', "R", "sample rate (default 48000)"}},
      "  nybase tone a440.wav --frequency 440 --duration 2",
      1,
      1};
  return cmdSpec;
}

int RunTone(int argc, char** argv) {
  const ParseResult parsed = ParseArgs(ToneSpec(), argc, argv);
  if (!parsed.args) return parsed.exitCode;
  return NotAvailable(ToneSpec(), "writing tones needs the tone generator, which is not built yet");
}

}  // namespace nybase::tool
