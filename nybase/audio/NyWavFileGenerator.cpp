// NyWavFileGenerator: the tone formulas, the envelope and the block loop over NyWavFileWriter.
#include <nybase/audio/NyWavFileGenerator.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>

#include <nybase/audio/NyWavFileWriter.h>
#include <nybase/audio/WaveFormat.h>
#include <nybase/audio/internal/ExactFmod.h>
#include <nybase/files/DirectoryRecursive.h>
#include <nybase/platform/Utf.h>

namespace {

using nybase::audio::detail::ExactFmod;

constexpr unsigned int k_blockFrames = 16384;
// Bytes before the samples: the RIFF header, "fmt " of 40, "hash" of 16 and the "data" header.
constexpr unsigned long long k_headerBytes = 12 + 8 + 40 + 8 + 16 + 8;
constexpr unsigned long long k_maxFileSize = 0xFFFFFFFFull;

// The fast sine of one period per unit of phase, all in floats; within about 0.1 % of sin.
float FastSine(float phase) {
  const float x = ExactFmod(phase * 6.2831855f + 3.1415927f, 6.2831855f) - 3.1415927f;
  const float y = x * 1.2732395f - std::fabs(x) * x * 0.4052847f;
  return y + (std::fabs(y) * y - y) * 0.225f;
}

// The waveforms of WaveSample, inlined into the frame loop.
inline float Wave(NyWavFileGenerator::Waveform waveform, float phase, uint32_t& noiseState) {
  switch (waveform) {
    case NyWavFileGenerator::Waveform_Sine:
      return FastSine(phase);
    case NyWavFileGenerator::Waveform_Triangle:
      return std::fabs(ExactFmod(phase * 4.0f + 3.0f, 4.0f) - 2.0f) - 1.0f;
    case NyWavFileGenerator::Waveform_Square:
      return ExactFmod(phase, 1.0f) < 0.5f ? 1.0f : -1.0f;
    case NyWavFileGenerator::Waveform_Noise:
      noiseState = noiseState * 214013u + 2531011u;
      return static_cast<float>(static_cast<int32_t>(noiseState)) * 2.3283064e-10f;
    default:
      return 0.0f;
  }
}

NyError* FileError(const char* what, const lu::Path& path) {
  const wchar_t* text = path.c_str();
  std::string message(what);
  message += lu::platform::Utf16ToUtf8(text, std::wcslen(text));
  return new (std::nothrow) NyError(NyError::k_csFileErrorUri, CStdStr<char>(message.c_str()));
}

}  // namespace

float NyWavFileGenerator::LevelToGain(float levelDb) {
  const float a = levelDb * 0.05f;
  // NaN fails both comparisons below; it is silence rather than an undefined conversion.
  if (std::isnan(a) || a < -37.0f || a > 37.0f) return 0.0f;
  if (a == 0.0f) return 1.0f;
  // Within +-37 the integer stays between 34298192 and 2096408240: no overflow.
  const int32_t i = static_cast<int32_t>(a * 27866352.0f + 1065353216.0f);
  const float high = std::bit_cast<float>(static_cast<uint32_t>(i) & 0xFF800000u);
  const float m = std::bit_cast<float>((static_cast<uint32_t>(i) & 0x7FFFFFu) | 0x3F800000u);
  return high * ((m * 0.32518977f + 0.020805772f) * m + 0.65304345f);
}

unsigned long long NyWavFileGenerator::ToneFrames(float sustainTime, float fadeInTime,
                                                  float fadeOutTime, unsigned int sampleRate,
                                                  unsigned long long maxFrames) {
  const float total = (sustainTime + fadeInTime + fadeOutTime) * static_cast<float>(sampleRate);
  // NaN, infinite and negative totals fail this test, so the conversion below is defined.
  if (!std::isfinite(total) || !(total >= 1.0f)) return 0;
  if (total >= static_cast<float>(maxFrames)) return maxFrames;
  return static_cast<unsigned long long>(total);
}

float NyWavFileGenerator::WaveSample(Waveform waveform, float phase, uint32_t& noiseState) {
  return Wave(waveform, phase, noiseState);
}

void NyWavFileGenerator::WriteTone(const lu::Path& path, BitDepth depth, unsigned int sampleRate,
                                   NyChannelConfig config, float levelDb, float sustainTime,
                                   float fadeInTime, float fadeOutTime, Waveform waveform,
                                   float frequency, unsigned long long channelMask,
                                   NyError*& error) {
  // A bare file name lives in the current directory, which exists: only a named one is made.
  const CStdStr<wchar_t> directory = path.GetFileDirectory(false);
  if (!directory.empty() && !lu::EnsureDirectoryExists(directory)) {
    error = FileError("Could not create the directory for ", path);
    return;
  }
  NyWavFileWriter writer;
  if (!writer.Open(path, false)) {
    error = FileError("Could not open the file ", path);
    return;
  }

  const bool is16 = depth == 16;
  const unsigned int channels = config.GetNumChannels();
  const unsigned int bytesPerSample = is16 ? 2 : 4;
  WAVEFORMATEXTENSIBLE format{};
  format.Format.wFormatTag = WAVE_FORMAT_EXTENSIBLE;
  format.Format.nChannels = static_cast<uint16_t>(channels);
  format.Format.nSamplesPerSec = sampleRate;
  format.Format.nBlockAlign = static_cast<uint16_t>(channels * bytesPerSample);
  format.Format.nAvgBytesPerSec = sampleRate * format.Format.nBlockAlign;
  format.Format.wBitsPerSample = static_cast<uint16_t>(bytesPerSample * 8);
  format.Format.cbSize = 22;
  format.Samples.wValidBitsPerSample = format.Format.wBitsPerSample;
  format.dwChannelMask = config.GetChannelMask();
  format.SubFormat = config.GetType() == NyChannelConfigType_Ambisonic
                         ? KSDATAFORMAT_SUBTYPE_AMBISONIC_B_FORMAT_PCM
                         : KSDATAFORMAT_SUBTYPE_PCM;
  format.SubFormat.Data1 = is16 ? 1 : 3;
  writer.SetFormat(format);
  unsigned char zeroHash[16] = {};
  writer.SetHash(zeroHash, sizeof zeroHash);
  writer.WriteChunks(ChunkFlag_Fmt | ChunkFlag_Data);

  const float gain = LevelToGain(levelDb);
  // A non-finite frequency would make every phase NaN; it counts as 0 Hz instead.
  if (!std::isfinite(frequency)) frequency = 0.0f;
  uint32_t noiseState = 0;
  const unsigned long long maxFrames =
      channels == 0 ? 0 : (k_maxFileSize - k_headerBytes) / format.Format.nBlockAlign;
  unsigned long long remaining =
      ToneFrames(sustainTime, fadeInTime, fadeOutTime, sampleRate, maxFrames);
  std::unique_ptr<float[]> buffer;
  if (remaining > 0) buffer.reset(new (std::nothrow) float[size_t{channels} * k_blockFrames]);
  if (!buffer) remaining = 0;

  const float rate = static_cast<float>(sampleRate);
  const float sustainEnd = fadeInTime + sustainTime;
  float startTime = 0.0f;
  while (remaining > 0) {
    const unsigned int frames =
        remaining < k_blockFrames ? static_cast<unsigned int>(remaining) : k_blockFrames;
    float* out = buffer.get();
    for (unsigned int i = 0; i < frames; ++i) {
      const float t = static_cast<float>(i) / rate + startTime;
      const float s = Wave(waveform, t * frequency, noiseState) * gain;
      float value;
      if (t < fadeInTime) {
        value = t / fadeInTime * s;
      } else if (t < sustainEnd) {
        value = s;
      } else if (fadeOutTime != 0.0f) {
        value = (fadeOutTime + sustainEnd - t) * s / fadeOutTime;
      } else {
        // Float rounding of the start time can carry the last frames past the sustain; with no
        // fade-out they are silent rather than a division by zero.
        value = 0.0f;
      }
      for (unsigned int c = 0; c < channels; ++c) {
        *out++ = (channelMask >> (c & 63)) & 1 ? value : 0.0f;
      }
    }
    writer.WriteReal32AsPCMData(frames, buffer.get());
    startTime += static_cast<float>(frames) / rate;
    remaining -= frames;
  }
  writer.Close();
}
