// Fuzz target: StringHelp parsers and GUID text read only their view, and both widths agree.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include <nybase/text/StringHelp.h>

namespace {

// Runs one parser over the narrow bytes and their widened units (exact-size heap copies, so a
// read past the view is caught) and aborts when the widths disagree.
template <typename T, typename Parse>
void Agree(Parse parse, const char* narrow, const wchar_t* wide, size_t size) {
  T a{};
  T b{};
  const bool okA = parse(lu::BasicStringView<char>(narrow, size), a);
  const bool okB = parse(lu::BasicStringView<wchar_t>(wide, size), b);
  if (okA != okB) std::abort();
  if (okA && std::memcmp(&a, &b, sizeof(T)) != 0) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::unique_ptr<char[]> narrow(new char[size ? size : 1]);
  std::unique_ptr<wchar_t[]> wide(new wchar_t[size ? size : 1]);
  for (size_t i = 0; i < size; ++i) {
    narrow[i] = static_cast<char>(data[i]);
    wide[i] = static_cast<wchar_t>(data[i]);  // bytes above 0x7F are refused by both widths
  }
  const char* n = narrow.get();
  const wchar_t* w = wide.get();
  Agree<int8_t>([](auto v, int8_t& o) { return StringHelp::StringToInt8(v, o); }, n, w, size);
  Agree<int32_t>([](auto v, int32_t& o) { return StringHelp::StringToInt32(v, o); }, n, w, size);
  Agree<uint64_t>([](auto v, uint64_t& o) { return StringHelp::StringToUInt64(v, o); }, n, w, size);
  Agree<uint32_t>([](auto v, uint32_t& o) { return StringHelp::HexStringToUInt32(v, o); }, n, w, size);
  Agree<double>([](auto v, double& o) { return StringHelp::StringToDouble(v, o) && o == o; }, n, w, size);
  Agree<float>([](auto v, float& o) { return StringHelp::StringToFloat(v, o) && o == o; }, n, w, size);
  Agree<bool>([](auto v, bool&) { return StringHelp::IsAllDigit(v); }, n, w, size);

  // A text that parses as a GUID prints back as the same text up to case.
  const NyGuid g = StringHelp::ConvertStringToNyGuid(lu::BasicStringView<char>(n, size));
  if (!g.IsNull()) {
    CStdStr<char> text;
    StringHelp::ConvertNyGuidToString(g, text);
    if (text.size() != size || !(StringHelp::ConvertStringToNyGuid(text) == g)) std::abort();
  }

  // Truncation never exceeds its byte limit.
  CStdStr<wchar_t> s(lu::platform::Utf8ToUtf16(n, size));
  const unsigned limit = size ? data[0] : 0;
  StringHelp::TruncateForUTF8(s, limit);
  if (limit != 0 && lu::platform::Utf8LengthOfUtf16(s.data(), s.size()) >= limit) std::abort();
  return 0;
}
