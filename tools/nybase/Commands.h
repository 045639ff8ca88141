// The tool's commands: each has a description (for help and parsing) and an entry point.
#pragma once

#include "Cli.h"

namespace nybase::tool {

struct Command {
  const CommandSpec& (*cmdSpec)();
  // Runs the command on the arguments that follow its name; returns the exit code.
  int (*run)(int argc, char** argv);
};

#define NYBASE_TOOL_COMMAND(Name)   \
  const CommandSpec& Name##Spec(); \
  int Run##Name(int argc, char** argv);

NYBASE_TOOL_COMMAND(Info)
NYBASE_TOOL_COMMAND(Onsets)
NYBASE_TOOL_COMMAND(Spectrum)
NYBASE_TOOL_COMMAND(Validate)
NYBASE_TOOL_COMMAND(Tone)
NYBASE_TOOL_COMMAND(Midi)
NYBASE_TOOL_COMMAND(Watch)
NYBASE_TOOL_COMMAND(Demo)

#undef NYBASE_TOOL_COMMAND

// Every command, in the order the top-level help lists them.
inline constexpr Command k_commands[] = {
    {InfoSpec, RunInfo},   {OnsetsSpec, RunOnsets}, {SpectrumSpec, RunSpectrum},
    {ValidateSpec, RunValidate}, {ToneSpec, RunTone}, {MidiSpec, RunMidi},
    {WatchSpec, RunWatch}, {DemoSpec, RunDemo},
};

// Options shared by several commands.
inline const OptionSpec k_jsonOption{"json", 0, nullptr,
                                     "print one JSON object per line (see tools/nybase/README.md)"};
inline const OptionSpec k_jobsOption{"jobs", 'j', "N",
                                     "process N files at a time (default: the number of cores)"};

}  // namespace nybase::tool
