// The compact JSON text of a tree: rapidjson's number forms and escapes, without its writer's per-byte calls.
#include <nybase/documents/internal/JsonTreeWriter.h>

#include <nybase/documents/JsonHelpers.h>  // k_maxDepth, and rapidjson as the library configures it

#include <rapidjson/internal/dtoa.h>
#include <rapidjson/internal/itoa.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include <nybase/text/StringHelp.h>

namespace lu::detail {
namespace {

// The writer's escapes: control characters, the quote and the backslash; every other byte,
// UTF-8 or not, is copied as it is.
constexpr char k_hex[] = "0123456789ABCDEF";
constexpr char k_escape[256] = {
    'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'b', 't', 'n', 'u', 'f', 'r', 'u', 'u',
    'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u',
    0,   0,   '"', 0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,
    0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,
    0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,
    0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   '\\', 0,  0,   0,
};

// The bytes of an eight-byte word (read little-endian) that need an escape: a byte below 0x20,
// a quote or a backslash. The lowest set bit is exact, in the top bit of the first such byte
// (higher bits may be false alarms from the borrow), so it tells how many plain bytes lead.
static_assert(std::endian::native == std::endian::little);
inline uint64_t EscapeMask(uint64_t w) {
  constexpr uint64_t ones = 0x0101010101010101ull;
  constexpr uint64_t highs = 0x8080808080808080ull;
  const uint64_t quote = w ^ (ones * '"');
  const uint64_t slash = w ^ (ones * '\\');
  return (((w - ones * 0x20) & ~w) | ((quote - ones) & ~quote) | ((slash - ones) & ~slash)) & highs;
}

// How a walk ended: done; refused (a NaN or an infinity: all output stops there); or failed (a
// bad tag, too deep: the open containers are still closed).
enum class End { Done, Refused, Failed };

class Writer {
 public:
  Writer() = default;
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;
  ~Writer() { std::free(m_out); }

  std::string Take() const { return m_length == 0 ? std::string() : std::string(m_out, m_length); }

  End Write(const NyJson& tree, int depth) {
    switch (tree.GetType()) {
      case NyJson::TypeVariant: return WriteVariant(tree.GetVariant());
      case NyJson::TypeArray: {
        Put('[');
        End end = depth >= JsonHelpers::k_maxDepth ? End::Failed : End::Done;
        const NyJson::Array& array = tree.GetArray();
        for (size_t i = 0; end == End::Done && i < array.size(); ++i) {
          if (i > 0) Put(',');
          end = Write(array[i], depth + 1);
          if (end == End::Refused) return end;
        }
        Put(']');
        return end;
      }
      case NyJson::TypeMap: {
        Put('{');
        End end = depth >= JsonHelpers::k_maxDepth ? End::Failed : End::Done;
        const NyJson::Map& map = tree.GetMap();
        for (auto it = map.begin(); end == End::Done && it != map.end(); ++it) {
          if (it != map.begin()) Put(',');
          WriteString(it->first.c_str(), it->first.GetLength());
          Put(':');
          end = Write(it->second, depth + 1);
          if (end == End::Refused) return end;
        }
        Put('}');
        return end;
      }
      default: Literal("null", 4); return End::Done;  // Empty
    }
  }

 private:
  End WriteVariant(const NyVariant& v) {
    char* o = Reserve(32);
    switch (v.GetType()) {
      case NyVariant::TypeNone: Literal("null", 4); return End::Done;
      case NyVariant::TypeUInt8:
      case NyVariant::TypeUInt16:
      case NyVariant::TypeUInt32: return Advance(rapidjson::internal::u32toa(unsigned(v.GetUInt64()), o));
      case NyVariant::TypeUInt64: return Advance(rapidjson::internal::u64toa(v.GetUInt64(), o));
      case NyVariant::TypeInt8:
      case NyVariant::TypeInt16:
      case NyVariant::TypeInt32: return Advance(rapidjson::internal::i32toa(int(v.GetInt64()), o));
      case NyVariant::TypeInt64: return Advance(rapidjson::internal::i64toa(v.GetInt64(), o));
      case NyVariant::TypeFloat:
      case NyVariant::TypeDouble: {
        const double d = v.GetDouble();
        if (rapidjson::internal::Double(d).IsNanOrInf()) return End::Refused;
        return Advance(rapidjson::internal::dtoa(d, o, rapidjson::Writer<rapidjson::StringBuffer>::kDefaultMaxDecimalPlaces));
      }
      case NyVariant::TypeBool:
        if (v.GetBool()) Literal("true", 4);
        else Literal("false", 5);
        return End::Done;
      case NyVariant::TypeString: WriteString(v.GetString().data(), v.GetString().size()); return End::Done;
      case NyVariant::TypeGuid: {
        char text[39];
        StringHelp::ConvertNyGuidToString(v.GetGuid(), text);
        WriteString(text, 38);
        return End::Done;
      }
      default: Literal("null", 4); return End::Failed;
    }
  }

  // Plain bytes go over a word at a time, the tail too (the text's last word, shifted), so no
  // byte outside the text is read; only a text shorter than a word goes byte by byte.
  void WriteString(const char* text, size_t length) {
    char* o = Reserve(2 + length * 6 + 8);
    *o++ = '"';
    const char* p = text;
    const char* const end = text + length;
    while (p < end) {
      size_t plain;
      if (end - p >= 8) {
        uint64_t w;
        std::memcpy(&w, p, 8);
        std::memcpy(o, &w, 8);  // the whole word; only its plain lead counts (the room allows for it)
        const uint64_t mask = EscapeMask(w);
        if (mask == 0) {
          o += 8;
          p += 8;
          continue;
        }
        plain = static_cast<size_t>(std::countr_zero(mask)) / 8;
      } else if (end - text >= 8) {
        // The tail: the text's last word, shifted down to it and topped up with 'a's.
        const size_t rest = static_cast<size_t>(end - p);
        uint64_t w;
        std::memcpy(&w, end - 8, 8);
        w = (w >> (8 * (8 - rest))) | (0x6161616161616161ull << (8 * rest));
        std::memcpy(o, &w, 8);
        const uint64_t mask = EscapeMask(w);
        plain = mask == 0 ? rest : static_cast<size_t>(std::countr_zero(mask)) / 8;
      } else {
        plain = 0;
        for (; p + plain < end && !k_escape[static_cast<unsigned char>(p[plain])]; ++plain) o[plain] = p[plain];
      }
      o += plain;
      p += plain;
      if (p == end) break;
      const unsigned char c = static_cast<unsigned char>(*p++);
      *o++ = '\\';
      *o++ = k_escape[c];
      if (k_escape[c] == 'u') {
        *o++ = '0';
        *o++ = '0';
        *o++ = k_hex[c >> 4];
        *o++ = k_hex[c & 0xF];
      }
    }
    *o++ = '"';
    m_length = static_cast<size_t>(o - m_out);
  }

  void Put(char c) { *Reserve(1) = c, ++m_length; }
  void Literal(const char* text, size_t length) {
    std::memcpy(Reserve(length), text, length);
    m_length += length;
  }
  End Advance(char* end) {
    m_length = static_cast<size_t>(end - m_out);
    return End::Done;
  }
  // Room for n more bytes at the end of the text. The buffer grows by realloc, which moves a
  // large block by remapping its pages instead of copying them and touches no page it does not
  // write, unlike a string that is resized (zero-filled) as it doubles.
  char* Reserve(size_t n) {
    if (m_capacity - m_length < n) {
      const size_t capacity = std::max(m_capacity * 2, m_length + n + 4096);
      void* grown = std::realloc(m_out, capacity);
      if (grown == nullptr) throw std::bad_alloc();
      m_out = static_cast<char*>(grown);
      m_capacity = capacity;
    }
    return m_out + m_length;
  }

  char* m_out = nullptr;
  size_t m_capacity = 0;
  size_t m_length = 0;
};

}  // namespace

std::string CompactTreeText(const NyJson& tree) {
  Writer writer;
  writer.Write(tree, 0);
  return writer.Take();
}

}  // namespace lu::detail
