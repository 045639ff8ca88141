// Events and waits: results 0 / 258 / error, manual and automatic reset, several handles, thread
// handles, timers and the tick counter.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include <nybase/platform/Events.h>
#include <nybase/platform/Threads.h>
#include <nybase/platform/Timers.h>

namespace {

struct Event {
  explicit Event(bool manual) { EXPECT_EQ(lu::CreateEventExW(h, manual), NYRESULT_SUCCESS); }
  ~Event() { lu::DestroyEventEx(h); }
  void* h = nullptr;
};

TEST(Events, ManualResetStaysSignalledUntilReset) {
  Event e(true);
  EXPECT_EQ(lu::WaitForEventEx(e.h, 0), 258u);
  lu::SignalEventEx(e.h);
  EXPECT_EQ(lu::WaitForEventEx(e.h, 0), 0u);
  EXPECT_EQ(lu::WaitForEventEx(e.h, 0), 0u);
  lu::ResetEventEx(e.h);
  EXPECT_EQ(lu::WaitForEventEx(e.h, 0), 258u);
}

TEST(Events, AutoResetWakesOneWaitPerSignalWhateverTheCount) {
  Event e(false);
  lu::SignalEventEx(e.h);
  lu::SignalEventEx(e.h);
  EXPECT_EQ(lu::WaitForEventEx(e.h, 0), 0u);
  EXPECT_EQ(lu::WaitForEventEx(e.h, 0), 258u);
}

TEST(Events, TimedWaitLastsItsTimeAndWakesOnSignalFromAnotherThread) {
  Event e(false);
  auto t0 = std::chrono::steady_clock::now();
  EXPECT_EQ(lu::WaitForEventEx(e.h, 50), 258u);
  EXPECT_GE(std::chrono::steady_clock::now() - t0, std::chrono::milliseconds(45));
  std::thread setter([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    lu::SignalEventEx(e.h);
  });
  EXPECT_EQ(lu::WaitForEventEx(e.h, 10000), 0u);
  setter.join();
  // Above 32 bits: the remainder (18 ms) times out first, then a full round catches the signal.
  std::thread late([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    lu::SignalEventEx(e.h);
  });
  t0 = std::chrono::steady_clock::now();
  EXPECT_EQ(lu::priv::WaitForEventEx64(e.h, 0x1'0000'0010ull), 0u);
  EXPECT_GE(std::chrono::steady_clock::now() - t0, std::chrono::milliseconds(90));
  late.join();
}

TEST(Events, WaitForSeveralGivesTheLowestSignalledPosition) {
  Event a(true), b(false), c(true);
  int index = -1;
  EXPECT_EQ(lu::WaitForMultipleEventsEx({a.h, b.h, c.h}, 0, index), 258u);
  EXPECT_EQ(index, -1);
  lu::SignalEventEx(c.h);
  lu::SignalEventEx(b.h);
  EXPECT_EQ(lu::WaitForMultipleEventsEx({a.h, b.h, c.h}, 0, index), 0u);
  EXPECT_EQ(index, 1);
  EXPECT_EQ(lu::WaitForMultipleEventsEx({a.h, b.h, c.h}, index), 0u) << "b consumed, c still set";
  EXPECT_EQ(index, 2);
}

TEST(Events, BadHandlesFailWithTheSystemError) {
  int index = 7;
  EXPECT_EQ(lu::WaitForMultipleEventsEx({}, 0, index), 87u);
  EXPECT_EQ(lu::WaitForMultipleEventsEx({nullptr}, 0, index), 6u);
  EXPECT_EQ(index, 7);
  void* none = nullptr;
  EXPECT_EQ(lu::WaitForEventEx(none, 0), 6u);
  Event e(true);
  lu::DestroyEventEx(e.h);
  lu::DestroyEventEx(e.h);
  EXPECT_EQ(e.h, nullptr);
}

TEST(Events, ManyWaitersOnAManualEventAllWake) {
  Event e(true);
  std::atomic<int> woke{0};
  std::vector<std::thread> waiters;
  for (int i = 0; i < 8; ++i) waiters.emplace_back([&] { woke += lu::WaitForEventEx(e.h, 10000) == 0 ? 1 : 0; });
  lu::SignalEventEx(e.h);
  for (auto& t : waiters) t.join();
  EXPECT_EQ(woke.load(), 8);
}

// Ping-pong between a thread waiting on several handles and one waiting on one: a lost wake-up
// shows as a time-out.
TEST(Events, PingPongThroughSingleAndMultipleWaitsLosesNoWakeUp) {
  Event ping(false), pong(false), idle(true);
  constexpr int k_rounds = 3000;
  std::atomic<int> failures{0};
  std::thread partner([&] {
    int index = -1;
    for (int i = 0; i < k_rounds; ++i) {
      if (lu::WaitForMultipleEventsEx({idle.h, ping.h}, 10000, index) != 0 || index != 1) ++failures;
      lu::SignalEventEx(pong.h);
    }
  });
  for (int i = 0; i < k_rounds; ++i) {
    lu::SignalEventEx(ping.h);
    if (lu::WaitForEventEx(pong.h, 10000) != 0) ++failures;
  }
  partner.join();
  EXPECT_EQ(failures.load(), 0);
}

TEST(Threads, HandleIsSignalledWhenTheFunctionReturns) {
  Event go(true);
  void* thread = lu::platform::CreateThread([](void* p) { lu::WaitForEventEx(*static_cast<void**>(p)); }, &go.h, 1 << 20);
  ASSERT_NE(thread, nullptr);
  EXPECT_EQ(lu::WaitForThread(thread, 20), 258u);
  int index = -1;
  lu::SignalEventEx(go.h);
  EXPECT_EQ(lu::WaitForMultipleEventsEx({thread}, 10000, index), 0u);
  EXPECT_EQ(lu::WaitForThread(thread, 0), 0u) << "a thread's end is never consumed";
  lu::platform::CloseThreadHandle(thread);
  EXPECT_EQ(thread, nullptr);
}

TEST(Timers, PeriodicTimerRunsUntilKilledAndTicksAdvance) {
  std::atomic<int> calls{0};
  const unsigned int t0 = lu::GetTickCount();
  void* timer = lu::platform::CreateTimerQueueTimer([](void* p) { ++*static_cast<std::atomic<int>*>(p); }, &calls, 5, 5);
  ASSERT_NE(timer, nullptr);
  for (int i = 0; i < 1000 && calls.load() < 3; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  lu::KillTimer(timer);
  EXPECT_EQ(timer, nullptr);
  EXPECT_GE(calls.load(), 3);
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  const int after = calls.load();
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(calls.load(), after);
  EXPECT_GE(lu::GetTickCount() - t0, 15u);
}

}  // namespace
