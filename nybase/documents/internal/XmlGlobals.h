// The process-wide libxml2 state of the library: its start-up, the error store and the schema cache.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include <nybase/text/CStdStr.h>

struct _xmlDoc;
struct _xmlSchemaParserCtxt;
struct _xmlSchema;

namespace lu::detail {

// The last libxml2 error raised anywhere in the process (every thread, every libxml2 user):
// its message, line and column. Only the last one survives. No lock: see ValidateXmlDoc.
struct XmlErrorStore {
  CStdStr<wchar_t> m_message;
  int32_t m_line = 0;
  int32_t m_column = 0;
};
XmlErrorStore& GetXmlErrorStore();

// The handles behind one cached schema; any of them null when loading stopped before it.
struct XmlSchemaHandles {
  _xmlDoc* m_doc = nullptr;
  _xmlSchemaParserCtxt* m_parserContext = nullptr;
  _xmlSchema* m_schema = nullptr;
};
// Keyed by the schema's path as given, ordered by code units (case-sensitive). The handles live
// until the library unloads: a compiled schema points into its document.
std::map<CStdStr<wchar_t>, XmlSchemaHandles>& GetXmlSchemaCache();

// Maps a Windows-grammar path to the native UTF-8 path that libxml2 opens. A path with no place
// on this file system (another drive, UNC, empty) gives false. The error store is not touched:
// it holds only what libxml2 itself reported.
bool ToXmlNativePath(const wchar_t* path, size_t len, std::string& native);

}  // namespace lu::detail
