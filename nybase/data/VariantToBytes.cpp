// lu::VariantToBytes: a variant's value as bytes, in the order and widths of its type.
#include <nybase/data/VariantToBytes.h>

#include <cstring>
#include <vector>

namespace lu {

namespace {

template <typename T>
void Put(HashBytes* sink, T value) {
  unsigned char bytes[sizeof(T)];
  std::memcpy(bytes, &value, sizeof(T));  // little-endian as in memory on this platform
  int written = 0;
  sink->WriteBytes(bytes, static_cast<int>(sizeof(T)), written);
}

}  // namespace

bool VariantToBytes(const lu::Variant& value, HashBytes* sink) {
  if (sink == nullptr) return false;
  const Variant::Payload& v = value.m_value;
  switch (value.GetType()) {
    case VariantType::Int8: Put(sink, v.i8); return true;
    case VariantType::UInt8: Put(sink, v.u8); return true;
    case VariantType::Bool: Put(sink, v.b); return true;
    case VariantType::Int16: Put(sink, v.i16); return true;
    case VariantType::UInt16: Put(sink, v.u16); return true;
    case VariantType::Int32: Put(sink, v.i32); return true;
    case VariantType::UInt32: Put(sink, v.u32); return true;
    case VariantType::Real32: Put(sink, v.r32); return true;
    case VariantType::Int64: Put(sink, v.i64); return true;
    case VariantType::UInt64: Put(sink, v.u64); return true;
    case VariantType::Real64: Put(sink, v.r64); return true;
    case VariantType::String: {
      const CStdStr<wchar_t> text = value.GetString();
      if (text.empty()) {
        Put(sink, uint8_t{0});
        return true;
      }
      std::vector<unsigned char> bytes(text.size() * 2);
      for (size_t i = 0; i < text.size(); ++i) {
        const auto unit = static_cast<uint32_t>(text[i]);
        bytes[2 * i] = static_cast<unsigned char>(unit);
        bytes[2 * i + 1] = static_cast<unsigned char>(unit >> 8);
      }
      int written = 0;
      sink->WriteBytes(bytes.data(), static_cast<int>(bytes.size()), written);
      return true;
    }
    default:
      return false;
  }
}

}  // namespace lu
