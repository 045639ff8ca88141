// ROString: an interned read-only narrow string that lives until the library unloads.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include <nybase/text/BasicStringView.h>

// One pointer, to the text of a record in the process-wide table; equal text gives the same
// pointer, so equality is one pointer comparison. Copying copies the pointer and counts nothing,
// and there is no destructor: a record is never freed before the library unloads. The record is
// one malloc block of length + 5 bytes: a 32-bit count of the interning calls for the text (it is
// raised on each and never falls), then the text and its NUL.
//
// Interning is thread-safe (one lock for the table); everything else only reads the pointer.
// Text is cut at its first NUL. Wide text is narrowed unit by unit to the low 7 bits of each unit,
// so only ASCII keeps its identity: wide keys are expected to be ASCII names.
class ROString {
 public:
  // The static empty string, interned when the library loads.
  ROString() noexcept;
  ROString(std::nullptr_t) noexcept : ROString() {}
  // Interns the NUL-terminated text; null counts as the empty text.
  ROString(const char* text);
  // Interns the text up to its first NUL.
  ROString(const std::basic_string<char>& text);
  // Narrows each unit to its low 7 bits, then interns the result up to its first NUL byte; null
  // or empty counts as the empty text.
  ROString(const wchar_t* text);
  ROString(const std::basic_string<wchar_t>& text);

  // Interns text (null as the empty text) and returns text itself, not the handle: a null pointer
  // given is a null pointer returned.
  const char* operator=(const char* text);

  bool operator==(const ROString& other) const noexcept { return m_text == other.m_text; }
  bool operator!=(const ROString& other) const noexcept { return m_text != other.m_text; }

  // The NUL-terminated text; never null.
  const char* c_str() const noexcept { return m_text; }
  size_t GetLength() const noexcept { return std::char_traits<char>::length(m_text); }
  bool IsEmpty() const noexcept { return *m_text == 0; }
  lu::BasicStringView<char> View() const noexcept { return {m_text, GetLength()}; }

 private:
  const char* m_text;
};

// Orders ROString by the value of their pointers, not by their text: cheap, stable within one
// process, and different from one run to the next.
struct ROStringLess {
  bool operator()(const ROString& a, const ROString& b) const noexcept {
    return std::less<const char*>()(a.c_str(), b.c_str());
  }
};
