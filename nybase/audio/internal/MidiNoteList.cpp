// MidiNoteList: the list of sounding notes of a MIDI merge.
#include <nybase/audio/internal/MidiNoteList.h>

namespace nybase::audio::detail {

MidiNoteList::MidiNoteList() : m_sameHead(k_keys, k_none), m_sameTail(k_keys, k_none) {}

void MidiNoteList::Add(uint8_t channel, uint8_t note) {
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

void MidiNoteList::Unlink(uint32_t slot) {
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

void MidiNoteList::RemoveFirst(uint8_t channel, uint8_t note) {
  const uint32_t key = Key(channel, note);
  const uint32_t slot = m_sameHead[key];
  if (slot == k_none) return;
  m_sameHead[key] = m_slots[slot].sameNext;
  if (m_sameHead[key] == k_none) m_sameTail[key] = k_none;
  Unlink(slot);
}

void MidiNoteList::RemoveChannel(uint8_t channel) {
  const uint32_t first = Key(channel, 0);
  for (uint32_t key = first; key < first + 256; ++key) {
    for (uint32_t slot = m_sameHead[key]; slot != k_none;) {
      const uint32_t next = m_slots[slot].sameNext;
      Unlink(slot);
      slot = next;
    }
    m_sameHead[key] = k_none;
    m_sameTail[key] = k_none;
  }
}

}  // namespace nybase::audio::detail
