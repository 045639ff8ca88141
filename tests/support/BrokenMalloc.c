/* An LD_PRELOAD shim for the crash tests: after nybase_test_break_malloc, every malloc, calloc
   and realloc ends the process with exit code 77, so a handler that allocates is caught. */
#include <stddef.h>
#include <unistd.h>

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* p, size_t size);

static volatile int g_broken = 0;

void nybase_test_break_malloc(void) { g_broken = 1; }

static void Die(void) {
  static const char text[] = "malloc called while broken\n";
  if (write(2, text, sizeof text - 1) < 0) _exit(78);
  _exit(77);
}

void* malloc(size_t size) {
  if (g_broken) Die();
  return __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
  if (g_broken) Die();
  return __libc_calloc(count, size);
}

void* realloc(void* p, size_t size) {
  if (g_broken) Die();
  return __libc_realloc(p, size);
}
