// nybase info -r: the WAV files under folders, one line each, and the summary of a catalogue.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <nybase/audio/NyAudioFileReader.h>

namespace nybase::tool {

// Every file with the extension ".wav" (any case) under the given folders, at any depth (links to
// folders are not followed; unreadable folders are passed over), plus every argument that is a
// file, sorted by path with duplicates removed. An argument that is neither gives one line in
// `errors` ("DIR: no such file or folder"). `skippedNames` counts names on disk that are not
// valid UTF-8 and were left out.
std::vector<std::string> CollectWavFiles(const std::vector<std::string>& args, std::vector<std::string>& errors,
                                         uint64_t& skippedNames);

// What one catalogued file contributes to the summary.
struct CatalogueEntry {
  bool ok = false;
  double duration = 0;
  std::string format;  // "PCM 24-bit integer, 48000 Hz, 2 ch"
  std::string error;
};

// The facts the summary needs, read from an open reader.
CatalogueEntry Describe(const NyAudioFileReader& reader);

// One line of text for a good file: "PATH  FORMAT  DURATION  N markers".
std::string CatalogueLine(const std::string& file, const NyAudioFileReader& reader, const CatalogueEntry& entry);

// The summary: number of files, readable and unreadable ones, total duration, the files per
// format, and each unreadable file with its reason. As text lines or as one JSON object
// {"summary": {...}} on one line.
std::string SummaryText(const std::vector<std::string>& files, const std::vector<CatalogueEntry>& entries,
                        uint64_t skippedNames);
std::string SummaryJson(const std::vector<std::string>& files, const std::vector<CatalogueEntry>& entries,
                        uint64_t skippedNames);

}  // namespace nybase::tool
