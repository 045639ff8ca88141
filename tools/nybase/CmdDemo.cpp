// nybase demo: makes a burst train, finds its onsets, stores them as cue markers, reads them back.
#include "Commands.h"

namespace nybase::tool {

const CommandSpec& DemoSpec() {
  static const CommandSpec spec{
      "demo",
      "[--keep DIR]",
      "run the library end to end on a burst train it makes itself",
      "Writes a WAV file of noise bursts at known times into a temporary directory, finds the\n"
      "onsets, writes them as cue markers, reads them back and compares them with the known\n"
      "times. Exits 0 only if every burst was found.",
      {{"keep", 0, "DIR", "write the files into DIR and keep them"}},
      "  nybase demo",
      0,
      0};
  return spec;
}

int RunDemo(int argc, char** argv) {
  const ParseResult parsed = ParseArgs(DemoSpec(), argc, argv);
  if (!parsed.args) return parsed.exitCode;
  return NotAvailable(DemoSpec(), "the demo needs the WAV writer, the WAV reader and the onset detector, which are not all built yet");
}

}  // namespace nybase::tool
