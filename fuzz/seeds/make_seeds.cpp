// Seed corpus generator for the fuzz targets: writes small valid files of every WAV layout the
// library reads (RIFF/RF64/BW64/RIFX, every fmt form, cue/LIST/smpl/hash/junk/axml/chna, odd
// sizes and orders), XML documents and standard MIDI files, one folder per target, so mutation
// starts from real shapes.
// Usage: make_seeds OUT_DIR   (creates OUT_DIR/<target>/ for every target it knows)
// Standalone on purpose: the seeds must not depend on the code they are used to test.
#include <sys/stat.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

bool g_bigEndian = false;  // numeric fields of the file being built (RIFX)

void U16(Bytes& b, uint32_t v) {
  if (g_bigEndian) {
    b.push_back(uint8_t(v >> 8));
    b.push_back(uint8_t(v));
  } else {
    b.push_back(uint8_t(v));
    b.push_back(uint8_t(v >> 8));
  }
}

void U32(Bytes& b, uint32_t v) {
  if (g_bigEndian) {
    U16(b, v >> 16);
    U16(b, v & 0xFFFF);
  } else {
    U16(b, v & 0xFFFF);
    U16(b, v >> 16);
  }
}

void U64(Bytes& b, uint64_t v) {
  if (g_bigEndian) {
    U32(b, uint32_t(v >> 32));
    U32(b, uint32_t(v));
  } else {
    U32(b, uint32_t(v));
    U32(b, uint32_t(v >> 32));
  }
}

void Id(Bytes& b, const char* id) { b.insert(b.end(), id, id + 4); }

void Append(Bytes& b, const Bytes& more) { b.insert(b.end(), more.begin(), more.end()); }

Bytes Text(const std::string& s) { return Bytes(s.begin(), s.end()); }

// A chunk with its header, payload and pad byte; sizeField overrides the declared size.
Bytes Chunk(const char* id, const Bytes& payload, int64_t sizeField = -1) {
  Bytes b;
  Id(b, id);
  U32(b, sizeField < 0 ? uint32_t(payload.size()) : uint32_t(sizeField));
  Append(b, payload);
  if (payload.size() & 1) b.push_back(0);
  return b;
}

Bytes Riff(const char* magic, std::initializer_list<Bytes> chunks, int64_t sizeField = -1) {
  Bytes body;
  for (const Bytes& c : chunks) Append(body, c);
  Bytes b;
  Id(b, magic);
  U32(b, sizeField < 0 ? uint32_t(body.size() + 4) : uint32_t(sizeField));
  Id(b, "WAVE");
  Append(b, body);
  return b;
}

Bytes Fmt(uint16_t tag, uint16_t channels, uint32_t rate, uint16_t bits, uint16_t blockAlign = 0) {
  if (blockAlign == 0) blockAlign = uint16_t(channels * ((bits + 7) / 8));
  Bytes b;
  U16(b, tag);
  U16(b, channels);
  U32(b, rate);
  U32(b, rate * blockAlign);
  U16(b, blockAlign);
  U16(b, bits);
  return b;
}

const uint8_t k_pcmTail[12] = {0x00, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
const uint8_t k_ambiTail[12] = {0x21, 0x07, 0xD3, 0x11, 0x86, 0x44, 0xC8, 0xC1, 0xCA, 0x00, 0x00, 0x00};

Bytes FmtExtensible(uint16_t channels, uint32_t rate, uint16_t bits, uint32_t mask, uint32_t sub,
                    bool ambisonic = false) {
  Bytes b = Fmt(0xFFFE, channels, rate, bits);
  U16(b, 22);
  U16(b, bits);
  U32(b, mask);
  U32(b, sub);
  const uint8_t* tail = ambisonic ? k_ambiTail : k_pcmTail;
  b.insert(b.end(), tail, tail + 12);
  return b;
}

// The library's own 24-byte form: a packed channel configuration where the mask would be.
Bytes FmtPrivate(uint16_t channels, uint32_t rate, uint16_t bits, uint32_t config) {
  Bytes b = Fmt(0xFFFE, channels, rate, bits);
  U16(b, 6);
  U16(b, bits);
  U32(b, config);
  return b;
}

// Frames of a ramp in the given sample width; float widths get values inside [-1, 1].
Bytes Samples(unsigned frames, unsigned channels, unsigned bytesPerSample, bool isFloat) {
  Bytes b;
  for (unsigned f = 0; f < frames; ++f) {
    for (unsigned c = 0; c < channels; ++c) {
      const int v = int((f * 977 + c * 331) % 2000) - 1000;
      if (isFloat && bytesPerSample == 4) {
        float x = float(v) / 1000.0f;
        uint32_t u;
        std::memcpy(&u, &x, 4);
        U32(b, u);
      } else if (isFloat && bytesPerSample == 8) {
        double x = double(v) / 1000.0;
        uint64_t u;
        std::memcpy(&u, &x, 8);
        U64(b, u);
      } else if (bytesPerSample == 1) {
        b.push_back(uint8_t(128 + v / 8));
      } else if (bytesPerSample == 2) {
        U16(b, uint16_t(v * 30));
      } else if (bytesPerSample == 3) {
        const uint32_t u = uint32_t(v * 8000);
        if (g_bigEndian) {
          b.push_back(uint8_t(u >> 16));
          b.push_back(uint8_t(u >> 8));
          b.push_back(uint8_t(u));
        } else {
          b.push_back(uint8_t(u));
          b.push_back(uint8_t(u >> 8));
          b.push_back(uint8_t(u >> 16));
        }
      } else {
        U32(b, uint32_t(v * 2000000));
      }
    }
  }
  return b;
}

Bytes Cue(std::initializer_list<std::pair<uint32_t, uint32_t>> points) {
  Bytes b;
  U32(b, uint32_t(points.size()));
  for (const auto& [id, position] : points) {
    U32(b, id);
    U32(b, position);
    Id(b, "data");
    U32(b, 0);
    U32(b, 0);
    U32(b, position);
  }
  return b;
}

Bytes Labl(uint32_t id, const std::string& text) {
  Bytes p;
  U32(p, id);
  Append(p, Text(text));
  return Chunk("labl", p);
}

Bytes List(const char* type, std::initializer_list<Bytes> subs) {
  Bytes p;
  Id(p, type);
  for (const Bytes& s : subs) Append(p, s);
  return Chunk("LIST", p);
}

Bytes Smpl(uint32_t start, uint32_t end, uint32_t loops = 1) {
  Bytes b;
  for (int i = 0; i < 7; ++i) U32(b, i == 2 ? 22675 : 0);
  U32(b, loops);
  U32(b, 0);
  for (uint32_t i = 0; i < loops; ++i) {
    U32(b, i);
    U32(b, 0);
    U32(b, start + i);
    U32(b, end + i);
    U32(b, 0);
    U32(b, 0);
  }
  return b;
}

Bytes Hash() {
  Bytes b;
  for (int i = 0; i < 16; ++i) b.push_back(uint8_t(0x11 * i + 3));
  return b;
}

Bytes Ds64(uint64_t riffSize, uint64_t dataSize, uint64_t frames) {
  Bytes b;
  U64(b, riffSize);
  U64(b, dataSize);
  U64(b, frames);
  U32(b, 0);  // table length
  return b;
}

// An RF64/BW64 file: ds64 carries the sizes, the 32-bit fields are all ones.
Bytes Wide64(const char* magic, const Bytes& fmt, const Bytes& data, std::initializer_list<Bytes> extra,
             uint16_t blockAlign) {
  Bytes body;
  Append(body, Chunk("ds64", Ds64(0, data.size(), blockAlign ? data.size() / blockAlign : 0)));
  Append(body, Chunk("fmt ", fmt));
  for (const Bytes& e : extra) Append(body, e);
  Append(body, Chunk("data", data, 0xFFFFFFFF));
  // Patch the riff size inside ds64 now that the whole is known.
  const uint64_t riffSize = body.size() + 4;
  Bytes fixed;
  U64(fixed, riffSize);
  std::memcpy(body.data() + 8, fixed.data(), 8);
  Bytes b;
  Id(b, magic);
  U32(b, 0xFFFFFFFF);
  Id(b, "WAVE");
  Append(b, body);
  return b;
}

struct Speaker {
  const char* name;
  int azimuth;
};
const Speaker k_bed[6] = {{"FrontLeft", 30},    {"FrontRight", -30},    {"FrontCentre", 0},
                          {"LowFrequency", 0}, {"SurroundLeft", 110}, {"SurroundRight", -110}};

std::string Pad(unsigned v, int digits) {
  char t[16];
  std::snprintf(t, sizeof(t), "%0*u", digits, v);
  return t;
}

// An axml document: a bed of n speakers as one DirectSpeakers object plus one Objects object
// with two timed blocks, so both kinds of block are present.
std::string Axml(unsigned n) {
  std::string refs, packRefs, formats;
  for (unsigned i = 0; i < n; ++i) {
    const std::string k = Pad(i + 1, 4);
    const std::string uid = "ATU_" + Pad(i + 1, 8);
    refs += "<audioTrackUIDRef>" + uid + "</audioTrackUIDRef>";
    packRefs += "<audioChannelFormatIDRef>AC_0001" + k + "</audioChannelFormatIDRef>";
    formats += "<audioChannelFormat audioChannelFormatID=\"AC_0001" + k + "\" audioChannelFormatName=\"" +
               k_bed[i % 6].name + "\" typeLabel=\"0001\" typeDefinition=\"DirectSpeakers\">" +
               "<audioBlockFormat audioBlockFormatID=\"AB_0001" + k + "_00000001\"><speakerLabel>M+" +
               std::to_string(k_bed[i % 6].azimuth) + "</speakerLabel><position coordinate=\"azimuth\">" +
               std::to_string(k_bed[i % 6].azimuth) +
               "</position><position coordinate=\"elevation\">0</position><position "
               "coordinate=\"distance\">1</position></audioBlockFormat></audioChannelFormat>";
    formats += "<audioTrackUID UID=\"" + uid + "\" sampleRate=\"48000\" bitDepth=\"16\"><audioTrackFormatIDRef>AT_0001" +
               k + "_01</audioTrackFormatIDRef><audioPackFormatIDRef>AP_00010003</audioPackFormatIDRef></audioTrackUID>";
    formats += "<audioTrackFormat audioTrackFormatID=\"AT_0001" + k +
               "_01\" formatLabel=\"0001\" formatDefinition=\"PCM\"><audioStreamFormatIDRef>AS_0001" + k +
               "</audioStreamFormatIDRef></audioTrackFormat>";
    formats += "<audioStreamFormat audioStreamFormatID=\"AS_0001" + k +
               "\" formatLabel=\"0001\" formatDefinition=\"PCM\"><audioChannelFormatIDRef>AC_0001" + k +
               "</audioChannelFormatIDRef><audioTrackFormatIDRef>AT_0001" + k +
               "_01</audioTrackFormatIDRef></audioStreamFormat>";
  }
  const std::string object =
      "<audioObject audioObjectID=\"AO_1002\" audioObjectName=\"Voice\" start=\"00:00:00.00000\" "
      "duration=\"00:00:10.00000\"><audioPackFormatIDRef>AP_00031001</audioPackFormatIDRef>"
      "<audioTrackUIDRef>ATU_00000099</audioTrackUIDRef></audioObject>"
      "<audioPackFormat audioPackFormatID=\"AP_00031001\" audioPackFormatName=\"Voice\" typeLabel=\"0003\" "
      "typeDefinition=\"Objects\"><audioChannelFormatIDRef>AC_00031001</audioChannelFormatIDRef></audioPackFormat>"
      "<audioChannelFormat audioChannelFormatID=\"AC_00031001\" audioChannelFormatName=\"Voice\" typeLabel=\"0003\" "
      "typeDefinition=\"Objects\"><audioBlockFormat audioBlockFormatID=\"AB_00031001_00000001\" "
      "rtime=\"00:00:00.00000\" duration=\"00:00:05.00000\"><position coordinate=\"azimuth\">-22.5</position>"
      "<position coordinate=\"elevation\">5</position><position coordinate=\"distance\">1</position>"
      "<gain>0.8</gain><width>10</width><jumpPosition interpolationLength=\"0.05\">1</jumpPosition></audioBlockFormat>"
      "<audioBlockFormat audioBlockFormatID=\"AB_00031001_00000002\" rtime=\"00:00:05.00000\" "
      "duration=\"00:00:05.00000\"><cartesian>1</cartesian><position coordinate=\"X\">0.5</position>"
      "<position coordinate=\"Y\">-0.25</position><position coordinate=\"Z\">0</position></audioBlockFormat>"
      "</audioChannelFormat>"
      "<audioTrackUID UID=\"ATU_00000099\"><audioPackFormatIDRef>AP_00031001</audioPackFormatIDRef></audioTrackUID>";
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ebuCoreMain xmlns=\"urn:ebu:metadata-schema:ebuCore_2015\">"
         "<coreMetadata><format><audioFormatExtended version=\"ITU-R_BS.2076-2\">"
         "<audioProgramme audioProgrammeID=\"APR_1001\" audioProgrammeName=\"Main\"><audioContentIDRef>ACO_1001"
         "</audioContentIDRef></audioProgramme><audioContent audioContentID=\"ACO_1001\" audioContentName=\"M\">"
         "<audioObjectIDRef>AO_1001</audioObjectIDRef><audioObjectIDRef>AO_1002</audioObjectIDRef></audioContent>"
         "<audioObject audioObjectID=\"AO_1001\" audioObjectName=\"Bed\"><audioPackFormatIDRef>AP_00010003"
         "</audioPackFormatIDRef>" +
         refs +
         "</audioObject><audioPackFormat audioPackFormatID=\"AP_00010003\" audioPackFormatName=\"5_1\" "
         "typeLabel=\"0001\" typeDefinition=\"DirectSpeakers\">" +
         packRefs + "</audioPackFormat>" + formats + object +
         "</audioFormatExtended></format></coreMetadata></ebuCoreMain>\n";
}

void Field(Bytes& b, const std::string& s, size_t n) {
  for (size_t i = 0; i < n; ++i) b.push_back(i < s.size() ? uint8_t(s[i]) : 0);
}

Bytes Chna(unsigned n) {
  Bytes b;
  U16(b, n);
  U16(b, n);
  for (unsigned i = 0; i < n; ++i) {
    U16(b, i + 1);
    Field(b, "ATU_" + Pad(i + 1, 8), 12);
    Field(b, "AT_0001" + Pad(i + 1, 4) + "_01", 14);
    Field(b, "AP_00010003", 11);
    b.push_back(0);
  }
  return b;
}

std::string g_out;
int g_failures = 0;

void Save(const std::string& folder, const std::string& name, const Bytes& bytes) {
  const std::string path = g_out + "/" + folder + "/" + name;
  FILE* f = std::fopen(path.c_str(), "wb");
  if (f == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), f) != bytes.size()) {
    std::fprintf(stderr, "make_seeds: cannot write %s\n", path.c_str());
    ++g_failures;
  }
  if (f) std::fclose(f);
}

void MakeFolder(const std::string& path) {
  if (::mkdir(path.c_str(), 0755) != 0 && errno != EEXIST) {
    std::fprintf(stderr, "make_seeds: cannot create %s\n", path.c_str());
    ++g_failures;
  }
}

// Every WAV layout, little-endian unless RIFX.
std::vector<std::pair<std::string, Bytes>> WavSeeds() {
  std::vector<std::pair<std::string, Bytes>> s;
  g_bigEndian = false;
  struct Plain {
    const char* name;
    uint16_t tag, channels, bits;
    bool isFloat;
  };
  const Plain plain[] = {{"pcm8_mono", 1, 1, 8, false},      {"pcm16_stereo", 1, 2, 16, false},
                         {"pcm24_stereo", 1, 2, 24, false},  {"pcm32_mono", 1, 1, 32, false},
                         {"float32_stereo", 3, 2, 32, true}, {"float64_mono", 3, 1, 64, true},
                         {"pcm16_six", 1, 6, 16, false},     {"alaw_mono", 6, 1, 8, false},
                         {"adpcm_mono", 2, 1, 4, false}};
  for (const Plain& p : plain) {
    const Bytes data = Samples(7, p.channels, (p.bits + 7) / 8, p.isFloat);
    s.push_back({std::string(p.name) + ".wav",
                 Riff("RIFF", {Chunk("fmt ", Fmt(p.tag, p.channels, 44100, p.bits)), Chunk("data", data)})});
  }
  // Extensible forms: PCM and float sub-formats, several masks, ambisonic, the private form.
  s.push_back({"ext_pcm16_51.wav", Riff("RIFF", {Chunk("fmt ", FmtExtensible(6, 48000, 16, 0x3F, 1)),
                                                 Chunk("data", Samples(5, 6, 2, false))})});
  s.push_back({"ext_pcm24_quad.wav", Riff("RIFF", {Chunk("fmt ", FmtExtensible(4, 48000, 24, 0x33, 1)),
                                                   Chunk("data", Samples(5, 4, 3, false))})});
  s.push_back({"ext_float_stereo.wav", Riff("RIFF", {Chunk("fmt ", FmtExtensible(2, 96000, 32, 0x3, 3)),
                                                     Chunk("data", Samples(5, 2, 4, true))})});
  s.push_back({"ext_ambisonic_b.wav", Riff("RIFF", {Chunk("fmt ", FmtExtensible(4, 48000, 16, 0, 1, true)),
                                                    Chunk("data", Samples(5, 4, 2, false))})});
  s.push_back({"ext_71.wav", Riff("RIFF", {Chunk("fmt ", FmtExtensible(8, 48000, 16, 0x63F, 1)),
                                           Chunk("data", Samples(3, 8, 2, false))})});
  s.push_back({"private_fmt24.wav", Riff("RIFF", {Chunk("fmt ", FmtPrivate(2, 48000, 16, 0x00000002)),
                                                  Chunk("data", Samples(5, 2, 2, false))})});
  s.push_back({"private_fmt24_six.wav", Riff("RIFF", {Chunk("fmt ", FmtPrivate(6, 48000, 24, 0x00010006)),
                                                      Chunk("data", Samples(3, 6, 3, false))})});
  {
    Bytes big = FmtExtensible(2, 44100, 16, 3, 1);
    for (int i = 0; i < 10; ++i) big.push_back(uint8_t(i));  // longer than the 40 bytes used
    s.push_back({"fmt_oversized.wav", Riff("RIFF", {Chunk("fmt ", big), Chunk("data", Samples(5, 2, 2, false))})});
  }
  s.push_back({"fmt_18.wav", Riff("RIFF", {Chunk("fmt ", [] { Bytes f = Fmt(1, 1, 22050, 16); U16(f, 0); return f; }()),
                                           Chunk("data", Samples(9, 1, 2, false))})});
  // Markers, labels, loop, hash, junk and unknown chunks, in several orders.
  const Bytes fmt = Chunk("fmt ", Fmt(1, 2, 44100, 16));
  const Bytes data = Chunk("data", Samples(16, 2, 2, false));
  const Bytes cue = Chunk("cue ", Cue({{1, 0}, {2, 5}, {3, 11}}));
  const Bytes list = List("adtl", {Labl(1, "Intro"), Labl(2, "odd"), Labl(3, ""),
                                   Chunk("note", Text("skipped note")), Labl(9, "no cue")});
  const Bytes info = List("INFO", {Chunk("INAM", Text("name\0"))});
  s.push_back({"markers.wav", Riff("RIFF", {fmt, cue, list, data})});
  s.push_back({"markers_after_data.wav", Riff("RIFF", {fmt, data, list, cue, info})});
  s.push_back({"loop_hash.wav", Riff("RIFF", {fmt, Chunk("smpl", Smpl(2, 12)), Chunk("hash", Hash()), data})});
  s.push_back({"loop_two.wav", Riff("RIFF", {fmt, data, Chunk("smpl", Smpl(1, 9, 2))})});
  s.push_back({"smpl_short.wav", Riff("RIFF", {fmt, Chunk("smpl", Bytes(36, 0)), data})});
  s.push_back({"everything.wav",
               Riff("RIFF", {Chunk("JUNK", Bytes(28, 0)), fmt, Chunk("hash", Hash()), cue, list,
                             Chunk("smpl", Smpl(3, 14)), Chunk("junk", Bytes(5, 0)), Chunk("bext", Bytes(40, 0x20)),
                             Chunk("nydm", Bytes(12, 1)), data, info})});
  s.push_back({"data_first.wav", Riff("RIFF", {data, fmt})});
  s.push_back({"odd_data.wav", Riff("RIFF", {Chunk("fmt ", Fmt(1, 1, 8000, 8)), Chunk("data", Samples(5, 1, 1, false)),
                                             cue})});
  s.push_back({"riff_size_short.wav", Riff("RIFF", {fmt, data}, 30)});
  s.push_back({"riff_size_zero.wav", Riff("RIFF", {fmt, data}, 0)});
  s.push_back({"riff_size_ones.wav", Riff("RIFF", {fmt, data}, 0xFFFFFFFF)});
  {
    Bytes truncated = Riff("RIFF", {fmt, data});
    truncated.resize(truncated.size() - 9);
    s.push_back({"truncated_data.wav", truncated});
  }
  // Enciphered: a 16-byte header the fuzz target's decipher accepts when it starts with 'X'.
  {
    Bytes payload(16, 'X');
    Append(payload, Samples(32, 2, 2, false));
    s.push_back({"enciphered.wav", Riff("RIFF", {fmt, Chunk("data", payload)})});
  }
  // 64-bit forms.
  {
    const Bytes d = Samples(6, 2, 3, false);
    s.push_back({"rf64_pcm24.wav", Wide64("RF64", Fmt(1, 2, 48000, 24), d, {}, 6)});
    s.push_back({"rf64_markers.wav", Wide64("RF64", Fmt(1, 2, 48000, 24), d, {cue, list}, 6)});
    s.push_back({"bw64_float.wav", Wide64("BW64", FmtExtensible(2, 48000, 32, 3, 3), Samples(6, 2, 4, true), {}, 8)});
    Bytes plainSizes = Riff("RF64", {Chunk("ds64", Ds64(0, 24, 6)), Chunk("fmt ", Fmt(1, 2, 48000, 16)),
                                     Chunk("data", Samples(6, 2, 2, false))});
    s.push_back({"rf64_32bit_sizes.wav", plainSizes});
  }
  // ADM: BW64 and RIFF with axml and chna, both orders.
  {
    const Bytes fmt6 = Chunk("fmt ", Fmt(1, 6, 48000, 16));
    const Bytes d6 = Samples(4, 6, 2, false);
    const Bytes axml = Chunk("axml", Text(Axml(6)));
    const Bytes chna = Chunk("chna", Chna(6));
    s.push_back({"adm_bw64.wav", Wide64("BW64", Fmt(1, 6, 48000, 16), d6, {axml, chna}, 12)});
    s.push_back({"adm_chna_first.wav", Riff("RIFF", {fmt6, chna, axml, Chunk("data", d6)})});
    s.push_back({"adm_after_data.wav", Riff("RIFF", {fmt6, Chunk("data", d6), axml})});
    s.push_back({"adm_stereo.wav", Riff("BW64", {Chunk("fmt ", Fmt(1, 2, 48000, 16)), Chunk("chna", Chna(2)),
                                                 Chunk("axml", Text(Axml(2))), Chunk("data", Samples(4, 2, 2, false))})});
    // Real-shaped: 14 channels, an axml of about 20 KB with every element kind, chna after it.
    const Bytes d14 = Samples(4, 14, 2, false);
    s.push_back({"adm_bw64_14ch.wav", Wide64("BW64", Fmt(1, 14, 48000, 16), d14,
                                             {Chunk("axml", Text(Axml(14))), Chunk("chna", Chna(14))}, 28)});
  }
  // Big-endian: the chunk classes accept it.
  g_bigEndian = true;
  s.push_back({"rifx_pcm16.wav", Riff("RIFX", {Chunk("fmt ", Fmt(1, 2, 44100, 16)), Chunk("cue ", Cue({{1, 3}})),
                                               Chunk("smpl", Smpl(1, 4)), Chunk("data", Samples(8, 2, 2, false))})});
  s.push_back({"rifx_pcm24.wav", Riff("RIFX", {Chunk("fmt ", Fmt(1, 1, 48000, 24)), Chunk("data", Samples(8, 1, 3, false))})});
  g_bigEndian = false;
  return s;
}

std::vector<std::pair<std::string, std::string>> XmlDocuments() {
  return {
      {"simple.xml", "<?xml version=\"1.0\"?>\n<root><a id=\"1\">text</a><b/><c name=\"x\">more <i>inner</i> tail</c></root>"},
      {"attributes.xml", "<r a='1' b=\"two\" id=\"x&amp;y\" name=\"&#x20AC;&#65;\"><e id=\"\" name='q'/></r>"},
      {"namespaces.xml", "<n:root xmlns:n=\"urn:a\" xmlns=\"urn:b\"><n:x n:id=\"1\">v</n:x><y xmlns=\"\">w</y></n:root>"},
      {"mixed.xml", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- lead -->\n<?pi data?>\n<doc>\n  <![CDATA[raw <text> & ]]>"
                    "\n  <!-- inner -->\n  <p>caf\xC3\xA9 \xF0\x9F\x8E\xB5</p>\n  <empty></empty>\n</doc>\n"},
      {"dtd.xml", "<!DOCTYPE r [<!ENTITY e \"expanded\"><!ELEMENT r ANY><!ATTLIST r id CDATA #IMPLIED>]>"
                  "<r id=\"z\">&e; &lt;&gt;&quot;&apos;</r>"},
      {"deep.xml", "<a><b><c><d><e><f><g id=\"7\">deep</g></f></e></d></c></b></a>"},
      {"whitespace.xml", "<r>\n\t<x>  spaced  </x>\n\t<y>\r\n</y>\n</r>"},
      {"utf16.xml", std::string("\xFF\xFE<\0r\0>\0t\0<\0/\0r\0>\0", 18)},
      {"latin1.xml", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r>\xE9t\xE9</r>"},
      {"broken.xml", "<root><a>unclosed<b></a>"},
      {"adm.xml", Axml(3)},
  };
}

std::vector<std::string> Utf8Texts() {
  return {"plain ascii",
          "caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x8E\xB5 \xE4\xB8\xAD",
          "\xED\xA0\x80 lone surrogate \xED\xBF\xBF",
          "\xC0\x80 overlong \xE0\x80\x80 \xF8\x88\x80\x80\x80",
          "cut \xE2\x82",
          std::string("nul\0inside", 10)};
}

}  // namespace

// Standard MIDI files: header (big-endian fields) and track chunks, with the shapes the reader
// distinguishes: several tracks, running status, tempo changes, sysex with long lengths, meta
// events, held notes and pedals, a foreign chunk, a format 0 file.
Bytes MidiChunk(const char* id, const Bytes& body) {
  Bytes b;
  Id(b, id);
  const auto n = static_cast<uint32_t>(body.size());
  for (int shift : {24, 16, 8, 0}) b.push_back(uint8_t(n >> shift));
  Append(b, body);
  return b;
}

Bytes Midi(uint16_t format, uint16_t division, std::initializer_list<Bytes> chunks) {
  const auto count = static_cast<uint16_t>(chunks.size());
  Bytes b = MidiChunk("MThd", {uint8_t(format >> 8), uint8_t(format), uint8_t(count >> 8), uint8_t(count),
                               uint8_t(division >> 8), uint8_t(division)});
  for (const Bytes& c : chunks) Append(b, c);
  return b;
}

std::vector<std::pair<std::string, Bytes>> MidiSeeds() {
  const Bytes eot = {0x00, 0xFF, 0x2F, 0x00};
  const Bytes tempo = {0x00, 0xFF, 0x51, 0x03, 0x07, 0xA1, 0x20};
  const Bytes slower = {0x10, 0xFF, 0x51, 0x03, 0x0F, 0x42, 0x40};
  Bytes sysex = {0x05, 0xF0, 0x81, 0x00};
  sysex.insert(sysex.end(), 127, 0x11);
  sysex.push_back(0xF7);
  Bytes notes = {0x00, 0x90, 0x3C, 0x40, 0x00, 0x40, 0x40, 0x60, 0x3C, 0x00, 0x00, 0x80, 0x40, 0x00,
                 0x00, 0xB1, 0x40, 0x7F, 0x00, 0x07, 0x64, 0x81, 0x00, 0xC2, 0x05, 0x00, 0xE3, 0x00, 0x40,
                 0x00, 0xD4, 0x20, 0x00, 0xA5, 0x3C, 0x10, 0x00, 0xFF, 0x01, 0x03, 'a', 'b', 'c',
                 0x8F, 0xFF, 0xFF, 0x7F, 0x96, 0x3E, 0x50, 0x00, 0xB6, 0x7B, 0x00};
  Bytes track1 = tempo;
  Append(track1, notes);
  Append(track1, eot);
  Bytes track2 = slower;
  Append(track2, sysex);
  Append(track2, {0x00, 0xF7, 0x02, 0x01, 0x02, 0x03, 0x91, 0x30, 0x30, 0x00, 0xB1, 0x40, 0x7F});
  Append(track2, eot);
  return {
      {"two_tracks.mid", Midi(1, 96, {MidiChunk("MTrk", track1), MidiChunk("MTrk", track2)})},
      {"format0.mid", Midi(0, 480, {MidiChunk("MTrk", track1)})},
      {"foreign_chunk.mid", Midi(1, 96, {MidiChunk("XFIH", Text("info")), MidiChunk("MTrk", {}),
                                         MidiChunk("MTrk", track2)})},
      {"no_time.mid", Midi(1, 96, {MidiChunk("MTrk", {0x00, 0xC0, 0x05, 0x00, 0xFF, 0x01, 0x00})})},
  };
}

// Media containers: the magic, "hash", "junk" up to the alignment, "data" and an odd pad.
Bytes MediaContainer(const char* magic, unsigned alignment, bool hash, const Bytes& payload) {
  Bytes b;
  Id(b, magic);
  U32(b, 0);
  if (hash) {
    Id(b, "hash");
    U32(b, 16);
    for (int i = 0; i < 16; ++i) b.push_back(uint8_t(i));
  }
  const size_t end = (b.size() + 16 + alignment - 1) / alignment * alignment;
  Append(b, Chunk("junk", Bytes(end - b.size() - 16)));
  Id(b, "data");
  U32(b, uint32_t(payload.size()));
  Append(b, payload);
  if (b.size() % 2) b.push_back(0);
  const uint32_t outer = uint32_t(b.size() - 8);
  std::memcpy(b.data() + 4, &outer, 4);
  return b;
}

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_seeds OUT_DIR\n");
    return 2;
  }
  g_out = argv[1];
  MakeFolder(g_out);
  const auto wavs = WavSeeds();
  for (const char* target : {"wav_reader", "wav_chunks", "adm", "xml_reader", "utf8_codec", "base64", "thin_json"}) {
    MakeFolder(g_out + "/" + target);
  }
  for (const auto& [name, bytes] : wavs) {
    Save("wav_reader", name, bytes);
    Save("wav_chunks", name, bytes);
    if (name.rfind("adm_", 0) == 0) Save("adm", name, bytes);
  }
  // The XML target takes a mode byte first; a few modes per document drive different reads.
  for (const auto& [name, text] : XmlDocuments()) {
    for (uint8_t mode : {0, 3, 4, 0x85}) {
      Bytes b{mode};
      Append(b, Text(text));
      Save("xml_reader", std::to_string(mode) + "_" + name, b);
    }
  }
  // The ADM target takes a mode byte (record count in the low 3 bits, chna first when the top bit
  // is set), the 40-byte chna records, then the axml text.
  for (unsigned n : {1u, 2u, 6u}) {
    for (uint8_t order : {0, 0x80}) {
      Bytes b{uint8_t(n | order)};
      const Bytes chna = Chna(n);
      b.insert(b.end(), chna.begin() + 4, chna.end());
      Append(b, Text(Axml(n)));
      Save("adm", "axml_chna_" + std::to_string(n) + "_" + std::to_string(order) + ".bin", b);
    }
  }
  MakeFolder(g_out + "/midi");
  for (const auto& [name, bytes] : MidiSeeds()) Save("midi", name, bytes);
  // The ThinJson target takes a mode byte (bit 0 schema, bit 1 comments, bit 2 resolvable refs,
  // bit 3 validation of the schema's own JSON against it).
  const char* jsons[] = {
      R"({"a":[1,-2,3.5e10,18446744073709551615,"s\u00e9\ud834\udd1e",true,false,null],"a":{}})",
      "\xEF\xBB\xBF// c\n[/* x */ {\"k\": \"v\"}]",
      (R"({"type":"object","properties":{"p":{"$ref":"other.json#/definitions/a"},"q":{"pattern":"^(ab)+$"}},)"
       R"("patternProperties":{"^x":{"minimum":1}},"additionalProperties":false,"definitions":{"d":{"$ref":"#/properties/q"}}})"),
      R"({"allOf":[{"enum":[1,"a",{"x":null}]},{"not":{"type":"string"}}],"items":[{"maxLength":3}],"dependencies":{"a":["b"]}})",
  };
  int j = 0;
  for (const char* json : jsons) {
    for (uint8_t mode : {0, 3, 5, 13}) {
      Bytes b{mode};
      Append(b, Text(json));
      Save("thin_json", std::to_string(mode) + "_json" + std::to_string(j) + ".bin", b);
    }
    ++j;
  }
  int i = 0;
  for (const std::string& t : Utf8Texts()) Save("utf8_codec", "text" + std::to_string(i++) + ".txt", Text(t));
  // Base64 texts: padded, unpadded, wrapped, with a bad character and with padding inside.
  i = 0;
  for (const char* t : {"TWFu", "TQ==", "TWE=", "TQ", "TWFu\n", "T W\r\nF\tu", "T*Fu", "TQ==TWFu",
                        "//79AA==", "QUJDREVGR0hJSktMTU5PUFFSU1RVVldYWVphYmNkZWZnaGlqa2xtbm9w\ncXJzdHV2d3h5eg=="}) {
    Save("base64", "text" + std::to_string(i++) + ".txt", Text(t));
  }
  // JSON texts behind a mode byte (comments, stable form, pretty text, array merging).
  MakeFolder(g_out + "/json_tree");
  i = 0;
  for (const char* t : {R"({"a":[1,2,{"b":null}],"Name":"n","@type":"t","c":-3000000000})",
                        R"([1.5e-7,true,"{00000000-0000-0000-0000-0000000000AB}","\u00e9\ud83d\ude00"])",
                        "/* c */ {\"x\": [[[]]], // y\n \"z\": 18446744073709551615}", R"({"a":1,"a":{"k":[]}})",
                        "[[[[[[[[[[1]]]]]]]]]]", "{\"s\":\"a\\u0000b\"}"}) {
    for (uint8_t mode : {0, 7, 9}) {
      Bytes b{mode};
      Append(b, Text(t));
      Save("json_tree", std::to_string(mode) + "_text" + std::to_string(i) + ".json", b);
    }
    ++i;
  }
  // media_file: the first byte picks the type (1 MIDI, 2 PLUG), the rest is the file.
  MakeFolder(g_out + "/media_file");
  const Bytes song = Text("MThd payload of an odd size");
  const struct { const char* name; uint8_t type; Bytes file; } media[] = {
      {"midi16.bin", 1, MediaContainer("MIDI", 16, true, song)},
      {"plug128.bin", 2, MediaContainer("PLUG", 128, true, Text("plug-in media"))},
      {"nohash.bin", 1, MediaContainer("MIDI", 16, false, song)},
      {"bare.bin", 2, Text("a bare payload without any header at all")}};
  for (const auto& m : media) {
    Bytes b{m.type};
    Append(b, m.file);
    Save("media_file", m.name, b);
  }
  return g_failures == 0 ? 0 : 1;
}
