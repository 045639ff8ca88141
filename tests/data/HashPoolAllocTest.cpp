// HashBytes, lu::VariantToBytes, lu::FixedSizeMemoryPool and luFXMemAlloc.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <set>
#include <vector>

#include <nybase/data/FixedSizeMemoryPool.h>
#include <nybase/data/HashBytes.h>
#include <nybase/data/VariantToBytes.h>
#include <nybase/data/luFXMemAlloc.h>

namespace {

// FNV-1 in 32 bits, as published (multiply, then XOR), byte by byte.
uint32_t ReferenceFnv1(const std::vector<uint8_t>& bytes, uint32_t hash) {
  for (uint8_t b : bytes) hash = static_cast<uint32_t>(static_cast<uint64_t>(hash) * 0x01000193u) ^ b;
  return hash;
}

}  // namespace

TEST(HashBytes, KnownValuesAndRandomChunks) {
  HashBytes a;
  int written = 0;
  EXPECT_TRUE(a.WriteBytes("a", 1, written));
  EXPECT_EQ(a.GetHash(), 0x050C5D7Eu);
  HashBytes foobar;
  foobar.WriteBytes("foobar", 6, written);
  EXPECT_EQ(foobar.GetHash(), 0x31F0B262u);  // the published FNV-1 test vector
  EXPECT_TRUE(foobar.WriteBytes("zz", -3, written));
  EXPECT_EQ(written, -3);
  EXPECT_EQ(foobar.GetHash(), 0x31F0B262u);

  std::mt19937 rng(99);
  std::vector<uint8_t> data(5000);
  for (auto& b : data) b = static_cast<uint8_t>(rng());
  const uint32_t seed = rng();
  HashBytes h(seed);
  for (size_t at = 0; at < data.size();) {  // fed in random pieces: the hash runs on
    const size_t n = std::min<size_t>(rng() % 300, data.size() - at);
    h.WriteBytes(data.data() + at, static_cast<int>(n), written);
    at += n;
  }
  EXPECT_EQ(h.GetHash(), ReferenceFnv1(data, seed));
}

TEST(VariantToBytes, WidthsByTypeAndTheStringRule) {
  const struct {
    lu::Variant value;
    std::vector<uint8_t> bytes;  // empty with ok false: nothing written
    bool ok;
  } cases[] = {
      {lu::Variant(int8_t{-2}), {0xFE}, true},
      {lu::Variant(true), {1}, true},
      {lu::Variant(uint16_t{0x1234}), {0x34, 0x12}, true},
      {lu::Variant(int32_t{-1}), {0xFF, 0xFF, 0xFF, 0xFF}, true},
      {lu::Variant(1.0f), {0, 0, 0x80, 0x3F}, true},
      {lu::Variant(uint64_t{0x0102030405060708}), {8, 7, 6, 5, 4, 3, 2, 1}, true},
      {lu::Variant(L"A\u00E9"), {'A', 0, 0xE9, 0}, true},
      {lu::Variant(L""), {0}, true},
      {lu::Variant(), {}, false},
  };
  for (const auto& c : cases) {
    HashBytes sink;
    EXPECT_EQ(lu::VariantToBytes(c.value, &sink), c.ok);
    EXPECT_EQ(sink.GetHash(), ReferenceFnv1(c.bytes, HashBytes::k_defaultSeed)) << int(c.value.GetType());
  }
}

TEST(FixedSizeMemoryPool, LastInFirstOutAndOnDemandGrowth) {
  lu::FixedSizeMemoryPool pool(48, 2);
  EXPECT_EQ(pool.Size(), 2u);
  void* a = pool.Allocate();
  void* b = pool.Allocate();
  EXPECT_EQ(pool.Size(), 0u);
  void* c = pool.Allocate();
  EXPECT_EQ(pool.Size(), 0u);
  std::memset(c, 0x5A, 48);  // a full block under ASan
  EXPECT_NE(a, c);
  pool.Deallocate(b);
  pool.Deallocate(nullptr);
  EXPECT_EQ(pool.Size(), 1u);
  EXPECT_EQ(pool.Allocate(), b);
  pool.Deallocate(a);
  pool.Deallocate(b);
  {
    lu::FixedSizeMemoryPool copy(pool);  // the copy shares the free blocks: it must not die first
    EXPECT_EQ(copy.Size(), 2u);
    EXPECT_EQ(copy.Allocate(), b);
    copy.Allocate();
  }
  ::operator delete(c);  // a block kept by the caller
}

TEST(luFXMemAlloc, AlignmentHeaderReallocAndCounter) {
  luFXMemAlloc& alloc = luFXMemAlloc::m_instance;
  const uint64_t before = luFXMemAlloc::GetAllocatedBytes();
  std::vector<void*> blocks;
  for (unsigned alignment : {1u, 2u, 8u, 16u, 64u, 4096u}) {
    for (size_t size : {0u, 1u, 100u, 5000u}) {
      void* p = alloc.Malign(size, alignment);
      ASSERT_NE(p, nullptr);
      EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % alignment, 0u) << alignment;
      uint64_t storedSize = 0;
      uint32_t storedAlignment = 0;
      std::memcpy(&storedSize, static_cast<char*>(p) - 16, 8);
      std::memcpy(&storedAlignment, static_cast<char*>(p) - 8, 4);
      EXPECT_EQ(storedSize, size);
      EXPECT_EQ(storedAlignment, alignment);
      std::memset(p, 0x11, size);
      blocks.push_back(p);
    }
  }
  EXPECT_GT(luFXMemAlloc::GetAllocatedBytes(), before);
  void* small = alloc.Malloc(3);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(small) % 16, 0u);
  EXPECT_EQ(alloc.Malign(8, 24), nullptr);  // not a power of two
  blocks.push_back(alloc.Realloc(nullptr, 7));

  unsigned char* m = static_cast<unsigned char*>(alloc.Malign(100, 64));
  for (int i = 0; i < 100; ++i) m[i] = static_cast<unsigned char>(i);
  auto* grown = static_cast<unsigned char*>(alloc.Realloc(m, 1000));
  EXPECT_NE(grown, m);  // never in place
  EXPECT_EQ(reinterpret_cast<uintptr_t>(grown) % 64, 0u);
  auto* moved = static_cast<unsigned char*>(alloc.ReallocAligned(grown, 50, 256));
  EXPECT_EQ(reinterpret_cast<uintptr_t>(moved) % 256, 0u);
  for (int i = 0; i < 50; ++i) ASSERT_EQ(moved[i], i);
  alloc.Free(nullptr);
  alloc.Free(moved);
  for (void* p : blocks) alloc.Free(p);
  // The Malloc(3) block above is still out: its 16 + 15 + 3 bytes remain counted.
  EXPECT_EQ(luFXMemAlloc::GetAllocatedBytes(), before + 34);
  alloc.Free(small);
  EXPECT_EQ(luFXMemAlloc::GetAllocatedBytes(), before);
}
