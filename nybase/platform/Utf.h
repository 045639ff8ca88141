// The UTF-8 <-> UTF-16 codec behind every text boundary (wide strings hold UTF-16 code units).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace lu::platform {

// The only code page the codec knows (UTF-8); any other fails with k_errorInvalidParameter.
inline constexpr unsigned k_codePageUtf8 = 65001;

// The flags that make ill-formed input a failure (k_errorNoUnicodeTranslation) instead of U+FFFD.
inline constexpr uint32_t k_wcErrInvalidChars = 0x80;
inline constexpr uint32_t k_mbErrInvalidChars = 0x8;

// Converts UTF-16 units (one per wchar_t) to UTF-8, with the contract of the Windows call of the
// same name for code page 65001:
// - flags 0 or k_wcErrInvalidChars; any other flag fails with k_errorInvalidFlags. defaultChar
//   and usedDefaultChar must be null (k_errorInvalidParameter otherwise), as for code page 65001.
// - srcLen -1 converts up to and including the terminating NUL (counted in the result);
//   srcLen 0 or below -1, or a null src, fails with k_errorInvalidParameter.
// - dstCap 0 returns the size needed without writing.
// - Lone surrogates (and units that are no Unicode scalar value) become U+FFFD; with
//   k_wcErrInvalidChars the call fails with k_errorNoUnicodeTranslation instead.
// - A dst that is too small fails: returns 0 with k_errorInsufficientBuffer (dst may hold a
//   partial result).
// Returns the number of bytes written (or needed); 0 on failure, with the last error set.
int WideCharToMultiByte(unsigned codePage, uint32_t flags, const wchar_t* src, int srcLen, char* dst,
                        int dstCap, const char* defaultChar = nullptr, int* usedDefaultChar = nullptr) noexcept;

// Converts UTF-8 to UTF-16 units, with the same conventions as WideCharToMultiByte (the strict
// flag being k_mbErrInvalidChars). Each maximal ill-formed subsequence (overlong forms, encoded
// surrogates, truncated sequences, stray continuation bytes) becomes one U+FFFD.
int MultiByteToWideChar(unsigned codePage, uint32_t flags, const char* src, int srcLen, wchar_t* dst,
                        int dstCap) noexcept;

// Allocating helpers over the two calls for texts of any length. Both never fail: ill-formed
// input is replaced by U+FFFD as above.
std::wstring Utf8ToUtf16(const char* src, size_t len);
std::string Utf16ToUtf8(const wchar_t* src, size_t len);

// Size in bytes of the UTF-8 form of the given UTF-16 units (no terminator counted).
size_t Utf8LengthOfUtf16(const wchar_t* src, size_t len) noexcept;

}  // namespace lu::platform
