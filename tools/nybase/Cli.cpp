// The tool's shared command-line layer: command descriptions, option parsing, help and errors.
#include "Cli.h"

#include <charconv>
#include <cstdio>
#include <thread>

namespace nybase::tool {
namespace {

const OptionSpec k_helpOption{"help", 'h', nullptr, "show this help and exit"};

const OptionSpec* FindLong(const CommandSpec& cmdSpec, std::string_view name) {
  if (name == k_helpOption.name) return &k_helpOption;
  for (const OptionSpec& o : cmdSpec.options) {
    if (name == o.name) return &o;
  }
  return nullptr;
}

const OptionSpec* FindShort(const CommandSpec& cmdSpec, char c) {
  if (c == k_helpOption.shortName) return &k_helpOption;
  for (const OptionSpec& o : cmdSpec.options) {
    if (o.shortName != 0 && o.shortName == c) return &o;
  }
  return nullptr;
}

}  // namespace

struct Parser {
  // Returns an error message, or empty on success.
  static std::string Run(const CommandSpec& cmdSpec, int argc, char** argv, Args& args) {
    bool optionsEnded = false;
    for (int i = 0; i < argc; ++i) {
      const std::string_view a = argv[i];
      if (optionsEnded || a.size() < 2 || a[0] != '-') {
        args.m_positional.emplace_back(a);
        continue;
      }
      if (a == "--") {
        optionsEnded = true;
        continue;
      }
      const OptionSpec* opt = nullptr;
      std::optional<std::string> inlineValue;
      std::string shown;
      if (a.starts_with("--")) {
        std::string_view name = a.substr(2);
        if (const size_t eq = name.find('='); eq != std::string_view::npos) {
          inlineValue = std::string(name.substr(eq + 1));
          name = name.substr(0, eq);
        }
        shown = "--" + std::string(name);
        opt = FindLong(cmdSpec, name);
      } else {
        shown = std::string(a.substr(0, 2));
        opt = FindShort(cmdSpec, a[1]);
        if (a.size() > 2) {
          if (opt == nullptr || opt->valueName == nullptr) return "unknown option '" + std::string(a) + "'";
          inlineValue = std::string(a.substr(2));  // -j4
        }
      }
      if (opt == nullptr) return "unknown option '" + shown + "'";
      if (opt->valueName == nullptr) {
        if (inlineValue) return "option '" + shown + "' takes no value";
        args.m_values[opt->name] = "";
        continue;
      }
      if (!inlineValue) {
        if (i + 1 >= argc) return "option '" + shown + "' needs a value (" + opt->valueName + ")";
        inlineValue = argv[++i];
      }
      args.m_values[opt->name] = *inlineValue;
    }
    return {};
  }
};

std::optional<std::string> Args::Value(std::string_view name) const {
  const auto it = m_values.find(std::string(name));
  if (it == m_values.end()) return std::nullopt;
  return it->second;
}

ParseResult ParseArgs(const CommandSpec& cmdSpec, int argc, char** argv) {
  ParseResult result;
  Args args;
  const std::string error = Parser::Run(cmdSpec, argc, argv, args);
  if (!error.empty()) {
    result.exitCode = UsageError(cmdSpec, error);
    return result;
  }
  if (args.Has("help")) {
    std::fputs(CommandHelp(cmdSpec).c_str(), stdout);
    result.exitCode = k_exitOk;
    return result;
  }
  const size_t n = args.Positional().size();
  if (n < cmdSpec.minArgs) {
    result.exitCode = UsageError(cmdSpec, cmdSpec.minArgs == 1
                                           ? std::string("no file given")
                                           : "expected " + std::to_string(cmdSpec.minArgs) +
                                                 " argument(s), got " + std::to_string(n));
    return result;
  }
  if (n > cmdSpec.maxArgs) {
    result.exitCode = UsageError(cmdSpec, "too many arguments (expected at most " +
                                           std::to_string(cmdSpec.maxArgs) + ", got " +
                                           std::to_string(n) + ")");
    return result;
  }
  result.args = std::move(args);
  return result;
}

std::string CommandHelp(const CommandSpec& cmdSpec) {
  std::string s = "usage: nybase ";
  s += cmdSpec.name;
  s += ' ';
  s += cmdSpec.synopsis;
  s += "\n\n";
  s += cmdSpec.summary;
  s += "\n";
  if (cmdSpec.details != nullptr) {
    s += "\n";
    s += cmdSpec.details;
    s += "\n";
  }
  s += "\noptions:\n";
  auto line = [&](const OptionSpec& o) {
    std::string left = "  ";
    left += o.shortName != 0 ? std::string("-") + o.shortName + ", " : std::string("    ");
    left += "--";
    left += o.name;
    if (o.valueName != nullptr) {
      left += ' ';
      left += o.valueName;
    }
    if (left.size() < 28) left.resize(28, ' ');
    else left += "  ";
    s += left + o.help + "\n";
  };
  for (const OptionSpec& o : cmdSpec.options) line(o);
  line(k_helpOption);
  s += "\nexample:\n";
  s += cmdSpec.example;
  s += "\n";
  return s;
}

std::string OneLine(std::string text) {
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < 0x20) c = ' ';
  }
  return text;
}

int UsageError(const CommandSpec& cmdSpec, const std::string& message) {
  std::fprintf(stderr, "nybase %s: %s (try 'nybase %s --help')\n", cmdSpec.name,
               OneLine(message).c_str(), cmdSpec.name);
  return k_exitUsage;
}

void PrintError(const CommandSpec& cmdSpec, const std::string& message) {
  std::fprintf(stderr, "nybase %s: %s\n", cmdSpec.name, OneLine(message).c_str());
}

int NotAvailable(const CommandSpec& cmdSpec, const char* what) {
  PrintError(cmdSpec, std::string("not available in this build: ") + what);
  return k_exitFailure;
}

bool ParseDouble(std::string_view text, double& out) {
  if (text.empty()) return false;
  double v = 0;
  const auto r = std::from_chars(text.data(), text.data() + text.size(), v);
  if (r.ec != std::errc() || r.ptr != text.data() + text.size()) return false;
  out = v;
  return true;
}

bool ParseUnsigned(std::string_view text, unsigned long long max, unsigned long long& out) {
  if (text.empty()) return false;
  unsigned long long v = 0;
  const auto r = std::from_chars(text.data(), text.data() + text.size(), v);
  if (r.ec != std::errc() || r.ptr != text.data() + text.size() || v > max) return false;
  out = v;
  return true;
}

unsigned DefaultJobs() {
  const unsigned n = std::thread::hardware_concurrency();
  return n == 0 ? 1 : n;
}

bool ParseJobs(const Args& args, unsigned& jobs) {
  const auto v = args.Value("jobs");
  if (!v) {
    jobs = DefaultJobs();
    return true;
  }
  unsigned long long n = 0;
  if (!ParseUnsigned(*v, 1024, n) || n == 0) return false;
  jobs = static_cast<unsigned>(n);
  return true;
}

}  // namespace nybase::tool
