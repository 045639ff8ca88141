// lu::IXmlWriter: the one writer interface behind which every document writer (XML text, JSON
// text, JSON tree) serialises, plus its enums and the library-side deleter.
#pragma once

#include <memory>

#include <nybase/base/NyGuid.h>
#include <nybase/base/VPropertyEnums.h>
#include <nybase/text/BasicStringView.h>
#include <nybase/text/CStdStr.h>

namespace lu {

// How an element's children are shaped. XML output ignores it; JSON output depends on it.
enum XmlElementType : int {
  XmlElementTypeObject = 0,       // children are named members
  XmlElementTypeArray = 1,        // children are unnamed values
  XmlElementTypeObjectArray = 2,  // an array whose children each stand in an object of their own
};

// Whether a writer can take calls: 0 ready, 3 not ready (it has no buffer).
enum XmlWriteReady : int {
  XmlWriteReadyReady = 0,
  XmlWriteReadyNotReady = 3,
};

// What GetWriteState returns. Every writer returns the constant XmlWriteStateConstant (5): the
// value carries no information (on purpose; the real progress is private to each writer).
enum XmlWriteState : int {
  XmlWriteStateConstant = 5,
};

namespace priv {

// Destroys an object through a function of the library that made it, so that an object made
// inside the library is freed by the library. A deleter without a function does nothing.
struct GenericDeleter {
  void (*m_destroy)(void*) = nullptr;

  template <typename T>
  void operator()(T* p) const {
    if (p && m_destroy) m_destroy(const_cast<void*>(static_cast<const void*>(p)));
  }
};

}  // namespace priv

// The writer interface. Its calls are shaped like XML: documents, elements, attributes, text.
// Writers are built for speed and check no call order: a call in a wrong place writes what it
// writes. Nothing throws; failures show only through the implementation's flags (HasFileError,
// HasWriteError). The virtual operations are declared in their fixed slot order; never reorder.
class IXmlWriter {
 public:
  virtual ~IXmlWriter() = default;

  // A new writer of the same kind in memory mode with the given line ending, freed by the deleter.
  virtual std::unique_ptr<IXmlWriter, priv::GenericDeleter> CreateWriter(
      VPropertyEnums::LineEnding lineEnding) const = 0;
  // True when the writer has its buffer (a file that could not be opened leaves it not ready).
  virtual bool IsReady() const = 0;
  // XmlWriteReadyReady, or XmlWriteReadyNotReady when IsReady is false.
  virtual XmlWriteReady GetReadyState() const = 0;
  // Appends the whole content of another writer of the same family (one made by CreateWriter).
  // True when appended; false for a writer that is not of the family or for this writer itself.
  virtual bool Append(IXmlWriter* other) = 0;
  // Always XmlWriteStateConstant.
  virtual XmlWriteState GetWriteState() const = 0;
  virtual void WriteStartDocument() = 0;
  virtual void WriteEndDocument() = 0;
  // Opens an element; a narrow name is UTF-8.
  virtual void WriteStartElement(const char* name, XmlElementType type = XmlElementTypeObject) = 0;
  virtual void WriteStartElement(const CStdStr<wchar_t>& name, XmlElementType type = XmlElementTypeObject) = 0;
  // Closes the innermost open element; with none open it writes nothing.
  virtual void WriteEndElement() = 0;
  // An attribute of the element just started; narrow names are UTF-8.
  virtual void WriteAttributeString(const BasicStringView<char>& name, const NyGuid& value) = 0;
  virtual void WriteAttributeString(const char* name, const CStdStr<wchar_t>& value) = 0;
  virtual void WriteAttributeString(const CStdStr<wchar_t>& name, const CStdStr<wchar_t>& value) = 0;
  // Text content, escaped as the medium needs.
  virtual void WriteString(const CStdStr<wchar_t>& text) = 0;
  virtual void WriteString(const NyGuid& value) = 0;
  virtual void WriteCData(const CStdStr<wchar_t>& text) = 0;
  // Text written as it is, with no escaping.
  virtual void WriteRaw(const CStdStr<wchar_t>& text) = 0;
  // Asks that the objects of the array started next carry their element name (JSON only).
  virtual void WantsTypeAttributeInArray() = 0;
  // An array element (JSON only; XML writes nothing for either call).
  virtual void BeginArrayElement(const CStdStr<wchar_t>& name) = 0;
  virtual void EndArrayElement() = 0;
};

}  // namespace lu
