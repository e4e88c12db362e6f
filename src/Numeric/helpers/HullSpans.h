#pragma once

#include <cstddef>
#include <vector>

namespace TOLX
{
namespace Impl
{
// The pixels a hull paints, row by row, without testing every pixel against
// every facet plane.
//
// A probe p passes when, for every plane k, s - b_k <= eps with
// s = ((0 + a_k0*x) + a_k1*y) + a_k2*z summed in this order (the hull's inside
// test). Along a row only x changes, and every step of that sum is a
// monotone function of x, so each plane accepts a ray of x and the accepted
// probes of a row form one interval: painting from the first to the last
// accepted probe paints exactly the accepted probes.
//
// The box is split recursively. For each part, a plane whose value over the
// whole part lies clearly below eps (by more than any rounding of the sum
// could move it) accepts every probe there and is dropped; a plane clearly
// above eps over the whole part rejects the part. Only the planes that pass
// through a part are tested exactly, probe by probe, in its small leaves.
class CHullSpans
{
public:
    // planes: F rows of d normal components followed by the offset, d = 2 or 3.
    // The box is inclusive and must lie inside the image; for d = 2 z0 = z1.
    CHullSpans(const std::vector<double>& planes, std::size_t d, double eps, int x0, int y0, int z0, int x1, int y1,
               int z1);

    // The accepted interval of row (y, z); false when the row has none.
    bool Row(int y, int z, int& left, int& right) const;

private:
    struct Box
    {
        int lo[3];
        int hi[3];
    };

    // The planes of a part are `count` blocks of d + 1 numbers at m_stack[first].
    void Visit(const Box& box, std::size_t first, std::size_t count);
    void Accept(int y, int z, int left, int right);
    bool Passes(std::size_t first, std::size_t count, int x, int y, int z);
    std::size_t RowIndex(int y, int z) const;

    std::size_t m_d;
    double m_eps;
    Box m_box;
    std::vector<int> m_left;
    std::vector<int> m_right;
    // The planes of every level of the recursion, one stack.
    std::vector<double> m_stack;
};
} // namespace Impl
} // namespace TOLX
