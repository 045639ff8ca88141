// StringHelp: text to values and values to text (numbers, GUIDs, UTF-8, sizes, dates, resources),
// and taking text apart, cleaning and comparing it.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include <nybase/base/NyGuid.h>
#include <nybase/base/VariantType.h>
#include <nybase/platform/ModuleHandle.h>
#include <nybase/text/BasicStringView.h>
#include <nybase/text/CStdStr.h>
#include <nybase/text/ConcatHelper.h>

// Functions marked "both widths" exist for char and wchar_t text. Each of those is a template over
// the unit type (explicitly instantiated for the two) and, where it takes a view, also a pair of
// plain overloads so that literals and strings convert to the view at the call.
//
// Parsers never depend on the locale, never allocate, never read past the view (StringToBool and
// Localize excepted: they read to the NUL), and leave their output untouched on failure.
namespace StringHelp {

enum SpecialChar {
  SpecialCharRegistered = 0,
  SpecialCharTrademark = 1,
  SpecialCharDegree = 2,
};

enum DateTime {
  DateTimeTimeOnly = 0,
  DateTimeDateOnly = 1,
  DateTimeDateAndTime = 2,
};

// ---- Parsing (both widths) ----------------------------------------------------------------------
// Decimal integers: leading ASCII whitespace, then at most one "+", then what std::from_chars
// accepts for the type ("-" only for signed types, any number of leading zeros), then trailing
// whitespace. So "+-5" is -5 for the signed types. Fails on overflow, an empty view, whitespace
// alone, or anything left over.
template <typename CT> bool StringToInt8(lu::BasicStringView<CT> s, int8_t& value);
template <typename CT> bool StringToInt16(lu::BasicStringView<CT> s, int16_t& value);
template <typename CT> bool StringToInt32(lu::BasicStringView<CT> s, int32_t& value);
template <typename CT> bool StringToInt64(lu::BasicStringView<CT> s, int64_t& value);
template <typename CT> bool StringToUInt8(lu::BasicStringView<CT> s, uint8_t& value);
template <typename CT> bool StringToUInt16(lu::BasicStringView<CT> s, uint16_t& value);
template <typename CT> bool StringToUInt32(lu::BasicStringView<CT> s, uint32_t& value);
template <typename CT> bool StringToUInt64(lu::BasicStringView<CT> s, uint64_t& value);

// Decimal or scientific text with "." as the separator, "nan"/"inf"/"infinity" in any case with
// an optional "-"; whitespace and one "+" as for integers. Infinite results fail ("inf", "1e999"),
// so do texts that round to zero or overflow ("1e-400"); NaN and subnormal results pass.
template <typename CT> bool StringToFloat(lu::BasicStringView<CT> s, float& value);
template <typename CT> bool StringToDouble(lu::BasicStringView<CT> s, double& value);

// "true"/"false" in any ASCII case, or a view of length 1 holding "1"/"0". The words are compared
// over the view's pointer up to its NUL, so the view must point at NUL-terminated text; its length
// only matters for the one-digit forms. No whitespace is skipped.
template <typename CT> bool StringToBool(lu::BasicStringView<CT> s, bool& value);

// Hexadecimal digits of either case, optionally after "0x"/"0X"; whitespace and one "+" as for
// integers. Fails above 0xFFFFFFFF and for "0x" alone.
template <typename CT> bool HexStringToUInt32(lu::BasicStringView<CT> s, uint32_t& value);

// True when the view is not empty and every unit is a decimal digit "0"-"9".
template <typename CT> bool IsAllDigit(lu::BasicStringView<CT> s);

#define NYBASE_STRINGHELP_PARSER(Name, T)                                                      \
  inline bool Name(lu::BasicStringView<char> s, T& value) { return Name<char>(s, value); }    \
  inline bool Name(lu::BasicStringView<wchar_t> s, T& value) { return Name<wchar_t>(s, value); }
NYBASE_STRINGHELP_PARSER(StringToInt8, int8_t)
NYBASE_STRINGHELP_PARSER(StringToInt16, int16_t)
NYBASE_STRINGHELP_PARSER(StringToInt32, int32_t)
NYBASE_STRINGHELP_PARSER(StringToInt64, int64_t)
NYBASE_STRINGHELP_PARSER(StringToUInt8, uint8_t)
NYBASE_STRINGHELP_PARSER(StringToUInt16, uint16_t)
NYBASE_STRINGHELP_PARSER(StringToUInt32, uint32_t)
NYBASE_STRINGHELP_PARSER(StringToUInt64, uint64_t)
NYBASE_STRINGHELP_PARSER(StringToFloat, float)
NYBASE_STRINGHELP_PARSER(StringToDouble, double)
NYBASE_STRINGHELP_PARSER(StringToBool, bool)
NYBASE_STRINGHELP_PARSER(HexStringToUInt32, uint32_t)
#undef NYBASE_STRINGHELP_PARSER

// The 64-bit parsers also fill a long long / unsigned long long where that is a type of its own
// (int64_t is long on LP64 systems), so callers may use either spelling.
#define NYBASE_STRINGHELP_PARSER_LL(Name, T, Fixed, CT)                                     \
  template <typename U>                                                                     \
    requires(std::is_same_v<U, T> && !std::is_same_v<T, Fixed>)                             \
  bool Name(lu::BasicStringView<CT> s, U& value) {                                          \
    Fixed v;                                                                                \
    if (!Name<CT>(s, v)) return false;                                                      \
    value = static_cast<U>(v);                                                              \
    return true;                                                                            \
  }
NYBASE_STRINGHELP_PARSER_LL(StringToInt64, long long, int64_t, char)
NYBASE_STRINGHELP_PARSER_LL(StringToInt64, long long, int64_t, wchar_t)
NYBASE_STRINGHELP_PARSER_LL(StringToUInt64, unsigned long long, uint64_t, char)
NYBASE_STRINGHELP_PARSER_LL(StringToUInt64, unsigned long long, uint64_t, wchar_t)
#undef NYBASE_STRINGHELP_PARSER_LL
inline bool IsAllDigit(lu::BasicStringView<char> s) { return IsAllDigit<char>(s); }
inline bool IsAllDigit(lu::BasicStringView<wchar_t> s) { return IsAllDigit<wchar_t>(s); }

// ---- Printing (both widths) ---------------------------------------------------------------------
// Plain decimal digits with "-" for negatives; the string is replaced.
template <typename CT> void IntToString(int value, CStdStr<CT>& out);
template <typename CT> void Int32ToString(int value, CStdStr<CT>& out);  // the same as IntToString
template <typename CT> void Int64ToString(int64_t value, CStdStr<CT>& out);
template <typename CT> void UInt32ToString(uint32_t value, CStdStr<CT>& out);
template <typename CT> void UInt64ToString(uint64_t value, CStdStr<CT>& out);
// With padSingleDigit set, values below 10 get a leading "0" ("07", "00").
template <typename CT> void UIntToString(unsigned int value, CStdStr<CT>& out, bool padSingleDigit);

// Shortens a number printed with fixed decimals: trailing zeros after a "." go, then a bare
// trailing "."; "-0" becomes "0". "1.500" -> "1.5", "2.000" -> "2", ".0" -> "", "100" stays.
template <typename CT> void CompactNumberString(CStdStr<CT>& text);

// The number text (digits, one ".", a leading "-") in the user's locale with the given decimals,
// no leading zero (".5"), groups of 3 separated by a blank, "." as the decimal separator and a
// leading "-" for negatives: "1234.5" with 2 gives "1 234.50". Empty when the text is no number.
CStdStr<wchar_t> FormatNumberString(const CStdStr<wchar_t>& number, unsigned int decimals);

// The size as "<value> <unit>" with Bytes/KB/MB/GB/TB, switching unit at 1000 of the unit below
// (1000 bytes is "0.98 KB" at 2 decimals); bytes print without decimals. With perSecond the unit
// becomes "KB/s" etc. A negative decimals count prints like 0.
CStdStr<wchar_t> GetSizeString(int64_t size, bool perSecond, int decimals);

// Joins the strings with the separator between two of them; result is replaced.
void VectorToString(const std::vector<CStdStr<wchar_t>>& strings, CStdStr<wchar_t>& result,
                    CStdStr<wchar_t> separator);

// The name of a variant type ("int16", "Uint32", "Real64", "string", "bool", ...); the empty
// string for types without a name. Both widths.
template <typename CT> void VarTypeToString(lu::VariantType type, CStdStr<CT>& out);

// ---- GUIDs --------------------------------------------------------------------------------------
// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}", 38 upper-case characters; the arrays get a NUL at 38.
void ConvertNyGuidToString(const NyGuid& guid, CStdStr<char>& out);
void ConvertNyGuidToString(const NyGuid& guid, CStdStr<wchar_t>& out);
void ConvertNyGuidToString(const NyGuid& guid, char (&out)[39]);
void ConvertNyGuidToString(const NyGuid& guid, wchar_t (&out)[39]);

namespace unsafe {
// As above into a caller's buffer that must hold 39 bytes (unchecked).
void ConvertNyGuidToString(const NyGuid& guid, char* out);
}  // namespace unsafe

// Parses exactly the 38-character braced form, digits of either case; any other text gives the
// null GUID (so a bad text and a stored null GUID look alike). Both widths.
template <typename CT> NyGuid ConvertStringToNyGuid(lu::BasicStringView<CT> text);
inline NyGuid ConvertStringToNyGuid(lu::BasicStringView<char> text) { return ConvertStringToNyGuid<char>(text); }
inline NyGuid ConvertStringToNyGuid(lu::BasicStringView<wchar_t> text) {
  return ConvertStringToNyGuid<wchar_t>(text);
}

// ---- UTF-8 --------------------------------------------------------------------------------------
// Convert length units (-1: up to and including the NUL, which is then counted) into out of
// capacity units, always NUL-terminated: returns n = min(capacity - 1, units converted), with the
// NUL at out[n]. A failure (bad arguments, a buffer too small for the whole text) gives 0 and "";
// a capacity below 1 or a null out writes nothing and returns 0.
int WCharToUTF8(const wchar_t* text, int length, char* out, int capacity);
int UTF8ToWChar(const char* text, int length, wchar_t* out, int capacity);

// The UTF-8 form of the whole string into at most capacity - 1 bytes plus a NUL. Returns out, or
// null when nothing was converted (empty string, or text too long for the buffer; out then holds
// ""). A capacity of 0 writes nothing and returns null. A capacity of 1 is a size query to the
// codec: out holds "" and, for a non-empty string, the result is out, not null.
char* CStringToUTF8(const CStdStr<wchar_t>& text, char* out, unsigned int capacity);

// Cuts the string (by UTF-16 units, possibly inside a surrogate pair) to the longest prefix whose
// UTF-8 form is at most limitBytes - 1 bytes, so that it fits a buffer of limitBytes with its NUL.
// A limit of 0 or 1 empties the string.
void TruncateForUTF8(CStdStr<wchar_t>& text, unsigned int limitBytes);

// The number of characters of NUL-terminated UTF-8 (bytes that are no continuation byte).
uint64_t CountUTF8Glyphs(const char* text);

// ---- Splitting ----------------------------------------------------------------------------------
// Cuts the text at each separator, as repeated std::getline would: the vector is emptied first;
// an empty text gives no item, a separator at the end no trailing empty item ("a,b," gives two),
// a separator at the start a leading empty one (",a" gives "" and "a"), two in a row an empty one
// between them. The CStdStr overload reads the text up to its first NUL; the others take all of
// it. No failure result.
void SplitString(const CStdStr<wchar_t>& text, wchar_t separator, std::vector<CStdStr<wchar_t>>& items);
void SplitString(const std::basic_string<char>& text, char separator, std::vector<std::basic_string<char>>& items);
void SplitString(const std::basic_string<wchar_t>& text, wchar_t separator,
                 std::vector<std::basic_string<wchar_t>>& items);

// Called for each word that SplitEachWord finds, with the context, the word's first unit and its
// length in units; returning true stops the walk.
using SplitEachWordCallback = bool (*)(void* context, const wchar_t* word, uint64_t length);

// Walks the NUL-terminated text (null counts as empty) and reports its words. A word is a run of
// letters and digits: a letter is an ASCII letter or, from 128 up, what the shared locale calls
// alpha (see CaseInsensitiveSearch); everything but letters and "0"-"9" separates. A camelCase
// hump (a lower-case letter followed by a letter that is not lower-case) splits a word into parts,
// and after its parts the whole compound is reported too: "fooBar baz" gives "foo", "Bar",
// "fooBar", "baz". A run of capitals has no hump ("ABCServer" is one word). With splitAtDigits set,
// letters and digits meeting also end a word, without making a compound ("abc123" gives "abc" and
// "123"); a pending compound is reported there ("fooBar1": "foo", "Bar", "fooBar", "1"). Returns
// true when the callback stopped the walk, false when it reached the end (also for empty text).
bool SplitEachWord(const wchar_t* text, void* context, bool splitAtDigits, SplitEachWordCallback callback);

// The words SplitEachWord reports, in its order, each lower-cased by std::ctype<wchar_t> of a
// fresh copy of the global locale (with "C.UTF-8" in place of the classic locale). The vector is
// emptied first; the text is read up to its first NUL.
void SplitWords(const CStdStr<wchar_t>& text, std::vector<CStdStr<wchar_t>>& words, bool splitAtDigits);

// Reads "key=value;key=value" into the map, keeping what it held; a repeated key takes the later
// value. Leading "=" before a key are skipped ("==a=b" has the key "a"), and a value runs to the
// next ";" ("a=b=c;" has the value "b=c"). Throws std::invalid_argument("Invalid start") when the
// text ends inside a key or right after "=", after storing that last key with an empty value
// ("a=1;b" stores a and b, then throws). A null or empty text adds nothing.
void ParseToMap(const wchar_t* text, std::map<CStdStr<wchar_t>, CStdStr<wchar_t>>& map);

// ---- Cleaning -----------------------------------------------------------------------------------
// Removes every character of the set (single characters, not a sequence) from the start, then
// from the end. A text of only such characters becomes empty; an empty set changes nothing.
void Trim(std::basic_string<char>& text, const std::basic_string<char>& chars);
void Trim(std::basic_string<wchar_t>& text, const std::basic_string<wchar_t>& chars);

// Removes every character of the set wherever it stands, keeping the order of the rest.
void Remove(std::basic_string<char>& text, const std::basic_string<char>& chars);
void Remove(std::basic_string<wchar_t>& text, const std::basic_string<wchar_t>& chars);

// Lower-cases in place. Narrow text changes only "A"-"Z" (bytes above 0x7F are parts of UTF-8
// characters and stay); wide text folds each unit through the shared locale, so "É" becomes "é".
void ToLower(std::basic_string<char>& text);
void ToLower(std::basic_string<wchar_t>& text);

// Removes the units 1 to 31 (tabs, returns and line feeds among them) in place; returns text.
CStdStr<wchar_t>& RemoveControlCharacters(CStdStr<wchar_t>& text);

// Strips terminal colour sequences: from each ESC (27) up to and including the next "m", whatever
// lies between. An ESC that no "m" follows is kept with the rest of the text. Text without ESC
// comes back as a copy.
CStdStr<wchar_t> RemoveAnsiCode(const CStdStr<wchar_t>& text);

// Drops a final "_" followed by one or more digits "0"-"9": "Name_12" gives "Name", "_12" the
// empty string; "Name_", "Name12" and "12" come back unchanged.
CStdStr<wchar_t> RemoveUnderscoreDigitAtTheEnd(const CStdStr<wchar_t>& text);

// Replaces "&" "<" ">" "'" and the double quote by their XML entities ("&amp;" first, so an
// entity made here is not escaped again).
CStdStr<wchar_t> XmlEscape(CStdStr<wchar_t> text);

// Doubles every "&", so that a name shows literally in a menu.
CStdStr<wchar_t> MenuEscape(CStdStr<wchar_t> text);

// ---- Comparison ---------------------------------------------------------------------------------
// True when sought occurs in text with both folded to upper case by the std::ctype<wchar_t> of
// one shared locale: a copy of the global locale made on the first use by this function or by
// SplitEachWord and kept for the life of the process; when that global locale is the classic
// "C", "C.UTF-8" is used instead, so letters beyond ASCII fold too ("été" is found in "ÉTÉ").
// An empty sought text is found in any non-empty text and not in an empty one.
bool CaseInsensitiveSearch(const CStdStr<wchar_t>& text, const CStdStr<wchar_t>& sought);

// True when the two NUL-terminated texts are equal once every blank (" " only, no other
// whitespace) is removed and both are lower-cased by the shared locale: "Foo Bar" equals
// "foobar", "Foo\tBar" does not. A null pointer counts as the empty text.
bool CompareTextOnly(const wchar_t* a, const wchar_t* b);

// ---- Display ------------------------------------------------------------------------------------
// The translation of a user-interface text; the library holds no translations, so it returns a
// copy of the text, read to its NUL (not by the view's length). A null pointer gives "".
template <typename CT> CStdStr<CT> Localize(lu::BasicStringView<CT> text);
inline CStdStr<char> Localize(lu::BasicStringView<char> text) { return Localize<char>(text); }
inline CStdStr<wchar_t> Localize(lu::BasicStringView<wchar_t> text) { return Localize<wchar_t>(text); }

// A static one-character string: U+00AE, U+2122 or U+00B0; "" for any other value.
const wchar_t* GetSpecialCharacter(SpecialChar which);

// The current local date (short form), time (hours and minutes) or both separated by a blank, in
// the user's conventions; "" for any other value.
CStdStr<wchar_t> GetDateTime(DateTime which);

// Function keys 112..135 give "F1".."F24"; any other code leaves the string as it was. Returns
// whether the string is non-empty afterwards (so an unknown key with text already there is true).
bool VKeyToString(uint16_t virtualKey, CStdStr<wchar_t>& out);

// The text of a registered resource: with wholeResource clear, its bytes as UTF-8 up to the first
// NUL; with it set, all of its bytes as UTF-8, NULs included. "" when there is no such resource.
CStdStr<wchar_t> FindAndLoadResource(HMODULE module, const wchar_t* name, const wchar_t* type,
                                     bool wholeResource);

}  // namespace StringHelp
