// Thread names (longer than the system's 15 bytes), main-thread identity and the registry.
#include <gtest/gtest.h>

#include <cstdio>
#include <thread>

#include <nybase/platform/Threads.h>

namespace {

TEST(ThreadNames, LongNameIsCutForTheSystemOnACharacterBoundaryAndKeptWhole) {
  std::thread([] {
    // "dir_watcher 'é..." : the 15th byte falls inside the two-byte é, which must not be split.
    const std::wstring name = L"dir_watcher '\u00e9t\u00e9 takes'";
    lu::SetCurrentThreadName(name.c_str());
    EXPECT_EQ(lu::platform::GetCurrentThreadSystemName(), "dir_watcher '\xc3\xa9");
    EXPECT_EQ(lu::platform::GetCurrentThreadName(), name);
    lu::SetCurrentThreadName(L"short");
    EXPECT_EQ(lu::platform::GetCurrentThreadSystemName(), "short");
  }).join();
}

TEST(ThreadRegistry, TracksNamesAndReportsLeftovers) {
  ASSERT_TRUE(lu::priv::CheckTrackedThreadCount());
  EXPECT_EQ(lu::priv::TrackedThreadMessage(), "");
  std::thread([] {
    lu::priv::NameCurrentTrackedThread(L"untracked");
    EXPECT_TRUE(lu::priv::CheckTrackedThreadCount()) << "naming an untracked thread adds nothing";
    lu::priv::TrackCurrentThread();
    lu::SetCurrentThreadName(L"a worker with a long name");
    lu::priv::TrackCurrentThread();  // keeps the name
    const uint32_t id = lu::platform::GetCurrentThreadId();
    char hex[16];
    std::snprintf(hex, sizeof hex, "%X", id);
    const std::string expected = std::string("Expected 0 child thread at this point, count was 1:\n") +
                                 "a worker with a long name (thread id: " + hex + ")";
    EXPECT_EQ(lu::priv::TrackedThreadMessage(), expected);
    EXPECT_FALSE(lu::priv::CheckTrackedThreadCount());
    EXPECT_FALSE(lu::priv::CheckTrackedThreadCount()) << "the check clears nothing";
    lu::priv::UntrackCurrentThread();
  }).join();
  EXPECT_TRUE(lu::priv::CheckTrackedThreadCount());
}

TEST(MainThread, OnlyTheSavedThreadIsMain) {
  if (lu::GetMainThreadId() == 0) {
    EXPECT_FALSE(lu::IsMainThread());
  }
  lu::SaveMainThread();
  EXPECT_EQ(lu::GetMainThreadId(), lu::platform::GetCurrentThreadId());
  EXPECT_TRUE(lu::IsMainThread());
  EXPECT_EQ(lu::platform::GetCurrentThreadSystemName(), "main");
  std::thread([] { EXPECT_FALSE(lu::IsMainThread()); }).join();
}

}  // namespace
