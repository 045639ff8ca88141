// lu::JsonTextWriter: delayed brackets, keys, "#text" and "@type" members of the JSON text writer.
#include <nybase/documents/JsonTextWriter.h>

#include <cstring>

#include <nybase/platform/Utf.h>
#include <nybase/text/StringHelp.h>
#include <nybase/documents/internal/PutCodePoint.h>

namespace lu {

namespace {

constexpr size_t k_guidLength = 38;

void DestroyWriter(void* p) { delete static_cast<IXmlWriter*>(p); }

inline bool NeedsEscape(wchar_t c) {
  return c == L'"' || c == L'\\' || c == 8 || c == 12 || c == L'\n' || c == L'\r' || c == L'\t';
}

// The letter behind the backslash for an ASCII unit that is escaped, 0 for the others.
inline char EscapeLetter(uint32_t c) {
  switch (c) {
    case '"': return '"';
    case '\\': return '\\';
    case 8: return 'b';
    case 12: return 'f';
    case '\n': return 'n';
    case '\r': return 'r';
    case '\t': return 't';
    default: return 0;
  }
}

// Escapes and encodes in one pass, with the same result as escaping a copy and running the name
// encoder over it: a high surrogate joins the unit after it in the escaped text, which for an
// escaped character is the backslash (on purpose). At most 3 bytes per unit.
char* EscapeEncode(const wchar_t* p, size_t n, char* o) {
  for (size_t i = 0; i < n; ++i) {
    uint32_t u = static_cast<uint32_t>(p[i]);
    if (u < 0x80) {
      const char e = EscapeLetter(u);
      if (e) *o++ = '\\';
      *o++ = e ? e : static_cast<char>(u);
      continue;
    }
    if (u > 0xFFFF) u = 0xFFFD;  // not a UTF-16 unit
    if (u >= 0xD800 && u <= 0xDBFF) {
      if (i + 1 == n) break;  // a high surrogate at the very end stops the encoding
      const uint32_t next = static_cast<uint32_t>(p[++i]);
      const char e = next < 0x80 ? EscapeLetter(next) : 0;
      detail::PutCodePoint(o, 0x10000 + ((u - 0xD800) << 10) + ((e ? '\\' : next) & 0x3FF));
      if (e) *o++ = e;
      continue;
    }
    detail::PutCodePoint(o, u);
  }
  return o;
}

}  // namespace

JsonTextWriter::JsonTextWriter(const lu::Path& path, VPropertyEnums::LineEnding lineEnding)
    : TextWriterBase(path, lineEnding) {}

JsonTextWriter::JsonTextWriter(VPropertyEnums::LineEnding lineEnding) : TextWriterBase(lineEnding) {}

std::unique_ptr<IXmlWriter, priv::GenericDeleter> JsonTextWriter::CreateWriter(
    VPropertyEnums::LineEnding lineEnding) const {
  return {new JsonTextWriter(lineEnding), priv::GenericDeleter{&DestroyWriter}};
}

void JsonTextWriter::WriteChar(char c, unsigned long long count) {
  if (count == 0 || !Room(count)) return;
  PutRepeated(c, count);
  Commit(count);
}

void JsonTextWriter::WriteString(const char* text, unsigned long long count) { WriteBytes(text, count); }

void JsonTextWriter::NewLine() {
  const size_t blanks = m_indent > 0 ? static_cast<size_t>(m_indent) : 0;
  const size_t size = LineEndingLength() + blanks;
  if (!Room(size)) return;
  PutLineEnding();
  PutRepeated(' ', blanks);
  Commit(size);
}

void JsonTextWriter::WriteStartDocument() {
  WriteChar('{', 1);
  ++m_indent;
  NewLine();
  m_state = StateDocument;
}

void JsonTextWriter::WriteEndDocument() {
  // State and indent stay as they are; nothing follows the brace.
  if (!Room(LineEndingLength() + 1)) return;
  PutLineEnding();
  *m_pos++ = '}';
  Commit(LineEndingLength() + 1);
}

void JsonTextWriter::StoreUtf8Name(const char* name, size_t len) {
  len = name ? ::strnlen(name, len) : 0;
  size_t i = 0;
  while (i < len && static_cast<unsigned char>(name[i]) < 0x80) ++i;
  if (i == len) {
    m_names.insert(m_names.end(), name, name + len);
    return;
  }
  // Non-ASCII: through UTF-16 and the name encoder, as the wide form would write it.
  const std::wstring wide = platform::Utf8ToUtf16(name, len);
  const size_t offset = m_names.size();
  m_names.resize(offset + 3 * wide.size());
  m_names.resize(offset + EncodeName(wide.data(), wide.size(), m_names.data() + offset));
}

void JsonTextWriter::WriteStartElement(const char* name, XmlElementType type) {
  const size_t offset = m_names.size();
  StoreUtf8Name(name, name ? std::strlen(name) : 0);
  StartElement(offset, type);
}

void JsonTextWriter::WriteStartElement(const CStdStr<wchar_t>& name, XmlElementType type) {
  const size_t offset = m_names.size();
  m_names.resize(offset + 3 * name.size());
  m_names.resize(offset + EncodeName(name.data(), name.size(), m_names.data() + offset));
  StartElement(offset, type);
}

void JsonTextWriter::StartElement(size_t offset, XmlElementType type) {
  const size_t nameLen = m_names.size() - offset;
  Frame* top = m_frames.empty() ? nullptr : &m_frames.back();
  if (m_state == StateKey && top && !top->opened) {
    WriteChar(top->type == XmlElementTypeObject ? '{' : '[', 1);
    ++m_indent;
    top->opened = true;
    NewLine();
    if (m_typedArrays != 0 && top->type == XmlElementTypeObject) {
      // Ends in a bare LF whatever the line ending is, on purpose.
      WriteString("\"@type\": \"", 10);
      WriteString(m_names.data() + top->nameOffset, offset - top->nameOffset);
      WriteString("\",\n", 3);
      WriteChar(' ', m_indent > 0 ? static_cast<unsigned long long>(m_indent) : 0);
    }
  }
  if (m_state == StateValue) {
    WriteChar(',', 1);
    NewLine();
  }
  if (top && top->type == XmlElementTypeObjectArray) {
    // Each child of such an array gets an object of its own.
    WriteChar('{', 1);
    ++m_indent;
    NewLine();
  }
  if (!(top && top->type == XmlElementTypeArray)) {
    const size_t size = nameLen + 4;
    if (Room(size)) {
      *m_pos++ = '"';
      Put(m_names.data() + offset, nameLen);
      Put("\": ", 3);
      Commit(size);
    }
  }
  m_frames.push_back(Frame{static_cast<uint32_t>(offset), type, false});
  m_state = StateKey;
  if (m_wantsType) {
    ++m_typedArrays;
    m_wantsType = false;
  }
}

void JsonTextWriter::WriteEndElement() {
  if (m_frames.empty()) return;  // nothing open: nothing to close
  const Frame frame = m_frames.back();
  if (m_state == StateKey) WriteString(frame.type == XmlElementTypeObject ? "{}" : "[]", 2);
  if (frame.opened) {
    --m_indent;
    NewLine();
    if (frame.type != XmlElementTypeObject) {
      WriteChar(']', 1);
      if (m_typedArrays > 0) --m_typedArrays;  // any "]" lowers the count, on purpose
    } else {
      WriteChar('}', 1);
    }
  }
  m_frames.pop_back();
  m_names.resize(frame.nameOffset);
  if (!m_frames.empty() && m_frames.back().type == XmlElementTypeObjectArray) {
    --m_indent;
    NewLine();
    WriteChar('}', 1);
  }
  m_state = StateValue;
}

const std::wstring& JsonTextWriter::EscapeJSONCharacters(const CStdStr<wchar_t>& text) {
  const wchar_t* p = text.data();
  const size_t n = text.size();
  size_t i = 0;
  while (i < n && !NeedsEscape(p[i])) ++i;
  if (i == n) return text;
  m_scratch.assign(p, i);
  for (; i < n; ++i) {
    switch (const wchar_t c = p[i]) {
      case L'\\': m_scratch += L"\\\\"; break;
      case L'"': m_scratch += L"\\\""; break;
      case 8: m_scratch += L"\\b"; break;
      case 12: m_scratch += L"\\f"; break;
      case L'\n': m_scratch += L"\\n"; break;
      case L'\r': m_scratch += L"\\r"; break;
      case L'\t': m_scratch += L"\\t"; break;
      default: m_scratch += c;
    }
  }
  return m_scratch;
}

void JsonTextWriter::WriteEncoded(const wchar_t* text, size_t len) {
  if (len == 0 || !Room(3 * len)) return;
  Advance(EncodeName(text, len, m_pos));
}

void JsonTextWriter::WriteValue(const wchar_t* text, size_t len) {
  if (m_state == StateKey) {
    WriteChar('"', 1);
  } else if (m_state == StateValue) {
    // A second value in an element, or text behind members.
    WriteChar(',', 1);
    NewLine();
    WriteString("\"#text\": \"", 10);
  }
  WriteEncoded(text, len);
  WriteChar('"', 1);
  m_state = StateValue;
}

void JsonTextWriter::WriteString(const CStdStr<wchar_t>& text) {
  const size_t n = text.size();
  const size_t blanks = m_indent > 0 ? static_cast<size_t>(m_indent) : 0;
  if (n > k_onePassLimit || !Room(12 + LineEndingLength() + blanks + 3 * n)) {
    const std::wstring& v = EscapeJSONCharacters(text);
    WriteValue(v.data(), v.size());
    return;
  }
  // The same bytes as WriteValue, with one request for room.
  char* const start = m_pos;
  if (m_state == StateKey) {
    *m_pos++ = '"';
  } else if (m_state == StateValue) {
    *m_pos++ = ',';
    PutLineEnding();
    PutRepeated(' ', blanks);
    Put("\"#text\": \"", 10);
  }
  m_pos = EscapeEncode(text.data(), n, m_pos);
  *m_pos++ = '"';
  m_state = StateValue;
  Commit(static_cast<size_t>(m_pos - start));
}

void JsonTextWriter::WriteString(const NyGuid& value) {
  CStdStr<wchar_t> text;
  StringHelp::ConvertNyGuidToString(value, text);
  WriteValue(text.data(), text.size());
}

void JsonTextWriter::WriteRaw(const CStdStr<wchar_t>& text) { WriteEncoded(text.data(), text.size()); }

void JsonTextWriter::WriteAttributeString(const BasicStringView<char>& name, const NyGuid& value) {
  const size_t offset = m_names.size();
  StoreUtf8Name(name.data(), name.size());
  StartElement(offset, XmlElementTypeObject);
  WriteString(value);
  WriteEndElement();
}

void JsonTextWriter::WriteAttributeString(const char* name, const CStdStr<wchar_t>& value) {
  WriteStartElement(name, XmlElementTypeObject);
  WriteString(value);
  WriteEndElement();
}

void JsonTextWriter::WriteAttributeString(const CStdStr<wchar_t>& name, const CStdStr<wchar_t>& value) {
  WriteStartElement(name, XmlElementTypeObject);
  WriteString(value);
  WriteEndElement();
}

bool JsonTextWriter::Append(IXmlWriter* other) {
  const char* source = nullptr;
  size_t size = 0;
  if (other == this || !BufferOf(other, source, size)) return false;
  if (m_state == StateValue) {
    WriteChar(',', 1);
    NewLine();
  }
  WriteBytes(source, size);
  m_state = StateValue;
  return true;
}

}  // namespace lu
