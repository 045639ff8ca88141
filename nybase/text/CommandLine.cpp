// Splitting a Windows command line by the rules of CommandLineToArgvW.
#include <nybase/text/CommandLine.h>

namespace lu {

namespace {

bool IsBlank(wchar_t c) { return c == L' ' || c == L'\t'; }

}  // namespace

std::vector<CStdStr<wchar_t>> SplitCommandLine(const CStdStr<wchar_t>& commandLine) {
  std::vector<CStdStr<wchar_t>> words;
  const size_t n = commandLine.size();
  size_t i = 0;
  while (i < n && IsBlank(commandLine[i])) ++i;
  if (i == n) return words;

  // The program: quotes group, backslashes are plain.
  CStdStr<wchar_t> word;
  bool quoted = false;
  for (; i < n && (quoted || !IsBlank(commandLine[i])); ++i) {
    if (commandLine[i] == L'"') {
      quoted = !quoted;
    } else {
      word += commandLine[i];
    }
  }
  words.push_back(std::move(word));

  for (;;) {
    while (i < n && IsBlank(commandLine[i])) ++i;
    if (i == n) break;
    word.clear();
    quoted = false;
    while (i < n && (quoted || !IsBlank(commandLine[i]))) {
      const wchar_t c = commandLine[i];
      if (c == L'\\') {
        size_t slashes = 0;
        while (i < n && commandLine[i] == L'\\') {
          ++slashes;
          ++i;
        }
        if (i < n && commandLine[i] == L'"') {
          word.append(slashes / 2, L'\\');
          if (slashes % 2 == 1) {
            word += L'"';
            ++i;
          }
        } else {
          word.append(slashes, L'\\');
        }
      } else if (c == L'"') {
        if (quoted && i + 1 < n && commandLine[i + 1] == L'"') {
          word += L'"';
          i += 2;
        } else {
          quoted = !quoted;
          ++i;
        }
      } else {
        word += c;
        ++i;
      }
    }
    words.push_back(word);
  }
  return words;
}

}  // namespace lu
