// MidiNoteList: the list of sounding notes of a MIDI merge.
#include <nybase/audio/internal/MidiNoteList.h>

namespace nybase::audio::detail {

MidiNoteList::MidiNoteList() : m_sameHead(k_keys, k_none), m_sameTail(k_keys, k_none) {}

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
