// Fuzz target: Variant conversion, order and arithmetic over any payload bits (NaN payloads
// included) and any text; a failed conversion leaves the value as it was, and every integer
// survives the trip through its text.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <nybase/data/Variant.h>

namespace {

using VT = lu::VariantType;
// All types and two numbers that are none.
const VT k_types[] = {VT::Empty, VT::Int16, VT::Int32,  VT::Real32, VT::Real64, VT::String, VT::Bool, VT::Int8,
                      VT::UInt8, VT::UInt16, VT::UInt32, VT::Int64, VT::UInt64, VT(7),      VT(0x4000)};

lu::Variant Build(const uint8_t* data, size_t size) {
  lu::Variant v;
  if (size < 9) return v;
  const VT type = k_types[data[0] % std::size(k_types)];
  if (type == VT::String) {
    CStdStr<wchar_t> text;
    for (size_t i = 9; i + 1 < size; i += 2) text.push_back(static_cast<wchar_t>(data[i] | (data[i + 1] << 8)));
    v.SetString(text);
    return v;
  }
  std::memcpy(&v.m_value.u64, data + 1, 8);
  if (type == VT::Bool) v.m_value.u64 &= 1;  // a Bool holds 0 or 1
  v.m_type = type;
  return v;
}

bool SameValue(const lu::Variant& a, const lu::Variant& b) {
  if (a.m_type != b.m_type) return false;
  if (a.m_type == VT::String) return a.GetString() == b.GetString();
  return std::memcmp(&a.m_value, &b.m_value, sizeof a.m_value) == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const size_t half = size / 2;
  const lu::Variant a = Build(data, half);
  const lu::Variant b = Build(data + half, size - half);
  for (VT target : k_types) {
    lu::Variant c = a;
    const bool ok = lu::VariantChangeType(c, target);
    if (!ok && !SameValue(c, a)) std::abort();
    if (ok && c.m_type != target) std::abort();
    if (ok && lu::BitsInVariantType(target) != 0 && target != VT::Real32 && target != VT::Real64) {
      lu::Variant text = c;
      lu::Variant back = c;
      if (!lu::VariantChangeType(text, VT::String)) std::abort();
      back = text;
      if (!lu::VariantChangeType(back, target) || lu::VariantCmp(back, c) != lu::VariantOrd::Equal) std::abort();
    }
    (void)lu::VariantCmp(c, b);
    (void)lu::VariantCmp(b, c);
    lu::Variant r = b;
    (void)lu::VariantAdd(c, b, r);
    (void)lu::VariantSub(c, b, r);
    (void)lu::VariantClamp(c, a, b);
  }
  return 0;
}
