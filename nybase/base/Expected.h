// lu::Expected<T, E>: a value or an error, with a flag that tells which.
#pragma once

#include <cassert>
#include <type_traits>
#include <utility>
#include <variant>

namespace lu {

// Tag type that selects the error alternative: `return lu::Unexpected(text);`.
template <typename E>
struct Unexpected {
  E error;
  explicit Unexpected(E e) : error(std::move(e)) {}
};
template <typename E>
Unexpected(E) -> Unexpected<E>;

// Holds either a T (HasValue() true) or an E. Accessing the alternative that is not held is a
// programming error (asserted in debug builds), as with std::expected.
template <typename T, typename E>
class Expected {
 public:
  Expected(const T& v) : m_v(std::in_place_index<0>, v) {}
  Expected(T&& v) : m_v(std::in_place_index<0>, std::move(v)) {}
  template <typename G>
  Expected(Unexpected<G> u) : m_v(std::in_place_index<1>, std::move(u.error)) {}

  bool HasValue() const noexcept { return m_v.index() == 0; }
  bool has_value() const noexcept { return HasValue(); }
  explicit operator bool() const noexcept { return HasValue(); }

  T& Value() & { assert(HasValue()); return std::get<0>(m_v); }
  const T& Value() const& { assert(HasValue()); return std::get<0>(m_v); }
  T&& Value() && { assert(HasValue()); return std::get<0>(std::move(m_v)); }
  T& value() & { return Value(); }
  const T& value() const& { return Value(); }
  T&& value() && { return std::move(*this).Value(); }
  T& operator*() & { return Value(); }
  const T& operator*() const& { return Value(); }
  T* operator->() { return &Value(); }
  const T* operator->() const { return &Value(); }

  E& Error() & { assert(!HasValue()); return std::get<1>(m_v); }
  const E& Error() const& { assert(!HasValue()); return std::get<1>(m_v); }
  E&& Error() && { assert(!HasValue()); return std::get<1>(std::move(m_v)); }
  E& error() & { return Error(); }
  const E& error() const& { return Error(); }

 private:
  std::variant<T, E> m_v;
};

}  // namespace lu
