// lu::JsonTextWriter: writes the calls of lu::IXmlWriter as pretty JSON text (one blank per level).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <nybase/documents/TextWriterBase.h>

namespace lu {

// Serialises the XML-shaped writer calls as JSON. Each element's bracket is delayed until its
// first child comes; its shape ("{" or "[") comes from the element type. Attributes are plain
// members; a second value in an element becomes the member "#text". Keys are not escaped, so a
// name with a double quote gives broken JSON; non-ASCII text is written as UTF-8, never as a
// numeric escape. No order checks: an element that holds text and then gets a child is not
// valid JSON, and the writer doesn't guard against it. Buffering, files, line endings and the
// hash are those of TextWriterBase.
class JsonTextWriter : public TextWriterBase {
 public:
  // File mode (see TextWriterBase): test IsReady after construction.
  JsonTextWriter(const lu::Path& path, VPropertyEnums::LineEnding lineEnding = VPropertyEnums::LineEndingLF);
  // Memory mode.
  explicit JsonTextWriter(VPropertyEnums::LineEnding lineEnding = VPropertyEnums::LineEndingLF);

  std::unique_ptr<IXmlWriter, priv::GenericDeleter> CreateWriter(VPropertyEnums::LineEnding lineEnding) const override;
  bool IsReady() const override { return BufferStart() != nullptr; }
  XmlWriteReady GetReadyState() const override { return IsReady() ? XmlWriteReadyReady : XmlWriteReadyNotReady; }
  // Copies the other writer's text as it is (not re-indented), behind a comma after a value.
  bool Append(IXmlWriter* other) override;
  XmlWriteState GetWriteState() const override { return XmlWriteStateConstant; }
  // "{", a line ending and the blanks of level 1.
  void WriteStartDocument() override;
  // A line ending and "}", with no line ending behind it.
  void WriteEndDocument() override;
  void WriteStartElement(const char* name, XmlElementType type = XmlElementTypeObject) override;
  void WriteStartElement(const CStdStr<wchar_t>& name, XmlElementType type = XmlElementTypeObject) override;
  void WriteEndElement() override;
  // Each attribute is a member of its own: start (object), text, end.
  void WriteAttributeString(const BasicStringView<char>& name, const NyGuid& value) override;
  void WriteAttributeString(const char* name, const CStdStr<wchar_t>& value) override;
  void WriteAttributeString(const CStdStr<wchar_t>& name, const CStdStr<wchar_t>& value) override;
  // A string value behind its key, or the member "#text" behind a value. Outside both (at the
  // document's level) no opening quote is written, on purpose: the writer checks no order.
  void WriteString(const CStdStr<wchar_t>& text) override;
  void WriteString(const NyGuid& value) override;
  void WriteCData(const CStdStr<wchar_t>& text) override { WriteString(text); }
  // The text in UTF-8, unchanged, wherever the writer stands; the state stays.
  void WriteRaw(const CStdStr<wchar_t>& text) override;
  // The objects below the array started next get a first member "@type" with their element name,
  // until as many "]" as such arrays have closed (any "]" counts).
  void WantsTypeAttributeInArray() override { m_wantsType = true; }
  void BeginArrayElement(const CStdStr<wchar_t>& name) override { WriteStartElement(name, XmlElementTypeArray); }
  void EndArrayElement() override { WriteEndElement(); }

 private:
  enum State : int32_t { StateInitial = 0, StateDocument = 1, StateKey = 2, StateValue = 3 };

  // One open element. The name is kept as UTF-8 in m_names from nameOffset to the next frame's.
  struct Frame {
    uint32_t nameOffset;
    XmlElementType type;
    bool opened;
  };

  // The start of an element whose UTF-8 name was put at the end of m_names.
  void StartElement(size_t nameOffset, XmlElementType type);
  // Puts the UTF-8 form of a UTF-8 name at the end of m_names (ill-formed bytes become U+FFFD).
  void StoreUtf8Name(const char* name, size_t len);
  // The escaped copy of text in m_scratch, or the text itself when nothing needs escaping.
  const std::wstring& EscapeJSONCharacters(const CStdStr<wchar_t>& text);
  void WriteChar(char c, unsigned long long count);
  void WriteString(const char* text, unsigned long long count);
  // The line ending and the blanks of the indent.
  void NewLine();
  // The UTF-8 text by the name encoder, with room asked for first.
  void WriteEncoded(const wchar_t* text, size_t len);
  void WriteValue(const wchar_t* text, size_t len);

  int32_t m_state = StateInitial;
  int32_t m_indent = 0;
  bool m_wantsType = false;
  int32_t m_typedArrays = 0;
  std::vector<Frame> m_frames;
  std::vector<char> m_names;
  std::wstring m_scratch;
};

}  // namespace lu
