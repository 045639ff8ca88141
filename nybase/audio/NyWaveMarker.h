// NY_WAVE_MARKER: a cue point with its optional label, as the WAV reader and writers exchange it.
#pragma once

#include <cstdint>

// The label holds the bytes as they stood in the file (a NUL counts in dwLabelSize only if the file
// had one; nothing is added). It is a malloc block owned by whoever holds the marker, released with
// free; it may be null when dwLabelSize is 0.
struct NY_WAVE_MARKER {
  uint32_t dwIdentifier;
  uint32_t dwPosition;  // sample frames
  uint32_t dwLabelSize;
  char* strLabel;
};
static_assert(sizeof(NY_WAVE_MARKER) == 24, "three 32-bit fields and a pointer");
