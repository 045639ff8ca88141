// Expansion of '$(NAME)' references in a text from a table of macros and the environment.
#pragma once

#include <vector>

#include <nybase/files/Environment.h>
#include <nybase/text/CStdStr.h>

namespace MacroExpansion {

enum GetMacroValueResult : int {
  GetMacroValueResultSuccess = 0,
  GetMacroValueResultUndefined = 1,  // at least one reference had no value
};

// One pass over `input` into `output`: each '$(NAME)' is replaced by the table's value of NAME
// (the exact text between the parentheses, case-sensitive), failing that by the environment's;
// a value is not scanned again, so nothing recurses. In '$(a$(b))' only the inner reference is a
// reference. An unclosed '$(' is plain text. An unresolved reference stays as it stood, its name
// is appended to `undefined` (in text order, with repeats) and the result is
// GetMacroValueResultUndefined. The table is only read (through operator[] of an existing key).
GetMacroValueResult ReplaceMacros(const CStdStr<wchar_t>& input, CStdStr<wchar_t>& output,
                                  lu::EnvironmentMap& macros, std::vector<CStdStr<wchar_t>>& undefined);

// ReplaceMacros with the process environment as the table. `undefined` is cleared first. When any
// reference is unresolved the input is returned unchanged (never a partly expanded text), and
// `undefined` lists what was missing.
CStdStr<wchar_t> ReplaceMacrosWithEnv(const CStdStr<wchar_t>& input, std::vector<CStdStr<wchar_t>>& undefined);

}  // namespace MacroExpansion
