// lu::InternalPath: project-internal paths with "\" as their only separator.
#include <nybase/files/InternalPath.h>

namespace lu {

InternalPath::InternalPath(const CStdStr<wchar_t>& text) : m_text(text) { EnsureSlashesAreBackward(); }

InternalPath::InternalPath(CStdStr<wchar_t>&& text) : m_text(std::move(text)) { EnsureSlashesAreBackward(); }

void InternalPath::EnsureSlashesAreBackward(size_t from) noexcept {
  for (size_t i = from; i < m_text.size(); ++i) {
    if (m_text[i] == L'/') m_text[i] = L'\\';
  }
}

InternalPath& InternalPath::Append(const CStdStr<wchar_t>& part, bool addSeparator) {
  const size_t from = m_text.size();
  m_text.reserve(from + 1 + part.size());
  if (addSeparator && (m_text.empty() || m_text.back() != L'\\')) m_text.push_back(L'\\');
  m_text.append(part);
  // The text before `from` holds no "/" already.
  EnsureSlashesAreBackward(from);
  return *this;
}

CStdStr<wchar_t> InternalPath::GetParent() const {
  const size_t sep = m_text.rfind(L'\\');
  if (sep == CStdStr<wchar_t>::npos || sep == 0) return {};
  return CStdStr<wchar_t>(m_text.data(), sep);
}

CStdStr<wchar_t> InternalPath::GetStem() const {
  const size_t npos = CStdStr<wchar_t>::npos;
  const size_t sep = m_text.rfind(L'\\');
  const size_t dot = m_text.rfind(L'.');
  if (sep == npos && dot == npos) return m_text;
  const size_t start = sep == npos ? 0 : sep + 1;
  const size_t len = m_text.size() - start;
  if (len == 2 && m_text[start] == L'.' && m_text[start + 1] == L'.') return CStdStr<wchar_t>(m_text.data() + start, 2);
  // No dot in the name, or a dot as its first character: the whole name.
  if (dot == npos || dot < start + 1) return CStdStr<wchar_t>(m_text.data() + start, len);
  return CStdStr<wchar_t>(m_text.data() + start, dot - start);
}

}  // namespace lu
