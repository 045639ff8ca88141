// lu::IConstXmlReader and lu::IXmlReader: the pull interface through which every document reader
// (XML text, JSON tree) is read, and the node type numbers they report.
#pragma once

#include <memory>
#include <tuple>

#include <nybase/text/CStdStr.h>

namespace lu {

// Node types, numbered exactly as libxml2's xmlReaderTypes so that a reader over libxml2 passes
// them on unchanged. A reader with no parser behind it reports -1 (libxml2's error result).
// A plain enum on purpose: callers compare node types with their numbers. The enumerators are
// reachable both as lu::Element and as lu::XmlNodeType::Element.
enum XmlNodeType : int {
  None = 0,
  Element = 1,
  Attribute = 2,
  Text = 3,
  CDATA = 4,
  EntityReference = 5,
  Entity = 6,
  ProcessingInstruction = 7,
  Comment = 8,
  Document = 9,
  DocumentType = 10,
  DocumentFragment = 11,
  Notation = 12,
  Whitespace = 13,
  SignificantWhitespace = 14,
  EndElement = 15,
  EndEntity = 16,
  XmlDeclaration = 17,
};

// Which implementation stands behind an IConstXmlReader. A plain enum, compared with its numbers
// like XmlNodeType; the enumerators carry a prefix because the bare names are the reader classes.
enum IXmlReaderType : int {
  IXmlReaderType_XmlReader = 0,
  IXmlReaderType_JsonTextReader = 1,
};

// The read-only pull interface. The virtual operations are declared in their fixed slot order;
// never reorder them. Operations that only make sense for a tree reader have neutral defaults.
class IConstXmlReader {
 public:
  virtual ~IConstXmlReader() = default;

  virtual XmlNodeType GetNodeType() const = 0;
  virtual bool IsEmptyElement() const = 0;
  // True before the first Read, at the end of the input and after a parse error.
  virtual bool IsEOF() const = 0;
  virtual int GetLineNumber() const = 0;
  virtual int GetLinePosition() const = 0;
  // Moves on to the next content node (element, text, CDATA, entity reference, end tag) and
  // returns its type.
  virtual XmlNodeType MoveToContent() = 0;
  // Moves to the next node; false at the end of the input or on a parse error.
  virtual bool Read() = 0;
  // Moves past the current element and its subtree.
  virtual void Skip() = 0;
  // Local name and value of the current node, UTF-8, never null; valid until the reader moves.
  virtual const char* GetConstName() const = 0;
  virtual const char* GetConstValue() const = 0;
  // Looks up an attribute of the current element by UTF-8 name; value points into the reader.
  virtual bool GetConstAttribute(const char* name, const char*& value) const = 0;
  // Inner / outer markup of the current node as UTF-8 (null when there is none), then moves on.
  virtual std::unique_ptr<const char, void (*)(const char*)> ReadInnerXmlToBuffer() = 0;
  virtual std::unique_ptr<const char, void (*)(const char*)> ReadOuterXmlToBuffer() = 0;

  virtual IXmlReaderType GetReaderType() const { return IXmlReaderType_XmlReader; }
  // Tree navigation; a streaming reader answers true and does not move.
  virtual bool MoveTo(const CStdStr<wchar_t>&) const { return true; }
  virtual void MoveToPrevious() const {}
  virtual void Next() const {}
  virtual void CleanArray() const {}
  virtual bool IsParentArray() const { return false; }
  virtual bool HasAttribute(const CStdStr<wchar_t>&) const { return false; }

 protected:
  // The text of the current element in place, without a copy, in two halves: the first gives
  // (found, text or null), the second moves on past the text it was given.
  virtual std::tuple<bool, const char*> PreGetElementString() = 0;
  virtual void PostGetElementString(const char* value) = 0;
};

// The pull interface with wide (UTF-16) conveniences over the const-text operations.
class IXmlReader : public IConstXmlReader {
 public:
  // Name and value of the current node; empty when there is none.
  virtual CStdStr<wchar_t> GetName() const = 0;
  virtual CStdStr<wchar_t> GetValue() const = 0;
  // The text of the element at the current content node, moving past it; empty when the
  // reader is not on an element or the element holds anything but text.
  virtual CStdStr<wchar_t> ReadElementString() = 0;
  virtual void ReadInnerXml(CStdStr<wchar_t>& out) = 0;
  virtual void ReadOuterXml(CStdStr<wchar_t>& out) = 0;
  // False (and out untouched) when the current element has no such attribute.
  virtual bool GetAttribute(const CStdStr<wchar_t>& name, CStdStr<wchar_t>& value) = 0;
  // The attribute's value, or the empty string when there is none.
  virtual CStdStr<wchar_t> GetAttribute(const CStdStr<wchar_t>& name) = 0;
};

}  // namespace lu
