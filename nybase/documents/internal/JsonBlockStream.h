// A fast rapidjson input stream over a memory block.
#pragma once

#include <nybase/documents/RapidJsonConfig.h>

#include <cstddef>

namespace lu::detail {

// The same reads as rapidjson::MemoryStream (a NUL for every read past the end, positions from
// the start), but declared cheap to copy, so the parser keeps it in registers while it scans.
struct JsonBlockStream {
  using Ch = char;

  JsonBlockStream(const char* data, size_t size) : m_src(data), m_begin(data), m_end(data + size) {}

  Ch Peek() const { return RAPIDJSON_UNLIKELY(m_src == m_end) ? '\0' : *m_src; }
  Ch Take() { return RAPIDJSON_UNLIKELY(m_src == m_end) ? '\0' : *m_src++; }
  size_t Tell() const { return static_cast<size_t>(m_src - m_begin); }
  // Write side of the stream concept, used only by in-place parsing, which this is not.
  Ch* PutBegin() { return nullptr; }
  void Put(Ch) {}
  void Flush() {}
  size_t PutEnd(Ch*) { return 0; }

  const char* m_src;
  const char* m_begin;
  const char* m_end;
};

}  // namespace lu::detail

template <>
struct rapidjson::StreamTraits<lu::detail::JsonBlockStream> {
  enum { copyOptimization = 1 };
};
