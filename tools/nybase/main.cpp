// nybase: the command-line face of the library (exit 0 success, 1 failure, 2 usage).
#include <cstdio>
#include <cstring>
#include <string_view>

#include <nybase/NYBase.h>

namespace {

constexpr const char* k_usage =
    "usage: nybase [--help] [--version] <command> [args]\n"
    "\n"
    "NYBase reads and edits WAV files, finds onsets and spectra, and validates documents.\n"
    "\n"
    "options:\n"
    "  --help       show this help and exit\n"
    "  --version    print the library version and exit\n";

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fputs(k_usage, stderr);
    return 2;
  }
  const std::string_view arg = argv[1];
  if (arg == "--help" || arg == "-h" || arg == "help") {
    std::fputs(k_usage, stdout);
    return 0;
  }
  if (arg == "--version") {
    std::printf("nybase %s\n", NYBASE_VERSION_STRING);
    return 0;
  }
  std::fprintf(stderr, "nybase: unknown command '%s' (try --help)\n", argv[1]);
  return 2;
}
