// Sample reads of the WAV reader: conversion values, seeks, channel routes, deciphering, and float
// output checked against libsndfile on files made by sox.
#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>

#include <nybase/audio/NyWavFileReader.h>

#include "WavTestFiles.h"

using namespace nytest;

namespace {

constexpr unsigned k_all = ChunkFlag_Fmt | ChunkFlag_Data;

class WavSamples : public ::testing::Test {
 protected:
  TempDir m_dir;
  int m_serial = 0;

  std::unique_ptr<NyWavFileReader> OpenBytes(const Bytes& bytes, const IDataDecipher* d = nullptr) {
    const std::string name = "s" + std::to_string(m_serial++) + ".wav";
    WriteFileBytes(m_dir.Native(name), bytes);
    auto reader = std::make_unique<NyWavFileReader>();
    reader->SetDataDecipher(d);
    EXPECT_TRUE(reader->Open(lu::Path(m_dir.Wide(name))));
    EXPECT_TRUE(reader->ReadChunks(k_all));
    EXPECT_TRUE(reader->SeekToAudioFrame(0));
    return reader;
  }
};

Bytes PcmFile(const Bytes& fmtPayload, const Bytes& data, const Bytes& tail = {}) {
  return Riff(Concat({Chunk("fmt ", fmtPayload), Chunk("data", data), tail}));
}

// Little-endian samples of the given byte width.
Bytes Samples(int width, std::initializer_list<int64_t> v) {
  Bytes out;
  for (int64_t s : v) {
    for (int i = 0; i < width; ++i) out.push_back(uint8_t(uint64_t(s) >> (8 * i)));
  }
  return out;
}
Bytes SamplesF(std::initializer_list<float> v) {
  Bytes out;
  for (float f : v) {
    uint32_t u;
    std::memcpy(&u, &f, 4);
    PutU32(out, u);
  }
  return out;
}

// --- Conversion values --------------------------------------------------------------------------

TEST_F(WavSamples, FloatConversionIsExactAtTheEdgesOfEveryWidth) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  struct Case {
    const char* name;
    Bytes file;
    std::vector<float> expected;
  } cases[] = {
      {"16", PcmFile(FmtPayload(1, 1, 8000, 16), Samples(2, {-32768, 32767, -1})),
       {-1.0f, 0.999969482421875f, -1.0f / 32768}},
      {"24", PcmFile(FmtPayload(1, 1, 8000, 24), Samples(3, {-8388608, 8388607, -1})),
       {-1.0f, 8388607.0f / 8388608, -1.0f / 8388608}},
      // INT32_MAX becomes 2^31 in float before the multiplication: exactly 1.0, no clipping.
      {"32", PcmFile(FmtPayload(1, 1, 8000, 32), Samples(4, {INT32_MIN, INT32_MAX, -256})),
       {-1.0f, 1.0f, -256.0f / 2147483648.0f}},
      {"float", PcmFile(FmtPayload(3, 1, 8000, 32), SamplesF({1.5f, -2.0f})), {1.5f, -2.0f}},
  };
  for (const Case& c : cases) {
    auto reader = OpenBytes(c.file);
    std::vector<float> out(c.expected.size() + 1, nan);
    ASSERT_EQ(reader->ReadPCMDataAsFloat32(unsigned(out.size()), out.data()), c.expected.size()) << c.name;
    for (size_t i = 0; i < c.expected.size(); ++i) EXPECT_EQ(out[i], c.expected[i]) << c.name << " " << i;
    EXPECT_TRUE(std::isnan(out.back())) << c.name;  // nothing beyond the frames delivered
  }
  // Float samples are copied bit for bit, NaN payloads included.
  Bytes nanBits;
  PutU32(nanBits, 0x7FC01234);
  auto floats = OpenBytes(PcmFile(FmtPayload(3, 1, 8000, 32), nanBits));
  uint32_t bits = 0;
  ASSERT_EQ(floats->ReadPCMDataAsFloat32(1, reinterpret_cast<float*>(&bits)), 1u);
  EXPECT_EQ(bits, 0x7FC01234u);
}

TEST_F(WavSamples, Int16NarrowingTruncatesClampsAndMapsNanHigh) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
  struct Case {
    const char* name;
    Bytes file;
    std::vector<int16_t> expected;
  } cases[] = {
      {"float", PcmFile(FmtPayload(3, 1, 8000, 32), SamplesF({1.0f, -1.0f, 2.0f, -2.0f, nan, -0.5f, -inf})),
       {32767, -32767, 32767, -32768, 32767, -16383, -32768}},
      {"int32", PcmFile(FmtPayload(1, 1, 8000, 32), Samples(4, {0x12345678, -1, INT32_MIN})), {0x1234, -1, -32768}},
      {"int24", PcmFile(FmtPayload(1, 1, 8000, 24), Samples(3, {0x123456, -1, -8388608})), {0x1234, -1, -32768}},
      {"int16", PcmFile(FmtPayload(1, 2, 8000, 16), Samples(2, {-32768, 32767, 5, -5})),
       {-32768, 32767, 5, -5}},
  };
  for (const Case& c : cases) {
    auto reader = OpenBytes(c.file);
    const unsigned channels = reader->GetNumChannels();
    std::vector<short> out(c.expected.size() + 2, 0x5555);
    ASSERT_EQ(reader->ReadPCMDataAsInt16(100, out.data()), c.expected.size() / channels) << c.name;
    for (size_t i = 0; i < c.expected.size(); ++i) EXPECT_EQ(out[i], c.expected[i]) << c.name << " " << i;
    EXPECT_EQ(out[c.expected.size()], 0x5555) << c.name;
  }
}

// A file whose channel c holds (c + 1) * 1000 + f in frame f.
Bytes MarkedChannels(const Bytes& fmtPayload, unsigned channels, unsigned frames, const Bytes& tail = {}) {
  Bytes data;
  for (unsigned f = 0; f < frames; ++f) {
    for (unsigned c = 0; c < channels; ++c) PutU16(data, uint16_t((c + 1) * 1000 + f));
  }
  return PcmFile(fmtPayload, data, tail);
}
float Marked(unsigned channel, unsigned frame = 0) { return ((channel + 1) * 1000 + frame) / 32768.0f; }

// --- Channel routes -----------------------------------------------------------------------------

TEST_F(WavSamples, PipelineRouteOrdersSpeakersByMaskBit) {
  // 5.1 with sides, stored L C R SL SR LFE; read back as L R C LFE SL SR.
  auto reader = OpenBytes(MarkedChannels(FmtExtensible(6, 48000, 16, 0x60F), 6, 3));
  const NyChannelConfig config = reader->GetFormat().channelConfig;
  ASSERT_EQ(config.Serialize(), 0x60F106u);
  float out[18];
  ASSERT_EQ(reader->ReadPCMDataAsFloat32(3, config, NY::ChannelOrdering_Pipeline, out, true), 3u);
  const unsigned sourceOf[6] = {0, 2, 1, 5, 3, 4};  // destination -> pipeline source
  for (unsigned f = 0; f < 3; ++f) {
    for (unsigned d = 0; d < 6; ++d) EXPECT_EQ(out[f * 6 + d], Marked(sourceOf[d], f)) << f << d;
  }
  // A mask with a speaker outside the sequence keeps the file's order.
  ASSERT_TRUE(reader->SeekToAudioFrame(0));
  ASSERT_EQ(reader->ReadPCMDataAsFloat32(1, NyChannelConfig(6, 1, 0x4F | 0x600), NY::ChannelOrdering_Pipeline,
                                         out, true),
            1u);
  for (unsigned d = 0; d < 6; ++d) EXPECT_EQ(out[d], Marked(d)) << d;
}

TEST_F(WavSamples, SecondOrderFurseMalhamGoesToAcnPlanar) {
  // Second order in FuMa letters W X Y Z R S T U V; ACN order is W Y Z X V T R S U.
  auto reader = OpenBytes(MarkedChannels(FmtPayload(1, 9, 48000, 16), 9, 4));
  const NyChannelConfig ambisonic(9, NyChannelConfigType_Ambisonic, 0);
  std::vector<float> planes(9 * 6, -5.0f);
  ASSERT_EQ(reader->ReadPCMDataAsFloat32(6, ambisonic, NY::ChannelOrdering_FuMa, planes.data(), false), 4u);
  const unsigned fumaOfAcn[9] = {0, 2, 3, 1, 8, 6, 4, 5, 7};
  const float gainOfAcn[9] = {1.0f,        0.70710677f, 0.70710677f, 0.70710677f, 0.61237246f,
                              0.61237246f, 0.70710677f, 0.61237246f, 0.61237246f};
  for (unsigned d = 0; d < 9; ++d) {
    for (unsigned f = 0; f < 4; ++f) {
      EXPECT_EQ(planes[d * 6 + f], Marked(fumaOfAcn[d], f) * gainOfAcn[d]) << d << " " << f;
    }
    // The plane pitch is the request: the frames not delivered stay untouched.
    EXPECT_EQ(planes[d * 6 + 4], -5.0f);
    EXPECT_EQ(planes[d * 6 + 5], -5.0f);
  }
  // Another type, or the native ordering, is the identity.
  for (auto [config, ordering] : {std::pair{NyChannelConfig(9, 1, 0), NY::ChannelOrdering_FuMa},
                                  std::pair{ambisonic, NY::ChannelOrdering_Native}}) {
    ASSERT_TRUE(reader->SeekToAudioFrame(1));
    ASSERT_EQ(reader->ReadPCMDataAsFloat32(1, config, ordering, planes.data(), false), 1u);
    for (unsigned d = 0; d < 9; ++d) EXPECT_EQ(planes[d], Marked(d, 1)) << d;
  }
  // The plain read keeps the file's order though the file reports the ambisonic one.
  auto foa = OpenBytes(MarkedChannels(FmtExtensible(4, 48000, 16, 0, 1, true), 4, 1));
  ASSERT_EQ(foa->GetChannelOrdering(), NY::ChannelOrdering_FuMa);
  ASSERT_EQ(foa->ReadPCMDataAsFloat32(1, planes.data()), 1u);
  for (unsigned d = 0; d < 4; ++d) EXPECT_EQ(planes[d], Marked(d)) << d;
}

// --- Deciphering --------------------------------------------------------------------------------

class XorDecipher : public IDataDecipher {
 public:
  mutable int setups = 0;
  bool SetupFromHeader(const void* header) const override {
    ++setups;
    return std::memcmp(header, "XOR-CIPHER-HEAD!", 16) == 0;
  }
  unsigned int GetBlockSize() const override { return 16; }
  void DecryptBlock(const void* source, void* destination) const override {
    for (int i = 0; i < 16; ++i) {
      static_cast<uint8_t*>(destination)[i] = static_cast<const uint8_t*>(source)[i] ^ uint8_t(0xA5 + i);
    }
  }
};

TEST_F(WavSamples, EncipheredDataRoundTripsAtUnalignedPositions) {
  // 50 stereo 24-bit frames (300 bytes, not a multiple of the block), enciphered in 16-byte blocks.
  Bytes plain;
  for (int f = 0; f < 50; ++f) plain = Concat({plain, Samples(3, {f * 1000, -(f * 1000 + 1)})});
  Bytes cipher = plain;
  cipher.resize((cipher.size() + 15) & ~size_t(15), 0);
  for (size_t i = 0; i < cipher.size(); ++i) cipher[i] ^= uint8_t(0xA5 + (i % 16));
  cipher.resize(plain.size());
  const std::string headText = "XOR-CIPHER-HEAD!";
  const Bytes head(headText.begin(), headText.end());
  const Bytes file = PcmFile(FmtPayload(1, 2, 48000, 24), Concat({head, cipher}), Chunk("cue ", CuePayload({{1, 2}})));

  XorDecipher decipher;
  auto reader = OpenBytes(file, &decipher);
  EXPECT_EQ(decipher.setups, 1);
  ASSERT_TRUE(reader->IsEncrypted());
  EXPECT_EQ(reader->GetDataSize(), plain.size());
  EXPECT_EQ(reader->GetDataOffset(), 12u + 24 + 8 + 16);
  NyWavFileReader walker;  // the walk goes on past the data after the cipher header was read
  walker.SetDataDecipher(&decipher);
  ASSERT_TRUE(walker.Open(lu::Path(m_dir.Wide("s0.wav"))));
  EXPECT_TRUE(walker.ReadChunks(k_all | ChunkFlag_Cue));
  EXPECT_EQ(walker.GetNumMarkers(), 1u);
  for (unsigned frame : {3u, 21u, 49u}) {
    ASSERT_TRUE(reader->SeekToAudioFrame(frame));
    float out[6] = {};
    const unsigned expected = std::min(3u, 50 - frame);
    ASSERT_EQ(reader->ReadPCMDataAsFloat32(3, out), expected) << frame;
    for (unsigned f = 0; f < expected; ++f) {
      EXPECT_EQ(out[2 * f], float((frame + f) * 1000) / 8388608) << frame;
      EXPECT_EQ(out[2 * f + 1], -float((frame + f) * 1000 + 1) / 8388608) << frame;
    }
    // A sequential read after an unaligned one continues at the right frame.
    if (frame + 4 <= 50) {
      ASSERT_EQ(reader->ReadPCMDataAsFloat32(1, out), 1u);
      EXPECT_EQ(out[0], float((frame + 3) * 1000) / 8388608) << frame;
    }
  }
  unsigned char* data = nullptr;
  unsigned int bytes = 0;
  reader->ReadDataFromFile(5, 20, data, bytes);
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(bytes, 20u);
  EXPECT_EQ(Bytes(data, data + 20), Bytes(plain.begin() + 5, plain.begin() + 25));

  // Without the decipher the enciphered bytes read as zeros.
  reader->SetDataDecipher(nullptr);
  ASSERT_TRUE(reader->SeekToAudioFrame(1));
  float out[2] = {1, 1};
  ASSERT_EQ(reader->ReadPCMDataAsFloat32(1, out), 1u);
  EXPECT_EQ(out[0], 0.0f);

  // A header the decipher refuses leaves the data as plain samples.
  XorDecipher refusing;
  auto clear = OpenBytes(PcmFile(FmtPayload(1, 2, 48000, 24), plain), &refusing);
  EXPECT_FALSE(clear->IsEncrypted());
  EXPECT_EQ(clear->GetDataSize(), plain.size());
  float first[2];
  ASSERT_EQ(clear->ReadPCMDataAsFloat32(1, first), 1u);
  EXPECT_EQ(first[1], -1.0f / 8388608);
}

// --- Against libsndfile -------------------------------------------------------------------------

float UlpDistance(float a, float b) {
  if (a == b) return 0;
  return std::fabs(a - b) / std::fabs(std::nextafter(a, 2 * a + 1) - a);
}

TEST(WavSamplesOracle, FormatAndFloatOutputMatchSndfileOnSoxFiles) {
  if (!HaveProgram("sox")) GTEST_SKIP() << "sox is not installed";
  struct Case {
    const char* name;
    const char* args;
    float maxUlp;
    uint16_t dataType;
    uint32_t config;  // 0: not checked
  } cases[] = {
      {"s16.wav", "-r 44100 -b 16 -c 2", 0, 0, 0x3102},
      // sox marks 5.1 with the back pair: read as the side pair.
      {"s24.wav", "-r 48000 -b 24 -c 6", 1, 0, 0x60F106},
      {"f32.wav", "-r 96000 -b 32 -e floating-point -c 2", 0, 1, 0x3102},
      {"i32.wav", "-r 48000 -b 32 -e signed-integer -c 3", 1, 0, 0},
  };
  TempDir dir;
  for (const Case& c : cases) {
    const std::string path = dir.Native(c.name);
    // Noise driven into clipping: both extremes and everything between.
    ASSERT_EQ(nytest::Run(std::string("sox -n ") + c.args + " " + path +
                  " synth 0.5 whitenoise vol 1.5 2>/dev/null"),
              0);
    SF_INFO info{};
    SNDFILE* sf = sf_open(path.c_str(), SFM_READ, &info);
    ASSERT_NE(sf, nullptr);
    std::vector<float> expected(size_t(info.frames) * info.channels);
    ASSERT_EQ(sf_readf_float(sf, expected.data(), info.frames), info.frames);
    sf_close(sf);

    NyWavFileReader reader;
    ASSERT_TRUE(reader.Open(lu::Path(dir.Wide(c.name))));
    ASSERT_TRUE(reader.ReadChunks(k_all));
    ASSERT_EQ(reader.GetNumFrames(), uint32_t(info.frames)) << c.name;
    const WaveFormatExtensible& f = reader.GetFormat();
    EXPECT_EQ(f.nChannels, unsigned(info.channels)) << c.name;
    EXPECT_EQ(f.nSamplesPerSec, unsigned(info.samplerate)) << c.name;
    EXPECT_EQ(reader.GetDataTypeID(), c.dataType) << c.name;
    if (c.config) {
      EXPECT_EQ(f.channelConfig.Serialize(), c.config) << c.name;
    }
    ASSERT_TRUE(reader.SeekToAudioFrame(0));
    std::vector<float> ours(expected.size());
    // Odd block sizes exercise the kernels' tails.
    size_t done = 0;
    for (unsigned block = 1; done < size_t(info.frames); block = block * 3 + 1) {
      const unsigned got = reader.ReadPCMDataAsFloat32(block, ours.data() + done * info.channels);
      ASSERT_GT(got, 0u);
      done += got;
    }
    for (size_t i = 0; i < ours.size(); ++i) {
      ASSERT_LE(UlpDistance(expected[i], ours[i]), c.maxUlp) << c.name << " at " << i << ": " << ours[i]
                                                             << " vs " << expected[i];
    }
  }
}

}  // namespace
