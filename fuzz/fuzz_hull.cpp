// Convex hulls of small point sets in 2..5 dimensions, with duplicates,
// collinear and coplanar subsets, huge, tiny and non-finite coordinates.
// Either compute() fails with one of the hull's own messages, or the hull
// holds every input point, its equations are unit normals and its vertices
// are input points. A computer left mid-step by an exception is destroyed
// like any other (the leak checker watches it).

#include "FuzzInput.h"
#include "VornNumeric.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <list>
#include <string>
#include <vector>

namespace
{
using Point = std::vector<double>;

// The messages compute() may raise; "%1" stands for a decimal number.
const char* const kHullMessages[] = {
    "Will not be able to find any affinely independentpoints. Pointset contains only %1 points.",
    "Could not find any affinely independent points. Maybe your data form an affine subspace.",
    "Trying to construct new Facets with a point that is already inside the convex hull.",
    "Unable to construct a facet.",
    "Cannot add a neighbor to facet with only %1 common vertices.",
    "f has vertex p",
};

// text equals pattern with "%1" standing for one non-negative decimal number.
bool MatchesPattern(const std::string& text, const std::string& pattern)
{
    const std::size_t at = pattern.find("%1");
    if (at == std::string::npos)
        return text == pattern;
    const std::string tail = pattern.substr(at + 2);
    if (text.size() <= at + tail.size() || text.compare(0, at, pattern, 0, at) != 0 ||
        text.compare(text.size() - tail.size(), tail.size(), tail) != 0)
        return false;
    const std::string number = text.substr(at, text.size() - at - tail.size());
    return std::all_of(number.begin(), number.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool IsHullMessage(const std::string& text)
{
    return std::any_of(std::begin(kHullMessages), std::end(kHullMessages),
                       [&](const char* pattern) { return MatchesPattern(text, pattern); });
}

bool SameNumber(double a, double b)
{
    return a == b || (std::isnan(a) && std::isnan(b));
}

// Mostly plain numbers, sometimes one of a few repeated values, so that
// points share coordinates and fall on common lines and planes; on the grid
// small integers only.
double Coordinate(FuzzInput& in, bool grid)
{
    static const double kShared[] = {0.0, 1.0, -1.0, 0.5, 1e-13, 1e9};
    if (grid)
        return static_cast<double>(static_cast<std::int8_t>(in.Byte()) / 2);
    if (in.Byte() % 4 == 0)
        return kShared[in.Below(6)];
    return in.Number();
}

std::vector<Point> DecodePoints(FuzzInput& in, std::size_t d, bool grid)
{
    const std::size_t count = in.Below(65);
    std::vector<Point> points;
    for (std::size_t k = 0; k < count && !in.Empty(); ++k)
    {
        Point p(d);
        const unsigned kind = in.Byte() % 8;
        if (kind == 0 && !points.empty())
            p = points[in.Below(static_cast<unsigned>(points.size()))]; // duplicate
        else if (kind == 1 && points.size() >= 2)
        {
            // On the line through two earlier points.
            const Point& a = points[in.Below(static_cast<unsigned>(points.size()))];
            const Point& b = points[in.Below(static_cast<unsigned>(points.size()))];
            const double t = static_cast<double>(static_cast<std::int8_t>(in.Byte())) / (grid ? 64.0 : 16.0);
            for (std::size_t i = 0; i < d; ++i)
                p[i] = a[i] + t * (b[i] - a[i]);
        }
        else
        {
            for (double& x : p)
                x = Coordinate(in, grid);
            if (kind == 2)
                p[d - 1] = 0.0; // on a common hyperplane
        }
        points.push_back(p);
    }
    return points;
}

// Four distinct points on one plane, or three on one line. A facet through
// three collinear points has no unique normal, and a new facet whose
// reference point lies on its own plane has no defined side; in both cases
// the construction goes on from what the decomposition offers. The test is
// exact: grid coordinates are small integers.
bool HasCoplanarQuadruple(std::vector<Point> points)
{
    std::sort(points.begin(), points.end());
    points.erase(std::unique(points.begin(), points.end()), points.end());
    const std::size_t n = points.size();
    const auto minus = [](const Point& p, const Point& q) { return Point{p[0] - q[0], p[1] - q[1], p[2] - q[2]}; };
    for (std::size_t a = 0; a < n; ++a)
        for (std::size_t b = a + 1; b < n; ++b)
            for (std::size_t c = b + 1; c < n; ++c)
            {
                const Point u = minus(points[b], points[a]), v = minus(points[c], points[a]);
                const Point normal{u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
                if (normal == Point{0, 0, 0})
                    return true;
                for (std::size_t e = c + 1; e < n; ++e)
                {
                    const Point w = minus(points[e], points[a]);
                    if (normal[0] * w[0] + normal[1] * w[1] + normal[2] * w[2] == 0)
                        return true;
                }
            }
    return false;
}

// Small integer coordinates in the plane or in space. There a point is
// either on a facet's plane or clearly (by more than 1e-6) off it, and the
// rounding of the facet equations stays far below that, so every decision
// of the construction is the exact one. Elsewhere the absolute tolerance
// 1e-12 of the described algorithm can decide inconsistently: with points
// 1e-11 apart beside points 100 apart, a facet through the close pair may
// be built while a far vertex lies above its plane (see docs/robustness.md).
// In space, three collinear or four coplanar points can make a facet whose
// normal or side is not that of the hull, and the described construction
// goes on from it (docs/robustness.md); such inputs are left out too.
bool IsGrid(const std::vector<Point>& points, std::size_t d)
{
    if (d > 3)
        return false;
    for (const Point& p : points)
        for (double x : p)
            if (!(std::fabs(x) <= 64.0 && x == std::floor(x)))
                return false;
    return d == 2 || !HasCoplanarQuadruple(points);
}

// Coordinates whose facet normals the published SVD routine computes without
// overflow or underflow: zero, or between 2^-400 and 2^400 in magnitude. A
// subnormal coordinate makes a pivot's reciprocal overflow, and the normal
// then holds infinities (docs/robustness.md).
bool IsModerate(const std::vector<Point>& points)
{
    for (const Point& p : points)
        for (double x : p)
            if (!(x == 0.0 || (std::fabs(x) >= 0x1p-400 && std::fabs(x) <= 0x1p400)))
                return false;
    return true;
}

TOLX::CMatrix<double> Column(const Point& p)
{
    TOLX::CMatrix<double> m(p.size(), 1);
    std::copy(p.begin(), p.end(), m.Data());
    return m;
}

void CheckHull(const TOLX::CConvexHullComputer& hull, const std::vector<Point>& points, std::size_t d)
{
    FUZZ_CHECK(hull.getA().size() == hull.getb().size());

    // Neighbour slots name facets of the hull or nothing.
    const std::list<TOLX::CFacet*>& facets = hull.GetFacets();
    for (const TOLX::CFacet* f : facets)
        for (const TOLX::CFacet* g : f->getNeighbours())
            FUZZ_CHECK(g == nullptr || std::find(facets.begin(), facets.end(), g) != facets.end());

    if (IsModerate(points))
        for (const TOLX::CMatrix<double>& row : hull.getA())
        {
            FUZZ_CHECK(row.Rows() == 1 && row.Cols() == d);
            double norm = 0.0;
            for (std::size_t i = 0; i < d; ++i)
                norm += row(0, i) * row(0, i);
            FUZZ_CHECK(std::fabs(std::sqrt(norm) - 1.0) <= 1e-9);
        }

    if (IsGrid(points, d))
        for (const Point& p : points)
        {
            // Rounding may put a point on a facet's plane up to ~1e-13 above it.
            auto b = hull.getb().begin();
            for (const TOLX::CMatrix<double>& row : hull.getA())
            {
                double s = 0.0;
                for (std::size_t i = 0; i < d; ++i)
                    s += row(0, i) * p[i];
                FUZZ_CHECK(s - *b++ <= 1e-9);
            }
        }

    // With exactly d points the draw of the start simplex leaves its last
    // column as the zero point it was prepared with, which may then become a
    // vertex.
    std::vector<Point> candidates = points;
    if (points.size() == d)
        candidates.emplace_back(d, 0.0);
    const auto isInput = [&](const TOLX::CMatrix<double>& v) {
        return std::any_of(candidates.begin(), candidates.end(), [&](const Point& p) {
            for (std::size_t i = 0; i < d; ++i)
                if (!SameNumber(v(i, 0), p[i]))
                    return false;
            return true;
        });
    };
    for (const TOLX::CMatrix<double>& v : hull.getVertices())
    {
        FUZZ_CHECK(v.Rows() == d && v.Cols() == 1);
        FUZZ_CHECK(isInput(v));
    }
    std::list<std::vector<double>> vertices;
    TOLX::CConvexHullHelpers::GetVertices(vertices, hull);
    for (const std::vector<double>& v : vertices)
    {
        FUZZ_CHECK(v.size() == d);
        FUZZ_CHECK(isInput(Column(v)));
    }
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // Failing neighbour links print both faces, null neighbours warn.
    Silence(std::cout);
    Silence(std::cerr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput in(data, size);
    const std::size_t d = 2 + in.Byte() % 4;
    TOLX::SeedRand15(in.Raw<std::uint32_t>());
    const unsigned flags = in.Byte();
    const bool assignAfter = flags % 2 == 0;
    const bool grid = flags & 2;
    const std::vector<Point> points = DecodePoints(in, d, grid);

    TOLX::CConvexHullComputer hull(d, "fuzz", nullptr);
    for (const Point& p : points)
        hull.addPoint(Column(p));
    bool computed = false;
    try
    {
        hull.compute();
        computed = true;
    }
    catch (const TOLX::CException& e)
    {
        FUZZ_CHECK(IsHullMessage(e.what()));
    }
    if (computed)
        CheckHull(hull, points, d);

    // Sharing the facets with a second computer, finished or left mid-step,
    // must still free every facet exactly once.
    if (assignAfter)
    {
        TOLX::CConvexHullComputer other(d, "copy", nullptr);
        other = hull;
        FUZZ_CHECK(other.getA().size() == hull.getA().size());
    }
    return 0;
}
