// POSIX backend of directory change streams on inotify: one watch per folder, a map from watch
// to relative folder, watches added for folders made below a recursive watch.
#include <nybase/platform/DirectoryChanges.h>

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <new>
#include <unordered_map>

#include <nybase/platform/LastError.h>
#include <nybase/platform/NativePath.h>
#include <nybase/platform/Utf.h>

#include "WaitHandle.h"

namespace lu::platform {

namespace {

constexpr uint32_t k_watchMask = IN_CREATE | IN_DELETE | IN_MODIFY | IN_ATTRIB | IN_MOVED_FROM | IN_MOVED_TO |
                                 IN_DELETE_SELF | IN_MOVE_SELF | IN_DONT_FOLLOW | IN_ONLYDIR;
// The change buffer read at once: 64 KiB, as large as the system queue hands out in one read.
constexpr size_t k_bufferSize = 0x10000;

struct Stream : detail::WaitHandle {
  std::string root;  // native, no trailing "/"
  bool recursive = false;
  int rootWatch = -1;
  bool rootGone = false;
  bool watchFailed = false;  // a folder could not be watched: reported once as an overflow
  std::unordered_map<int, std::string> folders;  // watch -> folder relative to root ("" for root)
  std::vector<char> buffer;
};

std::string JoinRel(const std::string& folder, const char* name, size_t len) {
  return folder.empty() ? std::string(name, len) : folder + "/" + std::string(name, len);
}

std::wstring ToWideName(const std::string& rel) {
  std::wstring w = Utf8ToUtf16(rel.data(), rel.size());
  for (auto& c : w) {
    if (c == L'/') c = L'\\';
  }
  return w;
}

// The root "/" is kept as "", so that joining never doubles the separator.
std::string Native(const Stream& s, const std::string& rel) {
  if (rel.empty()) return s.root.empty() ? std::string("/") : s.root;
  return s.root + "/" + rel;
}

bool AddWatch(Stream& s, const std::string& rel) {
  const int wd = ::inotify_add_watch(s.fd, Native(s, rel).c_str(), k_watchMask);
  if (wd < 0) {
    // A folder that vanished meanwhile needs no watch; any other failure loses changes.
    if (errno != ENOENT && errno != ENOTDIR) s.watchFailed = true;
    return false;
  }
  s.folders[wd] = rel;
  return true;
}

// Watches every folder below `rel` (already watched itself). With `report`, every entry found is
// appended as added: it was made before its folder was watched, and its own event is lost.
void WatchBelow(Stream& s, const std::string& rel, std::vector<DirectoryChange>* report) {
  DIR* dir = ::opendir(Native(s, rel).c_str());
  if (dir == nullptr) return;
  std::vector<std::string> subfolders;
  while (dirent* e = ::readdir(dir)) {
    if (std::strcmp(e->d_name, ".") == 0 || std::strcmp(e->d_name, "..") == 0) continue;
    const std::string child = JoinRel(rel, e->d_name, std::strlen(e->d_name));
    if (report != nullptr) report->push_back({k_fileActionAdded, ToWideName(child)});
    bool isDir = e->d_type == DT_DIR;
    if (e->d_type == DT_UNKNOWN) {
      struct stat st{};
      isDir = ::lstat(Native(s, child).c_str(), &st) == 0 && S_ISDIR(st.st_mode);
    }
    if (isDir) subfolders.push_back(child);
  }
  ::closedir(dir);
  for (const auto& sub : subfolders) {
    if (AddWatch(s, sub)) WatchBelow(s, sub, report);
  }
}

// Forgets the watches of `rel` and everything below it (a folder moved out of view).
void ForgetBelow(Stream& s, const std::string& rel) {
  const std::string prefix = rel + "/";
  for (auto it = s.folders.begin(); it != s.folders.end();) {
    if (it->second == rel || it->second.compare(0, prefix.size(), prefix) == 0) {
      ::inotify_rm_watch(s.fd, it->first);
      it = s.folders.erase(it);
    } else {
      ++it;
    }
  }
}

}  // namespace

void* OpenDirectoryChanges(const wchar_t* path, size_t len, bool recursive) noexcept {
  try {
    std::string native;
    if (!ToNativePath(path, len, native)) return nullptr;
    while (native.size() > 1 && native.back() == '/') native.pop_back();
    struct stat st{};
    if (::stat(native.c_str(), &st) != 0) {
      SetLastErrorFromErrno(errno);
      return nullptr;
    }
    if (!S_ISDIR(st.st_mode)) {
      SetLastError(k_errorPathNotFound);
      return nullptr;
    }
    const int fd = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (fd < 0) {
      SetLastErrorFromErrno(errno);
      return nullptr;
    }
    auto* s = new Stream;
    s->fd = fd;
    s->kind = detail::WaitHandle::Kind::Readable;
    s->root = native == "/" ? std::string() : native;
    s->recursive = recursive;
    s->rootWatch = ::inotify_add_watch(fd, native.c_str(), k_watchMask & ~IN_DONT_FOLLOW);
    if (s->rootWatch < 0) {
      SetLastErrorFromErrno(errno);
      ::close(fd);
      delete s;
      return nullptr;
    }
    s->folders[s->rootWatch] = "";
    if (recursive) WatchBelow(*s, "", nullptr);
    s->buffer.resize(k_bufferSize);
    return s;
  } catch (...) {
    SetLastError(k_errorNotEnoughMemory);
    return nullptr;
  }
}

DirectoryChangeStatus ReadDirectoryChanges(void* stream, std::vector<DirectoryChange>& out) {
  auto* s = static_cast<Stream*>(stream);
  if (s == nullptr) return DirectoryChangeStatus::Failed;
  bool overflow = false;
  for (;;) {
    const ssize_t n = ::read(s->fd, s->buffer.data(), s->buffer.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      if (errno == EAGAIN) break;
      SetLastErrorFromErrno(errno);
      return DirectoryChangeStatus::Failed;
    }
    if (n == 0) break;
    size_t pos = 0;
    const size_t size = static_cast<size_t>(n);
    while (pos + sizeof(inotify_event) <= size) {
      inotify_event ev;
      std::memcpy(&ev, s->buffer.data() + pos, sizeof ev);
      const char* namePtr = s->buffer.data() + pos + sizeof ev;
      if (ev.len > size - pos - sizeof ev) break;  // never trust a length past what was read
      pos += sizeof ev + ev.len;
      if ((ev.mask & IN_Q_OVERFLOW) != 0) {
        overflow = true;
        continue;
      }
      if (ev.wd == s->rootWatch && (ev.mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)) != 0) {
        s->rootGone = true;
        continue;
      }
      auto folder = s->folders.find(ev.wd);
      if ((ev.mask & IN_IGNORED) != 0) {
        if (folder != s->folders.end()) s->folders.erase(folder);
        continue;
      }
      const size_t nameLen = ::strnlen(namePtr, ev.len);
      // Changes of a watched folder itself (no name) are reported by its parent, or not at all.
      if (folder == s->folders.end() || nameLen == 0) continue;
      const std::string rel = JoinRel(folder->second, namePtr, nameLen);
      uint32_t action = 0;
      if ((ev.mask & IN_CREATE) != 0) action = k_fileActionAdded;
      else if ((ev.mask & IN_DELETE) != 0) action = k_fileActionRemoved;
      else if ((ev.mask & IN_MOVED_FROM) != 0) action = k_fileActionRenamedOldName;
      else if ((ev.mask & IN_MOVED_TO) != 0) action = k_fileActionRenamedNewName;
      else if ((ev.mask & (IN_MODIFY | IN_ATTRIB)) != 0) action = k_fileActionModified;
      else continue;
      out.push_back({action, ToWideName(rel)});
      if (s->recursive && (ev.mask & IN_ISDIR) != 0) {
        if (action == k_fileActionAdded) {
          if (AddWatch(*s, rel)) WatchBelow(*s, rel, &out);
        } else if (action == k_fileActionRenamedNewName) {
          if (AddWatch(*s, rel)) WatchBelow(*s, rel, nullptr);
        } else if (action == k_fileActionRenamedOldName) {
          ForgetBelow(*s, rel);
        }
      }
    }
  }
  if (s->watchFailed) {
    s->watchFailed = false;
    overflow = true;
  }
  if (s->rootGone) return DirectoryChangeStatus::RootGone;
  if (overflow) {
    // Folders made while events were lost have no watch yet: walk the tree again.
    if (s->recursive) WatchBelow(*s, "", nullptr);
    return DirectoryChangeStatus::Overflow;
  }
  return DirectoryChangeStatus::Ok;
}

void CloseDirectoryChanges(void*& stream) noexcept {
  if (stream == nullptr) return;
  auto* s = static_cast<Stream*>(stream);
  ::close(s->fd);
  delete s;
  stream = nullptr;
}

}  // namespace lu::platform
