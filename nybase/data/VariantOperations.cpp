// lu::Variant operations: ordering across types, wrapping addition and subtraction, clamping.
#include <cstdint>
#include <type_traits>

#include <nybase/data/Variant.h>
#include <nybase/data/internal/VariantDetail.h>

namespace lu {

namespace {

using Payload = Variant::Payload;

VariantOrd Order(bool less, bool greater) {
  return less ? VariantOrd::Less : (greater ? VariantOrd::Greater : VariantOrd::Equal);
}

// Equal only when equal; otherwise Less when right is greater. A NaN on either side is neither,
// so it gives Greater, on purpose: the order has always been read that way.
template <typename F>
VariantOrd OrderFloats(F l, F r) {
  if (l == r) return VariantOrd::Equal;
  return r > l ? VariantOrd::Less : VariantOrd::Greater;
}

bool HasNoText(const Variant& v) { return v.m_value.str == nullptr || v.m_value.str[0] == 0; }

// Unit by unit as unsigned numbers up to the terminating zero (a null pointer reads as "").
VariantOrd OrderTexts(const Variant& left, const Variant& right) {
  using U = std::make_unsigned_t<wchar_t>;
  const wchar_t* a = left.m_value.str ? left.m_value.str : L"";
  const wchar_t* b = right.m_value.str ? right.m_value.str : L"";
  for (;; ++a, ++b) {
    const U x = static_cast<U>(*a);
    const U y = static_cast<U>(*b);
    if (x != y) return x < y ? VariantOrd::Less : VariantOrd::Greater;
    if (x == 0) return VariantOrd::Equal;
  }
}

VariantOrd OrderSameType(const Variant& l, const Variant& r) {
  const Payload& a = l.m_value;
  const Payload& b = r.m_value;
  switch (l.m_type) {
    case VariantType::Empty: return VariantOrd::Equal;
    case VariantType::Int8: return Order(a.i8 < b.i8, a.i8 > b.i8);
    case VariantType::Int16: return Order(a.i16 < b.i16, a.i16 > b.i16);
    case VariantType::Int32: return Order(a.i32 < b.i32, a.i32 > b.i32);
    case VariantType::Int64: return Order(a.i64 < b.i64, a.i64 > b.i64);
    case VariantType::Bool: return Order(a.b < b.b, a.b > b.b);
    case VariantType::UInt8: return Order(a.u8 < b.u8, a.u8 > b.u8);
    case VariantType::UInt16: return Order(a.u16 < b.u16, a.u16 > b.u16);
    case VariantType::UInt32: return Order(a.u32 < b.u32, a.u32 > b.u32);
    case VariantType::UInt64: return Order(a.u64 < b.u64, a.u64 > b.u64);
    case VariantType::Real32: return OrderFloats(a.r32, b.r32);
    case VariantType::Real64: return OrderFloats(a.r64, b.r64);
    default: return VariantOrd::Invalid;
  }
}

// Orders copies of both converted to the common type; Invalid when either conversion fails.
VariantOrd OrderAs(const Variant& left, const Variant& right, VariantType common) {
  Variant l(left);
  Variant r(right);
  if (!VariantChangeType(l, common) || !VariantChangeType(r, common)) return VariantOrd::Invalid;
  return OrderSameType(l, r);
}

// Integer arithmetic on the unsigned type of the width, so that overflow wraps and is defined.
template <typename U>
U Wrap(U a, U b, bool subtract) {
  return static_cast<U>(subtract ? a - b : a + b);
}

bool AddOrSubtract(const Variant& left, Variant& right, Variant& result, bool subtract) {
  const VariantType type = left.m_type;
  // Both conversion results are ignored on purpose: a failure goes on with the old bits.
  VariantChangeType(right, type);
  const bool resultConverted = VariantChangeType(result, type);
  const Payload a = left.m_value;  // result may be left itself
  const Payload& b = right.m_value;
  Payload sum = result.m_value;
  switch (type) {
    case VariantType::Int8:
    case VariantType::UInt8: sum.u8 = Wrap(a.u8, b.u8, subtract); break;
    case VariantType::Int16:
    case VariantType::UInt16: sum.u16 = Wrap(a.u16, b.u16, subtract); break;
    case VariantType::Int32:
    case VariantType::UInt32: sum.u32 = Wrap(a.u32, b.u32, subtract); break;
    case VariantType::Int64:
    case VariantType::UInt64: sum.u64 = Wrap(a.u64, b.u64, subtract); break;
    case VariantType::Real32: sum.r32 = subtract ? a.r32 - b.r32 : a.r32 + b.r32; break;
    case VariantType::Real64: sum.r64 = subtract ? a.r64 - b.r64 : a.r64 + b.r64; break;
    default: return false;
  }
  result.m_value = sum;
  // A String result that would not convert would be left pointing at a number's bits: it takes
  // the sum's type instead (its string object stays attached). Any other failed result keeps its
  // type and gets the sum in its low bytes, on purpose.
  if (!resultConverted && result.m_type == VariantType::String) result.m_type = type;
  return true;
}

template <typename T>
void ClampMember(T Payload::*member, Variant& value, const Variant& low, const Variant& high) {
  // The test on high comes first, so with low above high a large value ends at high.
  if (value.m_value.*member > high.m_value.*member) {
    value.m_value.*member = high.m_value.*member;
  } else if (value.m_value.*member < low.m_value.*member) {
    value.m_value.*member = low.m_value.*member;
  }
}

}  // namespace

VariantOrd VariantCmp(const Variant& left, const Variant& right) {
  const VariantType lt = left.m_type;
  const VariantType rt = right.m_type;
  if (static_cast<uint16_t>(lt) > 16383 || static_cast<uint16_t>(rt) > 16383) return VariantOrd::Invalid;
  // A string is above every number whatever its text, and equal to Empty only when it has none.
  if (lt == VariantType::String) {
    if (rt == VariantType::String) return OrderTexts(left, right);
    if (rt == VariantType::Empty) return HasNoText(left) ? VariantOrd::Equal : VariantOrd::Greater;
    return VariantOrd::Greater;
  }
  if (rt == VariantType::String) {
    if (lt == VariantType::Empty) return HasNoText(right) ? VariantOrd::Equal : VariantOrd::Less;
    return VariantOrd::Less;
  }
  if (lt == rt) return OrderSameType(left, right);
  if (lt == VariantType::Real64 || rt == VariantType::Real64) return OrderAs(left, right, VariantType::Real64);
  if (lt == VariantType::Real32 || rt == VariantType::Real32) return OrderAs(left, right, VariantType::Real32);
  if (lt == VariantType::Int64 && rt == VariantType::UInt64 &&
      (left.m_value.i64 < 0 || right.m_value.u64 > 0x7FFFFFFFFFFFFFFFull)) {
    return VariantOrd::Less;
  }
  if (lt == VariantType::UInt64 || rt == VariantType::UInt64) {
    if ((rt == VariantType::Int64 && right.m_value.i64 < 0) ||
        (lt == VariantType::UInt64 && left.m_value.u64 > 0x7FFFFFFFFFFFFFFFull)) {
      return VariantOrd::Greater;
    }
    // Only Int64 is tested for a sign: a negative Int32 against a UInt64 fails its conversion and
    // gives Invalid, on purpose.
    return OrderAs(left, right, VariantType::UInt64);
  }
  return OrderAs(left, right, VariantType::Int64);
}

bool VariantAdd(const Variant& left, Variant right, Variant& result) {
  return AddOrSubtract(left, right, result, false);
}

bool VariantSub(const Variant& left, Variant right, Variant& result) {
  return AddOrSubtract(left, right, result, true);
}

bool VariantClamp(Variant& value, Variant low, Variant high) {
  const VariantType type = value.m_type;
  // Conversion failures are passed over on purpose: the old bits of low or high are compared.
  VariantChangeType(low, type);
  VariantChangeType(high, type);
  switch (type) {
    case VariantType::Int8: ClampMember(&Payload::i8, value, low, high); break;
    case VariantType::UInt8: ClampMember(&Payload::u8, value, low, high); break;
    case VariantType::Int16: ClampMember(&Payload::i16, value, low, high); break;
    case VariantType::UInt16: ClampMember(&Payload::u16, value, low, high); break;
    case VariantType::Int32: ClampMember(&Payload::i32, value, low, high); break;
    case VariantType::UInt32: ClampMember(&Payload::u32, value, low, high); break;
    case VariantType::Int64: ClampMember(&Payload::i64, value, low, high); break;
    case VariantType::UInt64: ClampMember(&Payload::u64, value, low, high); break;
    case VariantType::Real32: ClampMember(&Payload::r32, value, low, high); break;
    case VariantType::Real64: ClampMember(&Payload::r64, value, low, high); break;
    default: return false;
  }
  return true;
}

}  // namespace lu
