// Decoding facets for wide text streams: UTF-8 or UTF-16 bytes into UTF-16 units of the BMP.
#pragma once

#include <cwchar>
#include <locale>

namespace lu::detail {

// Input-only conversion of a file's bytes into wchar_t units no larger than 0xFFFF. A byte order
// mark at the very start of the stream is consumed. A character beyond the BMP, an encoded
// surrogate or an ill-formed sequence is a conversion error, which fails the stream's read.
// Writing through these facets is an error.
class BmpCodecvtBase : public std::codecvt<wchar_t, char, std::mbstate_t> {
 public:
  BmpCodecvtBase() : std::codecvt<wchar_t, char, std::mbstate_t>(std::size_t{0}) {}

 protected:
  result do_out(state_type&, const intern_type* from, const intern_type*, const intern_type*& fromNext,
                extern_type* to, extern_type*, extern_type*& toNext) const override {
    fromNext = from;
    toNext = to;
    return error;
  }
  result do_unshift(state_type&, extern_type* to, extern_type*, extern_type*& toNext) const override {
    toNext = to;
    return noconv;
  }
  int do_encoding() const noexcept override { return 0; }
  bool do_always_noconv() const noexcept override { return false; }
  int do_length(state_type& state, const extern_type* from, const extern_type* end,
                size_t max) const override;
};

// UTF-8 (code points up to 0xFFFF, so one to three bytes each); the mark is EF BB BF.
class Utf8BmpCodecvt final : public BmpCodecvtBase {
 protected:
  result do_in(state_type& state, const extern_type* from, const extern_type* fromEnd,
               const extern_type*& fromNext, intern_type* to, intern_type* toEnd,
               intern_type*& toNext) const override;
  int do_max_length() const noexcept override { return 6; }
};

// UTF-16 units; big-endian unless the stream starts with the little-endian mark FF FE (FE FF,
// the big-endian mark, is consumed too). Surrogates are errors: only the BMP is decoded.
class Utf16BmpCodecvt final : public BmpCodecvtBase {
 protected:
  result do_in(state_type& state, const extern_type* from, const extern_type* fromEnd,
               const extern_type*& fromNext, intern_type* to, intern_type* toEnd,
               intern_type*& toNext) const override;
  int do_max_length() const noexcept override { return 4; }
};

}  // namespace lu::detail
