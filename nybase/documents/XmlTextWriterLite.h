// XmlTextWriterLite: the fast XML text writer behind lu::IXmlWriter (no DOM, no order checks).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <nybase/documents/TextWriterBase.h>

// Writes the writer calls as indented XML text in UTF-8: one tab per open element, the chosen
// line ending behind every line (the last one too), empty elements in the "/>" form. Text and
// attribute values are escaped; the apostrophe never is. Names are written as given (no check).
// The element type is ignored, and the array calls write nothing.
class XmlTextWriterLite : public lu::TextWriterBase {
 public:
  // File mode (see lu::TextWriterBase): test IsReady after construction.
  XmlTextWriterLite(const lu::Path& path, VPropertyEnums::LineEnding lineEnding = VPropertyEnums::LineEndingLF);
  // Memory mode.
  explicit XmlTextWriterLite(VPropertyEnums::LineEnding lineEnding = VPropertyEnums::LineEndingLF);

  std::unique_ptr<lu::IXmlWriter, lu::priv::GenericDeleter> CreateWriter(
      VPropertyEnums::LineEnding lineEnding) const override;
  bool IsReady() const override { return BufferStart() != nullptr; }
  lu::XmlWriteReady GetReadyState() const override {
    return IsReady() ? lu::XmlWriteReadyReady : lu::XmlWriteReadyNotReady;
  }
  // Indents the other writer's content as a child of the open element (its first line only).
  bool Append(lu::IXmlWriter* other) override;
  lu::XmlWriteState GetWriteState() const override { return lu::XmlWriteStateConstant; }
  // The declaration line.
  void WriteStartDocument() override;
  // Does nothing and flushes nothing.
  void WriteEndDocument() override {}
  void WriteStartElement(const char* name, lu::XmlElementType type = lu::XmlElementTypeObject) override;
  void WriteStartElement(const CStdStr<wchar_t>& name, lu::XmlElementType type = lu::XmlElementTypeObject) override;
  void WriteEndElement() override;
  // Attributes write into the current start tag without looking at the state (a call after text
  // writes an attribute into the text, on purpose: no order checks).
  void WriteAttributeString(const lu::BasicStringView<char>& name, const NyGuid& value) override;
  void WriteAttributeString(const char* name, const CStdStr<wchar_t>& value) override;
  void WriteAttributeString(const CStdStr<wchar_t>& name, const CStdStr<wchar_t>& value) override;
  void WriteString(const CStdStr<wchar_t>& text) override;
  void WriteString(const NyGuid& value) override;
  // "]]>" inside the text is not split.
  void WriteCData(const CStdStr<wchar_t>& text) override;
  void WriteRaw(const CStdStr<wchar_t>& text) override;
  void WantsTypeAttributeInArray() override {}
  void BeginArrayElement(const CStdStr<wchar_t>&) override {}
  void EndArrayElement() override {}

 private:
  enum State : int32_t { StateInitial = 0, StateLine = 1, StateStartTag = 2, StateText = 3 };

  // The start tag after the name was put at the end of the name store.
  void StartElement(size_t nameOffset);
  void Attribute(const char* name, size_t nameLen, const CStdStr<wchar_t>& value);
  // Escaped text in UTF-8: in one pass when it is short, else through Escape and the codec.
  void WriteText(const CStdStr<wchar_t>& text, bool attribute);
  // Writes ">" if a start tag is open.
  void CloseStartTag();
  // The escaped copy of `text` in m_scratch, or the text itself when nothing needs escaping.
  const std::wstring& Escape(const CStdStr<wchar_t>& text, bool attribute);

  int32_t m_state = StateInitial;
  std::vector<uint32_t> m_stack;  // offsets into m_names, one per open element
  std::vector<char> m_names;      // UTF-8 names of the open elements, end to end
  std::wstring m_scratch;
};
