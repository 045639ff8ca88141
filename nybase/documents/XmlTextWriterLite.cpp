// XmlTextWriterLite: tags, indentation, escaping and Append of the XML text writer.
#include <nybase/documents/XmlTextWriterLite.h>

#include <cstring>

#include <nybase/text/StringHelp.h>
#include <nybase/documents/internal/PutCodePoint.h>

namespace {

constexpr char k_declaration[] = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";
constexpr size_t k_guidLength = 38;

void DestroyWriter(void* p) { delete static_cast<lu::IXmlWriter*>(p); }

// True for the characters that make a value need escaping (both kinds).
inline bool NeedsEscape(wchar_t c) { return c == L'"' || c == L'<' || c == L'>' || c == L'&' || c == L'\r' || c == L'\n'; }

inline void PutLiteral(char*& o, const char* s, size_t n) {
  std::memcpy(o, s, n);
  o += n;
}

// Escapes and encodes in one pass, with the same result as escaping a copy and converting it with
// the platform codec (lone surrogates become U+FFFD). At most 6 bytes per unit.
char* EscapeEncode(const wchar_t* p, size_t n, bool attribute, char* o) {
  for (size_t i = 0; i < n; ++i) {
    uint32_t c = static_cast<uint32_t>(p[i]);
    if (c < 0x80) {
      if (!NeedsEscape(static_cast<wchar_t>(c))) {
        *o++ = static_cast<char>(c);
        continue;
      }
      switch (c) {
        case '&': PutLiteral(o, "&amp;", 5); break;
        case '<': PutLiteral(o, "&lt;", 4); break;
        case '>': PutLiteral(o, "&gt;", 4); break;
        case '"': attribute ? PutLiteral(o, "&quot;", 6) : void(*o++ = '"'); break;
        case '\r': attribute ? PutLiteral(o, "&#13;", 5) : void(*o++ = '\r'); break;
        default: attribute ? PutLiteral(o, "&#10;", 5) : void(*o++ = '\n'); break;
      }
      continue;
    }
    if (c >= 0xD800 && c <= 0xDBFF) {
      const uint32_t next = i + 1 < n ? static_cast<uint32_t>(p[i + 1]) : 0;
      if (next >= 0xDC00 && next <= 0xDFFF) {
        c = 0x10000 + ((c - 0xD800) << 10) + (next - 0xDC00);
        ++i;
      } else {
        c = 0xFFFD;
      }
    } else if ((c >= 0xDC00 && c <= 0xDFFF) || c > 0x10FFFF) {
      c = 0xFFFD;
    }
    lu::detail::PutCodePoint(o, c);
  }
  return o;
}

}  // namespace

XmlTextWriterLite::XmlTextWriterLite(const lu::Path& path, VPropertyEnums::LineEnding lineEnding)
    : TextWriterBase(path, lineEnding) {}

XmlTextWriterLite::XmlTextWriterLite(VPropertyEnums::LineEnding lineEnding) : TextWriterBase(lineEnding) {}

std::unique_ptr<lu::IXmlWriter, lu::priv::GenericDeleter> XmlTextWriterLite::CreateWriter(
    VPropertyEnums::LineEnding lineEnding) const {
  return {new XmlTextWriterLite(lineEnding), lu::priv::GenericDeleter{&DestroyWriter}};
}

void XmlTextWriterLite::WriteStartDocument() {
  if (!Room(sizeof k_declaration + 2)) return;
  Put(k_declaration, sizeof k_declaration - 1);
  PutLineEnding();
  Commit(sizeof k_declaration - 1 + LineEndingLength());
  m_state = StateLine;
}

void XmlTextWriterLite::WriteStartElement(const char* name, lu::XmlElementType) {
  const size_t offset = m_names.size();
  if (name) m_names.insert(m_names.end(), name, name + std::strlen(name));
  StartElement(offset);
}

void XmlTextWriterLite::WriteStartElement(const CStdStr<wchar_t>& name, lu::XmlElementType) {
  const size_t offset = m_names.size();
  m_names.resize(offset + 3 * name.size());
  m_names.resize(offset + EncodeName(name.data(), name.size(), m_names.data() + offset));
  StartElement(offset);
}

void XmlTextWriterLite::StartElement(size_t offset) {
  const size_t nameLen = m_names.size() - offset;
  const size_t depth = m_stack.size();
  m_stack.push_back(static_cast<uint32_t>(offset));
  const bool closeTag = m_state == StateStartTag;
  m_state = StateStartTag;
  const size_t size = (closeTag ? 1 + LineEndingLength() : 0) + depth + 1 + nameLen;
  if (!Room(size)) return;
  if (closeTag) {
    *m_pos++ = '>';
    PutLineEnding();
  }
  PutRepeated('\t', depth);
  *m_pos++ = '<';
  Put(m_names.data() + offset, nameLen);
  Commit(size);
}

void XmlTextWriterLite::WriteEndElement() {
  if (m_stack.empty()) return;  // nothing open: an end tag would have no name
  const size_t offset = m_stack.back();
  m_stack.pop_back();
  const size_t nameLen = m_names.size() - offset;
  const char* name = m_names.data() + offset;
  if (m_state == StateStartTag) {
    const size_t size = 2 + LineEndingLength();
    if (Room(size)) {
      *m_pos++ = '/';
      *m_pos++ = '>';
      PutLineEnding();
      Commit(size);
    }
  } else {
    const size_t tabs = m_state == StateLine ? m_stack.size() : 0;
    const size_t size = tabs + 3 + nameLen + LineEndingLength();
    if (Room(size)) {
      PutRepeated('\t', tabs);
      *m_pos++ = '<';
      *m_pos++ = '/';
      Put(name, nameLen);
      *m_pos++ = '>';
      PutLineEnding();
      Commit(size);
    }
  }
  m_names.resize(offset);
  m_state = StateLine;
}

const std::wstring& XmlTextWriterLite::Escape(const CStdStr<wchar_t>& text, bool attribute) {
  const wchar_t* p = text.data();
  const size_t n = text.size();
  size_t i = 0;
  while (i < n && !NeedsEscape(p[i])) ++i;
  if (i == n) return text;
  m_scratch.assign(p, i);
  for (; i < n; ++i) {
    const wchar_t c = p[i];
    switch (c) {
      case L'&': m_scratch += L"&amp;"; break;
      case L'<': m_scratch += L"&lt;"; break;
      case L'>': m_scratch += L"&gt;"; break;
      case L'"': attribute ? m_scratch += L"&quot;" : m_scratch += c; break;
      case L'\r': attribute ? m_scratch += L"&#13;" : m_scratch += c; break;
      case L'\n': attribute ? m_scratch += L"&#10;" : m_scratch += c; break;
      default: m_scratch += c;
    }
  }
  return m_scratch;
}

void XmlTextWriterLite::Attribute(const char* name, size_t nameLen, const CStdStr<wchar_t>& value) {
  const bool onePass = value.size() <= k_onePassLimit;
  if (!Room(nameLen + 4 + (onePass ? 6 * value.size() : 0))) return;
  char* const start = m_pos;
  *m_pos++ = ' ';
  Put(name, nameLen);
  *m_pos++ = '=';
  *m_pos++ = '"';
  if (onePass) {
    m_pos = EscapeEncode(value.data(), value.size(), true, m_pos);
    *m_pos++ = '"';
    Commit(static_cast<size_t>(m_pos - start));
    return;
  }
  Commit(nameLen + 3);
  WriteText(value, true);
  WriteBytes("\"", 1);
}

void XmlTextWriterLite::WriteText(const CStdStr<wchar_t>& text, bool attribute) {
  const size_t n = text.size();
  if (n <= k_onePassLimit && Room(6 * n)) {
    char* const start = m_pos;
    m_pos = EscapeEncode(text.data(), n, attribute, m_pos);
    Commit(static_cast<size_t>(m_pos - start));
    return;
  }
  const std::wstring& v = Escape(text, attribute);
  WriteUtf16(v.data(), v.size());
}

void XmlTextWriterLite::WriteAttributeString(const lu::BasicStringView<char>& name, const NyGuid& value) {
  const size_t size = name.size() + 4 + k_guidLength;
  if (!Room(size + 1)) return;
  *m_pos++ = ' ';
  Put(name.data(), name.size());
  *m_pos++ = '=';
  *m_pos++ = '"';
  StringHelp::unsafe::ConvertNyGuidToString(value, m_pos);  // 38 characters and a NUL
  m_pos += k_guidLength;
  *m_pos++ = '"';
  Commit(size);
}

void XmlTextWriterLite::WriteAttributeString(const char* name, const CStdStr<wchar_t>& value) {
  Attribute(name ? name : "", name ? std::strlen(name) : 0, value);
}

void XmlTextWriterLite::WriteAttributeString(const CStdStr<wchar_t>& name, const CStdStr<wchar_t>& value) {
  std::string utf8(3 * name.size(), '\0');
  utf8.resize(EncodeName(name.data(), name.size(), utf8.data()));
  Attribute(utf8.data(), utf8.size(), value);
}

void XmlTextWriterLite::CloseStartTag() {
  if (m_state == StateStartTag) WriteBytes(">", 1);
}

void XmlTextWriterLite::WriteString(const CStdStr<wchar_t>& text) {
  CloseStartTag();
  WriteText(text, false);
  m_state = StateText;
}

void XmlTextWriterLite::WriteString(const NyGuid& value) {
  CloseStartTag();
  if (Room(k_guidLength + 1)) {
    StringHelp::unsafe::ConvertNyGuidToString(value, m_pos);
    Advance(k_guidLength);
  }
  m_state = StateText;
}

void XmlTextWriterLite::WriteCData(const CStdStr<wchar_t>& text) {
  CloseStartTag();
  WriteBytes("<![CDATA[", 9);
  WriteUtf16(text.data(), text.size());
  WriteBytes("]]>", 3);
  m_state = StateText;
}

void XmlTextWriterLite::WriteRaw(const CStdStr<wchar_t>& text) {
  CloseStartTag();
  WriteUtf16(text.data(), text.size());
  m_state = StateText;
}

bool XmlTextWriterLite::Append(lu::IXmlWriter* other) {
  const char* source = nullptr;
  size_t sourceSize = 0;
  if (other == this || !BufferOf(other, source, sourceSize)) return false;
  const size_t depth = m_stack.size();
  const size_t size = (m_state == StateStartTag ? 1 : 0) + depth;
  if (Room(size)) {
    if (m_state == StateStartTag) *m_pos++ = '>';  // no line ending behind it, on purpose
    PutRepeated('\t', depth);
    Commit(size);
  }
  WriteBytes(source, sourceSize);
  m_state = StateLine;
  return true;
}
