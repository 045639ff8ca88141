// Helpers of the interrupted-write tests: a file size limit that makes writes fail as a full disk
// would, from a chosen byte on, and the listing of a folder.
#pragma once

#include <dirent.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <string>
#include <vector>

namespace nytest {

// While it lives, no file of this process grows past `bytes`: a write beyond fails with EFBIG
// (the signal that would kill the process is ignored meanwhile). Restores the limit on exit.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    m_handler = std::signal(SIGXFSZ, SIG_IGN);
    ::getrlimit(RLIMIT_FSIZE, &m_old);
    const rlimit limit{bytes, m_old.rlim_max};
    m_set = ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
  }
  ~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &m_old);
    std::signal(SIGXFSZ, m_handler);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  bool IsSet() const { return m_set; }

 private:
  rlimit m_old{};
  void (*m_handler)(int) = SIG_DFL;
  bool m_set = false;
};

// Names in a folder, sorted, without "." and "..".
inline std::vector<std::string> FolderNames(const std::string& nativeDir) {
  std::vector<std::string> names;
  if (DIR* d = ::opendir(nativeDir.c_str())) {
    while (const dirent* e = ::readdir(d)) {
      const std::string name = e->d_name;
      if (name != "." && name != "..") names.push_back(name);
    }
    ::closedir(d);
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace nytest
