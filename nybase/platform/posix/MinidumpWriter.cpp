// Minidump writer for x86-64 Linux: records assembled in the caller's block, stack copied by the
// kernel from memory to the file, no allocation and no lock.
#include <nybase/platform/MinidumpWriter.h>

#include <elf.h>
#include <ucontext.h>

#include <cstring>

namespace lu::platform {

#if defined(__x86_64__)

namespace {

// Stream types of the minidump directory.
constexpr uint32_t k_streamThreadList = 3;
constexpr uint32_t k_streamModuleList = 4;
constexpr uint32_t k_streamMemoryList = 5;
constexpr uint32_t k_streamException = 6;
constexpr uint32_t k_streamSystemInfo = 7;
constexpr uint32_t k_streamLinuxProcStatus = 0x47670004;
constexpr uint32_t k_streamLinuxMaps = 0x47670009;
constexpr uint32_t k_streamCount = 7;

constexpr size_t k_contextSize = 1232;  // the AMD64 thread context record
constexpr size_t k_moduleSize = 108;
constexpr uint32_t k_contextAmd64 = 0x00100000;
constexpr uint32_t k_contextControl = k_contextAmd64 | 0x1;
constexpr uint32_t k_contextInteger = k_contextAmd64 | 0x2;
constexpr uint32_t k_contextSegments = k_contextAmd64 | 0x4;
constexpr uint32_t k_contextFloatingPoint = k_contextAmd64 | 0x8;

// An append-only area of the caller's block; positions are file offsets (RVAs).
struct Area {
  char* base;
  size_t cap;
  size_t used = 0;
  bool overflow = false;

  // Reserves `n` zeroed bytes at an `align`-byte boundary; its offset, or 0 when it does not fit.
  uint32_t Reserve(size_t n, size_t align = 4) {
    const size_t at = (used + align - 1) & ~(align - 1);
    if (at + n > cap) {
      overflow = true;
      return 0;
    }
    std::memset(base + at, 0, n);
    used = at + n;
    return static_cast<uint32_t>(at);
  }
  template <typename T> void Put(uint32_t at, T value) { std::memcpy(base + at, &value, sizeof value); }
};

// One line of /proc/self/maps.
struct Mapping {
  uint64_t start = 0, end = 0, offset = 0;
  bool readable = false;
  const char* path = nullptr;  // not NUL-terminated; null for an anonymous mapping
  size_t pathLength = 0;
};

uint64_t Hex(const char*& p, const char* end) {
  uint64_t v = 0;
  for (; p < end; ++p) {
    const char c = *p;
    int d;
    if (c >= '0' && c <= '9') d = c - '0';
    else if (c >= 'a' && c <= 'f') d = c - 'a' + 10;
    else break;
    v = (v << 4) | static_cast<uint64_t>(d);
  }
  return v;
}

// Parses the line at `p` into `m` and moves `p` past it; false at the end of the text.
bool NextMapping(const char*& p, const char* end, Mapping& m) {
  if (p >= end) return false;
  const char* lineEnd = p;
  while (lineEnd < end && *lineEnd != '\n') ++lineEnd;
  const char* q = p;
  m = Mapping{};
  m.start = Hex(q, lineEnd);
  if (q < lineEnd) ++q;  // '-'
  m.end = Hex(q, lineEnd);
  if (q < lineEnd) ++q;  // ' '
  m.readable = q < lineEnd && *q == 'r';
  while (q < lineEnd && *q != ' ') ++q;
  if (q < lineEnd) ++q;
  m.offset = Hex(q, lineEnd);
  while (q < lineEnd && *q != '/' && *q != '[') ++q;
  if (q < lineEnd && *q == '/') {
    m.path = q;
    m.pathLength = static_cast<size_t>(lineEnd - q);
  }
  p = lineEnd < end ? lineEnd + 1 : end;
  return true;
}

bool SamePath(const Mapping& a, const Mapping& b) {
  return a.path != nullptr && b.path != nullptr && a.pathLength == b.pathLength &&
         std::memcmp(a.path, b.path, a.pathLength) == 0;
}

// True when [address, address + length) lies in one readable mapping.
bool Readable(const char* maps, size_t mapsLength, uint64_t address, uint64_t length) {
  const char* p = maps;
  Mapping m;
  while (NextMapping(p, maps + mapsLength, m)) {
    if (address >= m.start && address < m.end) return m.readable && length <= m.end - address;
  }
  return false;
}

// The GNU build id of the ELF image whose header is mapped at `base`, read from its notes in
// memory. Its length (0 when there is none or it cannot be read safely).
size_t ReadBuildId(const char* maps, size_t mapsLength, uint64_t base, uint8_t* out, size_t outSize) {
  Elf64_Ehdr eh;
  if (!Readable(maps, mapsLength, base, sizeof eh)) return 0;
  std::memcpy(&eh, reinterpret_cast<const void*>(base), sizeof eh);
  if (std::memcmp(eh.e_ident, ELFMAG, SELFMAG) != 0 || eh.e_ident[EI_CLASS] != ELFCLASS64 ||
      eh.e_phentsize != sizeof(Elf64_Phdr) || eh.e_phnum == 0 || eh.e_phnum > 256) {
    return 0;
  }
  const uint64_t phdrs = base + eh.e_phoff;
  if (!Readable(maps, mapsLength, phdrs, static_cast<uint64_t>(eh.e_phnum) * sizeof(Elf64_Phdr))) return 0;
  uint64_t bias = 0;
  bool haveLoad = false;
  for (unsigned i = 0; i < eh.e_phnum && !haveLoad; ++i) {
    Elf64_Phdr ph;
    std::memcpy(&ph, reinterpret_cast<const void*>(phdrs + i * sizeof ph), sizeof ph);
    if (ph.p_type == PT_LOAD) {
      bias = base - (ph.p_vaddr & ~static_cast<uint64_t>(0xFFF));
      haveLoad = true;
    }
  }
  if (!haveLoad) return 0;
  for (unsigned i = 0; i < eh.e_phnum; ++i) {
    Elf64_Phdr ph;
    std::memcpy(&ph, reinterpret_cast<const void*>(phdrs + i * sizeof ph), sizeof ph);
    if (ph.p_type != PT_NOTE || ph.p_filesz > 65536) continue;
    const uint64_t start = bias + ph.p_vaddr;
    if (!Readable(maps, mapsLength, start, ph.p_filesz)) continue;
    uint64_t at = 0;
    while (at + sizeof(Elf64_Nhdr) <= ph.p_filesz) {
      Elf64_Nhdr nh;
      std::memcpy(&nh, reinterpret_cast<const void*>(start + at), sizeof nh);
      const uint64_t nameAt = at + sizeof nh;
      const uint64_t descAt = nameAt + ((static_cast<uint64_t>(nh.n_namesz) + 3) & ~3ull);
      const uint64_t next = descAt + ((static_cast<uint64_t>(nh.n_descsz) + 3) & ~3ull);
      if (next > ph.p_filesz) break;
      if (nh.n_type == NT_GNU_BUILD_ID && nh.n_namesz == 4 &&
          std::memcmp(reinterpret_cast<const void*>(start + nameAt), "GNU", 4) == 0 && nh.n_descsz <= outSize) {
        std::memcpy(out, reinterpret_cast<const void*>(start + descAt), nh.n_descsz);
        return nh.n_descsz;
      }
      at = next;
    }
  }
  return 0;
}

// A length-prefixed UTF-16 string record of the UTF-8 `text`; its offset, or 0 when it does not fit.
uint32_t PutString(Area& area, const char* text, size_t length) {
  wchar_t units[1024];
  const size_t n = CrashUtf8ToUtf16(text, length, units, sizeof units / sizeof units[0]);
  const uint32_t at = area.Reserve(4 + 2 * n + 2);
  if (at == 0) return 0;
  area.Put<uint32_t>(at, static_cast<uint32_t>(2 * n));
  for (size_t i = 0; i < n; ++i) area.Put<uint16_t>(at + 4 + 2 * static_cast<uint32_t>(i), static_cast<uint16_t>(units[i]));
  return at;
}

void FillContext(Area& area, uint32_t at, const ucontext_t* uc) {
  const auto& g = uc->uc_mcontext.gregs;
  uint32_t flags = k_contextControl | k_contextInteger | k_contextSegments;
  const uint64_t csgsfs = static_cast<uint64_t>(g[REG_CSGSFS]);
  area.Put<uint16_t>(at + 56, static_cast<uint16_t>(csgsfs & 0xFFFF));           // cs
  area.Put<uint16_t>(at + 64, static_cast<uint16_t>((csgsfs >> 16) & 0xFFFF));   // gs
  area.Put<uint16_t>(at + 62, static_cast<uint16_t>((csgsfs >> 32) & 0xFFFF));   // fs
  area.Put<uint16_t>(at + 66, 0x2B);                                              // ss of user mode
  area.Put<uint32_t>(at + 68, static_cast<uint32_t>(g[REG_EFL]));
  const int order[16] = {REG_RAX, REG_RCX, REG_RDX, REG_RBX, REG_RSP, REG_RBP, REG_RSI, REG_RDI,
                         REG_R8,  REG_R9,  REG_R10, REG_R11, REG_R12, REG_R13, REG_R14, REG_R15};
  for (int i = 0; i < 16; ++i) area.Put<uint64_t>(at + 120 + 8 * static_cast<uint32_t>(i), static_cast<uint64_t>(g[order[i]]));
  area.Put<uint64_t>(at + 248, static_cast<uint64_t>(g[REG_RIP]));
  if (uc->uc_mcontext.fpregs != nullptr) {
    static_assert(sizeof(*uc->uc_mcontext.fpregs) == 512, "the saved FPU state is the fxsave area");
    std::memcpy(area.base + at + 256, uc->uc_mcontext.fpregs, 512);
    area.Put<uint32_t>(at + 52, uc->uc_mcontext.fpregs->mxcsr);
    flags |= k_contextFloatingPoint;
  }
  area.Put<uint32_t>(at + 48, flags);
}

size_t FormatDecimal(uint64_t v, char* out) {
  char tmp[24];
  size_t n = 0;
  do {
    tmp[n++] = static_cast<char>('0' + v % 10);
    v /= 10;
  } while (v != 0);
  for (size_t i = 0; i < n; ++i) out[i] = tmp[n - 1 - i];
  return n;
}

}  // namespace

bool WriteMinidump(int fd, const CrashSignal& signal, void* buffer, size_t size, uint32_t& error) {
  error = 87;
  if (buffer == nullptr || signal.context == nullptr || size < 64 * 1024) return false;
  const auto* uc = static_cast<const ucontext_t*>(signal.context);
  // The maps text sits at the end of the block, the records grow from its start.
  const size_t mapsCap = size / 4;
  char* maps = static_cast<char*>(buffer) + (size - mapsCap);
  const size_t mapsLength = CrashReadMaps(maps, mapsCap);
  Area area{static_cast<char*>(buffer), size - mapsCap};

  const uint32_t header = area.Reserve(32);
  const uint32_t directory = area.Reserve(12 * k_streamCount);
  uint32_t streams[k_streamCount][3] = {};  // type, size, offset
  auto stream = [&](uint32_t index, uint32_t type, uint32_t at, size_t length) {
    streams[index][0] = type;
    streams[index][1] = at == 0 ? 0 : static_cast<uint32_t>(length);
    streams[index][2] = at;
  };

  // System info: AMD64 on Linux.
  const uint32_t sys = area.Reserve(56);
  const uint32_t csd = PutString(area, "Linux", 5);
  if (sys != 0) {
    area.Put<uint16_t>(sys + 0, 9);  // AMD64
    area.Put<uint8_t>(sys + 6, 1);
    area.Put<uint32_t>(sys + 20, 0x8201);  // Linux
    area.Put<uint32_t>(sys + 24, csd);
  }
  stream(0, k_streamSystemInfo, sys, 56);

  const uint32_t context = area.Reserve(k_contextSize, 16);
  if (context != 0) FillContext(area, context, uc);

  // The crashing thread's stack: from below the red zone to the end of its mapping, capped.
  const uint64_t sp = static_cast<uint64_t>(uc->uc_mcontext.gregs[REG_RSP]);
  uint64_t stackLow = sp >= 128 ? sp - 128 : 0;
  uint64_t stackHigh = stackLow;
  {
    const char* p = maps;
    Mapping m;
    while (NextMapping(p, maps + mapsLength, m)) {
      if (sp >= m.start && sp < m.end && m.readable) {
        if (stackLow < m.start) stackLow = m.start;
        stackHigh = m.end - stackLow > k_minidumpMaxStack ? stackLow + k_minidumpMaxStack : m.end;
        break;
      }
    }
  }
  const uint64_t stackSize = stackHigh - stackLow;

  const uint32_t exception = area.Reserve(168);
  if (exception != 0) {
    area.Put<uint32_t>(exception + 0, static_cast<uint32_t>(signal.threadId));
    // The code is the signal number: what a debugger expects of a Linux dump.
    area.Put<uint32_t>(exception + 8, static_cast<uint32_t>(signal.signalNumber));
    area.Put<uint64_t>(exception + 24, signal.faultAddress);
    area.Put<uint32_t>(exception + 160, context != 0 ? static_cast<uint32_t>(k_contextSize) : 0);
    area.Put<uint32_t>(exception + 164, context);
  }
  stream(1, k_streamException, exception, 168);

  const uint32_t threads = area.Reserve(4 + 48);
  if (threads != 0) {
    area.Put<uint32_t>(threads, 1);
    area.Put<uint32_t>(threads + 4, static_cast<uint32_t>(signal.threadId));
    area.Put<uint64_t>(threads + 4 + 24, stackLow);
    area.Put<uint32_t>(threads + 4 + 32, static_cast<uint32_t>(stackSize));
    area.Put<uint32_t>(threads + 4 + 40, context != 0 ? static_cast<uint32_t>(k_contextSize) : 0);
    area.Put<uint32_t>(threads + 4 + 44, context);
  }
  stream(2, k_streamThreadList, threads, 4 + 48);

  const uint32_t memory = area.Reserve(4 + 16);
  if (memory != 0) {
    area.Put<uint32_t>(memory, 1);
    area.Put<uint64_t>(memory + 4, stackLow);
    area.Put<uint32_t>(memory + 12, static_cast<uint32_t>(stackSize));
  }
  stream(3, k_streamMemoryList, memory, 4 + 16);
  if (directory == 0 || sys == 0 || context == 0 || exception == 0 || threads == 0 || memory == 0) return false;

  // Modules: each file whose first mapping has offset 0, through its following mappings.
  uint32_t moduleCount = 0;
  {
    const char* p = maps;
    Mapping m;
    while (NextMapping(p, maps + mapsLength, m)) {
      if (m.path != nullptr && m.offset == 0) ++moduleCount;
    }
  }
  uint32_t modules = area.Reserve(4 + k_moduleSize * moduleCount);
  if (modules == 0) moduleCount = 0, modules = area.Reserve(4);
  uint32_t written = 0;
  {
    const char* p = maps;
    const char* end = maps + mapsLength;
    Mapping m;
    bool more = NextMapping(p, end, m);
    while (more && written < moduleCount) {
      if (m.path == nullptr || m.offset != 0) {
        more = NextMapping(p, end, m);
        continue;
      }
      const Mapping first = m;
      uint64_t last = m.end;
      while ((more = NextMapping(p, end, m)) && SamePath(first, m)) last = m.end;
      const uint32_t name = PutString(area, first.path, first.pathLength);
      uint8_t id[64];
      const size_t idLength = ReadBuildId(maps, mapsLength, first.start, id, sizeof id);
      uint32_t cv = 0;
      if (idLength > 0 && (cv = area.Reserve(4 + idLength)) != 0) {
        area.Put<uint32_t>(cv, 0x4270454C);  // "BpEL": an ELF build id follows
        std::memcpy(area.base + cv + 4, id, idLength);
      }
      if (name == 0) break;  // the block is full: the remaining modules are left out
      const uint32_t at = modules + 4 + k_moduleSize * written;
      area.Put<uint64_t>(at, first.start);
      area.Put<uint32_t>(at + 8, static_cast<uint32_t>(last - first.start));
      area.Put<uint32_t>(at + 20, name);
      area.Put<uint32_t>(at + 76, cv != 0 ? static_cast<uint32_t>(4 + idLength) : 0);
      area.Put<uint32_t>(at + 80, cv);
      ++written;
    }
  }
  area.Put<uint32_t>(modules, written);
  stream(4, k_streamModuleList, modules, 4 + k_moduleSize * written);

  char status[64];
  std::memcpy(status, "Pid:\t", 5);
  size_t statusLength = 5 + FormatDecimal(static_cast<uint64_t>(CrashProcessId()), status + 5);
  status[statusLength++] = '\n';
  const uint32_t proc = area.Reserve(statusLength);
  if (proc != 0) std::memcpy(area.base + proc, status, statusLength);
  stream(5, k_streamLinuxProcStatus, proc, statusLength);

  const uint32_t mapsAt = area.Reserve(mapsLength);
  if (mapsAt != 0) std::memmove(area.base + mapsAt, maps, mapsLength);
  stream(6, k_streamLinuxMaps, mapsAt, mapsLength);

  // The stack follows the records in the file; its offset goes into both descriptors.
  const uint32_t stackAt = static_cast<uint32_t>((area.used + 15) & ~static_cast<size_t>(15));
  area.Put<uint32_t>(threads + 4 + 36, stackAt);
  area.Put<uint32_t>(memory + 16, stackAt);
  area.Put<uint32_t>(header + 0, 0x504D444D);  // "MDMP"
  area.Put<uint32_t>(header + 4, 0xA793);
  area.Put<uint32_t>(header + 8, k_streamCount);
  area.Put<uint32_t>(header + 12, directory);
  for (uint32_t i = 0; i < k_streamCount; ++i) {
    area.Put<uint32_t>(directory + 12 * i, streams[i][0]);
    area.Put<uint32_t>(directory + 12 * i + 4, streams[i][1]);
    area.Put<uint32_t>(directory + 12 * i + 8, streams[i][2]);
  }
  const size_t front = area.used;
  static const char k_zeros[16] = {};
  return CrashWriteFile(fd, area.base, front, error) && CrashWriteFile(fd, k_zeros, stackAt - front, error) &&
         CrashWriteMemory(fd, stackLow, static_cast<size_t>(stackSize), error);
}

#else

bool WriteMinidump(int, const CrashSignal&, void*, size_t, uint32_t& error) {
  error = 50;  // not supported: the thread context record is written for x86-64 only
  return false;
}

#endif

}  // namespace lu::platform
