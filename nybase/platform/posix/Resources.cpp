// The module resource table: registrations looked up by module, type and name.
#include <nybase/platform/Resources.h>

#include <list>
#include <mutex>
#include <shared_mutex>
#include <string>

#include <nybase/platform/LastError.h>

namespace lu::platform {

// A registration; the list node's address is the handle the lookup calls hand out.
struct ResourceEntry {
  HMODULE module;
  uintptr_t nameId;  // non-zero for a numbered name
  std::wstring name;
  uintptr_t typeId;
  std::wstring type;
  const void* data;
  size_t size;
};

namespace {

struct Table {
  std::shared_mutex lock;
  std::list<ResourceEntry> entries;  // stable addresses: handles stay valid while registered
};

Table& TheTable() {
  static Table table;
  return table;
}

wchar_t FoldAscii(wchar_t c) { return c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - L'a' + L'A') : c; }

bool SameKey(uintptr_t id, const std::wstring& text, const wchar_t* key) {
  if (IsIntResource(key)) return id != 0 && id == reinterpret_cast<uintptr_t>(key);
  if (id != 0) return false;
  size_t i = 0;
  for (; key[i] != 0; ++i) {
    if (i >= text.size() || FoldAscii(text[i]) != FoldAscii(key[i])) return false;
  }
  return i == text.size();
}

ResourceEntry* Find(Table& t, HMODULE module, const wchar_t* name, const wchar_t* type) {
  for (ResourceEntry& e : t.entries) {
    if (e.module == module && SameKey(e.nameId, e.name, name) && SameKey(e.typeId, e.type, type)) return &e;
  }
  return nullptr;
}

void SplitKey(const wchar_t* key, uintptr_t& id, std::wstring& text) {
  if (IsIntResource(key)) {
    id = reinterpret_cast<uintptr_t>(key);
  } else {
    id = 0;
    text = key;
  }
}

}  // namespace

bool RegisterResource(HMODULE module, const wchar_t* name, const wchar_t* type, const void* data, size_t size) {
  if (name == nullptr || type == nullptr || (data == nullptr && size != 0) || size > UINT32_MAX) {
    SetLastError(k_errorInvalidParameter);
    return false;
  }
  ResourceEntry e{module, 0, {}, 0, {}, data, size};
  SplitKey(name, e.nameId, e.name);
  SplitKey(type, e.typeId, e.type);
  Table& t = TheTable();
  std::unique_lock guard(t.lock);
  if (Find(t, module, name, type) != nullptr) {
    SetLastError(k_errorAlreadyExists);
    return false;
  }
  t.entries.push_back(std::move(e));
  return true;
}

bool UnregisterResource(HMODULE module, const wchar_t* name, const wchar_t* type) {
  if (name == nullptr || type == nullptr) return false;
  Table& t = TheTable();
  std::unique_lock guard(t.lock);
  const ResourceEntry* found = Find(t, module, name, type);
  if (found == nullptr) {
    SetLastError(k_errorResourceNameNotFound);
    return false;
  }
  t.entries.remove_if([found](const ResourceEntry& e) { return &e == found; });
  return true;
}

HRSRC FindResourceW(HMODULE module, const wchar_t* name, const wchar_t* type) noexcept {
  if (name == nullptr || type == nullptr) {
    SetLastError(k_errorResourceNameNotFound);
    return nullptr;
  }
  Table& t = TheTable();
  std::shared_lock guard(t.lock);
  const ResourceEntry* e = Find(t, module, name, type);
  if (e == nullptr) SetLastError(k_errorResourceNameNotFound);
  return e;
}

HGLOBAL LoadResource(HMODULE /*module*/, HRSRC resource) noexcept { return resource; }

uint32_t SizeofResource(HMODULE /*module*/, HRSRC resource) noexcept {
  return resource != nullptr ? static_cast<uint32_t>(resource->size) : 0;
}

const void* LockResource(HGLOBAL block) noexcept { return block != nullptr ? block->data : nullptr; }

}  // namespace lu::platform
