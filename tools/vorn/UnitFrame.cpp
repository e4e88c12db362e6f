#include "UnitFrame.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vorn
{
CUnitFrame::CUnitFrame(const PointSet& points) : m_centre(points.dimension)
{
    const std::size_t d = points.dimension;
    for (std::size_t axis = 0; axis < d; ++axis)
    {
        double low = std::numeric_limits<double>::infinity();
        double high = -low;
        for (std::size_t i = 0; i < points.Count(); ++i)
        {
            low = std::min(low, points.Point(i)[axis]);
            high = std::max(high, points.Point(i)[axis]);
        }
        // Coordinates are at most 1e300 in magnitude: no sum here overflows.
        m_centre[axis] = 0.5 * (low + high);
        m_extent = std::max(m_extent, high - low);
    }
    const double largestHalf = 0.5 * m_extent;
    // largestHalf = m 2^exponent with m in [0.5, 1); 0 leaves the exponent 0.
    std::frexp(largestHalf, &m_exponent);
}

void CUnitFrame::ToUnit(const double* point, double* unit) const
{
    for (std::size_t axis = 0; axis < m_centre.size(); ++axis)
        unit[axis] = std::ldexp(point[axis] - m_centre[axis], -m_exponent);
}

double CUnitFrame::OffsetFromUnit(const double* normal, double unitOffset) const
{
    // normal . (x - centre) / 2^exponent <= unitOffset is
    // normal . x <= 2^exponent unitOffset + normal . centre.
    double offset = std::ldexp(unitOffset, m_exponent);
    for (std::size_t axis = 0; axis < m_centre.size(); ++axis)
        offset += normal[axis] * m_centre[axis];
    return offset;
}
} // namespace vorn
