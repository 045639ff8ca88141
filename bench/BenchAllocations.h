// Counts the heap bytes a benchmark program holds, so a benchmark can report the peak of a call.
#pragma once

#include <malloc.h>

#include <cstddef>
#include <cstdlib>
#include <new>

// Include in exactly one source file of a program: it replaces the global operator new/delete.
namespace nybench {
inline size_t g_heapNow = 0;
inline size_t g_heapPeak = 0;
// Starts a new peak at the bytes held now; HeapPeakSince gives the growth above that.
inline size_t ResetHeapPeak() { return g_heapPeak = g_heapNow; }
inline size_t HeapPeakSince(size_t base) { return g_heapPeak - base; }
}  // namespace nybench

void* operator new(size_t n) {
  void* p = std::malloc(n ? n : 1);
  if (p == nullptr) throw std::bad_alloc();
  nybench::g_heapNow += malloc_usable_size(p);
  if (nybench::g_heapNow > nybench::g_heapPeak) nybench::g_heapPeak = nybench::g_heapNow;
  return p;
}
void operator delete(void* p) noexcept {
  if (p == nullptr) return;
  nybench::g_heapNow -= malloc_usable_size(p);
  std::free(p);
}
void operator delete(void* p, size_t) noexcept { operator delete(p); }
