// ReadBytesLuFile: bounded reads of the file and of the string record.
#include <nybase/files/ReadBytesLuFile.h>

#include <nybase/text/StringHelp.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <string>

bool ReadBytesLuFile::ReadBytes(void* buffer, int size, int& done) {
  done = 0;
  // A negative size would become a count of gigabytes as unsigned: nothing is read.
  if (size < 0) return false;
  unsigned int got = 0;
  if (m_file != nullptr) m_file->Read(buffer, static_cast<unsigned int>(size), got);
  done = static_cast<int>(got);
  return done == size;
}

bool ReadBytesLuFile::ReadLuString(CStdStr<wchar_t>& out, int maxLength) {
  unsigned char prefix[4];
  int done = 0;
  if (!ReadBytes(prefix, 4, done)) return false;
  const uint32_t length = static_cast<uint32_t>(prefix[0]) | (static_cast<uint32_t>(prefix[1]) << 8) |
                          (static_cast<uint32_t>(prefix[2]) << 16) | (static_cast<uint32_t>(prefix[3]) << 24);
  if (maxLength >= 1 && length > static_cast<uint32_t>(maxLength)) return false;
  if (length == 0) {
    out.clear();
    return true;
  }
  if (length > static_cast<uint32_t>(INT_MAX) - 1) return false;
  // The length comes from the file: the text is read in bounded blocks, so a forged length costs
  // no more memory than the file really holds before the short read ends it.
  constexpr uint32_t k_block = 1u << 20;
  std::string bytes;
  uint32_t have = 0;
  while (have < length) {
    const uint32_t want = length - have < k_block ? length - have : k_block;
    bytes.resize(have + want);
    unsigned int got = 0;
    if (m_file == nullptr || !m_file->Read(bytes.data() + have, want, got) || got != want) return false;
    have += want;
  }
  CStdStr<wchar_t> text;
  text.resize(static_cast<size_t>(length) + 1);
  const int count = StringHelp::UTF8ToWChar(bytes.data(), static_cast<int>(length), text.data(),
                                            static_cast<int>(length) + 1);
  text.resize(static_cast<size_t>(count));
  out = std::move(text);
  return true;
}
