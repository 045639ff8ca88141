// Builds small WAV files byte by byte for the tool's tests.
#include "WavBuilder.h"

#include <cmath>

#include "../support/TestSupport.h"

namespace nytest {
namespace {

void Chunk(std::vector<uint8_t>& out, const std::string& id, const std::vector<uint8_t>& body) {
  out.insert(out.end(), id.begin(), id.begin() + 4);
  PutU32(out, static_cast<uint32_t>(body.size()));
  out.insert(out.end(), body.begin(), body.end());
  if (body.size() % 2 != 0) out.push_back(0);
}

}  // namespace

std::vector<uint8_t> BuildWav(const TestWav& wav) {
  std::vector<uint8_t> body;
  PutFourCC(body, "WAVE");
  std::vector<uint8_t> fmt;
  PutU16(fmt, 1);  // integer PCM, 16-bit
  PutU16(fmt, wav.channels);
  for (uint32_t v : {wav.sampleRate, wav.sampleRate * wav.channels * 2u}) PutU32(fmt, v);
  for (uint16_t v : {uint16_t(wav.channels * 2), uint16_t(16)}) PutU16(fmt, v);
  Chunk(body, "fmt ", fmt);

  std::vector<uint8_t> data;
  for (int16_t s : wav.samples) PutU16(data, static_cast<uint16_t>(s));
  Chunk(body, "data", data);

  if (!wav.markers.empty()) {
    std::vector<uint8_t> cue;
    PutU32(cue, static_cast<uint32_t>(wav.markers.size()));
    for (const TestMarker& m : wav.markers) {
      for (uint32_t v : {m.id, m.frame, 0x61746164u /* "data" */, 0u, 0u, m.frame}) PutU32(cue, v);
    }
    Chunk(body, "cue ", cue);
    std::vector<uint8_t> list;
    PutFourCC(list, "adtl");
    for (const TestMarker& m : wav.markers) {
      if (m.label.empty()) continue;
      std::vector<uint8_t> labl;
      PutU32(labl, m.id);
      labl.insert(labl.end(), m.label.begin(), m.label.end());
      labl.push_back(0);
      Chunk(list, "labl", labl);
    }
    Chunk(body, "LIST", list);
  }
  if (wav.loop) {
    std::vector<uint8_t> smpl;
    for (int i = 0; i < 7; ++i) PutU32(smpl, 0);
    // One loop, identifier 7, forward, from loopStart to loopEnd.
    for (uint32_t v : {1u, 0u, 7u, 0u, wav.loopStart, wav.loopEnd, 0u, 0u}) PutU32(smpl, v);
    Chunk(body, "smpl", smpl);
  }
  if (!wav.hash.empty()) Chunk(body, "hash", wav.hash);
  for (const auto& [id, payload] : wav.extraChunks) Chunk(body, id, payload);

  std::vector<uint8_t> file;
  PutFourCC(file, "RIFF");
  PutU32(file, static_cast<uint32_t>(body.size()));
  file.insert(file.end(), body.begin(), body.end());
  return file;
}

std::vector<int16_t> Bursts(uint32_t sampleRate, double seconds, const std::vector<double>& onsets) {
  std::vector<int16_t> out(static_cast<size_t>(seconds * sampleRate), 0);
  uint32_t noise = 1;
  for (double t : onsets) {
    const auto start = static_cast<size_t>(t * sampleRate);
    for (size_t i = 0; i < sampleRate / 5 && start + i < out.size(); ++i) {
      noise = noise * 1103515245u + 12345u;
      const double white = static_cast<double>((noise >> 9) & 0xFFFF) / 32768.0 - 1.0;
      const double env = std::exp(-static_cast<double>(i) / (0.04 * sampleRate));
      out[start + i] = static_cast<int16_t>(20000.0 * env * white);
    }
  }
  return out;
}

}  // namespace nytest
