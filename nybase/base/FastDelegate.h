// fastdelegate::FastDelegate<Signature>: a small non-owning callable of a free function, or of
// an object and one of its member functions, that can be compared and tested for emptiness.
#pragma once

#include <cstddef>
#include <cstring>
#include <type_traits>

namespace fastdelegate {

template <typename Signature>
class FastDelegate;

// Holds no ownership: the bound object must outlive every call. Two delegates are equal when they
// are both empty, or bind the same function, or the same object with the same member function.
// Calling an empty delegate is undefined, as calling a null function pointer is: test first.
template <typename R, typename... Args>
class FastDelegate<R(Args...)> {
 public:
  FastDelegate() noexcept = default;
  FastDelegate(R (*function)(Args...)) noexcept { bind(function); }
  template <typename X, typename Y>
  FastDelegate(Y* object, R (X::*member)(Args...)) noexcept {
    bind(object, member);
  }
  template <typename X, typename Y>
  FastDelegate(const Y* object, R (X::*member)(Args...) const) noexcept {
    bind(object, member);
  }

  // Binds a free function; a null function leaves the delegate empty.
  void bind(R (*function)(Args...)) noexcept {
    clear();
    if (function == nullptr) return;
    Store(function);
    m_stub = &CallFunction;
  }
  // Binds an object and a member function; a null object or member leaves the delegate empty.
  template <typename X, typename Y>
  void bind(Y* object, R (X::*member)(Args...)) noexcept {
    clear();
    if (object == nullptr || member == nullptr) return;
    m_object = static_cast<X*>(object);
    Store(member);
    m_stub = &CallMember<X, R (X::*)(Args...)>;
  }
  template <typename X, typename Y>
  void bind(const Y* object, R (X::*member)(Args...) const) noexcept {
    clear();
    if (object == nullptr || member == nullptr) return;
    m_object = const_cast<X*>(static_cast<const X*>(object));
    Store(member);
    m_stub = &CallMember<const X, R (X::*)(Args...) const>;
  }

  void clear() noexcept {
    m_object = nullptr;
    m_stub = nullptr;
    std::memset(m_target, 0, sizeof m_target);
  }
  bool empty() const noexcept { return m_stub == nullptr; }
  bool operator!() const noexcept { return empty(); }
  explicit operator bool() const noexcept { return !empty(); }

  R operator()(Args... args) const { return m_stub(m_object, m_target, static_cast<Args&&>(args)...); }

  friend bool operator==(const FastDelegate& a, const FastDelegate& b) noexcept {
    return a.m_stub == b.m_stub && a.m_object == b.m_object && std::memcmp(a.m_target, b.m_target, sizeof a.m_target) == 0;
  }
  friend bool operator!=(const FastDelegate& a, const FastDelegate& b) noexcept { return !(a == b); }

 private:
  // Room for any pointer to member function of the common ABIs (two words).
  static constexpr size_t k_targetSize = 2 * sizeof(void*);
  using Stub = R (*)(void* object, const unsigned char* target, Args&&... args);

  template <typename T>
  void Store(T target) noexcept {
    static_assert(sizeof(T) <= k_targetSize, "function pointer too large for the delegate");
    static_assert(std::is_trivially_copyable_v<T>);
    std::memcpy(m_target, &target, sizeof(T));
  }

  static R CallFunction(void*, const unsigned char* target, Args&&... args) {
    R (*function)(Args...);
    std::memcpy(&function, target, sizeof function);
    return function(static_cast<Args&&>(args)...);
  }

  template <typename X, typename Member>
  static R CallMember(void* object, const unsigned char* target, Args&&... args) {
    Member member;
    std::memcpy(&member, target, sizeof member);
    return (static_cast<X*>(object)->*member)(static_cast<Args&&>(args)...);
  }

  void* m_object = nullptr;
  Stub m_stub = nullptr;
  alignas(void*) unsigned char m_target[k_targetSize] = {};
};

// A delegate of an object and member function, with the signature deduced.
template <typename X, typename Y, typename R, typename... Args>
FastDelegate<R(Args...)> MakeDelegate(Y* object, R (X::*member)(Args...)) noexcept {
  return FastDelegate<R(Args...)>(object, member);
}
template <typename X, typename Y, typename R, typename... Args>
FastDelegate<R(Args...)> MakeDelegate(const Y* object, R (X::*member)(Args...) const) noexcept {
  return FastDelegate<R(Args...)>(object, member);
}

}  // namespace fastdelegate
