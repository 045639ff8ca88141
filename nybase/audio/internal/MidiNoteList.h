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

}  // namespace nybase::audio::detail
