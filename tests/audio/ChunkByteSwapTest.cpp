// Byte-order conversion: every numeric field reversed, codes and GUIDs untouched, sample data by width.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <nybase/audio/WavByteSwapHelpers.h>

namespace {

struct Field {
  size_t offset, width;
};

struct SwapCase {
  const char* name;
  size_t size;
  std::vector<Field> numeric;  // every other byte must stay where it is
  std::function<void(unsigned char*)> convert;
};

template <typename T>
std::function<void(unsigned char*)> ConvertAs() {
  return [](unsigned char* bytes) {
    T record;
    std::memcpy(static_cast<void*>(&record), bytes, sizeof(T));
    WavByteSwapHelpers::Convert(record);
    std::memcpy(bytes, static_cast<const void*>(&record), sizeof(T));
  };
}

std::vector<Field> Words(size_t count) {
  std::vector<Field> out;
  for (size_t i = 0; i < count; ++i) out.push_back({i * 4, 4});
  return out;
}

const std::vector<Field> k_waveFormatEx = {{0, 2}, {2, 2}, {4, 4}, {8, 4}, {12, 2}, {14, 2}, {16, 2}};

std::vector<Field> Plus(std::vector<Field> a, std::initializer_list<Field> b) {
  a.insert(a.end(), b);
  return a;
}

TEST(ChunkByteSwap, NumericFieldsReversedEverythingElseKept) {
  const SwapCase cases[] = {
      {"RIFFHEADER", 8, {{4, 4}}, ConvertAs<RIFFHEADER>()},
      {"IRMETADATA", 8, Words(2), ConvertAs<NyWAVStructs::IRMETADATA>()},
      {"SAMPLER", 36, Words(9), ConvertAs<SAMPLER>()},
      {"SAMPLER_LOOP", 24, Words(6), ConvertAs<SAMPLER_LOOP>()},
      {"WAV_CUE", 24, {{0, 4}, {4, 4}, {12, 4}, {16, 4}, {20, 4}}, ConvertAs<WAV_CUE>()},
      {"tWAVEFORMATEX", 18, k_waveFormatEx, ConvertAs<tWAVEFORMATEX>()},
      {"WAVEFORMATEXTENSIBLE", 40, Plus(k_waveFormatEx, {{18, 2}, {20, 4}}), ConvertAs<WAVEFORMATEXTENSIBLE>()},
      {"WaveFormatExtensible", 24, Plus(k_waveFormatEx, {{18, 2}, {20, 4}}), ConvertAs<WaveFormatExtensible>()},
  };
  for (const SwapCase& c : cases) {
    std::vector<unsigned char> original(c.size);
    for (size_t i = 0; i < c.size; ++i) original[i] = static_cast<unsigned char>(0x11 + i);
    std::vector<unsigned char> expected = original;
    for (const Field& f : c.numeric) {
      for (size_t i = 0; i < f.width; ++i) expected[f.offset + i] = original[f.offset + f.width - 1 - i];
    }
    std::vector<unsigned char> bytes = original;
    c.convert(bytes.data());
    EXPECT_EQ(bytes, expected) << c.name;
    c.convert(bytes.data());
    EXPECT_EQ(bytes, original) << c.name << " twice";
  }
}

TEST(ChunkByteSwap, ConvertDataByWidth) {
  struct Case {
    uint16_t bits;
    bool isSigned;
    std::vector<unsigned char> in, out;
  };
  const Case cases[] = {
      {16, false, {1, 2, 3, 4, 5}, {2, 1, 4, 3, 5}},  // an odd trailing byte stays
      {32, false, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, {4, 3, 2, 1, 8, 7, 6, 5, 9, 10}},
      {8, false, {0x00, 0x7F, 0x80, 0xFF}, {0x80, 0xFF, 0x00, 0x7F}},
      {8, true, {0x00, 0x7F, 0x80, 0xFF}, {0x00, 0x7F, 0x80, 0xFF}},
      {24, false, {1, 2, 3, 4, 5, 6}, {1, 2, 3, 4, 5, 6}},
      {64, false, {1, 2, 3, 4, 5, 6, 7, 8}, {1, 2, 3, 4, 5, 6, 7, 8}},
  };
  for (const Case& c : cases) {
    WAVEFORMATEXTENSIBLE published{};
    published.Format.wBitsPerSample = c.bits;
    WaveFormatExtensible own{};
    own.wBitsPerSample = c.bits;
    std::vector<unsigned char> a = c.in, b = c.in;
    WavByteSwapHelpers::ConvertData(a.data(), unsigned(a.size()), published, c.isSigned);
    WavByteSwapHelpers::ConvertData(b.data(), unsigned(b.size()), own, c.isSigned);
    EXPECT_EQ(a, c.out) << c.bits << " bits";
    EXPECT_EQ(b, c.out) << c.bits << " bits";
  }
}

}  // namespace
