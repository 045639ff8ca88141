// NyOnsetDetector: finds where sound events begin in a file or a sample block, to place markers.
#pragma once

#include <vector>

#include <nybase/files/Path.h>


// Spectral-flux onset detection in two steps: SetSource analyses once and keeps candidate onsets
// with strengths; GetMarkerTimes picks among them by sensitivity, as often as wanted.
// One thread per detector; no locks.
class NyOnsetDetector {
 public:
  // A candidate onset: its prominence in the detection function and its time in seconds.
  struct Onset {
    float strength;
    double time;
  };

  // No source yet: no onsets.
  NyOnsetDetector();
  virtual ~NyOnsetDetector();
  NyOnsetDetector(const NyOnsetDetector&) = delete;
  NyOnsetDetector& operator=(const NyOnsetDetector&) = delete;

  // Analyses a WAV file, reading it once through a buffer of constant size. An empty path, a file
  // that cannot be opened or whose chunks cannot be read, or a source shorter than a hundredth of a
  // second plus 2048 frames leaves the onsets of the previous call untouched.
  void SetSource(const lu::Path& path);
  // Analyses `frames` interleaved frames of `channels` samples in memory; the block is not kept.
  // A source shorter than a hundredth of a second plus 2048 frames, without channels or samples, or with a rate below 100 leaves
  // the previous onsets untouched. An all-zero source clears them.
  void SetSource(float* samples, unsigned int channels, unsigned int frames, unsigned int sampleRate);
  // Fills `times` (seconds, ascending) with the onsets whose strength reaches the cut set by
  // `sensitivity`: 1 gives every onset, smaller values only those near the strongest, 0 none.
  void GetMarkerTimes(std::vector<double>& times, float sensitivity);

 private:

  unsigned int m_channels = 0;
  unsigned int m_frames = 0;
  unsigned int m_sampleRate = 0;
  unsigned int m_hop = 0;
  unsigned int m_count = 0;
  std::vector<Onset> m_onsets;  // sorted by strength ascending
};
