// lu::CachedString: a reference-counted interned wide string; equal text is the same pointer.
#pragma once

#include <cstddef>
#include <vector>

#include <nybase/text/BasicStringView.h>
#include <nybase/text/CStdStr.h>

namespace lu {

// One pointer, to the text of a record in the process-wide intern table. Equal text gives the
// same record, so equality is one pointer comparison. A handle is one of three things:
// - a pointer into a record, whose reference count all copies of that text share;
// - the empty handle, a static empty text with no record (the default, and any empty text);
// - null, which only a moved-from handle holds.
//
// The record is one malloc block: the 64-bit count, a pointer to the word list (null until
// GetWords asks for it), then the text with its NUL. The handle points at the text, so c_str is
// the handle itself. (With 4-byte wchar_t the block is 16 + 4 * (length + 1) bytes.) The record is
// freed, and leaves the table, when its last handle goes.
//
// Thread safety: interning, copying, releasing and References may run on any thread at once.
// Comparison, View, c_str, GetLength and Copy take no lock (a record's text never changes and the
// caller's handle keeps it alive). One handle object is not to be changed by two threads at once.
// Text is cut at its first NUL; its units are compared as plain values, no case folding.
class CachedString {
 public:
  // A word of the text: a pointer to its first unit and one behind its last, into the record's
  // text. Valid as long as any handle of that text lives.
  struct Word {
    const wchar_t* m_begin = nullptr;
    const wchar_t* m_end = nullptr;
    size_t Length() const noexcept { return static_cast<size_t>(m_end - m_begin); }
    BasicStringView<wchar_t> View() const noexcept { return {m_begin, Length()}; }
  };

  // The empty handle.
  CachedString() noexcept;
  // Interns the NUL-terminated text; null or empty gives the empty handle.
  CachedString(const wchar_t* text);
  // Interns the text up to its first NUL; an empty result gives the empty handle.
  CachedString(const CStdStr<wchar_t>& text);
  // Shares the record and raises its count (null and empty are copied as they are).
  CachedString(const CachedString& other) noexcept;
  // Takes the record; other becomes null.
  CachedString(CachedString&& other) noexcept;
  // Releases the record (nothing for null or empty).
  ~CachedString();

  // Takes other's record and leaves it null, then releases the old value.
  CachedString& operator=(CachedString&& other) noexcept;
  // Raises the new count before releasing the old value, so assignment to itself is safe.
  CachedString& operator=(const CachedString& other) noexcept;
  // Interns the text (or takes the empty handle), then releases the old value.
  CachedString& operator=(const CStdStr<wchar_t>& text);
  // The same for NUL-terminated text (null gives the empty handle). It also makes assigning a wide
  // literal unambiguous, which the conversions to CachedString and to CStdStr would otherwise make.
  CachedString& operator=(const wchar_t* text);

  // Pointer identity: equal text is the same record. Null equals only null.
  bool operator==(const CachedString& other) const noexcept { return m_text == other.m_text; }
  bool operator!=(const CachedString& other) const noexcept { return m_text != other.m_text; }
  // Text order, unit by unit up to the NUL. Neither handle may be null.
  bool operator<(const CachedString& other) const noexcept;
  bool operator>(const CachedString& other) const noexcept { return other < *this; }

  // The text as a string; the empty string for null.
  CStdStr<wchar_t> Copy() const;
  // Becomes the empty handle and releases the old value.
  void Empty() noexcept;
  // The length in units; 0 for null.
  size_t GetLength() const noexcept;
  // True for null and for the empty text.
  bool IsEmpty() const noexcept { return m_text == nullptr || *m_text == 0; }

  // The words of the text as StringHelp::SplitEachWord reports them with digit splitting on: runs
  // of letters or digits, camelCase parts and then each whole compound ("fooBar" gives "foo",
  // "Bar", "fooBar"), case kept, duplicates kept. Made on the first call and shared by every copy;
  // null and empty give one static empty vector. The first calls of two threads may race to
  // build the list; one list wins and the other is dropped, so both see the same vector.
  const std::vector<Word>& GetWords() const;

  // 0 for null, 1 for the empty handle, otherwise the record's count, read under the table lock.
  size_t References() const noexcept;

  // The text and its length. Not for a null handle.
  BasicStringView<wchar_t> View() const noexcept { return {m_text, GetLength()}; }
  // The handle itself, also when null.
  const wchar_t* c_str() const noexcept { return m_text; }

 private:
  const wchar_t* m_text;
};

}  // namespace lu
