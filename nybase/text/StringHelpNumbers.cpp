// StringHelp printers: integers, compacted decimals, locale numbers, sizes, type names, joins.
#include <nybase/text/StringHelp.h>

#include <charconv>

#include <fmt/printf.h>
#include <fmt/xchar.h>

#include <nybase/platform/Locale.h>

namespace StringHelp {

namespace {

template <typename CT, typename T>
void PrintDecimal(T value, CStdStr<CT>& out) {
  char buf[24];
  const auto r = std::to_chars(buf, buf + sizeof(buf), value);
  out.assign(buf, r.ptr);
}

}  // namespace

template <typename CT>
void IntToString(int value, CStdStr<CT>& out) {
  PrintDecimal(value, out);
}
template <typename CT>
void Int32ToString(int value, CStdStr<CT>& out) {
  PrintDecimal(value, out);
}
template <typename CT>
void Int64ToString(int64_t value, CStdStr<CT>& out) {
  PrintDecimal(value, out);
}
template <typename CT>
void UInt32ToString(uint32_t value, CStdStr<CT>& out) {
  PrintDecimal(value, out);
}
template <typename CT>
void UInt64ToString(uint64_t value, CStdStr<CT>& out) {
  PrintDecimal(value, out);
}
template <typename CT>
void UIntToString(unsigned int value, CStdStr<CT>& out, bool padSingleDigit) {
  if (padSingleDigit && value < 10) {
    out.assign(2, static_cast<CT>('0'));
    out[1] = static_cast<CT>('0' + value);
  } else {
    PrintDecimal(value, out);
  }
}

template <typename CT>
void CompactNumberString(CStdStr<CT>& text) {
  if (text.size() >= 2 && text.find(static_cast<CT>('.')) != CStdStr<CT>::npos) {
    size_t n = text.size();
    while (n > 0 && text[n - 1] == '0') --n;
    if (n > 0 && text[n - 1] == '.') --n;
    text.resize(n);
  }
  if (text.size() == 2 && text[0] == '-' && text[1] == '0') text.assign(1, static_cast<CT>('0'));
}

CStdStr<wchar_t> FormatNumberString(const CStdStr<wchar_t>& number, unsigned int decimals) {
  static wchar_t s_decimalSep[2] = L".";
  static wchar_t s_thousandSep[2] = L" ";
  const lu::platform::NUMBERFMTW format{decimals, 0, 3, s_decimalSep, s_thousandSep, 1};
  wchar_t buf[128];
  const int n = lu::platform::GetNumberFormatW(lu::platform::k_localeUserDefault, 0, number.c_str(), &format,
                                               buf, 128);
  if (n == 0) return {};
  return CStdStr<wchar_t>(buf);  // cut at the first NUL
}

CStdStr<wchar_t> GetSizeString(int64_t size, bool perSecond, int decimals) {
  struct Unit {
    int64_t below;
    const wchar_t* name;
    float divisor;
  };
  // Each unit starts at 1000 of the unit below, not 1024, on purpose: a value never shows as
  // four integer digits (1000 bytes is "0.98 KB").
  static const Unit k_units[] = {
      {1000, L"Bytes", 1.0f},
      {1024000, L"KB", 1024.0f},
      {1048576000, L"MB", 1048576.0f},
      {1073741824000, L"GB", 1073741824.0f},
      {INT64_MAX, L"TB", 1099511627776.0f},
  };
  size_t u = 0;
  while (u + 1 < std::size(k_units) && size >= k_units[u].below) ++u;

  // A negative count of decimals would make an invalid format; it prints as 0 decimals instead.
  const int places = decimals < 0 ? 0 : decimals;
  const std::wstring valueFormat = u == 0 ? std::wstring(L"%.0f %s") : fmt::sprintf(L"%%.%df %%s", places);
  CStdStr<wchar_t> unit = Localize(k_units[u].name);
  if (perSecond) unit = fmt::sprintf(L"%s/s", unit.c_str());
  const float value = static_cast<float>(size) / k_units[u].divisor;
  return fmt::sprintf(valueFormat, value, unit.c_str());
}

void VectorToString(const std::vector<CStdStr<wchar_t>>& strings, CStdStr<wchar_t>& result,
                    CStdStr<wchar_t> separator) {
  result.clear();
  for (size_t i = 0; i < strings.size(); ++i) {
    if (i != 0) result += separator;
    result += strings[i];
  }
}

template <typename CT>
void VarTypeToString(lu::VariantType type, CStdStr<CT>& out) {
  // The unsigned names start with a capital and the signed ones do not; stored documents use
  // these exact texts.
  const char* name = "";
  switch (type) {
    case lu::VariantType::Int16: name = "int16"; break;
    case lu::VariantType::Int32: name = "int32"; break;
    case lu::VariantType::Real32: name = "Real32"; break;
    case lu::VariantType::Real64: name = "Real64"; break;
    case lu::VariantType::String: name = "string"; break;
    case lu::VariantType::Bool: name = "bool"; break;
    case lu::VariantType::UInt16: name = "Uint16"; break;
    case lu::VariantType::UInt32: name = "Uint32"; break;
    case lu::VariantType::Int64: name = "int64"; break;
    case lu::VariantType::UInt64: name = "Uint64"; break;
    default: break;
  }
  out.assign(name, name + std::char_traits<char>::length(name));
}

#define NYBASE_INSTANTIATE(CT)                                                \
  template void IntToString<CT>(int, CStdStr<CT>&);                           \
  template void Int32ToString<CT>(int, CStdStr<CT>&);                         \
  template void Int64ToString<CT>(int64_t, CStdStr<CT>&);                     \
  template void UInt32ToString<CT>(uint32_t, CStdStr<CT>&);                   \
  template void UInt64ToString<CT>(uint64_t, CStdStr<CT>&);                   \
  template void UIntToString<CT>(unsigned int, CStdStr<CT>&, bool);           \
  template void CompactNumberString<CT>(CStdStr<CT>&);                        \
  template void VarTypeToString<CT>(lu::VariantType, CStdStr<CT>&);
NYBASE_INSTANTIATE(char)
NYBASE_INSTANTIATE(wchar_t)
#undef NYBASE_INSTANTIATE

}  // namespace StringHelp
