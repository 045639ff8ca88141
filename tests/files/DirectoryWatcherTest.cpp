// DirectoryWatcher on real folders: batching after the quiet time, recursive and flat watches,
// the ignore list, hidden and ".svn" items, loss of the watched folder, stop and restart.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <nybase/files/DirectoryWatcher.h>

#include "../support/TestSupport.h"

namespace {

using namespace std::chrono_literals;
constexpr unsigned int k_quietMs = 300;
constexpr auto k_patience = 15s;  // the longest a batch may take on a loaded machine

// Collects batches delivered on the worker thread.
class Receiver {
 public:
  void OnChanges(DirectoryWatcher::ChangeSet* changes) {
    std::unique_lock<std::mutex> guard(m_lock);
    m_batches.emplace_back(changes->begin(), changes->end());
    m_changed.notify_all();
    if (m_slow) std::this_thread::sleep_for(300ms);
    if (m_hold) {
      m_released.wait_for(guard, 8 * k_patience, [&] { return !m_hold; });  // filling a queue is slow
    }
  }
  // Makes the next callback keep the worker until Release: changes pile up in the system's queue.
  void Hold() { m_hold = true; }
  void Release() {
    std::lock_guard<std::mutex> guard(m_lock);
    m_hold = false;
    m_released.notify_all();
  }
  // Waits until `count` batches have come, or the patience runs out.
  bool WaitFor(size_t count) {
    std::unique_lock<std::mutex> guard(m_lock);
    return m_changed.wait_for(guard, k_patience, [&] { return m_batches.size() >= count; });
  }
  std::vector<std::vector<std::wstring>> Batches() {
    std::lock_guard<std::mutex> guard(m_lock);
    return m_batches;
  }
  // All paths delivered so far, flattened.
  std::vector<std::wstring> All() {
    std::vector<std::wstring> all;
    for (const auto& b : Batches()) all.insert(all.end(), b.begin(), b.end());
    return all;
  }
  void SetSlow() { m_slow = true; }
  void Attach(DirectoryWatcher& w) { w.SetCallback(DirectoryWatcher::Callback(this, &Receiver::OnChanges)); }

 private:
  std::mutex m_lock;
  std::condition_variable m_changed, m_released;
  bool m_hold = false;
  std::vector<std::vector<std::wstring>> m_batches;
  bool m_slow = false;
};

void Touch(const std::string& native, const char* text = "x") {
  FILE* f = std::fopen(native.c_str(), "ab");
  ASSERT_NE(f, nullptr) << native;
  std::fputs(text, f);
  std::fclose(f);
}

std::wstring Joined(const nytest::TempDir& dir, const wchar_t* rel) {
  return lu::Path::Join({dir.Wide(), rel}).GetFullPath();
}

void Quiet() { std::this_thread::sleep_for(std::chrono::milliseconds(3 * k_quietMs)); }

TEST(DirectoryWatcher, BurstOfWritesToOneFileGivesOneBatchWithOnePath) {
  nytest::TempDir dir;
  Touch(dir.Native("take.wav"));
  Receiver rx;
  DirectoryWatcher w(k_quietMs);
  rx.Attach(w);
  w.StartSync(dir.Wide(), false);
  EXPECT_TRUE(w.IsActive());
  EXPECT_EQ(w.GetTimerExpiry(), k_quietMs);
  for (int i = 0; i < 20; ++i) {
    Touch(dir.Native("take.wav"));
    std::this_thread::sleep_for(5ms);
  }
  ASSERT_TRUE(rx.WaitFor(1));
  Quiet();
  const auto batches = rx.Batches();
  ASSERT_EQ(batches.size(), 1u);
  EXPECT_EQ(batches[0], std::vector<std::wstring>{Joined(dir, L"take.wav")});
  w.Stop();
  EXPECT_FALSE(w.IsActive());
}

TEST(DirectoryWatcher, RecursiveWatchSeesFilesInNewFoldersAndFlatWatchDoesNot) {
  nytest::TempDir dir;
  Receiver deep, flat;
  DirectoryWatcher wd(k_quietMs), wf(k_quietMs);
  deep.Attach(wd);
  flat.Attach(wf);
  wd.StartSync(dir.Wide(), true);
  wf.StartSync(dir.Wide(), false);
  EXPECT_TRUE(wd.IsRecursive());
  ASSERT_EQ(::mkdir(dir.Native("new").c_str(), 0755), 0);
  ASSERT_EQ(::mkdir(dir.Native("new/deeper").c_str(), 0755), 0);
  Touch(dir.Native("new/deeper/a.wav"));
  ASSERT_TRUE(deep.WaitFor(1));
  ASSERT_TRUE(flat.WaitFor(1));
  Quiet();
  const auto all = deep.All();
  EXPECT_NE(std::find(all.begin(), all.end(), Joined(dir, L"new\\deeper\\a.wav")), all.end());
  EXPECT_EQ(flat.All(), std::vector<std::wstring>{Joined(dir, L"new")});
  // Folders that existed at the start are watched too.
  Touch(dir.Native("new/deeper/b.wav"));
  ASSERT_TRUE(deep.WaitFor(2));
  EXPECT_EQ(deep.Batches().back(), std::vector<std::wstring>{Joined(dir, L"new\\deeper\\b.wav")});
}

TEST(DirectoryWatcher, IgnoredFileStaysSilentUntilReleasedAndExpired) {
  nytest::TempDir dir;
  constexpr unsigned int k_ignoreMs = 1000;
  Receiver rx;
  DirectoryWatcher w(k_quietMs, k_ignoreMs);
  rx.Attach(w);
  w.StartSync(dir.Wide(), false);
  const std::wstring file = Joined(dir, L"mine.wav");
  w.AddIgnoreFile(file);
  Touch(dir.Native("mine.wav"));
  Quiet();
  w.ClearIgnoreFiles();  // starts the grace period
  Touch(dir.Native("mine.wav"));
  Quiet();
  EXPECT_TRUE(rx.Batches().empty());
  std::vector<CStdStr<wchar_t>> ignored;
  w.GetIgnoredFiles(ignored);
  EXPECT_EQ(ignored.size(), 1u);
  std::this_thread::sleep_for(std::chrono::milliseconds(k_ignoreMs));
  Touch(dir.Native("mine.wav"));
  ASSERT_TRUE(rx.WaitFor(1));
  EXPECT_EQ(rx.Batches()[0], std::vector<std::wstring>{file});
  w.ClearIgnoreFiles();  // purges the run-out entry
  ignored.clear();
  w.GetIgnoredFiles(ignored);
  EXPECT_TRUE(ignored.empty());
}

TEST(DirectoryWatcher, HiddenItemsAndSvnContentsNeverAppearButTheirDeletionDoes) {
  nytest::TempDir dir;
  ASSERT_EQ(::mkdir(dir.Native(".svn").c_str(), 0755), 0);
  ASSERT_EQ(::mkdir(dir.Native(".svn/pristine").c_str(), 0755), 0);
  ASSERT_EQ(::mkdir(dir.Native("SVN_not").c_str(), 0755), 0);
  ASSERT_EQ(::mkdir(dir.Native("x").c_str(), 0755), 0);
  ASSERT_EQ(::mkdir(dir.Native("x/.SVN").c_str(), 0755), 0);
  ASSERT_EQ(::mkdir(dir.Native("x/.SVN/deep").c_str(), 0755), 0);
  Receiver rx;
  DirectoryWatcher w(k_quietMs);
  rx.Attach(w);
  w.StartSync(dir.Wide(), true);
  Touch(dir.Native(".hidden.wav"));
  Touch(dir.Native(".svn/pristine/base.txt"));
  Touch(dir.Native("x/.SVN/deep/entries"));
  Touch(dir.Native("SVN_not/visible.wav"));
  ASSERT_TRUE(rx.WaitFor(1));
  Quiet();
  EXPECT_EQ(rx.All(), std::vector<std::wstring>{Joined(dir, L"SVN_not\\visible.wav")});
  ASSERT_EQ(::unlink(dir.Native(".hidden.wav").c_str()), 0);
  ASSERT_TRUE(rx.WaitFor(2));
  EXPECT_EQ(rx.Batches().back(), std::vector<std::wstring>{Joined(dir, L".hidden.wav")});
}

TEST(DirectoryWatcher, DeletingTheWatchedFolderDeliversItsPathAndEndsTheWatch) {
  nytest::TempDir parent;
  const std::string root = parent.Native("watched");
  ASSERT_EQ(::mkdir(root.c_str(), 0755), 0);
  Touch(root + "/a.wav");
  Receiver rx;
  DirectoryWatcher w(k_quietMs);
  rx.Attach(w);
  const std::wstring rootWide = parent.Wide("watched");
  w.StartSync(rootWide, true);
  ASSERT_EQ(nytest::Run("rm -rf '" + root + "'"), 0);
  ASSERT_TRUE(rx.WaitFor(1));
  const auto all = rx.All();
  EXPECT_NE(std::find(all.begin(), all.end(), lu::Path(rootWide).RemoveTrailingSeparator().GetFullPath()), all.end());
  for (int i = 0; i < 100 && w.IsActive(); ++i) std::this_thread::sleep_for(50ms);
  EXPECT_FALSE(w.IsActive());
}

TEST(DirectoryWatcher, StopDuringDeliveryRestartAndMissingFolderNeitherHangNorCallBackLate) {
  nytest::TempDir a, b;
  Receiver rx;
  rx.SetSlow();
  auto w = std::make_unique<DirectoryWatcher>(k_quietMs);
  rx.Attach(*w);
  w->Start(a.Wide("missing"), false);  // fails quietly
  std::this_thread::sleep_for(100ms);
  EXPECT_FALSE(w->IsActive());
  w->StartSync(a.Wide(), false);
  w->StartSync(b.Wide(), false);  // the first worker has stopped
  EXPECT_EQ(w->GetPath().GetFullPath(), b.Wide());
  Touch(a.Native("old.wav"));
  Touch(b.Native("new.wav"));
  ASSERT_TRUE(rx.WaitFor(1));
  w->Stop();  // while the slow callback may still run
  const size_t delivered = rx.Batches().size();
  EXPECT_EQ(rx.All(), std::vector<std::wstring>{Joined(b, L"new.wav")});
  Touch(b.Native("new.wav"));
  Quiet();
  EXPECT_EQ(rx.Batches().size(), delivered);
  w->StartSync(a.Wide(), false);
  Touch(a.Native("pending.wav"));
  w.reset();  // destroyed without Stop
}

TEST(DirectoryWatcher, QueueOverflowDeliversTheEmptyPathSoTheReceiverRescans) {
  unsigned long limit = 0;
  if (FILE* f = std::fopen("/proc/sys/fs/inotify/max_queued_events", "r")) {
    if (std::fscanf(f, "%lu", &limit) != 1) limit = 0;
    std::fclose(f);
  }
  if (limit == 0 || limit > 100000) GTEST_SKIP() << "queue limit unknown or too large to fill: " << limit;
  nytest::TempDir dir;
  Receiver rx;
  DirectoryWatcher w(k_quietMs);
  rx.Attach(w);
  w.StartSync(dir.Wide(), false);
  rx.Hold();
  Touch(dir.Native("first.wav"));
  ASSERT_TRUE(rx.WaitFor(1));
  for (unsigned long i = 0; i < limit + 100; ++i) {
    FILE* f = std::fopen(dir.Native("f" + std::to_string(i)).c_str(), "wb");
    ASSERT_NE(f, nullptr);
    std::fclose(f);
  }
  rx.Release();
  ASSERT_TRUE(rx.WaitFor(2));
  EXPECT_EQ(rx.Batches()[1].front(), L"") << "the empty path sorts first";
}

TEST(DirectoryWatcher, DirectCallsFoldCaseAndNotifyOnlyWithChanges) {
  Receiver rx;
  DirectoryWatcher w;
  rx.Attach(w);
  EXPECT_EQ(w.GetTimerExpiry(), DirectoryWatcher::kDefaultTimerExpiry);
  w.Notify();
  EXPECT_TRUE(rx.Batches().empty());
  w.AddFileToChangelist(L"Z:\\nowhere\\A.wav");
  w.AddFileToChangelist(L"z:\\NOWHERE\\a.WAV");
  w.AddFileToChangelist(L"");
  w.Notify();
  ASSERT_EQ(rx.Batches().size(), 1u);
  EXPECT_EQ(rx.Batches()[0], (std::vector<std::wstring>{L"", L"Z:\\nowhere\\A.wav"}));
}

}  // namespace
