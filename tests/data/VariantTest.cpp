// Variant: conversion tables over boundary values, cross-type order, wrapping arithmetic, clamp.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <tuple>
#include <utility>

#include <nybase/NYBase.h>

using lu::Variant;
using lu::VariantOrd;
using VT = lu::VariantType;
using LD = long double;  // 64-bit mantissa: every int64 and uint64 value is exact

namespace {

const VT k_ints[] = {VT::Int8, VT::UInt8, VT::Int16, VT::UInt16, VT::Int32, VT::UInt32, VT::Int64, VT::UInt64};

struct IntType {
  int bits;
  bool isSigned;
  LD Min() const { return isSigned ? -std::ldexp(1.0L, bits - 1) : 0; }
  LD Max() const { return std::ldexp(1.0L, isSigned ? bits - 1 : bits) - 1; }
  LD Wrap(LD v) const {  // v modulo 2^bits, into the type's range
    const LD m = std::ldexp(1.0L, bits);
    v = std::fmod(v, m);
    if (v < Min()) v += m;
    if (v > Max()) v -= m;
    return v;
  }
};
IntType Info(VT t) {
  const int bits = lu::BitsInVariantType(t);
  return {t == VT::Bool ? 8 : bits, t == VT::Int8 || t == VT::Int16 || t == VT::Int32 || t == VT::Int64};
}

Variant Make(VT t, LD v) {
  Variant r;
  switch (t) {
    case VT::Int8: r.SetInt8(static_cast<int8_t>(v)); break;
    case VT::UInt8: r.SetUInt8(static_cast<uint8_t>(v)); break;
    case VT::Int16: r.SetInt16(static_cast<int16_t>(v)); break;
    case VT::UInt16: r.SetUInt16(static_cast<uint16_t>(v)); break;
    case VT::Int32: r.SetInt32(static_cast<int32_t>(v)); break;
    case VT::UInt32: r.SetUInt32(static_cast<uint32_t>(v)); break;
    case VT::Int64: r.SetInt64(static_cast<int64_t>(v)); break;
    case VT::UInt64: r.SetUInt64(static_cast<uint64_t>(v)); break;
    case VT::Bool: r.SetBool(v != 0); break;
    case VT::Real32: r.SetReal32(static_cast<float>(v)); break;
    default: r.SetReal64(static_cast<double>(v)); break;
  }
  return r;
}

LD Read(const Variant& v) {
  const auto& p = v.m_value;
  switch (v.m_type) {
    case VT::Int8: return p.i8;
    case VT::UInt8: return p.u8;
    case VT::Int16: return p.i16;
    case VT::UInt16: return p.u16;
    case VT::Int32: return p.i32;
    case VT::UInt32: return p.u32;
    case VT::Int64: return p.i64;
    case VT::UInt64: return p.u64;
    case VT::Bool: return p.b;
    case VT::Real32: return p.r32;
    default: return p.r64;
  }
}

// Integer and Bool sources to an integer target, read from the tables: the same width with the
// other signedness keeps the bits; the rest keeps the value or fails outside the target's range.
bool ExpectInteger(VT src, VT dst, LD v, LD& out) {
  const IntType s = Info(src);
  const IntType d = Info(dst);
  if (s.bits == d.bits && s.isSigned != d.isSigned) {
    out = d.Wrap(v);
    return true;
  }
  out = v;
  return v >= d.Min() && v <= d.Max();
}

// Real sources: fail below low or at/above high, then round half away from zero and keep the
// low bits; NaN passes and gives the processor's invalid-conversion pattern.
bool ExpectFromReal(VT dst, LD x, LD& out) {
  const IntType d = Info(dst);
  const LD low = d.isSigned ? d.Min() - (dst == VT::Int64 ? 0 : 0.5L) : -0.5L;
  const LD high = dst == VT::UInt64 || dst == VT::Int64 ? d.Max() + 1 : d.Max() + 0.5L;
  if (x < low || x >= high) return false;
  const bool via64 = dst == VT::Int64 || dst == VT::UInt32 || dst == VT::UInt64;
  if (std::isnan(x)) {
    out = d.Wrap(via64 ? std::ldexp(1.0L, 63) : std::ldexp(1.0L, 31));
    return true;
  }
  const LD r = std::round(x);
  out = (!via64 && r < -std::ldexp(1.0L, 31)) ? d.Wrap(std::ldexp(1.0L, 31)) : d.Wrap(r);
  return true;
}

}  // namespace

TEST(Variant, IntegerConversionTableOverBoundaryValues) {
  const LD p63 = std::ldexp(1.0L, 63);
  const LD values[] = {-p63, -2147483649.0L, -2147483648.0L, -32769, -32768, -129, -128, -1, 0, 1, 127, 128, 255,
                       256, 32767, 32768, 65535, 65536, 2147483647, 2147483648.0L, 4294967295.0L, 4294967296.0L,
                       p63 - 1, p63, 2 * p63 - 1};
  for (VT src : {VT::Int8, VT::UInt8, VT::Int16, VT::UInt16, VT::Int32, VT::UInt32, VT::Int64, VT::UInt64, VT::Bool}) {
    for (LD v : values) {
      if (src == VT::Bool ? (v != 0 && v != 1) : (v < Info(src).Min() || v > Info(src).Max())) continue;
      for (VT dst : k_ints) {
        Variant var = Make(src, v);
        LD expected = 0;
        const bool ok = ExpectInteger(src, dst, v, expected);
        ASSERT_EQ(lu::VariantChangeType(var, dst), ok) << int(src) << "->" << int(dst) << " " << double(v);
        EXPECT_EQ(var.m_type, ok ? dst : src);
        EXPECT_EQ(Read(var), ok ? expected : v) << int(src) << "->" << int(dst) << " " << double(v);
      }
      for (VT dst : {VT::Real32, VT::Real64, VT::Bool}) {
        Variant var = Make(src, v);
        ASSERT_TRUE(lu::VariantChangeType(var, dst));
        const LD want = dst == VT::Bool ? (v != 0) : dst == VT::Real32 ? LD(float(v)) : LD(double(v));
        EXPECT_EQ(Read(var), want) << int(src) << "->" << int(dst) << " " << double(v);
      }
    }
  }
}

TEST(Variant, RealConversionTableRoundsHalfAwayAndKeepsLowBits) {
  const double inf = std::numeric_limits<double>::infinity();
  const double values[] = {0.0, -0.0, 0.5, -0.5, -0.51, 2.5, -2.5, 127.4, 127.5, -128.5, -128.6, 255.49, 255.5,
                           32767.49, -32768.5, 65535.5, 2147483647.4, -2147483648.5, -2147483648.6, 4294967295.4,
                           4294967295.5, 9223372036854775807.0, -9223372036854775808.0, 18446744073709549568.0,
                           18446744073709551616.0, 1e39, -1e39, NAN, inf, -inf};
  for (VT src : {VT::Real32, VT::Real64}) {
    for (double x : values) {
      if (src == VT::Real32 && std::fabs(x) > FLT_MAX && std::isfinite(x)) continue;
      const LD in = src == VT::Real32 ? LD(float(x)) : LD(x);
      for (VT dst : k_ints) {
        Variant var = Make(src, in);
        LD expected = 0;
        const bool ok = ExpectFromReal(dst, in, expected);
        ASSERT_EQ(lu::VariantChangeType(var, dst), ok) << int(src) << "->" << int(dst) << " " << x;
        EXPECT_EQ(Read(var), ok ? expected : in) << int(src) << "->" << int(dst) << " " << x;
      }
      Variant b = Make(src, in);
      ASSERT_TRUE(lu::VariantChangeType(b, VT::Bool));
      EXPECT_EQ(b.m_value.b, x == 0 ? 0 : 1) << x;  // NaN is true
    }
  }
  Variant big(1e39);
  EXPECT_FALSE(lu::VariantChangeType(big, VT::Real32));
  Variant nan(std::nan(""));
  EXPECT_TRUE(lu::VariantChangeType(nan, VT::Real32));
  EXPECT_TRUE(std::isnan(nan.m_value.r32));
}

TEST(Variant, TextConversions) {
  const std::pair<Variant, const wchar_t*> toText[] = {{Variant(true), L"True"}, {Variant(false), L"False"}, {Variant(0.1f), L"0.1"},
                {Variant(0.1), L"0.1"}, {Variant(1e20), L"1E+20"}, {Variant(INT64_MIN), L"-9223372036854775808"},
                {Variant(UINT64_MAX), L"18446744073709551615"}, {Variant(int8_t(-5)), L"-5"}, {Variant(), L""}};
  for (const auto& [value, text] : toText) {
    Variant v = value;
    ASSERT_TRUE(lu::VariantChangeType(v, VT::String));
    EXPECT_EQ(v.m_value.str, v.m_pString->c_str());
    EXPECT_EQ(v.GetString(), text);
  }
  const std::tuple<const wchar_t*, VT, bool, LD> fromText[] = {{L" 12 ", VT::Int8, true, 12},        {L"128", VT::Int8, false, 0},
                  {L"-1", VT::UInt8, false, 0},         {L"abc", VT::Int32, false, 0},
                  {L"", VT::Int32, false, 0},           {L"99999999999999999999", VT::UInt64, false, 0},
                  {L"18446744073709551615", VT::UInt64, true, 18446744073709551615.0L},
                  {L"1e3", VT::Int32, false, 0},        {L"2.5", VT::Real64, true, 2.5},
                  {L"true", VT::Bool, true, 1},         {L"yes", VT::Bool, false, 0}};
  for (const auto& [text, target, ok, value] : fromText) {
    Variant v(text);
    ASSERT_EQ(lu::VariantChangeType(v, target), ok) << CStdStr<char>(text);
    if (ok) {
      EXPECT_EQ(Read(v), value) << CStdStr<char>(text);
    } else {
      EXPECT_EQ(v.GetString(), text);
    }
  }
}

TEST(Variant, TypesStringLifetimeAndEmpty) {
  const std::pair<VT, int> bits[] = {{VT::Empty, 0}, {VT::Int8, 8}, {VT::UInt16, 16}, {VT::Real32, 32},
                                     {VT::UInt64, 64}, {VT::String, 0}, {VT::Bool, 0}, {VT(7), 0}};
  for (auto [t, b] : bits) EXPECT_EQ(lu::BitsInVariantType(t), b);
  Variant v(L"x");
  CStdStr<wchar_t>* owned = v.m_pString;
  for (VT bad : {VT(1), VT(7), VT(22), VT(0x4000)}) EXPECT_FALSE(lu::VariantChangeType(v, bad));
  ASSERT_TRUE(lu::VariantChangeType(v, VT::Int32) == false && v.GetString() == L"x");
  v.SetInt32(7);
  EXPECT_EQ(v.m_pString, owned);  // the string stays attached and is reused
  ASSERT_TRUE(lu::VariantChangeType(v, VT::String));
  EXPECT_EQ(v.m_pString, owned);
  const Variant copy = v;
  EXPECT_NE(copy.m_pString, owned);
  EXPECT_EQ(copy.GetString(), L"7");
  ASSERT_TRUE(lu::VariantChangeType(v, VT::Empty));
  EXPECT_TRUE(v.m_pString == nullptr && v.m_value.u64 == 0);
  for (VT t : {VT::Int16, VT::Real64, VT::Bool, VT::String}) {
    Variant e;
    ASSERT_TRUE(lu::VariantChangeType(e, t));
    EXPECT_EQ(lu::VariantCmp(e, Variant()), VariantOrd::Equal);
  }
}

TEST(Variant, CompareAcrossTypes) {
  const struct {
    Variant l, r;
    VariantOrd ord;
  } cases[] = {
      {Variant(int16_t(1)), Variant(1.0f), VariantOrd::Equal},
      {Variant(L""), Variant(int8_t(5)), VariantOrd::Greater},
      {Variant(int8_t(5)), Variant(L"zzz"), VariantOrd::Less},
      {Variant(), Variant(L""), VariantOrd::Equal},
      {Variant(L"ab"), Variant(L"b"), VariantOrd::Less},
      {Variant(L"\xFFFF"), Variant(L"a"), VariantOrd::Greater},
      {Variant(uint64_t(5)), Variant(int32_t(-1)), VariantOrd::Invalid},
      {Variant(uint64_t(5)), Variant(int64_t(-1)), VariantOrd::Greater},
      {Variant(int64_t(-1)), Variant(uint64_t(5)), VariantOrd::Less},
      {Variant(int64_t(7)), Variant(UINT64_MAX), VariantOrd::Less},
      {Variant(uint32_t(4000000000u)), Variant(int32_t(-1)), VariantOrd::Greater},
      {Variant(true), Variant(int32_t(1)), VariantOrd::Equal},
      {Variant(), Variant(int32_t(-3)), VariantOrd::Greater},
      {Variant(NAN), Variant(1.0), VariantOrd::Greater},
      {Variant(1.0), Variant(NAN), VariantOrd::Greater},
  };
  for (const auto& c : cases) EXPECT_EQ(lu::VariantCmp(c.l, c.r), c.ord) << int(c.l.m_type) << "/" << int(c.r.m_type);
  Variant bad;
  bad.m_type = VT(0x4000);
  EXPECT_EQ(lu::VariantCmp(Variant(L"x"), bad), VariantOrd::Invalid);
  bad.m_type = VT(7);  // no type, yet below 16384: a string is still above it
  EXPECT_EQ(lu::VariantCmp(Variant(L"x"), bad), VariantOrd::Greater);
  EXPECT_EQ(lu::VariantCmp(bad, bad), VariantOrd::Invalid);
  EXPECT_EQ(lu::VariantCmp(bad, Variant(int8_t(0))), VariantOrd::Invalid);
}

TEST(Variant, AddSubtractWrapAndClamp) {
  Variant r;
  ASSERT_TRUE(lu::VariantAdd(Variant(uint8_t(200)), Variant(int32_t(100)), r));
  EXPECT_EQ(r.m_type, VT::UInt8);
  EXPECT_EQ(r.m_value.u8, 44);
  ASSERT_TRUE(lu::VariantAdd(Variant(INT32_MAX), Variant(int8_t(1)), r));
  EXPECT_EQ(r.m_value.i32, INT32_MIN);
  ASSERT_TRUE(lu::VariantSub(Variant(INT64_MIN), Variant(true), r));
  EXPECT_EQ(r.m_value.i64, INT64_MAX);
  ASSERT_TRUE(lu::VariantSub(Variant(1.5), Variant(L"0.25"), r));
  EXPECT_EQ(r.m_value.r64, 1.25);
  ASSERT_TRUE(lu::VariantAdd(Variant(int8_t(1)), Variant(int32_t(1000)), r));  // right keeps its old bits
  EXPECT_EQ(r.m_value.i8, int8_t(1 + int8_t(1000 & 0xFF)));
  EXPECT_FALSE(lu::VariantAdd(Variant(L"a"), Variant(int8_t(1)), r));
  EXPECT_FALSE(lu::VariantSub(Variant(true), Variant(true), r));

  Variant v(int32_t(5));
  ASSERT_TRUE(lu::VariantClamp(v, Variant(int32_t(7)), Variant(int32_t(3))));
  EXPECT_EQ(v.m_value.i32, 3);
  v.SetInt32(-9);
  ASSERT_TRUE(lu::VariantClamp(v, Variant(2.6), Variant(L"10")));
  EXPECT_EQ(v.m_value.i32, 3);
  Variant f(0.5f);
  ASSERT_TRUE(lu::VariantClamp(f, Variant(int8_t(0)), Variant(int8_t(1))));
  EXPECT_EQ(f.m_value.r32, 0.5f);
  Variant s(L"q");
  EXPECT_FALSE(lu::VariantClamp(s, Variant(), Variant()));
  EXPECT_EQ(s.GetString(), L"q");
}
