// StringHelp's display strings for audio formats: channel configurations, orderings, codec names.
#pragma once

#include <vector>

#include <nybase/base/NyChannelConfig.h>
#include <nybase/text/CStdStr.h>

namespace StringHelp {

// Counts the set bits of a channel mask (all 32): 0x8 as LFE, any other bit of 0x63F as an
// ear-level speaker (front, back, side), every other bit as a height speaker (BC and T included).
// The three outputs are always overwritten, starting from 0.
void ChannelMaskToNumChannels(unsigned int mask, unsigned char& earLevel, unsigned char& lfe,
                              unsigned char& height);

// Short name of a configuration: "Anonymous (N channels)", "5.1" / "7.1.4" for a standard one,
// "Ambisonics (N channels)", "Audio Objects". An anonymous configuration of 0 channels empties
// `out`; a type above 3 leaves `out` unchanged.
void ChannelConfigDisplayName(NyChannelConfig config, CStdStr<wchar_t>& out);

// One name per channel, replacing the vector's content: speaker names for a standard
// configuration (sides before backs when both are present, LFE last), Furse-Malham letters for an
// ambisonic one of up to 16 channels, otherwise "1".."N". A type above 3 gives no names.
void ChannelConfigToDisplayNames(NyChannelConfig config, std::vector<CStdStr<wchar_t>>& out);

// The display name followed by the channel order in brackets: "5.1 (L,R,C,LFE,SL,SR)" in mask
// order, "5.1 (L,C,R,SL,SR,LFE)" for the ordering 1, "Ambisonics (4 channels) (AmbiX)" for the
// ordering 0 of a non-standard type and "(FuMa)" for any other. An anonymous configuration gets
// no brackets.
CStdStr<wchar_t> GetChannelConfigOverrideString(NyChannelConfig config, unsigned int ordering);

// Appends (without clearing) every override that fits `numChannels`: low 32 bits a
// NyChannelConfig, high 32 bits an ordering (0 default, 1 alternative speaker order, 2 FuMa).
// Order: anonymous; the standard layouts of that count, each followed by its alternative order
// where one exists; the FuMa and AmbiX ambisonic entries where the count has such a layout.
void GetChannelConfigOverridePermutations(unsigned int numChannels, std::vector<long long>& out);

// Codec name of a WAVE format tag ("PCM", "ADPCM", ...); an unknown tag gives "Unknown(N)".
CStdStr<wchar_t> FmtTagToString(unsigned short formatTag);

}  // namespace StringHelp
