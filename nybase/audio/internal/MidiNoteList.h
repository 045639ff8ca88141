// The notes sounding during a MIDI merge, in order of arrival, with constant-time note-offs.
#pragma once

#include <cstdint>
#include <vector>

namespace nybase::audio::detail {

// A doubly linked list of (channel, note) in order of arrival, threaded through a pool of slots
// that grows only with the number of notes sounding at once. Every slot is also on a chain of the
// same (channel, note) in arrival order, so that the first match of a note-off is found at once.
class MidiNoteList {
 public:
  MidiNoteList();

  // Appends a sounding note.
  void Add(uint8_t channel, uint8_t note);
  // Removes the earliest sounding match; nothing when there is none.
  void RemoveFirst(uint8_t channel, uint8_t note);
  // Removes every note of `channel`.
  void RemoveChannel(uint8_t channel);
  // Calls f(channel, note) for each sounding note in order of arrival.
  template <typename F>
  void ForEach(F&& f) const {
    for (uint32_t i = m_head; i != k_none; i = m_slots[i].next) {
      f(static_cast<uint8_t>(m_slots[i].key >> 8), static_cast<uint8_t>(m_slots[i].key & 0xFF));
    }
  }

 private:
  static constexpr uint32_t k_none = 0xFFFFFFFFu;
  static constexpr uint32_t k_keys = 16 * 256;
  // A key is channel x 256 + note.
  static uint32_t Key(uint8_t channel, uint8_t note) { return (uint32_t{channel & 0x0Fu} << 8) | note; }
  void Unlink(uint32_t slot);

  struct Slot {
    uint32_t key;
    uint32_t prev;
    uint32_t next;      // in arrival order; the next free slot for a free one
    uint32_t sameNext;  // the next sounding slot of the same key
  };
  std::vector<Slot> m_slots;
  std::vector<uint32_t> m_sameHead;  // per key, the earliest sounding slot
  std::vector<uint32_t> m_sameTail;  // per key, the latest sounding slot
  uint32_t m_head = k_none;
  uint32_t m_tail = k_none;
  uint32_t m_free = k_none;
};

// Inline: each runs once per note event of a merge.
inline void MidiNoteList::Add(uint8_t channel, uint8_t note) {
  const uint32_t key = Key(channel, note);
  uint32_t slot = m_free;
  if (slot != k_none) {
    m_free = m_slots[slot].next;
  } else {
    slot = static_cast<uint32_t>(m_slots.size());
    m_slots.push_back({});
  }
  m_slots[slot] = {key, m_tail, k_none, k_none};
  if (m_tail != k_none) {
    m_slots[m_tail].next = slot;
  } else {
    m_head = slot;
  }
  m_tail = slot;
  if (m_sameTail[key] != k_none) {
    m_slots[m_sameTail[key]].sameNext = slot;
  } else {
    m_sameHead[key] = slot;
  }
  m_sameTail[key] = slot;
}

inline void MidiNoteList::Unlink(uint32_t slot) {
  Slot& s = m_slots[slot];
  if (s.prev != k_none) {
    m_slots[s.prev].next = s.next;
  } else {
    m_head = s.next;
  }
  if (s.next != k_none) {
    m_slots[s.next].prev = s.prev;
  } else {
    m_tail = s.prev;
  }
  s.next = m_free;
  m_free = slot;
}

inline void MidiNoteList::RemoveFirst(uint8_t channel, uint8_t note) {
  const uint32_t key = Key(channel, note);
  const uint32_t slot = m_sameHead[key];
  if (slot == k_none) return;
  m_sameHead[key] = m_slots[slot].sameNext;
  if (m_sameHead[key] == k_none) m_sameTail[key] = k_none;
  Unlink(slot);
}

}  // namespace nybase::audio::detail
