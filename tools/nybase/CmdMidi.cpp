// nybase midi: the summary, the events and the flat stream of standard MIDI files.
#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include <nybase/audio/NyMidiFile.h>

#include "AudioInput.h"
#include "Commands.h"
#include "FileCheck.h"
#include "Json.h"
#include "Runner.h"

namespace nybase::tool {
namespace {

struct Summary {
  NyMidiInfo info;
  double duration = 0.0;  // seconds at the stream's one tempo
  std::vector<NyMidiFile::NyMidiFileEvent> events;
  std::string convertedTo;
  unsigned long long convertedBytes = 0;
};

const char* TypeName(uint8_t type, uint8_t data1) {
  switch (type) {
    case 0x80:
      return "note-off";
    case 0x90:
      return "note-on";
    case 0xA0:
      return "key-pressure";
    case 0xB0:
      return "controller";
    case 0xC0:
      return "program";
    case 0xD0:
      return "channel-pressure";
    case 0xE0:
      return "pitch-bend";
    case 0xFF:
      return data1 == 0x2F ? "end-of-track" : "meta";
    default:
      return "other";
  }
}

// Why Validate refused a file, in words.
std::string Refusal(const std::string& file, uint32_t lastError) {
  if (lastError == NyMidiFile::LastError_LoadFailed) return "could not be read";
  if (lastError == NyMidiFile::LastError_ZeroDivision)
    return "not a usable MIDI file (division of 0 ticks per beat)";
  char magic[4] = {};
  std::ifstream in(file, std::ios::binary);
  if (!in.read(magic, 4) || std::string(magic, 4) != "MThd") return "not a MIDI file (no MThd header)";
  return "damaged or unsupported MIDI file (bad header, track chunk or event)";
}

std::string AsText(const std::string& file, const Summary& s) {
  char line[160];
  std::string out = file + "\n";
  std::snprintf(line, sizeof line,
                "  valid     yes\n  tempo     %.3f bpm\n  division  %" PRIu32
                " ticks per beat\n"
                "  events    %" PRIu32 "\n  ticks     %" PRIu32 "\n  duration  %.3f s\n",
                s.info.tempo, s.info.division, s.info.numEvents, s.info.totalTicks, s.duration);
  out += line;
  if (!s.convertedTo.empty())
    out += "  converted " + s.convertedTo + " (" + std::to_string(s.convertedBytes) + " bytes)\n";
  if (!s.events.empty()) out += "      delta  type              ch  data\n";
  for (const auto& e : s.events) {
    std::snprintf(line, sizeof line, "  %9" PRIu32 "  %-16s  %2u  %3u %3u\n", e.deltaTime,
                  TypeName(e.eventType, e.data1), unsigned{e.channel}, unsigned{e.data1}, unsigned{e.data2});
    out += line;
  }
  return out;
}

std::string AsJson(const std::string& file, const Summary& s, bool withEvents) {
  Json j;
  j.BeginObject()
      .Field("file", file)
      .Field("ok", true)
      .Field("valid", s.info.valid)
      .Field("tempo", s.info.tempo)
      .Field("division", s.info.division)
      .Field("eventCount", s.info.numEvents)
      .Field("ticks", s.info.totalTicks)
      .Field("duration", s.duration);
  if (!s.convertedTo.empty()) {
    j.Key("converted")
        .BeginObject()
        .Field("path", s.convertedTo)
        .Field("bytes", s.convertedBytes)
        .EndObject();
  }
  if (withEvents) {
    j.Key("events").BeginArray();
    for (const auto& e : s.events) {
      j.BeginObject()
          .Field("delta", e.deltaTime)
          .Field("type", std::string(TypeName(e.eventType, e.data1)))
          .Field("status", unsigned{e.eventType})
          .Field("channel", unsigned{e.channel});
      j.Key("data").BeginArray().UInt(e.data1).UInt(e.data2).EndArray().EndObject();
    }
    j.EndArray();
  }
  j.EndObject();
  return j.Text() + "\n";
}

// Validates `file` and gathers its summary (and events); on failure returns the reason.
std::string Inspect(const std::string& file, bool withEvents, Summary& s) {
  std::string error = CheckReadableFile(file);
  if (!error.empty()) return error;
  NyMidiFile midi;
  if (midi.Open(ToLibraryPath(file)) != NYRESULT_SUCCESS) return "cannot be opened";
  if (midi.Validate() != NYRESULT_SUCCESS) return Refusal(file, midi.GetLastError());
  midi.GetMidiInfo(s.info);
  s.duration = s.info.division == 0 || s.info.tempo <= 0
                   ? 0.0
                   : s.info.totalTicks * 60.0 / (s.info.division * s.info.tempo);
  if (withEvents && midi.GetEvents(s.events) != NYRESULT_SUCCESS) return "its events could not be read";
  return {};
}

// Writes the flat stream of `file` to `out`. A second, fresh NyMidiFile does it: Convert after
// Validate on the same object writes the file image, not the stream.
std::string WriteStream(const std::string& file, const std::string& out, Summary& s) {
  NyMidiFile midi;
  if (midi.Open(ToLibraryPath(file)) != NYRESULT_SUCCESS) return "cannot be opened";
  if (midi.Convert(ToLibraryPath(out)) != NYRESULT_SUCCESS)
    return "could not write the converted stream to " + out;
  std::ifstream written(out, std::ios::binary | std::ios::ate);
  s.convertedTo = out;
  s.convertedBytes = written ? static_cast<unsigned long long>(written.tellg()) : 0;
  return {};
}

}  // namespace

const CommandSpec& MidiSpec() {
  static const CommandSpec cmdSpec{
      "midi",
      "FILE... [--events] [--convert OUT] [--json] [-j N]",
      "show the summary and events of standard MIDI files, or convert one to the flat stream",
      "Prints whether each file is valid, its tempo, division (ticks per beat), number of events,\n"
      "length in ticks and duration in seconds at that tempo. The events are those of the merged\n"
      "stream: every track in time order, channel messages and end-of-track events only, deltas\n"
      "rescaled to the first tempo, held notes and pedals released at the end.\n"
      "--events lists every event (delta, type, channel, data bytes); --convert OUT writes the\n"
      "one FILE's stream (division, tempo, events) to OUT.",
      {{"events", 'e', nullptr, "list every event of the merged stream"},
       {"convert", 0, "OUT", "write the flat event stream of the one FILE to OUT"},
       k_jsonOption,
       k_jobsOption},
      "  nybase midi groove.mid --events\n  nybase midi --json *.mid > midi.jsonl\n"
      "  nybase midi groove.mid --convert groove.nym",
      1,
      SIZE_MAX};
  return cmdSpec;
}

int RunMidi(int argc, char** argv) {
  const CommandSpec& cmdSpec = MidiSpec();
  const ParseResult parsed = ParseArgs(cmdSpec, argc, argv);
  if (!parsed.args) return parsed.exitCode;
  const Args& args = *parsed.args;
  unsigned jobs = 0;
  if (!ParseJobs(args, jobs)) return UsageError(cmdSpec, "-j needs a number of jobs from 1 to 1024");
  const auto convertTo = args.Value("convert");
  if (convertTo && args.Positional().size() != 1)
    return UsageError(cmdSpec, "--convert takes exactly one FILE");
  if (convertTo && convertTo->empty()) return UsageError(cmdSpec, "--convert needs an output file");
  const bool json = args.Has("json");
  const bool withEvents = args.Has("events");
  const auto& files = args.Positional();
  const size_t failed = RunInOrder(cmdSpec.name, files.size(), jobs, [&](size_t i, JobProgress&) {
    Summary s;
    std::string error = Inspect(files[i], withEvents, s);
    if (error.empty() && convertTo) error = WriteStream(files[i], *convertTo, s);
    if (!error.empty()) return FailedFile(files[i], error, json);
    return FileOutcome{json ? AsJson(files[i], s, withEvents) : AsText(files[i], s), {}, true};
  });
  return failed == 0 ? k_exitOk : k_exitFailure;
}

}  // namespace nybase::tool
