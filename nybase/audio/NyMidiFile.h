// NyMidiFile: opens a standard MIDI file, validates it, and hands out its summary, its events or
// the library's flat event stream.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <nybase/audio/NyMidiParseAt.h>
#include <nybase/audio/NyMidiRecords.h>
#include <nybase/base/NyResult.h>
#include <nybase/files/File.h>
#include <nybase/files/Path.h>

// Accepted files: format 0 (one track) or 1, at least one track, ticks per beat below 32768 (no
// SMPTE time), track chunks within the file and nothing after the last one. Holds two buffers:
// the file image and the converted stream (2 x file size + 1024 bytes). One thread at a time.
class NyMidiFile {
 public:
  using NyMidiFileEvent = ::NyMidiFileEvent;

  // Why the last Validate failed.
  enum LastError : uint32_t {
    LastError_None = 0,
    LastError_LoadFailed = 1,
    LastError_Malformed = 2,
    LastError_ZeroDivision = 4,
  };

  NyMidiFile() = default;
  NyMidiFile(const NyMidiFile&) = delete;
  NyMidiFile& operator=(const NyMidiFile&) = delete;
  // Closes the file and frees both buffers.
  virtual ~NyMidiFile();

  // Closes any file, frees both buffers, clears the validated flag, and opens `path` for reading.
  // 1 on success; 66 when the file cannot be opened or sized.
  NYRESULT Open(const lu::Path& path);
  // Loads the file (once), checks the header and every track, and converts it. 1 on success,
  // with the summary available; 7 when the file is not open or cannot be loaded (last error 1),
  // is malformed (2), has a division of 0 (4), or cannot be converted (2).
  NYRESULT Validate();
  // Whether the last Validate succeeded (and nothing released the buffers since).
  bool IsValidateOk() const { return m_validated; }
  // Copies the summary; false (and `info` untouched) until validated.
  bool GetMidiInfo(NyMidiInfo& info) const;
  // Replaces `events` with every event of the converted stream, in order. 2 when not validated
  // or the stream has no first event; otherwise 1.
  NYRESULT GetEvents(std::vector<NyMidiFileEvent>& events);
  // Writes the converted stream to `path` (its directory is created when missing; an existing
  // file is replaced). Loads and parses the file first when that has not been done. 1 on success;
  // 2 for an empty or unreadable file, a failed conversion, or a failed open or write.
  // After Validate the bytes written are the converted size's worth of the file image instead of
  // the stream, and they replace the stream in its buffer (GetEvents then reads them): that is the
  // order of things callers rely on, kept on purpose. Open and Convert without Validate to get the
  // stream itself.
  NYRESULT Convert(const lu::Path& path);
  // Closes the file; the buffers stay.
  void Close();
  // Frees both buffers and clears the validated flag.
  void Release();
  // The reason for the last failure of Validate (see LastError); 0 after a success.
  uint32_t GetLastError() const { return m_lastError; }

 private:
  // Reads the whole file into the image once: 1, 52 when the block cannot be had, 66 when the
  // file is not open or cannot be read exactly.
  NYRESULT Load();
  // The converted-stream buffer, 2 x file size + 1024 bytes; false when it cannot be had.
  bool EnsureConvertedBuffer();
  size_t ConvertedCapacity() const { return 2 * m_sourceSize + 1024; }

  lu::File m_file;
  uint8_t* m_source = nullptr;
  size_t m_sourceSize = 0;
  uint8_t* m_converted = nullptr;
  bool m_validated = false;
  NyMidiInfo m_info;
  NyMidiParseAt m_parser;
  uint32_t m_lastError = LastError_None;
};
