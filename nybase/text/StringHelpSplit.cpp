// StringHelp splitting: on a separator, into words (camelCase, digits), and key=value lists.
#include <nybase/text/StringHelp.h>

#include <climits>
#include <stdexcept>

#include <nybase/text/internal/TextLocale.h>

namespace StringHelp {

namespace {

// The std::getline rules over [b, e): an item ends at each separator; the end of the text ends
// the last item only when it is not empty. The vector ends up holding exactly the items; strings
// it already held are reused in place, so a caller that splits into one vector again and again
// does not allocate for items that fit them.
template <typename CT, typename Item>
void SplitRange(const CT* b, const CT* e, CT separator, std::vector<Item>& items) {
  size_t n = 0;
  auto put = [&](const CT* from, const CT* to) {
    if (n < items.size()) {
      items[n].assign(from, to);
    } else {
      items.emplace_back(from, to);
    }
    ++n;
  };
  while (b < e) {
    const CT* s = std::char_traits<CT>::find(b, static_cast<size_t>(e - b), separator);
    if (s == nullptr) {
      put(b, e);
      break;
    }
    put(b, s);
    b = s + 1;
  }
  items.erase(items.begin() + static_cast<std::ptrdiff_t>(n), items.end());
}

}  // namespace

void SplitString(const CStdStr<wchar_t>& text, wchar_t separator, std::vector<CStdStr<wchar_t>>& items) {
  const wchar_t* b = text.data();
  SplitRange(b, b + std::char_traits<wchar_t>::length(b), separator, items);
}

void SplitString(const std::basic_string<char>& text, char separator, std::vector<std::basic_string<char>>& items) {
  SplitRange(text.data(), text.data() + text.size(), separator, items);
}

void SplitString(const std::basic_string<wchar_t>& text, wchar_t separator,
                 std::vector<std::basic_string<wchar_t>>& items) {
  SplitRange(text.data(), text.data() + text.size(), separator, items);
}

bool SplitEachWord(const wchar_t* text, void* context, bool splitAtDigits, SplitEachWordCallback callback) {
  if (text == nullptr) return false;
  const std::ctype<wchar_t>& ct = detail::SharedCType();
  struct Class {
    bool letter, lower, digit;
  };
  auto classify = [&ct](wchar_t c) {
    Class k;
    k.digit = detail::IsDigit(c);
    k.letter = !k.digit && detail::IsLetter(c, ct);
    k.lower = k.letter && detail::IsLower(c, ct);
    return k;
  };

  size_t i = 0;
  Class p{};
  for (; text[i] != 0; ++i) {
    p = classify(text[i]);
    if (p.letter || p.digit) break;
  }
  if (text[i] == 0) return false;

  constexpr size_t k_unset = static_cast<size_t>(-1);
  size_t wordStart = i;
  size_t compoundStart = k_unset;
  auto report = [&](size_t from, size_t to) { return callback(context, text + from, static_cast<uint64_t>(to - from)); };
  // Ends the word at `end`: the word, then a pending compound. True when the callback stops.
  auto finish = [&](size_t end) {
    if (end == wordStart) return false;
    if (report(wordStart, end)) return true;
    if (compoundStart != k_unset) {
      const size_t from = compoundStart;
      compoundStart = k_unset;
      if (report(from, end)) return true;
    }
    return false;
  };

  for (++i; text[i] != 0; ++i) {
    const Class c = classify(text[i]);
    const bool separator = !c.letter && !c.digit;
    size_t next;
    if (splitAtDigits && ((c.digit && p.letter) || (c.letter && p.digit))) {
      next = i;
    } else if (separator) {
      next = i + 1;
    } else {
      if (p.lower && !c.lower && !c.digit) {  // a camelCase hump: the part so far is a word
        if (i != wordStart) {
          if (report(wordStart, i)) return true;
          if (compoundStart == k_unset) compoundStart = wordStart;
        }
        wordStart = i;
      }
      p = c;
      continue;
    }
    if (finish(i)) return true;
    wordStart = next;
    p = c;
  }
  return wordStart < i && finish(i);
}

void SplitWords(const CStdStr<wchar_t>& text, std::vector<CStdStr<wchar_t>>& words, bool splitAtDigits) {
  words.clear();
  struct Context {
    std::vector<CStdStr<wchar_t>>* words;
    std::locale locale;
    const std::ctype<wchar_t>* ct;
  } context{&words, detail::GlobalLocaleWithLetters(), nullptr};
  context.ct = &std::use_facet<std::ctype<wchar_t>>(context.locale);
  SplitEachWord(text.c_str(), &context, splitAtDigits, [](void* ctx, const wchar_t* word, uint64_t length) {
    auto& c = *static_cast<Context*>(ctx);
    // A word never holds a NUL: the walk stops at the first one.
    CStdStr<wchar_t> w(word, static_cast<size_t>(length));
    c.ct->tolower(w.data(), w.data() + w.size());
    c.words->push_back(std::move(w));
    return false;
  });
}

namespace {

// The tokenizer under ParseToMap: skips delimiters from pos, returns the token up to the next
// delimiter, and moves pos one past that delimiter (at most to the length). pos -1 means the end
// was reached; a negative pos given to it throws.
CStdStr<wchar_t> Tokenize(const std::wstring_view text, const wchar_t* delimiters, int& pos) {
  if (pos < 0) throw std::invalid_argument("Invalid start");
  const auto length = static_cast<int>(text.size());
  if (pos >= length) {
    pos = -1;
    return {};
  }
  const size_t start = text.find_first_not_of(delimiters, static_cast<size_t>(pos));
  if (start == std::wstring_view::npos) {
    pos = -1;
    return {};
  }
  size_t end = text.find_first_of(delimiters, start);
  if (end == std::wstring_view::npos) end = text.size();
  pos = static_cast<int>(end < text.size() ? end + 1 : end);
  return CStdStr<wchar_t>(text.substr(start, end - start));
}

}  // namespace

void ParseToMap(const wchar_t* text, std::map<CStdStr<wchar_t>, CStdStr<wchar_t>>& map) {
  if (text == nullptr || *text == 0) return;
  std::wstring_view view(text);
  // Positions are 32-bit signed; a text longer than that is read up to INT_MAX - 1 units.
  if (view.size() >= static_cast<size_t>(INT_MAX)) view = view.substr(0, INT_MAX - 1);
  int pos = 0;
  CStdStr<wchar_t> key = Tokenize(view, L"=", pos);
  while (!key.empty()) {
    CStdStr<wchar_t> value = Tokenize(view, L";", pos);
    map[key] = std::move(value);
    // After a key at the very end (or a bare "=") pos is -1 here, and this read throws "Invalid
    // start" on purpose: callers rely on that for text that stops inside a pair.
    key = Tokenize(view, L"=", pos);
  }
}

}  // namespace StringHelp
