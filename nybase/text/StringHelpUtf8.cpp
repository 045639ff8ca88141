// StringHelp UTF-8 <-> wide conversion into callers' buffers, truncation and character counts.
#include <nybase/text/StringHelp.h>

#include <algorithm>
#include <climits>

#include <nybase/platform/Utf.h>

namespace StringHelp {

namespace {

using lu::platform::k_codePageUtf8;

// Bytes that a unit adds to the UTF-8 form of the prefix ending with it, given the unit before:
// a low surrogate that completes a pair turns the lone high surrogate's 3 bytes into 4. These are
// the codec's own rules (unpaired surrogates and non-characters become U+FFFD).
size_t Utf8Growth(wchar_t previous, wchar_t unit, bool hasPrevious) {
  const auto u = static_cast<uint32_t>(unit);
  const auto p = static_cast<uint32_t>(previous);
  if (u >= 0xDC00 && u <= 0xDFFF && hasPrevious && p >= 0xD800 && p <= 0xDBFF) return 1;
  if (u < 0x80) return 1;
  if (u < 0x800) return 2;
  if (u < 0x10000 || u > 0x10FFFF) return 3;
  return 4;
}

}  // namespace

int WCharToUTF8(const wchar_t* text, int length, char* out, int capacity) {
  // With no room even for the NUL there is nothing to write (a zero capacity would otherwise ask
  // the codec for a size and put the NUL before the buffer).
  if (out == nullptr || capacity < 1) return 0;
  const int count = lu::platform::WideCharToMultiByte(k_codePageUtf8, 0, text, length, out, capacity);
  const int n = std::min(capacity - 1, count);
  out[n] = 0;
  return n;
}

int UTF8ToWChar(const char* text, int length, wchar_t* out, int capacity) {
  if (out == nullptr || capacity < 1) return 0;
  const int count = lu::platform::MultiByteToWideChar(k_codePageUtf8, 0, text, length, out, capacity);
  const int n = std::min(capacity - 1, count);
  out[n] = 0;
  return n;
}

char* CStringToUTF8(const CStdStr<wchar_t>& text, char* out, unsigned int capacity) {
  if (out == nullptr || capacity == 0) return nullptr;
  const int limit = static_cast<int>(std::min<unsigned int>(capacity - 1, INT_MAX));
  const int srcLength = static_cast<int>(std::min<size_t>(text.size(), INT_MAX));
  // A limit of 0 asks the codec for the size only: nothing is written and the NUL goes first.
  const int count = lu::platform::WideCharToMultiByte(k_codePageUtf8, 0, text.c_str(), srcLength, out, limit);
  out[std::min(limit, count)] = 0;
  return count == 0 ? nullptr : out;
}

void TruncateForUTF8(CStdStr<wchar_t>& text, unsigned int limitBytes) {
  if (limitBytes == 0) {
    text.clear();
    return;
  }
  // The UTF-8 length of a prefix only grows with the prefix, so the longest prefix of at most
  // limit - 1 units whose length stays below the limit is found in one forward pass.
  const size_t maxUnits = std::min<size_t>(limitBytes - 1, text.size());
  size_t bytes = 0;
  size_t n = 0;
  for (; n < maxUnits; ++n) {
    const size_t grow = Utf8Growth(n > 0 ? text[n - 1] : 0, text[n], n > 0);
    if (bytes + grow >= limitBytes) break;
    bytes += grow;
  }
  text.resize(n);
}

uint64_t CountUTF8Glyphs(const char* text) {
  if (text == nullptr) return 0;
  uint64_t count = 0;
  for (const auto* p = reinterpret_cast<const unsigned char*>(text); *p != 0; ++p) {
    if ((*p & 0xC0) != 0x80) ++count;
  }
  return count;
}

}  // namespace StringHelp
