// NyMidiFile: loading the file image, Validate, the event records and writing the flat stream.
#include <nybase/audio/NyMidiFile.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include <nybase/files/DirectoryRecursive.h>

namespace {

// The file API moves at most this many bytes per call.
constexpr size_t k_ioBlock = size_t{1} << 30;

}  // namespace

NyMidiFile::~NyMidiFile() {
  Close();
  Release();
}

NYRESULT NyMidiFile::Open(const lu::Path& path) {
  Close();
  Release();
  m_sourceSize = 0;
  if (m_file.Open(path, NyOpenModeRead, 0) != NYRESULT_SUCCESS) return NYRESULT_FILE_NOT_FOUND;
  const unsigned long long size = m_file.GetFileSize();
  if (size == ~0ull || size > SIZE_MAX / 4) {
    m_file.Close();
    return NYRESULT_FILE_NOT_FOUND;
  }
  m_sourceSize = static_cast<size_t>(size);
  return NYRESULT_SUCCESS;
}

NYRESULT NyMidiFile::Load() {
  if (m_source != nullptr) return NYRESULT_SUCCESS;
  if (!m_file.IsOpen()) return NYRESULT_FILE_NOT_FOUND;
  // One byte at least, so that an empty file still has an image.
  m_source = static_cast<uint8_t*>(std::malloc(std::max<size_t>(m_sourceSize, 1)));
  if (m_source == nullptr) return NYRESULT_OUT_OF_MEMORY;
  bool ok = m_file.SetFilePointer(0, lu::FilePointerBegin) == 0;
  for (size_t done = 0; ok && done < m_sourceSize;) {
    const size_t n = std::min(m_sourceSize - done, k_ioBlock);
    ok = m_file.ReadExact(m_source + done, static_cast<unsigned int>(n));
    done += n;
  }
  if (!ok) {
    std::free(m_source);
    m_source = nullptr;
    return NYRESULT_FILE_NOT_FOUND;
  }
  return NYRESULT_SUCCESS;
}

bool NyMidiFile::EnsureConvertedBuffer() {
  // The size never changes while a file is open, so the parser's pointer into it stays good.
  if (m_converted == nullptr) m_converted = static_cast<uint8_t*>(std::malloc(ConvertedCapacity()));
  return m_converted != nullptr;
}

NYRESULT NyMidiFile::Validate() {
  m_validated = false;
  m_lastError = LastError_LoadFailed;
  if (!m_file.IsOpen() || Load() != NYRESULT_SUCCESS) return NYRESULT_INVALID_FILE;
  if (!m_parser.Parse(m_source, m_sourceSize)) {
    m_lastError = LastError_Malformed;
    return NYRESULT_INVALID_FILE;
  }
  if (m_parser.GetDivision() == 0) {
    m_lastError = LastError_ZeroDivision;
    return NYRESULT_INVALID_FILE;
  }
  if (!m_parser.Walk()) {
    m_lastError = LastError_Malformed;
    return NYRESULT_INVALID_FILE;
  }
  if (!EnsureConvertedBuffer()) return NYRESULT_INVALID_FILE;
  if (!m_parser.Convert(m_converted, ConvertedCapacity())) {
    m_lastError = LastError_Malformed;
    return NYRESULT_INVALID_FILE;
  }
  m_info.valid = true;
  m_info.tempo = m_parser.GetFirstTempo();
  m_info.division = m_parser.GetDivision();
  m_info.numEvents = m_parser.GetEventCount();
  m_info.totalTicks = m_parser.GetTotalTicks();
  m_validated = true;
  m_lastError = LastError_None;
  return NYRESULT_SUCCESS;
}

bool NyMidiFile::GetMidiInfo(NyMidiInfo& info) const {
  if (!m_validated) return false;
  info = m_info;
  return true;
}

NYRESULT NyMidiFile::GetEvents(std::vector<NyMidiFileEvent>& events) {
  if (!m_validated || !m_parser.Rewind()) return NYRESULT_FAILURE;
  events.clear();
  events.reserve(m_info.numEvents);
  NyMidiFileEvent event;
  while (m_parser.NextEvent(event)) events.push_back(event);
  return NYRESULT_SUCCESS;
}

NYRESULT NyMidiFile::Convert(const lu::Path& path) {
  if (m_sourceSize == 0) return NYRESULT_FAILURE;
  if (m_source == nullptr) {
    if (Load() != NYRESULT_SUCCESS) return NYRESULT_FAILURE;
    m_parser.Parse(m_source, m_sourceSize);
  }
  if (!EnsureConvertedBuffer()) return NYRESULT_FAILURE;
  size_t streamSize = 0;
  if (m_parser.IsConverted()) {
    // Already converted (by Validate): the converted size's worth of the *file image* goes into
    // the buffer and to the file, not the stream. Kept on purpose; callers depend on this order.
    // Where the stream is longer than the image, the rest is zeros rather than bytes past it.
    streamSize = m_parser.GetConvertedSize();
    if (ConvertedCapacity() < streamSize) return NYRESULT_FAILURE;
    const size_t copied = std::min(streamSize, m_sourceSize);
    std::memmove(m_converted, m_source, copied);
    std::memset(m_converted + copied, 0, streamSize - copied);
  } else {
    if (!m_parser.Convert(m_converted, ConvertedCapacity())) return NYRESULT_FAILURE;
    streamSize = m_parser.GetConvertedSize();
  }
  lu::EnsureDirectoryExists(path.GetParent());
  lu::File out;
  if (out.Open(path, NyOpenModeWriteOverwrite, NyFileFlagExclusive) != NYRESULT_SUCCESS)
    return NYRESULT_FAILURE;
  bool ok = true;
  for (size_t done = 0; ok && done < streamSize;) {
    const size_t n = std::min(streamSize - done, k_ioBlock);
    ok = out.WriteExact(m_converted + done, static_cast<unsigned int>(n));
    done += n;
  }
  ok = out.Close() == NYRESULT_SUCCESS && ok;
  return ok ? NYRESULT_SUCCESS : NYRESULT_FAILURE;
}

void NyMidiFile::Close() { m_file.Close(); }

void NyMidiFile::Release() {
  std::free(m_source);
  std::free(m_converted);
  m_source = nullptr;
  m_converted = nullptr;
  m_validated = false;
  m_info = NyMidiInfo();
  // The parser points into the freed buffers: it starts again from the next load.
  m_parser.Reset();
}
