#include "Numeric/helpers/HullSpans.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace TOLX
{
namespace Impl
{
namespace
{
// Leaves of at most this many probes are tested probe by probe.
constexpr long kLeafProbes = 64;
}

CHullSpans::CHullSpans(const std::vector<double>& planes, std::size_t d, double eps, int x0, int y0, int z0, int x1,
                       int y1, int z1)
    : m_planes(planes), m_d(d), m_eps(eps), m_box{{x0, y0, z0}, {x1, y1, z1}}
{
    if (x1 < x0 || y1 < y0 || z1 < z0)
        return;
    const std::size_t rows = static_cast<std::size_t>(y1 - y0 + 1) * static_cast<std::size_t>(z1 - z0 + 1);
    m_left.assign(rows, std::numeric_limits<int>::max());
    m_right.assign(rows, std::numeric_limits<int>::min());
    const std::size_t count = planes.size() / (d + 1);
    m_candidates.reserve(count * 4 + 16);
    for (std::size_t k = 0; k < count; ++k)
        m_candidates.push_back(k);
    Visit(m_box, 0, count);
}

bool CHullSpans::Row(int y, int z, int& left, int& right) const
{
    if (m_left.empty() || y < m_box.lo[1] || y > m_box.hi[1] || z < m_box.lo[2] || z > m_box.hi[2])
        return false;
    const std::size_t row = static_cast<std::size_t>(z - m_box.lo[2]) * static_cast<std::size_t>(m_box.hi[1] - m_box.lo[1] + 1) +
                            static_cast<std::size_t>(y - m_box.lo[1]);
    left = m_left[row];
    right = m_right[row];
    return left <= right;
}

void CHullSpans::Accept(int y, int z, int left, int right)
{
    const std::size_t row = static_cast<std::size_t>(z - m_box.lo[2]) * static_cast<std::size_t>(m_box.hi[1] - m_box.lo[1] + 1) +
                            static_cast<std::size_t>(y - m_box.lo[1]);
    m_left[row] = std::min(m_left[row], left);
    m_right[row] = std::max(m_right[row], right);
}

bool CHullSpans::Passes(std::size_t first, std::size_t count, int x, int y, int z) const
{
    const double p[3] = {static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)};
    for (std::size_t c = first; c < first + count; ++c)
    {
        const double* a = &m_planes[m_candidates[c] * (m_d + 1)];
        double s = 0.0;
        for (std::size_t i = 0; i < m_d; ++i)
            s = s + a[i] * p[i];
        if (s - a[m_d] > m_eps)
            return false;
    }
    return true;
}

void CHullSpans::Visit(const Box& box, std::size_t first, std::size_t count)
{
    // Sort the candidates of this part into those that still straddle it,
    // pushed on top of the stack for the children; planes that accept the
    // whole part are dropped, one that rejects it ends the visit.
    const std::size_t mine = m_candidates.size();
    for (std::size_t c = first; c < first + count; ++c)
    {
        const double* a = &m_planes[m_candidates[c] * (m_d + 1)];
        double lo = 0.0;
        double hi = 0.0;
        double magnitude = std::fabs(a[m_d]);
        for (std::size_t i = 0; i < m_d; ++i)
        {
            const double from = a[i] * box.lo[i];
            const double to = a[i] * box.hi[i];
            lo += std::min(from, to);
            hi += std::max(from, to);
            magnitude += std::max(std::fabs(from), std::fabs(to));
        }
        lo -= a[m_d];
        hi -= a[m_d];
        // Far more than the rounding of either sum can amount to.
        const double margin = 1e-12 * (1.0 + magnitude);
        if (lo - margin > m_eps)
        {
            m_candidates.resize(mine);
            return;
        }
        if (hi + margin > m_eps)
        {
            const std::size_t plane = m_candidates[c];
            m_candidates.push_back(plane);
        }
    }
    const std::size_t straddling = m_candidates.size() - mine;
    const long probes = static_cast<long>(box.hi[0] - box.lo[0] + 1) * (box.hi[1] - box.lo[1] + 1) *
                        (box.hi[2] - box.lo[2] + 1);
    if (straddling == 0)
    {
        for (int z = box.lo[2]; z <= box.hi[2]; ++z)
            for (int y = box.lo[1]; y <= box.hi[1]; ++y)
                Accept(y, z, box.lo[0], box.hi[0]);
    }
    else if (probes <= kLeafProbes)
    {
        for (int z = box.lo[2]; z <= box.hi[2]; ++z)
            for (int y = box.lo[1]; y <= box.hi[1]; ++y)
                for (int x = box.lo[0]; x <= box.hi[0]; ++x)
                    if (Passes(mine, straddling, x, y, z))
                        Accept(y, z, x, x);
    }
    else
    {
        // Halve the longest side.
        std::size_t axis = 0;
        for (std::size_t i = 1; i < 3; ++i)
            if (box.hi[i] - box.lo[i] > box.hi[axis] - box.lo[axis])
                axis = i;
        const int middle = box.lo[axis] + (box.hi[axis] - box.lo[axis]) / 2;
        Box lower = box;
        Box upper = box;
        lower.hi[axis] = middle;
        upper.lo[axis] = middle + 1;
        Visit(lower, mine, straddling);
        Visit(upper, mine, straddling);
    }
    m_candidates.resize(mine);
}
} // namespace Impl
} // namespace TOLX
