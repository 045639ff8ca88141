// Runs the built nybase executable and captures its exit code, stdout and stderr.
#pragma once

#include <rapidjson/document.h>

#include <string>
#include <vector>

namespace nytest {

struct ToolResult {
  int exitCode = -1;
  std::string out;
  std::string err;

  // The lines of stderr, without their newlines.
  std::vector<std::string> ErrLines() const;
  std::vector<std::string> OutLines() const;
};

// Path of the executable under test (from NYBASE_BINARY_DIR, which ctest sets).
std::string ToolPath();

// Runs "nybase ARGS" through the shell (ARGS is shell text: quote paths with Quote) and waits.
ToolResult RunTool(const std::string& args);

// Single-quotes a word for the shell.
std::string Quote(const std::string& word);

// Parses one line of the tool's --json output; a parse failure fails the calling test.
rapidjson::Document ParseLine(const std::string& line);

}  // namespace nytest
