// nybase tone: writes a test tone as a WAV file through the library's tone generator.
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include <nybase/audio/NyWavFileGenerator.h>

#include "AudioInput.h"
#include "Commands.h"

namespace nybase::tool {
namespace {

using Gen = NyWavFileGenerator;

// Bytes before the samples of a generated file, and the writer's size limit.
constexpr unsigned long long k_headerBytes = 92;
constexpr unsigned long long k_maxFileSize = 0xFFFFFFFFull;

struct WaveName {
  const char* name;
  Gen::Waveform wave;
};
constexpr WaveName k_waves[] = {{"sine", Gen::Waveform_Sine},     {"triangle", Gen::Waveform_Triangle},
                                {"square", Gen::Waveform_Square}, {"noise", Gen::Waveform_Noise},
                                {"silence", Gen::Waveform_Silence}};

struct Layout {
  const char* name;
  unsigned channels;
  unsigned mask;
};
constexpr Layout k_layouts[] = {{"mono", 1, 0x4}, {"stereo", 2, 0x3}, {"5.1", 6, 0x3F}, {"7.1", 8, 0x63F}};

// A finite number of at least `min`; false (with the usage message set) otherwise.
bool NumberOption(const Args& args, const char* name, double min, double& value, std::string& error) {
  const auto text = args.Value(name);
  if (!text) return true;
  if (!ParseDouble(*text, value) || !std::isfinite(value) || value < min) {
    error = std::string("--") + name + " needs a number" + (min == 0 ? " of at least 0" : "") +
            ", not '" + *text + "'";
    return false;
  }
  return true;
}

}  // namespace

const CommandSpec& ToneSpec() {
  static const CommandSpec cmdSpec{
      "tone",
      "OUT [--wave sine|triangle|square|noise|silence] [--freq HZ] [--level DB] [--rate HZ] "
      "[--channels N|--layout 5.1] [--sustain S] [--fade-in S] [--fade-out S] [--bits 16|32] "
      "[--mask BITS]",
      "write a test tone as a WAV file",
      "Writes OUT (its folder is made when missing): the wave at full level for the sustain,\n"
      "with linear fades before and after. The defaults make a one-second 1 kHz sine at -6 dB,\n"
      "48 kHz stereo, 16-bit. The file must stay below 4 GiB and the frequency at most half the\n"
      "rate.",
      {{"wave", 'w', "NAME", "sine, triangle, square, noise or silence (default sine)"},
       {"freq", 'f', "HZ", "frequency (default 1000)"},
       {"level", 'l', "DB", "level in dB full scale (default -6)"},
       {"rate", 'r', "HZ", "sample rate, 1 to 768000 (default 48000)"},
       {"channels", 'c', "N", "channel count, 1 to 255 (default 2)"},
       {"layout", 0, "NAME", "mono, stereo, 5.1 or 7.1 instead of --channels"},
       {"sustain", 's', "S", "seconds at full level (default 1)"},
       {"fade-in", 0, "S", "seconds of fade-in (default 0)"},
       {"fade-out", 0, "S", "seconds of fade-out (default 0)"},
       {"bits", 'b', "N", "16 for integer PCM, 32 for float (default 16)"},
       {"mask", 'm', "BITS", "channels that carry the tone, bit c for channel c (default all)"}},
      "  nybase tone a440.wav --freq 440 --sustain 2 --fade-out 0.5\n"
      "  nybase tone surround.wav --layout 5.1 --mask 0x8 --wave noise",
      1,
      1};
  return cmdSpec;
}

int RunTone(int argc, char** argv) {
  const ParseResult parsed = ParseArgs(ToneSpec(), argc, argv);
  if (!parsed.args) return parsed.exitCode;
  const Args& args = *parsed.args;
  const std::string out = args.Positional()[0];

  Gen::Waveform wave = Gen::Waveform_Sine;
  std::string waveName = "sine";
  if (const auto w = args.Value("wave")) {
    bool found = false;
    for (const WaveName& k : k_waves) {
      if (*w == k.name) wave = k.wave, waveName = k.name, found = true;
    }
    if (!found) return UsageError(ToneSpec(), "unknown --wave '" + *w + "'");
  }
  double freq = 1000, level = -6, sustain = 1, fadeIn = 0, fadeOut = 0;
  std::string error;
  if (!NumberOption(args, "freq", 0, freq, error) ||
      !NumberOption(args, "level", -HUGE_VAL, level, error) ||
      !NumberOption(args, "sustain", 0, sustain, error) ||
      !NumberOption(args, "fade-in", 0, fadeIn, error) ||
      !NumberOption(args, "fade-out", 0, fadeOut, error)) {
    return UsageError(ToneSpec(), error);
  }
  unsigned long long rate = 48000, channels = 2, bits = 16, mask = ~0ull;
  if (const auto v = args.Value("rate"); v && (!ParseUnsigned(*v, 768000, rate) || rate == 0))
    return UsageError(ToneSpec(), "--rate needs a whole number from 1 to 768000, not '" + *v + "'");
  if (const auto v = args.Value("bits"); v && (!ParseUnsigned(*v, 32, bits) || (bits != 16 && bits != 32)))
    return UsageError(ToneSpec(), "--bits must be 16 or 32, not '" + *v + "'");
  if (const auto v = args.Value("mask")) {
    char* end = nullptr;
    errno = 0;
    mask = std::strtoull(v->c_str(), &end, 0);
    if (v->empty() || *end != '\0' || errno != 0 || (*v)[0] == '-')
      return UsageError(ToneSpec(), "--mask needs a whole number (0x... for hexadecimal), not '" + *v + "'");
  }
  if (args.Has("channels") && args.Has("layout"))
    return UsageError(ToneSpec(), "give --channels or --layout, not both");
  if (const auto v = args.Value("channels"); v && (!ParseUnsigned(*v, 255, channels) || channels == 0))
    return UsageError(ToneSpec(), "--channels needs a whole number from 1 to 255, not '" + *v + "'");
  // Mono and stereo carry their standard speaker mask; other counts are anonymous channels.
  NyChannelConfig config(static_cast<uint32_t>(channels), 0, 0);
  for (const Layout& k : k_layouts) {
    if (k.channels == channels) config = NyChannelConfig(k.channels, NyChannelConfigType_Standard, k.mask);
  }
  if (const auto v = args.Value("layout")) {
    bool found = false;
    for (const Layout& k : k_layouts) {
      if (*v == k.name) config = NyChannelConfig(k.channels, NyChannelConfigType_Standard, k.mask), found = true;
    }
    if (!found) return UsageError(ToneSpec(), "unknown --layout '" + *v + "' (mono, stereo, 5.1 or 7.1)");
  }
  if (freq > rate / 2.0)
    return UsageError(ToneSpec(), "--freq must be at most half the rate (" + std::to_string(rate / 2) + " Hz)");

  const unsigned long long blockAlign = config.GetNumChannels() * (bits / 8);
  const unsigned long long maxFrames = (k_maxFileSize - k_headerBytes) / blockAlign;
  // The generator works in floats: the frame count is computed exactly as it does.
  const float total = static_cast<float>(sustain) + static_cast<float>(fadeIn) + static_cast<float>(fadeOut);
  if (static_cast<double>(total) * static_cast<double>(rate) > static_cast<double>(maxFrames))
    return UsageError(ToneSpec(), "the tone is too long: the file would pass 4 GiB");
  const unsigned long long frames = Gen::ToneFrames(static_cast<float>(sustain), static_cast<float>(fadeIn),
                                                    static_cast<float>(fadeOut), static_cast<unsigned>(rate), maxFrames);

  NyError* failure = nullptr;
  Gen::WriteTone(ToLibraryPath(out), bits == 16 ? Gen::BitDepth_16 : Gen::BitDepth_32,
                 static_cast<unsigned>(rate), config, static_cast<float>(level), static_cast<float>(sustain),
                 static_cast<float>(fadeIn), static_cast<float>(fadeOut), wave, static_cast<float>(freq), mask,
                 failure);
  if (failure) {
    PrintError(ToneSpec(), failure->message.c_str());
    delete failure;
    return k_exitFailure;
  }
  // The generator reports only the two opening failures; a short file means a write failed.
  std::error_code ec;
  const auto size = std::filesystem::file_size(out, ec);
  if (ec || size != k_headerBytes + frames * blockAlign) {
    PrintError(ToneSpec(), "could not write all of " + out + " (disk full?)");
    return k_exitFailure;
  }
  std::printf("%s: %s, %.6g Hz at %.6g dB, %.6g s (%llu frames), %llu Hz, %u channels, %llu-bit\n", out.c_str(),
              waveName.c_str(), freq, level, static_cast<double>(total), frames, rate, config.GetNumChannels(),
              bits);
  return k_exitOk;
}

}  // namespace nybase::tool
