// lu::VariantType: the type numbers of the library's tagged scalar (the COM variant numbering).
#pragma once

#include <cstdint>

namespace lu {

// The numbers are stored and compared by callers, so they keep the COM values; any number not
// listed here is no type at all.
enum class VariantType : uint16_t {
  Empty = 0,
  Int16 = 2,
  Int32 = 3,
  Real32 = 4,
  Real64 = 5,
  String = 8,
  Bool = 11,
  Int8 = 16,
  UInt8 = 17,
  UInt16 = 18,
  UInt32 = 19,
  Int64 = 20,
  UInt64 = 21,
};

}  // namespace lu
