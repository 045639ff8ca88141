// lu::InternalPath: a path inside a project, never handed to the system, whose text holds only "\".
#pragma once

#include <utility>

#include <nybase/text/CStdStr.h>

namespace lu {

// Its text never holds "/": the constructors from text and Append turn every "/" into "\".
// The default value is the empty string. Nothing here fails.
class InternalPath {
 public:
  InternalPath() = default;
  InternalPath(const CStdStr<wchar_t>& text);
  InternalPath(CStdStr<wchar_t>&& text);
  InternalPath(const InternalPath&) = default;
  InternalPath(InternalPath&&) noexcept = default;
  InternalPath& operator=(const InternalPath&) = default;
  InternalPath& operator=(InternalPath&&) noexcept = default;
  virtual ~InternalPath() = default;

  // Appends `part`, first adding one "\" when `addSeparator` is set and the text does not already
  // end in "\" (an empty text gets it too: "" + "a" gives "\a").
  InternalPath& Append(const CStdStr<wchar_t>& part, bool addSeparator);

  // The text before the last "\", or empty when that "\" is the first character or absent.
  CStdStr<wchar_t> GetParent() const;
  // The last element without its extension: "a\b.c" gives "b"; a leading dot starts no extension
  // (".a" stays), and ".." stays whole.
  CStdStr<wchar_t> GetStem() const;
  bool IsEmpty() const noexcept { return m_text.empty(); }

  const CStdStr<wchar_t>& GetFullPath() const& noexcept { return m_text; }
  CStdStr<wchar_t> GetFullPath() && noexcept { return std::move(m_text); }

 private:
  void EnsureSlashesAreBackward(size_t from = 0) noexcept;

  CStdStr<wchar_t> m_text;
};

}  // namespace lu
