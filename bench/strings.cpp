// Text speed: the UTF-8 <-> UTF-16 codec against glibc iconv, number parsers against strtol/strtod.
//
// Each benchmark runs the library and its peer on the same input in every iteration and times
// both, so the ratio counter (peer time / library time, above 1 means the library is faster) is
// measured under the same conditions. The reported time is the library's.
#include <benchmark/benchmark.h>
#include <iconv.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <random>
#include <string>
#include <vector>

#include <nybase/platform/Utf.h>
#include <nybase/text/StringHelp.h>

namespace {

using Clock = std::chrono::steady_clock;
namespace pf = lu::platform;

// About 64 KiB of text. ASCII-heavy: prose and code with an accent every few hundred bytes, as
// in paths and documents. Mixed: about half the characters beyond ASCII (Latin, Greek, CJK and a
// few characters beyond the BMP).
std::string MakeText(bool mixed) {
  static const char* const k_ascii[] = {"The quick brown fox jumps over the lazy dog. ", "for (int i = 0; i < n; ++i) ",
                                        "C:\\Users\\sound\\Projects\\Foley\\", "amplitude=0.5 ", "\n"};
  static const char* const k_other[] = {"caf\xC3\xA9 ", "\xCE\xB1\xCE\xB2\xCE\xB3 ", "\xE9\x9F\xB3\xE5\xA3\xB0 ",
                                        "\xF0\x9F\x8E\xB5", "na\xC3\xAFve ", "\xD0\x97\xD0\xB2\xD1\x83\xD0\xBA "};
  std::mt19937 rng(42);
  std::string s;
  while (s.size() < 65536) {
    if (mixed ? rng() % 2 == 0 : rng() % 40 == 0) {
      s += k_other[rng() % std::size(k_other)];
    } else {
      s += k_ascii[rng() % std::size(k_ascii)];
    }
  }
  return s;
}

struct PairTimer {
  double ours = 0;
  double peer = 0;
  template <typename F>
  static double Time(F&& f) {
    const auto t0 = Clock::now();
    f();
    return std::chrono::duration<double>(Clock::now() - t0).count();
  }
  void Report(benchmark::State& state, double bytesPerIteration) {
    const double n = static_cast<double>(state.iterations());
    state.counters["ny_MB/s"] = bytesPerIteration * n / ours / 1e6;
    state.counters["peer_MB/s"] = bytesPerIteration * n / peer / 1e6;
    state.counters["ratio"] = peer / ours;
  }
};

size_t IconvConvert(iconv_t cd, const char* in, size_t inBytes, char* out, size_t outBytes) {
  iconv(cd, nullptr, nullptr, nullptr, nullptr);
  char* src = const_cast<char*>(in);
  char* dst = out;
  size_t left = inBytes;
  size_t room = outBytes;
  if (iconv(cd, &src, &left, &dst, &room) == static_cast<size_t>(-1)) std::abort();
  return outBytes - room;
}

void Utf8ToUtf16(benchmark::State& state, bool mixed) {
  const std::string text = MakeText(mixed);
  const int len = static_cast<int>(text.size());
  std::vector<wchar_t> ours(text.size());
  std::vector<char> peerOut(text.size() * 2);
  iconv_t cd = iconv_open("UTF-16LE", "UTF-8");
  PairTimer t;
  for (auto _ : state) {
    const double a = PairTimer::Time([&] {
      const int n = pf::MultiByteToWideChar(pf::k_codePageUtf8, 0, text.data(), len, ours.data(), len);
      benchmark::DoNotOptimize(n);
    });
    t.ours += a;
    t.peer += PairTimer::Time([&] {
      benchmark::DoNotOptimize(IconvConvert(cd, text.data(), text.size(), peerOut.data(), peerOut.size()));
    });
    state.SetIterationTime(a);
  }
  iconv_close(cd);
  t.Report(state, static_cast<double>(text.size()));
}

void Utf16ToUtf8(benchmark::State& state, bool mixed) {
  const std::string text = MakeText(mixed);
  const std::wstring wide = pf::Utf8ToUtf16(text.data(), text.size());
  // iconv reads UTF-16LE bytes: the same units, 2 bytes each.
  std::vector<uint16_t> units(wide.begin(), wide.end());
  std::vector<char> ours(text.size());
  std::vector<char> peerOut(text.size());
  iconv_t cd = iconv_open("UTF-8", "UTF-16LE");
  PairTimer t;
  const int len = static_cast<int>(wide.size());
  for (auto _ : state) {
    const double a = PairTimer::Time([&] {
      const int n = pf::WideCharToMultiByte(pf::k_codePageUtf8, 0, wide.data(), len, ours.data(),
                                            static_cast<int>(ours.size()));
      benchmark::DoNotOptimize(n);
    });
    t.ours += a;
    t.peer += PairTimer::Time([&] {
      benchmark::DoNotOptimize(IconvConvert(cd, reinterpret_cast<const char*>(units.data()), units.size() * 2,
                                            peerOut.data(), peerOut.size()));
    });
    state.SetIterationTime(a);
  }
  iconv_close(cd);
  t.Report(state, static_cast<double>(text.size()));
}

// Numbers as they appear in documents: short and long integers, signs, decimals and exponents.
std::vector<std::string> MakeNumbers(bool real) {
  std::mt19937_64 rng(7);
  std::vector<std::string> out;
  for (int i = 0; i < 4096; ++i) {
    if (real) {
      const double v = std::ldexp(static_cast<double>(rng() % 1000000) - 500000.0, static_cast<int>(rng() % 40) - 20);
      char buf[40];
      std::snprintf(buf, sizeof(buf), i % 3 == 0 ? "%.17g" : (i % 3 == 1 ? "%.6f" : "%g"), v);
      out.emplace_back(buf);
    } else {
      const int64_t v = static_cast<int32_t>(rng()) >> (rng() % 31);
      out.push_back(std::to_string(v));
    }
  }
  return out;
}

template <typename CT>
std::basic_string<CT> Widen(const std::string& s) {
  return std::basic_string<CT>(s.begin(), s.end());
}

// Times `ours` and `peer` over the same texts; each turns one text into a value, and the sums
// of the values must agree. `real` picks decimal fractions instead of integers.
template <typename CT, typename T, typename Ours, typename Peer>
void ParsePair(benchmark::State& state, bool real, Ours ours, Peer peer) {
  const std::vector<std::string> numbers = MakeNumbers(real);
  std::vector<std::basic_string<CT>> texts;
  size_t bytes = 0;
  for (const auto& n : numbers) {
    texts.push_back(Widen<CT>(n));
    bytes += n.size();
  }
  PairTimer t;
  for (auto _ : state) {
    T sum = 0, peerSum = 0;
    const double a = PairTimer::Time([&] {
      for (const auto& s : texts) sum += ours(s);
    });
    t.peer += PairTimer::Time([&] {
      for (const auto& s : texts) peerSum += peer(s);
    });
    if (sum != peerSum) state.SkipWithError("parsers disagree");
    t.ours += a;
    state.SetIterationTime(a);
  }
  t.Report(state, static_cast<double>(bytes));
}

template <typename CT>
void ParseInt32(benchmark::State& state) {
  ParsePair<CT, int64_t>(
      state, false,
      [](const std::basic_string<CT>& s) {
        int32_t v = 0;
        StringHelp::StringToInt32(s, v);
        return v;
      },
      [](const std::basic_string<CT>& s) {
        if constexpr (sizeof(CT) == 1) return std::strtol(s.c_str(), nullptr, 10);
        else return std::wcstol(s.c_str(), nullptr, 10);
      });
}

template <typename CT>
void ParseDouble(benchmark::State& state) {
  ParsePair<CT, double>(
      state, true,
      [](const std::basic_string<CT>& s) {
        double v = 0;
        StringHelp::StringToDouble(s, v);
        return v;
      },
      [](const std::basic_string<CT>& s) {
        if constexpr (sizeof(CT) == 1) return std::strtod(s.c_str(), nullptr);
        else return std::wcstod(s.c_str(), nullptr);
      });
}

}  // namespace

BENCHMARK_CAPTURE(Utf8ToUtf16, ascii_vs_iconv, false)->UseManualTime();
BENCHMARK_CAPTURE(Utf8ToUtf16, mixed_vs_iconv, true)->UseManualTime();
BENCHMARK_CAPTURE(Utf16ToUtf8, ascii_vs_iconv, false)->UseManualTime();
BENCHMARK_CAPTURE(Utf16ToUtf8, mixed_vs_iconv, true)->UseManualTime();
BENCHMARK(ParseInt32<char>)->Name("StringToInt32_vs_strtol")->UseManualTime();
BENCHMARK(ParseInt32<wchar_t>)->Name("StringToInt32_wide_vs_wcstol")->UseManualTime();
BENCHMARK(ParseDouble<char>)->Name("StringToDouble_vs_strtod")->UseManualTime();
BENCHMARK(ParseDouble<wchar_t>)->Name("StringToDouble_wide_vs_wcstod")->UseManualTime();

BENCHMARK_MAIN();
