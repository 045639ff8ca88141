// The report of `nybase info` for one WAV file, for other commands that show it.
#pragma once

#include <string>

namespace nybase::tool {

// The text block (or the one-line JSON object with `json`) that `nybase info FILE` prints for the
// native path `file`, newline included. On failure returns "" and sets `error` to the reason.
std::string InfoReport(const std::string& file, bool json, std::string& error);

}  // namespace nybase::tool
