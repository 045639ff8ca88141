// Runs a command's per-file work on several threads and prints the results in argument order.
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <string>

#include <nybase/base/IProgress.h>

namespace nybase::tool {

// What one file produced: text for stdout, one error line for stderr (without "nybase CMD: ").
struct FileOutcome {
  std::string out;
  std::string error;
  bool ok = true;

  static FileOutcome Failure(std::string error) { return {{}, std::move(error), false}; }
};

// A file that failed: the error line is "FILE: REASON"; with `json`, stdout also gets the line
// {"file":FILE,"ok":false,"error":REASON} so that a JSON reader sees every file.
FileOutcome FailedFile(const std::string& file, const std::string& reason, bool json);

// Lets a job report how far it is (0 to 1) for the progress bar; doubles as an IProgress sink for
// library calls that report ranges and positions. It never asks to cancel.
class JobProgress final : public IProgress {
 public:
  explicit JobProgress(std::atomic<double>* fraction) : m_fraction(fraction) {}
  void SetFraction(double f);
  void SetRange(int64_t min, int64_t max) override;
  void SetPosition(int64_t value) override;
  bool IsCancelled() override { return false; }

 private:
  std::atomic<double>* m_fraction;
  int64_t m_min = 0;
  int64_t m_max = 0;
};

using FileJob = std::function<FileOutcome(size_t index, JobProgress& progress)>;

// Runs job(i) for every i below count on up to `jobs` worker threads. The calling thread prints:
// each outcome's text to stdout and its error as "nybase <command>: <error>" to stderr, in index
// order, each as soon as it and every earlier one are done. While that runs, and if stderr is a
// terminal and the work lasts more than half a second, a progress bar is drawn on stderr and
// removed at the end. Returns the number of outcomes that failed.
size_t RunInOrder(const char* command, size_t count, unsigned jobs, const FileJob& job);

}  // namespace nybase::tool
