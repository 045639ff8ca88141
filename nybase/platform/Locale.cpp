// Number, date and time display with the contracts of the Windows calls, on the user's conventions.
#include <nybase/platform/Locale.h>

#include <cstring>
#include <new>
#include <string>
#include <vector>

#include <nybase/platform/LastError.h>
#include <nybase/platform/internal/UserLocale.h>

namespace lu::platform {

namespace {

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

// Copies the result and its NUL into out under the shared buffer contract.
int Deliver(const std::wstring& text, wchar_t* out, int cap) noexcept {
  const size_t need = text.size() + 1;
  if (need > static_cast<size_t>(INT32_MAX)) {
    SetLastError(k_errorInvalidParameter);
    return 0;
  }
  if (cap == 0) return static_cast<int>(need);
  if (static_cast<size_t>(cap) < need) {
    SetLastError(k_errorInsufficientBuffer);
    return 0;
  }
  std::wmemcpy(out, text.c_str(), need);
  return static_cast<int>(need);
}

bool BadBuffer(const wchar_t* out, int cap) { return cap < 0 || (cap > 0 && out == nullptr); }

// Inserts thousand separators into the integer digits by the Grouping rule: its decimal digits
// are the group sizes from the decimal point leftwards; a final 0 stops grouping, otherwise the
// last size repeats. Grouping 0 gives no separators.
std::wstring GroupDigits(const std::wstring& digits, uint32_t grouping, const wchar_t* sep) {
  std::wstring sizesText = std::to_wstring(grouping);
  bool repeat = true;
  if (sizesText.size() > 1 && sizesText.back() == L'0') {
    repeat = false;
    sizesText.pop_back();
  }
  if (grouping == 0 || *sep == 0) return digits;
  std::wstring reversed;
  size_t sizeIndex = 0;
  size_t inGroup = 0;
  size_t groupSize = static_cast<size_t>(sizesText[0] - L'0');
  const size_t sepLen = std::wcslen(sep);
  for (size_t i = digits.size(); i-- > 0;) {
    if (groupSize != 0 && inGroup == groupSize) {
      for (size_t k = sepLen; k-- > 0;) reversed.push_back(sep[k]);
      inGroup = 0;
      if (sizeIndex + 1 < sizesText.size()) {
        groupSize = static_cast<size_t>(sizesText[++sizeIndex] - L'0');
      } else if (!repeat) {
        groupSize = 0;  // the rest stays in one group
      }
    }
    reversed.push_back(digits[i]);
    ++inGroup;
  }
  return std::wstring(reversed.rbegin(), reversed.rend());
}

std::wstring FormatNumber(const wchar_t* value, const NUMBERFMTW& f, bool& ok) {
  ok = false;
  const wchar_t* p = value;
  bool negative = false;
  if (*p == L'-') {
    negative = true;
    ++p;
  }
  std::wstring intDigits, fracDigits;
  while (IsDigit(*p)) intDigits.push_back(*p++);
  if (*p == L'.') {
    ++p;
    while (IsDigit(*p)) fracDigits.push_back(*p++);
  }
  if (*p != 0 || (intDigits.empty() && fracDigits.empty())) return {};

  // Round half away from zero on the decimal text, carrying into the integer digits.
  const size_t n = f.NumDigits;
  bool roundUp = fracDigits.size() > n && fracDigits[n] >= L'5';
  fracDigits.resize(n, L'0');
  if (roundUp) {
    std::wstring all = intDigits + fracDigits;
    size_t i = all.size();
    while (i > 0 && all[i - 1] == L'9') all[--i] = L'0';
    if (i == 0) {
      all.insert(all.begin(), L'1');
    } else {
      ++all[i - 1];
    }
    intDigits = all.substr(0, all.size() - n);
    fracDigits = all.substr(all.size() - n);
  }
  const size_t firstNonZero = intDigits.find_first_not_of(L'0');
  intDigits.erase(0, firstNonZero == std::wstring::npos ? intDigits.size() : firstNonZero);
  if (intDigits.empty() && fracDigits.find_first_not_of(L'0') == std::wstring::npos) negative = false;

  std::wstring body;
  if (!intDigits.empty()) {
    body = GroupDigits(intDigits, f.Grouping, f.lpThousandSep);
  } else if (f.LeadingZero != 0 || n == 0) {
    body = L"0";
  }
  if (n != 0) body += f.lpDecimalSep + fracDigits;

  ok = true;
  if (!negative) return body;
  switch (f.NegativeOrder) {
    case 0: return L"(" + body + L")";
    case 1: return L"-" + body;
    case 2: return L"- " + body;
    case 3: return body + L"-";
    default: return body + L" -";
  }
}

// ---- dates and times ----

bool IsLeap(unsigned y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

unsigned DaysInMonth(unsigned y, unsigned m) {
  static const unsigned k_days[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return m == 2 && IsLeap(y) ? 29 : k_days[m - 1];
}

bool ValidDate(const SYSTEMTIME& t) {
  return t.wYear >= 1601 && t.wYear <= 30827 && t.wMonth >= 1 && t.wMonth <= 12 && t.wDay >= 1 &&
         t.wDay <= DaysInMonth(t.wYear, t.wMonth);
}

bool ValidTime(const SYSTEMTIME& t) {
  return t.wHour < 24 && t.wMinute < 60 && t.wSecond < 60 && t.wMilliseconds < 1000;
}

// Day of the week of a Gregorian date, 0 for Sunday (the stored wDayOfWeek is not trusted).
unsigned DayOfWeek(unsigned y, unsigned m, unsigned d) {
  static const unsigned k_offsets[12] = {0, 3, 2, 5, 0, 3, 5, 1, 4, 6, 2, 4};
  if (m < 3) y -= 1;
  return (y + y / 4 - y / 100 + y / 400 + k_offsets[m - 1] + d) % 7;
}

void AppendNumber(std::wstring& out, unsigned v, size_t minDigits) {
  std::wstring digits = std::to_wstring(v);
  if (digits.size() < minDigits) out.append(minDigits - digits.size(), L'0');
  out += digits;
}

// One piece of a picture: a run of one field letter, or literal text.
struct Piece {
  wchar_t letter;  // 0 for literal text
  size_t count;
  std::wstring text;
};

// Splits a picture into field runs (letters in fields) and literal text; text in single quotes
// is literal and '' inside or outside quotes is one quote.
std::vector<Piece> SplitPicture(const wchar_t* picture, const wchar_t* fields) {
  std::vector<Piece> pieces;
  const wchar_t* p = picture;
  auto literal = [&]() -> std::wstring& {
    if (pieces.empty() || pieces.back().letter != 0) pieces.push_back(Piece{0, 0, {}});
    return pieces.back().text;
  };
  while (*p != 0) {
    if (*p == L'\'') {
      ++p;
      if (*p == L'\'') {
        literal().push_back(L'\'');
        ++p;
        continue;
      }
      while (*p != 0) {
        if (*p == L'\'') {
          if (p[1] != L'\'') {
            ++p;
            break;
          }
          ++p;
        }
        literal().push_back(*p++);
      }
      continue;
    }
    if (std::wcschr(fields, *p) != nullptr) {
      const wchar_t letter = *p;
      size_t run = 0;
      for (; *p == letter; ++p) ++run;
      pieces.push_back(Piece{letter, run, {}});
      continue;
    }
    literal().push_back(*p++);
  }
  return pieces;
}

void FormatDate(const SYSTEMTIME& t, const wchar_t* picture, std::wstring& out) {
  const detail::UserLocale& loc = detail::GetUserLocale();
  const std::vector<Piece> pieces = SplitPicture(picture, L"dMyg");
  const size_t count = pieces.size();
  const unsigned dow = DayOfWeek(t.wYear, t.wMonth, t.wDay);
  for (size_t i = 0; i < count; ++i) {
    const Piece& pc = pieces[i];
    switch (pc.letter) {
      case 0: out += pc.text; break;
      case L'd':
        if (pc.count <= 2) AppendNumber(out, t.wDay, pc.count);
        else out += pc.count == 3 ? loc.dayAbbrevs[dow] : loc.dayNames[dow];
        break;
      case L'M':
        if (pc.count <= 2) AppendNumber(out, t.wMonth, pc.count);
        else out += pc.count == 3 ? loc.monthAbbrevs[t.wMonth - 1] : loc.monthNames[t.wMonth - 1];
        break;
      case L'y':
        if (pc.count == 1) AppendNumber(out, t.wYear % 10, 1);
        else if (pc.count == 2) AppendNumber(out, t.wYear % 100, 2);
        else AppendNumber(out, t.wYear, 4);
        break;
      default: out += loc.era; break;  // g, gg
    }
  }
}

void FormatTime(const SYSTEMTIME& t, uint32_t flags, const wchar_t* picture, std::wstring& out) {
  const detail::UserLocale& loc = detail::GetUserLocale();
  const std::vector<Piece> pieces = SplitPicture(picture, L"hHmst");
  const size_t count = pieces.size();
  // Dropping a field also drops the literal text between it and the field before it.
  std::vector<bool> keep(count, true);
  for (size_t i = 0; i < count; ++i) {
    const wchar_t l = pieces[i].letter;
    keep[i] = !((l == L's' && (flags & (k_timeNoSeconds | k_timeNoMinutesOrSeconds)) != 0) ||
                (l == L'm' && (flags & k_timeNoMinutesOrSeconds) != 0) ||
                (l == L't' && (flags & k_timeNoTimeMarker) != 0));
    if (!keep[i]) {
      for (size_t j = i; j-- > 0 && pieces[j].letter == 0;) keep[j] = false;
    }
  }
  const bool force24 = (flags & k_timeForce24HourFormat) != 0;
  for (size_t i = 0; i < count; ++i) {
    if (!keep[i]) continue;
    const Piece& pc = pieces[i];
    const size_t width = pc.count >= 2 ? 2 : 1;
    switch (pc.letter) {
      case 0: out += pc.text; break;
      case L'h':
        if (force24) {
          AppendNumber(out, t.wHour, width);
        } else {
          const unsigned h12 = t.wHour % 12 == 0 ? 12 : t.wHour % 12;
          AppendNumber(out, h12, width);
        }
        break;
      case L'H': AppendNumber(out, t.wHour, width); break;
      case L'm': AppendNumber(out, t.wMinute, width); break;
      case L's': AppendNumber(out, t.wSecond, width); break;
      default: {  // t, tt
        const wchar_t* marker = t.wHour < 12 ? loc.am : loc.pm;
        if (pc.count == 1) {
          if (*marker != 0) out.push_back(*marker);
        } else {
          out += marker;
        }
        break;
      }
    }
  }
}

}  // namespace

int GetNumberFormatW(LCID /*locale*/, uint32_t flags, const wchar_t* value, const NUMBERFMTW* format,
                     wchar_t* out, int cap) noexcept {
  if (value == nullptr || BadBuffer(out, cap)) {
    SetLastError(k_errorInvalidParameter);
    return 0;
  }
  NUMBERFMTW f{};
  if (format != nullptr) {
    if (flags != 0) {
      SetLastError(k_errorInvalidFlags);
      return 0;
    }
    if (format->lpDecimalSep == nullptr || format->lpThousandSep == nullptr || format->LeadingZero > 1 ||
        format->NegativeOrder > 4) {
      SetLastError(k_errorInvalidParameter);
      return 0;
    }
    f = *format;
  } else {
    // Only "no user override" may be asked for with the user's format; both mean the same here.
    if ((flags & ~0x80000000u) != 0) {
      SetLastError(k_errorInvalidFlags);
      return 0;
    }
    const detail::UserLocale& loc = detail::GetUserLocale();
    f = NUMBERFMTW{loc.numDigits, loc.leadingZero, loc.grouping, const_cast<wchar_t*>(loc.decimalSep),
                   const_cast<wchar_t*>(loc.thousandSep), loc.negativeOrder};
  }
  try {
    bool ok;
    const std::wstring text = FormatNumber(value, f, ok);
    if (!ok) {
      SetLastError(k_errorInvalidParameter);
      return 0;
    }
    return Deliver(text, out, cap);
  } catch (const std::bad_alloc&) {
    SetLastError(k_errorNotEnoughMemory);
    return 0;
  }
}

int GetDateFormatW(LCID /*locale*/, uint32_t flags, const SYSTEMTIME* date, const wchar_t* format, wchar_t* out,
                   int cap) noexcept {
  if (BadBuffer(out, cap)) {
    SetLastError(k_errorInvalidParameter);
    return 0;
  }
  const detail::UserLocale& loc = detail::GetUserLocale();
  const wchar_t* picture = format;
  if (format != nullptr) {
    if (flags != 0) {
      SetLastError(k_errorInvalidFlags);
      return 0;
    }
  } else if (flags == 0 || flags == k_dateShortDate) {
    picture = loc.shortDate;
  } else if (flags == k_dateLongDate) {
    picture = loc.longDate;
  } else {
    SetLastError(k_errorInvalidFlags);
    return 0;
  }
  SYSTEMTIME t;
  if (date != nullptr) {
    t = *date;
  } else {
    GetLocalTime(&t);
  }
  if (!ValidDate(t)) {
    SetLastError(k_errorInvalidParameter);
    return 0;
  }
  try {
    std::wstring text;
    FormatDate(t, picture, text);
    return Deliver(text, out, cap);
  } catch (const std::bad_alloc&) {
    SetLastError(k_errorNotEnoughMemory);
    return 0;
  }
}

int GetTimeFormatW(LCID /*locale*/, uint32_t flags, const SYSTEMTIME* time, const wchar_t* format, wchar_t* out,
                   int cap) noexcept {
  if (BadBuffer(out, cap)) {
    SetLastError(k_errorInvalidParameter);
    return 0;
  }
  const uint32_t known = k_timeNoMinutesOrSeconds | k_timeNoSeconds | k_timeNoTimeMarker | k_timeForce24HourFormat;
  if ((flags & ~(known | 0x80000000u)) != 0) {
    SetLastError(k_errorInvalidFlags);
    return 0;
  }
  const wchar_t* picture = format != nullptr ? format : detail::GetUserLocale().timeFormat;
  SYSTEMTIME t;
  if (time != nullptr) {
    t = *time;
  } else {
    GetLocalTime(&t);
  }
  if (!ValidTime(t)) {
    SetLastError(k_errorInvalidParameter);
    return 0;
  }
  try {
    std::wstring text;
    FormatTime(t, flags, picture, text);
    return Deliver(text, out, cap);
  } catch (const std::bad_alloc&) {
    SetLastError(k_errorNotEnoughMemory);
    return 0;
  }
}

}  // namespace lu::platform
