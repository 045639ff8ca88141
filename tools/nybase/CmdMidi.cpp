// nybase midi: the tracks and events of a standard MIDI file.
#include "Commands.h"

namespace nybase::tool {

const CommandSpec& MidiSpec() {
  static const CommandSpec cmdSpec{
      "midi",
      "FILE [--json]",
      "show the tracks and events of a standard MIDI file",
      nullptr,
      {k_jsonOption},
      "  nybase midi groove.mid",
      1,
      1};
  return cmdSpec;
}

int RunMidi(int argc, char** argv) {
  const ParseResult parsed = ParseArgs(MidiSpec(), argc, argv);
  if (!parsed.args) return parsed.exitCode;
  return NotAvailable(MidiSpec(), "reading MIDI files needs the MIDI reader, which is not built yet");
}

}  // namespace nybase::tool
