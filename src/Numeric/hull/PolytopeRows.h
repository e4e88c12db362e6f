#pragma once

// The rows of an image box that a convex polytope (the hull's equations)
// covers, found by recursive subdivision instead of a test of every pixel
// against every plane; see CPolytopeRows. Internal header; not stable API.

#include <cstddef>
#include <vector>

namespace TOLX
{
namespace Impl
{
// The pixels a hull paints, row by row, without testing every pixel against
// every facet plane.
//
// A probe p passes plane k when s - b_k <= eps with s = ((0 + a_k0*x) +
// a_k1*y) + a_k2*z summed in this order (the hull's inside test). Along a row
// only x changes, and every step of that sum is a monotone function of x, so
// within the box a plane with a_k0 <= 0 accepts a right part [l_k, x1] of the
// row and one with a_k0 > 0 a left part [x0, u_k]: the accepted probes of the
// row are the interval [max l_k, min u_k], and painting from its first to
// its last probe paints exactly the accepted probes.
//
// The rows (y, z) are split recursively into boxes. Each box carries a range
// of x and a list of planes such that, on every row of the box, the probes
// that all planes accept are exactly the probes of the range that the
// box's planes accept; a box starts with its parent's range and list.
// - Each plane rejects, on all rows of the box at once, the probes beyond
//   its real root on the row where it accepts most (widened by what rounding
//   can amount to); the range shrinks to the tightest of these bounds, which
//   drops only rejected probes.
// - A plane that rejects every probe of the range leaves the rows empty.
// - A plane that accepts every probe of the range is dropped, and so is one
//   that provably accepts every probe of the range that the reference plane
//   of its facing accepts (Follows). A reference is never dropped by
//   Follows, and when it is dropped for accepting the whole range, so are
//   the planes that follow it: the planes kept still reject every probe of
//   the range that a dropped plane rejects.
// In boxes of a few rows, each row's interval is found from bounds on every
// l_k and u_k (the real root of the plane, widened for rounding), with the
// exact test wherever the bounds leave a doubt. Rows are thus painted
// exactly where the inside test accepts, for any planes. Non-finite or huge
// coefficients, for which the bounds do not hold, make every row be
// searched probe by probe.
class CPolytopeRows
{
public:
    // planes: F rows of d normal components followed by the offset, d = 2 or 3.
    // The box is inclusive and must lie inside the image; for d = 2 z0 = z1.
    CPolytopeRows(const std::vector<double>& planes, std::size_t d, double eps, int x0, int y0, int z0, int x1, int y1,
               int z1);

    // The accepted interval of row (y, z); false when the row has none.
    bool Row(int y, int z, int& left, int& right) const;

private:
    struct Plane
    {
        double a[3]; // the normal; a[2] = 0 for d = 2, which leaves every sum unchanged
        double b;
        double bEps;    // b + eps, for the root
        double inverse; // 1 / a[0]; 0 when the root is not used
        double doubt;   // how far the computed root may lie from the row's accepted end, in
                    // pixels; infinite when the root is not used
        double size;    // bounds |a0 x| + |a1 y| + |a2 z| + |b| + |eps| over the box: the scale of every rounding
    };
    // Probes (x, y, z) with lo[i] <= coordinate i <= hi[i].
    struct Box
    {
        int lo[3];
        int hi[3];
        // The middle along an axis, and its distance to the border.
        double Centre(std::size_t axis) const { return 0.5 * (double(lo[axis]) + hi[axis]); }
        double Half(std::size_t axis) const { return 0.5 * (double(hi[axis]) - lo[axis]); }
    };

    // The planes of a box are `count` entries at m_stack[first], the first
    // `facingLeft` of them with a[0] <= 0.
    void Visit(const Box& box, std::size_t first, std::size_t facingLeft, std::size_t count);
    bool Follows(const Plane& plane, const Plane& reference, const double centre[3], const double half[3]) const;
    bool RowEnds(std::size_t first, std::size_t facingLeft, std::size_t count, int y, int z, int& left, int& right);
    bool Passes(const Plane& plane, int x, int y, int z) const;
    void SearchEveryRow(std::size_t count);
    std::size_t RowIndex(int y, int z) const;
    void SetRow(int y, int z, int left, int right);

    double m_eps;
    Box m_box;
    std::vector<int> m_left;
    std::vector<int> m_right;
    // The planes of every level of the recursion, one stack; m_top is the
    // end of the lists in use.
    std::vector<Plane> m_stack;
    std::size_t m_top = 0;
    // Scratch for one box or row at a time, one entry per plane.
    std::vector<double> m_rowValue;
    std::vector<double> m_rowSpread;
    std::vector<int> m_lower;
    std::vector<int> m_upper;
};
} // namespace Impl
} // namespace TOLX
