#include "Numeric/Random.h"

namespace TOLX
{
namespace
{
thread_local std::uint32_t state = 1;
}

int Rand15() noexcept
{
    // Unsigned 32-bit arithmetic wraps by definition, so the sequence is exact.
    state = state * 1103515245u + 12345u;
    return static_cast<int>((state / 65536u) % 32768u);
}

void SeedRand15(std::uint32_t seed) noexcept { state = seed; }
} // namespace TOLX
