#pragma once

#include "Numeric/Export.h"

#include <cstdint>

namespace TOLX
{
// The library's pseudo-random generator with the range 0..32767. It is the
// classic linear congruential generator (multiplier 1103515245, increment
// 12345, bits 16..30 of the state), so the sequence is the same on every
// platform and compiler. Each thread has its own state, which starts from the
// seed 1 in every new thread; the library never seeds it.
constexpr int RAND15_MAX = 32767;

VORN_API int Rand15() noexcept;

// Re-seeds the calling thread's generator; the host's only way to change the
// sequence of the start-simplex draw.
VORN_API void SeedRand15(std::uint32_t seed) noexcept;
} // namespace TOLX
