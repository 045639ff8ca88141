// DepthLimitedHandler: hands a reader's events to a document and refuses to open a container
// deeper than a limit.
#pragma once

#include <rapidjson/rapidjson.h>

#include <cstdint>

namespace lu::detail {

// Forwards every event to `document` (any rapidjson document type). Opening a container beyond
// `maxDepth` returns false, which ends the parse with the handler-error code before the
// recursive reader goes any deeper.
template <class Document>
class DepthLimitedHandler {
 public:
  DepthLimitedHandler(Document& document, unsigned int maxDepth) : m_document(document), m_maxDepth(maxDepth) {}

  bool Null() { return m_document.Null(); }
  bool Bool(bool b) { return m_document.Bool(b); }
  bool Int(int i) { return m_document.Int(i); }
  bool Uint(unsigned u) { return m_document.Uint(u); }
  bool Int64(int64_t i) { return m_document.Int64(i); }
  bool Uint64(uint64_t u) { return m_document.Uint64(u); }
  bool Double(double d) { return m_document.Double(d); }
  bool RawNumber(const char* text, rapidjson::SizeType length, bool copy) { return m_document.RawNumber(text, length, copy); }
  bool String(const char* text, rapidjson::SizeType length, bool copy) { return m_document.String(text, length, copy); }
  bool Key(const char* text, rapidjson::SizeType length, bool copy) { return m_document.Key(text, length, copy); }
  bool StartObject() { return ++m_depth <= m_maxDepth && m_document.StartObject(); }
  bool EndObject(rapidjson::SizeType count) { --m_depth; return m_document.EndObject(count); }
  bool StartArray() { return ++m_depth <= m_maxDepth && m_document.StartArray(); }
  bool EndArray(rapidjson::SizeType count) { --m_depth; return m_document.EndArray(count); }

 private:
  Document& m_document;
  unsigned int m_maxDepth;
  unsigned int m_depth = 0;
};

}  // namespace lu::detail
