// Seeds for the library's own pseudo-random generators, taken from the system's entropy source.
#pragma once

#include <cstdint>

namespace lu::platform {

// One 32-bit value from the kernel's random source. Never fails: should that source be
// unavailable, the clock and the process identity are mixed instead.
uint32_t GetRandomSeed() noexcept;

}  // namespace lu::platform
