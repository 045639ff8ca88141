// nybase info -r: collecting the WAV files of folders, and the summary of what was read.
#include "Catalogue.h"

#include <algorithm>
#include <cstdio>
#include <set>

#include <nybase/files/DirectoryRecursive.h>
#include <nybase/platform/DirectoryApi.h>
#include <nybase/platform/NativePath.h>

#include "AudioInput.h"
#include "Json.h"

namespace nybase::tool {
namespace {

// "1:02:03.456" for a duration in seconds.
std::string Clock(double seconds) {
  const auto ms = static_cast<long long>(seconds * 1000 + 0.5);
  char buf[48];
  std::snprintf(buf, sizeof buf, "%lld:%02lld:%02lld.%03lld", ms / 3600000, ms / 60000 % 60, ms / 1000 % 60, ms % 1000);
  return buf;
}

std::string NativeOf(const std::wstring& libraryPath) {
  std::string native;
  lu::platform::ToNativePath(libraryPath.data(), libraryPath.size(), native);
  return native;
}

struct Totals {
  size_t readable = 0;
  double duration = 0;
  std::map<std::string, size_t> formats;
};

Totals Add(const std::vector<CatalogueEntry>& entries) {
  Totals t;
  for (const CatalogueEntry& e : entries) {
    if (!e.ok) continue;
    ++t.readable;
    t.duration += e.duration;
    ++t.formats[e.format];
  }
  return t;
}

}  // namespace

std::vector<std::string> CollectWavFiles(const std::vector<std::string>& args, std::vector<std::string>& errors,
                                         uint64_t& skippedNames) {
  const uint64_t skippedBefore = lu::platform::GetSkippedNameCount();
  std::set<std::string> files;
  for (const std::string& arg : args) {
    const lu::Path path = ToLibraryPath(arg);
    if (path.IsDirectory()) {
      // The search's wildcard folds case, so "*.wav" also finds ".WAV".
      std::set<CStdStr<wchar_t>> found;
      lu::GetFilesRecursive(path.GetFullPath(), found, L"*.wav", 0);
      // Paths come back on the library's form of the argument; the user sees native ones.
      for (const CStdStr<wchar_t>& f : found) files.insert(NativeOf(f));
    } else if (path.IsFile()) {
      files.insert(arg);
    } else {
      errors.push_back(arg + ": no such file or folder");
    }
  }
  skippedNames = lu::platform::GetSkippedNameCount() - skippedBefore;
  return std::vector<std::string>(files.begin(), files.end());
}

CatalogueEntry Describe(const NyAudioFileReader& reader) {
  const WaveFormatExtensible& fmt = reader.GetFormat();
  CatalogueEntry e;
  e.ok = true;
  e.duration = reader.GetDuration();
  e.format = DescribeEncoding(reader) + ", " + std::to_string(fmt.nSamplesPerSec) + " Hz, " +
             std::to_string(fmt.nChannels) + " ch";
  return e;
}

std::string CatalogueLine(const std::string& file, const NyAudioFileReader& reader, const CatalogueEntry& entry) {
  char duration[32];
  std::snprintf(duration, sizeof duration, "%.3f s", entry.duration);
  return file + "  " + entry.format + "  " + duration + "  " + std::to_string(reader.GetMarkers().size()) +
         " markers\n";
}

std::string SummaryText(const std::vector<std::string>& files, const std::vector<CatalogueEntry>& entries,
                        uint64_t skippedNames) {
  const Totals t = Add(entries);
  char duration[32];
  std::snprintf(duration, sizeof duration, "%.3f", t.duration);
  std::string s = "summary: " + std::to_string(files.size()) + " files, " + std::to_string(t.readable) +
                  " readable, " + std::to_string(files.size() - t.readable) + " unreadable, total duration " +
                  Clock(t.duration) + " (" + duration + " s)\n";
  for (const auto& [format, count] : t.formats) s += "  " + std::to_string(count) + "  " + format + "\n";
  for (size_t i = 0; i < files.size(); ++i) {
    if (!entries[i].ok) s += "  unreadable  " + files[i] + ": " + entries[i].error + "\n";
  }
  if (skippedNames > 0) s += "  " + std::to_string(skippedNames) + " names on disk are not UTF-8 and were left out\n";
  return s;
}

std::string SummaryJson(const std::vector<std::string>& files, const std::vector<CatalogueEntry>& entries,
                        uint64_t skippedNames) {
  const Totals t = Add(entries);
  Json j;
  j.BeginObject().Key("summary").BeginObject();
  j.Field("files", static_cast<uint64_t>(files.size()))
      .Field("readable", static_cast<uint64_t>(t.readable))
      .Field("unreadable", static_cast<uint64_t>(files.size() - t.readable))
      .Field("duration", t.duration)
      .Field("skippedNames", skippedNames);
  j.Key("formats").BeginObject();
  for (const auto& [format, count] : t.formats) j.Field(format, static_cast<uint64_t>(count));
  j.EndObject();
  j.Key("unreadableFiles").BeginArray();
  for (size_t i = 0; i < files.size(); ++i) {
    if (!entries[i].ok) j.BeginObject().Field("file", files[i]).Field("error", entries[i].error).EndObject();
  }
  j.EndArray().EndObject().EndObject();
  return j.Text() + "\n";
}

}  // namespace nybase::tool
