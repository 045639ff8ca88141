// lu::FileOperation and lu::CreateGuid.
#include <nybase/files/FileOperation.h>

#include <cstring>
#include <locale>
#include <memory>
#include <random>

#include <nybase/files/internal/TextStreamCodecvt.h>
#include <nybase/platform/FileApi.h>
#include <nybase/platform/NativePath.h>
#include <nybase/platform/Random.h>
#include <nybase/platform/StdioFile.h>
#include <nybase/platform/Utf.h>
#include <nybase/text/StringHelp.h>

namespace lu {

namespace {

namespace pf = lu::platform;

// Size from a status query that follows links; 0 on any failure, so a missing file and an empty
// one look alike.
unsigned long long SizeOf(const Path& path) { return path.GetFileSize(); }

bool Exists(const Path& path, bool* isDirectory = nullptr) {
  if (!path.Exists()) return false;
  if (isDirectory) *isDirectory = path.IsDirectory();
  return true;
}

// The file's bytes, at most its size taken as 32 bits, into `out` after which one NUL follows
// (the buffer is zeroed first, so a short read leaves NULs). False when it cannot be opened.
bool ReadWhole(const Path& path, std::string& out) {
  File file;
  if (file.Open(path, NyOpenModeRead, 0) != NYRESULT_SUCCESS) return false;
  // Deliberately 32 bits: larger files are read modulo 4 GiB.
  const unsigned int size = static_cast<unsigned int>(file.GetFileSize());
  out.assign(static_cast<size_t>(size) + 1, '\0');
  unsigned int done = 0;
  file.Read(out.data(), size, done);
  out[size] = '\0';
  file.Close();
  return true;
}

// UTF-8 up to the first NUL, as UTF-16 units; ill-formed input becomes U+FFFD.
CStdStr<wchar_t> DecodeToNul(const char* text) {
  const size_t len = std::strlen(text);
  if (len == 0) return {};
  return CStdStr<wchar_t>(pf::Utf8ToUtf16(text, len));
}

// Opens the stream on the native form of `path` with the facet `codecvt` and peeks once.
void OpenWith(std::wifstream& stream, const std::string& native, std::codecvt<wchar_t, char, std::mbstate_t>* codecvt) {
  stream.imbue(std::locale(std::locale::classic(), codecvt));
  stream.open(native, std::ios_base::in);
  stream.peek();
}

}  // namespace

NyGuid CreateGuid() {
  // Deliberately unsynchronised: callers on several threads share (and may race on) one state.
  static std::mt19937 generator(pf::GetRandomSeed());
  std::uniform_int_distribution<uint64_t> distribution(0, ~uint64_t{0});
  const uint64_t first = distribution(generator);
  const uint64_t second = distribution(generator);
  unsigned char bytes[16];
  std::memcpy(bytes, &first, 8);
  std::memcpy(bytes + 8, &second, 8);
  uint16_t version;
  std::memcpy(&version, bytes + 6, 2);
  version = static_cast<uint16_t>((version & 0x0FFF) | 0x4000);
  std::memcpy(bytes + 6, &version, 2);
  bytes[8] = static_cast<unsigned char>((bytes[8] & 63) | 128);
  NyGuid guid;
  std::memcpy(&guid, bytes, sizeof guid);
  return guid;
}

namespace FileOperation {

File CreateNew(const Path& path) {
  File file;
  file.Open(path, NyOpenModeWriteOverwrite, NyFileFlagExclusive | NyFileFlagCreateNew);
  return file;
}

File CreateNewTempFile(const Path& directory, Path& createdPath, BasicStringView<wchar_t> extension,
                       unsigned int flags) {
  bool isDirectory = false;
  if (!Exists(directory, &isDirectory) || !isDirectory) return File();
  for (int attempt = 0; attempt < 5; ++attempt) {
    CStdStr<wchar_t> name;
    StringHelp::ConvertNyGuidToString(CreateGuid(), name);
    if (name.empty()) break;
    Path candidate = Path::Join({directory, name});
    candidate.ReplaceExtension(extension);
    File file;
    if (file.Open(candidate, NyOpenModeWriteOverwrite, flags) == NYRESULT_SUCCESS) {
      createdPath = std::move(candidate);
      return file;
    }
  }
  return File();
}

bool IsWritable(const Path& path) {
  bool isDirectory = false;
  const bool exists = Exists(path, &isDirectory);
  if (exists && isDirectory) {
    Path created;
    File probe = CreateNewTempFile(path, created, L"tmp",
                                   NyFileFlagDeleteOnClose | NyFileFlagExclusive | NyFileFlagCreateNew);
    const bool opened = probe.IsOpen();
    probe.Close();
    return opened;
  }
  File probe;
  const bool opened = probe.Open(path, NyOpenModeReadWrite, exists ? 0u : NyFileFlagDeleteOnClose) == NYRESULT_SUCCESS;
  probe.Close();
  return opened;
}

bool AreFilesIdentical(const Path& a, const Path& b) {
  const unsigned long long sizeA = SizeOf(a);
  const unsigned long long sizeB = SizeOf(b);
  if (sizeA == 0) return sizeB == 0 && Exists(a) && Exists(b);
  if (sizeB == 0 || sizeA != sizeB) return false;

  constexpr unsigned int k_block = 8192;
  std::unique_ptr<unsigned char[]> bufferA(new unsigned char[k_block]);
  std::unique_ptr<unsigned char[]> bufferB(new unsigned char[k_block]);
  File fileA;
  File fileB;
  if (fileA.Open(a, NyOpenModeRead, 0) != NYRESULT_SUCCESS) return false;
  if (fileB.Open(b, NyOpenModeRead, 0) != NYRESULT_SUCCESS) return false;
  unsigned long long left = sizeA;
  while (left > 0) {
    const unsigned int want = left < k_block ? static_cast<unsigned int>(left) : k_block;
    if (!fileA.ReadExact(bufferA.get(), want) || !fileB.ReadExact(bufferB.get(), want)) return false;
    if (std::memcmp(bufferA.get(), bufferB.get(), want) != 0) return false;
    left -= want;
  }
  return true;
}

CStdStr<wchar_t> ReadTextFile(const Path& path) {
  std::string bytes;
  if (!ReadWhole(path, bytes)) return {};
  return DecodeToNul(bytes.c_str());
}

std::string ReadUtf8FileRaw(const Path& path) {
  std::string bytes;
  if (!ReadWhole(path, bytes)) return {};
  if (bytes.size() >= 3 && static_cast<unsigned char>(bytes[0]) == 0xEF &&
      static_cast<unsigned char>(bytes[1]) == 0xBB && static_cast<unsigned char>(bytes[2]) == 0xBF) {
    bytes.erase(0, 3);
  }
  return bytes;
}

CStdStr<wchar_t> ReadUtf8File(const Path& path) { return DecodeToNul(ReadUtf8FileRaw(path).c_str()); }

bool OpenTextStream(std::wifstream& stream, const Path& path) {
  const std::wstring& text = path;
  std::string native;
  if (text.empty() || !pf::ToNativePath(text.data(), text.size(), native)) {
    stream.setstate(std::ios_base::failbit);
    return false;
  }
  OpenWith(stream, native, new detail::Utf8BmpCodecvt);
  if (stream.good()) return true;
  if (stream.is_open()) stream.close();  // sets the fail state when closing fails
  OpenWith(stream, native, new detail::Utf16BmpCodecvt);
  return stream.good();
}

const CStdStr<wchar_t>& GetTextStreamErrorString(const std::wifstream& stream) {
  static const CStdStr<wchar_t> k_eof(L"End-of-File reached");
  static const CStdStr<wchar_t> k_fail(L"Logical error on I/O");
  static const CStdStr<wchar_t> k_bad(L"Read error on I/O");
  static const CStdStr<wchar_t> k_none;
  if (stream.eof()) return k_eof;
  if (stream.fail()) return k_fail;
  // Unreachable in practice, since fail() is also true in the bad state; the order is on purpose.
  if (stream.bad()) return k_bad;
  return k_none;
}

FILE* OpenFile(const CStdStr<wchar_t>& name, const CStdStr<wchar_t>& mode) {
  return pf::WFOpen(name.c_str(), name.size(), mode.c_str());
}

bool WithOpenFile(FILE** out, const CStdStr<wchar_t>& name, const CStdStr<wchar_t>& mode) {
  if (out == nullptr) return false;
  *out = OpenFile(name, mode);
  return *out != nullptr;
}

void* ConvertFILEToHandle(FILE* stream) { return stream; }

}  // namespace FileOperation
}  // namespace lu
