// lu::XmlReader: the pull reader over libxml2's xmlTextReader, for files and in-memory documents.
#pragma once

#include <memory>
#include <tuple>

#include <nybase/documents/IXmlReader.h>
#include <nybase/files/Path.h>
#include <nybase/text/CStdStr.h>

struct _xmlTextReader;

namespace lu {

// Reads a document node by node. It has no error state of its own: a parse error shows as the end
// of the input (IsEOF), and its message goes to the library's XML error store (see
// XmlValidation.h). A reader that libxml2 refused to create (missing file, empty buffer) is at
// the end of the input at once. One thread per reader.
//
// Paths are in Windows grammar (drive Z: is the Linux root, a Linux path works as it stands);
// a path that has no place on this file system reads as a missing file.
class XmlReader : public IXmlReader {
 public:
  enum XmlSource {
    XmlSourceFile = 0,    // the text passed is a file path
    XmlSourceMemory = 1,  // the text passed is the document
  };

  // XmlSourceFile: opens the file at the path. XmlSourceMemory: reads the text (UTF-16, up to its
  // first NUL) from a UTF-8 copy that the reader keeps.
  XmlReader(const CStdStr<wchar_t>& text, XmlSource source);
  // Opens the file at the path.
  explicit XmlReader(const lu::Path& path);
  // XmlSourceFile: the text is a UTF-8 path. XmlSourceMemory: reads a copy of the NUL-terminated
  // UTF-8 document. A null pointer is the empty text.
  XmlReader(const char* text, XmlSource source);
  // Takes over a NUL-terminated UTF-8 document and its deleter; libxml2 reads it in place.
  explicit XmlReader(std::unique_ptr<const char, void (*)(const char*)> buffer);

  XmlReader(const XmlReader&) = delete;
  XmlReader& operator=(const XmlReader&) = delete;
  // Frees the parser first, then the document buffer that it read.
  ~XmlReader() override;

  XmlNodeType GetNodeType() const override;
  // True also when libxml2 reports an error.
  bool IsEmptyElement() const override;
  bool IsEOF() const override;
  int GetLineNumber() const override;
  int GetLinePosition() const override;
  XmlNodeType MoveToContent() override;
  bool Read() override;
  void Skip() override;
  // The local name: a namespace prefix is not part of it.
  const char* GetConstName() const override;
  const char* GetConstValue() const override;
  // Leaves the reader on the element. Only a clear "not found" from libxml2 gives false.
  bool GetConstAttribute(const char* name, const char*& value) const override;
  // Both run Skip after taking the markup; the buffer's deleter is xmlFree.
  std::unique_ptr<const char, void (*)(const char*)> ReadInnerXmlToBuffer() override;
  std::unique_ptr<const char, void (*)(const char*)> ReadOuterXmlToBuffer() override;

  CStdStr<wchar_t> GetName() const override;
  CStdStr<wchar_t> GetValue() const override;
  CStdStr<wchar_t> ReadElementString() override;
  // Leaves out alone when there is no markup; moves on by Skip.
  void ReadInnerXml(CStdStr<wchar_t>& out) override;
  // Leaves out alone when there is no markup; moves on to the next sibling without updating IsEOF.
  void ReadOuterXml(CStdStr<wchar_t>& out) override;
  // Names of 256 UTF-8 bytes or more are not supported (never found).
  bool GetAttribute(const CStdStr<wchar_t>& name, CStdStr<wchar_t>& value) override;
  CStdStr<wchar_t> GetAttribute(const CStdStr<wchar_t>& name) override;

 protected:
  std::tuple<bool, const char*> PreGetElementString() override;
  void PostGetElementString(const char* value) override;

 private:
  void OpenFile(const wchar_t* path, size_t len);
  void OpenMemory();
  // One libxml2 read, skipping significant whitespace; updates the end-of-input flag. Every node
  // delivered stands on at least one byte of input, so once the nodes read outnumber the bytes
  // libxml2 has consumed the reader is not moving (a parser stuck after an error) and the read
  // counts as the end: no loop over this reader can spin.
  void Advance();
  // The attribute name in UTF-8 in a buffer of 256 bytes; false when it does not fit.
  static bool NameToUtf8(const CStdStr<wchar_t>& name, char (&buffer)[256]);

  _xmlTextReader* m_reader = nullptr;
  std::unique_ptr<const char, void (*)(const char*)> m_buffer;
  bool m_eof = true;
  long m_nodesRead = 0;
};

}  // namespace lu
