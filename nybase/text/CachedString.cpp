// lu::CachedString and its intern table: records of count, word list and text, found by hash.
#include <nybase/text/CachedString.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <mutex>
#include <new>

#include <nybase/text/StringHelp.h>
#include <nybase/text/internal/InternTables.h>

namespace lu {

namespace {

// The two words in front of a record's text.
struct Record {
  std::atomic<uint64_t> count;
  std::atomic<std::vector<CachedString::Word>*> words;
};
static_assert(sizeof(Record) == 16 && alignof(Record) <= 16, "a record's text follows two words");

constexpr wchar_t k_emptyText[1] = {0};

detail::RecordAllocator g_allocator = {[](size_t n) { return std::malloc(n); }, [](void* p) { std::free(p); }};

inline bool IsRecord(const wchar_t* text) { return text != nullptr && text != k_emptyText; }

inline Record* RecordOf(const wchar_t* text) {
  return std::launder(reinterpret_cast<Record*>(reinterpret_cast<char*>(const_cast<wchar_t*>(text)) - sizeof(Record)));
}

// The table's hash: four UTF-16 units (their low 16 bits) packed into each 64-bit step, each step
// mixed by a multiply and a rotation, the length folded in, and a final avalanche (the 64-bit
// finaliser of MurmurHash3). Units above 0xFFFF, which well-formed text never holds, only collide
// more often; equality is always decided by the text.
inline uint32_t HashText(const wchar_t* text, size_t length) {
  constexpr uint64_t k_mul = 0x9E3779B97F4A7C15ull;
  uint64_t h = 0x43535452ull ^ (length * k_mul);
  size_t i = 0;
  for (; i + 4 <= length; i += 4) {
    const uint64_t w = (static_cast<uint64_t>(text[i] & 0xFFFF)) | (static_cast<uint64_t>(text[i + 1] & 0xFFFF) << 16) |
                       (static_cast<uint64_t>(text[i + 2] & 0xFFFF) << 32) |
                       (static_cast<uint64_t>(text[i + 3] & 0xFFFF) << 48);
    h = ((h ^ w) * k_mul);
    h = (h << 31) | (h >> 33);
  }
  uint64_t w = 0;
  for (int shift = 0; i < length; ++i, shift += 16) w |= static_cast<uint64_t>(text[i] & 0xFFFF) << shift;
  h = (h ^ w) * k_mul;
  h ^= h >> 33;
  h *= 0xff51afd7ed558ccdull;
  h ^= h >> 33;
  h *= 0xc4ceb9fe1a85ec53ull;
  h ^= h >> 33;
  return static_cast<uint32_t>(h);
}

void FreeRecord(const wchar_t* text) {
  Record* r = RecordOf(text);
  delete r->words.load(std::memory_order_acquire);
  r->~Record();
  g_allocator.release(r);
}

// The intern table: open addressing with linear probing over a power-of-two array of slots, each
// holding the record's text, its hash and its length, so that a probe touches a record only when
// hash and length agree. Removal shifts the following entries back (no tombstones), and the array
// halves when it is mostly empty, so the table holds only what live handles need.
class Table {
 public:
  Table() : m_slots(k_minSlots) {}
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;

  // At unload every record still in the table is freed, whatever its count (handles used after
  // this are invalid). The word lists go with them. Unreleased strings are not reported: the
  // library has no log.
  ~Table() {
    for (const Slot& s : m_slots) {
      if (s.text != nullptr) FreeRecord(s.text);
    }
  }

  const wchar_t* Intern(const wchar_t* text, size_t length) {
    const uint32_t hash = HashText(text, length);
    const uint32_t len32 = Clamp(length);
    std::lock_guard<std::mutex> hold(m_lock);
    size_t i = hash & Mask();
    for (; m_slots[i].text != nullptr; i = (i + 1) & Mask()) {
      const Slot& s = m_slots[i];
      if (s.hash == hash && s.length == len32 && Equal(s.text, text, length)) {
        RecordOf(s.text)->count.fetch_add(1, std::memory_order_relaxed);
        return s.text;
      }
    }
    const size_t bytes = sizeof(Record) + (length + 1) * sizeof(wchar_t);
    void* block = g_allocator.allocate(bytes);
    if (block == nullptr) throw std::bad_alloc();
    auto* record = new (block) Record{{1}, {nullptr}};
    auto* chars = reinterpret_cast<wchar_t*>(record + 1);
    std::memcpy(chars, text, length * sizeof(wchar_t));
    chars[length] = 0;
    m_slots[i] = Slot{chars, hash, len32};
    if (++m_count * 5 > m_slots.size() * 4) Resize(m_slots.size() * 2);
    return chars;
  }

  // Lowers the count; the last release takes the record out of the table and frees it.
  void Release(const wchar_t* text) noexcept {
    Record* r = RecordOf(text);
    // Releases that leave other handles need no table change; only the last one takes the lock.
    // A concurrent interning raises the count under the lock, so the decision to remove is made
    // there.
    uint64_t c = r->count.load(std::memory_order_relaxed);
    while (c > 1) {
      if (r->count.compare_exchange_weak(c, c - 1, std::memory_order_release, std::memory_order_relaxed)) return;
    }
    {
      std::lock_guard<std::mutex> hold(m_lock);
      if (r->count.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
      Erase(text);
    }
    FreeRecord(text);
  }

  uint64_t Count(const wchar_t* text) noexcept {
    std::lock_guard<std::mutex> hold(m_lock);
    return RecordOf(text)->count.load(std::memory_order_relaxed);
  }

  size_t Size() noexcept {
    std::lock_guard<std::mutex> hold(m_lock);
    return m_count;
  }

 private:
  struct Slot {
    const wchar_t* text = nullptr;
    uint32_t hash = 0;
    uint32_t length = 0;  // saturates; only a filter
  };
  static constexpr size_t k_minSlots = 1024;

  size_t Mask() const noexcept { return m_slots.size() - 1; }
  static uint32_t Clamp(size_t n) noexcept { return n >= UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(n); }

  // The record's text equals the first length units of text (which hold no NUL). Below the
  // saturation point equal length filters make the plain compare safe; above it the walk stops at
  // the record's NUL.
  static bool Equal(const wchar_t* record, const wchar_t* text, size_t length) noexcept {
    if (length < UINT32_MAX) return std::wmemcmp(record, text, length) == 0;
    size_t k = 0;
    while (k < length && record[k] == text[k]) ++k;
    return k == length && record[k] == 0;
  }

  // Removes the slot of this record (found by its hash and pointer), shifting back the entries
  // after it that would otherwise lose their way home.
  void Erase(const wchar_t* text) noexcept {
    const uint32_t hash = HashText(text, std::wcslen(text));
    size_t i = hash & Mask();
    while (m_slots[i].text != text) i = (i + 1) & Mask();
    for (size_t j = (i + 1) & Mask(); m_slots[j].text != nullptr; j = (j + 1) & Mask()) {
      const size_t home = m_slots[j].hash & Mask();
      // The entry at j may move to the hole at i when its home does not lie in (i, j] cyclically.
      const bool stays = (i <= j) ? (i < home && home <= j) : (i < home || home <= j);
      if (!stays) {
        m_slots[i] = m_slots[j];
        i = j;
      }
    }
    m_slots[i] = Slot{};
    --m_count;
    if (m_slots.size() > k_minSlots && m_count * 8 < m_slots.size()) Resize(m_slots.size() / 2);
  }

  void Resize(size_t slots) {
    std::vector<Slot> old(slots);
    old.swap(m_slots);
    for (const Slot& s : old) {
      if (s.text == nullptr) continue;
      size_t i = s.hash & Mask();
      while (m_slots[i].text != nullptr) i = (i + 1) & Mask();
      m_slots[i] = s;
    }
  }

  std::mutex m_lock;
  std::vector<Slot> m_slots;
  size_t m_count = 0;
};

// Built while the library loads, before the library's other static objects (which may hold
// handles), so that it is destroyed after them.
__attribute__((init_priority(101))) Table g_table;

const wchar_t* Intern(const wchar_t* text, size_t length) {
  if (length == 0) return k_emptyText;
  return g_table.Intern(text, length);
}

inline void Release(const wchar_t* text) noexcept {
  if (IsRecord(text)) g_table.Release(text);
}

inline void AddRef(const wchar_t* text) noexcept {
  // The caller's own handle keeps the record alive, so the count can be raised without the lock.
  if (IsRecord(text)) RecordOf(text)->count.fetch_add(1, std::memory_order_relaxed);
}

}  // namespace

CachedString::CachedString() noexcept : m_text(k_emptyText) {}

CachedString::CachedString(const wchar_t* text)
    : m_text(text == nullptr ? k_emptyText : Intern(text, std::wcslen(text))) {}

CachedString::CachedString(const CStdStr<wchar_t>& text)
    : m_text(Intern(text.data(), std::char_traits<wchar_t>::length(text.data()))) {}

CachedString::CachedString(const CachedString& other) noexcept : m_text(other.m_text) { AddRef(m_text); }

CachedString::CachedString(CachedString&& other) noexcept : m_text(other.m_text) { other.m_text = nullptr; }

CachedString::~CachedString() { Release(m_text); }

CachedString& CachedString::operator=(CachedString&& other) noexcept {
  const wchar_t* old = m_text;
  m_text = other.m_text;
  other.m_text = nullptr;
  Release(old);
  return *this;
}

CachedString& CachedString::operator=(const CachedString& other) noexcept {
  AddRef(other.m_text);
  const wchar_t* old = m_text;
  m_text = other.m_text;
  Release(old);
  return *this;
}

CachedString& CachedString::operator=(const CStdStr<wchar_t>& text) {
  const wchar_t* fresh = Intern(text.data(), std::char_traits<wchar_t>::length(text.data()));
  const wchar_t* old = m_text;
  m_text = fresh;
  Release(old);
  return *this;
}

CachedString& CachedString::operator=(const wchar_t* text) {
  const wchar_t* fresh = text == nullptr ? k_emptyText : Intern(text, std::wcslen(text));
  const wchar_t* old = m_text;
  m_text = fresh;
  Release(old);
  return *this;
}

bool CachedString::operator<(const CachedString& other) const noexcept {
  // A null handle is not accepted; it is read as the empty text rather than dereferenced.
  const wchar_t* a = m_text ? m_text : k_emptyText;
  const wchar_t* b = other.m_text ? other.m_text : k_emptyText;
  while (*a != 0 && *a == *b) {
    ++a;
    ++b;
  }
  return static_cast<uint32_t>(*a) < static_cast<uint32_t>(*b);
}

CStdStr<wchar_t> CachedString::Copy() const { return m_text ? CStdStr<wchar_t>(m_text) : CStdStr<wchar_t>(); }

void CachedString::Empty() noexcept {
  const wchar_t* old = m_text;
  m_text = k_emptyText;
  Release(old);
}

size_t CachedString::GetLength() const noexcept { return m_text ? std::wcslen(m_text) : 0; }

const std::vector<CachedString::Word>& CachedString::GetWords() const {
  static const std::vector<Word> k_noWords;
  if (IsEmpty()) return k_noWords;
  Record* r = RecordOf(m_text);
  std::vector<Word>* words = r->words.load(std::memory_order_acquire);
  if (words != nullptr) return *words;
  // Built outside the lock. Two first calls at once each build a list; the first to publish wins
  // and the other list is dropped, so every caller sees the same vector.
  auto* built = new std::vector<Word>();
  StringHelp::SplitEachWord(m_text, built, true, [](void* ctx, const wchar_t* word, uint64_t length) {
    static_cast<std::vector<Word>*>(ctx)->push_back(Word{word, word + length});
    return false;
  });
  if (r->words.compare_exchange_strong(words, built, std::memory_order_acq_rel, std::memory_order_acquire)) {
    return *built;
  }
  delete built;
  return *words;
}

size_t CachedString::References() const noexcept {
  if (m_text == nullptr) return 0;
  if (m_text == k_emptyText) return 1;
  return static_cast<size_t>(g_table.Count(m_text));
}

namespace detail {

size_t CachedStringRecordCount() noexcept { return g_table.Size(); }

RecordAllocator SetCachedStringAllocator(RecordAllocator allocator) noexcept {
  const RecordAllocator old = g_allocator;
  g_allocator = allocator;
  return old;
}

}  // namespace detail

}  // namespace lu
