// Every SIMD form of the integer sample kernels gives the scalar kernel's floats, at every length.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include <nybase/audio/internal/SampleConvert.h>

namespace {

using nybase::audio::detail::ConvertIntegerWith;
using nybase::audio::detail::KernelSet;

TEST(SampleKernels, SimdFormsMatchTheScalarFormAtEveryLength) {
  std::mt19937 rng(11);
  for (unsigned width : {2u, 3u}) {
    for (size_t count = 0; count < 70; ++count) {
      // Exactly count samples, so a kernel that reads past its input trips the sanitizer.
      std::vector<uint8_t> src(count * width);
      for (uint8_t& b : src) b = uint8_t(rng());
      if (count > 1) {  // both extremes appear
        src[0] = 0x00, src[width - 1] = 0x80;
        for (unsigned i = 0; i < width; ++i) src[width + i] = i + 1 == width ? 0x7F : 0xFF;
      }
      std::vector<float> expected(count), got(count);
      ASSERT_TRUE(ConvertIntegerWith(KernelSet::Scalar, src.data(), width, expected.data(), count));
      for (KernelSet set : {KernelSet::Ssse3, KernelSet::Avx2}) {
        std::fill(got.begin(), got.end(), -9.0f);
        if (!ConvertIntegerWith(set, src.data(), width, got.data(), count)) continue;
        EXPECT_EQ(got, expected) << "width " << width << " count " << count << " set " << int(set);
      }
    }
  }
  float one = 0;
  const uint8_t min16[2] = {0x00, 0x80};
  ASSERT_TRUE(ConvertIntegerWith(KernelSet::Scalar, min16, 2, &one, 1));
  EXPECT_EQ(one, -1.0f);
  EXPECT_FALSE(ConvertIntegerWith(KernelSet::Scalar, min16, 4, &one, 1));
}

}  // namespace
