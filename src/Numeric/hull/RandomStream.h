#pragma once

// The library's 15-bit generator for loops that draw many values: one step
// of the sequence, and a stream that works on a local copy of the calling
// thread's state and writes it back when it ends, so that the values and the
// state left behind are exactly those of as many Rand15() calls. The hull's
// start-point draw is its user. Internal header; not stable API.

#include <cstdint>

namespace TOLX
{
namespace Impl
{
// The classic linear congruential step (unsigned arithmetic wraps by
// definition) and bits 16..30 of the new state.
inline int Rand15Step(std::uint32_t& state) noexcept
{
    state = state * 1103515245u + 12345u;
    return static_cast<int>((state / 65536u) % 32768u);
}

class CRand15Stream
{
public:
    CRand15Stream() noexcept;
    ~CRand15Stream();
    CRand15Stream(const CRand15Stream&) = delete;
    CRand15Stream& operator=(const CRand15Stream&) = delete;

    int Next() noexcept { return Rand15Step(m_state); }

private:
    std::uint32_t m_state;
};
} // namespace Impl
} // namespace TOLX
