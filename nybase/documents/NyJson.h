// NyJson: the mutable JSON tree, a tag and one heap payload (map, array or scalar).
#pragma once

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include <nybase/documents/NyVariant.h>
#include <nybase/text/ROString.h>

namespace NY::VelmoorAuthoringAPI {

// A 32-bit tag and one pointer: TypeMap (an ordered map from key to tree), TypeArray, TypeVariant
// (a scalar) or TypeEmpty (no payload, the pointer is null). A fresh tree is Empty. Copying is
// deep. Making a payload of another kind first destroys the old one. Copy, destruction and
// comparison walk the tree with an explicit stack, so a tree of any depth is safe to copy and
// free. Accessors of a payload are unchecked: the tree must be of that kind.
template <typename V, typename K, typename Less>
class NyJsonBase {
 public:
  enum Type : uint32_t { TypeMap = 0, TypeArray = 1, TypeVariant = 2, TypeEmpty = 3 };
  using Map = std::map<K, NyJsonBase, Less>;
  using Array = std::vector<NyJsonBase>;

  NyJsonBase() noexcept : m_type(TypeEmpty), m_ptr(nullptr) {}
  NyJsonBase(const V& value) : m_type(TypeVariant), m_ptr(new V(value)) {}
  NyJsonBase(V&& value) : m_type(TypeVariant), m_ptr(new V(std::move(value))) {}
  NyJsonBase(const Map& map) : m_type(TypeMap), m_ptr(new Map(map)) {}
  NyJsonBase(const Array& array) : m_type(TypeArray), m_ptr(new Array(array)) {}
  NyJsonBase(const NyJsonBase& other) : NyJsonBase() { CopyDeep(other); }
  NyJsonBase(NyJsonBase&& other) noexcept : m_type(other.m_type), m_ptr(other.m_ptr) {
    other.m_type = TypeEmpty;
    other.m_ptr = nullptr;
  }
  NyJsonBase& operator=(const NyJsonBase& other) {
    if (this != &other) {
      NyJsonBase copy(other);
      Swap(copy);
    }
    return *this;
  }
  NyJsonBase& operator=(NyJsonBase&& other) noexcept {
    if (this != &other) {
      NyJsonBase taken(std::move(other));
      Swap(taken);
    }
    return *this;
  }
  // Assigning a payload keeps a payload of the same kind (assigned into) and otherwise replaces
  // the old payload by a new one of the new kind.
  NyJsonBase& operator=(const Map& map) {
    if (m_type == TypeMap) {
      GetMap() = map;
    } else {
      NyJsonBase made(map);
      Swap(made);
    }
    return *this;
  }
  NyJsonBase& operator=(const Array& array) {
    if (m_type == TypeArray) {
      GetArray() = array;
    } else {
      NyJsonBase made(array);
      Swap(made);
    }
    return *this;
  }
  NyJsonBase& operator=(const V& value) {
    if (m_type == TypeVariant) {
      GetVariant() = value;
    } else {
      NyJsonBase made(value);
      Swap(made);
    }
    return *this;
  }
  NyJsonBase& operator=(V&& value) {
    if (m_type == TypeVariant) {
      GetVariant() = std::move(value);
    } else {
      NyJsonBase made(std::move(value));
      Swap(made);
    }
    return *this;
  }
  ~NyJsonBase() { Release(); }

  void Swap(NyJsonBase& other) noexcept {
    std::swap(m_type, other.m_type);
    std::swap(m_ptr, other.m_ptr);
  }

  uint32_t GetType() const noexcept { return m_type; }
  bool IsMap() const noexcept { return m_type == TypeMap; }
  bool IsArray() const noexcept { return m_type == TypeArray; }
  bool IsVariant() const noexcept { return m_type == TypeVariant; }
  bool IsEmpty() const noexcept { return m_type == TypeEmpty; }

  // Makes the tree a Map and returns it; an existing Map keeps its entries.
  Map& MakeMap() {
    if (m_type != TypeMap) {
      NyJsonBase made{Map()};
      Swap(made);
    }
    return GetMap();
  }
  // Makes the tree an Array and returns it; an existing Array keeps its elements.
  Array& MakeArray() {
    if (m_type != TypeArray) {
      NyJsonBase made{Array()};
      Swap(made);
    }
    return GetArray();
  }
  // Makes the tree a Variant and returns it; an existing Variant keeps its value.
  V& MakeVariant() {
    if (m_type != TypeVariant) {
      NyJsonBase made{V()};
      Swap(made);
    }
    return GetVariant();
  }
  // Back to Empty.
  void Reset() noexcept { Release(); }

  Map& GetMap() noexcept { return *static_cast<Map*>(m_ptr); }
  const Map& GetMap() const noexcept { return *static_cast<const Map*>(m_ptr); }
  Array& GetArray() noexcept { return *static_cast<Array*>(m_ptr); }
  const Array& GetArray() const noexcept { return *static_cast<const Array*>(m_ptr); }
  V& GetVariant() noexcept { return *static_cast<V*>(m_ptr); }
  const V& GetVariant() const noexcept { return *static_cast<const V*>(m_ptr); }

  // Deep equality: same kinds, same keys in the same map order, equal scalars.
  friend bool operator==(const NyJsonBase& a, const NyJsonBase& b) { return Equal(a, b); }
  friend bool operator!=(const NyJsonBase& a, const NyJsonBase& b) { return !Equal(a, b); }

 private:
  // Frees the payload. Container children that are containers themselves are first moved to a
  // work list, so each node is freed with its children already flat: no recursion, whatever the
  // depth.
  void Release() noexcept {
    if (m_type == TypeVariant) {
      delete static_cast<V*>(m_ptr);
    } else if (m_type == TypeMap || m_type == TypeArray) {
      std::vector<NyJsonBase> pending;
      MoveNestedTo(pending);
      DeleteShallow();
      while (!pending.empty()) {
        NyJsonBase node(std::move(pending.back()));
        pending.pop_back();
        node.MoveNestedTo(pending);
      }  // node is freed here with no nested containers left in it
    }
    m_type = TypeEmpty;
    m_ptr = nullptr;
  }
  // Moves this node's children that are containers (non-empty) to the list; they become Empty.
  // Out of memory while growing the list ends the program (noexcept): a tree could not be freed.
  void MoveNestedTo(std::vector<NyJsonBase>& pending) noexcept {
    auto take = [&pending](NyJsonBase& child) {
      if ((child.m_type == TypeMap && !child.GetMap().empty()) ||
          (child.m_type == TypeArray && !child.GetArray().empty()))
        pending.push_back(std::move(child));
    };
    if (m_type == TypeMap) {
      for (auto& entry : GetMap()) take(entry.second);
    } else if (m_type == TypeArray) {
      for (auto& element : GetArray()) take(element);
    }
  }
  void DeleteShallow() noexcept {
    if (m_type == TypeMap) delete static_cast<Map*>(m_ptr);
    if (m_type == TypeArray) delete static_cast<Array*>(m_ptr);
  }

  // Deep copy of `source` into this Empty tree, with a work list of (source, target) pairs.
  // Targets are map nodes and array slots made before they are listed, so their addresses hold.
  void CopyDeep(const NyJsonBase& source) {
    std::vector<std::pair<const NyJsonBase*, NyJsonBase*>> work{{&source, this}};
    while (!work.empty()) {
      auto [from, to] = work.back();
      work.pop_back();
      if (from->m_type == TypeVariant) {
        *to = from->GetVariant();
      } else if (from->m_type == TypeMap) {
        Map& map = to->MakeMap();
        for (const auto& entry : from->GetMap()) {
          auto it = map.emplace_hint(map.end(), entry.first, NyJsonBase());
          work.emplace_back(&entry.second, &it->second);
        }
      } else if (from->m_type == TypeArray) {
        Array& array = to->MakeArray();
        array.resize(from->GetArray().size());
        for (size_t i = 0; i < array.size(); ++i) work.emplace_back(&from->GetArray()[i], &array[i]);
      }
    }
  }

  static bool Equal(const NyJsonBase& a, const NyJsonBase& b) {
    std::vector<std::pair<const NyJsonBase*, const NyJsonBase*>> work{{&a, &b}};
    while (!work.empty()) {
      auto [x, y] = work.back();
      work.pop_back();
      if (x->m_type != y->m_type) return false;
      if (x->m_type == TypeVariant) {
        if (!(x->GetVariant() == y->GetVariant())) return false;
      } else if (x->m_type == TypeMap) {
        const Map& mx = x->GetMap();
        const Map& my = y->GetMap();
        if (mx.size() != my.size()) return false;
        for (auto ix = mx.begin(), iy = my.begin(); ix != mx.end(); ++ix, ++iy) {
          if (!(ix->first == iy->first)) return false;
          work.emplace_back(&ix->second, &iy->second);
        }
      } else if (x->m_type == TypeArray) {
        const Array& ax = x->GetArray();
        const Array& ay = y->GetArray();
        if (ax.size() != ay.size()) return false;
        for (size_t i = 0; i < ax.size(); ++i) work.emplace_back(&ax[i], &ay[i]);
      }
    }
    return true;
  }

  uint32_t m_type;
  void* m_ptr;
};

}  // namespace NY::VelmoorAuthoringAPI

// The library's JSON tree: interned keys, ordered by their pointer value (so map order is fixed
// within a process and differs between runs).
using NyJson = NY::VelmoorAuthoringAPI::NyJsonBase<NyVariant, ROString, ROStringLess>;
