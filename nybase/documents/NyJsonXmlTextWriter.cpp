// NyJsonXmlTextWriter: the writer interface building a NyJson tree instead of text.
#include <nybase/documents/NyJsonXmlTextWriter.h>

#include <stdexcept>
#include <string>

namespace {

void PutUtf8(std::string& out, uint32_t cp) {
  if (cp < 0x80) {
    out += char(cp);
  } else if (cp < 0x800) {
    out += char(0xC0 | cp >> 6);
    out += char(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += char(0xE0 | cp >> 12);
    out += char(0x80 | (cp >> 6 & 0x3F));
    out += char(0x80 | (cp & 0x3F));
  } else {
    out += char(0xF0 | cp >> 18);
    out += char(0x80 | (cp >> 12 & 0x3F));
    out += char(0x80 | (cp >> 6 & 0x3F));
    out += char(0x80 | (cp & 0x3F));
  }
}

// Strict UTF-16 (one unit per wchar_t) to UTF-8 over the whole string, NULs included.
std::string StrictUtf16ToUtf8(const std::wstring& text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const uint32_t unit = uint32_t(text[i]);
    if (unit > 0xFFFF) throw std::range_error("bad conversion");
    if (unit >= 0xD800 && unit <= 0xDBFF) {
      const uint32_t low = i + 1 < text.size() ? uint32_t(text[i + 1]) : 0;
      if (low < 0xDC00 || low > 0xDFFF) throw std::range_error("bad conversion");
      PutUtf8(out, 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
      ++i;
    } else if (unit >= 0xDC00 && unit <= 0xDFFF) {
      throw std::range_error("bad conversion");
    } else {
      PutUtf8(out, unit);
    }
  }
  return out;
}

}  // namespace

std::unique_ptr<lu::IXmlWriter, lu::priv::GenericDeleter> NyJsonXmlTextWriter::CreateWriter(
    VPropertyEnums::LineEnding) const {
  return {};
}

void NyJsonXmlTextWriter::WriteStartElement(const char* name, lu::XmlElementType type) {
  WriteStartElement(CStdStr<wchar_t>(name), type);
}

void NyJsonXmlTextWriter::WriteStartElement(const CStdStr<wchar_t>& name, lu::XmlElementType type) {
  Frame frame{name, NyJson()};
  if (type == lu::XmlElementTypeObject) frame.value.MakeMap();
  if (type == lu::XmlElementTypeArray) frame.value.MakeArray();
  m_frames.push_back(std::move(frame));
}

void NyJsonXmlTextWriter::WriteEndElement() {
  if (m_frames.empty()) return;
  Frame frame = std::move(m_frames.back());
  m_frames.pop_back();
  NyJson& parent = m_frames.empty() ? m_target : m_frames.back().value;
  if (parent.IsArray()) {
    parent.GetArray().push_back(std::move(frame.value));
  } else if (parent.IsMap()) {
    parent.GetMap().try_emplace(ROString(frame.name), std::move(frame.value));  // first one wins
  }
}

void NyJsonXmlTextWriter::WriteAttributeString(const lu::BasicStringView<char>& name, const NyGuid& value) {
  const std::string text = name.data() ? std::string(name.data(), name.size()) : std::string();
  WriteStartElement(text.c_str(), lu::XmlElementTypeObject);
  WriteString(value);
  WriteEndElement();
}

void NyJsonXmlTextWriter::WriteAttributeString(const char* name, const CStdStr<wchar_t>& value) {
  WriteStartElement(name, lu::XmlElementTypeObject);
  WriteString(value);
  WriteEndElement();
}

void NyJsonXmlTextWriter::WriteAttributeString(const CStdStr<wchar_t>& name, const CStdStr<wchar_t>& value) {
  WriteStartElement(name, lu::XmlElementTypeObject);
  WriteString(value);
  WriteEndElement();
}

void NyJsonXmlTextWriter::WriteString(const CStdStr<wchar_t>& text) {
  if (m_frames.empty()) return;
  NyVariant value(StrictUtf16ToUtf8(text));
  m_frames.back().value = std::move(value);
}

void NyJsonXmlTextWriter::WriteString(const NyGuid& value) {
  if (m_frames.empty()) return;
  m_frames.back().value = NyVariant(value);
}
