// XML Schema validation of documents, with a process-wide cache of compiled schemas.
#pragma once

#include <cstdint>

#include <nybase/text/CStdStr.h>

struct _xmlDoc;

namespace lu {

// What a failed validation reports. The functions below fill it only on failure; clearing it
// beforehand is the caller's affair.
struct XmlValidationErrorInfo {
  // Codes of m_code.
  static constexpr int32_t k_schemaUnreadable = 1;  // schema file unreadable, or no parser/validation context
  static constexpr int32_t k_schemaInvalid = 3;     // schema does not compile, or failed to before
  static constexpr int32_t k_documentUnreadable = 5;  // document unreadable; m_filePath holds its path
  static constexpr int32_t k_documentInvalid = 7;     // document not valid against the schema

  int32_t m_code = 0;
  // Position and message of the last libxml2 error in the process (not set for code 5).
  int32_t m_line = 0;
  int32_t m_column = 0;
  CStdStr<wchar_t> m_message;
  // Set only for code 5.
  CStdStr<wchar_t> m_filePath;
};

// Validates a parsed document against the schema at schemaPath. The schema is parsed once per
// path (case-sensitive text as given) for the life of the process; a schema that failed to load
// is never retried and later calls report code 3 without touching the disk.
// Returns true when valid (info untouched); false with info's code, and the message, line and
// column of the last libxml2 error - which may be an older one if this failure raised none.
// Not thread-safe: validation must run on one thread at a time.
bool ValidateXmlDoc(_xmlDoc* doc, const CStdStr<wchar_t>& schemaPath, XmlValidationErrorInfo& info);

// Reads the document at docPath and validates it as ValidateXmlDoc does. A document that cannot
// be read or is not well-formed gives false with code 5 and m_filePath = docPath (no message).
bool ValidateXmlFile(const CStdStr<wchar_t>& docPath, const CStdStr<wchar_t>& schemaPath,
                     XmlValidationErrorInfo& info);

}  // namespace lu
