#include "Numeric/Random.h"

#include "Numeric/hull/RandomStream.h"

namespace TOLX
{
namespace
{
thread_local std::uint32_t state = 1;
}

int Rand15() noexcept
{
    return Impl::Rand15Step(state);
}

void SeedRand15(std::uint32_t seed) noexcept { state = seed; }

namespace Impl
{
CRand15Stream::CRand15Stream() noexcept : m_state(state) {}

CRand15Stream::~CRand15Stream()
{
    state = m_state;
}
} // namespace Impl
} // namespace TOLX
