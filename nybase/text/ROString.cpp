// ROString's table: a hash set of never-freed records in power-of-two buckets, MurmurHash3 x86_32.
#include <nybase/text/ROString.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include <nybase/text/internal/InternTables.h>
#include <nybase/text/internal/MurmurHash3.h>

namespace {

constexpr uint32_t k_seed = 0x41545731;
constexpr size_t k_minBuckets = 4096;

// A record is the 32-bit count followed by the text; the handle points at the text.
inline uint32_t* CountOf(const char* text) {
  return reinterpret_cast<uint32_t*>(const_cast<char*>(text) - sizeof(uint32_t));
}

// The bucket of a text is the low bits of its hash; the bucket count is a power of two of at least
// 4096 (sized up front so start-up does not rehash), and the table doubles when it would hold more
// entries than buckets (maximum load factor 1.0). A bucket holds its first entry in place and the
// rest of its run in a chain, so most lookups touch one bucket and one record. Entries in one
// bucket are told apart by hash, then by their bytes.
class Table {
 public:
  Table() : m_buckets(k_minBuckets) { m_empty = Intern("", 0); }
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;

  // Unload frees every record; handles used after this are invalid.
  ~Table() {
    for (Bucket& b : m_buckets) {
      if (b.first.text != nullptr) std::free(CountOf(b.first.text));
      while (Node* n = b.more) {
        b.more = n->next;
        std::free(CountOf(n->entry.text));
        delete n;
      }
    }
  }

  // text holds no NUL in its length bytes.
  const char* Intern(const char* text, size_t length) {
    const uint32_t hash = lu::detail::MurmurHash3_x86_32(text, length, k_seed);
    std::lock_guard<std::mutex> hold(m_lock);
    Bucket& b = m_buckets[hash & (m_buckets.size() - 1)];
    if (b.first.text != nullptr) {
      if (Matches(b.first, hash, text, length)) return Hit(b.first.text);
      for (Node* n = b.more; n != nullptr; n = n->next) {
        if (Matches(n->entry, hash, text, length)) return Hit(n->entry.text);
      }
    }
    void* block = std::malloc(length + 5);
    if (block == nullptr) throw std::bad_alloc();
    const uint32_t one = 1;
    std::memcpy(block, &one, sizeof(one));
    char* chars = static_cast<char*>(block) + sizeof(uint32_t);
    std::memcpy(chars, text, length);
    chars[length] = 0;
    Place(b, Entry{chars, hash, Clamp(length)}, nullptr);
    if (++m_count > m_buckets.size()) Rehash(m_buckets.size() * 2);
    return chars;
  }

  const char* Empty() const noexcept { return m_empty; }

  uint32_t Count(const char* text) {
    std::lock_guard<std::mutex> hold(m_lock);
    return *CountOf(text);
  }
  size_t Size() {
    std::lock_guard<std::mutex> hold(m_lock);
    return m_count;
  }
  size_t Buckets() {
    std::lock_guard<std::mutex> hold(m_lock);
    return m_buckets.size();
  }

 private:
  struct Entry {
    const char* text = nullptr;
    uint32_t hash = 0;
    uint32_t length = 0;  // saturates at UINT32_MAX; a filter only
  };
  struct Node {
    Entry entry;
    Node* next;
  };
  struct Bucket {
    Entry first;
    Node* more = nullptr;
  };

  static uint32_t Clamp(size_t n) noexcept { return n >= UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(n); }

  // Below the saturation point equal lengths make memcmp safe; above it strncmp stops at the
  // record's NUL, so a shorter record is never read past.
  static bool Matches(const Entry& e, uint32_t hash, const char* text, size_t length) noexcept {
    if (e.hash != hash || e.length != Clamp(length)) return false;
    if (length < UINT32_MAX) return std::memcmp(e.text, text, length) == 0;
    return std::strncmp(e.text, text, length) == 0 && e.text[length] == 0;
  }

  static const char* Hit(const char* text) noexcept {
    uint32_t& count = *CountOf(text);
    // The count never falls; it stops at its maximum rather than wrapping to 0.
    if (count != UINT32_MAX) ++count;
    return text;
  }

  // Puts the entry into the bucket, in place or in a node (spare, or a new one).
  static void Place(Bucket& b, const Entry& e, Node* spare) {
    if (b.first.text == nullptr) {
      b.first = e;
      delete spare;
      return;
    }
    Node* n = spare ? spare : new Node{};
    n->entry = e;
    n->next = b.more;
    b.more = n;
  }

  void Rehash(size_t buckets) {
    std::vector<Bucket> fresh(buckets);
    for (Bucket& b : m_buckets) {
      if (b.first.text != nullptr) Place(fresh[b.first.hash & (buckets - 1)], b.first, nullptr);
      while (Node* n = b.more) {
        b.more = n->next;
        Place(fresh[n->entry.hash & (buckets - 1)], n->entry, n);
      }
    }
    m_buckets.swap(fresh);
  }

  std::mutex m_lock;
  std::vector<Bucket> m_buckets;
  size_t m_count = 0;
  const char* m_empty = nullptr;
};

// Built while the library loads, before the library's other static objects, so that static
// ROString objects elsewhere in the library find it.
__attribute__((init_priority(101))) Table g_table;

const char* InternNarrow(const char* text) {
  if (text == nullptr) text = "";
  return g_table.Intern(text, std::strlen(text));
}

// Each unit keeps only its low 7 bits, on purpose: keys are ASCII names, and no UTF-8 conversion
// is made. A unit that narrows to 0 (U+0080, U+0100, ...) ends the text there.
const char* InternWide(const wchar_t* text, size_t length) {
  char small[256];
  std::string large;
  char* out = small;
  if (length > sizeof(small)) {
    large.resize(length);
    out = large.data();
  }
  size_t n = 0;
  for (; n < length; ++n) {
    const char c = static_cast<char>(static_cast<uint32_t>(text[n]) & 0x7F);
    if (c == 0) break;
    out[n] = c;
  }
  return g_table.Intern(out, n);
}

}  // namespace

ROString::ROString() noexcept : m_text(g_table.Empty()) {}

ROString::ROString(const char* text) : m_text(InternNarrow(text)) {}

ROString::ROString(const std::basic_string<char>& text) : m_text(InternNarrow(text.c_str())) {}

ROString::ROString(const wchar_t* text)
    : m_text(InternWide(text, text == nullptr ? 0 : std::wcslen(text))) {}

ROString::ROString(const std::basic_string<wchar_t>& text)
    : m_text(InternWide(text.data(), std::char_traits<wchar_t>::length(text.c_str()))) {}

const char* ROString::operator=(const char* text) {
  m_text = InternNarrow(text);
  return text;
}

namespace lu::detail {

size_t ROStringRecordCount() noexcept { return g_table.Size(); }
size_t ROStringBucketCount() noexcept { return g_table.Buckets(); }
uint32_t ROStringInternCount(const char* text) noexcept { return g_table.Count(text); }

}  // namespace lu::detail
