// Byte builders for WAV files assembled in the audio tests.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "../support/TestSupport.h"

namespace nytest {

using Bytes = std::vector<uint8_t>;

// One chunk: header, payload, and the pad byte of an odd size unless pad is false.
inline Bytes Chunk(const char (&id)[5], const Bytes& payload, bool pad = true) {
  Bytes out;
  PutFourCC(out, id);
  PutU32(out, static_cast<uint32_t>(payload.size()));
  out.insert(out.end(), payload.begin(), payload.end());
  if (pad && (payload.size() & 1)) out.push_back(0);
  return out;
}

// A chunk header with a size that need not match what follows.
inline Bytes Header(const char (&id)[5], uint32_t size) {
  Bytes out;
  PutFourCC(out, id);
  PutU32(out, size);
  return out;
}

inline Bytes Concat(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const Bytes& p : parts) out.insert(out.end(), p.begin(), p.end());
  return out;
}

// The 12-byte outer header followed by body; the size field is body + 4 unless given.
inline Bytes Riff(const Bytes& body, const char (&magic)[5] = "RIFF", int64_t sizeField = -1) {
  Bytes out;
  PutFourCC(out, magic);
  PutU32(out, sizeField < 0 ? static_cast<uint32_t>(body.size() + 4) : static_cast<uint32_t>(sizeField));
  PutFourCC(out, "WAVE");
  out.insert(out.end(), body.begin(), body.end());
  return out;
}

// A 16-byte fmt payload.
inline Bytes FmtPayload(uint16_t tag, uint16_t channels, uint32_t rate, uint16_t bits,
                        uint16_t blockAlign = 0) {
  if (blockAlign == 0) blockAlign = static_cast<uint16_t>(channels * bits / 8);
  Bytes out;
  PutU16(out, tag);
  PutU16(out, channels);
  PutU32(out, rate);
  PutU32(out, rate * blockAlign);
  PutU16(out, blockAlign);
  PutU16(out, bits);
  return out;
}

// A 40-byte extensible fmt payload with the given mask and sub-format (first GUID field; the rest
// of the GUID is the standard media-subtype tail unless ambisonic).
inline Bytes FmtExtensible(uint16_t channels, uint32_t rate, uint16_t bits, uint32_t mask,
                           uint32_t subFormat = 1, bool ambisonic = false) {
  Bytes out = FmtPayload(0xFFFE, channels, rate, bits);
  PutU16(out, 22);
  PutU16(out, bits);
  PutU32(out, mask);
  PutU32(out, subFormat);
  if (ambisonic) {
    for (uint8_t b : {0x21, 0x07, 0xD3, 0x11, 0x86, 0x44, 0xC8, 0xC1, 0xCA, 0x00, 0x00, 0x00}) {
      out.push_back(b);
    }
  } else {
    for (uint8_t b : {0x00, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}) {
      out.push_back(b);
    }
  }
  return out;
}

inline Bytes CuePayload(const std::vector<std::pair<uint32_t, uint32_t>>& idAndPosition) {
  Bytes out;
  PutU32(out, static_cast<uint32_t>(idAndPosition.size()));
  for (const auto& [id, position] : idAndPosition) {
    PutU32(out, id);
    PutU32(out, position);
    PutFourCC(out, "data");
    PutU32(out, 0);
    PutU32(out, 0);
    PutU32(out, 0);  // the sample offset the reader ignores
  }
  return out;
}

inline Bytes Labl(uint32_t id, const std::string& text, bool pad = true) {
  Bytes payload;
  PutU32(payload, id);
  payload.insert(payload.end(), text.begin(), text.end());
  return Chunk("labl", payload, pad);
}

inline Bytes AdtlList(std::initializer_list<Bytes> subChunks) {
  Bytes payload;
  PutFourCC(payload, "adtl");
  for (const Bytes& s : subChunks) payload.insert(payload.end(), s.begin(), s.end());
  return Chunk("LIST", payload);
}

inline Bytes SmplPayload(uint32_t start, uint32_t end, uint32_t loops = 1) {
  Bytes out;
  for (int i = 0; i < 7; ++i) PutU32(out, 0);
  PutU32(out, loops);
  PutU32(out, 0);
  for (uint32_t i = 0; i < loops; ++i) {
    PutU32(out, i);
    PutU32(out, 0);
    PutU32(out, start + i);
    PutU32(out, end + i);
    PutU32(out, 0);
    PutU32(out, 0);
  }
  return out;
}

}  // namespace nytest
