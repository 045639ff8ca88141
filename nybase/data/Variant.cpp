// lu::Variant: value semantics, type widths and the conversion between types.
#include <nybase/data/Variant.h>

#include <cfloat>
#include <cmath>
#include <cwchar>
#include <limits>

#include <fmt/xchar.h>

#include <nybase/data/internal/VariantDetail.h>
#include <nybase/text/StringHelp.h>

namespace lu {

namespace detail {

bool IsVariantType(VariantType type) {
  switch (type) {
    case VariantType::Empty:
    case VariantType::Int16:
    case VariantType::Int32:
    case VariantType::Real32:
    case VariantType::Real64:
    case VariantType::String:
    case VariantType::Bool:
    case VariantType::Int8:
    case VariantType::UInt8:
    case VariantType::UInt16:
    case VariantType::UInt32:
    case VariantType::Int64:
    case VariantType::UInt64:
      return true;
  }
  return false;
}

const wchar_t* StringText(const Variant& v, size_t& length) {
  const wchar_t* p = v.m_value.str;
  if (p == nullptr) {
    length = 0;
    return L"";
  }
  // The owned string's own length keeps embedded NULs; a foreign pointer is read to its NUL.
  length = (v.m_pString != nullptr && p == v.m_pString->c_str()) ? v.m_pString->size() : std::wcslen(p);
  return p;
}

}  // namespace detail

namespace {

using detail::StringText;

// Integer types and Bool (an unsigned byte here): payload width in bytes and signedness.
struct IntegerInfo {
  int bytes;
  bool isSigned;
  int64_t low;    // the smallest value the type holds
  uint64_t high;  // the largest value the type holds
};

bool GetIntegerInfo(VariantType type, IntegerInfo& info) {
  switch (type) {
    case VariantType::Int8: info = {1, true, INT8_MIN, INT8_MAX}; return true;
    case VariantType::Int16: info = {2, true, INT16_MIN, INT16_MAX}; return true;
    case VariantType::Int32: info = {4, true, INT32_MIN, INT32_MAX}; return true;
    case VariantType::Int64: info = {8, true, INT64_MIN, INT64_MAX}; return true;
    case VariantType::Bool:
    case VariantType::UInt8: info = {1, false, 0, UINT8_MAX}; return true;
    case VariantType::UInt16: info = {2, false, 0, UINT16_MAX}; return true;
    case VariantType::UInt32: info = {4, false, 0, UINT32_MAX}; return true;
    case VariantType::UInt64: info = {8, false, 0, UINT64_MAX}; return true;
    default: return false;
  }
}

// The integer (or Bool) payload as 64-bit two's-complement bits, and whether it is negative.
uint64_t ReadIntegerBits(const Variant& v, bool& negative) {
  int64_t s = 0;
  uint64_t u = 0;
  bool isSigned = true;
  switch (v.m_type) {
    case VariantType::Int8: s = v.m_value.i8; break;
    case VariantType::Int16: s = v.m_value.i16; break;
    case VariantType::Int32: s = v.m_value.i32; break;
    case VariantType::Int64: s = v.m_value.i64; break;
    case VariantType::Bool: u = v.m_value.b; isSigned = false; break;
    case VariantType::UInt8: u = v.m_value.u8; isSigned = false; break;
    case VariantType::UInt16: u = v.m_value.u16; isSigned = false; break;
    case VariantType::UInt32: u = v.m_value.u32; isSigned = false; break;
    default: u = v.m_value.u64; isSigned = false; break;
  }
  negative = isSigned && s < 0;
  return isSigned ? static_cast<uint64_t>(s) : u;
}

// The payload for an integer type from the low bits of a 64-bit pattern; the rest is zero.
Variant::Payload IntegerPayload(VariantType type, uint64_t bits) {
  Variant::Payload p;
  p.u64 = 0;
  switch (type) {
    case VariantType::Int8:
    case VariantType::UInt8: p.u8 = static_cast<uint8_t>(bits); break;
    case VariantType::Int16:
    case VariantType::UInt16: p.u16 = static_cast<uint16_t>(bits); break;
    case VariantType::Int32:
    case VariantType::UInt32: p.u32 = static_cast<uint32_t>(bits); break;
    default: p.u64 = bits; break;
  }
  return p;
}

// What the processor's truncating conversions give: the "integer indefinite" pattern for NaN
// and for values outside the integer's range, so that no conversion here is undefined.
uint32_t TruncateToInt32Bits(double r) {
  if (!(r >= -2147483648.0 && r <= 2147483647.0)) return 0x80000000u;
  return static_cast<uint32_t>(static_cast<int32_t>(r));
}
uint64_t TruncateToInt64Bits(double r) {
  if (!(r >= -9223372036854775808.0 && r < 9223372036854775808.0)) return 0x8000000000000000ull;
  return static_cast<uint64_t>(static_cast<int64_t>(r));
}

// Real to integer target: fails below low or at/above high, else rounds half away from zero.
// NaN passes both tests on purpose and stores the processor's invalid-conversion pattern.
bool RealToInteger(double x, VariantType target, Variant::Payload& out) {
  double low = 0;
  double high = 0;
  bool via32 = true;
  switch (target) {
    case VariantType::Int8: low = -128.5; high = 127.5; break;
    case VariantType::Int16: low = -32768.5; high = 32767.5; break;
    case VariantType::Int32: low = -2147483648.5; high = 2147483647.5; break;
    case VariantType::Int64: low = -9223372036854775808.0; high = 9223372036854775808.0; via32 = false; break;
    case VariantType::UInt8: low = -0.5; high = 255.5; break;
    case VariantType::UInt16: low = -0.5; high = 65535.5; break;
    case VariantType::UInt32: low = -0.5; high = 4294967295.5; via32 = false; break;
    case VariantType::UInt64: low = -0.5; high = 18446744073709551616.0; via32 = false; break;
    default: return false;
  }
  if (x < low || x >= high) return false;
  const double r = std::round(x);
  uint64_t bits = 0;
  if (via32) {
    bits = TruncateToInt32Bits(r);
  } else if (target == VariantType::UInt64 && r >= 9223372036854775808.0) {
    bits = TruncateToInt64Bits(r - 9223372036854775808.0) ^ 0x8000000000000000ull;
  } else {
    bits = TruncateToInt64Bits(r);
  }
  // -128.5 to Int8 rounds to -129 and keeps its low byte, 127: on purpose, the bound is inclusive.
  out = IntegerPayload(target, bits);
  return true;
}

bool ParseString(const wchar_t* p, size_t n, VariantType target, Variant::Payload& out) {
  const BasicStringView<wchar_t> s(p, n);
  Variant::Payload v;
  v.u64 = 0;
  bool ok = false;
  switch (target) {
    case VariantType::Int8: ok = StringHelp::StringToInt8(s, v.i8); break;
    case VariantType::Int16: ok = StringHelp::StringToInt16(s, v.i16); break;
    case VariantType::Int32: ok = StringHelp::StringToInt32(s, v.i32); break;
    case VariantType::Int64: ok = StringHelp::StringToInt64(s, v.i64); break;
    case VariantType::UInt8: ok = StringHelp::StringToUInt8(s, v.u8); break;
    case VariantType::UInt16: ok = StringHelp::StringToUInt16(s, v.u16); break;
    case VariantType::UInt32: ok = StringHelp::StringToUInt32(s, v.u32); break;
    case VariantType::UInt64: ok = StringHelp::StringToUInt64(s, v.u64); break;
    case VariantType::Real32: ok = StringHelp::StringToFloat(s, v.r32); break;
    case VariantType::Real64: ok = StringHelp::StringToDouble(s, v.r64); break;
    case VariantType::Bool: {
      bool b = false;
      ok = StringHelp::StringToBool(s, b);
      v.b = b ? 1 : 0;
      break;
    }
    default: break;
  }
  if (ok) out = v;
  return ok;
}

// The text form of a non-string value (Empty gives the empty string).
CStdStr<wchar_t> ValueText(const Variant& v) {
  CStdStr<wchar_t> text;
  switch (v.m_type) {
    case VariantType::Bool: text = v.m_value.b ? L"True" : L"False"; break;
    case VariantType::Int8: StringHelp::IntToString(v.m_value.i8, text); break;
    case VariantType::Int16: StringHelp::IntToString(v.m_value.i16, text); break;
    case VariantType::Int32: StringHelp::IntToString(v.m_value.i32, text); break;
    case VariantType::Int64: StringHelp::Int64ToString(v.m_value.i64, text); break;
    case VariantType::UInt8: StringHelp::UInt32ToString(v.m_value.u8, text); break;
    case VariantType::UInt16: StringHelp::UInt32ToString(v.m_value.u16, text); break;
    case VariantType::UInt32: StringHelp::UInt32ToString(v.m_value.u32, text); break;
    case VariantType::UInt64: StringHelp::UInt64ToString(v.m_value.u64, text); break;
    case VariantType::Real32: text = fmt::format(L"{:.7G}", v.m_value.r32); break;
    case VariantType::Real64: text = fmt::format(L"{:.15G}", v.m_value.r64); break;
    default: break;
  }
  return text;
}

// Source is a non-string type (Empty included) and target a number or Bool; computes the payload.
bool ConvertValue(const Variant& v, VariantType target, Variant::Payload& out) {
  const VariantType source = v.m_type;
  Variant::Payload p;
  p.u64 = 0;
  if (source == VariantType::Empty) {
    out = p;  // 0, 0.0 and false are all zero bytes
    return true;
  }
  const bool sourceReal = source == VariantType::Real32 || source == VariantType::Real64;
  const double x = source == VariantType::Real32 ? static_cast<double>(v.m_value.r32) : v.m_value.r64;
  bool negative = false;
  const uint64_t bits = sourceReal ? 0 : ReadIntegerBits(v, negative);
  IntegerInfo src{};
  GetIntegerInfo(source, src);

  switch (target) {
    case VariantType::Real32:
      if (source == VariantType::Real64) {
        if (x > static_cast<double>(FLT_MAX) || x < -static_cast<double>(FLT_MAX)) return false;
        p.r32 = static_cast<float>(x);
      } else if (sourceReal) {
        p.r32 = v.m_value.r32;
      } else {
        p.r32 = src.isSigned ? static_cast<float>(static_cast<int64_t>(bits)) : static_cast<float>(bits);
      }
      break;
    case VariantType::Real64:
      if (sourceReal) {
        p.r64 = x;
      } else {
        p.r64 = src.isSigned ? static_cast<double>(static_cast<int64_t>(bits)) : static_cast<double>(bits);
      }
      break;
    case VariantType::Bool:
      // NaN is true: only an exact zero is false.
      p.b = sourceReal ? (x == 0.0 ? 0 : 1) : (bits != 0 ? 1 : 0);
      break;
    default: {
      if (sourceReal) return RealToInteger(x, target, out);
      IntegerInfo dst{};
      if (!GetIntegerInfo(target, dst)) return false;
      // Between an integer type and the other-signed type of the same width the bits are kept
      // with no test, on purpose (Int8 -1 becomes UInt8 255, UInt32 4294967295 becomes Int32 -1).
      // Every other pair keeps the value and fails outside the target's range.
      const bool retype = src.bytes == dst.bytes && src.isSigned != dst.isSigned;
      if (!retype) {
        const bool fits = negative ? static_cast<int64_t>(bits) >= dst.low : bits <= dst.high;
        if (!fits) return false;
      }
      p = IntegerPayload(target, bits);
      break;
    }
  }
  out = p;
  return true;
}

}  // namespace

Variant::Variant(const Variant& other) : m_value(other.m_value), m_type(other.m_type) {
  if (m_type == VariantType::String && other.m_value.str != nullptr) SetString(other.GetString());
}

Variant& Variant::operator=(const Variant& other) {
  if (this == &other) return *this;
  if (other.m_type == VariantType::String && other.m_value.str != nullptr) {
    SetString(other.GetString());
  } else {
    m_value = other.m_value;
    m_type = other.m_type;
  }
  return *this;
}

Variant::Variant(Variant&& other) noexcept
    : m_pString(other.m_pString), m_value(other.m_value), m_type(other.m_type) {
  other.m_pString = nullptr;
  other.m_value.u64 = 0;
  other.m_type = VariantType::Empty;
}

Variant& Variant::operator=(Variant&& other) noexcept {
  if (this != &other) {
    delete m_pString;
    m_pString = other.m_pString;
    m_value = other.m_value;
    m_type = other.m_type;
    other.m_pString = nullptr;
    other.m_value.u64 = 0;
    other.m_type = VariantType::Empty;
  }
  return *this;
}

Variant::~Variant() { delete m_pString; }

void Variant::SetString(const wchar_t* text) { SetString(CStdStr<wchar_t>(text ? text : L"")); }

void Variant::SetString(const CStdStr<wchar_t>& text) {
  if (m_pString == nullptr) {
    m_pString = new CStdStr<wchar_t>(text);
  } else if (m_pString != &text) {
    *m_pString = text;
  }
  m_value.u64 = 0;
  m_value.str = m_pString->c_str();
  m_type = VariantType::String;
}

void Variant::Clear() noexcept {
  delete m_pString;
  m_pString = nullptr;
  m_value.u64 = 0;
  m_type = VariantType::Empty;
}

CStdStr<wchar_t> Variant::GetString() const {
  if (m_type != VariantType::String) return {};
  size_t n = 0;
  const wchar_t* p = StringText(*this, n);
  return CStdStr<wchar_t>(p, n);
}

int BitsInVariantType(VariantType type) {
  switch (type) {
    case VariantType::Int8:
    case VariantType::UInt8: return 8;
    case VariantType::Int16:
    case VariantType::UInt16: return 16;
    case VariantType::Int32:
    case VariantType::UInt32:
    case VariantType::Real32: return 32;
    case VariantType::Int64:
    case VariantType::UInt64:
    case VariantType::Real64: return 64;
    default: return 0;
  }
}

bool VariantChangeType(Variant& value, VariantType target) {
  if (!detail::IsVariantType(target) || !detail::IsVariantType(value.m_type)) return false;
  if (value.m_type == target) return true;
  if (target == VariantType::Empty) {
    value.Clear();
    return true;
  }
  if (target == VariantType::String) {
    value.SetString(ValueText(value));
    return true;
  }
  Variant::Payload p;
  if (value.m_type == VariantType::String) {
    size_t n = 0;
    const wchar_t* text = StringText(value, n);
    if (!ParseString(text, n, target, p)) return false;
  } else if (!ConvertValue(value, target, p)) {
    return false;
  }
  // The owned string, if any, stays attached for a later string.
  value.m_value = p;
  value.m_type = target;
  return true;
}

}  // namespace lu
