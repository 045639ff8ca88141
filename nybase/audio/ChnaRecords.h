// CHNA and CHNA_AUDIOID: the byte layout of a "chna" chunk, its counts and its track records.
#pragma once

#include <cstdint>

// The head of a "chna" payload. The reader ignores both counts: the number of records comes from
// the chunk's size.
struct CHNA {
  uint16_t numTracks;
  uint16_t numUIDs;
};
static_assert(sizeof(CHNA) == 4, "chna head is 4 bytes on disk");

// One track record. The text fields are not terminated when they are full.
struct CHNA_AUDIOID {
  uint16_t trackIndex;
  char UID[12];        // audioTrackUID
  char trackRef[14];   // audioTrackFormatID; used up to its first NUL if it has one
  char packRef[11];    // audioPackFormatID
  char pad;
};
static_assert(sizeof(CHNA_AUDIOID) == 40, "chna track record is 40 bytes on disk");
