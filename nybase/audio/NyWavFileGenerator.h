// NyWavFileGenerator: synthesises a test tone (sine, triangle, square, noise or silence) into a
// WAV file with fades in and out.
#pragma once

#include <cstdint>

#include <nybase/base/NyChannelConfig.h>
#include <nybase/documents/NyError.h>
#include <nybase/files/Path.h>

class NyWavFileGenerator {
 public:
  // 16 selects 16-bit integer PCM; any other value selects 32-bit float.
  enum BitDepth : int { BitDepth_16 = 16, BitDepth_32 = 32 };
  // The value 0 and any value above 4 give silence.
  enum Waveform : int {
    Waveform_Silence = 0,
    Waveform_Sine = 1,
    Waveform_Triangle = 2,
    Waveform_Square = 3,
    Waveform_Noise = 4,
  };

  // Writes (sustainTime + fadeInTime + fadeOutTime) x sampleRate frames (float arithmetic,
  // truncated) of `waveform` at `frequency` Hz and `levelDb` dB full scale to `path`, as an
  // extensible-format WAV ("fmt " of 40 bytes, a zero "hash", "data") through NyWavFileWriter.
  // The level ramps linearly from 0 over fadeInTime, holds for sustainTime and falls to 0 over
  // fadeOutTime (seconds). Channel c carries the signal when bit c % 64 of `channelMask` is set,
  // silence otherwise. The channel count, type and mask come from `config`; type 2 (ambisonic)
  // gives the B-format sub-format. The directory of `path` is made when missing (a bare file
  // name is written in the current directory).
  // Failure: `error` receives a new "ny.velmoor.file_error" record when the directory cannot be
  // made ("Could not create the directory for PATH") or the file cannot be opened ("Could not open
  // the file PATH"); it is left untouched otherwise, also when a later write fails (the file is
  // then incomplete).
  // Limits on bad input (no division by zero, no unbounded file):
  // - a total that is NaN, infinite, negative or below one frame, a sample rate of 0 and a
  //   configuration of 0 channels give a file with an empty "data" chunk;
  // - the total is capped at the frames whose data fits below 4 GiB (the writer's limit);
  // - fadeOutTime 0 silences anything past the sustain instead of dividing by it;
  // - a non-finite frequency counts as 0 Hz, a NaN level as silence (gain 0); frequencies above
  //   half the rate are not refused and alias as the sampled formula gives.
  static void WriteTone(const lu::Path& path, BitDepth depth, unsigned int sampleRate,
                        NyChannelConfig config, float levelDb, float sustainTime, float fadeInTime,
                        float fadeOutTime, Waveform waveform, float frequency,
                        unsigned long long channelMask, NyError*& error);

  // The linear gain of `levelDb`: 0 beyond +-740 dB (and for NaN), exactly 1 at 0 dB, otherwise a
  // fast approximation of 10^(levelDb / 20) in 32-bit arithmetic (within about 0.1 %).
  static float LevelToGain(float levelDb);
  // The frame count of a tone: (sustain + fadeIn + fadeOut) x sampleRate in floats, truncated;
  // 0 for NaN, infinite, negative or 0-frame totals, capped at `maxFrames`.
  static unsigned long long ToneFrames(float sustainTime, float fadeInTime, float fadeOutTime,
                                       unsigned int sampleRate, unsigned long long maxFrames);
  // One sample of the waveform at phase `phase` (cycles) before gain; `noiseState` advances for
  // noise only.
  static float WaveSample(Waveform waveform, float phase, uint32_t& noiseState);
};
