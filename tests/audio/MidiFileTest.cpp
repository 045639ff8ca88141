// NyMidiFile: header and track refusals, the merged stream byte for byte (order, running status,
// tempo stretch and carry, releases at the end), event records, every truncation, and mido as an
// independent reader of files it wrote.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <nybase/audio/NyMidiFile.h>

#include "../support/TestSupport.h"

namespace {

using namespace nytest;
using Bytes = std::vector<uint8_t>;

Bytes Cat(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const Bytes& p : parts) out.insert(out.end(), p.begin(), p.end());
  return out;
}

Bytes Chunk(const char* id, const Bytes& body) {
  const auto n = static_cast<uint32_t>(body.size());
  return Cat({Bytes(id, id + 4), {uint8_t(n >> 24), uint8_t(n >> 16), uint8_t(n >> 8), uint8_t(n)}, body});
}

Bytes Smf(uint16_t format, uint16_t tracks, uint16_t division, std::initializer_list<Bytes> bodies) {
  Bytes out = Cat({Chunk("MThd", {uint8_t(format >> 8), uint8_t(format), uint8_t(tracks >> 8), uint8_t(tracks),
                                  uint8_t(division >> 8), uint8_t(division)})});
  for (const Bytes& b : bodies) out = Cat({out, Chunk("MTrk", b)});
  return out;
}

const Bytes k_eot = {0x00, 0xFF, 0x2F, 0x00};
const Bytes k_tempo120 = {0xFF, 0x51, 0x03, 0x07, 0xA1, 0x20};
const Bytes k_tempo60 = {0xFF, 0x51, 0x03, 0x0F, 0x42, 0x40};
const Bytes k_tempo100 = {0xFF, 0x51, 0x03, 0x09, 0x27, 0xC0};

Bytes SysEx128() { return Cat({{0xF0, 0x81, 0x00}, Bytes(127, 0x11), {0xF7}}); }

class MidiFileTest : public ::testing::Test {
 protected:
  lu::Path Write(const Bytes& file, const char* name = "in.mid") {
    WriteFileBytes(m_dir.Native(name), file);
    return lu::Path(m_dir.Wide(name));
  }
  TempDir m_dir;
};

TEST_F(MidiFileTest, RefusesMalformedHeadersAndTracks) {
  const Bytes note = {0x00, 0x90, 0x3C, 0x40};
  const Bytes good = Smf(1, 1, 96, {note});
  const struct { const char* name; Bytes file; uint32_t lastError; } cases[] = {
      {"empty", {}, 2},
      {"short", Bytes(good.begin(), good.begin() + 13), 2},
      {"header length 7", Cat({Chunk("MThd", {0, 1, 0, 1, 0, 96, 0}), Chunk("MTrk", note)}), 2},
      {"format 2", Smf(2, 1, 96, {note}), 2},
      {"format 0 with two tracks", Smf(0, 2, 96, {note, note}), 2},
      {"no tracks", Smf(1, 0, 96, {}), 2},
      {"SMPTE division", Smf(1, 1, 0xE250, {note}), 2},
      {"division 0", Smf(1, 1, 0, {note}), 4},
      {"eight trailing bytes", Cat({good, Bytes(8, 0)}), 2},
      {"track count above chunks", Smf(1, 2, 96, {note}), 2},
      {"five-byte delta", Smf(1, 1, 96, {{0x81, 0x80, 0x80, 0x80, 0x00, 0x90, 0x3C, 0x40}}), 2},
      {"running status at track start", Smf(1, 1, 96, {{0x00, 0x3C, 0x40}}), 2},
      {"running status after a meta event", Smf(1, 1, 96, {Cat({note, {0x00, 0xFF, 0x01, 0x00, 0x00, 0x3C, 0x00}})}), 2},
      {"controller number above 127", Smf(1, 1, 96, {{0x00, 0xB0, 0x80, 0x00}}), 2},
      {"system message without length", Smf(1, 1, 96, {{0x00, 0xF1, 0x00}}), 2},
      {"event cut by the track end", Smf(1, 1, 96, {{0x00, 0x90, 0x3C}}), 2},
      {"delta without event", Smf(1, 1, 96, {Cat({note, {0x00}})}), 2},
      {"sysex longer than its track", Smf(1, 1, 96, {{0x00, 0xF0, 0x05, 0x01, 0xF7}}), 2},
  };
  for (const auto& c : cases) {
    NyMidiFile midi;
    ASSERT_EQ(midi.Open(Write(c.file)), NYRESULT_SUCCESS) << c.name;
    EXPECT_EQ(midi.Validate(), NYRESULT_INVALID_FILE) << c.name;
    EXPECT_EQ(midi.GetLastError(), c.lastError) << c.name;
    EXPECT_FALSE(midi.IsValidateOk()) << c.name;
    std::vector<NyMidiFile::NyMidiFileEvent> events;
    EXPECT_EQ(midi.GetEvents(events), NYRESULT_FAILURE) << c.name;
  }
}

// The converted stream: header (division, tempo as a little-endian float) and events.
TEST_F(MidiFileTest, MergesTracksIntoTheFlatStream) {
  const Bytes tempo120 = {0x00, 0x00, 0xF0, 0x42};
  const struct { const char* name; Bytes file; Bytes tempo; Bytes events; uint32_t count, ticks; } cases[] = {
      {"simultaneous events: lower track first",
       Smf(1, 2, 96, {Cat({{0x00, 0x90, 0x3C, 0x40, 0x10, 0x80, 0x3C, 0x00}, k_eot}),
                      Cat({{0x00, 0x91, 0x40, 0x40, 0x10, 0x81, 0x40, 0x00}, k_eot})}),
       tempo120,
       {0x00, 0x90, 0x3C, 0x40, 0x00, 0x91, 0x40, 0x40, 0x10, 0x80, 0x3C, 0x00, 0x00, 0xFF, 0x2F, 0x00,
        0x00, 0x81, 0x40, 0x00, 0x00, 0xFF, 0x2F, 0x00},
       6, 16},
      {"held notes and sustain released at the end",
       Smf(0, 1, 96, {Cat({{0x00, 0x90, 0x3C, 0x40, 0x00, 0x3E, 0x40, 0x05, 0xB1, 0x40, 0x7F}, k_eot})}),
       tempo120,
       {0x00, 0x90, 0x3C, 0x40, 0x00, 0x3E, 0x40, 0x05, 0xB1, 0x40, 0x7F, 0x00, 0xFF, 0x2F, 0x00,
        0x00, 0xB1, 0x40, 0x00, 0x00, 0x80, 0x3C, 0x00, 0x00, 0x3E, 0x00},
       7, 5},
      {"controller 123 silences its channel only",
       Smf(1, 1, 96, {{0x00, 0x90, 0x3C, 0x40, 0x00, 0x91, 0x3C, 0x40, 0x01, 0xB0, 0x7B, 0x00}}),
       tempo120, {0x00, 0x90, 0x3C, 0x40, 0x00, 0x91, 0x3C, 0x40, 0x01, 0xB0, 0x7B, 0x00, 0x00, 0x81, 0x3C, 0x00}, 4, 1},
      {"no timed events: one bare end-of-track at delta 1",
       Smf(1, 1, 96, {{0x00, 0xC0, 0x05, 0x00, 0xFF, 0x01, 0x01, 0x68}}), tempo120, {0x00, 0xC0, 0x05, 0x01, 0xFF, 0x2F}, 1, 1},
      {"tempo at tick 0 twice: the second is the header's, no stretch",
       Smf(1, 1, 96, {Cat({{0x00}, k_tempo120, {0x00}, k_tempo100, {0x0A, 0x90, 0x3C, 0x40, 0x0A, 0x80, 0x3C, 0x00}})}),
       {0x00, 0x00, 0xC8, 0x42}, {0x0A, 0x90, 0x3C, 0x40, 0x0A, 0x80, 0x3C, 0x00}, 2, 20},
      {"half tempo later: deltas double, dropped events carried",
       Smf(1, 1, 96, {Cat({{0x00}, k_tempo120, {0x04, 0x90, 0x3C, 0x40, 0x02}, k_tempo60,
                           {0x03, 0xFF, 0x01, 0x00, 0x01}, SysEx128(), {0x01, 0x80, 0x3C, 0x00}})}),
       tempo120, {0x04, 0x90, 0x3C, 0x40, 0x0C, 0x80, 0x3C, 0x00}, 2, 16},
      {"foreign and empty chunks inside the track count are passed over",
       Cat({Smf(1, 3, 96, {}), Chunk("XTRA", {'a', 'b'}), Chunk("MTrk", {}),
            Chunk("MTrk", {0x8F, 0xFF, 0xFF, 0x7F, 0x90, 0x3C, 0x40, 0x01, 0x80, 0x3C, 0x00})}),
       tempo120, {0x8F, 0xFF, 0xFF, 0x7F, 0x90, 0x3C, 0x40, 0x01, 0x80, 0x3C, 0x00}, 2, 0x1FFFFFF + 1},
  };
  for (const auto& c : cases) {
    NyMidiFile midi;
    ASSERT_EQ(midi.Open(Write(c.file)), NYRESULT_SUCCESS) << c.name;
    ASSERT_EQ(midi.Validate(), NYRESULT_SUCCESS) << c.name;
    NyMidiInfo info;
    ASSERT_TRUE(midi.GetMidiInfo(info)) << c.name;
    EXPECT_EQ(info.division, 96u) << c.name;
    EXPECT_EQ(info.numEvents, c.count) << c.name;
    EXPECT_EQ(info.totalTicks, c.ticks) << c.name;
    // A fresh Open and Convert writes the stream itself.
    NyMidiFile fresh;
    ASSERT_EQ(fresh.Open(Write(c.file)), NYRESULT_SUCCESS);
    ASSERT_EQ(fresh.Convert(lu::Path(m_dir.Wide("sub/dir/out.bin"))), NYRESULT_SUCCESS) << c.name;
    EXPECT_EQ(ReadFileBytes(m_dir.Native("sub/dir/out.bin")), Cat({{0x00, 0x60}, c.tempo, c.events})) << c.name;
  }
}

TEST_F(MidiFileTest, EventRecordsAndTheConvertAfterValidateOrder) {
  const Bytes file = Smf(0, 1, 480, {Cat({{0x00}, k_tempo100, {0x00, 0x90, 0x3C, 0x40, 0x01, 0x3C, 0x00, 0x00, 0xC2, 0x07}})});
  NyMidiFile midi;
  std::vector<NyMidiFile::NyMidiFileEvent> events(3);
  NyMidiInfo info;
  EXPECT_EQ(midi.GetEvents(events), NYRESULT_FAILURE);
  EXPECT_FALSE(midi.GetMidiInfo(info));  // nothing validated yet
  EXPECT_EQ(midi.Validate(), NYRESULT_INVALID_FILE);
  EXPECT_EQ(midi.GetLastError(), 1u);
  EXPECT_EQ(midi.Open(lu::Path(m_dir.Wide("missing.mid"))), NYRESULT_FILE_NOT_FOUND);
  ASSERT_EQ(midi.Open(Write(file)), NYRESULT_SUCCESS);
  ASSERT_EQ(midi.Validate(), NYRESULT_SUCCESS);
  EXPECT_EQ(midi.GetLastError(), 0u);
  ASSERT_TRUE(midi.GetMidiInfo(info));
  EXPECT_DOUBLE_EQ(info.tempo, 100.0);
  ASSERT_EQ(midi.GetEvents(events), NYRESULT_SUCCESS);
  ASSERT_EQ(events.size(), 3u);
  const NyMidiFile::NyMidiFileEvent want[] = {{0x90, 0, 0x3C, 0x40, 0}, {0x80, 0, 0x3C, 0, 1}, {0xC0, 2, 0x07, 0, 0}};
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(events[i].eventType, want[i].eventType) << i;
    EXPECT_EQ(events[i].channel, want[i].channel) << i;
    EXPECT_EQ(events[i].data1, want[i].data1) << i;
    EXPECT_EQ(events[i].data2, want[i].data2) << i;
    EXPECT_EQ(events[i].deltaTime, want[i].deltaTime) << i;
  }
  // After Validate, Convert writes the stream's length of the file image itself.
  midi.Close();
  ASSERT_EQ(midi.Convert(lu::Path(m_dir.Wide("after.bin"))), NYRESULT_SUCCESS);
  EXPECT_EQ(ReadFileBytes(m_dir.Native("after.bin")), Bytes(file.begin(), file.begin() + 6 + 10));
  midi.Release();
  EXPECT_FALSE(midi.IsValidateOk());
  EXPECT_EQ(midi.Convert(lu::Path(m_dir.Wide("x.bin"))), NYRESULT_FAILURE);  // closed: nothing to load
  ASSERT_EQ(midi.Open(Write({})), NYRESULT_SUCCESS);
  EXPECT_EQ(midi.Convert(lu::Path(m_dir.Wide("x.bin"))), NYRESULT_FAILURE);
}

TEST_F(MidiFileTest, EveryTruncationIsRefusedAsMalformed) {
  const Bytes file = Smf(1, 2, 96, {Cat({{0x00}, k_tempo120, {0x00, 0x90, 0x3C, 0x40, 0x81, 0x00, 0x3C, 0x00}, k_eot}),
                                    Cat({{0x00}, SysEx128(), {0x00, 0xE0, 0x00, 0x40}, k_eot})});
  for (size_t cut = 0; cut < file.size(); ++cut) {
    NyMidiFile midi;
    ASSERT_EQ(midi.Open(Write(Bytes(file.begin(), file.begin() + cut))), NYRESULT_SUCCESS);
    ASSERT_EQ(midi.Validate(), NYRESULT_INVALID_FILE) << cut;
    ASSERT_EQ(midi.GetLastError(), 2u) << cut;
  }
}

// Two tracks of equal, maximal deltas for longer than 2^46 ticks: ties keep going to the lower
// track however far the clock runs.
TEST_F(MidiFileTest, OrderHoldsOverVeryLongFiles) {
  constexpr uint32_t k_events = (1u << 18) + 64;
  Bytes track = {0xFF, 0xFF, 0xFF, 0x7F, 0x90, 0x3C, 0x00};
  for (uint32_t i = 1; i < k_events; ++i) track.insert(track.end(), {0xFF, 0xFF, 0xFF, 0x7F, 0x3C, 0x00});
  Bytes second = track;
  second[4] = 0x91;
  NyMidiFile midi;
  ASSERT_EQ(midi.Open(Write(Smf(1, 2, 96, {track, second}))), NYRESULT_SUCCESS);
  ASSERT_EQ(midi.Validate(), NYRESULT_SUCCESS);
  std::vector<NyMidiFile::NyMidiFileEvent> events;
  ASSERT_EQ(midi.GetEvents(events), NYRESULT_SUCCESS);
  ASSERT_EQ(events.size(), 2 * k_events);
  for (size_t i = 0; i < events.size(); ++i) {
    ASSERT_EQ(events[i].channel, i % 2) << i;
    ASSERT_EQ(events[i].deltaTime, i % 2 == 0 ? 0x0FFFFFFFu : 0u) << i;
  }
}

// mido writes a file with six tracks (running status, meta and system-exclusive events between
// channel events, a tempo halving at tick 960) and reports its merged channel events; ours must
// match them in order, with absolute times stretched twofold after the tempo change.
const char k_midoScript[] = R"(
import random, sys, mido
random.seed(int(sys.argv[2]))
f = mido.MidiFile(type=1, ticks_per_beat=96)
for n in range(6):
    t = mido.MidiTrack(); f.tracks.append(t)
    if n == 0:
        t.append(mido.MetaMessage('set_tempo', tempo=500000, time=0))
        t.append(mido.MetaMessage('set_tempo', tempo=1000000, time=960))
    held = []
    for _ in range(400):
        ch = random.randrange(16); dt = random.choice([0, 0, 1, 5, 30, 200, 20000])
        k = random.randrange(9)
        if k < 3: m = mido.Message('note_on', channel=ch, note=random.randrange(128), velocity=random.randrange(1, 128)); held.append(m)
        elif k < 5 and held:
            h = held.pop(random.randrange(len(held)))
            m = mido.Message('note_off' if k == 3 else 'note_on', channel=h.channel, note=h.note, velocity=0)
        elif k == 5: m = mido.Message('control_change', channel=ch, control=random.choice([1, 7, 10, 91]), value=random.randrange(128))
        elif k == 6: m = mido.Message(random.choice(['program_change', 'aftertouch']), channel=ch)
        elif k == 7: m = mido.Message('pitchwheel', channel=ch, pitch=random.randrange(-8192, 8192))
        else: m = random.choice([mido.MetaMessage('text', text='x' * random.randrange(300)),
                                 mido.Message('sysex', data=[random.randrange(128) for _ in range(random.randrange(200))])])
        m.time = dt; t.append(m)
    for h in held: t.append(mido.Message('note_off', channel=h.channel, note=h.note, time=1))
f.save(sys.argv[1])
now = 0
for m in mido.merge_tracks(mido.MidiFile(sys.argv[1]).tracks):
    now += m.time
    if not m.is_meta and m.type != 'sysex':
        b = m.bytes() + [0, 0]
        kind = b[0] & 0xF0
        if kind == 0x90 and b[2] == 0: kind = 0x80
        print(now, kind, b[0] & 15, b[1], b[2] if kind not in (0xC0, 0xD0) else 0)
)";

TEST_F(MidiFileTest, AgreesWithMidoOnFilesItWrote) {
  if (nytest::Run("/usr/bin/python3 -c 'import mido' 2>/dev/null") != 0) GTEST_SKIP() << "needs /usr/bin/python3 with mido";
  std::ofstream(m_dir.Native("gen.py")) << k_midoScript;
  for (int seed = 1; seed <= 3; ++seed) {
    const std::string cmd = "/usr/bin/python3 " + m_dir.Native("gen.py") + " " + m_dir.Native("m.mid") + " " +
                            std::to_string(seed) + " > " + m_dir.Native("events.txt");
    ASSERT_EQ(nytest::Run(cmd), 0) << cmd;
    std::ifstream text(m_dir.Native("events.txt"));
    std::vector<std::vector<uint64_t>> want;
    for (uint64_t t, k, c, d1, d2; text >> t >> k >> c >> d1 >> d2;) {
      want.push_back({t <= 960 ? t : 960 + 2 * (t - 960), k, c, d1, d2});
    }
    ASSERT_GT(want.size(), 1000u);
    NyMidiFile midi;
    ASSERT_EQ(midi.Open(lu::Path(m_dir.Wide("m.mid"))), NYRESULT_SUCCESS);
    ASSERT_EQ(midi.Validate(), NYRESULT_SUCCESS);
    std::vector<NyMidiFile::NyMidiFileEvent> events;
    ASSERT_EQ(midi.GetEvents(events), NYRESULT_SUCCESS);
    std::vector<std::vector<uint64_t>> got;
    uint64_t now = 0;
    for (const auto& e : events) {
      now += e.deltaTime;
      if (e.eventType < 0xF0) got.push_back({now, e.eventType, e.channel, e.data1, e.data2});
    }
    EXPECT_EQ(got, want) << "seed " << seed;
  }
}

}  // namespace
