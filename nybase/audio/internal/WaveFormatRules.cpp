// Default channel masks and the channel configuration a fmt chunk stands for.
#include "WaveFormatRules.h"

#include <bit>

namespace nybase::audio::detail {
namespace {

NyChannelConfig DefaultConfig(unsigned numChannels) {
  const uint32_t mask = DefaultChannelMask(numChannels);
  return NyChannelConfig(numChannels,
                                 mask ? NyChannelConfigType_Standard
                                      : NyChannelConfigType_Anonymous,
                                 mask);
}

bool IsAmbisonicCount(unsigned n) { return n < 10 || n == 11 || n == 16 || n == 25 || n == 36; }

}  // namespace

uint32_t DefaultChannelMask(unsigned numChannels) {
  static constexpr uint32_t k_masks[9] = {0, 0x4, 0x3, 0xB, 0x603, 0x607, 0x60F, 0x637, 0x63F};
  return numChannels < 9 ? k_masks[numChannels] : 0;
}

NyChannelConfig ChannelConfigFromFormat(const WAVEFORMATEXTENSIBLE& format) {
  const unsigned n = format.Format.nChannels;
  if (format.Format.wFormatTag != WAVE_FORMAT_EXTENSIBLE) return DefaultConfig(n);
  if (format.dwChannelMask == 0) {
    if (format.SubFormat == KSDATAFORMAT_SUBTYPE_AMBISONIC_B_FORMAT_PCM && IsAmbisonicCount(n)) {
      return NyChannelConfig(n, NyChannelConfigType_Ambisonic, 0);
    }
    return DefaultConfig(n);
  }
  // Front-left/right-of-centre and everything above top-back-right are dropped.
  uint32_t mask = format.dwChannelMask & 0x3FF3F;
  if (unsigned(std::popcount(mask)) != n) return DefaultConfig(n);
  if ((mask & 0x7) == 0x1) mask = (mask & ~0x1u) | 0x4;           // mono left is centre
  if ((mask & 0x210) == 0x10) mask = (mask & ~0x30u) | 0x600;     // back pair without sides
  return NyChannelConfig(unsigned(std::popcount(mask)), NyChannelConfigType_Standard,
                                 mask);
}

}  // namespace nybase::audio::detail
