// nybase info: format, length, markers, loop, hash and ADM metadata of WAV files, or with -r a
// catalogue of every WAV file under folders.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <nybase/audio/RiffChunks.h>
#include <nybase/text/AudioDisplayStrings.h>

#include "AdmSummary.h"
#include "AudioInput.h"
#include "Catalogue.h"
#include "Commands.h"
#include "InfoReport.h"
#include "Json.h"
#include "Runner.h"

namespace nybase::tool {
namespace {

const char* ConfigTypeName(uint32_t type) {
  switch (type) {
    case NyChannelConfigType_Anonymous: return "anonymous";
    case NyChannelConfigType_Standard: return "standard";
    case NyChannelConfigType_Ambisonic: return "ambisonic";
    case NyChannelConfigType_Objects: return "objects";
    default: return "unknown";
  }
}

const char* OrderingName(NY::NyChannelOrdering o) {
  switch (o) {
    case NY::ChannelOrdering_Native: return "native";
    case NY::ChannelOrdering_Pipeline: return "pipeline";
    case NY::ChannelOrdering_FuMa: return "fuma";
    default: return "unknown";
  }
}

// A marker's label as text: the bytes up to the first NUL inside its size.
std::string LabelText(const NY_WAVE_MARKER& m) {
  if (m.strLabel == nullptr || m.dwLabelSize == 0) return {};
  const void* nul = std::memchr(m.strLabel, 0, m.dwLabelSize);
  const size_t n = nul != nullptr ? static_cast<size_t>(static_cast<const char*>(nul) - m.strLabel) : m.dwLabelSize;
  return std::string(m.strLabel, n);
}

std::string Seconds(double s) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.3f s", s);
  return buf;
}

struct Facts {
  std::string configName;
  std::vector<std::string> speakers;
  bool hasLoop = false;
  bool hasHash = false;
  std::string hashHex;
};

Facts Gather(const NyAudioFileReader& r) {
  Facts f;
  const NyChannelConfig config = r.GetFormat().channelConfig;
  CStdStr<wchar_t> name;
  StringHelp::ChannelConfigDisplayName(config, name);
  f.configName = Narrow(name);
  std::vector<CStdStr<wchar_t>> names;
  StringHelp::ChannelConfigToDisplayNames(config, names);
  for (const auto& n : names) f.speakers.push_back(Narrow(n));
  f.hasLoop = (r.ChunksRead() & ChunkFlag_Smpl) != 0;
  unsigned char hash[16];
  f.hasHash = r.GetHash(hash, sizeof hash);
  if (f.hasHash) {
    static const char k_hex[] = "0123456789abcdef";
    for (unsigned char b : hash) {
      f.hashHex.push_back(k_hex[b >> 4]);
      f.hashHex.push_back(k_hex[b & 15]);
    }
  }
  return f;
}

std::string AsText(const std::string& file, const NyAudioFileReader& r, const std::vector<std::string>& warnings) {
  const Facts f = Gather(r);
  const WaveFormatExtensible& fmt = r.GetFormat();
  const double rate = fmt.nSamplesPerSec;
  std::string s = file + "\n";
  for (const std::string& w : warnings) s += "  warning   " + w + "\n";
  s += "  format    " + DescribeEncoding(r) + ", " + std::to_string(fmt.nSamplesPerSec) + " Hz\n";
  s += "  channels  " + std::to_string(fmt.nChannels);
  if (!f.configName.empty()) s += ", " + f.configName;
  if (!f.speakers.empty()) {
    s += " (";
    for (size_t i = 0; i < f.speakers.size(); ++i) s += (i ? " " : "") + f.speakers[i];
    s += ")";
  }
  s += "\n";
  s += "  length    " + std::to_string(r.GetNumFrames()) + " frames, " + Seconds(r.GetDuration()) + "\n";
  if (f.hasLoop) {
    s += "  loop      frames " + std::to_string(r.GetLoopStartFrame()) + " to " +
         std::to_string(r.GetLoopEndFrame()) + " (" + Seconds(r.GetLoopStartFrame() / rate) + " to " +
         Seconds(r.GetLoopEndFrame() / rate) + ")\n";
  } else {
    s += "  loop      none\n";
  }
  s += "  hash      " + (f.hasHash ? f.hashHex : std::string("none")) + "\n";
  s += "  markers   " + std::to_string(r.GetMarkers().size()) + "\n";
  for (const NY_WAVE_MARKER& m : r.GetMarkers()) {
    char line[96];
    std::snprintf(line, sizeof line, "    %4" PRIu32 "  %10.3f s  frame %-10" PRIu32, m.dwIdentifier,
                  m.dwPosition / rate, m.dwPosition);
    s += line;
    const std::string label = LabelText(m);
    if (!label.empty()) s += "  \"" + label + "\"";
    s += "\n";
  }
  s += r.GetADM() != nullptr ? AdmToText(*r.GetADM()) : std::string("  adm       none\n");
  return s;
}

std::string AsJson(const std::string& file, const NyAudioFileReader& r, const std::vector<std::string>& warnings) {
  const Facts f = Gather(r);
  const WaveFormatExtensible& fmt = r.GetFormat();
  const double rate = fmt.nSamplesPerSec;
  const NyChannelConfig config = fmt.channelConfig;
  Json j;
  j.BeginObject().Field("file", file).Field("ok", true);
  j.Key("warnings").BeginArray();
  for (const std::string& w : warnings) j.String(w);
  j.EndArray();
  j.Key("format").BeginObject()
      .Field("codec", Narrow(StringHelp::FmtTagToString(fmt.wFormatTag)))
      .Field("formatTag", unsigned{fmt.wFormatTag})
      .Field("sampleType", r.GetDataTypeID() == 0 ? std::string("int") : std::string("float"))
      .Field("sampleRate", unsigned{fmt.nSamplesPerSec})
      .Field("bitsPerSample", unsigned{fmt.wBitsPerSample})
      .Field("blockAlign", unsigned{fmt.nBlockAlign})
      .Field("channels", unsigned{fmt.nChannels});
  j.Key("channelConfig").BeginObject()
      .Field("packed", config.Serialize())
      .Field("type", std::string(ConfigTypeName(config.GetType())))
      .Field("name", f.configName)
      .Field("mask", config.GetChannelMask());
  j.Key("speakers").BeginArray();
  for (const auto& sp : f.speakers) j.String(sp);
  j.EndArray().EndObject();
  j.Field("channelOrdering", std::string(OrderingName(r.GetChannelOrdering())));
  j.EndObject();
  j.Field("frames", r.GetNumFrames()).Field("duration", r.GetDuration());
  j.Key("markers").BeginArray();
  for (const NY_WAVE_MARKER& m : r.GetMarkers()) {
    j.BeginObject().Field("id", m.dwIdentifier).Field("frame", m.dwPosition)
        .Field("time", m.dwPosition / rate).Field("label", LabelText(m)).EndObject();
  }
  j.EndArray();
  j.Key("loop");
  if (f.hasLoop) {
    j.BeginObject().Field("startFrame", r.GetLoopStartFrame()).Field("endFrame", r.GetLoopEndFrame())
        .Field("start", r.GetLoopStartFrame() / rate).Field("end", r.GetLoopEndFrame() / rate).EndObject();
  } else {
    j.Null();
  }
  j.Key("hash");
  if (f.hasHash) j.String(f.hashHex); else j.Null();
  j.Key("adm");
  if (r.GetADM() != nullptr) {
    AdmToJson(*r.GetADM(), j);
  } else {
    j.Null();
  }
  j.EndObject();
  return j.Text() + "\n";
}

}  // namespace

const CommandSpec& InfoSpec() {
  static const CommandSpec cmdSpec{
      "info",
      "FILE... [--json] [-j N] | -r DIR... [--json] [-j N]",
      "show the format, length, markers, loop, hash and ADM objects of WAV files",
      "Prints one block per file (or one JSON object per line with --json), in the order given.\n"
      "With -r, catalogues every .wav file under the folders instead: one line (or one JSON object)\n"
      "per file, sorted by path, then a summary of the files, their total duration, their formats\n"
      "and the files that could not be read, with the reasons. Only headers and chunks are read,\n"
      "never the samples.",
      {k_jsonOption, k_jobsOption, {"recursive", 'r', nullptr, "catalogue the WAV files under folders"}},
      "  nybase info take1.wav take2.wav\n  nybase info --json *.wav > info.jsonl\n"
      "  nybase info -r -j 4 ~/sounds > catalogue.txt",
      1,
      SIZE_MAX};
  return cmdSpec;
}

namespace {

int RunCatalogue(const CommandSpec& cmdSpec, const std::vector<std::string>& folders, unsigned jobs, bool json) {
  std::vector<std::string> errors;
  uint64_t skippedNames = 0;
  const std::vector<std::string> files = CollectWavFiles(folders, errors, skippedNames);
  for (const std::string& e : errors) PrintError(cmdSpec, e);
  std::vector<CatalogueEntry> entries(files.size());
  // Each job writes only its own entry; they are read once every job has been joined.
  RunInOrder(cmdSpec.name, files.size(), jobs, [&](size_t i, JobProgress&) {
    std::string error;
    std::vector<std::string> warnings;
    // One per worker thread, alive for this run only.
    thread_local FolderCache folders;
    const auto reader = OpenWavUnlocked(files[i], error, &warnings, &folders);
    if (!reader) {
      entries[i].error = error;
      FileOutcome failed = FailedFile(files[i], error, json);
      // Every file has its line in the catalogue, the unreadable ones too.
      if (!json) failed.out = files[i] + "  unreadable: " + error + "\n";
      return failed;
    }
    entries[i] = Describe(*reader);
    return FileOutcome{json ? AsJson(files[i], *reader, warnings) : CatalogueLine(files[i], *reader, entries[i]), {}, true};
  });
  const std::string summary =
      json ? SummaryJson(files, entries, skippedNames) : SummaryText(files, entries, skippedNames);
  std::fwrite(summary.data(), 1, summary.size(), stdout);
  std::fflush(stdout);
  const bool allRead = std::all_of(entries.begin(), entries.end(), [](const CatalogueEntry& e) { return e.ok; });
  return errors.empty() && allRead ? k_exitOk : k_exitFailure;
}

}  // namespace

int RunInfo(int argc, char** argv) {
  const CommandSpec& cmdSpec = InfoSpec();
  const ParseResult parsed = ParseArgs(cmdSpec, argc, argv);
  if (!parsed.args) return parsed.exitCode;
  const Args& args = *parsed.args;
  unsigned jobs = 0;
  if (!ParseJobs(args, jobs)) return UsageError(cmdSpec, "-j needs a number of jobs from 1 to 1024");
  const bool json = args.Has("json");
  const auto& files = args.Positional();
  if (args.Has("recursive")) return RunCatalogue(cmdSpec, files, jobs, json);
  const size_t failed = RunInOrder(cmdSpec.name, files.size(), jobs, [&](size_t i, JobProgress&) {
    std::string error;
    std::string report = InfoReport(files[i], json, error);
    if (!error.empty()) return FailedFile(files[i], error, json);
    return FileOutcome{std::move(report), {}, true};
  });
  return failed == 0 ? k_exitOk : k_exitFailure;
}

std::string InfoReport(const std::string& file, bool json, std::string& error) {
  std::vector<std::string> warnings;
  const auto reader = OpenWavUnlocked(file, error, &warnings);
  if (!reader) return {};
  return json ? AsJson(file, *reader, warnings) : AsText(file, *reader, warnings);
}

}  // namespace nybase::tool
