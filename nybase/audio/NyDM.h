// NyDM, NyDMObject, NyDMPos: the compact object and position records stored in a "nydm" chunk.
#pragma once

#include <cstdint>

#include <nybase/base/NyChannelConfig.h>

// The head of a "nydm" payload. The payload is this head, numObjects NyDMObject records, then
// numPositions NyDMPos records, then the names block (namesSize bytes: each object's name followed
// by a NUL, in object order). Every field is little-endian on disk, exactly as laid out here.
struct NyDM {
  uint16_t numObjects;
  uint16_t namesSize;     // bytes of the names block, truncated to 16 bits
  uint32_t numPositions;  // positions of all objects together
};
static_assert(sizeof(NyDM) == 8, "NyDM head is 8 bytes on disk");

// One audio object.
struct NyDMObject {
  uint8_t firstTrack;         // lowest track-UID index among the object's tracks; 255 if none
  uint8_t isObject;           // 1 when the object's single pack format is of the objects type (3)
  uint16_t nameOffset;        // offset of the object's name in the names block
  NyChannelConfig channelConfig;
  uint32_t firstPosition;     // index of the object's first NyDMPos
  uint32_t numPositions;      // one per block of its single channel format; 0 otherwise
};
static_assert(sizeof(NyDMObject) == 16, "NyDMObject is 16 bytes on disk");

// Bit 31 of NyDMPos::duration: the position jumps there with no interpolation.
inline constexpr uint32_t k_nyDMJumpFlag = 0x80000000u;
// Bits 0-30 of NyDMPos::duration: the duration in milliseconds.
inline constexpr uint32_t k_nyDMDurationMask = 0x7FFFFFFFu;

// One timed position of an object: cartesian coordinates and spread as IEEE 754 binary16.
struct NyDMPos {
  uint16_t position[3];  // X, Z, Y in this order (the height is the second coordinate)
  uint16_t spread;
  uint32_t rtime;        // start in milliseconds
  uint32_t duration;     // bits 0-30 milliseconds, bit 31 k_nyDMJumpFlag
};
static_assert(sizeof(NyDMPos) == 16, "NyDMPos is 16 bytes on disk");
