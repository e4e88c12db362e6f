#pragma once

#include <array>
#include <cstdint>

namespace vorn
{
// The affine span of integer points in space (points of the plane have z = 0),
// decided exactly: the first point, then the first point different from it,
// then the first one off their line, then the first one off their plane. A
// point costs a few integer products and no tolerance is involved, so the
// rank of n points takes linear time and is right for any coordinates that
// fit in 32 bits (the products are formed in 128 bits).
class CAffineSpan
{
public:
    using Point = std::array<std::int64_t, 3>;

    // Adds a point and returns the rank afterwards.
    int Add(const Point& point);
    // -1 before the first point, then 0 (a point), 1 (a line), 2 (a plane)
    // or 3 (space).
    int Rank() const { return m_rank; }
    // The Rank() + 1 points that span it, in the order they were found.
    const std::array<Point, 4>& Basis() const { return m_basis; }

private:
    __extension__ using Wide = __int128;

    int m_rank = -1;
    std::array<Point, 4> m_basis{};
    std::array<std::int64_t, 3> m_direction{}; // basis 1 - basis 0
    std::array<Wide, 3> m_normal{};            // of the plane of basis 0..2
};

// What an object of rank 0, 1 or 2 is: "point", "line" or "flat" (a plane in
// space); an object whose rank is below the image's dimension has no hull.
const char* DegenerateShapeName(int rank);
} // namespace vorn
