// lu::Variant: the library's tagged scalar (a number, a bool or a wide string) and its functions.
#pragma once

#include <cstdint>

#include <nybase/base/VariantType.h>
#include <nybase/text/CStdStr.h>

namespace lu {

// The result of VariantCmp. Invalid is the COM code DISP_E_BADVARTYPE, so it can be handed on as
// an error number unchanged.
enum class VariantOrd : uint32_t {
  Less = 0,
  Equal = 1,
  Greater = 2,
  Invalid = 0x80020008u,
};

// A plain value. The fields are public and in this order on purpose: callers read the payload
// member of the type they expect. Values of the smaller types occupy the low bytes of the payload
// and the other bytes are not defined. While the type is String, m_value.str points at the
// characters of *m_pString (or is null for a variant set up by hand). Once a string has been held,
// the string object stays attached through changes to numbers and is reused by a later string.
class Variant {
 public:
  union Payload {
    int8_t i8;
    uint8_t u8;
    int16_t i16;
    uint16_t u16;
    int32_t i32;
    uint32_t u32;
    int64_t i64;
    uint64_t u64;
    float r32;
    double r64;
    uint8_t b;  // Bool: one byte, 0 or 1
    const wchar_t* str;
  };

  CStdStr<wchar_t>* m_pString = nullptr;
  Payload m_value{};
  VariantType m_type = VariantType::Empty;

  Variant() noexcept { m_value.u64 = 0; }
  explicit Variant(int8_t v) noexcept { SetInt8(v); }
  explicit Variant(uint8_t v) noexcept { SetUInt8(v); }
  explicit Variant(int16_t v) noexcept { SetInt16(v); }
  explicit Variant(uint16_t v) noexcept { SetUInt16(v); }
  explicit Variant(int32_t v) noexcept { SetInt32(v); }
  explicit Variant(uint32_t v) noexcept { SetUInt32(v); }
  explicit Variant(int64_t v) noexcept { SetInt64(v); }
  explicit Variant(uint64_t v) noexcept { SetUInt64(v); }
  explicit Variant(float v) noexcept { SetReal32(v); }
  explicit Variant(double v) noexcept { SetReal64(v); }
  explicit Variant(bool v) noexcept { SetBool(v); }
  // A String holding a copy of the text; a null pointer gives the empty string.
  explicit Variant(const wchar_t* text) { SetString(text); }
  explicit Variant(const CStdStr<wchar_t>& text) { SetString(text); }

  // Copying a String makes a new owned string (the whole owned string, embedded NULs included, or
  // the text up to its NUL when the pointer is not the owned string's); copying any other type
  // copies payload and type and leaves the copy's string pointer null.
  Variant(const Variant& other);
  // Assignment reuses this variant's own string object, which stays attached for other types.
  Variant& operator=(const Variant& other);
  Variant(Variant&& other) noexcept;
  Variant& operator=(Variant&& other) noexcept;
  ~Variant();

  VariantType GetType() const noexcept { return m_type; }

  // Each setter clears the 8 payload bytes, stores the value and sets the type.
  void SetInt8(int8_t v) noexcept { Set(VariantType::Int8).i8 = v; }
  void SetUInt8(uint8_t v) noexcept { Set(VariantType::UInt8).u8 = v; }
  void SetInt16(int16_t v) noexcept { Set(VariantType::Int16).i16 = v; }
  void SetUInt16(uint16_t v) noexcept { Set(VariantType::UInt16).u16 = v; }
  void SetInt32(int32_t v) noexcept { Set(VariantType::Int32).i32 = v; }
  void SetUInt32(uint32_t v) noexcept { Set(VariantType::UInt32).u32 = v; }
  void SetInt64(int64_t v) noexcept { Set(VariantType::Int64).i64 = v; }
  void SetUInt64(uint64_t v) noexcept { Set(VariantType::UInt64).u64 = v; }
  void SetReal32(float v) noexcept { Set(VariantType::Real32).r32 = v; }
  void SetReal64(double v) noexcept { Set(VariantType::Real64).r64 = v; }
  void SetBool(bool v) noexcept { Set(VariantType::Bool).b = v ? 1 : 0; }
  // Stores a copy of the text in the attached string object (made if there is none).
  void SetString(const wchar_t* text);
  void SetString(const CStdStr<wchar_t>& text);
  // Back to Empty: frees the owned string and zeroes payload and type.
  void Clear() noexcept;

  // The text of a String: the owned string when the payload points at it, else the text up to
  // the NUL; empty for a null pointer or another type.
  CStdStr<wchar_t> GetString() const;

 private:
  Payload& Set(VariantType type) noexcept {
    m_value.u64 = 0;
    m_type = type;
    return m_value;
  }
};

// The payload width in bits: 8, 16, 32 or 64 for the numbers, 0 for Empty, String, Bool and any
// number that is no type.
int BitsInVariantType(VariantType type);

// Converts the value in place to the target type by the library's range, rounding and text rules.
// False, with the value unchanged, for a target or source that is no type and for a value the
// target cannot take (out of range, a text that does not parse).
bool VariantChangeType(Variant& value, VariantType target);

// Orders two values, across types where a common type exists. Invalid for type numbers above
// 16383, same types that are no type, and conversions to the common type that fail.
VariantOrd VariantCmp(const Variant& left, const Variant& right);

// left + right (or left - right) in the type of left, wrapping for integers, into result (which is
// first converted to that type). Conversion failures of right and result are passed over: the old
// bits are used. False only when left is Empty, String, Bool or no type.
bool VariantAdd(const Variant& left, Variant right, Variant& result);
bool VariantSub(const Variant& left, Variant right, Variant& result);

// Limits value to high, then to low (high is tested first), comparing in the type of value after
// converting low and high to it (failures passed over). False, value unchanged, for Empty,
// String, Bool and no type.
bool VariantClamp(Variant& value, Variant low, Variant high);

}  // namespace lu
