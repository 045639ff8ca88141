// nybase watch: prints the changes made in a directory as they happen.
#include "Commands.h"

namespace nybase::tool {

const CommandSpec& WatchSpec() {
  static const CommandSpec cmdSpec{
      "watch",
      "DIR [--json]",
      "print the changes made in a directory until interrupted",
      nullptr,
      {k_jsonOption},
      "  nybase watch ~/takes",
      1,
      1};
  return cmdSpec;
}

int RunWatch(int argc, char** argv) {
  const ParseResult parsed = ParseArgs(WatchSpec(), argc, argv);
  if (!parsed.args) return parsed.exitCode;
  return NotAvailable(WatchSpec(), "watching needs the directory watcher, which is not built yet");
}

}  // namespace nybase::tool
