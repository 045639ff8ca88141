// Route tables: the pipeline speaker sequence and the Furse-Malham to ACN permutation and gains.
#include "ChannelRoutes.h"

#include <bit>

namespace nybase::audio::detail {
namespace {

// Channel-mask bits in the order the pipeline lays out speakers.
constexpr uint32_t k_pipelineSequence[12] = {0x1,   0x4,  0x2,    0x200,  0x400,  0x10,
                                             0x20,  0x8,  0x1000, 0x4000, 0x8000, 0x20000};

// Destination (ACN) channel of each Furse-Malham source channel, by channel count. The rows of 10
// and 12 to 15 channels are deliberately all zeros: those counts have no Furse-Malham layout.
constexpr uint8_t k_fumaDest[17][16] = {
    {},
    {0},
    {0, 1},
    {0, 2, 1},
    {0, 3, 1, 2},
    {0, 2, 1, 4, 3},
    {0, 3, 1, 2, 5, 4},
    {0, 2, 1, 4, 3, 6, 5},
    {0, 3, 1, 2, 5, 4, 7, 6},
    {0, 3, 1, 2, 6, 7, 5, 8, 4},
    {},
    {0, 3, 1, 2, 6, 7, 5, 8, 4, 10, 9},
    {},
    {},
    {},
    {},
    {0, 3, 1, 2, 6, 7, 5, 8, 4, 12, 13, 11, 14, 10, 15, 9},
};

// ACN index of each destination channel, by channel count: mixed-order layouts skip components.
constexpr uint8_t k_fumaAcn[17][16] = {
    {},
    {0},
    {0, 1},
    {0, 1, 3},
    {0, 1, 2, 3},
    {0, 1, 3, 4, 8},
    {0, 1, 2, 3, 4, 8},
    {0, 1, 3, 4, 8, 9, 15},
    {0, 1, 2, 3, 4, 8, 9, 15},
    {0, 1, 2, 3, 4, 5, 6, 7, 8},
    {},
    {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 15},
    {},
    {},
    {},
    {},
    {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15},
};

// Furse-Malham weights of ACN 0 to 15 (32-bit values as the format defines them).
constexpr float k_fumaGain[16] = {1.0f,        0.70710677f, 0.70710677f, 0.70710677f,
                                  0.61237246f, 0.61237246f, 0.70710677f, 0.61237246f,
                                  0.61237246f, 0.559017f,   0.52704626f, 0.5962848f,
                                  0.70710677f, 0.5962848f,  0.52704626f, 0.559017f};

void Clear(ChannelRoute& route) {
  route.dest.fill(-1);
  route.gain.fill(1.0f);
  route.hasGain = false;
}

}  // namespace

void MakeIdentityRoute(unsigned count, ChannelRoute& route) {
  Clear(route);
  for (unsigned c = 0; c < count && c < k_maxRouteChannels; ++c) route.dest[c] = int16_t(c);
}

void MakePipelineRoute(uint32_t mask, unsigned count, ChannelRoute& route) {
  Clear(route);
  unsigned source = 0;
  for (uint32_t bit : k_pipelineSequence) {
    if ((mask & bit) == 0) continue;
    const unsigned dest = unsigned(std::popcount(mask & (bit - 1)));
    // A mask with more speakers than the configuration's count names channels that don't exist.
    if (source < count && dest < count) route.dest[source] = int16_t(dest);
    ++source;
  }
}

void MakeFuMaRoute(unsigned count, ChannelRoute& route) {
  if (count == 0 || count > 16) {
    MakeIdentityRoute(count, route);
    return;
  }
  Clear(route);
  for (unsigned c = 0; c < count; ++c) {
    route.dest[c] = k_fumaDest[count][c];
    route.gain[c] = k_fumaGain[k_fumaAcn[count][c]];
  }
  route.hasGain = true;
}

float FuMaGainOfAcn(unsigned acn) { return acn < 16 ? k_fumaGain[acn] : 1.0f; }

bool IsIdentityRoute(const ChannelRoute& route, unsigned count) {
  if (route.hasGain) return false;
  for (unsigned c = 0; c < count && c < k_maxRouteChannels; ++c) {
    if (route.dest[c] != int16_t(c)) return false;
  }
  return true;
}

}  // namespace nybase::audio::detail
