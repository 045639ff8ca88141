// Text and binary resources of a module: a registration table with the Windows resource calls.
#pragma once

#include <cstddef>
#include <cstdint>

#include <nybase/platform/ModuleHandle.h>

namespace lu::platform {

// A found resource and its loaded block; both are opaque and never freed by the caller.
struct ResourceEntry;
using HRSRC = const ResourceEntry*;
using HGLOBAL = const ResourceEntry*;

// A resource name or type that is a number (MAKEINTRESOURCE) rather than text: pointer values
// below 0x10000 are numbers.
inline const wchar_t* MakeIntResource(uint16_t id) noexcept {
  return reinterpret_cast<const wchar_t*>(static_cast<uintptr_t>(id));
}
inline bool IsIntResource(const wchar_t* p) noexcept { return reinterpret_cast<uintptr_t>(p) < 0x10000; }

// Linux executables carry no resource section, so the table starts empty and a module (or the
// application, with a null module for itself) registers its blocks at start-up. Text names and
// types compare with ASCII case folding, as the Windows resource lookup does; numbered ones by
// value. The bytes are not copied: they must outlive the registration (static data).
// Returns false when the arguments are null or the name is already registered for that module
// and type (the earlier registration stays).
bool RegisterResource(HMODULE module, const wchar_t* name, const wchar_t* type, const void* data,
                      size_t size);
// Removes a registration (its handles become invalid); false when there was none.
bool UnregisterResource(HMODULE module, const wchar_t* name, const wchar_t* type);

// The resource of that module, name and type; null (last error 1814) when none is registered.
HRSRC FindResourceW(HMODULE module, const wchar_t* name, const wchar_t* type) noexcept;
// The loaded block of a found resource; null for a null resource.
HGLOBAL LoadResource(HMODULE module, HRSRC resource) noexcept;
// Size in bytes of a found resource; 0 for a null resource.
uint32_t SizeofResource(HMODULE module, HRSRC resource) noexcept;
// The first byte of a loaded block; null for a null block.
const void* LockResource(HGLOBAL block) noexcept;

// Windows error number of a lookup that found nothing.
inline constexpr uint32_t k_errorResourceNameNotFound = 1814;

}  // namespace lu::platform
