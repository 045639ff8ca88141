// NyBase64: table-driven encoding and the tolerant group-wise decoding.
#include <nybase/data/NyBase64.h>

#include <nybase/data/internal/Base64Simd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace NyBase64 {

namespace {

constexpr char k_alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr uint8_t k_bad = 0xFE;
constexpr uint8_t k_pad = 0xFF;

// 0xFE everywhere, the value of each alphabet character at its code and at its code with bit 7
// set, 0xFF at "=" (0x3D and 0xBD). Built at compile time, so concurrent first users share one
// constant instead of racing to fill a table.
constexpr std::array<uint8_t, 256> MakeDecodeTable() {
  std::array<uint8_t, 256> table{};
  for (auto& entry : table) entry = k_bad;
  for (uint8_t i = 0; i < 64; ++i) {
    const auto c = static_cast<uint8_t>(k_alphabet[i]);
    table[c] = i;
    table[c | 0x80] = i;
  }
  table['='] = k_pad;
  table['=' | 0x80] = k_pad;
  return table;
}
constexpr std::array<uint8_t, 256> k_decode = MakeDecodeTable();

// Two output characters for each 12-bit half of a 3-byte group.
constexpr std::array<uint16_t, 4096> MakePairTable() {
  std::array<uint16_t, 4096> table{};
  for (int i = 0; i < 4096; ++i) {
    table[static_cast<std::size_t>(i)] = static_cast<uint16_t>(static_cast<uint8_t>(k_alphabet[i >> 6]) |
                                                          (static_cast<uint8_t>(k_alphabet[i & 63]) << 8));
  }
  return table;
}
constexpr std::array<uint16_t, 4096> k_pairs = MakePairTable();

// The decode values already shifted into place for each position of a group, with bit 31 set
// for anything that is not an alphabet character: one OR tells whether a group is plain.
constexpr uint32_t k_notAlphabet = 0x80000000u;
constexpr std::array<uint32_t, 256> MakeShiftedTable(int shift) {
  std::array<uint32_t, 256> table{};
  for (int c = 0; c < 256; ++c) {
    const uint8_t v = k_decode[static_cast<std::size_t>(c)];
    table[static_cast<std::size_t>(c)] = v < 64 ? static_cast<uint32_t>(v) << shift : k_notAlphabet;
  }
  return table;
}
constexpr std::array<uint32_t, 256> k_shift18 = MakeShiftedTable(18);
constexpr std::array<uint32_t, 256> k_shift12 = MakeShiftedTable(12);
constexpr std::array<uint32_t, 256> k_shift6 = MakeShiftedTable(6);
constexpr std::array<uint32_t, 256> k_shift0 = MakeShiftedTable(0);

template <typename CT>
void EncodeTo(const unsigned char* data, unsigned long long size, std::vector<CT>& text) {
  text.resize(static_cast<std::size_t>((size + 2) / 3 * 4 + 4));
  CT* out = text.data();
  unsigned long long i = detail::EncodeBlocks(data, static_cast<std::size_t>(size), out);
  out += i / 3 * 4;
  for (; i + 3 <= size; i += 3) {
    const uint32_t v = (static_cast<uint32_t>(data[i]) << 16) | (static_cast<uint32_t>(data[i + 1]) << 8) | data[i + 2];
    const uint16_t hi = k_pairs[v >> 12];
    const uint16_t lo = k_pairs[v & 0xFFF];
    if constexpr (sizeof(CT) == 1) {
      // Little-endian: the pair table holds the first character in its low byte.
      const uint32_t four = static_cast<uint32_t>(hi) | (static_cast<uint32_t>(lo) << 16);
      std::memcpy(out, &four, 4);
    } else {
      out[0] = static_cast<CT>(hi & 0xFF);
      out[1] = static_cast<CT>(hi >> 8);
      out[2] = static_cast<CT>(lo & 0xFF);
      out[3] = static_cast<CT>(lo >> 8);
    }
    out += 4;
  }
  const unsigned long long left = size - i;
  if (left > 0) {
    const uint32_t b0 = data[i];
    const uint32_t b1 = left == 2 ? data[i + 1] : 0;
    out[0] = static_cast<CT>(k_alphabet[b0 >> 2]);
    out[1] = static_cast<CT>(k_alphabet[((b0 & 3) << 4) | (b1 >> 4)]);
    out[2] = left == 2 ? static_cast<CT>(k_alphabet[(b1 & 15) << 2]) : static_cast<CT>('=');
    out[3] = static_cast<CT>('=');
    out += 4;
  }
  *out++ = 0;
  text.resize(static_cast<std::size_t>(out - text.data()));
}

bool IsSkipped(wchar_t c) { return c == L' ' || c == L'\n' || c == L'\r' || c == L'\t'; }

template <typename BT>
void DecodeTo(const wchar_t* text, unsigned long long length, std::vector<BT>& data) {
  data.resize(static_cast<std::size_t>((length + 3) / 4 * 3 + 4));
  BT* const begin = data.data();
  BT* out = begin;
  unsigned long long pos = 0;
  bool padded = false;
  while (pos < length && !padded) {
    const std::size_t blocks =
        detail::DecodeBlocks(text + pos, static_cast<std::size_t>(length - pos), reinterpret_cast<unsigned char*>(out));
    pos += blocks;
    out += blocks / 16 * 12;
    // Fast path: four alphabet characters with more input behind them form a full group.
    while (length - pos > 4) {
      const uint32_t v = k_shift18[text[pos] & 0xFF] | k_shift12[text[pos + 1] & 0xFF] |
                         k_shift6[text[pos + 2] & 0xFF] | k_shift0[text[pos + 3] & 0xFF];
      if (v & k_notAlphabet) break;
      out[0] = static_cast<BT>(v >> 16);
      out[1] = static_cast<BT>(v >> 8);
      out[2] = static_cast<BT>(v);
      out += 3;
      pos += 4;
    }
    uint8_t group[4] = {0, 0, 0, 0};
    int count = 0;
    while (pos < length && count < 4) {
      const wchar_t ch = text[pos++];
      if (IsSkipped(ch)) continue;
      // Only the low 8 bits are looked up: a wide character is never refused for its high byte.
      const uint8_t value = k_decode[static_cast<uint32_t>(ch) & 0xFF];
      if (value == k_bad) {
        data.clear();
        return;
      }
      if (value == k_pad) padded = true;
      group[count++] = value;
    }
    // The count plays no part: a short last group counts as four, less one for each trailing
    // padding entry (on purpose, so "QQ" gives three bytes).
    int significant = 4;
    if (group[3] == k_pad) {
      group[3] = 0;
      --significant;
      if (group[2] == k_pad) {
        group[2] = 0;
        --significant;
      }
    }
    out[0] = static_cast<BT>(static_cast<uint8_t>((group[0] << 2) | ((group[1] >> 4) & 0x03)));
    out[1] = static_cast<BT>(static_cast<uint8_t>((group[1] << 4) | ((group[2] >> 2) & 0x0F)));
    out[2] = static_cast<BT>(static_cast<uint8_t>((group[2] << 6) | (group[3] & 0x3F)));
    out += significant * 6 / 8;
  }
  data.resize(static_cast<std::size_t>(out - begin));
}

}  // namespace

void Encode(const unsigned char* data, unsigned long long size, std::vector<char>& text) { EncodeTo(data, size, text); }
void Encode(const unsigned char* data, unsigned long long size, std::vector<wchar_t>& text) {
  EncodeTo(data, size, text);
}
void Decode(const wchar_t* text, unsigned long long length, std::vector<char>& data) { DecodeTo(text, length, data); }
void Decode(const wchar_t* text, unsigned long long length, std::vector<unsigned char>& data) {
  DecodeTo(text, length, data);
}

}  // namespace NyBase64
