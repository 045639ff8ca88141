// NyMidiParseAt: parses a standard MIDI file image and merges its tracks into the flat stream.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <nybase/audio/NyMidiRecords.h>

// The parser works on memory it does not own: the caller's file image and the caller's output
// buffer, which must outlive it or be handed in again. Everything it reads is bounded by the image
// (or by the stream it wrote); no size taken from the file drives an allocation. The flat stream:
// division (2 bytes, big-endian), first tempo (32-bit float, little-endian, beats per minute),
// then events, each a variable-length delta of at most 4 bytes and the event's bytes with running
// status applied; only channel messages and end-of-track events appear.
class NyMidiParseAt {
 public:
  // Where one track (or the converted stream) is read from.
  struct TrackCursor {
    uint32_t index = 0;
    const uint8_t* begin = nullptr;  // the first delta of the track
    const uint8_t* read = nullptr;   // the next event (after its delta)
    const uint8_t* end = nullptr;
    uint32_t delta = k_trackOver;  // ticks before the next event, as read; k_trackOver when finished
    uint8_t peek[6] = {};          // the next event, its status first even under running status
    uint8_t runningStatus = 0;
    bool runningApplied = false;  // peek[0] came from the running status, not from the data
  };

  // The pending delta of a finished track, and the value of a delta that could not be read.
  static constexpr uint32_t k_trackOver = 0xFFFFFFFFu;
  // Bits of GetFlags().
  static constexpr uint32_t k_flagHeaderOk = 1;
  static constexpr uint32_t k_flagParsed = 2;
  static constexpr uint32_t k_flagConverted = 4;

  NyMidiParseAt() = default;
  virtual ~NyMidiParseAt();

  // Forgets the image, the output and all state.
  void Reset();

  // Reads the header and the track chunks of `source` (`size` bytes). True when the header is
  // well formed, every track chunk lies within the image and the image ends with the last one;
  // otherwise false, with the header flag clear. Chunks that are not "MTrk", and empty tracks,
  // get no cursor.
  bool Parse(const uint8_t* source, size_t size);

  // Walks all tracks in merged order without writing anything, by the same rules as the
  // conversion. True when every track reads to its end; false for a malformed event or delta, or
  // when the header did not parse.
  bool Walk();

  // Merges the tracks into `buffer` (`capacity` bytes): one tempo, channel messages and
  // end-of-track events, deltas rescaled after tempo changes, sustain and held notes released at
  // the end. False when the header did not parse, the buffer is smaller than the tracks plus two
  // bytes, it runs out, or a track turns out malformed. On success the converted flag is set and
  // the stream cursor stands on the first event.
  bool Convert(uint8_t* buffer, size_t capacity);

  // Puts the stream cursor on the first event of the converted stream; false when there is no
  // stream or its first delta cannot be read.
  bool Rewind();
  // Hands out the event under the stream cursor and advances; false (nothing written) at the end.
  bool NextEvent(NyMidiFileEvent& event);

  uint32_t GetFlags() const { return m_flags; }
  bool IsHeaderOk() const { return (m_flags & k_flagHeaderOk) != 0; }
  bool IsConverted() const { return (m_flags & k_flagConverted) != 0; }
  uint16_t GetFormat() const { return m_format; }
  uint16_t GetTrackCount() const { return m_trackCount; }
  uint16_t GetDivision() const { return m_division; }
  float GetFirstTempo() const { return m_firstTempo; }
  uint32_t GetTotalTicks() const { return m_totalTicks; }
  uint32_t GetEventCount() const { return m_eventCount; }
  // The number of tracks that have a cursor.
  size_t GetCursorCount() const { return m_tracks.size(); }
  // The bytes of the converted stream (header included), 0 before a conversion.
  size_t GetConvertedSize() const { return m_convertedSize; }
  const uint8_t* GetConverted() const { return m_converted; }

 private:
  // The merge keeps each live track's next event as a key: its tick (counted from m_base) above
  // 16 bits of track index. Taking the smallest key takes the earliest event, the lowest index on
  // ties, which orders the tracks exactly as taking the smallest pending delta and subtracting it
  // from every track would; a winner tree over the keys finds it in logarithmic rather than
  // linear time per event.

  // Puts every track cursor on its first event and queues it; false when one has no readable
  // first event.
  bool StartTracks();
  // The track with the next event in merged order, and in `delta` the ticks since the event
  // taken before it; null when every track is over.
  TrackCursor* TakeNext(uint32_t& delta);
  // After the track taken last has advanced: queues it at its next event, or drops it when over.
  void Requeue(const TrackCursor& t);

  const uint8_t* m_source = nullptr;
  size_t m_sourceSize = 0;
  uint8_t* m_converted = nullptr;
  size_t m_convertedSize = 0;
  TrackCursor m_stream;
  float m_firstTempo = 120.0f;
  uint16_t m_format = 0;
  uint16_t m_trackCount = 0;
  uint16_t m_division = 0;
  std::vector<TrackCursor> m_tracks;
  // Leaves from m_leaves on, one key per track (all ones when over); every node above holds the
  // smaller of its two children, so the root is the next event.
  std::vector<uint64_t> m_tree;
  size_t m_leaves = 1;
  uint64_t m_base = 0;
  uint64_t m_now = 0;
  uint32_t m_taken = 0;
  uint32_t m_totalTicks = 0;
  uint32_t m_eventCount = 0;
  uint32_t m_flags = 0;
};
