// NyVariant: the tagged scalar of the JSON tree (numbers of every width, bool, UTF-8 text, GUID).
#pragma once

#include <cstdint>
#include <string>

#include <nybase/base/NyGuid.h>

// A 32-bit tag and an 8-byte payload. Numbers and bool are held inline; a string (UTF-8, any
// bytes, its length kept) and a GUID are owned heap objects, copied on copy. Accessors are
// unchecked: ask GetType first, as with a union.
class NyVariant {
 public:
  enum Type : uint32_t {
    TypeNone = 0,
    TypeUInt8 = 1,
    TypeUInt16 = 2,
    TypeUInt32 = 3,
    TypeUInt64 = 4,
    TypeInt8 = 5,
    TypeInt16 = 6,
    TypeInt32 = 7,
    TypeInt64 = 8,
    TypeFloat = 9,
    TypeDouble = 10,
    TypeBool = 11,
    TypeString = 12,
    TypeGuid = 13,
  };

  NyVariant() noexcept : m_type(TypeNone) { m_u.u64 = 0; }
  explicit NyVariant(uint8_t v) noexcept : m_type(TypeUInt8) { m_u.u64 = v; }
  explicit NyVariant(uint16_t v) noexcept : m_type(TypeUInt16) { m_u.u64 = v; }
  explicit NyVariant(uint32_t v) noexcept : m_type(TypeUInt32) { m_u.u64 = v; }
  explicit NyVariant(uint64_t v) noexcept : m_type(TypeUInt64) { m_u.u64 = v; }
  explicit NyVariant(int8_t v) noexcept : m_type(TypeInt8) { m_u.i64 = v; }
  explicit NyVariant(int16_t v) noexcept : m_type(TypeInt16) { m_u.i64 = v; }
  explicit NyVariant(int32_t v) noexcept : m_type(TypeInt32) { m_u.i64 = v; }
  explicit NyVariant(int64_t v) noexcept : m_type(TypeInt64) { m_u.i64 = v; }
  explicit NyVariant(float v) noexcept : m_type(TypeFloat) { m_u.u64 = 0; m_u.f = v; }
  explicit NyVariant(double v) noexcept : m_type(TypeDouble) { m_u.d = v; }
  explicit NyVariant(bool v) noexcept : m_type(TypeBool) { m_u.u64 = 0; m_u.b = v; }
  // Text is taken as UTF-8 bytes; the const char* form stops at the first NUL (null is empty).
  explicit NyVariant(const char* text) : NyVariant(std::string(text ? text : "")) {}
  explicit NyVariant(std::string text) : m_type(TypeString) { m_u.s = new std::string(std::move(text)); }
  explicit NyVariant(const NyGuid& guid) : m_type(TypeGuid) { m_u.g = new NyGuid(guid); }

  NyVariant(const NyVariant& other) : m_type(TypeNone) { CopyFrom(other); }
  NyVariant(NyVariant&& other) noexcept : m_type(other.m_type), m_u(other.m_u) {
    other.m_type = TypeNone;
    other.m_u.u64 = 0;
  }
  NyVariant& operator=(const NyVariant& other) {
    if (this != &other) {
      NyVariant copy(other);
      Swap(copy);
    }
    return *this;
  }
  NyVariant& operator=(NyVariant&& other) noexcept {
    NyVariant taken(std::move(other));
    Swap(taken);
    return *this;
  }
  ~NyVariant() { Release(); }

  void Swap(NyVariant& other) noexcept {
    std::swap(m_type, other.m_type);
    std::swap(m_u, other.m_u);
  }

  uint32_t GetType() const noexcept { return m_type; }
  bool IsNone() const noexcept { return m_type == TypeNone; }
  bool IsString() const noexcept { return m_type == TypeString; }
  bool IsGuid() const noexcept { return m_type == TypeGuid; }

  // Tags 1-4 (and bool as 0/1); other tags give the raw payload.
  uint64_t GetUInt64() const noexcept { return m_type == TypeBool ? (m_u.b ? 1 : 0) : m_u.u64; }
  // Tags 5-8 (sign-extended when made).
  int64_t GetInt64() const noexcept { return m_u.i64; }
  float GetFloat() const noexcept { return m_u.f; }
  double GetDouble() const noexcept { return m_type == TypeFloat ? double(m_u.f) : m_u.d; }
  bool GetBool() const noexcept { return m_u.b; }
  // Tag 12 only.
  const std::string& GetString() const noexcept { return *m_u.s; }
  std::string& GetString() noexcept { return *m_u.s; }
  // Tag 13 only.
  const NyGuid& GetGuid() const noexcept { return *m_u.g; }

  // Same tag and same value (strings by bytes, GUIDs by value, floats by ==, so NaN != NaN).
  friend bool operator==(const NyVariant& a, const NyVariant& b) noexcept;
  friend bool operator!=(const NyVariant& a, const NyVariant& b) noexcept { return !(a == b); }

 private:
  union Payload {
    uint64_t u64;
    int64_t i64;
    float f;
    double d;
    bool b;
    std::string* s;
    NyGuid* g;
  };

  void CopyFrom(const NyVariant& other) {
    if (other.m_type == TypeString) {
      m_u.s = new std::string(*other.m_u.s);
    } else if (other.m_type == TypeGuid) {
      m_u.g = new NyGuid(*other.m_u.g);
    } else {
      m_u = other.m_u;
    }
    m_type = other.m_type;
  }
  void Release() noexcept {
    if (m_type == TypeString) delete m_u.s;
    if (m_type == TypeGuid) delete m_u.g;
    m_type = TypeNone;
    m_u.u64 = 0;
  }

  uint32_t m_type;
  Payload m_u;
};

inline bool operator==(const NyVariant& a, const NyVariant& b) noexcept {
  if (a.m_type != b.m_type) return false;
  switch (a.m_type) {
    case NyVariant::TypeNone: return true;
    case NyVariant::TypeFloat: return a.m_u.f == b.m_u.f;
    case NyVariant::TypeDouble: return a.m_u.d == b.m_u.d;
    case NyVariant::TypeBool: return a.m_u.b == b.m_u.b;
    case NyVariant::TypeString: return *a.m_u.s == *b.m_u.s;
    case NyVariant::TypeGuid: return *a.m_u.g == *b.m_u.g;
    default: return a.m_u.u64 == b.m_u.u64;
  }
}
