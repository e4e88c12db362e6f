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
} // namespace

CHullSpans::CHullSpans(const std::vector<double>& planes, std::size_t d, double eps, int x0, int y0, int z0, int x1,
                       int y1, int z1)
    : m_d(d), m_eps(eps), m_box{{x0, y0, z0}, {x1, y1, z1}}
{
    if (x1 < x0 || y1 < y0 || z1 < z0)
        return;
    const std::size_t rows = static_cast<std::size_t>(y1 - y0 + 1) * static_cast<std::size_t>(z1 - z0 + 1);
    m_left.assign(rows, std::numeric_limits<int>::max());
    m_right.assign(rows, std::numeric_limits<int>::min());
    // Every level of the recursion keeps its planes contiguous on one stack,
    // so the tests read memory in order.
    m_stack.reserve(planes.size() * 4 + 64);
    m_stack = planes;
    Visit(m_box, 0, planes.size() / (d + 1));
}

std::size_t CHullSpans::RowIndex(int y, int z) const
{
    return static_cast<std::size_t>(z - m_box.lo[2]) * static_cast<std::size_t>(m_box.hi[1] - m_box.lo[1] + 1) +
           static_cast<std::size_t>(y - m_box.lo[1]);
}

bool CHullSpans::Row(int y, int z, int& left, int& right) const
{
    if (m_left.empty() || y < m_box.lo[1] || y > m_box.hi[1] || z < m_box.lo[2] || z > m_box.hi[2])
        return false;
    left = m_left[RowIndex(y, z)];
    right = m_right[RowIndex(y, z)];
    return left <= right;
}

void CHullSpans::Accept(int y, int z, int left, int right)
{
    const std::size_t row = RowIndex(y, z);
    m_left[row] = std::min(m_left[row], left);
    m_right[row] = std::max(m_right[row], right);
}

bool CHullSpans::Passes(std::size_t first, std::size_t count, int x, int y, int z)
{
    const double p[3] = {static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)};
    const std::size_t width = m_d + 1;
    double* planes = m_stack.data() + first;
    for (std::size_t c = 0; c < count; ++c)
    {
        const double* a = planes + c * width;
        double s = 0.0;
        for (std::size_t i = 0; i < m_d; ++i)
            s = s + a[i] * p[i];
        if (s - a[m_d] > m_eps)
        {
            // Neighbouring probes are mostly rejected by the same plane: try
            // it first next time. The order of the tests decides nothing.
            std::swap_ranges(planes, planes + width, planes + c * width);
            return false;
        }
    }
    return true;
}

void CHullSpans::Visit(const Box& box, std::size_t first, std::size_t count)
{
    // Sort the planes of this part into those that still straddle it, copied
    // on top of the stack for the children; planes that accept the whole part
    // are dropped, one that rejects it ends the visit.
    const std::size_t width = m_d + 1;
    const std::size_t mine = m_stack.size();
    for (std::size_t c = 0; c < count; ++c)
    {
        const std::size_t at = first + c * width;
        double lo = 0.0;
        double hi = 0.0;
        double magnitude = std::fabs(m_stack[at + m_d]);
        for (std::size_t i = 0; i < m_d; ++i)
        {
            const double from = m_stack[at + i] * box.lo[i];
            const double to = m_stack[at + i] * box.hi[i];
            lo += std::min(from, to);
            hi += std::max(from, to);
            magnitude += std::max(std::fabs(from), std::fabs(to));
        }
        lo -= m_stack[at + m_d];
        hi -= m_stack[at + m_d];
        // Far more than the rounding of either sum, or of the inside test's
        // own sum at any probe of the part, can amount to.
        const double margin = 1e-12 * (1.0 + magnitude);
        if (lo - margin > m_eps)
        {
            m_stack.resize(mine);
            return;
        }
        if (hi + margin > m_eps)
            for (std::size_t i = 0; i < width; ++i)
            {
                const double value = m_stack[at + i];
                m_stack.push_back(value);
            }
    }
    const std::size_t straddling = (m_stack.size() - mine) / width;
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
        // The accepted probes of a row are one interval: find its two ends.
        for (int z = box.lo[2]; z <= box.hi[2]; ++z)
            for (int y = box.lo[1]; y <= box.hi[1]; ++y)
            {
                int left = box.lo[0];
                while (left <= box.hi[0] && !Passes(mine, straddling, left, y, z))
                    ++left;
                if (left > box.hi[0])
                    continue;
                int right = box.hi[0];
                while (right > left && !Passes(mine, straddling, right, y, z))
                    --right;
                Accept(y, z, left, right);
            }
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
    m_stack.resize(mine);
}
} // namespace Impl
} // namespace TOLX
