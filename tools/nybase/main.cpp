// nybase: the command-line face of the library (exit 0 success, 1 failure, 2 usage).
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include <nybase/NYBase.h>

#include "Commands.h"

namespace {

using namespace nybase::tool;

std::string TopLevelUsage() {
  std::string s =
      "usage: nybase [--help] [--version] <command> [args]\n"
      "\n"
      "NYBase reads and edits WAV files, finds onsets and spectra, and validates documents.\n"
      "\n"
      "commands:\n";
  for (const Command& c : k_commands) {
    std::string left = std::string("  ") + c.cmdSpec().name;
    left.resize(14, ' ');
    s += left + c.cmdSpec().summary + "\n";
  }
  s +=
      "\n"
      "options:\n"
      "  --help       show this help and exit ('nybase <command> --help' for a command)\n"
      "  --version    print the library version and exit\n"
      "\n"
      "Exit codes: 0 success, 1 failure (a file could not be processed), 2 usage error.\n"
      "\n"
      "example:\n"
      "  nybase info take1.wav take2.wav\n";
  return s;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fputs(TopLevelUsage().c_str(), stderr);
    return k_exitUsage;
  }
  const std::string_view arg = argv[1];
  if (arg == "--help" || arg == "-h" || arg == "help") {
    std::fputs(TopLevelUsage().c_str(), stdout);
    return k_exitOk;
  }
  if (arg == "--version") {
    std::printf("nybase %s\n", NYBASE_VERSION_STRING);
    return k_exitOk;
  }
  for (const Command& c : k_commands) {
    if (arg == c.cmdSpec().name) return c.run(argc - 2, argv + 2);
  }
  std::fprintf(stderr, "nybase: unknown command '%s' (try 'nybase --help')\n", argv[1]);
  return k_exitUsage;
}
