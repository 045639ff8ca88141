// CrashDump: child processes that crash on purpose, and what they leave behind.
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <nybase/Version.h>

#include "tests/support/TestSupport.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* k_guid = "{11111111-2222-3333-4444-555555555555}";

struct ChildResult {
  int exitCode = -1;  // set when the child exited
  int signal = 0;     // set when a signal ended it
  std::string err;    // its standard error
  long long endNs = 0;
};

std::string BinaryDir() {
  const char* dir = std::getenv("NYBASE_BINARY_DIR");
  return dir != nullptr ? dir : ".";
}

std::string ChildPath() { return BinaryDir() + "/tests/nybase_crash_child"; }

long long NowNs() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<long long>(ts.tv_sec) * 1000000000LL + ts.tv_nsec;
}

std::string ReadText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

// Runs the child with APPDATA set, the crash handler left to us by the sanitizer runtime (whose
// small per-thread alternate stacks would not hold the filter's buffers), no core file, and a
// time limit of 60 s.
ChildResult RunChild(const std::string& exe, const std::vector<std::string>& args, const std::string& appData,
                     const std::string& errFile, const std::vector<std::string>& extraEnv = {}) {
  std::vector<std::string> env = {
      "APPDATA=" + appData, "PATH=/usr/bin:/bin",
      "ASAN_OPTIONS=handle_segv=0:handle_abort=0:handle_sigill=0:handle_sigfpe=0:allow_user_segv_handler=1:"
      "use_sigaltstack=0:detect_leaks=0"};
  env.insert(env.end(), extraEnv.begin(), extraEnv.end());
  std::vector<std::string> argv = {exe};
  argv.insert(argv.end(), args.begin(), args.end());
  std::vector<char*> cargv, cenv;
  for (auto& a : argv) cargv.push_back(a.data());
  for (auto& e : env) cenv.push_back(e.data());
  cargv.push_back(nullptr);
  cenv.push_back(nullptr);
  const pid_t pid = fork();
  if (pid == 0) {
    rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    const int fd = open(errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0 || dup2(fd, 2) < 0) _exit(126);
    execve(exe.c_str(), cargv.data(), cenv.data());
    _exit(127);
  }
  ChildResult r;
  int status = 0;
  const long long deadline = NowNs() + 60'000'000'000LL;
  while (waitpid(pid, &status, WNOHANG) == 0) {
    if (NowNs() > deadline) {
      kill(pid, SIGKILL);
      waitpid(pid, &status, 0);
      ADD_FAILURE() << "the crash child timed out";
      break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  r.endNs = NowNs();
  if (WIFEXITED(status)) r.exitCode = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) r.signal = WTERMSIG(status);
  r.err = ReadText(errFile);
  return r;
}

// The UTF-16LE text of a file, narrowed (the tests' texts are ASCII).
std::string ReadUtf16(const std::string& path) {
  const std::string bytes = ReadText(path);
  std::string out;
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) out += bytes[i + 1] == 0 ? bytes[i] : '?';
  return out;
}

std::string Windows(const std::string& native) {
  std::string w = "Z:" + native;
  for (char& c : w) c = c == '/' ? '\\' : c;
  return w;
}

// The artefacts of one session in a dump folder.
struct Artefacts {
  std::string stem;
  explicit Artefacts(const nytest::TempDir& dir, const std::string& guid = k_guid)
      : stem(dir.Native("Marvolt/CrashChild/CrashChild-" NYBASE_VERSION_STRING "-" + guid)) {}
  std::string Handles() const { return stem + ".handles.txt"; }
  std::string Module() const { return stem + ".module.txt"; }
  std::string Dump() const { return stem + ".dmp"; }
};

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST(CrashDump, EveryFatalSignalLeavesTheThreeArtefactsAndEndsWithItsSignal) {
  struct Case {
    const char* kind;
    int signal;
    const char* code;
    const char* module;  // the end of the crashed module's path
  };
  const Case cases[] = {{"segv", SIGSEGV, "0xc0000005", "nybase_crash_child"},
                        {"fpe", SIGFPE, "0xc0000094", "nybase_crash_child"},
                        {"abort", SIGABRT, "0xc0000409", ".so.6"},
                        {"ill", SIGILL, "0xc000001d", "nybase_crash_child"},
                        {"trap", SIGTRAP, "0x80000003", "nybase_crash_child"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.kind);
    nytest::TempDir dir;
    const std::string marker = dir.Native("open-marker.txt");
    nytest::WriteFileBytes(marker, {'x'});
    const ChildResult r =
        RunChild(ChildPath(), {c.kind, k_guid, "cli", "open=" + marker}, dir.Native(), dir.Native("err.txt"));
    EXPECT_EQ(r.signal, c.signal);
    const Artefacts a(dir);
    const size_t enter = r.err.find("[ENTER] CrashDump::TopLevelFilter\n");
    const size_t exit = r.err.find("[EXIT] CrashDump::TopLevelFilter\n");
    ASSERT_NE(enter, std::string::npos) << r.err;
    EXPECT_TRUE(exit != std::string::npos && exit > enter) << r.err;
    EXPECT_TRUE(Contains(r.err, std::string("Exception code: ") + c.code + "\n")) << r.err;
    EXPECT_TRUE(Contains(r.err, "Velmoor has crashed.\n\nSaved dump file to '" + Windows(a.Dump()) + "'.\n")) << r.err;
    const std::string handles = ReadUtf16(a.Handles());
    EXPECT_TRUE(std::regex_search(handles, std::regex("(^|\n)\\[0x[0-9a-f]+\\] File: " + marker + "\n"))) << handles;
    EXPECT_NE(ReadText(a.Handles()).substr(0, 2), "\xFF\xFE");  // no byte order mark
    const std::string module = ReadUtf16(a.Module());
    EXPECT_TRUE(module.rfind("Crashed Module: Z:\\", 0) == 0) << module;
    EXPECT_TRUE(Contains(module, std::string(c.module) + "\n")) << module;
    // The console mirrors each line of the files, after the outcome of its write.
    EXPECT_TRUE(Contains(r.err, "dwRet=" + std::to_string(module.size()) + ", bSuccess=1, GetLastError()=0\n" + module))
        << r.err;
    EXPECT_EQ(ReadText(a.Dump()).substr(0, 4), "MDMP");
  }
}

TEST(CrashDump, ASecondCrashInTheSessionStopsAtTheExistingDump) {
  nytest::TempDir dir;
  const ChildResult first = RunChild(ChildPath(), {"segv", k_guid, "cli"}, dir.Native(), dir.Native("e1"));
  ASSERT_TRUE(Contains(first.err, "Saved dump file to")) << first.err;
  // Windowed mode, with a handler installed before ours: result 1 means it is not reached.
  const ChildResult second = RunChild(ChildPath(), {"segv", k_guid, "chain"}, dir.Native(), dir.Native("e2"));
  const Artefacts a(dir);
  EXPECT_TRUE(Contains(second.err, "Failed to create the handles file.\n\n")) << second.err;
  EXPECT_TRUE(Contains(second.err, "Failed to create the faulty module file.\n\n")) << second.err;
  EXPECT_TRUE(Contains(second.err, "The file '" + Windows(a.Dump()) + "' already exists.\n\n[EXIT] "
                                   "CrashDump::TopLevelFilter\n"))
      << second.err;
  EXPECT_FALSE(Contains(second.err, "Velmoor has crashed.")) << second.err;
  EXPECT_FALSE(Contains(second.err, "previous handler")) << second.err;
  EXPECT_EQ(second.signal, SIGSEGV);
}

TEST(CrashDump, RegisteredStreamsAreClosedAtTheCrashAndRemovedOnesAreNot) {
  nytest::TempDir dir;
  const ChildResult r = RunChild(ChildPath(), {"segv", k_guid, "cli", "log=" + dir.Native("kept.log"),
                                               "unlog=" + dir.Native("removed.log")},
                                 dir.Native(), dir.Native("e"));
  EXPECT_EQ(r.signal, SIGSEGV);
  EXPECT_EQ(ReadText(dir.Native("kept.log")), "buffered line\n");
  EXPECT_EQ(ReadText(dir.Native("removed.log")), "");  // its buffer died with the process
}

TEST(CrashDump, AnAllZeroGuidIsReplacedAndAnyOtherIsKept) {
  nytest::TempDir dir;
  RunChild(ChildPath(), {"segv", "0", "cli"}, dir.Native(), dir.Native("e1"));
  const std::string kept = "{00000000-0000-0000-0102-030405060708}";
  RunChild(ChildPath(), {"segv", kept, "cli"}, dir.Native(), dir.Native("e2"));
  const std::regex generated(R"(CrashChild-[0-9.]+-\{[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}\}\.dmp)");
  int dumps = 0, generatedDumps = 0;
  for (const auto& e : fs::directory_iterator(dir.Native("Marvolt/CrashChild"))) {
    const std::string name = e.path().filename().string();
    if (e.path().extension() != ".dmp") continue;
    ++dumps;
    if (std::regex_match(name, generated) && !Contains(name, "{00000000-0000-0000-0000-000000000000}") &&
        !Contains(name, kept)) {
      ++generatedDumps;
    }
  }
  EXPECT_EQ(dumps, 2);
  EXPECT_EQ(generatedDumps, 1);
  EXPECT_TRUE(fs::exists(Artefacts(dir, kept).Dump()));
}

// Puts a copy of the child beside a fake reporter that records its arguments, one per line.
std::string ChildWithReporter(const nytest::TempDir& dir) {
  const std::string exe = dir.Native("child");
  fs::copy_file(ChildPath(), exe);
  std::ofstream(dir.Native("ErrorReporter.exe")) << "#!/bin/sh\nprintf '%s\\n' \"$0\" \"$@\" > \"$(dirname \"$0\")/args.txt\"\n";
  fs::permissions(dir.Native("ErrorReporter.exe"), fs::perms::owner_all, fs::perm_options::add);
  return exe;
}

TEST(CrashDump, TheReporterGetsSixArgumentsAndANullPathIsAnEmptyOne) {
  nytest::TempDir dir;
  const std::string exe = ChildWithReporter(dir);
  const ChildResult r = RunChild(exe, {"segv", k_guid, "nullanon"}, dir.Native(), dir.Native("err"));
  const Artefacts a(dir);
  EXPECT_EQ(r.signal, SIGSEGV);
  EXPECT_FALSE(Contains(r.err, "Velmoor has crashed.")) << r.err;  // the reporter tells the user
  // The script sees itself by its path on the disk; the other five are as the filter passed them.
  const std::string expected = dir.Native("ErrorReporter.exe") + "\n" + Windows(a.Dump()) + "\n" +
                               Windows(exe) + "\n" + Windows(exe) + "\n\nZ:\\logs\n";
  EXPECT_EQ(ReadText(dir.Native("args.txt")), expected);
}

TEST(CrashDump, CommandLineModeStartsNoReporter) {
  nytest::TempDir dir;
  const std::string exe = ChildWithReporter(dir);
  const ChildResult r = RunChild(exe, {"segv", k_guid, "cli"}, dir.Native(), dir.Native("err"));
  EXPECT_TRUE(Contains(r.err, "Velmoor has crashed.\n\nSaved dump file to")) << r.err;
  EXPECT_FALSE(fs::exists(dir.Native("args.txt")));
}

TEST(CrashDump, AFailedDumpShowsItsReasonAndTheSearchGoesOn) {
  {
    SCOPED_TRACE("files cannot grow past 4 KiB");
    nytest::TempDir dir;
    const ChildResult r = RunChild(ChildPath(), {"segv", k_guid, "chain", "fsize=4096"}, dir.Native(), dir.Native("e"));
    EXPECT_TRUE(Contains(r.err, "Velmoor has crashed.\n\nFailed to save dump file to '" + Windows(Artefacts(dir).Dump()) +
                                    "' (error "))
        << r.err;
    EXPECT_TRUE(Contains(r.err, "previous handler\n")) << r.err;  // result 0: the search continues
    EXPECT_EQ(r.exitCode, 3);
  }
  for (const char* mode : {"chain", "cli"}) {
    SCOPED_TRACE(std::string("the dump root is a file, ") + mode);
    nytest::TempDir dir;
    nytest::WriteFileBytes(dir.Native("Marvolt"), {'x'});
    const ChildResult r = RunChild(ChildPath(), {"segv", k_guid, mode}, dir.Native(), dir.Native("e"));
    EXPECT_TRUE(Contains(r.err, "Failed to create the handles file.\n\n")) << r.err;
    EXPECT_TRUE(Contains(r.err, "Failed to create the faulty module file.\n\n")) << r.err;
    EXPECT_TRUE(Contains(r.err, "Velmoor has crashed.\n\nFailed to create dump file '" + Windows(Artefacts(dir).Dump()) +
                                    "' (error 3).\n"))
        << r.err;
    EXPECT_TRUE(Contains(r.err, "[EXIT] CrashDump::TopLevelFilter\n")) << r.err;
    if (std::string(mode) == "cli") {
      EXPECT_EQ(r.signal, SIGSEGV);  // command-line mode gives 1 even without a dump
    } else {
      EXPECT_EQ(r.exitCode, 3);
    }
  }
}

// lldb's backtrace of a dump; empty when lldb is not installed.
std::string Backtrace(const std::string& exe, const std::string& dump) {
  const char* lldb = nytest::HaveProgram("lldb-14") ? "lldb-14" : nytest::HaveProgram("lldb") ? "lldb" : nullptr;
  if (lldb == nullptr) return {};
  nytest::TempDir out;
  nytest::Run(std::string("timeout 120 ") + lldb + " --batch '" + exe + "' -c '" + dump + "' -o bt > '" +
              out.Native("bt") + "' 2>&1");
  return ReadText(out.Native("bt"));
}

TEST(CrashDump, LldbOpensTheDumpAtTheCrashingFunction) {
  if (!nytest::HaveProgram("lldb-14") && !nytest::HaveProgram("lldb")) GTEST_SKIP() << "lldb is not installed";
  nytest::TempDir dir;
  RunChild(ChildPath(), {"segv", k_guid, "cli"}, dir.Native(), dir.Native("e"));
  const std::string bt = Backtrace(ChildPath(), Artefacts(dir).Dump());
  EXPECT_TRUE(Contains(bt, "stop reason = signal SIGSEGV")) << bt;
  EXPECT_TRUE(std::regex_search(bt, std::regex(R"(frame #0: .*NullWrite\(\) at CrashChild\.cpp)"))) << bt;
  EXPECT_TRUE(std::regex_search(bt, std::regex(R"(frame #2: .*main\()"))) << bt;
}

TEST(CrashDump, TenThousandDescriptorsABigStackAndAStackOverflowStillGiveADump) {
  {
    nytest::TempDir dir;
    const ChildResult r = RunChild(ChildPath(), {"segv", k_guid, "cli", "fds=10000"}, dir.Native(), dir.Native("e"));
    EXPECT_TRUE(Contains(r.err, "Saved dump file to")) << r.err.substr(r.err.size() > 2000 ? r.err.size() - 2000 : 0);
    const std::string handles = ReadUtf16(Artefacts(dir).Handles());
    EXPECT_GE(std::count(handles.begin(), handles.end(), '\n'), 10000);
  }
  {
    nytest::TempDir dir;
    const ChildResult r = RunChild(ChildPath(), {"segv", k_guid, "cli", "bigstack"}, dir.Native(), dir.Native("e"));
    EXPECT_TRUE(Contains(r.err, "Saved dump file to")) << r.err;
    const std::string bt = Backtrace(ChildPath(), Artefacts(dir).Dump());
    if (!bt.empty()) {
      EXPECT_TRUE(Contains(bt, "NullWrite")) << bt;
    }
  }
  {
    // The main thread's stack is used up: the filter runs on the alternate stack.
    nytest::TempDir dir;
    const ChildResult r = RunChild(ChildPath(), {"overflow", k_guid, "cli"}, dir.Native(), dir.Native("e"));
    EXPECT_EQ(r.signal, SIGSEGV);
    EXPECT_TRUE(Contains(r.err, "Saved dump file to")) << r.err;
    const std::string bt = Backtrace(ChildPath(), Artefacts(dir).Dump());
    if (!bt.empty()) {
      EXPECT_TRUE(std::regex_search(bt, std::regex(R"(frame #0: .*Overflow\()"))) << bt;
    }
  }
}

TEST(CrashDump, TheHandlerWorksWithABrokenMalloc) {
  const std::string shim = BinaryDir() + "/tests/libnybase_broken_malloc.so";
  if (!fs::exists(shim)) GTEST_SKIP() << "the malloc shim is built without sanitizers only";
  nytest::TempDir dir;
  const ChildResult r = RunChild(ChildPath(), {"segv", k_guid, "cli", "breakmalloc", "stamp"}, dir.Native(),
                                 dir.Native("e"), {"LD_PRELOAD=" + shim});
  EXPECT_FALSE(Contains(r.err, "malloc called while broken")) << r.err;
  EXPECT_TRUE(Contains(r.err, "Saved dump file to")) << r.err;
  EXPECT_EQ(r.signal, SIGSEGV);
}

TEST(CrashDump, TimeFromSignalToExit) {
  nytest::TempDir dir;
  const ChildResult r = RunChild(ChildPath(), {"segv", k_guid, "cli", "stamp"}, dir.Native(), dir.Native("e"));
  const size_t at = r.err.find("stamp ");
  ASSERT_NE(at, std::string::npos) << r.err;
  const long long ms = (r.endNs - std::atoll(r.err.c_str() + at + 6)) / 1000000;
  std::printf("crash dump: %lld ms from the fault to the reaped exit\n", ms);
  EXPECT_TRUE(Contains(r.err, "Saved dump file to")) << r.err;
}

}  // namespace
