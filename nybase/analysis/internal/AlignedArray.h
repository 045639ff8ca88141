// AlignedArray: a zeroed, 16-byte aligned array with slack, the buffer type of the FFT pipelines.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <utility>

namespace lu::analysis::detail {

// Owns `count` elements plus 16 more, zeroed and aligned to 16 bytes, so that 4-wide loops may
// run past the last used element. A failed allocation leaves data() null and size() 0.
template <typename T>
class AlignedArray {
  static_assert(std::is_trivially_copyable_v<T> && alignof(T) <= 16);

 public:
  static constexpr size_t k_slack = 16;

  AlignedArray() = default;
  explicit AlignedArray(size_t count) { Allocate(count); }
  ~AlignedArray() { std::free(m_data); }
  AlignedArray(const AlignedArray&) = delete;
  AlignedArray& operator=(const AlignedArray&) = delete;
  AlignedArray(AlignedArray&& o) noexcept
      : m_data(std::exchange(o.m_data, nullptr)), m_size(std::exchange(o.m_size, 0)) {}
  AlignedArray& operator=(AlignedArray&& o) noexcept {
    if (this != &o) {
      std::free(m_data);
      m_data = std::exchange(o.m_data, nullptr);
      m_size = std::exchange(o.m_size, 0);
    }
    return *this;
  }

  // Replaces the contents by `count` zeroed elements; false (and empty) when memory runs out or
  // the byte size would overflow.
  bool Allocate(size_t count) {
    std::free(m_data);
    m_data = nullptr;
    m_size = 0;
    if (count > (SIZE_MAX / sizeof(T)) - k_slack - 16) return false;
    size_t bytes = (count + k_slack) * sizeof(T);
    bytes = (bytes + 15) & ~size_t{15};  // aligned_alloc wants a multiple of the alignment
    void* p = std::aligned_alloc(16, bytes);
    if (!p) return false;
    std::memset(p, 0, bytes);
    m_data = static_cast<T*>(p);
    m_size = count;
    return true;
  }

  T* data() noexcept { return m_data; }
  const T* data() const noexcept { return m_data; }
  size_t size() const noexcept { return m_size; }
  T& operator[](size_t i) noexcept { return m_data[i]; }
  const T& operator[](size_t i) const noexcept { return m_data[i]; }

 private:
  T* m_data = nullptr;
  size_t m_size = 0;
};

}  // namespace lu::analysis::detail
