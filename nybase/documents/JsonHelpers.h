// lu::JsonHelpers: NyJson to and from rapidjson documents, map merging, JSON text in files and strings.
#pragma once

#include <rapidjson/document.h>

#include <nybase/documents/NyError.h>
#include <nybase/documents/NyJson.h>
#include <nybase/text/CStdStr.h>

namespace lu::JsonHelpers {

using Allocator = rapidjson::MemoryPoolAllocator<rapidjson::CrtAllocator>;
using Value = rapidjson::GenericValue<rapidjson::UTF8<char>, Allocator>;
using Document = rapidjson::GenericDocument<rapidjson::UTF8<char>, Allocator, rapidjson::CrtAllocator>;

// The deepest nesting of arrays and objects that parsing and the conversions accept. Deeper
// text fails to parse and deeper trees fail to convert, so no recursion can exhaust the stack.
inline constexpr int k_maxDepth = 1000;

// Value to tree. An object makes `target` a Map (an existing Map keeps its entries; a duplicate
// name is reset, so the last one stands), an array an Array (appended to), null a Variant of tag
// 0; numbers take the narrowest of int32, uint32, int64, uint64, else double; a string in GUID
// form becomes a GUID. Keys and strings stop at their first NUL. False when a value can't be
// converted or nesting exceeds k_maxDepth; what was converted so far stays in `target`.
bool FromRapidJson(const Value& source, NyJson& target);

// Tree to value, object members in map order (which differs between runs). Empty gives null.
// False for a variant tag above 13 or nesting deeper than k_maxDepth; the members so far remain.
bool ToRapidJson(const NyJson& tree, Value& value, Allocator& allocator);
void ToRapidJson(const NyJson& tree, Document& document);

// As ToRapidJson, with the members of every object sorted by key text (unsigned bytes), so the
// same tree gives the same document, and text, in every run.
bool ToStableRapidJson(const NyJson& tree, Value& value, Allocator& allocator);
void ToStableRapidJson(const NyJson& tree, Document& document);

// A copy of `first` with `second` merged in as by MergeMapsInPlace.
NyJson::Map MergeMaps(const NyJson::Map& first, const NyJson::Map& second, bool appendArrays);
// Each entry of `source` replaces the entry of `target` (not recursively: a Map replaces a Map
// whole), except that with `appendArrays` an Array in both is extended by the source's elements.
void MergeMapsInPlace(NyJson::Map& target, const NyJson::Map& source, bool appendArrays);
// The value at `key`, or `fallback` itself (the result may refer to the argument).
const NyJson& MapOrDefault(const NyJson::Map& map, const ROString& key, const NyJson& fallback);

// Parses the file (null path as empty; a byte order mark is not skipped; comments only with
// `allowComments`). On failure sets `error` to a new NyError "ny.velmoor.file_error",
// "Could not read json file <path>"; an unopenable file leaves `document` untouched. Failure is
// judged by a null root afterwards, so the text `null` fails, and a failed parse into a document
// whose root was already non-null goes unreported (the root stays). `error` is left alone on
// success: the caller starts it at null and deletes what it gets.
void ReadFile(const wchar_t* path, Document& document, NyError*& error, bool allowComments = false);
// As ReadFile for `length` bytes at `data`; the error is "ny.velmoor.invalid_json",
// "Could not parse json stream.".
void ReadStream(const char* data, unsigned int length, Document& document, NyError*& error,
                bool allowComments = false);

// Indented text (four blanks, LF) to a file; false only when the file can't be opened for
// writing. A NaN or infinity stops the text at that value (the writer's refusal is ignored).
bool ToPrettyFile(const CStdStr<wchar_t>& path, const Value& value);
// The same from a tree, through ToRapidJson (map order; its result is ignored).
bool ToPrettyFile(const CStdStr<wchar_t>& path, const NyJson& tree);
// Indented and compact text, up to its first NUL; a NaN or infinity ends the text there.
CStdStr<char> ToPrettyString(const Value& value);
CStdStr<char> ToPrettyString(const NyJson& tree);
CStdStr<char> ToString(const Value& value);
CStdStr<char> ToString(const NyJson& tree);
// Compact text of {"uri", "message", "details"} in map order. `error` must not be null.
CStdStr<char> ToString(const NyError* error);

}  // namespace lu::JsonHelpers
