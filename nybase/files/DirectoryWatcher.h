// DirectoryWatcher: reports which files below a folder changed, in batches after a quiet time,
// with an ignore list for files the application writes itself.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <vector>

#include <nybase/base/FastDelegate.h>
#include <nybase/files/Path.h>
#include <nybase/text/CStdStr.h>
#include <nybase/text/NoCaseStringComp.h>

class DirectoryWatcher;

// The running state of a watcher: its thread and two manual-reset events. Building it creates the
// events; destroying it sets stop, waits for the thread without a limit, then releases all.
struct DirectoryWatcherWorker {
  explicit DirectoryWatcherWorker(DirectoryWatcher* owner);
  ~DirectoryWatcherWorker();
  DirectoryWatcherWorker(const DirectoryWatcherWorker&) = delete;
  DirectoryWatcherWorker& operator=(const DirectoryWatcherWorker&) = delete;

  DirectoryWatcher* m_owner;
  void* m_thread = nullptr;
  void* m_started = nullptr;
  void* m_stop = nullptr;
};

// One worker thread per running watcher reads the folder's change stream, collects the changed
// paths (the watched path joined with the name, "\" between the parts) and delivers them in one
// callback once nothing has arrived for the timer expiry; a steady stream postpones delivery.
// Hidden items and anything inside a ".svn" folder are never reported while they exist. An empty
// path in a batch means changes were lost (the change queue overflowed): rescan. When the watched
// folder goes away its own path is delivered and the worker ends (IsActive turns false).
class DirectoryWatcher {
 public:
  using ChangeSet = std::set<CStdStr<wchar_t>, lu::NoCaseStringComp>;
  using Callback = fastdelegate::FastDelegate<void(ChangeSet*)>;

  static constexpr unsigned int kDefaultTimerExpiry = 2000;
  static constexpr unsigned int kDefaultIgnoreExpiry = 1500;

  explicit DirectoryWatcher(unsigned int timerExpiry = kDefaultTimerExpiry,
                            unsigned int ignoreExpiry = kDefaultIgnoreExpiry);
  // Stops the worker as Stop does; undelivered changes are dropped.
  ~DirectoryWatcher();
  DirectoryWatcher(const DirectoryWatcher&) = delete;
  DirectoryWatcher& operator=(const DirectoryWatcher&) = delete;

  // Starts watching `path` (with its sub-folders when `recursive`), stopping an earlier worker
  // after the new path is in place. Nothing is reported: a folder that cannot be watched leaves a
  // worker that ended at once and IsActive false.
  void Start(const CStdStr<wchar_t>& path, bool recursive);
  // Start, then waits without a limit until the worker watches. On purpose it never returns for a
  // folder that cannot be watched (a missing one): pass a folder that exists.
  void StartSync(const CStdStr<wchar_t>& path, bool recursive);
  // Ends the worker and waits for it; no callback runs once Stop has returned. Never call it from
  // inside the callback (it would wait for itself).
  void Stop();
  // A worker exists, has started watching, and has not been told (or decided) to stop.
  bool IsActive() const;
  bool IsRecursive() { return m_recursive; }
  const lu::Path& GetPath() { return m_path; }
  unsigned int GetTimerExpiry() { return m_timerExpiry; }
  // Sets the receiver of batches; call it before Start: Notify calls it without a test.
  void SetCallback(const Callback& callback) { m_callback = callback; }

  // Hands the waiting changes to the callback (on the calling thread) if there are any; the set
  // is destroyed afterwards, so the receiver copies what it keeps.
  void Notify();
  // Adds `file` to the waiting changes unless it exists and it, or a folder between it and the
  // watched path, is hidden or named ".svn", or it is in force on the ignore list.
  void AddFileToChangelist(const CStdStr<wchar_t>& file);
  // Silences `file` until ClearIgnoreFiles releases it and the ignore expiry has passed.
  void AddIgnoreFile(const CStdStr<wchar_t>& file);
  // Starts the grace period of entries in force, and purges entries whose period has run out.
  void ClearIgnoreFiles();
  // Appends every ignore entry, expired or not, in order; `out` is not cleared.
  void GetIgnoredFiles(std::vector<CStdStr<wchar_t>>& out);

 private:
  friend struct DirectoryWatcherWorker;
  void Initialize(const CStdStr<wchar_t>& path, bool recursive);
  static void WorkerMain(void* worker);
  void Run(DirectoryWatcherWorker& worker);

  lu::Path m_path;
  bool m_recursive = false;
  unsigned int m_timerExpiry;
  unsigned int m_ignoreExpiry;
  ChangeSet m_changes;
  std::map<CStdStr<wchar_t>, unsigned int, lu::NoCaseStringComp> m_ignored;
  mutable std::mutex m_lock;
  Callback m_callback;
  std::unique_ptr<DirectoryWatcherWorker> m_worker;
};
