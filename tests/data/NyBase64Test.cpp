// NyBase64 against the stated results and against coreutils base64 on random buffers.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <nybase/data/NyBase64.h>

#include "../support/TestSupport.h"

using nytest::ReadFileBytes;
using nytest::TempDir;
using nytest::WriteFileBytes;
using Bytes = std::vector<uint8_t>;

namespace {

Bytes Decode(const std::wstring& text) {
  std::vector<unsigned char> out(5, 0xEE);  // stale content that must go
  NyBase64::Decode(text.data(), text.size(), out);
  return Bytes(out.begin(), out.end());
}

std::string EncodeNarrow(const Bytes& data) {
  std::vector<char> text;
  NyBase64::Encode(data.data(), data.size(), text);
  EXPECT_FALSE(text.empty());
  EXPECT_EQ(text.back(), 0);
  return std::string(text.data(), text.size() - 1);
}

std::wstring Widen(const std::string& s) { return std::wstring(s.begin(), s.end()); }

}  // namespace

TEST(NyBase64, StatedEncodings) {
  const struct {
    std::string in;
    std::string text;
  } rows[] = {{"", ""}, {"M", "TQ=="}, {"Ma", "TWE="}, {"Man", "TWFu"}, {std::string("\xFF\xFE\xFD\x00", 4), "//79AA=="}};
  for (const auto& row : rows) {
    const Bytes in(row.in.begin(), row.in.end());
    std::vector<char> narrow;
    NyBase64::Encode(in.data(), in.size(), narrow);
    EXPECT_EQ(narrow.size(), row.text.size() + 1);
    EXPECT_EQ(std::string(narrow.data()), row.text);
    std::vector<wchar_t> wide;
    NyBase64::Encode(in.data(), in.size(), wide);
    EXPECT_EQ(std::wstring(wide.data()), Widen(row.text));
    EXPECT_EQ(wide.size(), row.text.size() + 1);
  }
}

TEST(NyBase64, StatedDecodings) {
  const struct {
    std::wstring text;
    Bytes bytes;
  } rows[] = {
      {L"TWFu", {'M', 'a', 'n'}},
      {L"TQ==", {'M'}},
      {L"TWE=", {'M', 'a'}},
      {L"TW Fu", {'M', 'a', 'n'}},
      {L"T\r\nW\tFu", {'M', 'a', 'n'}},
      {L"T*Fu", {}},
      {L"", {}},
      {L"TQ", {'M', 0, 0}},                   // a short last group counts as four
      {L"TWFu\n", {'M', 'a', 'n', 0, 0, 0}},  // white space after the last group adds a zero group
      {L"TQ==TWFu", {'M'}},                   // padding ends decoding
      {L"TWE=\n", {'M', 'a'}},
      {std::wstring(L"TWFu\0", 5), {}},       // Encode's zero counts as a bad character
      {L"\u0154\u0157\u0146\u0175", {'M', 'a', 'n'}},  // only the low 8 bits of a wide unit count
      {L"\u00D4\u00D7\u00C6\u00F5", {'M', 'a', 'n'}},  // the alphabet with bit 7 set
      {L"\u0120WFu", {}},                      // not white space: its low byte is
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Decode(row.text), row.bytes) << std::string(row.text.begin(), row.text.end());
  }
  // The same rules inside long texts, where whole blocks are decoded at once.
  Bytes bytes(60);
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 37 + 5);
  const std::wstring plain = Widen(EncodeNarrow(bytes));
  std::wstring aliased = plain;
  aliased[3] |= 0x80;
  aliased[17] |= 0x4200;
  aliased[40] |= 0x180;
  EXPECT_EQ(Decode(aliased), bytes);
  std::wstring bad = plain;
  bad[18] = 0x120;
  EXPECT_EQ(Decode(bad), Bytes{});
  std::vector<char> chars;
  NyBase64::Decode(L"TWE=", 4, chars);
  EXPECT_EQ(std::string(chars.begin(), chars.end()), "Ma");
}

TEST(NyBase64, MatchesCoreutilsOnEveryLengthUpTo1000) {
  if (!nytest::HaveProgram("base64")) GTEST_SKIP() << "base64 missing";
  TempDir dir;
  std::mt19937 rng(1234);
  std::vector<Bytes> inputs;
  Bytes allInputs;
  Bytes allOurs;
  for (int n = 0; n <= 1000; ++n) {
    Bytes b(static_cast<size_t>(n));
    for (auto& x : b) x = static_cast<uint8_t>(rng());
    WriteFileBytes(dir.Native(std::to_string(n) + ".bin"), b);
    const std::string ours = EncodeNarrow(b);
    allOurs.insert(allOurs.end(), ours.begin(), ours.end());
    allOurs.push_back('\n');
    allInputs.insert(allInputs.end(), b.begin(), b.end());
    inputs.push_back(std::move(b));
  }
  WriteFileBytes(dir.Native("ours.txt"), allOurs);
  // coreutils encodes each buffer (one line each), and decodes all of our texts in one go: it
  // reads padded groups followed by more text, so the result is every input in order.
  const std::string d = dir.Native();
  ASSERT_EQ(nytest::Run("cd " + d + " && for i in $(seq 0 1000); do base64 -w0 $i.bin && echo || exit 1; done "
                        "> theirs.txt && base64 -d ours.txt > back.bin"),
            0);
  EXPECT_EQ(ReadFileBytes(d + "/ours.txt"), ReadFileBytes(d + "/theirs.txt"));
  EXPECT_EQ(ReadFileBytes(d + "/back.bin"), allInputs);
  // Their text with line breaks every 76 characters, as base64 wraps it, decodes to the same
  // bytes (the final line feed left out: it would add a zero group, as stated).
  const Bytes theirs = ReadFileBytes(d + "/theirs.txt");
  size_t start = 0;
  for (size_t n = 0; n <= 1000; ++n) {
    const size_t end = static_cast<size_t>(std::find(theirs.begin() + static_cast<long>(start), theirs.end(), '\n') -
                                           theirs.begin());
    std::wstring wrapped;
    for (size_t i = start; i < end; ++i) {
      if (i > start && (i - start) % 76 == 0) wrapped += L'\n';
      wrapped += static_cast<wchar_t>(theirs[i]);
    }
    ASSERT_EQ(Decode(wrapped), inputs[n]) << n;
    start = end + 1;
  }
}
