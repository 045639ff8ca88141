// Display strings of channel configurations, channel orderings and codec names.
#include <gtest/gtest.h>

#include <bit>
#include <string>
#include <vector>

#include <nybase/NYBase.h>

namespace {

NyChannelConfig Make(uint32_t n, uint32_t type, uint32_t mask) { return NyChannelConfig(n, type, mask); }
constexpr uint32_t kAnon = 0, kStd = 1, kAmbi = 2, kObj = 3;

std::vector<std::wstring> Names(NyChannelConfig c) {
  std::vector<CStdStr<wchar_t>> v{L"stale"};
  StringHelp::ChannelConfigToDisplayNames(c, v);
  return {v.begin(), v.end()};
}

std::vector<std::wstring> Numbers(unsigned n) {
  std::vector<std::wstring> v;
  for (unsigned i = 1; i <= n; ++i) v.push_back(std::to_wstring(i));
  return v;
}

TEST(ChannelMaskToNumChannels, SplitsEarLevelLfeAndHeight) {
  struct Case {
    unsigned mask;
    int ear, lfe, height;
  } cases[] = {
      {0x0, 0, 0, 0},        {0x60F, 5, 1, 0},  // 5.1 sides
      {0x2D63F, 7, 1, 4},    {0x100, 0, 0, 1},  // BC counts as height
      {0x40, 0, 0, 1},       {0xFFFFFFFFu, 7, 1, 24},
  };
  for (const Case& c : cases) {
    unsigned char ear = 99, lfe = 99, height = 99;
    StringHelp::ChannelMaskToNumChannels(c.mask, ear, lfe, height);
    EXPECT_EQ(ear, c.ear) << std::hex << c.mask;
    EXPECT_EQ(lfe, c.lfe) << std::hex << c.mask;
    EXPECT_EQ(height, c.height) << std::hex << c.mask;
  }
}

TEST(ChannelConfigDisplayName, NamesEachType) {
  struct Case {
    NyChannelConfig config;
    const wchar_t* expected;
  } cases[] = {
      {Make(0, kAnon, 0), L""},
      {Make(2, kAnon, 0), L"Anonymous (2 channels)"},
      {Make(6, kStd, 0x60F), L"5.1"},
      {Make(12, kStd, 0x2D63F), L"7.1.4"},
      {Make(3, kStd, 0x103), L"2.0.1"},
      {Make(0, kStd, 0), L"0.0"},
      {Make(4, kAmbi, 0), L"Ambisonics (4 channels)"},
      {Make(5, kObj, 0), L"Audio Objects"},
      {Make(4, 4, 0x3), L"previous"},  // unknown type: untouched
  };
  for (const Case& c : cases) {
    CStdStr<wchar_t> s(L"previous");
    StringHelp::ChannelConfigDisplayName(c.config, s);
    EXPECT_EQ(s, c.expected) << std::hex << c.config.Serialize();
  }
}

TEST(ChannelConfigToDisplayNames, StandardNamesPutSidesBeforeBacksAndLfeLast) {
  struct Case {
    unsigned mask;
    std::vector<std::wstring> expected;
  } cases[] = {
      {0x63F, {L"L", L"R", L"C", L"SL", L"SR", L"BL", L"BR", L"LFE"}},
      {0x3F, {L"L", L"R", L"C", L"BL", L"BR", L"LFE"}},
      {0x2D63F, {L"L", L"R", L"C", L"SL", L"SR", L"BL", L"BR", L"HFL", L"HFR", L"HBL", L"HBR", L"LFE"}},
      {0x3FF3F,
       {L"L", L"R", L"C", L"SL", L"SR", L"BL", L"BR", L"BC", L"T", L"HFL", L"HFC", L"HFR", L"HBL",
        L"HBC", L"HBR", L"LFE"}},
      // Without C the re-ordering still shifts by two rows from the count of front speakers.
      {0x633, {L"L", L"R", L"BR", L"SL", L"BL", L"SR"}},
      {0x0, {}},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Names(Make(static_cast<unsigned>(std::popcount(c.mask)), kStd, c.mask)), c.expected)
        << std::hex << c.mask;
  }
}

TEST(ChannelConfigToDisplayNames, OtherTypes) {
  EXPECT_EQ(Names(Make(4, kAmbi, 0)), (std::vector<std::wstring>{L"W", L"Y", L"Z", L"X"}));
  EXPECT_EQ(Names(Make(9, kAmbi, 0)),
            (std::vector<std::wstring>{L"W", L"Y", L"Z", L"X", L"V", L"T", L"R", L"S", L"U"}));
  EXPECT_EQ(Names(Make(10, kAmbi, 0)), std::vector<std::wstring>(10, L"X"));
  EXPECT_EQ(Names(Make(16, kAmbi, 0)).back(), L"P");
  EXPECT_EQ(Names(Make(17, kAmbi, 0)), Numbers(17));
  EXPECT_EQ(Names(Make(0, kAmbi, 0)), Numbers(0));
  EXPECT_EQ(Names(Make(3, kAnon, 0)), Numbers(3));
  EXPECT_EQ(Names(Make(255, kObj, 0)), Numbers(255));
  EXPECT_EQ(Names(Make(2, 5, 0x3)), Numbers(0));
}

TEST(GetChannelConfigOverrideString, AppendsTheChannelOrder) {
  struct Case {
    NyChannelConfig config;
    unsigned ordering;
    const wchar_t* expected;
  } cases[] = {
      {Make(6, kStd, 0x60F), 1, L"5.1 (L,C,R,SL,SR,LFE)"},
      {Make(6, kStd, 0x60F), 0, L"5.1 (L,R,C,LFE,SL,SR)"},
      {Make(12, kStd, 0x2D63F), 1, L"7.1.4 (L,C,R,SL,SR,BL,BR,LFE,HFL,HFR,HBL,HBR)"},
      {Make(3, kStd, 0x103), 1, L"2.0.1 (L,R)"},  // BC has no place in the alternative order
      {Make(3, kStd, 0x103), 0, L"2.0.1 (L,R,BC)"},
      {Make(3, kStd, 0x43), 0, L"2.0.1 (L,R,)"},  // 0x40 has no speaker name
      {Make(2, kAnon, 0), 1, L"Anonymous (2 channels)"},
      {Make(0, kAnon, 0), 2, L""},
      {Make(4, kAmbi, 0), 0, L"Ambisonics (4 channels) (AmbiX)"},
      {Make(4, kAmbi, 0), 2, L"Ambisonics (4 channels) (FuMa)"},
      {Make(2, kObj, 0), 0, L"Audio Objects (AmbiX)"},
      {Make(2, 4, 0), 1, L" (FuMa)"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(StringHelp::GetChannelConfigOverrideString(c.config, c.ordering), c.expected)
        << std::hex << c.config.Serialize() << " ordering " << c.ordering;
  }
}

TEST(GetChannelConfigOverridePermutations, ListsEveryOverrideOfACount) {
  struct Case {
    unsigned n;
    std::vector<long long> expected;
  } cases[] = {
      {0, {0, 0x200000200, 0x200}},
      {2, {2, 0xC102, 0x3102, 0x200000202, 0x202}},
      {3, {3, 0xB103, 0x7103, 0x100007103, 0x200000203, 0x203}},
      {6,
       {6, 0x60F106, 0x10060F106, 0x633106, 0x100633106, 0x5603106, 0x200000206, 0x206}},
      {10, {10, 0x2D60F10A, 0x12D60F10A, 0x2DE0710A, 0x563F10A, 0x10563F10A}},
      {14, {14, 0x2FE3F10E}},
      {15, {15}},
      {16, {16, 0x200000210, 0x210}},
      {25, {25, 0x219}},
      {256, {0}},
  };
  for (const Case& c : cases) {
    std::vector<long long> got{-7};
    StringHelp::GetChannelConfigOverridePermutations(c.n, got);
    std::vector<long long> expected{-7};  // appended after what was there
    expected.insert(expected.end(), c.expected.begin(), c.expected.end());
    EXPECT_EQ(got, expected) << "n = " << c.n;
  }
}

TEST(FmtTagToString, NamesKnownCodecs) {
  struct Case {
    unsigned short tag;
    const wchar_t* expected;
  } cases[] = {
      {1, L"PCM"},          {0xFFFE, L"PCM"},     {2, L"ADPCM"},        {0x8311, L"ptADPCM"},
      {0xFFFB, L"VAG"},     {0xFFFC, L"ATRAC9"},  {0xFFFF, L"VORBIS"},  {0x0166, L"XMA"},
      {0x3039, L"OPUSNX"},  {0x3040, L"OPUS"},    {0x3041, L"VLE OPUS"}, {0xFFFD, L"Unknown(65533)"},
  };
  for (const Case& c : cases) EXPECT_EQ(StringHelp::FmtTagToString(c.tag), c.expected) << c.tag;
}

}  // namespace
