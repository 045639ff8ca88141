// nybase midi: summaries and events in JSON for several files, the errors, and --convert.
#include <gtest/gtest.h>

#include <rapidjson/document.h>

#include <string>
#include <vector>

#include "../support/TestSupport.h"
#include "ToolRunner.h"

namespace {

using nytest::ParseLine;
using nytest::Quote;
using nytest::RunTool;

// One track at 96 ticks per beat, tempo 100 bpm: a note of one beat and a program change.
const std::vector<uint8_t> k_song = {'M',  'T',  'h',  'd',  0,    0,    0,    6,    0,    0,    0,
                                     1,    0,    96,   'M',  'T',  'r',  'k',  0,    0,    0,    21,
                                     0x00, 0xFF, 0x51, 0x03, 0x09, 0x27, 0xC0, 0x00, 0x90, 0x3C, 0x40,
                                     0x60, 0x3C, 0x00, 0x00, 0xC3, 0x05, 0x00, 0xFF, 0x2F, 0x00};

TEST(ToolMidi, SummariesEventsAndErrors) {
  nytest::TempDir dir;
  nytest::WriteFileBytes(dir.Native("song.mid"), k_song);
  nytest::WriteFileBytes(dir.Native("cut.mid"), std::vector<uint8_t>(k_song.begin(), k_song.end() - 1));
  const auto r = RunTool("midi --json --events -j 2 " + Quote(dir.Native("song.mid")) + " " +
                         Quote(dir.Native("cut.mid")) + " " + Quote(dir.Native("none.mid")));
  EXPECT_EQ(r.exitCode, 1);
  ASSERT_EQ(r.OutLines().size(), 3u) << r.out;
  const auto d = ParseLine(r.OutLines()[0]);
  EXPECT_TRUE(d["ok"].GetBool());
  EXPECT_DOUBLE_EQ(d["tempo"].GetDouble(), 100.0);
  EXPECT_EQ(d["division"].GetUint(), 96u);
  EXPECT_EQ(d["eventCount"].GetUint(), 4u);
  EXPECT_EQ(d["ticks"].GetUint(), 96u);
  EXPECT_DOUBLE_EQ(d["duration"].GetDouble(), 0.6);
  const auto& events = d["events"];
  ASSERT_EQ(events.Size(), 4u);
  EXPECT_STREQ(events[1]["type"].GetString(), "note-off");  // a note-on of velocity 0
  EXPECT_EQ(events[1]["delta"].GetUint(), 96u);
  EXPECT_EQ(events[2]["channel"].GetUint(), 3u);
  EXPECT_EQ(events[2]["data"][0].GetUint(), 5u);
  EXPECT_STREQ(events[3]["type"].GetString(), "end-of-track");
  EXPECT_FALSE(ParseLine(r.OutLines()[1])["ok"].GetBool());
  EXPECT_FALSE(ParseLine(r.OutLines()[2])["ok"].GetBool());
  const auto err = r.ErrLines();
  ASSERT_EQ(err.size(), 2u) << r.err;
  EXPECT_EQ(err[0], "nybase midi: " + dir.Native("cut.mid") +
                        ": damaged or unsupported MIDI file (bad header, track chunk or event)");
  EXPECT_EQ(err[1], "nybase midi: " + dir.Native("none.mid") + ": no such file");

  const auto text = RunTool("midi " + Quote(dir.Native("song.mid")));
  EXPECT_EQ(text.exitCode, 0) << text.err;
  EXPECT_NE(text.out.find("  tempo     100.000 bpm\n"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("  duration  0.600 s\n"), std::string::npos) << text.out;
}

TEST(ToolMidi, ConvertWritesTheFlatStream) {
  nytest::TempDir dir;
  nytest::WriteFileBytes(dir.Native("song.mid"), k_song);
  const std::string out = dir.Native("out/song.nym");
  const auto r = RunTool("midi " + Quote(dir.Native("song.mid")) + " --convert " + Quote(out));
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const std::vector<uint8_t> stream = {0x00, 0x60, 0x00, 0x00, 0xC8, 0x42, 0x00, 0x90, 0x3C, 0x40,
                                       0x60, 0x3C, 0x00, 0x00, 0xC3, 0x05, 0x00, 0xFF, 0x2F, 0x00};
  EXPECT_EQ(nytest::ReadFileBytes(out), stream);
  EXPECT_EQ(RunTool("midi a.mid b.mid --convert x").exitCode, 2);
}

}  // namespace
