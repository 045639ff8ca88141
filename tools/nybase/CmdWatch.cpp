// nybase watch: prints the batches of changed paths that the directory watcher delivers for a
// folder, until interrupted (or until a given number of batches).
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <string>
#include <vector>

#include <nybase/files/DirectoryWatcher.h>
#include <nybase/platform/NativePath.h>

#include "AudioInput.h"
#include "Commands.h"
#include "InfoReport.h"
#include "Json.h"

namespace nybase::tool {

const CommandSpec& WatchSpec() {
  static const CommandSpec cmdSpec{
      "watch",
      "DIR [--recursive] [--quiet-ms N] [--info] [--json] [--count N]",
      "print the changes made in a directory until interrupted",
      "Prints each batch of changed paths once the folder has been quiet for the quiet time\n"
      "(default 2000 ms): one path per line, or one JSON object per batch with --json\n"
      "({\"time\", \"paths\", \"lost\"}). Hidden items and .svn folders are never reported. The line\n"
      "\"* changes were lost: rescan\" (\"lost\": true) means the system dropped changes. With --info,\n"
      "every existing .wav file of a batch is followed by its `nybase info` report. Ends on Ctrl-C,\n"
      "after N batches with --count, or when the folder is deleted (exit 0 in all three cases).",
      {k_jsonOption,
       {"recursive", 'r', nullptr, "watch the sub-folders too"},
       {"quiet-ms", 0, "N", "milliseconds of quiet before a batch is printed (1 to 3600000)"},
       {"info", 0, nullptr, "print the info report of every WAV file in a batch"},
       {"count", 0, "N", "stop after N batches"}},
      "  nybase watch -r ~/takes\n  nybase watch --json --quiet-ms 500 --info ~/takes",
      1,
      1};
  return cmdSpec;
}

namespace {

volatile std::sig_atomic_t s_interrupted = 0;

void OnSignal(int) { s_interrupted = 1; }

bool IsWavPath(const std::string& native) {
  if (native.size() < 4) return false;
  std::string ext = native.substr(native.size() - 4);
  for (char& c : ext) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  return ext == ".wav";
}

// Receives batches on the watcher's thread, prints them, and tells the main thread when to end.
class Printer {
 public:
  Printer(bool json, bool info, unsigned long long count, std::string root)
      : m_json(json), m_info(info), m_count(count), m_root(std::move(root)) {}

  void OnChanges(DirectoryWatcher::ChangeSet* changes) {
    std::vector<std::string> paths;
    bool lost = false, rootGone = false;
    for (const auto& p : *changes) {
      if (p.empty()) {
        lost = true;
        continue;
      }
      std::string native;
      if (!lu::platform::ToNativePath(p.data(), p.size(), native)) native = Narrow(p);
      if (native == m_root) rootGone = true;
      paths.push_back(native);
    }
    std::string out;
    if (m_json) {
      char stamp[32];
      const std::time_t now = std::time(nullptr);
      std::tm utc{};
      gmtime_r(&now, &utc);
      std::strftime(stamp, sizeof stamp, "%Y-%m-%dT%H:%M:%SZ", &utc);
      Json j;
      j.BeginObject().Field("time", std::string(stamp)).Key("paths").BeginArray();
      for (const auto& p : paths) j.String(p);
      j.EndArray().Field("lost", lost).EndObject();
      out = j.Text() + "\n";
    } else {
      if (lost) out += "* changes were lost: rescan\n";
      for (const auto& p : paths) out += p + "\n";
    }
    if (m_info) {
      for (const auto& p : paths) {
        struct stat st{};
        if (!IsWavPath(p) || ::stat(p.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) continue;
        std::string error;
        const std::string report = InfoReport(p, m_json, error);
        // A file still being written is often not readable yet: say so and go on.
        if (report.empty()) std::fprintf(stderr, "nybase watch: %s: %s\n", p.c_str(), OneLine(error).c_str());
        out += report;
      }
    }
    std::fwrite(out.data(), 1, out.size(), stdout);
    std::fflush(stdout);
    std::lock_guard<std::mutex> guard(m_lock);
    ++m_batches;
    if (rootGone || (m_count != 0 && m_batches >= m_count)) m_done = true;
    m_changed.notify_all();
  }

  // Waits until the batches are done, the folder has gone, or a signal has come.
  void WaitUntilDone() {
    std::unique_lock<std::mutex> guard(m_lock);
    while (!m_changed.wait_for(guard, std::chrono::milliseconds(50), [&] { return m_done; })) {
      if (s_interrupted != 0) return;
    }
  }

 private:
  bool m_json, m_info;
  unsigned long long m_count;
  std::string m_root;
  std::mutex m_lock;
  std::condition_variable m_changed;
  unsigned long long m_batches = 0;
  bool m_done = false;
};

}  // namespace

int RunWatch(int argc, char** argv) {
  const CommandSpec& cmdSpec = WatchSpec();
  const ParseResult parsed = ParseArgs(cmdSpec, argc, argv);
  if (!parsed.args) return parsed.exitCode;
  const Args& args = *parsed.args;
  unsigned long long quietMs = DirectoryWatcher::kDefaultTimerExpiry, count = 0;
  if (auto v = args.Value("quiet-ms"); v && (!ParseUnsigned(*v, 3600000, quietMs) || quietMs == 0)) {
    return UsageError(cmdSpec, "--quiet-ms needs a number of milliseconds from 1 to 3600000");
  }
  if (auto v = args.Value("count"); v && (!ParseUnsigned(*v, 1000000000, count) || count == 0)) {
    return UsageError(cmdSpec, "--count needs a number of batches from 1");
  }
  std::string dir = args.Positional()[0];
  while (dir.size() > 1 && dir.back() == '/') dir.pop_back();
  struct stat st{};
  if (::stat(dir.c_str(), &st) != 0) {
    PrintError(cmdSpec, dir + ": no such folder");
    return k_exitFailure;
  }
  if (!S_ISDIR(st.st_mode)) {
    PrintError(cmdSpec, dir + ": not a folder");
    return k_exitFailure;
  }
  const lu::Path root = ToLibraryPath(dir);
  std::string rootNative;
  lu::platform::ToNativePath(root.c_str(), root.GetFullPath().size(), rootNative);

  // Ctrl-C and termination end the watch cleanly: the handler only raises a flag that the main
  // thread polls, whichever thread the signal lands on.
  struct sigaction action{};
  action.sa_handler = &OnSignal;
  sigemptyset(&action.sa_mask);
  for (int sig : {SIGINT, SIGTERM, SIGHUP}) ::sigaction(sig, &action, nullptr);

  Printer printer(args.Has("json"), args.Has("info"), count, rootNative);
  DirectoryWatcher watcher(static_cast<unsigned int>(quietMs));
  watcher.SetCallback(DirectoryWatcher::Callback(&printer, &Printer::OnChanges));
  // Start, not StartSync: a folder removed since the check above must give an error, not a hang.
  watcher.Start(root.GetFullPath(), args.Has("recursive"));
  for (int i = 0; i < 500 && !watcher.IsActive(); ++i) ::usleep(10000);
  if (!watcher.IsActive()) {
    PrintError(cmdSpec, dir + ": cannot be watched");
    return k_exitFailure;
  }
  printer.WaitUntilDone();
  watcher.Stop();
  return k_exitOk;
}

}  // namespace nybase::tool
