// The reader factory: picks a reader by the file's extension and opens it.
#include "NyAudioFileReader.h"

#include <memory>

#include <nybase/audio/NyWavFileReader.h>

namespace {

// Compares with an ASCII lower-case literal, folding only 'A' to 'Z'.
bool EqualsAsciiFolded(std::wstring_view text, const char* lower) {
  size_t i = 0;
  for (; lower[i] != '\0'; ++i) {
    if (i >= text.size()) return false;
    wchar_t c = text[i];
    if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
    if (c != static_cast<wchar_t>(lower[i])) return false;
  }
  return i == text.size();
}

// The path's own extension rules decide ("dir\.wav" has none; a stream suffix is the path's call).
bool IsWavExtension(const lu::Path& path) {
  const CStdStr<wchar_t> extension = path.GetFileExtension();
  const std::wstring_view ext = extension;
  return EqualsAsciiFolded(ext, ".wav") || EqualsAsciiFolded(ext, ".amb") ||
         EqualsAsciiFolded(ext, ".vle");
}

}  // namespace

NyAudioFileReader* NyAudioFileReader::Create(const lu::Path& path, const IDataDecipher* decipher) {
  if (!IsWavExtension(path)) return nullptr;
  auto reader = std::make_unique<NyWavFileReader>();
  reader->SetDataDecipher(decipher);
  if (!reader->Open(path)) return nullptr;
  return reader.release();
}

NyAudioFileReader* NyAudioFileReader::Create(const lu::Path& path, const lu::File& file,
                                             const IDataDecipher* decipher) {
  if (!IsWavExtension(path)) return nullptr;
  auto reader = std::make_unique<NyWavFileReader>();
  reader->SetDataDecipher(decipher);
  if (!reader->Open(file)) return nullptr;
  return reader.release();
}

NyAudioFileReader* NyAudioFileReader::Create(const wchar_t* path, const IDataDecipher* decipher) {
  return Create(lu::Path(path), decipher);
}
