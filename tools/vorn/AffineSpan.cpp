#include "AffineSpan.h"

namespace vorn
{
int CAffineSpan::Add(const Point& point)
{
    if (m_rank == 3)
        return m_rank;
    if (m_rank == -1)
    {
        m_basis[0] = point;
        return m_rank = 0;
    }
    const Point& origin = m_basis[0];
    const std::array<std::int64_t, 3> offset{point[0] - origin[0], point[1] - origin[1], point[2] - origin[2]};
    if (m_rank == 0)
    {
        if (offset == std::array<std::int64_t, 3>{})
            return m_rank;
        m_direction = offset;
        m_basis[1] = point;
        return m_rank = 1;
    }
    if (m_rank == 1)
    {
        const std::array<std::int64_t, 3>& u = m_direction;
        const std::array<Wide, 3> cross{Wide(u[1]) * offset[2] - Wide(u[2]) * offset[1],
                                        Wide(u[2]) * offset[0] - Wide(u[0]) * offset[2],
                                        Wide(u[0]) * offset[1] - Wide(u[1]) * offset[0]};
        if (cross == std::array<Wide, 3>{})
            return m_rank;
        m_normal = cross;
        m_basis[2] = point;
        return m_rank = 2;
    }
    const Wide height = m_normal[0] * offset[0] + m_normal[1] * offset[1] + m_normal[2] * offset[2];
    if (height == 0)
        return m_rank;
    m_basis[3] = point;
    return m_rank = 3;
}

const char* DegenerateShapeName(int rank)
{
    return rank <= 0 ? "point" : rank == 1 ? "line" : "flat";
}
} // namespace vorn
