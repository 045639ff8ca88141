// ROString's table: a chained hash set of never-freed records, hashed with MurmurHash3 x86_32.
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

// Buckets are chains of nodes; the bucket of a text is the low bits of its hash, the bucket count
// a power of two of at least 4096 (sized up front so start-up does not rehash), and the table
// doubles when it would hold more entries than buckets (maximum load factor 1.0). Entries in one
// bucket are told apart by their bytes, after the stored hash and length agree.
class Table {
 public:
  Table() : m_buckets(k_minBuckets, nullptr) { m_empty = Intern("", 0); }
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;

  // Unload frees every record; handles used after this are invalid.
  ~Table() {
    for (Node* n : m_buckets) {
      while (n != nullptr) {
        Node* next = n->next;
        std::free(CountOf(n->text));
        delete n;
        n = next;
      }
    }
  }

  const char* Intern(const char* text, size_t length) {
    const uint32_t hash = lu::detail::MurmurHash3_x86_32(text, length, k_seed);
    std::lock_guard<std::mutex> hold(m_lock);
    Node*& head = m_buckets[hash & (m_buckets.size() - 1)];
    for (Node* n = head; n != nullptr; n = n->next) {
      if (n->hash == hash && n->length == length && std::memcmp(n->text, text, length) == 0) {
        uint32_t& count = *CountOf(n->text);
        // The count never falls; it stops at its maximum rather than wrapping to 0.
        if (count != UINT32_MAX) ++count;
        return n->text;
      }
    }
    void* block = std::malloc(length + 5);
    if (block == nullptr) throw std::bad_alloc();
    const uint32_t one = 1;
    std::memcpy(block, &one, sizeof(one));
    char* chars = static_cast<char*>(block) + sizeof(uint32_t);
    std::memcpy(chars, text, length);
    chars[length] = 0;
    head = new Node{head, chars, length, hash};
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
  struct Node {
    Node* next;
    const char* text;
    size_t length;
    uint32_t hash;
  };

  void Rehash(size_t buckets) {
    std::vector<Node*> fresh(buckets, nullptr);
    for (Node* n : m_buckets) {
      while (n != nullptr) {
        Node* next = n->next;
        Node*& head = fresh[n->hash & (buckets - 1)];
        n->next = head;
        head = n;
        n = next;
      }
    }
    m_buckets.swap(fresh);
  }

  std::mutex m_lock;
  std::vector<Node*> m_buckets;
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
