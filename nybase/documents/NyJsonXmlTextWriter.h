// NyJsonXmlTextWriter: the writer interface building a NyJson tree instead of text.
#pragma once

#include <deque>

#include <nybase/documents/IXmlWriter.h>
#include <nybase/documents/NyJson.h>

// Builds a tree from element and attribute calls into a target tree that it doesn't own (it must
// outlive the writer). An Object element is a Map, an Array element an Array, any other element
// Empty until text is written. A closed element goes into its parent: appended to an Array,
// inserted into a Map under its name (the first of two equal names wins, the second is dropped
// without a report), dropped in any other parent. So the target must already be a Map or an
// Array; an Empty or Variant target stays as it is. An attribute is an element holding text.
// Nothing reports; elements still open at destruction are lost.
class NyJsonXmlTextWriter : public lu::IXmlWriter {
 public:
  explicit NyJsonXmlTextWriter(NyJson& target) : m_target(target) {}
  // Same target; the open elements are copied (deep) or taken.
  NyJsonXmlTextWriter(const NyJsonXmlTextWriter& other) = default;
  NyJsonXmlTextWriter(NyJsonXmlTextWriter&& other) noexcept
      : m_target(other.m_target), m_frames(std::move(other.m_frames)) {}
  NyJsonXmlTextWriter& operator=(const NyJsonXmlTextWriter&) = delete;
  ~NyJsonXmlTextWriter() override = default;

  // A null writer: a tree writer makes no siblings.
  std::unique_ptr<lu::IXmlWriter, lu::priv::GenericDeleter> CreateWriter(
      VPropertyEnums::LineEnding lineEnding) const override;
  bool IsReady() const override { return true; }
  lu::XmlWriteReady GetReadyState() const override { return lu::XmlWriteReadyReady; }
  // False: nothing can be appended to a tree.
  bool Append(lu::IXmlWriter*) override { return false; }
  lu::XmlWriteState GetWriteState() const override { return lu::XmlWriteStateConstant; }
  void WriteStartDocument() override {}
  void WriteEndDocument() override {}
  // The UTF-8 name as wide text, then the wide form.
  void WriteStartElement(const char* name, lu::XmlElementType type = lu::XmlElementTypeObject) override;
  // Opens an element: an empty Map, an empty Array, or Empty for any other type.
  void WriteStartElement(const CStdStr<wchar_t>& name, lu::XmlElementType type = lu::XmlElementTypeObject) override;
  // Closes the innermost element into its parent (see above); with none open, nothing.
  void WriteEndElement() override;
  // Each is an Object element holding the value as text: start, WriteString, end (all virtual).
  // A null name counts as the empty name.
  void WriteAttributeString(const lu::BasicStringView<char>& name, const NyGuid& value) override;
  void WriteAttributeString(const char* name, const CStdStr<wchar_t>& value) override;
  void WriteAttributeString(const CStdStr<wchar_t>& name, const CStdStr<wchar_t>& value) override;
  // The open element becomes a string (UTF-8) replacing what it held, children included. Throws
  // std::range_error("bad conversion") for text that isn't UTF-16 (a lone surrogate, a unit
  // above 0xFFFF); the elements stay as they were. With none open, nothing.
  void WriteString(const CStdStr<wchar_t>& text) override;
  // The same with a GUID value.
  void WriteString(const NyGuid& value) override;
  void WriteCData(const CStdStr<wchar_t>&) override {}
  void WriteRaw(const CStdStr<wchar_t>&) override {}
  void WantsTypeAttributeInArray() override {}
  void BeginArrayElement(const CStdStr<wchar_t>&) override {}
  void EndArrayElement() override {}

  // Elements opened and not yet closed.
  size_t GetOpenCount() const noexcept { return m_frames.size(); }

 private:
  struct Frame {
    CStdStr<wchar_t> name;
    NyJson value;
  };
  NyJson& m_target;
  std::deque<Frame> m_frames;
};
