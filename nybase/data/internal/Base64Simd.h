// SSSE3/SSE4.1 kernels for the plain middle of base64 text: whole blocks only, the caller does
// the rest (ends, padding, white space, bad characters) with the scalar rules.
#pragma once

#include <cstddef>

namespace NyBase64::detail {

// True when the processor has SSSE3 and SSE4.1 (checked once).
bool SimdAvailable();

// Encodes 12 bytes into 16 characters at a time while 16 input bytes can be read; returns the
// number of input bytes consumed (a multiple of 12). `out` receives 4/3 of that many characters.
size_t EncodeBlocks(const unsigned char* data, size_t size, char* out);
size_t EncodeBlocks(const unsigned char* data, size_t size, wchar_t* out);

// Decodes 16 characters into 12 bytes at a time while more than 16 characters are left and all
// 16 are alphabet characters (by their low 8 bits, bit 7 ignored, as the scalar table reads
// them); returns the number of characters consumed (a multiple of 16).
size_t DecodeBlocks(const wchar_t* text, size_t length, unsigned char* out);

}  // namespace NyBase64::detail
