// Cross-check of the convex hull against Qhull on random and degenerate point
// sets: both must find the same facet planes and the same vertices.

#include "HullPoints.h"
#include "QhullPeer.h"
#include "VornNumeric.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <list>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#ifdef VORN_HAVE_QHULL

using HullPoints::Shape;
using TOLX::CConvexHullComputer;
using TOLX::CMatrix;

namespace
{
// A half-space n·x <= b stored as the d elements of n followed by b.
using Plane = std::vector<double>;
using Point = std::vector<double>;

const double kPlaneTolerance = 1e-9;

// Whether the lexicographically sorted planes hold one within the tolerance
// of p; only the narrow band whose first element is close enough is scanned.
bool ContainsNear(const std::vector<Plane>& sorted, const Plane& p)
{
    for (auto it = std::lower_bound(sorted.begin(), sorted.end(), Plane{p[0] - kPlaneTolerance});
         it != sorted.end() && (*it)[0] <= p[0] + kPlaneTolerance; ++it)
        if (std::equal(p.begin(), p.end(), it->begin(),
                       [](double a, double b) { return std::fabs(a - b) <= kPlaneTolerance; }))
            return true;
    return false;
}

// The planes of a (sorted) that have no counterpart in b.
std::vector<Plane> Missing(const std::vector<Plane>& a, const std::vector<Plane>& b)
{
    std::vector<Plane> missing;
    std::copy_if(a.begin(), a.end(), std::back_inserter(missing), [&](const Plane& p) { return !ContainsNear(b, p); });
    return missing;
}

// Planes within the tolerance of each other count once.
std::size_t DistinctCount(const std::vector<Plane>& sorted)
{
    std::vector<Plane> kept; // stays sorted: planes are taken in order
    for (const Plane& p : sorted)
        if (!ContainsNear(kept, p))
            kept.push_back(p);
    return kept.size();
}

std::vector<Plane> Sorted(std::vector<Plane> planes)
{
    std::sort(planes.begin(), planes.end());
    return planes;
}

// The first rows of a list of points or planes, for failure messages.
template <class Rows>
std::string Describe(const Rows& rows)
{
    std::ostringstream out;
    out.precision(17);
    std::size_t shown = 0;
    for (const auto& row : rows)
    {
        if (shown++ == 5)
        {
            out << "\n  ... " << rows.size() << " in all";
            break;
        }
        out << "\n  (";
        for (double v : row)
            out << ' ' << v;
        out << " )";
    }
    return out.str();
}

Point ToPoint(const CMatrix<double>& m) { return Point(m.Data(), m.Data() + m.Rows() * m.Cols()); }

std::vector<Point> Difference(const std::set<Point>& a, const std::set<Point>& b)
{
    std::vector<Point> result;
    std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(result));
    return result;
}

struct CBothHulls
{
    CBothHulls(const std::vector<double>& coords, std::size_t dim) : ours(dim, "hull", nullptr), qhull(coords, dim)
    {
        CMatrix<double> p(dim, 1);
        for (std::size_t i = 0; i < coords.size(); i += dim)
        {
            std::copy(coords.begin() + long(i), coords.begin() + long(i + dim), p.Data());
            ours.addPoint(p);
        }
        ours.compute();
    }

    std::vector<Plane> OurPlanes() const
    {
        std::vector<Plane> planes;
        auto b = ours.getb().begin();
        for (const CMatrix<double>& row : ours.getA())
        {
            planes.push_back(ToPoint(row));
            planes.back().push_back(*b++);
        }
        return Sorted(planes);
    }

    // The distinct vertices that getVertices and CConvexHullHelpers::GetVertices
    // report; both walk the same facets, so they must agree on the set.
    std::set<Point> OurVertices() const
    {
        std::set<Point> vertices;
        const std::list<CMatrix<double>> listed = ours.getVertices();
        for (const CMatrix<double>& v : listed)
            vertices.insert(ToPoint(v));
        EXPECT_EQ(vertices.size(), listed.size()) << "getVertices listed a vertex twice";
        std::list<std::vector<double>> helper;
        TOLX::CConvexHullHelpers::GetVertices(helper, ours);
        EXPECT_EQ(std::set<Point>(helper.begin(), helper.end()), vertices)
            << "CConvexHullHelpers::GetVertices and getVertices disagree";
        return vertices;
    }

    // Both hulls must describe the same set of distinct half-spaces.
    void ExpectSamePlanes()
    {
        ASSERT_EQ(qhull.ExitCode(), 0);
        const std::vector<Plane> mine = OurPlanes(), theirs = Sorted(qhull.Planes());
        EXPECT_EQ(DistinctCount(mine), DistinctCount(theirs));
        EXPECT_TRUE(Missing(mine, theirs).empty()) << "planes Qhull does not have:" << Describe(Missing(mine, theirs));
        EXPECT_TRUE(Missing(theirs, mine).empty()) << "Qhull planes we lack:" << Describe(Missing(theirs, mine));
    }

    CConvexHullComputer ours;
    CQhullRun qhull;
};

// Probe points, a part of them beyond the data: isInside must agree with
// Qhull's half-spaces. isInside lets points 1e-12 outside pass; random probes
// do not come that close to a plane.
void ExpectSameInsideTest(CBothHulls& hulls, std::size_t dim, unsigned seed)
{
    const std::size_t probes = 200;
    const std::vector<double> coords = HullPoints::Random(dim, probes, Shape::Ball, seed);
    const std::vector<Plane> planes = hulls.qhull.Planes();
    CMatrix<double> p(dim, 1);
    for (std::size_t i = 0; i < probes; ++i)
    {
        for (std::size_t j = 0; j < dim; ++j)
            p(j, 0) = 1.2 * coords[i * dim + j];
        const bool inside = std::all_of(planes.begin(), planes.end(), [&](const Plane& plane) {
            double s = 0.0;
            for (std::size_t j = 0; j < dim; ++j)
                s += plane[j] * p(j, 0);
            return s <= plane[dim];
        });
        EXPECT_EQ(hulls.ours.isInside(p), inside) << "probe " << i;
    }
}

// Integer points of the cube [0, n]^3: its surface only, or the whole grid.
std::vector<double> CubeGrid(int n, bool surfaceOnly)
{
    std::vector<double> coords;
    for (int i = 0; i < (n + 1) * (n + 1) * (n + 1); ++i)
    {
        const int x = i / ((n + 1) * (n + 1)), y = i / (n + 1) % (n + 1), z = i % (n + 1);
        if (!surfaceOnly || x % n == 0 || y % n == 0 || z % n == 0)
            coords.insert(coords.end(), {double(x), double(y), double(z)});
    }
    return coords;
}
} // namespace

// Random sets are in general position: the vertex sets must be equal, and on
// a sphere every point is a vertex. Sizes keep the whole comparison to a few
// seconds in an optimised build; sphere sets are smaller.
TEST(HullQhull, RandomPointsGiveQhullsPlanesAndVertices)
{
    struct Case
    {
        std::size_t dim, count;
        Shape shape;
        unsigned seed;
    };
    const Case cases[] = {
        {2, 5000, Shape::Ball, 21}, {2, 1000, Shape::Sphere, 22}, {3, 5000, Shape::Ball, 31}, {3, 1000, Shape::Sphere, 32},
        {4, 1000, Shape::Ball, 41}, {4, 200, Shape::Sphere, 42}, {5, 500, Shape::Ball, 51},  {5, 80, Shape::Sphere, 52},
    };
    for (const Case& c : cases)
        for (bool duplicated : {false, true})
        {
            SCOPED_TRACE(std::to_string(c.dim) + "-D, " + std::to_string(c.count) +
                         (c.shape == Shape::Ball ? " in a ball" : " on a sphere") + ", seed " + std::to_string(c.seed) +
                         (duplicated ? ", every 3rd point duplicated" : ""));
            std::vector<double> coords = HullPoints::Random(c.dim, c.count, c.shape, c.seed);
            if (duplicated)
                coords = HullPoints::WithDuplicates(coords, c.dim, 3, c.seed + 1000);
            CBothHulls hulls(coords, c.dim);
            hulls.ExpectSamePlanes();
            const std::set<Point> ours = hulls.OurVertices(), theirs = hulls.qhull.Vertices();
            EXPECT_TRUE(ours == theirs) << "vertices Qhull does not have:" << Describe(Difference(ours, theirs))
                                        << "\nQhull vertices we lack:" << Describe(Difference(theirs, ours));
            if (c.shape == Shape::Sphere)
            {
                EXPECT_EQ(ours.size(), c.count) << "every point on a sphere is a vertex";
            }
            ExpectSameInsideTest(hulls, c.dim, c.seed + 2000);
        }
}

// On a degenerate set the vertex lists are not unique: points inside a face
// may stay as vertices of its triangles. The six faces and the corners must
// be there, and nothing Qhull keeps may be missing from ours.
TEST(HullQhull, CubeGridGivesTheSixFacesAndKeepsQhullsVertices)
{
    const int n = 8;
    const std::pair<std::vector<double>, const char*> cases[] = {
        {CubeGrid(n, true), "cube surface"},
        {CubeGrid(n, false), "whole cube grid"},
        {HullPoints::WithDuplicates(CubeGrid(n, true), 3, 2, 7), "cube surface, every 2nd point duplicated"},
    };
    std::set<Point> corners;
    for (int i = 0; i < 8; ++i)
        corners.insert({double(i & 1) * n, double((i >> 1) & 1) * n, double((i >> 2) & 1) * n});
    for (const auto& [coords, name] : cases)
    {
        SCOPED_TRACE(name);
        CBothHulls hulls(coords, 3);
        hulls.ExpectSamePlanes();
        EXPECT_EQ(DistinctCount(hulls.OurPlanes()), 6u);
        const std::set<Point> ours = hulls.OurVertices(), theirs = hulls.qhull.Vertices();
        EXPECT_TRUE(Difference(corners, ours).empty()) << "corners we lack:" << Describe(Difference(corners, ours));
        EXPECT_TRUE(Difference(theirs, ours).empty()) << "Qhull vertices we lack:" << Describe(Difference(theirs, ours));
    }
}

#else

TEST(HullQhull, NeedsQhull)
{
    GTEST_SKIP() << "Qhull's reentrant library (libqhull_r) was not found at configure time; "
                    "install libqhull-dev to compare the hull with it";
}

#endif
