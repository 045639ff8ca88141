// JSON documents checked against JSON schemas for `nybase validate`, with file references resolved.
#pragma once

#include <string>
#include <vector>

namespace nybase::tool {

// True when the file's first byte after a byte order mark and white space is not '<', i.e. the
// file is to be read as JSON rather than XML. An unreadable or empty file counts as JSON.
bool LooksLikeJson(const std::string& native);

// The outcome of one JSON validation. Codes as for XML: 1 schema unreadable, 3 schema invalid
// (not JSON, or a reference or pattern that does not compile), 5 document unreadable or not JSON,
// 7 document not valid; 0 when valid.
struct JsonValidationResult {
  struct Error {
    std::string pointer;        // JSON pointer in the document ("" for the root)
    std::string keyword;        // the schema keyword that failed, or the schema problem's key
    std::string schemaPointer;  // JSON pointer in the schema that failed, or the problem's detail
    std::string message;        // the one-line text printed for it
  };
  int code = 0;
  std::vector<Error> errors;
};

// Validates the JSON document against the JSON schema (draft 4). "$ref"s to other files are
// resolved relative to the file that holds them (a "file://" prefix is dropped); other URI schemes
// are not fetched and count as unresolved. rapidjson's validator stops at the first failure, so a
// document that is not valid gives exactly one error.
JsonValidationResult ValidateJsonFile(const std::string& doc, const std::string& schema);

}  // namespace nybase::tool
