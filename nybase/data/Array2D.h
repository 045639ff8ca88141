// Array2D<T>: a dense width x height matrix over a std::vector, with checked element access.
#pragma once

#include <cstddef>
#include <limits>
#include <stdexcept>
#include <vector>

template <typename T>
class Array2D {
 public:
  Array2D() = default;
  // A width x height matrix filled with value. Throws std::length_error when the element count
  // does not fit a size_t.
  Array2D(size_t width, size_t height, const T& value = T()) { Resize(width, height, value); }

  size_t GetWidth() const noexcept { return m_width; }
  size_t GetHeight() const noexcept { return m_height; }

  // Refills the matrix as width x height copies of value (the old elements go).
  void Resize(size_t width, size_t height, const T& value = T()) {
    if (height != 0 && width > std::numeric_limits<size_t>::max() / height) {
      throw std::length_error("Array2D too large");
    }
    m_data.assign(width * height, value);
    m_width = width;
    m_height = height;
  }

  // Element (x, y), stored at y * width + x. Only the vector's size is tested, so an x beyond the
  // width reaches into a later row, on purpose; an index past the end throws std::out_of_range
  // with "invalid vector subscript".
  T& operator()(size_t x, size_t y) { return At(y * m_width + x); }
  const T& operator()(size_t x, size_t y) const { return At(y * m_width + x); }

  T& At(size_t index) {
    if (index >= m_data.size()) throw std::out_of_range("invalid vector subscript");
    return m_data[index];
  }
  const T& At(size_t index) const {
    if (index >= m_data.size()) throw std::out_of_range("invalid vector subscript");
    return m_data[index];
  }

  // The elements row by row (y outer), for code that walks them unchecked.
  std::vector<T>& GetData() noexcept { return m_data; }
  const std::vector<T>& GetData() const noexcept { return m_data; }

 private:
  std::vector<T> m_data;
  size_t m_width = 0;
  size_t m_height = 0;
};
