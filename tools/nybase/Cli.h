// The tool's shared command-line layer: command descriptions, option parsing, help and errors.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nybase::tool {

// Exit codes of every command.
inline constexpr int k_exitOk = 0;
inline constexpr int k_exitFailure = 1;
inline constexpr int k_exitUsage = 2;

struct OptionSpec {
  const char* name;       // long name without dashes ("sensitivity")
  char shortName;         // 0 when there is none ('j')
  const char* valueName;  // null for a flag, else the placeholder shown in help ("S")
  const char* help;
};

struct CommandSpec {
  const char* name;      // "onsets"
  const char* synopsis;  // "FILE... [--sensitivity S]"
  const char* summary;   // one line for the command list
  const char* details;   // paragraph(s) for --help, may be null
  std::vector<OptionSpec> options;
  const char* example;   // one or more example lines for --help
  size_t minArgs;
  size_t maxArgs;        // SIZE_MAX for no limit
};

// The options of one invocation after parsing. Later occurrences of an option replace earlier
// ones; "--" ends the options, so a file may start with a dash.
class Args {
 public:
  bool Has(std::string_view name) const { return m_values.count(std::string(name)) != 0; }
  // The option's value, or nullopt when it was not given (a flag has the value "").
  std::optional<std::string> Value(std::string_view name) const;
  const std::vector<std::string>& Positional() const { return m_positional; }

 private:
  friend struct Parser;
  std::map<std::string, std::string> m_values;
  std::vector<std::string> m_positional;
};

// Result of parsing: either arguments to run with, or the exit code to leave with at once (help
// printed: 0; usage error printed: 2).
struct ParseResult {
  std::optional<Args> args;
  int exitCode = k_exitOk;
};

// Parses argv (the arguments after the command name) against the command's options plus --help.
ParseResult ParseArgs(const CommandSpec& cmdSpec, int argc, char** argv);

// Full help of a command (synopsis, options, example) as printed by --help.
std::string CommandHelp(const CommandSpec& cmdSpec);

// Prints "nybase CMD: MESSAGE (try 'nybase CMD --help')" on stderr and returns k_exitUsage.
int UsageError(const CommandSpec& cmdSpec, const std::string& message);
// Prints "nybase CMD: MESSAGE" on stderr (one line: newlines in MESSAGE become spaces).
void PrintError(const CommandSpec& cmdSpec, const std::string& message);
// The one-line error of a command whose library support is not part of this build; returns
// k_exitFailure so that no script mistakes it for success.
int NotAvailable(const CommandSpec& cmdSpec, const char* what);

// Strict number parsing of option values: the whole text must be the number.
bool ParseDouble(std::string_view text, double& out);
bool ParseUnsigned(std::string_view text, unsigned long long max, unsigned long long& out);

// The -j option: N >= 1, or the number of cores when absent. False on a bad value.
bool ParseJobs(const Args& args, unsigned& jobs);
unsigned DefaultJobs();

// One line of an error message: control characters (newlines included) become spaces.
std::string OneLine(std::string text);

}  // namespace nybase::tool
