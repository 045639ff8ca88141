// nybase info: format, length, markers, loop, hash and ADM metadata of WAV files.
#include "Commands.h"

namespace nybase::tool {

const CommandSpec& InfoSpec() {
  static const CommandSpec spec{
      "info",
      "FILE... [--json] [-j N]",
      "show the format, length, markers, loop, hash and ADM objects of WAV files",
      "Prints one block per file (or one JSON object per line with --json), in the order given.",
      {k_jsonOption, k_jobsOption},
      "  nybase info take1.wav take2.wav\n  nybase info --json *.wav > info.jsonl",
      1,
      SIZE_MAX};
  return spec;
}

int RunInfo(int argc, char** argv) {
  const ParseResult parsed = ParseArgs(InfoSpec(), argc, argv);
  if (!parsed.args) return parsed.exitCode;
  unsigned jobs = 0;
  if (!ParseJobs(*parsed.args, jobs)) return UsageError(InfoSpec(), "-j needs a number of jobs from 1 to 1024");
  return NotAvailable(InfoSpec(), "reading WAV files needs the WAV reader, which is not built yet");
}

}  // namespace nybase::tool
