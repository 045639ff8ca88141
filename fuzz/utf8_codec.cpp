// Fuzz target: the UTF-8 -> UTF-16 -> UTF-8 codec never reads out of bounds and always converges.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include <nybase/platform/Utf.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::wstring w = lu::platform::Utf8ToUtf16(reinterpret_cast<const char*>(data), size);
  const std::string n = lu::platform::Utf16ToUtf8(w.data(), w.size());
  // After one pass the text is well-formed, so a second pass must be the identity.
  if (lu::platform::Utf8ToUtf16(n.data(), n.size()) != w) std::abort();
  return 0;
}
