// DirectoryWatcher: the worker loop over the platform's change stream, quiet-time batching, the
// hidden and ".svn" filter and the two-stage ignore list.
#include <nybase/files/DirectoryWatcher.h>

#include <cstdio>

#include <nybase/platform/DirectoryChanges.h>
#include <nybase/platform/Events.h>
#include <nybase/platform/Threads.h>
#include <nybase/platform/Timers.h>

namespace {

constexpr size_t k_workerStackSize = 0x100000;
constexpr unsigned int k_ignoreForever = 0xFFFFFFFFu;

bool IsSvnName(const CStdStr<wchar_t>& name) {
  static const wchar_t k_svn[] = L".svn";
  if (name.size() != 4) return false;
  for (size_t i = 0; i < 4; ++i) {
    wchar_t c = name[i];
    if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
    if (c != k_svn[i]) return false;
  }
  return true;
}

}  // namespace

DirectoryWatcherWorker::DirectoryWatcherWorker(DirectoryWatcher* owner) : m_owner(owner) {
  lu::CreateEventExW(m_started, true);
  lu::CreateEventExW(m_stop, true);
}

DirectoryWatcherWorker::~DirectoryWatcherWorker() {
  if (m_thread != nullptr) {
    lu::SignalEventEx(m_stop);
    lu::WaitForThread(m_thread, lu::k_infinite);
    lu::platform::CloseThreadHandle(m_thread);
  }
  lu::DestroyEventEx(m_started);
  lu::DestroyEventEx(m_stop);
}

DirectoryWatcher::DirectoryWatcher(unsigned int timerExpiry, unsigned int ignoreExpiry)
    : m_timerExpiry(timerExpiry), m_ignoreExpiry(ignoreExpiry) {}

DirectoryWatcher::~DirectoryWatcher() { Stop(); }

void DirectoryWatcher::Initialize(const CStdStr<wchar_t>& path, bool recursive) {
  {
    // The lock keeps an earlier worker, still running, from reading the path while it changes.
    std::lock_guard<std::mutex> guard(m_lock);
    m_path = lu::Path(path);
    m_recursive = recursive;
  }
  // The new record goes in before the old one is destroyed: a restart stops the earlier thread
  // only once the new path is in place.
  std::unique_ptr<DirectoryWatcherWorker> old = std::move(m_worker);
  m_worker = std::make_unique<DirectoryWatcherWorker>(this);
  old.reset();
}

void DirectoryWatcher::Start(const CStdStr<wchar_t>& path, bool recursive) {
  Initialize(path, recursive);
  lu::ResetEventEx(m_worker->m_started);
  lu::ResetEventEx(m_worker->m_stop);
  // Null when the thread cannot be made; nothing is reported, as with a folder that cannot be opened.
  m_worker->m_thread = lu::platform::CreateThread(&DirectoryWatcher::WorkerMain, m_worker.get(), k_workerStackSize);
}

void DirectoryWatcher::StartSync(const CStdStr<wchar_t>& path, bool recursive) {
  Start(path, recursive);
  lu::WaitForEventEx(m_worker->m_started);
}

void DirectoryWatcher::Stop() {
  std::unique_ptr<DirectoryWatcherWorker> worker = std::move(m_worker);
  worker.reset();
}

bool DirectoryWatcher::IsActive() const {
  return m_worker != nullptr && lu::WaitForEventEx(m_worker->m_started, 0) == lu::k_waitObject0 &&
         lu::WaitForEventEx(m_worker->m_stop, 0) == lu::k_waitTimeout;
}

void DirectoryWatcher::WorkerMain(void* p) {
  auto* worker = static_cast<DirectoryWatcherWorker*>(p);
  worker->m_owner->Run(*worker);
}

void DirectoryWatcher::Run(DirectoryWatcherWorker& worker) {
  lu::Path directory;
  bool recursive = false;
  {
    std::lock_guard<std::mutex> guard(m_lock);
    directory = m_path;
    recursive = m_recursive;
  }
  directory.RemoveTrailingSeparator();
  lu::SetCurrentThreadName((L"dir_watcher '" + directory.GetStem() + L"'").c_str());
  lu::platform::SetCurrentThreadBackground();

  void* stream = lu::platform::OpenDirectoryChanges(directory.c_str(), directory.GetFsPath().native().size(), recursive);
  if (stream == nullptr) return;  // started stays unset, on purpose: see StartSync
  lu::SignalEventEx(worker.m_started);

  bool gone = false;
  std::vector<lu::platform::DirectoryChange> records;
  const std::vector<void*> handles{worker.m_stop, stream};  // stop first: a busy stream never delays it
  for (;;) {
    int index = -1;
    const unsigned int r = lu::WaitForMultipleEventsEx(handles, m_timerExpiry, index);
    if (r == lu::k_waitTimeout) {
      Notify();
      if (gone) lu::SignalEventEx(worker.m_stop);
      continue;
    }
    if (r != lu::k_waitObject0 || index != 1) break;  // stop, or a wait that failed
    records.clear();
    const lu::platform::DirectoryChangeStatus status = lu::platform::ReadDirectoryChanges(stream, records);
    for (const auto& record : records) {
      const lu::Path changed = lu::Path::Join({directory, record.name});
      switch (record.action) {
        case lu::platform::k_fileActionAdded:
        case lu::platform::k_fileActionRemoved:
        case lu::platform::k_fileActionRenamedOldName:
        case lu::platform::k_fileActionRenamedNewName: AddFileToChangelist(changed); break;
        case lu::platform::k_fileActionModified:
          // A folder's own writes and attribute changes are noise: its entries report themselves.
          if (!changed.IsDirectory()) AddFileToChangelist(changed);
          break;
        default: break;
      }
    }
    if (status == lu::platform::DirectoryChangeStatus::Overflow) {
      std::fputs("ReadDirectoryChangesW buffer too small!\n", stderr);
      AddFileToChangelist(CStdStr<wchar_t>());  // the empty path: changes were lost, rescan
    } else if (status == lu::platform::DirectoryChangeStatus::RootGone && !gone) {
      AddFileToChangelist(directory);
      gone = true;
    } else if (status == lu::platform::DirectoryChangeStatus::Failed) {
      break;  // the folder is still there but cannot be read: the thread ends, pending changes too
    }
  }
  lu::platform::CloseDirectoryChanges(stream);
}

void DirectoryWatcher::Notify() {
  ChangeSet batch;
  {
    std::lock_guard<std::mutex> guard(m_lock);
    batch.swap(m_changes);
  }
  // An empty delegate is skipped rather than called through a null pointer.
  if (!batch.empty() && !m_callback.empty()) m_callback(&batch);
}

void DirectoryWatcher::AddFileToChangelist(const CStdStr<wchar_t>& file) {
  size_t watchedLength = 0;
  {
    std::lock_guard<std::mutex> guard(m_lock);
    watchedLength = m_path.GetFsPath().native().size();
  }
  // The hidden filter runs outside the lock (it reads the disk). A path that does not exist, such
  // as a deleted file or the empty path, passes. Every folder up to the watched one is checked, so
  // nothing anywhere inside a hidden or ".svn" folder gets through.
  lu::Path current(file);
  if (!file.empty() && current.Exists()) {
    while (current.GetFsPath().native().size() > watchedLength) {
      if (current.IsHidden() || IsSvnName(current.GetFileName())) return;
      const size_t before = current.GetFsPath().native().size();
      current = lu::Path(current.GetParent());
      if (current.GetFsPath().native().size() == before) break;
    }
  }
  std::lock_guard<std::mutex> guard(m_lock);
  const unsigned int tick = lu::GetTickCount();
  auto it = m_ignored.find(file);
  // Raw tick comparison, on purpose: a wrap of the 32-bit counter is not handled.
  if (it != m_ignored.end() && tick < it->second) return;
  m_changes.insert(file);
}

void DirectoryWatcher::AddIgnoreFile(const CStdStr<wchar_t>& file) {
  std::lock_guard<std::mutex> guard(m_lock);
  m_ignored[file] = k_ignoreForever;
}

void DirectoryWatcher::ClearIgnoreFiles() {
  std::lock_guard<std::mutex> guard(m_lock);
  const unsigned int tick = lu::GetTickCount();
  for (auto it = m_ignored.begin(); it != m_ignored.end();) {
    if (it->second == k_ignoreForever) {
      it->second = tick + m_ignoreExpiry;
      ++it;
    } else if (tick > it->second) {
      it = m_ignored.erase(it);
    } else {
      ++it;
    }
  }
}

void DirectoryWatcher::GetIgnoredFiles(std::vector<CStdStr<wchar_t>>& out) {
  std::lock_guard<std::mutex> guard(m_lock);
  for (const auto& entry : m_ignored) out.push_back(entry.first);
}
