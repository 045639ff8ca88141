// POSIX backend of the random seed: getrandom(2), with the clock as the last resort.
#include <nybase/platform/Random.h>

#include <sys/random.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

namespace lu::platform {

uint32_t GetRandomSeed() noexcept {
  uint32_t seed = 0;
  for (;;) {
    const ssize_t n = ::getrandom(&seed, sizeof seed, 0);
    if (n == static_cast<ssize_t>(sizeof seed)) return seed;
    if (n < 0 && errno != EINTR) break;
  }
  timespec ts{};
  ::clock_gettime(CLOCK_REALTIME, &ts);
  return static_cast<uint32_t>(ts.tv_nsec) ^ static_cast<uint32_t>(ts.tv_sec) ^
         (static_cast<uint32_t>(::getpid()) << 16);
}

}  // namespace lu::platform
