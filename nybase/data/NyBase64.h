// NyBase64: base64 text (RFC 4648 alphabet, "=" padding, no line breaks) to and from bytes.
#pragma once

#include <vector>

namespace NyBase64 {

// Encodes `size` bytes. `text` is replaced by the characters followed by one zero character that
// is counted in its size (size = text length + 1); a size of 0 gives the single zero.
void Encode(const unsigned char* data, unsigned long long size, std::vector<char>& text);
void Encode(const unsigned char* data, unsigned long long size, std::vector<wchar_t>& text);

// Decodes `length` characters of `text` (pass the length without Encode's trailing zero).
// Space, LF, CR and tab are skipped; a wide character is looked up by its low 8 bits, and the
// alphabet is also recognised with bit 7 set. Any other character outside the alphabet empties
// `data` and ends. The first "=" ends decoding after its group. A final group without padding
// counts as a full group of four (so "QQ" gives three bytes), and white space after the last full
// group adds a group of three zero bytes: this is the format's historical reading, on purpose.
// `data` has no terminator.
void Decode(const wchar_t* text, unsigned long long length, std::vector<char>& data);
void Decode(const wchar_t* text, unsigned long long length, std::vector<unsigned char>& data);

}  // namespace NyBase64
