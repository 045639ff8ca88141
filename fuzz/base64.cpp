// Fuzz target: base64 decoding of any text stays in bounds, and encoding round-trips any bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <nybase/data/NyBase64.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // Each byte as one character (mostly alphabet, white space and padding to reach every branch),
  // and each byte pair as one 16-bit unit (high bytes that the low-byte lookup must ignore).
  std::vector<wchar_t> narrow(data, data + size);
  std::vector<wchar_t> wide;
  for (size_t i = 0; i + 1 < size; i += 2) wide.push_back(static_cast<wchar_t>(data[i] | (data[i + 1] << 8)));
  for (const auto* text : {&narrow, &wide}) {
    std::vector<unsigned char> out;
    NyBase64::Decode(text->data(), text->size(), out);
    if (out.size() > (text->size() + 3) / 4 * 3 + 3) std::abort();
    std::vector<char> chars;
    NyBase64::Decode(text->data(), text->size(), chars);
    if (chars.size() != out.size()) std::abort();
  }
  std::vector<wchar_t> encoded;
  NyBase64::Encode(data, size, encoded);
  std::vector<unsigned char> back;
  NyBase64::Decode(encoded.data(), encoded.size() - 1, back);
  if (back.size() != size || (size > 0 && std::memcmp(back.data(), data, size) != 0)) std::abort();
  return 0;
}
