// lu::ThinJson: a parsed JSON document and the one-pointer, read-only views that walk it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

#include <nybase/base/Expected.h>
#include <nybase/documents/RapidJsonConfig.h>
#include <nybase/text/BasicStringView.h>
#include <nybase/text/CStdStr.h>

// The views test nothing. Reading through one costs what the direct rapidjson access costs, and
// misuse (a view of the wrong kind, an index past the end, a missing key, a null view) is
// undefined, not reported: that is the contract, not an oversight.
//
// Differences from plain rapidjson that a caller can see:
// - Parsing stops at a nesting depth of Document::k_maxDepth arrays/objects with
//   "Terminate parsing due to Handler error.": rapidjson's reader is recursive, and a hostile
//   100,000-level text would otherwise overflow the stack.
namespace lu::ThinJson {

using RapidJsonValue = rapidjson::GenericValue<rapidjson::UTF8<char>, rapidjson::MemoryPoolAllocator<rapidjson::CrtAllocator>>;
using RapidJsonMember = rapidjson::GenericMember<rapidjson::UTF8<char>, rapidjson::MemoryPoolAllocator<rapidjson::CrtAllocator>>;
using RapidJsonDocument = rapidjson::GenericDocument<rapidjson::UTF8<char>, rapidjson::MemoryPoolAllocator<rapidjson::CrtAllocator>,
                                                     rapidjson::CrtAllocator>;

class Variant;
class Array;
class Map;
class MapItem;
class ArrayIterator;
class MapIterator;

namespace detail {
// Key equality of a lookup: same length, same bytes (no normalisation, case-sensitive).
inline bool KeyEquals(const RapidJsonValue& name, BasicStringView<char> key) noexcept {
  return name.GetStringLength() == key.size() &&
         (key.size() == 0 || std::memcmp(name.GetString(), key.data(), key.size()) == 0);
}
// The value slot of a member, computed without dereferencing (the member may be one past the end
// of its block, or the block may be null for an empty object).
inline const RapidJsonValue* ValueSlot(const RapidJsonMember* member) noexcept {
  static_assert(sizeof(RapidJsonMember) == 2 * sizeof(RapidJsonValue), "name and value side by side");
  return reinterpret_cast<const RapidJsonValue*>(reinterpret_cast<uintptr_t>(member) + sizeof(RapidJsonValue));
}
inline const RapidJsonMember* MembersBegin(const RapidJsonValue* v) noexcept { return v->MemberBegin().operator->(); }
inline const RapidJsonMember* MembersEnd(const RapidJsonValue* v) noexcept { return v->MemberEnd().operator->(); }
}  // namespace detail

// A view of one value. The default (null) view is empty, not a JSON null: every accessor on it
// dereferences a null pointer.
class Variant {
 public:
  // Numbering of rapidjson's value types.
  enum class Type { Null = 0, False = 1, True = 2, Map = 3, Array = 4, String = 5, Number = 6 };

  Variant() noexcept = default;
  explicit Variant(const RapidJsonValue* value) noexcept : m_value(value) {}
  Variant(const RapidJsonValue& value) noexcept : m_value(&value) {}

  // Type tests: each is the rapidjson test of the value. An integer never satisfies IsDouble, and a
  // number may satisfy several of the integer tests.
  Type GetType() const noexcept { return static_cast<Type>(m_value->GetType()); }
  bool IsNull() const noexcept { return m_value->IsNull(); }
  bool IsBool() const noexcept { return m_value->IsBool(); }
  bool IsNumber() const noexcept { return m_value->IsNumber(); }
  bool IsInt() const noexcept { return m_value->IsInt(); }
  bool IsUInt() const noexcept { return m_value->IsUint(); }
  bool IsInt64() const noexcept { return m_value->IsInt64(); }
  bool IsUInt64() const noexcept { return m_value->IsUint64(); }
  bool IsDouble() const noexcept { return m_value->IsDouble(); }
  bool IsString() const noexcept { return m_value->IsString(); }
  bool IsArray() const noexcept { return m_value->IsArray(); }
  bool IsMap() const noexcept { return m_value->IsObject(); }

  // Plain reads, no test: GetBool is true only for the true value; the integer reads take the
  // first 32 or 64 bits of the storage whatever the value is. GetDouble alone looks at the kind
  // first (double, int, unsigned, int64, else the storage as uint64), so it works on every number.
  bool GetBool() const noexcept { return m_value->GetBool(); }
  int GetInt() const noexcept { return m_value->GetInt(); }
  unsigned int GetUInt() const noexcept { return m_value->GetUint(); }
  long long GetInt64() const noexcept { return static_cast<long long>(m_value->GetInt64()); }
  unsigned long long GetUInt64() const noexcept { return static_cast<unsigned long long>(m_value->GetUint64()); }
  double GetDouble() const noexcept { return m_value->GetDouble(); }
  // The string with its length (it may hold zero bytes); lives as long as the tree.
  BasicStringView<char> GetString() const noexcept { return {m_value->GetString(), m_value->GetStringLength()}; }

  // Reinterpret the view; no test.
  inline Array GetArray() const noexcept;
  inline Map GetMap() const noexcept;
  inline ArrayIterator ArrayBegin() const noexcept;
  inline ArrayIterator ArrayEnd() const noexcept;
  inline MapIterator MapBegin() const noexcept;
  inline MapIterator MapEnd() const noexcept;

  // Element by position (no bounds test) and value by key, as on the Array and Map views.
  Variant operator[](unsigned int index) const noexcept { return Variant(m_value->Begin() + index); }
  inline Variant operator[](BasicStringView<char> key) const noexcept;
  inline bool Contains(BasicStringView<char> key) const noexcept;

  // Deep comparison: same type; objects by name regardless of member order; arrays element by
  // element; numbers as doubles when either side is a double, else by their 64-bit storage.
  bool operator==(Variant other) const noexcept { return *m_value == *other.m_value; }
  bool operator!=(Variant other) const noexcept { return !(*this == other); }

  const RapidJsonValue* GetRapidJson() const noexcept { return m_value; }

 private:
  friend class ArrayIterator;
  const RapidJsonValue* m_value = nullptr;
};

// A key and a value side by side.
class MapItem {
 public:
  MapItem() noexcept = default;
  explicit MapItem(const RapidJsonMember* member) noexcept : m_member(member) {}

  BasicStringView<char> GetKey() const noexcept { return {m_member->name.GetString(), m_member->name.GetStringLength()}; }
  Variant GetValue() const noexcept { return Variant(detail::ValueSlot(m_member)); }

 private:
  friend class MapIterator;
  const RapidJsonMember* m_member = nullptr;
};

// Random-access iterator over an array's elements. operator* hands out the iterator's own storage
// as a Variant, so a reference taken from it follows the iterator when it moves (on purpose: the
// iterator and the view of its element are the same single pointer).
class ArrayIterator {
 public:
  using iterator_category = std::random_access_iterator_tag;
  using value_type = Variant;
  using difference_type = long long;
  using pointer = const Variant*;
  using reference = const Variant&;

  ArrayIterator() noexcept = default;
  explicit ArrayIterator(const RapidJsonValue* element) noexcept : m_item(element) {}

  const Variant& operator*() const noexcept { return m_item; }
  const Variant* operator->() const noexcept { return &m_item; }
  Variant operator[](long long n) const noexcept { return *(*this + n); }

  ArrayIterator& operator++() noexcept { ++m_item.m_value; return *this; }
  ArrayIterator& operator--() noexcept { --m_item.m_value; return *this; }
  ArrayIterator operator++(int) noexcept { ArrayIterator old = *this; ++m_item.m_value; return old; }
  ArrayIterator operator--(int) noexcept { ArrayIterator old = *this; --m_item.m_value; return old; }
  ArrayIterator& operator+=(long long n) noexcept { m_item.m_value += n; return *this; }
  ArrayIterator& operator-=(long long n) noexcept { m_item.m_value -= n; return *this; }
  ArrayIterator operator+(long long n) const noexcept { return ArrayIterator(m_item.m_value + n); }
  ArrayIterator operator-(long long n) const noexcept { return ArrayIterator(m_item.m_value - n); }
  long long operator-(ArrayIterator other) const noexcept { return m_item.m_value - other.m_item.m_value; }

  bool operator==(ArrayIterator o) const noexcept { return m_item.m_value == o.m_item.m_value; }
  bool operator!=(ArrayIterator o) const noexcept { return m_item.m_value != o.m_item.m_value; }
  bool operator<(ArrayIterator o) const noexcept { return m_item.m_value < o.m_item.m_value; }
  bool operator<=(ArrayIterator o) const noexcept { return m_item.m_value <= o.m_item.m_value; }
  bool operator>(ArrayIterator o) const noexcept { return m_item.m_value > o.m_item.m_value; }
  bool operator>=(ArrayIterator o) const noexcept { return m_item.m_value >= o.m_item.m_value; }

 private:
  Variant m_item;
};

// Random-access iterator over an object's members; operator* hands out its own storage as a
// MapItem (see ArrayIterator).
class MapIterator {
 public:
  using iterator_category = std::random_access_iterator_tag;
  using value_type = MapItem;
  using difference_type = long long;
  using pointer = const MapItem*;
  using reference = const MapItem&;

  MapIterator() noexcept = default;
  explicit MapIterator(const RapidJsonMember* member) noexcept : m_item(member) {}

  const MapItem& operator*() const noexcept { return m_item; }
  const MapItem* operator->() const noexcept { return &m_item; }
  MapItem operator[](long long n) const noexcept { return *(*this + n); }

  MapIterator& operator++() noexcept { ++m_item.m_member; return *this; }
  MapIterator& operator--() noexcept { --m_item.m_member; return *this; }
  MapIterator operator++(int) noexcept { MapIterator old = *this; ++m_item.m_member; return old; }
  MapIterator operator--(int) noexcept { MapIterator old = *this; --m_item.m_member; return old; }
  MapIterator& operator+=(long long n) noexcept { m_item.m_member += n; return *this; }
  MapIterator& operator-=(long long n) noexcept { m_item.m_member -= n; return *this; }
  MapIterator operator+(long long n) const noexcept { return MapIterator(m_item.m_member + n); }
  MapIterator operator-(long long n) const noexcept { return MapIterator(m_item.m_member - n); }
  long long operator-(MapIterator other) const noexcept { return m_item.m_member - other.m_item.m_member; }

  bool operator==(MapIterator o) const noexcept { return m_item.m_member == o.m_item.m_member; }
  bool operator!=(MapIterator o) const noexcept { return m_item.m_member != o.m_item.m_member; }
  bool operator<(MapIterator o) const noexcept { return m_item.m_member < o.m_item.m_member; }
  bool operator<=(MapIterator o) const noexcept { return m_item.m_member <= o.m_item.m_member; }
  bool operator>(MapIterator o) const noexcept { return m_item.m_member > o.m_item.m_member; }
  bool operator>=(MapIterator o) const noexcept { return m_item.m_member >= o.m_item.m_member; }

  const RapidJsonMember* GetRapidJson() const noexcept { return m_item.m_member; }

 private:
  MapItem m_item;
};

// A view of a value taken to be an array (not tested).
class Array {
 public:
  explicit Array(const RapidJsonValue& value) noexcept : m_value(&value) {}

  unsigned int GetSize() const noexcept { return m_value->Size(); }
  bool IsEmpty() const noexcept { return m_value->Empty(); }
  // Pointer arithmetic on the element block: no bounds test.
  Variant operator[](unsigned int index) const noexcept { return Variant(m_value->Begin() + index); }
  ArrayIterator begin() const noexcept { return ArrayIterator(m_value->Begin()); }
  ArrayIterator end() const noexcept { return ArrayIterator(m_value->End()); }

 private:
  const RapidJsonValue* m_value;
};

// A view of a value taken to be an object (not tested). Lookups by key scan the members from
// first to last; of duplicate keys only the first can be reached by key.
class Map {
 public:
  explicit Map(const RapidJsonValue& value) noexcept : m_value(&value) {}

  unsigned int GetSize() const noexcept { return m_value->MemberCount(); }
  bool IsEmpty() const noexcept { return m_value->ObjectEmpty(); }
  // Member by position: no bounds test.
  MapItem operator[](unsigned int index) const noexcept { return MapItem(detail::MembersBegin(m_value) + index); }
  // The value of the first member named key. A missing key gives the value slot one past the last
  // member, unchecked (on purpose: callers unsure of a key ask Contains or Find first).
  Variant operator[](BasicStringView<char> key) const noexcept { return Variant(detail::ValueSlot(FindMember(key))); }
  bool Contains(BasicStringView<char> key) const noexcept { return FindMember(key) != detail::MembersEnd(m_value); }
  // The first member named key, or end().
  MapIterator Find(BasicStringView<char> key) const noexcept { return MapIterator(FindMember(key)); }
  MapIterator begin() const noexcept { return MapIterator(detail::MembersBegin(m_value)); }
  MapIterator end() const noexcept { return MapIterator(detail::MembersEnd(m_value)); }

 private:
  const RapidJsonMember* FindMember(BasicStringView<char> key) const noexcept {
    const RapidJsonMember* m = detail::MembersBegin(m_value);
    const RapidJsonMember* const last = detail::MembersEnd(m_value);
    while (m != last && !detail::KeyEquals(m->name, key)) ++m;
    return m;
  }

  const RapidJsonValue* m_value;
};

inline Array Variant::GetArray() const noexcept { return Array(*m_value); }
inline Map Variant::GetMap() const noexcept { return Map(*m_value); }
inline ArrayIterator Variant::ArrayBegin() const noexcept { return GetArray().begin(); }
inline ArrayIterator Variant::ArrayEnd() const noexcept { return GetArray().end(); }
inline MapIterator Variant::MapBegin() const noexcept { return GetMap().begin(); }
inline MapIterator Variant::MapEnd() const noexcept { return GetMap().end(); }
inline Variant Variant::operator[](BasicStringView<char> key) const noexcept { return GetMap()[key]; }
inline bool Variant::Contains(BasicStringView<char> key) const noexcept { return GetMap().Contains(key); }

// Owns one rapidjson document on the heap. The heap object never moves, so moving a Document keeps
// every view into its tree valid; a moved-from Document holds null (GetRoot then gives a view that
// must not be read).
class Document {
 public:
  // Deepest nesting of arrays and objects the parsers accept (see the namespace comment).
  static constexpr unsigned k_maxDepth = 1024;

  // An empty document (root null) with its own memory pool of 64 KiB chunks and a 1 KiB parse
  // stack. Throws std::bad_alloc when memory is exhausted.
  Document();
  Document(Document&& other) noexcept : m_doc(other.m_doc) { other.m_doc = nullptr; }
  // Takes the source's pointer (nulling the source) before it destroys the previous tree.
  Document& operator=(Document&& other) noexcept;
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;
  ~Document();

  // A view of the root: the rapidjson document is its own root value.
  Variant GetRoot() const noexcept { return Variant(static_cast<const RapidJsonValue*>(m_doc)); }
  RapidJsonDocument& GetRapidJson() noexcept { return *m_doc; }
  const RapidJsonDocument& GetRapidJson() const noexcept { return *m_doc; }

 private:
  RapidJsonDocument* m_doc;
};

namespace priv {

// Parse text (a zero byte, like the end of the view, ends the input) after skipping a byte order
// mark byte by byte (a partial mark is skipped too). Comments are // to the end of the line and
// /* ... */. Returns the document, or one of rapidjson's English error texts, built from the error
// code alone (no offset). Only memory exhaustion throws.
Expected<Document, CStdStr<char>> ParseAllowComments(BasicStringView<char> text);
// The same with rapidjson's default flags: no comments.
Expected<Document, CStdStr<char>> ParseNoComments(BasicStringView<char> text);

// The error text for a rapidjson parse error code ("Unknown error." for codes it does not know).
const char* ParseErrorText(int code) noexcept;

}  // namespace priv

}  // namespace lu::ThinJson
