// Splitting a Windows command line into its program and arguments.
#pragma once

#include <vector>

#include <nybase/text/CStdStr.h>

namespace lu {

// The words of `commandLine` by the Windows rules (those of CommandLineToArgvW):
// - the first word, the program, ends at the first blank or tab; a '"' starts and ends a quoted
//   part, and backslashes in it are plain characters;
// - in every later word blanks and tabs separate words outside quotes; 2n backslashes before a
//   '"' give n backslashes and the '"' opens or closes quotes; 2n + 1 backslashes before a '"'
//   give n backslashes and a literal '"'; backslashes before anything else stay as they are;
//   inside quotes, '""' is one literal '"' and the quotes stay open;
// - an unclosed quote runs to the end of the line.
// An empty or all-blank line gives no words.
std::vector<CStdStr<wchar_t>> SplitCommandLine(const CStdStr<wchar_t>& commandLine);

}  // namespace lu
