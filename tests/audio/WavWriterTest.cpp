// NyWavFileWriter: chunk layout and sizes, the sample rules, files decoded by sox, libsndfile and
// our reader, big-endian output, and the failures (no format, widths, full disk, the 4 GiB limit).
#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include <nybase/audio/NyADM.h>
#include <nybase/audio/NyWavFileReader.h>
#include <nybase/audio/NyWavFileWriter.h>
#include <nybase/audio/internal/PcmEncode.h>
#include <nybase/files/FileOperation.h>

#include "AdmTestDocs.h"
#include "ChunkTestSupport.h"
#include "../support/InterruptedWrite.h"

namespace {

using namespace nytest;

WAVEFORMATEXTENSIBLE Fmt40(uint16_t channels, uint16_t bits, bool isFloat = false, uint32_t rate = 48000) {
  WAVEFORMATEXTENSIBLE f{};
  f.Format.wFormatTag = WAVE_FORMAT_EXTENSIBLE;
  f.Format.nChannels = channels;
  f.Format.nSamplesPerSec = rate;
  f.Format.nBlockAlign = static_cast<uint16_t>(channels * bits / 8);
  f.Format.nAvgBytesPerSec = rate * f.Format.nBlockAlign;
  f.Format.wBitsPerSample = bits;
  f.Format.cbSize = 22;
  f.Samples.wValidBitsPerSample = bits;
  f.dwChannelMask = channels == 2 ? 0x3 : channels == 1 ? 0x4 : 0;
  f.SubFormat = isFloat ? KSDATAFORMAT_SUBTYPE_IEEE_FLOAT : KSDATAFORMAT_SUBTYPE_PCM;
  return f;
}

WaveFormatExtensible Fmt24(uint16_t channels, uint16_t bits, NyChannelConfig config) {
  WaveFormatExtensible f{};
  f.wFormatTag = WAVE_FORMAT_EXTENSIBLE;
  f.nChannels = channels;
  f.nSamplesPerSec = 44100;
  f.nBlockAlign = static_cast<uint16_t>(channels * bits / 8);
  f.nAvgBytesPerSec = 44100 * f.nBlockAlign;
  f.wBitsPerSample = bits;
  f.cbSize = 6;
  f.wValidBitsPerSample = bits;
  f.channelConfig = config;
  return f;
}

// Owns the labels of the markers a test hands to the writer.
struct Markers {
  std::vector<std::string> labels;
  std::vector<NY_WAVE_MARKER> list;
  Markers(std::initializer_list<std::pair<uint32_t, const char*>> items) {
    uint32_t id = 1;
    for (const auto& item : items) labels.emplace_back(item.second ? item.second : "");
    for (const auto& item : items) {
      const std::string& text = labels[id - 1];
      // Labels are stored with their NUL, as other tools write them.
      list.push_back({id, item.first, item.second ? static_cast<uint32_t>(text.size() + 1) : 0,
                      item.second ? const_cast<char*>(text.c_str()) : nullptr});
      ++id;
    }
  }
};

// A stereo test signal in [-1.2, 1.2] with exact full-scale and zero points.
std::vector<float> Signal(size_t frames, unsigned channels) {
  std::vector<float> s(frames * channels);
  for (size_t i = 0; i < s.size(); ++i) s[i] = static_cast<float>(1.2 * std::sin(0.001 * double(i * i % 100003)));
  if (s.size() >= 4) s[0] = 1.0f, s[1] = -1.0f, s[2] = 0.0f, s[3] = -0.0f;
  return s;
}

// The integer a float becomes: scaled exactly, clamped, truncated towards zero; NaN is full scale.
int32_t Quantise(float x, double scale, double lo, double hi) {
  const double v = double(x) * scale;
  if (std::isnan(v) || v >= hi) return static_cast<int32_t>(hi);
  if (v <= lo) return static_cast<int32_t>(lo);
  return static_cast<int32_t>(v);
}
int32_t Expected16(float x) { return Quantise(x, 32767.0, -32768.0, 32767.0); }
int32_t Expected24(float x) { return Quantise(x, 8388607.0, -8388608.0, 8388607.0); }

Bytes B4(const char (&id)[5]) { return Bytes(id, id + 4); }
Bytes U32(uint32_t v) {
  Bytes out;
  PutU32(out, v);
  return out;
}

struct Walked {
  std::vector<std::string> ids;
  std::vector<uint32_t> sizes;
  std::vector<size_t> offsets;  // of the payloads
};

// The chunk list as the file holds it (no pad assumed after an odd chunk that is followed by a
// header starting with a letter, as the writer leaves none after "nydm").
Walked Walk(const Bytes& b) {
  Walked w;
  size_t pos = 12;
  while (pos + 8 <= b.size()) {
    w.ids.emplace_back(reinterpret_cast<const char*>(b.data() + pos), 4);
    const uint32_t size = GetU32(b, pos + 4);
    w.sizes.push_back(size);
    w.offsets.push_back(pos + 8);
    if (w.ids.back() == "data") break;
    pos += 8 + size;
    if ((size & 1) && pos < b.size() && b[pos] == 0) ++pos;
  }
  return w;
}

}  // namespace

TEST(WavWriterLayout, FixedChunkOrderSizesAndContents) {
  TempDir dir;
  Markers markers{{100, "one"}, {5, nullptr}, {7, "abcd"}};
  unsigned char hash[16];
  for (int i = 0; i < 16; ++i) hash[i] = static_cast<unsigned char>(0xA0 + i);
  NyADM adm;
  ASSERT_TRUE(adm.FromAXML(WrapAxml(BedElements()).c_str()));

  struct Case {
    bool extensible, withHash, withAdm;
    unsigned flags;
    std::vector<std::string> ids;
  } const cases[] = {
      {true, false, false, 0, {"fmt ", "data"}},
      {false, true, false, ChunkFlag_Smpl, {"fmt ", "hash", "smpl", "data"}},
      {true, true, true, ChunkFlag_Smpl | ChunkFlag_Cue | ChunkFlag_List | ChunkFlag_Nydm,
       {"fmt ", "hash", "smpl", "cue ", "LIST", "nydm", "data"}},
      {false, false, true, ChunkFlag_Cue | ChunkFlag_Nydm, {"fmt ", "cue ", "nydm", "data"}},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    const Case& c = cases[i];
    NyWavFileWriter w;
    ASSERT_TRUE(w.Open(lu::Path(dir.Wide("l.wav")), false));
    if (c.extensible) {
      w.SetFormat(Fmt40(2, 16));
    } else {
      w.SetFormat(Fmt24(2, 16, NyChannelConfig(2, 1, 3)));
    }
    if (c.withHash) w.SetHash(hash, 3);
    if (c.withAdm) { ASSERT_TRUE(w.SetADM(&adm)); }
    w.SetMarkers(markers.list);
    w.SetLoopPoints(10, 20);
    ASSERT_TRUE(w.WriteChunks(c.flags)) << i;
    std::vector<short> pcm = {1, -2, 3, -4, 5, -6};
    ASSERT_TRUE(w.WriteInt16AsPCMData(3, pcm.data()));
    ASSERT_TRUE(w.Close());

    const Bytes b = ReadFileBytes(dir.Native("l.wav"));
    const Walked wk = Walk(b);
    ASSERT_EQ(wk.ids, c.ids) << i;
    EXPECT_EQ(GetU32(b, 4), b.size() - 8) << i;
    EXPECT_EQ(wk.sizes.back(), 12u);
    EXPECT_EQ(std::memcmp(b.data() + wk.offsets.back(), pcm.data(), 12), 0);
    EXPECT_EQ(wk.sizes[0], c.extensible ? 40u : 24u);
    NyWavFileReader r;  // the configuration survives either fmt form
    ASSERT_TRUE(r.Open(lu::Path(dir.Wide("l.wav"))));
    ASSERT_TRUE(r.ReadChunks(ChunkFlag_Fmt | ChunkFlag_Data));
    EXPECT_EQ(r.GetFormat().channelConfig, NyChannelConfig(2, 1, 3)) << i;
    EXPECT_EQ(r.GetNumFrames(), 3u) << i;
    for (size_t k = 0; k < wk.ids.size(); ++k) {
      const size_t at = wk.offsets[k];
      if (wk.ids[k] == "hash") { EXPECT_EQ(std::memcmp(b.data() + at, hash, 16), 0); }
      if (wk.ids[k] == "smpl") {
        EXPECT_EQ(wk.sizes[k], 60u);
        EXPECT_EQ(GetU32(b, at + 8), c.extensible ? 48000u : 44100u);  // the rate, as "period"
        EXPECT_EQ(GetU32(b, at + 28), 1u);
        EXPECT_EQ(GetU32(b, at + 44), 10u);
        EXPECT_EQ(GetU32(b, at + 48), 20u);
        for (size_t z : {0, 4, 12, 16, 20, 24, 32, 36, 40, 52, 56}) EXPECT_EQ(GetU32(b, at + z), 0u) << z;
      }
      if (wk.ids[k] == "cue ") {
        ASSERT_EQ(wk.sizes[k], 4u + 3 * 24);
        const uint32_t expect[3][2] = {{1, 100}, {2, 5}, {3, 7}};  // marker order, unsorted
        for (int m = 0; m < 3; ++m) {
          const size_t r = at + 4 + 24 * m;
          EXPECT_EQ(GetU32(b, r), expect[m][0]);
          EXPECT_EQ(GetU32(b, r + 4), expect[m][1]);
          EXPECT_EQ(std::memcmp(b.data() + r + 8, "data", 4), 0);
          EXPECT_EQ(GetU32(b, r + 20), 0u);  // the sample offset stays 0
        }
      }
      if (wk.ids[k] == "LIST") {
        // "one\0" (4) and "abcd\0" (5, padded to 6): 4 + (12 + 4) + (12 + 6).
        EXPECT_EQ(wk.sizes[k], 38u);
        const Bytes expect = Concat({B4("adtl"), B4("labl"), U32(8), U32(1), {'o', 'n', 'e', 0},
                                     B4("labl"), U32(9), U32(3), {'a', 'b', 'c', 'd', 0, 0}});
        EXPECT_EQ(Bytes(b.begin() + long(at), b.begin() + long(at + 38)), expect);
      }
      if (wk.ids[k] == "nydm") {
        NyDM dm{};
        std::vector<NyDMObject> objects;
        std::vector<NyDMPos> positions;
        std::vector<char> names;
        adm.ToNyDM(dm, objects, positions, names);
        Bytes expect(reinterpret_cast<const uint8_t*>(&dm), reinterpret_cast<const uint8_t*>(&dm) + 8);
        for (const auto& o : objects) expect.insert(expect.end(), reinterpret_cast<const uint8_t*>(&o), reinterpret_cast<const uint8_t*>(&o) + 16);
        for (const auto& p : positions) expect.insert(expect.end(), reinterpret_cast<const uint8_t*>(&p), reinterpret_cast<const uint8_t*>(&p) + 16);
        expect.insert(expect.end(), names.begin(), names.end());
        ASSERT_EQ(wk.sizes[k], expect.size());
        EXPECT_EQ(Bytes(b.begin() + long(at), b.begin() + long(at + expect.size())), expect);
      }
    }
  }
}

TEST(WavWriterSamples, FloatConversionRules) {
  const float k_nan = std::numeric_limits<float>::quiet_NaN();
  const float in[] = {1.0f, -1.0f, 0.5f, -0.5f, 2.0f, -2.0f, 0.99999f, -0.99999f, 1e-9f, -1e-9f, k_nan, 0.1f};
  struct Case {
    WAVEFORMATEXTENSIBLE format;
    bool swap;
    std::vector<int32_t> values;  // the integers expected; none for float, whose bits pass unchanged
  };
  // Little-endian 16 and 24 bits follow the kernels checked below (and by the peers); the big-endian
  // 24-bit form has its own rule: it scales by 838607 and clamps to [-838608, 838607].
  const std::vector<int32_t> v24be = {838607, -838607, 419303, -419303, 838607, -838608, 838598, -838598, 0, 0, 838607, 83860};
  const Case cases[] = {{Fmt40(1, 24), true, v24be}, {Fmt40(1, 32, true), false, {}}};
  TempDir dir;
  for (size_t i = 0; i < std::size(cases); ++i) {
    const Case& c = cases[i];
    NyWavFileWriter w;
    ASSERT_TRUE(w.Open(lu::Path(dir.Wide("s.wav")), c.swap));
    w.SetFormat(c.format);
    ASSERT_TRUE(w.WriteChunks(0));
    std::vector<float> samples(std::begin(in), std::end(in));
    ASSERT_TRUE(w.WriteReal32AsPCMData(static_cast<unsigned>(samples.size()), samples.data())) << i;
    ASSERT_TRUE(w.Close());
    const Bytes b = ReadFileBytes(dir.Native("s.wav"));
    const unsigned width = c.format.Format.wBitsPerSample / 8;
    const size_t data = FindChunk(b, "data", c.swap) + 8;
    ASSERT_EQ(GetU32(b, data - 4), width * samples.size()) << i;  // little-endian even in RIFX
    for (size_t k = 0; k < samples.size(); ++k) {
      uint32_t got = 0;
      for (unsigned j = 0; j < width; ++j) {
        const unsigned byte = c.swap ? width - 1 - j : j;  // the file's j-th byte is this significance
        got |= uint32_t(b[data + width * k + j]) << (8 * byte);
      }
      if (width == 4) {
        uint32_t bits;
        std::memcpy(&bits, &samples[k], 4);
        EXPECT_EQ(got, bits) << i << " " << k;
      } else {
        EXPECT_EQ(got, static_cast<uint32_t>(c.values[k]) & 0xFFFFFFu) << i << " " << k;
      }
    }
  }
  // The single-precision kernels against the exact double rule: whole-number products and their
  // float neighbours (where a rounded product would truncate wrongly), the clamps, infinities, NaN.
  const float k_inf = std::numeric_limits<float>::infinity();
  std::vector<float> sweep = {k_nan, k_inf, -k_inf, 1e30f, -1e30f, 1.0000001f, -1.0000001f, 0.0f, -0.0f, 1e-40f};
  for (double scale : {32767.0, 8388607.0}) {
    for (int i = -40000; i <= 40000; ++i) {
      const double m = double(i) * (scale > 40000 ? 209.7 : 1.0);
      const float f = static_cast<float>(m / scale);
      sweep.insert(sweep.end(), {f, std::nextafter(f, 2.0f), std::nextafter(f, -2.0f)});
    }
  }
  std::vector<uint8_t> out16(sweep.size() * 2);
  std::vector<uint8_t> out24(sweep.size() * 3 + 1);
  nybase::audio::detail::EncodeFloatToPcm16(sweep.data(), sweep.size(), false, out16.data());
  nybase::audio::detail::EncodeFloatToPcm24(sweep.data(), sweep.size(), out24.data());
  for (size_t i = 0; i < sweep.size(); ++i) {
    int16_t v16;
    std::memcpy(&v16, &out16[2 * i], 2);
    ASSERT_EQ(v16, Expected16(sweep[i])) << sweep[i];
    uint32_t v24 = 0;
    std::memcpy(&v24, &out24[3 * i], 3);
    ASSERT_EQ(v24, static_cast<uint32_t>(Expected24(sweep[i])) & 0xFFFFFFu) << sweep[i];
  }
}

TEST(WavWriterPeers, SoxAndLibsndfileDecodeWhatWasWritten) {
  TempDir dir;
  const size_t frames = 6000;
  std::vector<float> signal = Signal(frames, 2);
  Markers markers{{0, "start"}, {2500, "middle"}, {5999, nullptr}};
  const uint16_t widths[] = {16, 24, 32};
  for (uint16_t bits : widths) {
    const std::string path = dir.Native("p" + std::to_string(bits) + ".wav");
    NyWavFileWriter w;
    ASSERT_TRUE(w.Open(lu::Path(dir.Wide("p" + std::to_string(bits) + ".wav")), false));
    w.SetFormat(Fmt40(2, bits, bits == 32));
    w.SetMarkers(markers.list);
    w.SetLoopPoints(1000, 4000);
    ASSERT_TRUE(w.WriteChunks(ChunkFlag_Smpl | ChunkFlag_Cue | ChunkFlag_List));
    // In two blocks, the second with an odd number of frames.
    ASSERT_TRUE(w.WriteReal32AsPCMData(4001, signal.data()));
    ASSERT_TRUE(w.WriteReal32AsPCMData(frames - 4001, signal.data() + 2 * 4001));
    ASSERT_TRUE(w.Close());
    EXPECT_EQ(GetU32(ReadFileBytes(path), 4), ReadFileBytes(path).size() - 8);

    SF_INFO info{};
    SNDFILE* sf = sf_open(path.c_str(), SFM_READ, &info);
    ASSERT_NE(sf, nullptr) << sf_strerror(nullptr);
    EXPECT_EQ(info.channels, 2);
    EXPECT_EQ(info.samplerate, 48000);
    EXPECT_EQ(info.frames, static_cast<sf_count_t>(frames));
    std::vector<int> ints(frames * 2);
    std::vector<float> floats(frames * 2);
    if (bits == 32) {
      ASSERT_EQ(sf_readf_float(sf, floats.data(), frames), static_cast<sf_count_t>(frames));
      EXPECT_EQ(floats, signal);
    } else {
      ASSERT_EQ(sf_readf_int(sf, ints.data(), frames), static_cast<sf_count_t>(frames));
      for (size_t i = 0; i < ints.size(); ++i) {
        const int32_t expect = bits == 16 ? Expected16(signal[i]) << 16 : Expected24(signal[i]) << 8;
        ASSERT_EQ(ints[i], expect) << bits << " " << i;
      }
    }
    SF_CUES cues{};
    ASSERT_EQ(sf_command(sf, SFC_GET_CUE, &cues, sizeof cues), SF_TRUE);
    ASSERT_EQ(cues.cue_count, 3u);
    const char* names[] = {"start", "middle", ""};
    for (int m = 0; m < 3; ++m) {
      EXPECT_EQ(cues.cue_points[m].indx, m + 1);
      EXPECT_EQ(cues.cue_points[m].position, markers.list[m].dwPosition);
      EXPECT_STREQ(cues.cue_points[m].name, names[m]);
    }
    SF_INSTRUMENT inst{};
    ASSERT_EQ(sf_command(sf, SFC_GET_INSTRUMENT, &inst, sizeof inst), SF_TRUE);
    ASSERT_EQ(inst.loop_count, 1);
    EXPECT_EQ(inst.loops[0].start, 1000u);
    EXPECT_EQ(inst.loops[0].end, 4001u);  // libsndfile reports the end as one past the last frame
    sf_close(sf);

    if (!HaveProgram("sox") || bits == 32) continue;
    const std::string raw = dir.Native("p.raw");
    ASSERT_EQ(nytest::Run("sox -D '" + path + "' -t raw -e signed -b 32 -L '" + raw + "'"), 0);
    const Bytes r = ReadFileBytes(raw);
    ASSERT_EQ(r.size(), frames * 2 * 4);
    for (size_t i = 0; i < frames * 2; ++i) {
      const int32_t expect = bits == 16 ? Expected16(signal[i]) << 16 : Expected24(signal[i]) << 8;
      ASSERT_EQ(static_cast<int32_t>(GetU32(r, 4 * i)), expect) << "sox " << bits << " " << i;
    }
  }
}

TEST(WavWriterBigEndian, RifxHeadersRecordsAndSamples) {
  TempDir dir;
  Markers markers{{0x01020304, "ab"}};
  NyWavFileWriter w;
  ASSERT_TRUE(w.Open(lu::Path(dir.Wide("x.wav")), true));
  w.SetFormat(Fmt24(2, 16, NyChannelConfig(2, 1, 3)));
  w.SetMarkers(markers.list);
  w.SetLoopPoints(0x11, 0x22);
  ASSERT_TRUE(w.WriteChunks(ChunkFlag_Smpl | ChunkFlag_Cue | ChunkFlag_List));
  std::vector<short> pcm = {0x0102, -2, 0x7F00, 0x0055};
  ASSERT_TRUE(w.WriteInt16AsPCMData(2, pcm.data()));
  std::vector<float> f = {0.5f, -1.0f};
  ASSERT_TRUE(w.WriteReal32AsPCMData(1, f.data()));
  ASSERT_TRUE(w.Close());

  const Bytes b = ReadFileBytes(dir.Native("x.wav"));
  EXPECT_EQ(Bytes(b.begin(), b.begin() + 4), B4("RIFX"));
  EXPECT_EQ(GetU32(b, 4), b.size() - 8);  // patched little-endian on purpose
  // Field-by-field swapping is checked on the records themselves; here each chunk must be swapped.
  ASSERT_EQ(FindChunk(b, "fmt ", true), 12u);
  EXPECT_EQ(GetU32BE(b, 16), 24u);
  EXPECT_EQ(GetU32BE(b, 24), 0xAC44u);
  const size_t smpl = FindChunk(b, "smpl", true);
  EXPECT_EQ(GetU32BE(b, smpl + 8 + 44), 0x11u);
  const size_t cue = FindChunk(b, "cue ", true);
  EXPECT_EQ(GetU32BE(b, cue + 8), 1u);
  EXPECT_EQ(GetU32BE(b, cue + 16), 0x01020304u);
  EXPECT_EQ(std::memcmp(b.data() + cue + 20, "data", 4), 0);
  const size_t list = FindChunk(b, "LIST", true);
  EXPECT_EQ(Bytes(b.begin() + long(list + 8), b.begin() + long(list + 8 + 20)),
            Concat({B4("adtl"), B4("labl"), {0, 0, 0, 7}, {0, 0, 0, 1}, {'a', 'b', 0, 0}}));
  const size_t data = FindChunk(b, "data", true) + 8;
  EXPECT_EQ(GetU32(b, data - 4), 12u);  // little-endian on purpose
  EXPECT_EQ(Bytes(b.begin() + long(data), b.end()),
            (Bytes{0x01, 0x02, 0xFF, 0xFE, 0x7F, 0x00, 0x00, 0x55, 0x3F, 0xFF, 0x80, 0x01}));
}

TEST(WavWriterFailures, UnsupportedFormatsAndCallOrder) {
  TempDir dir;
  {  // No format: nothing after the outer header.
    NyWavFileWriter w;
    ASSERT_TRUE(w.Open(lu::Path(dir.Wide("n.wav")), false));
    EXPECT_FALSE(w.WriteChunks(ChunkFlag_Smpl));
    float s = 0;
    EXPECT_FALSE(w.WriteReal32AsPCMData(1, &s));
    EXPECT_TRUE(w.Close());
    EXPECT_TRUE(w.Close());  // a second Close finds nothing open
    EXPECT_EQ(ReadFileBytes(dir.Native("n.wav")), Concat({B4("RIFF"), U32(4), B4("WAVE")}));
  }
  struct Case {
    uint16_t channels, bits, blockAlign;
    bool int16, real32;
  } const cases[] = {
      {1, 8, 1, false, false}, {2, 40, 10, false, false}, {1, 24, 3, false, true},
      {2, 32, 8, false, true}, {2, 16, 4, true, true},    {0, 16, 4, false, false},
  };
  for (const Case& c : cases) {
    NyWavFileWriter w;
    ASSERT_TRUE(w.Open(lu::Path(dir.Wide("f.wav")), false));
    WAVEFORMATEXTENSIBLE f = Fmt40(c.channels ? c.channels : 1, c.bits);
    f.Format.nChannels = c.channels;
    f.Format.nBlockAlign = c.blockAlign;
    w.SetFormat(f);
    ASSERT_TRUE(w.WriteChunks(0));
    std::vector<short> s(16);
    std::vector<float> x(16);
    EXPECT_EQ(w.WriteInt16AsPCMData(2, s.data()), c.int16) << c.bits;
    EXPECT_EQ(w.WriteReal32AsPCMData(2, x.data()), c.real32) << c.bits;
  }
  // Either open finishes the file that is open, even when it fails, and the next file starts
  // from nothing.
  NyWavFileWriter w;
  const auto start = [&](const char* name, unsigned frames) {
    ASSERT_TRUE(w.Open(lu::Path(dir.Wide(name)), false));
    w.SetFormat(Fmt40(1, 16));
    ASSERT_TRUE(w.WriteChunks(0));
    std::vector<short> s(frames);
    ASSERT_TRUE(w.WriteInt16AsPCMData(frames, s.data()));
  };
  start("first.wav", 3);
  EXPECT_FALSE(w.Open(lu::Path(dir.Wide("missing/x.wav")), false));
  start("second.wav", 1);
  lu::Path temp(L"untouched");
  EXPECT_FALSE(w.OpenTempFile(lu::Path(dir.Wide("missing")), temp, false));
  EXPECT_EQ(temp.GetFullPath(), L"untouched");
  for (const auto& [name, bytes] : {std::pair{"first.wav", 6u}, {"second.wav", 2u}}) {
    const Bytes b = ReadFileBytes(dir.Native(name));
    EXPECT_EQ(GetU32(b, 4), b.size() - 8) << name;
    EXPECT_EQ(GetU32(b, FindChunk(b, "data", false) + 4), bytes) << name;
  }
  if (IsRoot()) GTEST_SKIP() << "permissions do not bind root";
  ::mkdir(dir.Native("ro").c_str(), 0555);
  EXPECT_FALSE(w.Open(lu::Path(dir.Wide("ro/x.wav")), false));
  EXPECT_FALSE(w.OpenTempFile(lu::Path(dir.Wide("ro")), temp, false));
  EXPECT_TRUE(FolderNames(dir.Native("ro")).empty());
}

namespace {

uint32_t RiffSizeField(const std::string& native) {
  uint32_t v = 0;
  if (FILE* f = std::fopen(native.c_str(), "rb")) {
    if (std::fseek(f, 4, SEEK_SET) != 0 || std::fread(&v, 4, 1, f) != 1) v = 0xDEADBEEF;
    std::fclose(f);
  }
  return v;
}

// Reaches the writer's state to stand at the edge of the 4 GiB limit without writing 4 GiB.
class EdgeWriter : public NyWavFileWriter {
 public:
  void SetDataSize(unsigned int size) { m_dataSize = size; }
  lu::File& File() { return m_file; }
};

}  // namespace

TEST(WavWriterFailures, FourGibLimit) {
  TempDir dir;
  EdgeWriter w;
  ASSERT_TRUE(w.Open(lu::Path(dir.Wide("big.wav")), false));
  w.SetFormat(Fmt40(2, 16));
  ASSERT_TRUE(w.WriteChunks(0));
  std::vector<short> pcm(2 * 32);
  std::vector<float> x(2 * 32);
  w.SetDataSize(0xFFFFFFFFu - 100);
  EXPECT_FALSE(w.WriteInt16AsPCMData(26, pcm.data()));   // 104 bytes: one frame too many
  EXPECT_FALSE(w.WriteReal32AsPCMData(26, x.data()));
  EXPECT_TRUE(w.WriteInt16AsPCMData(25, pcm.data()));    // exactly up to 0xFFFFFFFF
  EXPECT_FALSE(w.WriteInt16AsPCMData(1, pcm.data()));
  EXPECT_TRUE(w.WriteReal32AsPCMData(0, x.data()));
  // A file grown past 4 GiB - 1 (sparse here) is refused at Close and stays open, unchanged.
  ASSERT_EQ(w.File().SetFilePointer(0x100000000ll, lu::FilePointerBegin), 0x100000000ll);
  ASSERT_TRUE(w.File().WriteExact("z", 1));
  EXPECT_FALSE(w.Close());
  EXPECT_TRUE(w.File().IsOpen());
  EXPECT_EQ(RiffSizeField(dir.Native("big.wav")), 0u);
  ASSERT_EQ(w.File().SetFilePointer(200, lu::FilePointerBegin), 200);
  ASSERT_TRUE(w.File().SetEndOfFile());
  EXPECT_TRUE(w.Close());
  EXPECT_EQ(RiffSizeField(dir.Native("big.wav")), 192u);
}

TEST(WavWriterFailures, FullDiskIsReported) {
  // The sample write or the close reports a full disk (a write cut short through a temporary file
  // is covered with the interrupted writes).
  for (const bool swap : {false, true}) {  // float samples, and 16-bit samples swapped in blocks
    NyWavFileWriter w;
    ASSERT_TRUE(w.Open(lu::Path(L"/dev/full"), swap));
    w.SetFormat(Fmt40(2, swap ? 16 : 24));
    w.WriteChunks(0);
    std::vector<float> x(2 * 100000);
    std::vector<short> s(2 * 100000);
    EXPECT_FALSE(swap ? w.WriteInt16AsPCMData(100000, s.data()) : w.WriteReal32AsPCMData(100000, x.data()));
    EXPECT_EQ(lu::File::GetLastError(), lu::FileErrorDiskFull);
    EXPECT_FALSE(w.Close());
  }
}
