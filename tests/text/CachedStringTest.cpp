// Interned strings: one record per text, exact counts across copies, moves and threads, freed
// records, words, ROString narrowing and the table's hash against published MurmurHash3 values.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <nybase/NYBase.h>
#include <nybase/text/internal/InternTables.h>
#include <nybase/text/internal/MurmurHash3.h>

using lu::CachedString;

TEST(CachedString, EqualTextSharesOneCountedRecord) {
  const size_t before = lu::detail::CachedStringRecordCount();
  {
    CachedString a(L"tableName");
    CachedString b(CStdStr<wchar_t>(L"tableName"));
    EXPECT_EQ(a, b);
    EXPECT_EQ(a.c_str(), b.c_str());
    EXPECT_EQ(b.References(), 2u);
    EXPECT_EQ(lu::detail::CachedStringRecordCount(), before + 1);
    EXPECT_NE(a, CachedString(L"TableName"));  // case makes another record
    {
      CachedString c(a);
      CachedString d(std::move(c));
      EXPECT_EQ(d.References(), 3u);
      d = d;  // assignment to itself keeps the count
      EXPECT_EQ(a.References(), 3u);
      c = d;
      EXPECT_EQ(a.References(), 4u);
    }
    EXPECT_EQ(a.References(), 2u);
    b.Empty();
    EXPECT_EQ(a.References(), 1u);
    a = CStdStr<wchar_t>(L"other");
    b = L"other";
    EXPECT_EQ(b.References(), 2u);
  }
  EXPECT_EQ(lu::detail::CachedStringRecordCount(), before);
}

TEST(CachedString, EmptyNullAndTextRules) {
  CachedString def;
  CachedString fromEmpty(L"");
  CachedString fromNull(static_cast<const wchar_t*>(nullptr));
  EXPECT_EQ(def, fromEmpty);
  EXPECT_EQ(def, fromNull);
  EXPECT_EQ(def.References(), 1u);
  EXPECT_EQ(fromEmpty.References(), 1u);
  CachedString moved(L"abc");
  CachedString taker(std::move(moved));
  EXPECT_EQ(moved.c_str(), nullptr);
  EXPECT_TRUE(moved.IsEmpty());
  EXPECT_EQ(moved.GetLength(), 0u);
  EXPECT_EQ(moved.References(), 0u);
  EXPECT_EQ(moved.Copy(), CStdStr<wchar_t>());
  EXPECT_NE(moved, def);
  // Text is cut at the first NUL: "ab\0cd" is "ab".
  CachedString cut(CStdStr<wchar_t>(std::wstring(L"ab\0cd", 5)));
  EXPECT_EQ(cut, CachedString(L"ab"));
  EXPECT_EQ(cut.View().view(), L"ab");
  EXPECT_TRUE(CachedString(L"ab") < CachedString(L"abc"));
  EXPECT_TRUE(CachedString(L"b") > CachedString(L"abc"));
  EXPECT_TRUE(CachedString(L"\u00e9") > CachedString(L"z"));
}

TEST(CachedString, WordsAreSharedAndPointIntoTheText) {
  const CachedString s(L"fooBar12 x");
  const auto& words = s.GetWords();
  EXPECT_EQ(&words, &CachedString(s).GetWords());
  std::wstring joined;
  for (const auto& w : words) {
    EXPECT_GE(w.m_begin, s.c_str());
    EXPECT_LE(w.m_end, s.c_str() + s.GetLength());
    joined += std::wstring(w.View().view()) + L"|";
  }
  EXPECT_EQ(joined, L"foo|Bar|fooBar|12|x|");
  EXPECT_TRUE(CachedString().GetWords().empty());
  EXPECT_EQ(&CachedString().GetWords(), &CachedString(L"").GetWords());
}

// 8 threads intern, copy and drop the same 10,000 texts at once: one record each, and the counts
// are exact once every thread's handles are gone (run this suite under ThreadSanitizer too).
TEST(CachedString, ThreadsInternOneRecordPerText) {
  constexpr int k_texts = 10000;
  constexpr int k_threads = 8;
  std::vector<CStdStr<wchar_t>> texts;
  for (int i = 0; i < k_texts; ++i) texts.emplace_back(L"word" + std::to_wstring(i * 7919 % 100003));
  const size_t before = lu::detail::CachedStringRecordCount();
  std::vector<std::vector<CachedString>> held(k_threads);
  std::vector<std::thread> threads;
  for (int t = 0; t < k_threads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < k_texts; ++i) {
        const auto& text = texts[(i * 31 + t * 1237) % k_texts];
        CachedString a(text);
        CachedString b = a;       // a copy without the table lock
        held[t].push_back(std::move(b));
        CachedString(text).References();  // a short-lived handle of a text others hold
      }
    });
  }
  for (auto& th : threads) th.join();
  EXPECT_EQ(lu::detail::CachedStringRecordCount(), before + k_texts);
  for (int i = 0; i < k_texts; ++i) {
    EXPECT_EQ(CachedString(texts[i]).References(), static_cast<size_t>(k_threads + 1)) << i;
  }
  int wrong = 0;
  for (int t = 0; t < k_threads; ++t) {
    for (int i = 0; i < k_texts; ++i) wrong += held[t][i] != CachedString(texts[(i * 31 + t * 1237) % k_texts]);
  }
  EXPECT_EQ(wrong, 0);
  held.clear();
  EXPECT_EQ(lu::detail::CachedStringRecordCount(), before);
}

TEST(ROString, InternsNarrowAndNarrowedWideTextOnce) {
  const ROString a("abc");
  const ROString b(std::string("abc"));
  const ROString c(L"abc");
  const ROString d(std::wstring(L"abc"));
  EXPECT_EQ(a, b);
  EXPECT_EQ(a, c);
  EXPECT_EQ(a, d);
  EXPECT_GE(lu::detail::ROStringInternCount(a.c_str()), 4u);
  const uint32_t count = lu::detail::ROStringInternCount(a.c_str());
  ROString copy = a;  // copying counts nothing
  EXPECT_EQ(lu::detail::ROStringInternCount(copy.c_str()), count);
  EXPECT_STREQ(ROString(L"\u00e9t\u00e9").c_str(), "iti");  // only the low 7 bits remain
  EXPECT_STREQ(ROString(L"ab\u0100cd").c_str(), "ab");        // a unit that narrows to 0 ends the text
  EXPECT_EQ(ROString(std::string("ab\0cd", 5)), ROString("ab"));
  EXPECT_EQ(ROString(), ROString(nullptr));
  EXPECT_EQ(ROString(), ROString(""));
  EXPECT_EQ(ROString(), ROString(static_cast<const wchar_t*>(nullptr)));
  ROString r("x");
  EXPECT_EQ(r = nullptr, nullptr);
  EXPECT_EQ(r, ROString());
  const char* given = "key";
  EXPECT_EQ(r = given, given);
  EXPECT_EQ(r, ROString("key"));
  EXPECT_TRUE(ROStringLess()(a, r) != ROStringLess()(r, a));
  EXPECT_FALSE(ROStringLess()(a, b));
}

TEST(ROString, TableKeepsPowerOfTwoBucketsAndLoadFactorOne) {
  EXPECT_GE(lu::detail::ROStringBucketCount(), 4096u);
  for (int i = 0; i < 5000; ++i) ROString(std::string("ro_key_") + std::to_string(i));
  const size_t buckets = lu::detail::ROStringBucketCount();
  EXPECT_EQ(buckets & (buckets - 1), 0u);
  EXPECT_LE(lu::detail::ROStringRecordCount(), buckets);
  EXPECT_GE(buckets, 8192u);
}

TEST(MurmurHash3, MatchesPublishedValues) {
  const struct {
    const char* text;
    uint32_t seed;
    uint32_t hash;
  } cases[] = {
      {"", 0, 0},
      {"", 1, 0x514E28B7},
      {"", 0xffffffff, 0x81F16F39},
      {"aaaa", 0x9747b28c, 0x5A97808A},
      {"aaa", 0x9747b28c, 0x283E0130},
      {"aa", 0x9747b28c, 0x5D211726},
      {"a", 0x9747b28c, 0x7FA09EA6},
      {"abcd", 0x9747b28c, 0xF0478627},
      {"abc", 0x9747b28c, 0xC84A62DD},
      {"Hello, world!", 0x9747b28c, 0x24884CBA},
      {"The quick brown fox jumps over the lazy dog", 0x9747b28c, 0x2FA826CD},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(lu::detail::MurmurHash3_x86_32(c.text, std::char_traits<char>::length(c.text), c.seed), c.hash)
        << c.text;
  }
  const unsigned char zeros[4] = {0, 0, 0, 0};
  EXPECT_EQ(lu::detail::MurmurHash3_x86_32(zeros, 4, 0), 0x2362F9DEu);
}
