// NyChannelConfig: the 32-bit packed channel configuration shared by the text and audio layers.
#pragma once

#include <bit>
#include <cstdint>

// Configuration types held in bits 8 to 11 of a NyChannelConfig. The numbers are stored in files.
enum NyChannelConfigType : uint32_t {
  NyChannelConfigType_Anonymous = 0,
  NyChannelConfigType_Standard = 1,
  NyChannelConfigType_Ambisonic = 2,
  NyChannelConfigType_Objects = 3,
};

// Bits 0-7: number of channels; bits 8-11: configuration type; bits 12-31: channel mask in the bit
// assignment of a WAVE dwChannelMask (only its low 20 bits fit). Passed by value; its packed word
// is what the private 24-byte fmt form stores on disk.
struct NyChannelConfig {
  uint32_t uNumChannels : 8;
  uint32_t eConfigType : 4;
  uint32_t uChannelMask : 20;

  constexpr NyChannelConfig() : uNumChannels(0), eConfigType(0), uChannelMask(0) {}
  // From the packed word (implicit: the word and the record are the same thing).
  constexpr NyChannelConfig(uint32_t packed)
      : uNumChannels(packed & 0xFFu), eConfigType((packed >> 8) & 0xFu), uChannelMask(packed >> 12) {}
  constexpr NyChannelConfig(uint32_t numChannels, uint32_t type, uint32_t mask)
      : uNumChannels(numChannels & 0xFFu), eConfigType(type & 0xFu), uChannelMask(mask & 0xFFFFFu) {}

  // The packed 32-bit word.
  constexpr uint32_t Serialize() const {
    return uNumChannels | (uint32_t{eConfigType} << 8) | (uint32_t{uChannelMask} << 12);
  }
  constexpr uint32_t GetNumChannels() const { return uNumChannels; }
  constexpr uint32_t GetType() const { return eConfigType; }
  constexpr uint32_t GetChannelMask() const { return uChannelMask; }

  friend constexpr bool operator==(NyChannelConfig a, NyChannelConfig b) {
    return a.Serialize() == b.Serialize();
  }
};
static_assert(sizeof(NyChannelConfig) == 4, "NyChannelConfig is one 32-bit word");
#if !defined(__clang__)
// clang cannot bit_cast a record with bit-fields in a constant expression; g++ checks the layout.
static_assert(std::bit_cast<uint32_t>(NyChannelConfig(0x60F106u)) == 0x60F106u,
              "bit-fields must pack from the least significant bit");
#endif
