// NyError: the error record of the JSON helpers, made with new and owned by the caller.
#pragma once

#include <nybase/documents/NyJson.h>
#include <nybase/text/CStdStr.h>

// An error report: a URI naming the kind, a UTF-8 message and a details tree. Functions that
// report one take a `NyError*&`, set it to a new record on failure and leave it alone on
// success, so the caller starts with null and deletes what it gets.
struct NyError {
  // A file could not be opened or its text did not give a document.
  static constexpr const char* k_csFileErrorUri = "ny.velmoor.file_error";
  // A block of memory did not parse as a document.
  static constexpr const char* k_csInvalidJsonUri = "ny.velmoor.invalid_json";

  NyError() = default;
  // A record with the given uri and message; details is an empty Map.
  NyError(CStdStr<char> errorUri, CStdStr<char> errorMessage)
      : uri(std::move(errorUri)), message(std::move(errorMessage)) {
    details.MakeMap();
  }

  CStdStr<char> uri;
  CStdStr<char> message;
  NyJson details;
};
