// Runs the built nybase executable and captures its exit code, stdout and stderr.
#include "ToolRunner.h"

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "../support/TestSupport.h"

namespace nytest {
namespace {

std::string Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

}  // namespace

std::vector<std::string> ToolResult::ErrLines() const { return SplitLines(err); }
std::vector<std::string> ToolResult::OutLines() const { return SplitLines(out); }

std::string ToolPath() {
  const char* dir = std::getenv("NYBASE_BINARY_DIR");
  return std::string(dir != nullptr ? dir : ".") + "/tools/nybase/nybase";
}

std::string Quote(const std::string& word) {
  std::string q = "'";
  for (char c : word) {
    if (c == '\'') q += "'\\''";
    else q.push_back(c);
  }
  return q + "'";
}

rapidjson::Document ParseLine(const std::string& line) {
  rapidjson::Document d;
  d.Parse(line.c_str());
  EXPECT_FALSE(d.HasParseError()) << line;
  EXPECT_TRUE(d.IsObject()) << line;
  return d;
}

ToolResult RunTool(const std::string& args) {
  TempDir capture;
  const std::string out = capture.Native("out");
  const std::string err = capture.Native("err");
  const std::string command = Quote(ToolPath()) + " " + args + " >" + Quote(out) + " 2>" + Quote(err) + " </dev/null";
  const int status = std::system(command.c_str());
  ToolResult r;
  r.exitCode = (status != -1 && WIFEXITED(status)) ? WEXITSTATUS(status) : -1;
  r.out = Slurp(out);
  r.err = Slurp(err);
  return r;
}

}  // namespace nytest
