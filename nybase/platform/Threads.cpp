// The main-thread identity and the tracked-thread registry: portable bookkeeping on the
// platform's thread identifiers.
#include <nybase/platform/Threads.h>

#include <atomic>
#include <cstdio>
#include <map>
#include <mutex>

#include <nybase/platform/Utf.h>

namespace lu {

namespace {

std::atomic<uint32_t> s_mainThreadId{0};

// The registry and its lock live for the whole process; built on first use so that threads
// started by other libraries' static constructors can already register.
struct Registry {
  std::mutex lock;
  std::map<uint32_t, std::wstring> threads;
};

Registry& GetRegistry() {
  static Registry* registry = new Registry;  // never destroyed on purpose: threads may outlive statics
  return *registry;
}

}  // namespace

void SaveMainThread() {
  s_mainThreadId.store(platform::GetCurrentThreadId());
  SetCurrentThreadName(L"main");
}

unsigned long GetMainThreadId() { return s_mainThreadId.load(); }

bool IsMainThread() {
  const uint32_t main = s_mainThreadId.load();
  return main != 0 && main == platform::GetCurrentThreadId();
}

namespace priv {

void TrackCurrentThread() {
  Registry& r = GetRegistry();
  const uint32_t id = platform::GetCurrentThreadId();
  std::lock_guard<std::mutex> guard(r.lock);
  r.threads.try_emplace(id);
}

void UntrackCurrentThread() {
  Registry& r = GetRegistry();
  const uint32_t id = platform::GetCurrentThreadId();
  std::lock_guard<std::mutex> guard(r.lock);
  r.threads.erase(id);
}

void NameCurrentTrackedThread(const wchar_t* name) {
  Registry& r = GetRegistry();
  const uint32_t id = platform::GetCurrentThreadId();
  std::wstring text = name != nullptr ? name : L"";
  std::lock_guard<std::mutex> guard(r.lock);
  auto it = r.threads.find(id);
  if (it != r.threads.end()) it->second = std::move(text);
}

std::string TrackedThreadMessage() {
  Registry& r = GetRegistry();
  std::lock_guard<std::mutex> guard(r.lock);
  if (r.threads.empty()) return {};
  std::string message = "Expected 0 child thread at this point, count was " + std::to_string(r.threads.size()) + ":";
  for (const auto& [id, name] : r.threads) {
    char hex[16];
    std::snprintf(hex, sizeof hex, "%X", static_cast<unsigned>(id));
    message += "\n" + platform::Utf16ToUtf8(name.data(), name.size()) + " (thread id: " + hex + ")";
  }
  return message;
}

bool CheckTrackedThreadCount() {
  // The message goes nowhere on purpose: only the answer leaves the function.
  return TrackedThreadMessage().empty();
}

}  // namespace priv

}  // namespace lu
