// NyChannelConfig: the packed 32-bit channel configuration shared by the text and audio layers.
#pragma once

#include <cstdint>

// Bits 0-7: number of channels. Bits 8-11: configuration type (see NY::ChannelConfig). Bits
// 12-31: channel mask, in the bit assignment of dwChannelMask (0x1 L, 0x2 R, 0x4 C, 0x8 LFE, ...).
// The layout is stored in files (the private 24-byte fmt form), so it never changes.
using NyChannelConfig = uint32_t;

namespace NY::ChannelConfig {

// Configuration types; their numbers are stored in files.
inline constexpr uint32_t k_typeAnonymous = 0;
inline constexpr uint32_t k_typeStandard = 1;
inline constexpr uint32_t k_typeAmbisonic = 2;
inline constexpr uint32_t k_typeObjects = 3;

constexpr uint32_t NumChannels(NyChannelConfig c) noexcept { return c & 0xFFu; }
constexpr uint32_t Type(NyChannelConfig c) noexcept { return (c >> 8) & 0xFu; }
constexpr uint32_t Mask(NyChannelConfig c) noexcept { return c >> 12; }

// Packs the three fields; each is cut to its width (8, 4 and 20 bits).
constexpr NyChannelConfig Make(uint32_t numChannels, uint32_t type, uint32_t mask) noexcept {
  return (numChannels & 0xFFu) | ((type & 0xFu) << 8) | ((mask & 0xFFFFFu) << 12);
}

}  // namespace NY::ChannelConfig
