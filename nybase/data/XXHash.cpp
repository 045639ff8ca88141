// NY::XXHash over the streaming XXH3 functions of libxxhash.
#include <nybase/data/XXHash.h>

#include <xxhash.h>

namespace NY {

XXHash::XXHash() : m_state(XXH3_createState()) { Reset(); }

XXHash::~XXHash() { XXH3_freeState(m_state); }

void XXHash::Reset() {
  m_length = 0;
  if (m_state) XXH3_64bits_reset(m_state);
}

void XXHash::Update(const void* data, size_t size) {
  if (!m_state || size == 0 || !data) return;
  XXH3_64bits_update(m_state, data, size);
  m_length += size;
}

uint64_t XXHash::Digest() const { return m_state ? XXH3_64bits_digest(m_state) : 0; }

}  // namespace NY
