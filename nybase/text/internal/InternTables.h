// Introspection of the two intern tables and the CachedString record allocator, for tests.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lu::detail {

// The number of records in each table and the ROString table's bucket count, read under the
// tables' locks.
size_t CachedStringRecordCount() noexcept;
size_t ROStringRecordCount() noexcept;
size_t ROStringBucketCount() noexcept;

// The interning count of the ROString record whose text starts at text (a handle's c_str()).
uint32_t ROStringInternCount(const char* text) noexcept;

// Where CachedString records come from and go back to: malloc and free unless replaced. Replace
// it only while no other thread uses CachedString and no record made by the previous allocator is
// alive; returns the previous one.
struct RecordAllocator {
  void* (*allocate)(size_t bytes);
  void (*release)(void* block);
};
RecordAllocator SetCachedStringAllocator(RecordAllocator allocator) noexcept;

}  // namespace lu::detail
