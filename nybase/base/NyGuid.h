// NyGuid: a 128-bit identifier in the memory layout of a Windows GUID.
#pragma once

#include <cstdint>
#include <cstring>

struct NyGuid {
  uint32_t Data1;
  uint16_t Data2;
  uint16_t Data3;
  uint8_t Data4[8];

  // The null GUID (all zero) also stands for "bad text" in the parsers.
  bool IsNull() const noexcept {
    static constexpr NyGuid k_null{};
    return *this == k_null;
  }
  friend bool operator==(const NyGuid& a, const NyGuid& b) noexcept {
    return std::memcmp(&a, &b, sizeof(NyGuid)) == 0;
  }
  friend bool operator!=(const NyGuid& a, const NyGuid& b) noexcept { return !(a == b); }
  friend bool operator<(const NyGuid& a, const NyGuid& b) noexcept {
    return std::memcmp(&a, &b, sizeof(NyGuid)) < 0;
  }
};
static_assert(sizeof(NyGuid) == 16, "NyGuid must keep the GUID layout");
