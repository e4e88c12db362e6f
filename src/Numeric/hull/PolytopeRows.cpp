#include "Numeric/hull/PolytopeRows.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace TOLX
{
namespace Impl
{
namespace
{
// Every bound below allows kRounding times the size of the numbers involved
// (Plane::size), about ninety units in the last place: the inside test's sum
// is off from the real value by at most four units times that size, and the
// few operations of a bound add no more than some twenty more. kTiny covers
// the absolute error of products that underflow.
constexpr double kRounding = 1e-14;
constexpr double kTiny = 1e-300;
// Coefficients up to this size cannot make any of these operations overflow.
constexpr double kLargest = 1e100;
// A root known only this roughly, in pixels, is not used.
constexpr double kRoughest = 1e9;
// Boxes of at most this many rows are finished row by row.
constexpr long kLeafRows = 8;

double Margin(double size)
{
    return kRounding * size + kTiny;
}

// Between a probe `passing` that passes (or lies just beyond the box) and a
// probe `failing` that fails, on either side, the passing probe nearest to
// the failing one.
template <class Test>
int Boundary(int passing, int failing, Test passes)
{
    while (passing - failing > 1 || failing - passing > 1)
    {
        const int middle = passing + (failing - passing) / 2;
        if (passes(middle))
            passing = middle;
        else
            failing = middle;
    }
    return passing;
}
} // namespace

CPolytopeRows::CPolytopeRows(const std::vector<double>& planes, std::size_t d, double eps, int x0, int y0, int z0, int x1,
                       int y1, int z1)
    : m_eps(eps), m_box{{x0, y0, z0}, {x1, y1, z1}}
{
    if (x1 < x0 || y1 < y0 || z1 < z0)
        return;
    const std::size_t rows = static_cast<std::size_t>(y1 - y0 + 1) * static_cast<std::size_t>(z1 - z0 + 1);
    m_left.assign(rows, std::numeric_limits<int>::max());
    m_right.assign(rows, std::numeric_limits<int>::min());

    const double reach[3] = {std::max(std::fabs(double(x0)), std::fabs(double(x1))),
                             std::max(std::fabs(double(y0)), std::fabs(double(y1))),
                             std::max(std::fabs(double(z0)), std::fabs(double(z1)))};
    const std::size_t count = planes.size() / (d + 1);
    m_stack.resize(2 * count + 64);
    bool ordinary = std::fabs(eps) <= kLargest;
    std::size_t facingLeft = 0;
    for (std::size_t f = 0; f < count; ++f)
    {
        const double* row = planes.data() + f * (d + 1);
        Plane plane{};
        std::copy(row, row + d, plane.a);
        plane.b = row[d];
        plane.size = std::fabs(plane.b) + std::fabs(eps);
        ordinary = ordinary && std::fabs(plane.b) <= kLargest; // false for NaN too
        for (std::size_t i = 0; i < 3; ++i)
        {
            plane.size += std::fabs(plane.a[i]) * reach[i];
            ordinary = ordinary && std::fabs(plane.a[i]) <= kLargest;
        }
        plane.bEps = plane.b + eps;
        const double slope = std::fabs(plane.a[0]);
        plane.doubt = Margin(plane.size + slope) / slope;
        if (plane.doubt <= kRoughest)
            plane.inverse = 1.0 / plane.a[0];
        else
            plane.doubt = std::numeric_limits<double>::infinity();
        // Planes facing -x (or neither way) first, those facing +x last.
        if (plane.a[0] <= 0)
        {
            m_stack[f] = m_stack[facingLeft];
            m_stack[facingLeft++] = plane;
        }
        else
            m_stack[f] = plane;
    }
    m_top = count;
    m_rowValue.resize(count);
    m_rowSpread.resize(count);
    m_lower.resize(count);
    m_upper.resize(count);
    // Non-finite coefficients break the monotonicity along a row (0 *
    // infinity is NaN, which rejects nothing), and huge ones the bounds:
    // then the rows are searched probe by probe.
    if (ordinary)
        Visit(m_box, 0, facingLeft, count);
    else
        SearchEveryRow(count);
}

std::size_t CPolytopeRows::RowIndex(int y, int z) const
{
    return static_cast<std::size_t>(z - m_box.lo[2]) * static_cast<std::size_t>(m_box.hi[1] - m_box.lo[1] + 1) +
           static_cast<std::size_t>(y - m_box.lo[1]);
}

bool CPolytopeRows::Row(int y, int z, int& left, int& right) const
{
    if (m_left.empty() || y < m_box.lo[1] || y > m_box.hi[1] || z < m_box.lo[2] || z > m_box.hi[2])
        return false;
    left = m_left[RowIndex(y, z)];
    right = m_right[RowIndex(y, z)];
    return left <= right;
}

void CPolytopeRows::SetRow(int y, int z, int left, int right)
{
    m_left[RowIndex(y, z)] = left;
    m_right[RowIndex(y, z)] = right;
}

bool CPolytopeRows::Passes(const Plane& plane, int x, int y, int z) const
{
    double s = 0.0;
    s = s + plane.a[0] * x;
    s = s + plane.a[1] * y;
    s = s + plane.a[2] * z;
    return !(s - plane.b > m_eps);
}

void CPolytopeRows::SearchEveryRow(std::size_t count)
{
    const auto inside = [&](int x, int y, int z) {
        for (std::size_t c = 0; c < count; ++c)
            if (!Passes(m_stack[c], x, y, z))
                return false;
        return true;
    };
    for (int z = m_box.lo[2]; z <= m_box.hi[2]; ++z)
        for (int y = m_box.lo[1]; y <= m_box.hi[1]; ++y)
        {
            int left = m_box.lo[0];
            while (left <= m_box.hi[0] && !inside(left, y, z))
                ++left;
            if (left > m_box.hi[0])
                continue;
            int right = m_box.hi[0];
            while (right > left && !inside(right, y, z))
                --right;
            SetRow(y, z, left, right);
        }
}

bool CPolytopeRows::RowEnds(std::size_t first, std::size_t facingLeft, std::size_t count, int y, int z, int& left,
                         int& right)
{
    const Plane* planes = m_stack.data() + first;
    int* lower = m_lower.data();
    int* upper = m_upper.data();
    // Bounds on the first accepted probe l (a[0] <= 0) or the last one u
    // (a[0] > 0) of each plane: the test rejects where the real value
    // exceeds eps by more than its rounding and accepts where it lies below
    // eps by more, so the end lies within `doubt` of the real root of
    // value = eps. Without a usable root (inverse 0, doubt infinite) the
    // bounds are the box's: l in [x0, x1 + 1], u in [x0 - 1, x1].
    const double x0 = m_box.lo[0];
    const double x1 = m_box.hi[0];
    for (std::size_t c = 0; c < count; ++c)
    {
        const Plane& p = planes[c];
        const double root = (p.bEps - p.a[1] * y - p.a[2] * z) * p.inverse;
        if (c < facingLeft)
        {
            lower[c] = static_cast<int>(std::ceil(std::clamp(root - p.doubt, x0, x1 + 1)));
            upper[c] = static_cast<int>(std::ceil(std::clamp(root + p.doubt, x0, x1 + 1)));
            left = std::max(left, lower[c]);
        }
        else
        {
            lower[c] = static_cast<int>(std::floor(std::clamp(root - p.doubt, x0 - 1, x1)));
            upper[c] = static_cast<int>(std::floor(std::clamp(root + p.doubt, x0 - 1, x1)));
            right = std::min(right, upper[c]);
        }
    }
    // The row's interval is [max l, min u]: start from the largest lower bound
    // of the l and the smallest upper bound of the u, test exactly only the
    // planes whose bounds leave a doubt there, and move on to a plane's own
    // end where it rejects.
    for (std::size_t c = 0; c < facingLeft && left <= right; ++c)
        if (upper[c] > left && !Passes(planes[c], left, y, z))
            left = Boundary(upper[c], left, [&](int x) { return Passes(planes[c], x, y, z); });
    for (std::size_t c = facingLeft; c < count && left <= right; ++c)
        if (lower[c] < right && !Passes(planes[c], right, y, z))
            right = Boundary(lower[c], right, [&](int x) { return Passes(planes[c], x, y, z); });
    return left <= right;
}

// True when `plane` provably accepts every probe of the box that `reference`
// accepts; both face the same way along x (or the plane faces neither way).
// With t = a0/r0 >= 0, h = plane - t * reference does not depend on x, and
// where the reference accepts, its real value is at most eps + rounding, so
// the plane's value there is at most max h + t * (eps + rounding); the plane
// accepts when that stays below eps - rounding. h is the plane's value at
// the reference's root, so the test compares values, which stays sound for
// planes nearly parallel to x.
bool CPolytopeRows::Follows(const Plane& plane, const Plane& reference, const double centre[3],
                         const double half[3]) const
{
    const double t = plane.a[0] * reference.inverse;
    const double hy = plane.a[1] - t * reference.a[1];
    const double hz = plane.a[2] - t * reference.a[2];
    const double h = t * reference.b - plane.b;
    const double highest = h + hy * centre[1] + hz * centre[2] + std::fabs(hy) * half[1] + std::fabs(hz) * half[2];
    return highest + (t * m_eps - m_eps) + Margin(plane.size + t * reference.size) <= 0;
}

void CPolytopeRows::Visit(const Box& box, std::size_t first, std::size_t facingLeft, std::size_t count)
{
    // The survivors are written above the stack's top; the stack only grows
    // here, before any plane is read.
    if (m_stack.size() < m_top + count)
        m_stack.resize(2 * (m_top + count));
    const Plane* planes = m_stack.data() + first;
    double centre[3] = {box.Centre(0), box.Centre(1), box.Centre(2)};
    double half[3] = {box.Half(0), box.Half(1), box.Half(2)};
    // Each plane's value at x = 0 on the centre row, and how far it moves
    // over the rows of the box.
    double* rowValue = m_rowValue.data();
    double* rowSpread = m_rowSpread.data();

    // The accepted probes of every row of the box are those the box's planes
    // accept within its x range. A plane rejecting every probe of the box
    // leaves its rows empty. Every other plane with a usable root bounds the
    // accepted probes of all rows of the box: one facing -x rejects, on every
    // row, the probes left of its root on the row where it accepts most, and
    // one facing +x those to the right. The tightest of these bounds narrow
    // the x range; the planes whose roots on the centre row lie furthest
    // inside become the references for Follows.
    const Plane* references[2] = {nullptr, nullptr};
    double from = box.lo[0];
    double to = box.hi[0];
    double roots[2] = {-std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};
    for (std::size_t c = 0; c < count; ++c)
    {
        const Plane& p = planes[c];
        const double value = p.a[1] * centre[1] + p.a[2] * centre[2] - p.b;
        const double spread = std::fabs(p.a[1]) * half[1] + std::fabs(p.a[2]) * half[2];
        rowValue[c] = value;
        rowSpread[c] = spread;
        if (value + p.a[0] * centre[0] - spread - std::fabs(p.a[0]) * half[0] - Margin(p.size) > m_eps)
            return;
        if (p.inverse == 0)
            continue;
        const double root = (m_eps - value) * p.inverse;
        const double widest = (m_eps - value + spread) * p.inverse;
        if (c < facingLeft)
        {
            if (root > roots[0])
            {
                roots[0] = root;
                references[0] = &p;
            }
            from = std::max(from, widest - p.doubt);
        }
        else
        {
            if (root < roots[1])
            {
                roots[1] = root;
                references[1] = &p;
            }
            to = std::min(to, widest + p.doubt);
        }
    }
    Box inner = box;
    inner.lo[0] = static_cast<int>(std::ceil(std::min(from, box.hi[0] + 1.0)));
    inner.hi[0] = static_cast<int>(std::floor(std::max(to, box.lo[0] - 1.0)));
    if (inner.lo[0] > inner.hi[0])
        return;
    centre[0] = inner.Centre(0);
    half[0] = inner.Half(0);

    // Every plane dropped here is implied within the narrowed box by the
    // planes kept: it accepts the whole box, or every probe its reference
    // accepts, and a reference that is dropped accepts the whole box. Every
    // plane is copied above the top, which advances past the kept ones only.
    const std::size_t mine = m_top;
    Plane* kept = m_stack.data() + mine;
    std::size_t keptCount = 0;
    std::size_t keptLeft = 0;
    for (std::size_t c = 0; c < count; ++c)
    {
        const Plane& p = planes[c];
        const double value = rowValue[c] + p.a[0] * centre[0];
        const double spread = rowSpread[c] + std::fabs(p.a[0]) * half[0];
        const double margin = Margin(p.size);
        if (value - spread - margin > m_eps)
            return;
        const Plane* reference = references[c < facingLeft ? 0 : 1];
        const bool implied = value + spread + margin <= m_eps ||
                             (reference != nullptr && reference != &p && Follows(p, *reference, centre, half));
        kept[keptCount] = p;
        keptCount += implied ? 0 : 1;
        if (c + 1 == facingLeft)
            keptLeft = keptCount;
    }

    const long rows = static_cast<long>(box.hi[1] - box.lo[1] + 1) * (box.hi[2] - box.lo[2] + 1);
    if (keptCount == 0 || rows <= kLeafRows)
    {
        for (int z = box.lo[2]; z <= box.hi[2]; ++z)
            for (int y = box.lo[1]; y <= box.hi[1]; ++y)
            {
                int left = inner.lo[0];
                int right = inner.hi[0];
                if (RowEnds(mine, keptLeft, keptCount, y, z, left, right))
                    SetRow(y, z, left, right);
            }
        return;
    }
    const std::size_t axis = box.hi[2] - box.lo[2] > box.hi[1] - box.lo[1] ? 2 : 1;
    const int middle = box.lo[axis] + (box.hi[axis] - box.lo[axis]) / 2;
    Box lower = inner;
    Box upper = inner;
    lower.hi[axis] = middle;
    upper.lo[axis] = middle + 1;
    m_top = mine + keptCount;
    Visit(lower, mine, keptLeft, keptCount);
    Visit(upper, mine, keptLeft, keptCount);
    m_top = mine;
}
} // namespace Impl
} // namespace TOLX
