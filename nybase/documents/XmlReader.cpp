// lu::XmlReader over libxml2's xmlTextReader.
#include <nybase/documents/XmlReader.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

#include <libxml/globals.h>
#include <libxml/xmlreader.h>

#include <nybase/documents/internal/XmlGlobals.h>
#include <nybase/platform/Utf.h>

namespace lu {

namespace {

constexpr int k_typeElement = XML_READER_TYPE_ELEMENT;
constexpr int k_typeAttribute = XML_READER_TYPE_ATTRIBUTE;
constexpr int k_typeText = XML_READER_TYPE_TEXT;
constexpr int k_typeCData = XML_READER_TYPE_CDATA;
constexpr int k_typeEntityReference = XML_READER_TYPE_ENTITY_REFERENCE;
constexpr int k_typeWhitespace = XML_READER_TYPE_WHITESPACE;
constexpr int k_typeSignificantWhitespace = XML_READER_TYPE_SIGNIFICANT_WHITESPACE;
constexpr int k_typeEndElement = XML_READER_TYPE_END_ELEMENT;
constexpr int k_typeEndEntity = XML_READER_TYPE_END_ENTITY;

void FreeMallocBuffer(const char* p) { std::free(const_cast<char*>(p)); }
void FreeXmlString(const char* p) { xmlFree(const_cast<char*>(p)); }

using Buffer = std::unique_ptr<const char, void (*)(const char*)>;

// A malloc copy of len bytes plus a NUL; null when memory runs out.
Buffer CopyToMallocBuffer(const char* text, size_t len) {
  char* copy = static_cast<char*>(std::malloc(len + 1));
  if (copy != nullptr) {
    if (len != 0) std::memcpy(copy, text, len);
    copy[len] = '\0';
  }
  return Buffer(copy, &FreeMallocBuffer);
}

const char* OrEmpty(const xmlChar* s) { return s != nullptr ? reinterpret_cast<const char*>(s) : ""; }

bool IsTextType(int type) {
  return type == k_typeText || type == k_typeCData || type == k_typeWhitespace ||
         type == k_typeSignificantWhitespace;
}

}  // namespace

XmlReader::XmlReader(const CStdStr<wchar_t>& text, XmlSource source) : m_buffer(nullptr, &FreeMallocBuffer) {
  if (source == XmlSourceFile) {
    OpenFile(text.c_str(), text.size());
    return;
  }
  const std::string utf8 = lu::platform::Utf16ToUtf8(text.c_str(), text.size());
  m_buffer = CopyToMallocBuffer(utf8.c_str(), utf8.size());
  OpenMemory();
}

XmlReader::XmlReader(const lu::Path& path) : m_buffer(nullptr, &FreeMallocBuffer) {
  const CStdStr<wchar_t>& native = path.GetFsPath().native();
  OpenFile(native.c_str(), native.size());
}

XmlReader::XmlReader(const char* text, XmlSource source) : m_buffer(nullptr, &FreeMallocBuffer) {
  if (text == nullptr) text = "";
  const size_t len = std::strlen(text);
  if (source == XmlSourceFile) {
    const std::wstring wide = lu::platform::Utf8ToUtf16(text, len);
    OpenFile(wide.c_str(), wide.size());
    return;
  }
  m_buffer = CopyToMallocBuffer(text, len);
  OpenMemory();
}

XmlReader::XmlReader(std::unique_ptr<const char, void (*)(const char*)> buffer) : m_buffer(std::move(buffer)) {
  OpenMemory();
}

XmlReader::~XmlReader() {
  // libxml2 reads the buffer in place: the parser goes first.
  if (m_reader != nullptr) xmlFreeTextReader(m_reader);
  m_reader = nullptr;
  m_buffer.reset();
}

void XmlReader::OpenFile(const wchar_t* path, size_t len) {
  std::string native;
  if (!detail::ToXmlNativePath(path, len, native)) return;
  // libxml2 reports nothing when it cannot open the file, so the error store keeps what it held.
  m_reader = xmlNewTextReaderFilename(native.c_str());
}

void XmlReader::OpenMemory() {
  if (m_buffer == nullptr) return;
  const size_t len = std::strlen(m_buffer.get());
  if (len > static_cast<size_t>(INT_MAX)) return;  // beyond what libxml2 can take from memory
  // No URL, no encoding, no option: entities stay unsubstituted and no DTD is loaded.
  m_reader = xmlReaderForMemory(m_buffer.get(), static_cast<int>(len), "", nullptr, 0);
}

void XmlReader::Advance() {
  // Significant whitespace is never shown to a caller; plain whitespace is.
  do {
    m_eof = xmlTextReaderRead(m_reader) != 1;
    // The margin covers the document node's start before any byte is counted.
    if (!m_eof && ++m_nodesRead > xmlTextReaderByteConsumed(m_reader) + 16) m_eof = true;
  } while (!m_eof && xmlTextReaderNodeType(m_reader) == k_typeSignificantWhitespace);
}

XmlNodeType XmlReader::GetNodeType() const { return static_cast<XmlNodeType>(xmlTextReaderNodeType(m_reader)); }

bool XmlReader::IsEmptyElement() const { return xmlTextReaderIsEmptyElement(m_reader) != 0; }

bool XmlReader::IsEOF() const { return m_eof; }

int XmlReader::GetLineNumber() const { return xmlTextReaderGetParserLineNumber(m_reader); }

int XmlReader::GetLinePosition() const { return xmlTextReaderGetParserColumnNumber(m_reader); }

XmlNodeType XmlReader::MoveToContent() {
  for (;;) {
    const int type = xmlTextReaderNodeType(m_reader);
    switch (type) {
      case k_typeElement:
      case k_typeText:
      case k_typeCData:
      case k_typeEntityReference:
      case k_typeEndElement:
      case k_typeEndEntity:
        return static_cast<XmlNodeType>(type);
      case k_typeAttribute:
        xmlTextReaderMoveToElement(m_reader);
        return static_cast<XmlNodeType>(xmlTextReaderNodeType(m_reader));
      default:
        Advance();
        if (m_eof) return static_cast<XmlNodeType>(type);
        break;
    }
  }
}

bool XmlReader::Read() {
  Advance();
  return !m_eof;
}

void XmlReader::Skip() {
  xmlTextReaderMoveToElement(m_reader);
  if (xmlTextReaderNodeType(m_reader) != k_typeElement || IsEmptyElement()) {
    Advance();
    return;
  }
  Advance();
  int depth = 1;
  while (!m_eof && depth != 0) {
    const int type = xmlTextReaderNodeType(m_reader);
    if (type == k_typeElement && !IsEmptyElement()) {
      ++depth;
    } else if (type == k_typeEndElement) {
      --depth;
    }
    Advance();
  }
}

const char* XmlReader::GetConstName() const { return OrEmpty(xmlTextReaderConstLocalName(m_reader)); }

const char* XmlReader::GetConstValue() const { return OrEmpty(xmlTextReaderConstValue(m_reader)); }

bool XmlReader::GetConstAttribute(const char* name, const char*& value) const {
  // Deliberately only 0 means "not found": libxml2's error result (-1) passes as found, and the
  // value is then that of the current node. Callers have always relied on this answer.
  if (xmlTextReaderMoveToAttribute(m_reader, reinterpret_cast<const xmlChar*>(name)) == 0) return false;
  value = OrEmpty(xmlTextReaderConstValue(m_reader));
  xmlTextReaderMoveToElement(m_reader);
  return true;
}

std::unique_ptr<const char, void (*)(const char*)> XmlReader::ReadInnerXmlToBuffer() {
  Buffer markup(reinterpret_cast<const char*>(xmlTextReaderReadInnerXml(m_reader)), &FreeXmlString);
  Skip();
  return markup;
}

std::unique_ptr<const char, void (*)(const char*)> XmlReader::ReadOuterXmlToBuffer() {
  Buffer markup(reinterpret_cast<const char*>(xmlTextReaderReadOuterXml(m_reader)), &FreeXmlString);
  Skip();
  return markup;
}

CStdStr<wchar_t> XmlReader::GetName() const { return CStdStr<wchar_t>(GetConstName()); }

CStdStr<wchar_t> XmlReader::GetValue() const { return CStdStr<wchar_t>(GetConstValue()); }

CStdStr<wchar_t> XmlReader::ReadElementString() {
  CStdStr<wchar_t> text;
  if (MoveToContent() != XmlNodeType::Element) return text;
  if (!IsEmptyElement()) {
    Advance();
    // Gathers one element level: when the first child is an element, its text is what is
    // gathered, and the reader ends on the outer element's end tag. Kept on purpose.
    bool gather = true;
    xmlTextReaderMoveToElement(m_reader);
    if (xmlTextReaderNodeType(m_reader) == k_typeElement) {
      if (IsEmptyElement()) {
        gather = false;
      } else {
        Advance();
        if (xmlTextReaderNodeType(m_reader) == k_typeEndElement) gather = false;
      }
    }
    if (gather) {
      while (!m_eof && IsTextType(xmlTextReaderNodeType(m_reader))) {
        text += GetValue();
        Advance();
      }
    }
    if (xmlTextReaderNodeType(m_reader) == k_typeWhitespace) Advance();
    // Anything but the end tag here (a comment, a child element) drops the text and the reader
    // stays where it is.
    if (xmlTextReaderNodeType(m_reader) != k_typeEndElement) return CStdStr<wchar_t>();
  }
  Advance();
  return text;
}

void XmlReader::ReadInnerXml(CStdStr<wchar_t>& out) {
  xmlChar* markup = xmlTextReaderReadInnerXml(m_reader);
  if (markup != nullptr) {
    out = CStdStr<wchar_t>(reinterpret_cast<const char*>(markup));
    xmlFree(markup);
  }
  Skip();
}

void XmlReader::ReadOuterXml(CStdStr<wchar_t>& out) {
  xmlChar* markup = xmlTextReaderReadOuterXml(m_reader);
  if (markup != nullptr) {
    out = CStdStr<wchar_t>(reinterpret_cast<const char*>(markup));
    xmlFree(markup);
  }
  // Deliberately xmlTextReaderNext and not Skip: the end-of-input flag is not updated here.
  xmlTextReaderNext(m_reader);
}

bool XmlReader::NameToUtf8(const CStdStr<wchar_t>& name, char (&buffer)[256]) {
  return lu::platform::WideCharToMultiByte(lu::platform::k_codePageUtf8, 0, name.c_str(), -1, buffer,
                                           static_cast<int>(sizeof(buffer))) != 0;
}

bool XmlReader::GetAttribute(const CStdStr<wchar_t>& name, CStdStr<wchar_t>& value) {
  char utf8Name[256];
  if (!NameToUtf8(name, utf8Name)) return false;
  if (xmlTextReaderMoveToAttribute(m_reader, reinterpret_cast<const xmlChar*>(utf8Name)) != 1) return false;
  value = CStdStr<wchar_t>(GetConstValue());
  xmlTextReaderMoveToElement(m_reader);
  return true;
}

CStdStr<wchar_t> XmlReader::GetAttribute(const CStdStr<wchar_t>& name) {
  CStdStr<wchar_t> value;
  XmlReader::GetAttribute(name, value);
  return value;
}

std::tuple<bool, const char*> XmlReader::PreGetElementString() {
  if (MoveToContent() != XmlNodeType::Element) return {false, nullptr};
  if (IsEmptyElement()) return {true, nullptr};
  Advance();
  xmlTextReaderMoveToElement(m_reader);
  if (xmlTextReaderNodeType(m_reader) == k_typeElement) {
    if (IsEmptyElement()) return {true, nullptr};
    Advance();
    if (xmlTextReaderNodeType(m_reader) == k_typeEndElement) return {true, nullptr};
  }
  if (IsTextType(xmlTextReaderNodeType(m_reader))) return {true, GetConstValue()};
  return {true, nullptr};
}

void XmlReader::PostGetElementString(const char* value) {
  if (value == nullptr) return;
  Advance();
  if (xmlTextReaderNodeType(m_reader) == k_typeWhitespace) Advance();
  // Stops on the end tag: the caller moves past it.
}

}  // namespace lu
