// NyOnsetDetector: the two-step onset analysis on top of the spectral-flux pipeline.
#include <nybase/analysis/NyOnsetDetector.h>

#include <algorithm>
#include <cstdint>
#include <memory>

#include <nybase/audio/NyAudioFileReader.h>

#include <nybase/analysis/internal/FrameSource.h>
#include <nybase/analysis/internal/OnsetAnalysis.h>

namespace detail = lu::analysis::detail;

NyOnsetDetector::NyOnsetDetector() = default;
NyOnsetDetector::~NyOnsetDetector() = default;

void NyOnsetDetector::SetSource(const lu::Path& path) {
  if (path.IsEmpty()) return;
  std::unique_ptr<NyAudioFileReader> reader(NyAudioFileReader::Create(path, nullptr));
  if (!reader || !reader->ReadChunks(ChunkFlag_Fmt | ChunkFlag_Data)) return;
  const WaveFormatExtensible& format = reader->GetFormat();
  // The frame count divides by the block align, which a damaged format may leave at 0.
  if (format.nBlockAlign == 0) return;
  m_frames = reader->GetNumFrames();
  m_sampleRate = format.nSamplesPerSec;
  // The channel count of the configuration, which is also what each read delivers per frame.
  m_channels = format.channelConfig.GetNumChannels();
  m_hop = detail::OnsetHop(m_sampleRate);
  detail::ReaderFrameSource source(*reader);
  detail::OnsetPicker picker(m_sampleRate, m_hop, SIZE_MAX);  // a hop of rate / 100 keeps the reach near 100
  detail::StreamDetectionFunction(source, m_channels, m_frames, m_sampleRate, picker);
  // A source that produced no detection function leaves the previous onsets as they were.
  if (picker.Count() == 0) return;
  m_count = static_cast<unsigned int>(picker.Count());
  picker.Finish(m_onsets);
}

void NyOnsetDetector::SetSource(float* samples, unsigned int channels, unsigned int frames,
                                unsigned int sampleRate) {
  m_channels = channels;
  m_frames = frames;
  m_sampleRate = sampleRate;
  m_hop = detail::OnsetHop(sampleRate);
  detail::OnsetPicker picker(m_sampleRate, m_hop, SIZE_MAX);  // a hop of rate / 100 keeps the reach near 100
  detail::MemoryDetectionFunction(samples, channels, frames, sampleRate, picker);
  // A source that produced no detection function leaves the previous onsets as they were.
  if (picker.Count() == 0) return;
  m_count = static_cast<unsigned int>(picker.Count());
  picker.Finish(m_onsets);
}

void NyOnsetDetector::GetMarkerTimes(std::vector<double>& times, float sensitivity) {
  times.clear();
  // Only an exact 0 returns nothing; a NaN goes on.
  if (sensitivity == 0.0f || m_onsets.empty()) return;
  times.reserve(m_onsets.size());
  const float low = m_onsets.front().strength;
  const float high = m_onsets.back().strength;
  const float cut = (high - low) * (1.0f - sensitivity);
  for (size_t i = m_onsets.size(); i-- > 0;) {
    if (cut > m_onsets[i].strength - low) break;
    times.push_back(m_onsets[i].time);
  }
  std::sort(times.begin(), times.end());
}
