// lu::JsonTextReader: the reader interface as a navigator over a NyJson tree.
#pragma once

#include <string>
#include <vector>

#include <nybase/documents/IXmlReader.h>
#include <nybase/documents/NyJson.h>

namespace lu {

// Reads a tree that it doesn't own (it must outlive the reader). The streaming operations are
// inert (Read says true and nothing moves); callers navigate with MoveTo, MoveToPrevious, Next
// and CleanArray, and read with GetConstName, GetConstAttribute, HasAttribute and the wide
// one-argument GetAttribute. An element's name is its "@type" entry, else its "Name" entry.
// Each step holds deep copies (the current node, one history entry per MoveTo, one copy per
// array walk), so a step costs the size of the subtree. Navigation is const in the interface,
// hence the mutable state. `const char*` results live until the current node changes; a
// GUID's text until the next such call.
class JsonTextReader : public IXmlReader {
 public:
  // Stands at the root, with one copy of it in the history.
  explicit JsonTextReader(NyJson& root);
  JsonTextReader(const JsonTextReader& other) = default;
  JsonTextReader& operator=(const JsonTextReader&) = delete;
  ~JsonTextReader() override = default;

  // Back to the root; the history and the array walks stay as they are.
  void Reset();

  // None, or during an array walk None until the walk ran out, then EndElement.
  XmlNodeType GetNodeType() const override;
  // A Map is empty unless an entry is a non-empty Array (plain values don't count); an Array
  // when it has no elements; anything else is empty.
  bool IsEmptyElement() const override;
  bool IsEOF() const override { return false; }
  int GetLineNumber() const override { return 0; }
  int GetLinePosition() const override { return 0; }
  XmlNodeType MoveToContent() override { return None; }
  bool Read() override { return true; }
  void Skip() override {}
  // The text of "@type", else of "Name", in the current Map; the empty text otherwise (also
  // when that entry isn't a string).
  const char* GetConstName() const override;
  const char* GetConstValue() const override { return ""; }
  // False when the current node isn't a Map or has no such key. A string points into the
  // current node, a GUID's text into the reader's buffer; for any other value the result is
  // true and `value` is untouched.
  bool GetConstAttribute(const char* name, const char*& value) const override;
  // Empty results: the pointer is the empty text with a deleter that frees nothing.
  std::unique_ptr<const char, void (*)(const char*)> ReadInnerXmlToBuffer() override;
  std::unique_ptr<const char, void (*)(const char*)> ReadOuterXmlToBuffer() override;
  IXmlReaderType GetReaderType() const override { return IXmlReaderType_JsonTextReader; }
  // In a Map with the key: the entry becomes the current node (the old one goes on the
  // history) and an Array starts a walk; true. False, with nothing changed, otherwise.
  bool MoveTo(const CStdStr<wchar_t>& name) const override;
  // The last history entry becomes the current node; with an empty history, nothing.
  void MoveToPrevious() const override;
  // The next element of the innermost walk becomes the current node; past the end the walk's
  // node type becomes EndElement and the current node stays.
  void Next() const override;
  // Ends the innermost walk (the history is balanced separately, by MoveToPrevious).
  void CleanArray() const override;
  bool IsParentArray() const override;
  // True when the current node is a Map with the key, whatever its value.
  bool HasAttribute(const CStdStr<wchar_t>& name) const override;

  CStdStr<wchar_t> GetName() const override { return {}; }
  CStdStr<wchar_t> GetValue() const override { return {}; }
  CStdStr<wchar_t> ReadElementString() override { return {}; }
  void ReadInnerXml(CStdStr<wchar_t>&) override {}
  void ReadOuterXml(CStdStr<wchar_t>&) override {}
  // False and `value` untouched, always: only the one-argument form sees the tree (on purpose).
  bool GetAttribute(const CStdStr<wchar_t>&, CStdStr<wchar_t>&) override { return false; }
  // The value of the key as wide text (a string or a GUID); the empty text otherwise.
  CStdStr<wchar_t> GetAttribute(const CStdStr<wchar_t>& name) override;

 protected:
  std::tuple<bool, const char*> PreGetElementString() override { return {false, ""}; }
  void PostGetElementString(const char*) override {}

 private:
  struct ArrayWalk {
    NyJson array;
    uint32_t position = 0;
    XmlNodeType nodeType = None;
  };

  // The entry under `key` in the current Map, or null.
  const NyJson* Find(const ROString& key) const;

  NyJson* m_root;
  mutable NyJson m_current;
  mutable std::vector<NyJson> m_history;
  mutable std::vector<ArrayWalk> m_arrays;
  mutable std::string m_guidText;
};

}  // namespace lu
