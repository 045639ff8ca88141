// StringHelp cleaning: trimming, removing characters, lower-casing, colour codes, escapes.
#include <nybase/text/StringHelp.h>

#include <algorithm>

#include <nybase/text/internal/TextLocale.h>

namespace StringHelp {

namespace {

template <typename CT>
void TrimT(std::basic_string<CT>& text, const std::basic_string<CT>& chars) {
  if (chars.empty()) return;
  const size_t first = text.find_first_not_of(chars);
  if (first == std::basic_string<CT>::npos) {
    text.clear();
    return;
  }
  text.erase(text.find_last_not_of(chars) + 1);
  text.erase(0, first);
}

template <typename CT>
void RemoveT(std::basic_string<CT>& text, const std::basic_string<CT>& chars) {
  if (chars.empty()) return;
  const std::basic_string_view<CT> set(chars);
  text.erase(std::remove_if(text.begin(), text.end(), [set](CT c) { return set.find(c) != set.npos; }), text.end());
}

}  // namespace

void Trim(std::basic_string<char>& text, const std::basic_string<char>& chars) { TrimT(text, chars); }
void Trim(std::basic_string<wchar_t>& text, const std::basic_string<wchar_t>& chars) { TrimT(text, chars); }
void Remove(std::basic_string<char>& text, const std::basic_string<char>& chars) { RemoveT(text, chars); }
void Remove(std::basic_string<wchar_t>& text, const std::basic_string<wchar_t>& chars) { RemoveT(text, chars); }

void ToLower(std::basic_string<char>& text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
  }
}

void ToLower(std::basic_string<wchar_t>& text) {
  const detail::CaseMap& fold = detail::SharedCaseMap();
  for (wchar_t& c : text) c = fold.Lower(c);
}

CStdStr<wchar_t>& RemoveControlCharacters(CStdStr<wchar_t>& text) {
  text.erase(std::remove_if(text.begin(), text.end(), [](wchar_t c) { return c >= 1 && c <= 31; }), text.end());
  return text;
}

CStdStr<wchar_t> RemoveAnsiCode(const CStdStr<wchar_t>& text) {
  constexpr wchar_t k_esc = 27;
  const std::wstring_view t(text);
  size_t esc = t.find(k_esc);
  if (esc == t.npos) return text;
  CStdStr<wchar_t> result;
  result.reserve(t.size());
  size_t from = 0;
  while (esc != t.npos) {
    result.append(t.substr(from, esc - from));
    const size_t m = t.find(L'm', esc);
    if (m == t.npos) {
      // An ESC without a later "m" is no sequence: keep it and the rest. (Following the walk
      // literally would restart at the beginning and never end.)
      from = esc;
      break;
    }
    from = m + 1;
    esc = t.find(k_esc, from);
  }
  result.append(t.substr(from));
  return result;
}

CStdStr<wchar_t> RemoveUnderscoreDigitAtTheEnd(const CStdStr<wchar_t>& text) {
  size_t i = text.size();
  while (i > 0 && text[i - 1] >= L'0' && text[i - 1] <= L'9') --i;
  if (i < text.size() && i > 0 && text[i - 1] == L'_') return CStdStr<wchar_t>(text.substr(0, i - 1));
  return text;
}

CStdStr<wchar_t> XmlEscape(CStdStr<wchar_t> text) {
  // One pass gives the same text as replacing "&", "<", ">", "'" and the quote one after the
  // other: no entity contains a character that a later replacement looks for.
  if (text.find_first_of(L"&<>'\"") == text.npos) return text;
  CStdStr<wchar_t> out;
  out.reserve(text.size() + text.size() / 4 + 8);
  for (wchar_t c : text) {
    switch (c) {
      case L'&': out += L"&amp;"; break;
      case L'<': out += L"&lt;"; break;
      case L'>': out += L"&gt;"; break;
      case L'\'': out += L"&apos;"; break;
      case L'"': out += L"&quot;"; break;
      default: out += c;
    }
  }
  return out;
}

CStdStr<wchar_t> MenuEscape(CStdStr<wchar_t> text) {
  if (text.find(L'&') == text.npos) return text;
  CStdStr<wchar_t> out;
  out.reserve(text.size() + 8);
  for (wchar_t c : text) {
    out += c;
    if (c == L'&') out += L'&';
  }
  return out;
}

}  // namespace StringHelp
