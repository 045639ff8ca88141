// Channel routes of the WAV reader: where each source channel of a file goes in the caller's order.
#pragma once

#include <array>
#include <cstdint>

namespace nybase::audio::detail {

inline constexpr unsigned k_maxRouteChannels = 256;
// Mask bits that the pipeline sequence doesn't name; a mask with any of them isn't reordered.
inline constexpr uint32_t k_nonPipelineMask = 0xD29C0;

// Destination channel of each source channel; -1 leaves the source out. gain[d] multiplies
// destination d after conversion when hasGain is set.
struct ChannelRoute {
  std::array<int16_t, k_maxRouteChannels> dest;
  std::array<float, 16> gain;
  bool hasGain = false;
};

// The identity: source c goes to destination c, for c below count.
void MakeIdentityRoute(unsigned count, ChannelRoute& route);
// Pipeline order (L C R SL SR BL BR LFE TFL TFR TBL TBR) to the ascending bit order of mask. Sources
// and destinations at or beyond count are left out.
void MakePipelineRoute(uint32_t mask, unsigned count, ChannelRoute& route);
// Furse-Malham order and weights to ACN order, for count 1 to 16 (other counts: identity).
void MakeFuMaRoute(unsigned count, ChannelRoute& route);

// The Furse-Malham weight that ACN index acn (0-15) is multiplied by.
float FuMaGainOfAcn(unsigned acn);

// True when route sends every source c below count to c with no gain.
bool IsIdentityRoute(const ChannelRoute& route, unsigned count);

}  // namespace nybase::audio::detail
