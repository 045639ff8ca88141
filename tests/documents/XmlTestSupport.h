// Helpers for the XML reader and validation tests: the library's error store, xmllint's verdicts.
#pragma once

#include <string>
#include <vector>

#include <nybase/documents/internal/XmlGlobals.h>

namespace xmltest {

// Puts a marker message in the library's XML error store, so that a test can tell whether a later
// operation left an error there.
inline void MarkErrorStore() {
  auto& store = lu::detail::GetXmlErrorStore();
  store.m_message = L"<marker>";
  store.m_line = -7;
  store.m_column = -7;
}
inline bool ErrorStoreMarked() { return lu::detail::GetXmlErrorStore().m_message == L"<marker>"; }

// The "billion laughs" document: nine levels of entities, each ten references to the one below,
// referenced once from the root element.
std::string BillionLaughs(const std::string& root);

// One error line of xmllint's report: "<file>:<line>: <kind> error : <message>".
struct LintError {
  int line = 0;
  std::string kind;  // "parser", "Schemas validity", ...
  std::string message;
};

struct LintResult {
  int exitCode = -1;
  std::vector<LintError> errors;
};

// Runs xmllint with the arguments (already quoted) and parses the errors it reports on file.
LintResult RunXmllint(const std::string& arguments, const std::string& file, const std::string& scratchDir);

}  // namespace xmltest
