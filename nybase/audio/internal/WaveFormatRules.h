// Format rules of the WAV reader: default channel masks and the channel configuration of a fmt chunk.
#pragma once

#include <cstdint>

#include <nybase/audio/WaveFormat.h>

namespace nybase::audio::detail {

// The default speaker mask by channel count (1 C, 2 L R, ... 8 = 7.1 with sides); 0 above 8.
uint32_t DefaultChannelMask(unsigned numChannels);

// The packed configuration a fmt image stands for (the 40-byte image, zero beyond what the chunk
// held): the mask tidied (front-left alone becomes centre, a lone back pair becomes the side pair)
// when it agrees with nChannels, ambisonic for the B-format GUID with a usable count, otherwise the
// default mask for nChannels.
NyChannelConfig ChannelConfigFromFormat(const WAVEFORMATEXTENSIBLE& format);

}  // namespace nybase::audio::detail
