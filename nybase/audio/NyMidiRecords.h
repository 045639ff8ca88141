// The records of a standard MIDI file as NyMidiFile hands them out: one event, and the summary.
#pragma once

#include <cstdint>

// One event of the converted stream. Channel messages carry their status without the channel in
// `eventType` (a note-on of velocity 0 is reported as note-off 0x80) and the channel in `channel`;
// other events carry the whole status byte and channel 0. `data1` and `data2` are the two bytes
// after the status (0 where the event has fewer). `deltaTime` is in ticks since the previous event.
struct NyMidiFileEvent {
  uint8_t eventType = 0;
  uint8_t channel = 0;
  uint8_t data1 = 0;
  uint8_t data2 = 0;
  uint32_t deltaTime = 0;
};

// The summary of a validated file: tempo in beats per minute (the one tempo of the stream),
// ticks per beat, the number of events in the stream and its length in ticks.
struct NyMidiInfo {
  bool valid = false;
  double tempo = 0.0;
  uint32_t division = 0;
  uint32_t numEvents = 0;
  uint32_t totalTicks = 0;
};
