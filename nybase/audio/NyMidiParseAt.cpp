// NyMidiParseAt: header and track rules, the dry walk, the merge into the flat stream and the
// stream cursor.
#include <nybase/audio/NyMidiParseAt.h>
#include <nybase/audio/internal/MidiNoteList.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

using TrackCursor = NyMidiParseAt::TrackCursor;
constexpr uint32_t k_over = NyMidiParseAt::k_trackOver;
// The largest delta the stream's four-byte variable-length form can hold.
constexpr uint32_t k_maxDelta = 0x0FFFFFFFu;
// The tick of a track that has no next event.
constexpr uint64_t k_noTime = ~uint64_t{0};
// Room a written event needs: a delta of four bytes and the longest channel message, with margin.
constexpr size_t k_eventRoom = 10;

uint32_t BigEndian16(const uint8_t* p) { return (uint32_t{p[0]} << 8) | p[1]; }
uint32_t BigEndian32(const uint8_t* p) { return (BigEndian16(p) << 16) | BigEndian16(p + 2); }

bool IsChannelStatus(uint8_t status) { return status >= 0x80 && status < 0xF0; }

// A variable-length number of at most four bytes from [p, end); p moves past what was read. A
// fifth continuation, or bytes that run out, give k_over.
// The steps taken once per event, inlined into the loops that run them.
#define NY_MIDI_HOT [[gnu::always_inline]] inline

NY_MIDI_HOT uint32_t ReadVarLen(const uint8_t*& p, const uint8_t* end) {
  if (p != end && *p < 0x80) return *p++;  // the common one-byte form
  uint32_t value = 0;
  for (int i = 0; i < 4; ++i) {
    if (p == end) return k_over;
    const uint8_t b = *p++;
    value = (value << 7) | (b & 0x7Fu);
    if ((b & 0x80u) == 0) return value;
  }
  return k_over;
}

// The same inside a peek block: `n` bytes at most; sets `used`. False for a fifth continuation.
bool PeekVarLen(const uint8_t* p, uint32_t& value, uint32_t& used) {
  value = 0;
  for (used = 1; used <= 4; ++used) {
    const uint8_t b = p[used - 1];
    value = (value << 7) | (b & 0x7Fu);
    if ((b & 0x80u) == 0) return true;
  }
  return false;
}

// Length in bytes of the event in a peek block, status included; 0 when it is invalid.
NY_MIDI_HOT uint64_t EventLength(const uint8_t (&peek)[6]) {
  // Channel messages by their high four bits, 0x80 to 0xE0.
  static constexpr uint8_t k_channelLength[7] = {3, 3, 3, 3, 2, 2, 3};
  const uint8_t status = peek[0];
  if (status < 0x80) return 0;
  if (status < 0xF0)
    return (status & 0xF0) == 0xB0 && peek[1] >= 128 ? 0 : k_channelLength[(status >> 4) - 8];
  uint32_t value = 0;
  uint32_t used = 0;
  if (status == 0xF0 || status == 0xF7) {
    return PeekVarLen(peek + 1, value, used) ? 1 + uint64_t{used} + value : 0;
  }
  if (status == 0xFF) return PeekVarLen(peek + 2, value, used) ? 2 + uint64_t{used} + value : 0;
  return 0;  // data bytes and the system messages without a length
}

// Fills the peek block from the read pointer: six bytes, or the running status and five bytes
// when the next byte is a data byte and a running status is set. Bytes past the end read as 0.
NY_MIDI_HOT void LoadPeek(TrackCursor& t) {
  const size_t avail = static_cast<size_t>(t.end - t.read);
  t.runningApplied = avail > 0 && t.read[0] < 0x80 && t.runningStatus != 0;
  if (avail >= 6) {  // the common case, in fixed-size copies
    if (t.runningApplied) {
      t.peek[0] = t.runningStatus;
      std::memcpy(t.peek + 1, t.read, 5);
    } else {
      std::memcpy(t.peek, t.read, 6);
    }
    return;
  }
  std::memset(t.peek, 0, sizeof t.peek);
  if (t.runningApplied) {
    t.peek[0] = t.runningStatus;
    std::memcpy(t.peek + 1, t.read, std::min<size_t>(5, avail));
  } else {
    std::memcpy(t.peek, t.read, std::min<size_t>(6, avail));
  }
}

// Ends a track; `ok` is what the caller returns.
bool Finish(TrackCursor& t, bool ok) {
  t.delta = k_over;
  return ok;
}

// Reads a delta and the event after it; a delta that cannot be read, or one with no event after
// it, ends the track as malformed.
NY_MIDI_HOT bool ReadDeltaAndPeek(TrackCursor& t) {
  t.delta = ReadVarLen(t.read, t.end);
  if (t.delta == k_over || t.read == t.end) return Finish(t, false);
  LoadPeek(t);
  return true;
}

bool StartTrack(TrackCursor& t) {
  t.read = t.begin;
  t.runningStatus = 0;
  return ReadDeltaAndPeek(t);
}

// Moves past the event in the peek block and reads the next delta. A track that ends exactly
// after an event is finished well; an invalid event or one that runs past the end is not.
NY_MIDI_HOT bool Advance(TrackCursor& t) {
  uint64_t length = EventLength(t.peek);
  if (length == 0) return Finish(t, false);
  if (t.runningApplied) --length;
  if (length > static_cast<uint64_t>(t.end - t.read)) return Finish(t, false);
  t.read += length;
  t.runningStatus = IsChannelStatus(t.peek[0]) ? t.peek[0] : 0;
  if (t.read == t.end) return Finish(t, true);
  return ReadDeltaAndPeek(t);
}

// Writes `value` (at most k_maxDelta) as a variable-length number; returns the bytes written.
size_t WriteVarLen(uint8_t* out, uint32_t value) {
  uint8_t tmp[4];
  size_t n = 0;
  do {
    tmp[n++] = static_cast<uint8_t>(value & 0x7F);
    value >>= 7;
  } while (value != 0 && n < 4);
  for (size_t i = 0; i < n; ++i) out[i] = static_cast<uint8_t>(tmp[n - 1 - i] | (i + 1 < n ? 0x80 : 0));
  return n;
}

void WriteTempo(uint8_t* header, float bpm) {
  uint32_t bits = 0;
  std::memcpy(&bits, &bpm, sizeof bits);
  for (int i = 0; i < 4; ++i) header[2 + i] = static_cast<uint8_t>(bits >> (8 * i));
}

// floor(delta x scale + 0.5) + carry. The stream's deltas hold 28 bits, so a longer gap (only a
// huge stretch or a long run of dropped events makes one) is cut to the largest, on purpose.
uint32_t ScaledTime(uint32_t delta, double scale, uint32_t carry) {
  if (scale == 1.0) return std::min(delta + carry, k_maxDelta);  // both below 2^28: no overflow
  const double scaled = std::floor(static_cast<double>(delta) * scale + 0.5);
  const uint64_t whole = scaled >= k_maxDelta ? k_maxDelta : static_cast<uint64_t>(std::max(scaled, 0.0));
  return static_cast<uint32_t>(std::min<uint64_t>(whole + carry, k_maxDelta));
}

}  // namespace

#undef NY_MIDI_HOT

NyMidiParseAt::~NyMidiParseAt() = default;

void NyMidiParseAt::Reset() { *this = NyMidiParseAt(); }

bool NyMidiParseAt::Parse(const uint8_t* source, size_t size) {
  Reset();
  m_source = source;
  m_sourceSize = size;
  m_flags = k_flagParsed;
  if (source == nullptr || size < 14 || std::memcmp(source, "MThd", 4) != 0 || BigEndian32(source + 4) != 6) {
    return false;
  }
  m_format = static_cast<uint16_t>(BigEndian16(source + 8));
  m_trackCount = static_cast<uint16_t>(BigEndian16(source + 10));
  m_division = static_cast<uint16_t>(BigEndian16(source + 12));
  if (m_format > 1 || m_trackCount == 0 || (m_format == 0 && m_trackCount != 1) || m_division >= 0x8000) {
    return false;
  }
  // Every chunk takes eight bytes at least, so the image bounds the cursor count.
  m_tracks.reserve(std::min<size_t>(m_trackCount, (size - 14) / 8));
  size_t pos = 14;
  for (uint32_t i = 0; i < m_trackCount; ++i) {
    if (size - pos < 8) {
      m_tracks.clear();
      return false;
    }
    const uint32_t length = BigEndian32(source + pos + 4);
    const bool isTrack = std::memcmp(source + pos, "MTrk", 4) == 0;
    pos += 8;
    if (length > size - pos) {
      m_tracks.clear();
      return false;
    }
    // A foreign chunk takes its place in the count but has no cursor, on purpose.
    if (isTrack && length > 0) {
      TrackCursor t;
      t.index = static_cast<uint32_t>(m_tracks.size());
      t.begin = source + pos;
      t.read = t.begin;
      t.end = t.begin + length;
      m_tracks.push_back(t);
    }
    pos += length;
  }
  if (pos != size) {
    m_tracks.clear();
    return false;
  }
  m_flags |= k_flagHeaderOk;
  return true;
}

bool NyMidiParseAt::StartTracks() {
  m_now = 0;
  m_base = 0;
  m_leaves = 1;
  while (m_leaves < m_tracks.size()) m_leaves <<= 1;
  m_tree.assign(2 * m_leaves, k_noTime);
  for (uint32_t i = 0; i < m_tracks.size(); ++i) {
    if (!StartTrack(m_tracks[i])) return false;
    m_tree[m_leaves + i] = (uint64_t{m_tracks[i].delta} << 16) | i;
  }
  for (size_t k = m_leaves - 1; k >= 1; --k) m_tree[k] = std::min(m_tree[2 * k], m_tree[2 * k + 1]);
  return true;
}

// Inline: taken once per event, and only in this file.
inline NyMidiParseAt::TrackCursor* NyMidiParseAt::TakeNext(uint32_t& delta) {
  const uint64_t key = m_tree.size() > 1 ? m_tree[1] : k_noTime;
  if (key == k_noTime) return nullptr;
  m_taken = static_cast<uint32_t>(key & 0xFFFF);
  const uint64_t time = m_base + (key >> 16);
  // At most one track delta: every queued tick lies within one delta of the current one.
  delta = static_cast<uint32_t>(time - m_now);
  m_now = time;
  return &m_tracks[m_taken];
}

inline void NyMidiParseAt::Requeue(const TrackCursor& t) {
  // Ticks stay below 2^48 in the keys: every live key lies within one delta (below 2^28) of the
  // current tick, so moving the base up to it now and then keeps them all exact.
  constexpr uint64_t k_rebaseAfter = uint64_t{1} << 46;
  if (m_now - m_base >= k_rebaseAfter) {
    const uint64_t shift = (m_now - m_base) << 16;
    for (uint64_t& key : m_tree) key = key == k_noTime ? key : key - shift;
    m_base = m_now;
  }
  size_t k = m_leaves + m_taken;
  uint64_t key = t.delta == k_over ? k_noTime : ((m_now - m_base + t.delta) << 16) | m_taken;
  m_tree[k] = key;
  for (; k > 1; k >>= 1) {
    key = std::min(key, m_tree[k ^ 1]);
    m_tree[k >> 1] = key;
  }
}

bool NyMidiParseAt::Walk() {
  // Whether every track reads to its end does not depend on the order the tracks are stepped in,
  // so the dry walk takes them one after the other: the same answer without the merge's cost.
  if (!IsHeaderOk()) return false;
  for (TrackCursor& t : m_tracks) {
    if (!StartTrack(t)) return false;
    while (t.delta != k_over) {
      if (!Advance(t)) return false;
    }
  }
  return true;
}

bool NyMidiParseAt::Convert(uint8_t* buffer, size_t capacity) {
  m_flags &= ~k_flagConverted;
  m_converted = nullptr;
  m_convertedSize = 0;
  m_stream = TrackCursor();
  if (!IsHeaderOk() || buffer == nullptr) return false;
  const size_t tracksSpan =
      m_tracks.empty() ? 0 : static_cast<size_t>(m_tracks.back().end - m_tracks.front().begin);
  if (capacity < tracksSpan + 2 || capacity < 6) return false;

  size_t pos = 0;
  buffer[pos++] = static_cast<uint8_t>(m_division >> 8);
  buffer[pos++] = static_cast<uint8_t>(m_division);
  m_firstTempo = 120.0f;
  WriteTempo(buffer, m_firstTempo);
  pos += 4;
  m_totalTicks = 0;
  m_eventCount = 0;
  if (!StartTracks()) return false;

  double scale = 1.0;
  uint32_t carry = 0;
  uint8_t lastStatus = 0;
  bool sustain[16] = {};
  nybase::audio::detail::MidiNoteList notes;
  uint32_t delta = 0;
  while (TrackCursor* t = TakeNext(delta)) {
    const uint32_t scaled = ScaledTime(delta, scale, carry);
    const uint8_t* peek = t->peek;
    const uint8_t status = peek[0];
    const bool isChannel = IsChannelStatus(status);
    const bool isEnd = status == 0xFF && peek[1] == 0x2F;
    if (isChannel || isEnd) {
      // The event's bytes: from the peek block for a channel message (its status may be the
      // running one), from the track for an end-of-track, whose length must lie inside it.
      const uint64_t length = EventLength(t->peek);
      if (length == 0 || (isEnd && length > static_cast<uint64_t>(t->end - t->read))) return false;
      if (capacity - pos < k_eventRoom || capacity - pos - 4 < length) return false;
      pos += WriteVarLen(buffer + pos, scaled);
      if (isChannel) {
        if (status != lastStatus) buffer[pos++] = status;
        for (uint64_t i = 1; i < length; ++i) buffer[pos++] = peek[i];
        lastStatus = status;
      } else {
        std::memcpy(buffer + pos, t->read, length);
        pos += length;
        lastStatus = 0;
      }
      carry = 0;
      ++m_eventCount;
      m_totalTicks += scaled;
      if (isChannel) {
        const uint8_t kind = status & 0xF0;
        const uint8_t channel = status & 0x0F;
        if (kind == 0x90 && peek[2] != 0) {
          notes.Add(channel, peek[1]);
        } else if (kind == 0x80 || kind == 0x90) {
          notes.RemoveFirst(channel, peek[1]);
        } else if (kind == 0xB0 && (peek[1] == 120 || peek[1] == 123)) {
          notes.RemoveChannel(channel);
        }
      }
    } else {
      carry = scaled;
    }
    if (status == 0xFF && peek[1] == 0x51 && peek[2] == 3) {
      const uint32_t micros = (uint32_t{peek[3]} << 16) | (uint32_t{peek[4]} << 8) | peek[5];
      // A tempo of 0 microseconds per beat has no rate; it is passed over rather than divided by.
      if (micros != 0) {
        const double bpm = 6e7 / micros;
        if (m_totalTicks == 0) {
          m_firstTempo = static_cast<float>(bpm);
          WriteTempo(buffer, m_firstTempo);
        } else {
          // Replaced, not multiplied: every later delta is measured against the first tempo.
          scale = m_firstTempo / bpm;
        }
      }
    }
    if (isChannel && (status & 0xF0) == 0xB0 && peek[1] == 64) sustain[status & 0x0F] = peek[2] >= 64;
    if (!Advance(*t)) return false;
    Requeue(*t);
  }

  // Pedals still down, then notes still sounding, are released at the time of the last event.
  for (uint8_t channel = 0; channel < 16; ++channel) {
    if (!sustain[channel]) continue;
    if (capacity - pos < 4) return false;
    buffer[pos++] = 0;
    buffer[pos++] = static_cast<uint8_t>(0xB0 | channel);
    buffer[pos++] = 64;
    buffer[pos++] = 0;
    ++m_eventCount;
  }
  int lastChannel = -1;
  bool roomLeft = true;
  notes.ForEach([&](uint8_t channel, uint8_t note) {
    if (!roomLeft || capacity - pos < 4) {
      roomLeft = false;
      return;
    }
    buffer[pos++] = 0;
    if (channel != lastChannel) buffer[pos++] = static_cast<uint8_t>(0x80 | channel);
    buffer[pos++] = note;
    buffer[pos++] = 0;
    lastChannel = channel;
    ++m_eventCount;
  });
  if (!roomLeft) return false;
  // A stream with no time in it still lasts one tick: a bare end-of-track (no length byte).
  if (m_totalTicks == 0) {
    if (capacity - pos < 3) return false;
    buffer[pos++] = 1;
    buffer[pos++] = 0xFF;
    buffer[pos++] = 0x2F;
    m_totalTicks = 1;
  }
  m_converted = buffer;
  m_convertedSize = pos;
  m_flags |= k_flagConverted;
  Rewind();
  return true;
}

bool NyMidiParseAt::Rewind() {
  m_stream = TrackCursor();
  if (m_converted == nullptr || m_convertedSize < 6) return false;
  m_stream.begin = m_converted + 6;
  m_stream.end = m_converted + m_convertedSize;
  return StartTrack(m_stream);
}

bool NyMidiParseAt::NextEvent(NyMidiFileEvent& event) {
  if (m_stream.delta == k_over) return false;
  const uint8_t* peek = m_stream.peek;
  const uint8_t status = peek[0];
  event = NyMidiFileEvent();
  event.deltaTime = m_stream.delta;
  event.data1 = peek[1];
  if (IsChannelStatus(status)) {
    event.eventType = status & 0xF0;
    event.channel = status & 0x0F;
    const bool twoData = event.eventType != 0xC0 && event.eventType != 0xD0;
    event.data2 = twoData ? peek[2] : 0;
    if (event.eventType == 0x90 && event.data2 == 0) event.eventType = 0x80;
  } else {
    event.eventType = status;
    event.data2 = peek[2];
  }
  Advance(m_stream);
  return true;
}
