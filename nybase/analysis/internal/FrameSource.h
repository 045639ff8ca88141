// IFrameSource: interleaved float frames read block by block, the input of the analysers.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>

#include <nybase/audio/NyAudioFileReader.h>

namespace lu::analysis::detail {

// What the analysers need of an audio reader: a seek and a bounded read of interleaved floats.
class IFrameSource {
 public:
  virtual ~IFrameSource() = default;
  // Positions the next read at `frame`.
  virtual void SeekToFrame(unsigned int frame) = 0;
  // Writes up to `count` frames to `out` and returns how many it wrote; 0 at the end or on error.
  virtual unsigned int ReadFrames(unsigned int count, float* out) = 0;
};

// Frames held by the caller in memory; the block is not copied and must outlive the source.
class MemoryFrameSource final : public IFrameSource {
 public:
  MemoryFrameSource(const float* samples, unsigned int channels, unsigned int frames)
      : m_samples(samples), m_channels(channels), m_frames(samples ? frames : 0) {}

  void SeekToFrame(unsigned int frame) override { m_position = std::min(frame, m_frames); }
  unsigned int ReadFrames(unsigned int count, float* out) override {
    const unsigned int n = std::min(count, m_frames - m_position);
    if (n != 0 && m_channels != 0) {
      std::memcpy(out, m_samples + size_t{m_position} * m_channels, size_t{n} * m_channels * sizeof(float));
    }
    m_position += n;
    return n;
  }

 private:
  const float* m_samples;
  unsigned int m_channels;
  unsigned int m_frames;
  unsigned int m_position = 0;
};

// Frames of an opened reader whose chunks have been read: interleaved floats in the file's order,
// as many per frame as the channel count of the format's channel configuration.
class ReaderFrameSource final : public IFrameSource {
 public:
  explicit ReaderFrameSource(NyAudioFileReader& reader) : m_reader(reader) {}
  void SeekToFrame(unsigned int frame) override { m_reader.SeekToAudioFrame(frame); }
  unsigned int ReadFrames(unsigned int count, float* out) override {
    return std::min(m_reader.ReadPCMDataAsFloat32(count, out), count);
  }

 private:
  NyAudioFileReader& m_reader;
};

}  // namespace lu::analysis::detail
