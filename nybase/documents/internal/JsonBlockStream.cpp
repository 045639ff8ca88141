// The nesting screen of a JSON block: the depth guard's count, run over the whole block at once.
#include <nybase/documents/internal/JsonBlockStream.h>

#include <array>
#include <cstring>

namespace lu::detail {
namespace {

// Characters that change the count or the state outside strings.
constexpr std::array<bool, 256> MakeStops() {
  std::array<bool, 256> stops{};
  for (unsigned char c : {'"', '[', '{', ']', '}', '/'}) stops[c] = true;
  return stops;
}
constexpr std::array<bool, 256> k_stops = MakeStops();

const char* Find(const char* from, const char* end, char c) {
  return static_cast<const char*>(std::memchr(from, c, static_cast<size_t>(end - from)));
}

}  // namespace

// Follows the guard's states: a quote opens a string, which a quote closes unless it is escaped
// (an odd run of backslashes before it: within a string, backslashes pair up from the first);
// "/*" opens a comment that the first "*/" after it closes, "//" one that a line feed closes; a
// slash followed by anything else takes that character with it, uncounted, as the guard does.
bool NestsDeeperThan(const char* data, size_t size, int limit, bool comments) {
  const char* p = data;
  const char* const end = data + size;
  int depth = 0;
  while (p < end) {
    while (p < end && !k_stops[static_cast<unsigned char>(*p)]) ++p;
    if (p == end) break;
    const char c = *p++;
    if (c == '"') {
      for (;;) {
        const char* quote = Find(p, end, '"');
        if (quote == nullptr) return false;  // the rest of the block is inside the string
        const char* run = quote;
        while (run > p && run[-1] == '\\') --run;
        p = quote + 1;
        if ((quote - run) % 2 == 0) break;
      }
    } else if (c == '[' || c == '{') {
      if (++depth > limit) return true;
    } else if (c == ']' || c == '}') {
      --depth;
    } else if (comments) {  // a slash
      if (p == end) break;
      const char next = *p++;
      if (next == '*') {
        for (;;) {
          const char* star = Find(p, end, '*');
          if (star == nullptr) return false;
          p = star + 1;
          while (p < end && *p == '*') ++p;
          if (p == end) return false;
          if (*p++ == '/') break;
        }
      } else if (next == '/') {
        const char* feed = Find(p, end, '\n');
        if (feed == nullptr) return false;
        p = feed + 1;
      }
    }
  }
  return false;
}

}  // namespace lu::detail
