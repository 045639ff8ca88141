// StringHelp GUID text: the 38-character braced form, printed upper case and parsed in any case.
#include <nybase/text/StringHelp.h>

namespace StringHelp {

namespace {

constexpr char k_hexDigits[] = "0123456789ABCDEF";
// Positions of the four dashes in the braced form.
constexpr size_t k_dashes[] = {9, 14, 19, 24};
constexpr size_t k_textLength = 38;

template <typename CT>
void WriteHex(CT*& p, uint64_t value, int digits) {
  for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4) *p++ = static_cast<CT>(k_hexDigits[(value >> shift) & 0xF]);
}

// Writes the 38 characters and a NUL at index 38.
template <typename CT>
void Print(const NyGuid& g, CT* out) {
  CT* p = out;
  *p++ = '{';
  WriteHex(p, g.Data1, 8);
  *p++ = '-';
  WriteHex(p, g.Data2, 4);
  *p++ = '-';
  WriteHex(p, g.Data3, 4);
  *p++ = '-';
  WriteHex(p, g.Data4[0], 2);
  WriteHex(p, g.Data4[1], 2);
  *p++ = '-';
  for (int i = 2; i < 8; ++i) WriteHex(p, g.Data4[i], 2);
  *p++ = '}';
  *p = 0;
}

template <typename CT>
int HexValue(CT c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Reads the hex digits at [pos, pos + digits); the text was validated beforehand.
template <typename CT>
uint64_t ReadHex(const CT* text, size_t pos, int digits) {
  uint64_t v = 0;
  for (int i = 0; i < digits; ++i) v = (v << 4) | static_cast<uint64_t>(HexValue(text[pos + i]));
  return v;
}

template <typename CT>
void PrintInto(const NyGuid& g, CStdStr<CT>& out) {
  out.resize(k_textLength + 1);
  Print(g, out.data());
  out.resize(k_textLength);
}

}  // namespace

void ConvertNyGuidToString(const NyGuid& guid, CStdStr<char>& out) { PrintInto(guid, out); }
void ConvertNyGuidToString(const NyGuid& guid, CStdStr<wchar_t>& out) { PrintInto(guid, out); }
void ConvertNyGuidToString(const NyGuid& guid, char (&out)[39]) { Print(guid, out); }
void ConvertNyGuidToString(const NyGuid& guid, wchar_t (&out)[39]) { Print(guid, out); }

namespace unsafe {
void ConvertNyGuidToString(const NyGuid& guid, char* out) { Print(guid, out); }
}  // namespace unsafe

template <typename CT>
NyGuid ConvertStringToNyGuid(lu::BasicStringView<CT> text) {
  NyGuid g{};
  if (text.size() != k_textLength) return g;
  const CT* t = text.data();
  if (t[0] != '{' || t[37] != '}') return g;
  for (size_t i = 1; i < 37; ++i) {
    const bool dash = i == k_dashes[0] || i == k_dashes[1] || i == k_dashes[2] || i == k_dashes[3];
    if (dash ? t[i] != '-' : HexValue(t[i]) < 0) return g;
  }
  g.Data1 = static_cast<uint32_t>(ReadHex(t, 1, 8));
  g.Data2 = static_cast<uint16_t>(ReadHex(t, 10, 4));
  g.Data3 = static_cast<uint16_t>(ReadHex(t, 15, 4));
  g.Data4[0] = static_cast<uint8_t>(ReadHex(t, 20, 2));
  g.Data4[1] = static_cast<uint8_t>(ReadHex(t, 22, 2));
  for (int i = 0; i < 6; ++i) g.Data4[2 + i] = static_cast<uint8_t>(ReadHex(t, 25 + 2 * static_cast<size_t>(i), 2));
  return g;
}

template NyGuid ConvertStringToNyGuid<char>(lu::BasicStringView<char>);
template NyGuid ConvertStringToNyGuid<wchar_t>(lu::BasicStringView<wchar_t>);

}  // namespace StringHelp
