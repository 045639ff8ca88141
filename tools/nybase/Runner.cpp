// Runs a command's per-file work on several threads and prints the results in argument order.
#include "Runner.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "Cli.h"
#include "Json.h"

namespace nybase::tool {
namespace {

using Clock = std::chrono::steady_clock;

// A one-line bar on stderr, shown only on a terminal and only once the work has lasted a while,
// so that quick runs and redirected runs print nothing extra.
class ProgressBar {
 public:
  ProgressBar(const char* command, size_t total)
      : m_command(command), m_total(total), m_enabled(::isatty(STDERR_FILENO) == 1),
        m_start(Clock::now()), m_delay(DelayFromEnvironment()) {}

  // Whether Draw would show anything now; lets the caller skip counting what is done.
  bool Due() const { return m_enabled && (m_visible || Clock::now() - m_start >= m_delay); }

  void Draw(double done) {
    if (!Due()) return;
    m_visible = true;
    constexpr int k_width = 30;
    const double f = m_total == 0 ? 1.0 : std::clamp(done / static_cast<double>(m_total), 0.0, 1.0);
    const int filled = static_cast<int>(f * k_width);
    std::string bar(static_cast<size_t>(filled), '#');
    bar.resize(k_width, '.');
    std::fprintf(stderr, "\r\033[2Knybase %s [%s] %3d%% %zu/%zu", m_command, bar.c_str(),
                 static_cast<int>(f * 100), static_cast<size_t>(done), m_total);
    std::fflush(stderr);
  }

  // Removes the bar so that ordinary output starts on a clean line.
  void Clear() {
    if (!m_visible) return;
    std::fputs("\r\033[2K", stderr);
    std::fflush(stderr);
  }

 private:
  const char* m_command;
  size_t m_total;
  bool m_enabled;
  bool m_visible = false;
  Clock::time_point m_start;
  std::chrono::milliseconds m_delay;

  // NYBASE_PROGRESS_DELAY_MS overrides how long work runs before the bar appears (default 500).
  static std::chrono::milliseconds DelayFromEnvironment() {
    const char* text = std::getenv("NYBASE_PROGRESS_DELAY_MS");
    unsigned long long ms = 500;
    if (text != nullptr) ParseUnsigned(text, 3600000, ms);
    return std::chrono::milliseconds(ms);
  }
};

}  // namespace

FileOutcome FailedFile(const std::string& file, const std::string& reason, bool json) {
  FileOutcome outcome = FileOutcome::Failure(file + ": " + reason);
  if (json) {
    Json j;
    j.BeginObject().Field("file", file).Field("ok", false).Field("error", reason).EndObject();
    outcome.out = j.Text() + "\n";
  }
  return outcome;
}

void JobProgress::SetFraction(double f) {
  if (m_fraction != nullptr) m_fraction->store(std::clamp(f, 0.0, 1.0), std::memory_order_relaxed);
}

void JobProgress::SetRange(int64_t min, int64_t max) {
  m_min = min;
  m_max = max;
  SetFraction(0);
}

void JobProgress::SetPosition(int64_t value) {
  if (m_max > m_min) SetFraction(static_cast<double>(value - m_min) / static_cast<double>(m_max - m_min));
}

size_t RunInOrder(const char* command, size_t count, unsigned jobs, const FileJob& job) {
  std::vector<std::optional<FileOutcome>> results(count);
  const auto fractions = std::make_unique<std::atomic<double>[]>(count);
  std::mutex mutex;
  std::condition_variable ready;
  std::atomic<size_t> next{0};
  size_t printed = 0;  // guarded by `mutex`

  auto worker = [&] {
    for (;;) {
      const size_t i = next.fetch_add(1);
      if (i >= count) return;
      JobProgress progress(&fractions[i]);
      FileOutcome outcome = job(i, progress);
      bool awaited;
      {
        std::lock_guard<std::mutex> lock(mutex);
        results[i] = std::move(outcome);
        awaited = i == printed;
      }
      // Only the outcome the printer waits for wakes it; it takes every later finished one with
      // it, so a long run costs one wake-up per batch rather than one per file.
      if (awaited) ready.notify_one();
    }
  };

  const size_t threads = std::min<size_t>(std::max(jobs, 1u), count);
  std::vector<std::thread> pool;
  pool.reserve(threads);
  for (size_t t = 0; t < threads; ++t) pool.emplace_back(worker);

  ProgressBar bar(command, count);
  size_t failed = 0;
  std::unique_lock<std::mutex> lock(mutex);
  while (printed < count) {
    ready.wait_for(lock, std::chrono::milliseconds(100), [&] { return results[printed].has_value(); });
    while (printed < count && results[printed].has_value()) {
      FileOutcome outcome = std::move(*results[printed]);
      results[printed].reset();
      ++printed;
      lock.unlock();
      bar.Clear();
      if (!outcome.out.empty()) std::fwrite(outcome.out.data(), 1, outcome.out.size(), stdout);
      if (!outcome.ok) {
        ++failed;
        // The file's own output goes first, so that both streams on one terminal keep the order.
        std::fflush(stdout);
        std::fprintf(stderr, "nybase %s: %s\n", command, OneLine(outcome.error).c_str());
      }
      lock.lock();
    }
    // Everything finished so far is out before the printer waits again: output still appears as
    // soon as it can, in one write per batch instead of one per file.
    lock.unlock();
    std::fflush(stdout);
    lock.lock();
    if (printed < count && bar.Due()) {
      // Finished files count whole, the ones in flight by the share they reported.
      double done = static_cast<double>(printed);
      for (size_t i = printed; i < count; ++i) {
        done += results[i].has_value() ? 1.0 : fractions[i].load(std::memory_order_relaxed);
      }
      lock.unlock();
      bar.Draw(done);
      lock.lock();
    }
  }
  lock.unlock();
  bar.Clear();
  for (std::thread& t : pool) t.join();
  return failed;
}

}  // namespace nybase::tool
