// StringHelp's display strings for audio formats: channel configurations, orderings, codec names.
#include <nybase/text/AudioDisplayStrings.h>

#include <nybase/text/StringHelp.h>

#include <array>
#include <bit>
#include <cstdint>

namespace StringHelp {
namespace {

struct SpeakerRow {
  uint32_t bit;
  const wchar_t* name;
};

// The speaker names, in display order. LFE is last whatever its place in the mask; the order of
// the rows (not of the bits) is what ChannelConfigToDisplayNames walks.
constexpr std::array<SpeakerRow, 16> k_speakers = {{
    {0x1, L"L"},      {0x2, L"R"},      {0x4, L"C"},       {0x10, L"BL"},
    {0x20, L"BR"},    {0x200, L"SL"},   {0x400, L"SR"},    {0x100, L"BC"},
    {0x800, L"T"},    {0x1000, L"HFL"}, {0x2000, L"HFC"},  {0x4000, L"HFR"},
    {0x8000, L"HBL"}, {0x10000, L"HBC"}, {0x20000, L"HBR"}, {0x8, L"LFE"},
}};

// Furse-Malham letters of the ambisonic components in stream order, by channel count - 1. A row
// of only X is a count with no ambisonic layout.
constexpr std::array<const wchar_t*, 16> k_ambisonicLetters = {
    L"W",           L"WY",          L"WYX",           L"WYZX",
    L"WYXVU",       L"WYZXVU",      L"WYXVUQP",       L"WYZXVUQP",
    L"WYZXVTRSU",   L"XXXXXXXXXX",  L"WYZXVTRSUQP",   L"XXXXXXXXXXXX",
    L"XXXXXXXXXXXXX", L"XXXXXXXXXXXXXX", L"XXXXXXXXXXXXXXX", L"WYZXVTRSUQOMKLNP",
};

// The standard speaker layouts offered for each channel count from 1 to 14, in offer order.
struct LayoutRow {
  std::array<uint32_t, 3> masks;
  unsigned count;
};
constexpr std::array<LayoutRow, 14> k_layouts = {{
    {{0x4, 0x8}, 2},
    {{0xC, 0x3}, 2},
    {{0xB, 0x7}, 2},
    {{0xF, 0x603}, 2},
    {{0x60B, 0x607}, 2},
    {{0x60F, 0x633, 0x5603}, 3},
    {{0x63B, 0x637, 0x5607}, 3},
    {{0x63F, 0x2D603, 0x560F}, 3},
    {{0x2D607, 0x5637}, 2},
    {{0x2D60F, 0x2DE07, 0x563F}, 3},
    {{0x2DE0F, 0x2FE07, 0x2D637}, 3},
    {{0x2FE0F, 0x2D63F}, 2},
    {{0x2FE37}, 1},
    {{0x2FE3F}, 1},
}};

// The alternative speaker order: left, centre, right, sides, backs, LFE, heights. BC, T, HFC and
// HBC have no place in it.
constexpr std::array<uint32_t, 12> k_alternativeOrder = {
    0x1, 0x4, 0x2, 0x200, 0x400, 0x10, 0x20, 0x8, 0x1000, 0x4000, 0x8000, 0x20000,
};

constexpr uint32_t k_earLevelBits = 0x63F;
constexpr uint32_t k_lfeBit = 0x8;
constexpr uint32_t k_highestNamedBit = 0x20000;

// Display words go through the library's translation seam.
CStdStr<wchar_t> Localized(const wchar_t* text) { return Localize(lu::BasicStringView<wchar_t>(text)); }

// Name of the first speaker row that has `bit`; a bit with no row gives the empty text.
const wchar_t* SpeakerName(uint32_t bit) {
  for (const SpeakerRow& row : k_speakers) {
    if (row.bit == bit) return row.name;
  }
  return L"";
}

void AppendNumbers(unsigned n, std::vector<CStdStr<wchar_t>>& out) {
  out.reserve(n);
  for (unsigned i = 1; i <= n; ++i) {
    CStdStr<wchar_t> s;
    s.Format(L"%u", i);
    out.push_back(std::move(s));
  }
}

// Whether a standard layout is also offered in the alternative order: only layouts inside the
// bits that order names, with both back and side pairs, or a back/side speaker and LFE, or all of
// L, R and C.
bool HasAlternativeOrder(uint32_t mask) {
  if ((mask & ~0x2D63Fu) != 0) return false;
  const uint32_t surround = mask & 0x630u;
  return surround == 0x630u || (surround != 0 && (mask & k_lfeBit) != 0) || (mask & 0x7u) == 0x7u;
}

}  // namespace

void ChannelMaskToNumChannels(unsigned int mask, unsigned char& earLevel, unsigned char& lfe,
                              unsigned char& height) {
  earLevel = 0;
  lfe = 0;
  height = 0;
  for (unsigned bit = 0; bit < 32; ++bit) {
    const uint32_t b = 1u << bit;
    if ((mask & b) == 0) continue;
    if (b == k_lfeBit) {
      ++lfe;
    } else if ((b & k_earLevelBits) != 0) {
      ++earLevel;
    } else {
      ++height;
    }
  }
}

void ChannelConfigDisplayName(NyChannelConfig config, CStdStr<wchar_t>& out) {
  const unsigned n = config.GetNumChannels();
  switch (config.GetType()) {
    case NyChannelConfigType_Anonymous:
      if (n == 0) {
        out.clear();
      } else {
        out.Format(L"Anonymous (%u channels)", n);
      }
      return;
    case NyChannelConfigType_Standard: {
      unsigned char ear = 0, lfe = 0, height = 0;
      ChannelMaskToNumChannels(config.GetChannelMask(), ear, lfe, height);
      if (height == 0) {
        out.Format(L"%u.%u", unsigned{ear}, unsigned{lfe});
      } else {
        out.Format(L"%u.%u.%u", unsigned{ear}, unsigned{lfe}, unsigned{height});
      }
      return;
    }
    case NyChannelConfigType_Ambisonic:
      out.Format(L"Ambisonics (%u channels)", n);
      return;
    case NyChannelConfigType_Objects:
      out = Localized(L"Audio Objects");
      return;
    default:
      return;  // Unknown types leave the caller's text as it was.
  }
}

void ChannelConfigToDisplayNames(NyChannelConfig config, std::vector<CStdStr<wchar_t>>& out) {
  out.clear();
  const unsigned n = config.GetNumChannels();
  const uint32_t mask = config.GetChannelMask();
  switch (config.GetType()) {
    case NyChannelConfigType_Standard: {
      // With both back and side pairs present the sides are named before the backs: the two
      // pairs of rows after the front speakers swap places. The same arithmetic is applied when
      // the front is incomplete, on purpose: the names then fall as they fall.
      const bool swap = (mask & 0x10u) != 0 && (mask & 0x200u) != 0;
      const unsigned f = static_cast<unsigned>(std::popcount(mask & 0x7u));
      for (unsigned i = 0; i < k_speakers.size(); ++i) {
        unsigned row = i;
        if (swap) {
          if (i >= f && i <= f + 1) {
            row = i + 2;
          } else if (i >= f + 2 && i <= f + 3) {
            row = i - 2;
          }
        }
        if ((mask & k_speakers[row].bit) != 0) out.emplace_back(k_speakers[row].name);
      }
      return;
    }
    case NyChannelConfigType_Anonymous:
    case NyChannelConfigType_Objects:
      AppendNumbers(n, out);
      return;
    case NyChannelConfigType_Ambisonic:
      if (n > k_ambisonicLetters.size()) {
        AppendNumbers(n, out);
        return;
      }
      if (n == 0) return;
      out.reserve(n);
      for (unsigned i = 0; i < n; ++i) {
        out.emplace_back(1, k_ambisonicLetters[n - 1][i]);
      }
      return;
    default:
      return;
  }
}

CStdStr<wchar_t> GetChannelConfigOverrideString(NyChannelConfig config, unsigned int ordering) {
  CStdStr<wchar_t> name;
  ChannelConfigDisplayName(config, name);
  const uint32_t type = config.GetType();
  if (type == NyChannelConfigType_Anonymous) return name;

  CStdStr<wchar_t> detail;
  if (type != NyChannelConfigType_Standard) {
    detail = Localized(ordering == 0 ? L"AmbiX" : L"FuMa");
  } else {
    const uint32_t mask = config.GetChannelMask();
    bool first = true;
    auto append = [&](const wchar_t* speaker) {
      if (!first) detail.push_back(L',');
      detail.append(speaker);
      first = false;
    };
    if (ordering == 1) {
      for (uint32_t bit : k_alternativeOrder) {
        if ((mask & bit) != 0) append(SpeakerName(bit));
      }
    } else {
      for (uint32_t bit = 1; bit <= k_highestNamedBit; bit <<= 1) {
        if ((mask & bit) != 0) append(SpeakerName(bit));
      }
    }
  }
  name.append(L" (");
  name.append(detail);
  name.append(L")");
  return name;
}

void GetChannelConfigOverridePermutations(unsigned int numChannels, std::vector<long long>& out) {
  const long long n = numChannels & 0xFFu;
  out.push_back(n);  // anonymous

  if (numChannels >= 1 && numChannels <= k_layouts.size()) {
    const LayoutRow& row = k_layouts[numChannels - 1];
    for (unsigned i = 0; i < row.count; ++i) {
      const uint32_t mask = row.masks[i];
      const long long standard =
          n | (mask != 0 ? 0x100LL : 0) | (static_cast<long long>(mask) << 12);
      out.push_back(standard);
      if (HasAlternativeOrder(mask)) out.push_back(standard | (1LL << 32));
    }
  }

  // FuMa stops at the third order (16 channels); AmbiX also has the fourth and fifth.
  const bool fuma = numChannels <= 9 || numChannels == 11 || numChannels == 16;
  if (fuma) out.push_back((2LL << 32) | 0x200LL | n);
  if (fuma || numChannels == 25 || numChannels == 36) out.push_back(0x200LL | n);
}

CStdStr<wchar_t> FmtTagToString(unsigned short formatTag) {
  switch (formatTag) {
    case 0x0001:
    case 0xFFFE:
      return L"PCM";
    case 0x0002:
      return L"ADPCM";
    case 0x8311:
      return L"ptADPCM";
    case 0xFFFB:
      return L"VAG";
    case 0xFFFC:
      return L"ATRAC9";
    case 0xFFFF:
      return L"VORBIS";
    case 0x0166:
      return L"XMA";
    case 0x3039:
      return L"OPUSNX";
    case 0x3040:
      return L"OPUS";
    case 0x3041:
      return L"VLE OPUS";
    default: {
      CStdStr<wchar_t> s;
      s.Format(L"Unknown(%u)", unsigned{formatTag});
      return s;
    }
  }
}

}  // namespace StringHelp
