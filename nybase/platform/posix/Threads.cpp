// POSIX backend of threads: kernel thread ids, pthread names (15 bytes at most), thread handles
// that are set when the thread's function returns, and background priority through the thread's nice value.
#include <nybase/platform/Threads.h>

#include <errno.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <unistd.h>

#include <new>

#include <nybase/platform/Events.h>
#include <nybase/platform/LastError.h>
#include <nybase/platform/Utf.h>

#include "WaitHandle.h"

namespace lu {

namespace {

thread_local std::wstring t_threadName;

// The system's limit on a thread name, without the NUL.
constexpr size_t k_systemNameBytes = 15;

void ReleaseHandle(platform::detail::ThreadHandle* h) {
  if (h->refs.fetch_sub(1) == 1) {
    ::close(h->fd);
    delete h;
  }
}

void* ThreadMain(void* p) {
  auto* h = static_cast<platform::detail::ThreadHandle*>(p);
  h->function(h->argument);
  platform::detail::SetHandle(h);
  ReleaseHandle(h);
  return nullptr;
}

}  // namespace

void SetCurrentThreadName(const wchar_t* name) {
  if (name == nullptr) return;
  t_threadName = name;
  std::string utf8 = platform::Utf16ToUtf8(t_threadName.data(), t_threadName.size());
  if (utf8.size() > k_systemNameBytes) {
    size_t cut = k_systemNameBytes;
    // Step back over continuation bytes so the cut never splits a character.
    while (cut > 0 && (static_cast<unsigned char>(utf8[cut]) & 0xC0) == 0x80) --cut;
    utf8.resize(cut);
  }
  ::pthread_setname_np(::pthread_self(), utf8.c_str());
  priv::NameCurrentTrackedThread(name);
}

unsigned int WaitForThread(void* const& thread, unsigned int milliseconds) {
  return WaitForEventEx(thread, milliseconds);
}

namespace platform {

uint32_t GetCurrentThreadId() noexcept { return static_cast<uint32_t>(::gettid()); }

std::wstring GetCurrentThreadName() { return t_threadName; }

std::string GetCurrentThreadSystemName() {
  char buf[64] = {};
  if (::pthread_getname_np(::pthread_self(), buf, sizeof buf) != 0) return {};
  return buf;
}

void* CreateThread(ThreadFunction function, void* argument, size_t stackSize) noexcept {
  const int fd = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
  if (fd < 0) {
    SetLastErrorFromErrno(errno);
    return nullptr;
  }
  auto* h = new (std::nothrow) detail::ThreadHandle;
  if (h == nullptr) {
    ::close(fd);
    SetLastError(k_errorNotEnoughMemory);
    return nullptr;
  }
  h->fd = fd;
  h->kind = detail::WaitHandle::Kind::Thread;
  h->function = function;
  h->argument = argument;
  pthread_attr_t attr;
  ::pthread_attr_init(&attr);
  if (stackSize != 0) ::pthread_attr_setstacksize(&attr, stackSize);
  const int err = ::pthread_create(&h->thread, &attr, &ThreadMain, h);
  ::pthread_attr_destroy(&attr);
  if (err != 0) {
    ::close(fd);
    delete h;
    SetLastErrorFromErrno(err);
    return nullptr;
  }
  return h;
}

void CloseThreadHandle(void*& thread) noexcept {
  if (thread == nullptr) return;
  auto* h = static_cast<detail::ThreadHandle*>(thread);
  thread = nullptr;
  if (WaitForEventEx(static_cast<void*>(h), 0) == k_waitObject0) {
    ::pthread_join(h->thread, nullptr);
  } else {
    ::pthread_detach(h->thread);
  }
  ReleaseHandle(h);
}

void SetCurrentThreadBackground() noexcept {
  // A thread's nice value is per thread on Linux; 10 keeps it behind interactive work without
  // starving it on a busy machine.
  ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), 10);
}

}  // namespace platform

}  // namespace lu
