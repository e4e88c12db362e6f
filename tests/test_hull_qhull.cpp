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

bool Near(const Plane& a, const Plane& b)
{
    for (std::size_t i = 0; i < a.size(); ++i)
        if (std::fabs(a[i] - b[i]) > kPlaneTolerance)
            return false;
    return true;
}

// Whether the planes, sorted lexicographically, hold one within the tolerance
// of p; only the narrow band whose first element is close enough is scanned.
bool ContainsNear(const std::vector<Plane>& sorted, const Plane& p)
{
    auto it = std::lower_bound(sorted.begin(), sorted.end(), Plane{p[0] - kPlaneTolerance});
    for (; it != sorted.end() && (*it)[0] <= p[0] + kPlaneTolerance; ++it)
        if (Near(*it, p))
            return true;
    return false;
}

class CPlaneSet
{
public:
    explicit CPlaneSet(std::vector<Plane> planes) : m_planes(std::move(planes))
    {
        std::sort(m_planes.begin(), m_planes.end());
    }

    // Planes within the tolerance of each other count once.
    std::size_t DistinctCount() const
    {
        std::vector<Plane> kept; // stays sorted: planes are taken in order
        for (const Plane& p : m_planes)
            if (!ContainsNear(kept, p))
                kept.push_back(p);
        return kept.size();
    }

    // The planes of this set that have no counterpart in other.
    std::vector<Plane> Missing(const CPlaneSet& other) const
    {
        std::vector<Plane> missing;
        for (const Plane& p : m_planes)
            if (!ContainsNear(other.m_planes, p))
                missing.push_back(p);
        return missing;
    }

private:
    std::vector<Plane> m_planes;
};

std::string Describe(const std::vector<Point>& rows)
{
    std::ostringstream out;
    out.precision(17);
    for (std::size_t i = 0; i < rows.size() && i < 5; ++i)
    {
        out << "\n  (";
        for (double v : rows[i])
            out << ' ' << v;
        out << " )";
    }
    if (rows.size() > 5)
        out << "\n  ... " << rows.size() << " in all";
    return out.str();
}

Point ToPoint(const CMatrix<double>& m)
{
    return Point(m.Data(), m.Data() + m.Rows() * m.Cols());
}

std::vector<Plane> OurPlanes(CConvexHullComputer& hull)
{
    std::vector<Plane> planes;
    auto b = hull.getb().begin();
    for (const CMatrix<double>& row : hull.getA())
    {
        Plane plane = ToPoint(row);
        plane.push_back(*b++);
        planes.push_back(plane);
    }
    return planes;
}

// The distinct vertices that getVertices and CConvexHullHelpers::GetVertices
// report; both walk the same facets, so they must agree on the set.
std::set<Point> OurVertices(CConvexHullComputer& hull)
{
    std::set<Point> vertices;
    const std::list<CMatrix<double>> listed = hull.getVertices();
    for (const CMatrix<double>& v : listed)
        vertices.insert(ToPoint(v));
    EXPECT_EQ(vertices.size(), listed.size()) << "getVertices listed a vertex twice";

    std::list<std::vector<double>> helper;
    TOLX::CConvexHullHelpers::GetVertices(helper, hull);
    EXPECT_EQ(std::set<Point>(helper.begin(), helper.end()), vertices)
        << "CConvexHullHelpers::GetVertices and getVertices disagree";
    return vertices;
}

std::vector<Point> Difference(const std::set<Point>& a, const std::set<Point>& b)
{
    std::vector<Point> result;
    std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(result));
    return result;
}

struct CBothHulls
{
    CBothHulls(const std::vector<double>& coords, std::size_t dim)
        : ours(dim, "hull", nullptr), qhull(coords, dim), dim(dim)
    {
        CMatrix<double> p(dim, 1);
        for (std::size_t i = 0; i < coords.size(); i += dim)
        {
            std::copy(coords.begin() + long(i), coords.begin() + long(i + dim), p.Data());
            ours.addPoint(p);
        }
        ours.compute();
    }

    CConvexHullComputer ours;
    CQhullRun qhull;
    std::size_t dim;
};

// Both hulls must describe the same set of distinct half-spaces.
void ExpectSamePlanes(CBothHulls& hulls)
{
    ASSERT_EQ(hulls.qhull.ExitCode(), 0);
    const CPlaneSet ours(OurPlanes(hulls.ours));
    const CPlaneSet theirs(hulls.qhull.Planes());
    EXPECT_EQ(ours.DistinctCount(), theirs.DistinctCount());
    const std::vector<Plane> onlyOurs = ours.Missing(theirs);
    const std::vector<Plane> onlyTheirs = theirs.Missing(ours);
    EXPECT_TRUE(onlyOurs.empty()) << "planes (normal, offset) Qhull does not have:" << Describe(onlyOurs);
    EXPECT_TRUE(onlyTheirs.empty()) << "Qhull planes (normal, offset) we lack:" << Describe(onlyTheirs);
}

// Probe points, a part of them beyond the data: isInside must agree with
// Qhull's half-spaces. isInside lets points 1e-12 outside pass; random probes
// do not come that close to a plane.
void ExpectSameInsideTest(CBothHulls& hulls, unsigned seed)
{
    const std::size_t probes = 200;
    std::vector<double> coords = HullPoints::Random(hulls.dim, probes, Shape::Ball, seed);
    for (double& c : coords)
        c *= 1.2;
    const std::vector<Plane> planes = hulls.qhull.Planes();
    CMatrix<double> p(hulls.dim, 1);
    for (std::size_t i = 0; i < probes; ++i)
    {
        const double* x = &coords[i * hulls.dim];
        bool inside = true;
        for (const Plane& plane : planes)
        {
            double s = 0.0;
            for (std::size_t j = 0; j < hulls.dim; ++j)
                s += plane[j] * x[j];
            inside = inside && s <= plane[hulls.dim];
        }
        std::copy(x, x + hulls.dim, p.Data());
        EXPECT_EQ(hulls.ours.isInside(p), inside) << "probe " << i;
    }
}

struct RandomCase
{
    std::size_t dim;
    std::size_t count;
    Shape shape;
    unsigned seed;
};

// Sizes keep the whole comparison to a few seconds in an optimised build;
// on a sphere every point is a vertex, so those sets are smaller.
const RandomCase kRandomCases[] = {
    {2, 5000, Shape::Ball, 21}, {2, 1000, Shape::Sphere, 22}, {3, 5000, Shape::Ball, 31}, {3, 1000, Shape::Sphere, 32},
    {4, 1000, Shape::Ball, 41}, {4, 200, Shape::Sphere, 42}, {5, 500, Shape::Ball, 51},  {5, 80, Shape::Sphere, 52},
};

std::string Name(const RandomCase& c, bool duplicated)
{
    std::ostringstream out;
    out << c.dim << "-D, " << c.count << " points " << (c.shape == Shape::Ball ? "in a ball" : "on a sphere")
        << ", seed " << c.seed << (duplicated ? ", every 3rd point duplicated" : "");
    return out.str();
}

// Integer points of the cube [0, n]^3: its surface only, or the whole grid.
std::vector<double> CubeGrid(int n, bool surfaceOnly)
{
    std::vector<double> coords;
    for (int x = 0; x <= n; ++x)
        for (int y = 0; y <= n; ++y)
            for (int z = 0; z <= n; ++z)
            {
                const bool onSurface = x % n == 0 || y % n == 0 || z % n == 0;
                if (onSurface || !surfaceOnly)
                    coords.insert(coords.end(), {double(x), double(y), double(z)});
            }
    return coords;
}

// Random sets are in general position: the vertex sets must be equal.
void CompareRandom(const RandomCase& c, bool duplicated)
{
    std::vector<double> coords = HullPoints::Random(c.dim, c.count, c.shape, c.seed);
    if (duplicated)
        coords = HullPoints::WithDuplicates(coords, c.dim, 3, c.seed + 1000);
    CBothHulls hulls(coords, c.dim);
    ExpectSamePlanes(hulls);

    const std::set<Point> ours = OurVertices(hulls.ours);
    const std::set<Point> theirs = hulls.qhull.Vertices();
    EXPECT_EQ(ours.size(), theirs.size());
    EXPECT_TRUE(ours == theirs) << "vertices Qhull does not have:" << Describe(Difference(ours, theirs))
                                << "\nQhull vertices we lack:" << Describe(Difference(theirs, ours));
    if (c.shape == Shape::Sphere)
    {
        EXPECT_EQ(ours.size(), c.count) << "every point on a sphere is a vertex";
    }
    ExpectSameInsideTest(hulls, c.seed + 2000);
}

// On a degenerate set the vertex lists are not unique: points inside a face
// may stay as vertices of its triangles. The six faces and the corners must
// be there, and nothing Qhull keeps may be missing from ours.
void CompareCubeGrid(const std::vector<double>& coords, int n)
{
    CBothHulls hulls(coords, 3);
    ExpectSamePlanes(hulls);
    EXPECT_EQ(CPlaneSet(OurPlanes(hulls.ours)).DistinctCount(), 6u);

    std::set<Point> corners;
    for (int i = 0; i < 8; ++i)
        corners.insert({double(i & 1) * n, double((i >> 1) & 1) * n, double((i >> 2) & 1) * n});
    const std::set<Point> ours = OurVertices(hulls.ours);
    const std::set<Point> theirs = hulls.qhull.Vertices();
    EXPECT_TRUE(Difference(corners, ours).empty()) << "corners we lack:" << Describe(Difference(corners, ours));
    EXPECT_TRUE(Difference(theirs, ours).empty()) << "Qhull vertices we lack:" << Describe(Difference(theirs, ours));
}
} // namespace

TEST(HullQhull, RandomPointsGiveQhullsPlanesAndVertices)
{
    for (const RandomCase& c : kRandomCases)
        for (bool duplicated : {false, true})
        {
            SCOPED_TRACE(Name(c, duplicated));
            EXPECT_NO_THROW(CompareRandom(c, duplicated));
        }
}

TEST(HullQhull, CubeGridGivesTheSixFacesAndKeepsQhullsVertices)
{
    const int n = 8;
    {
        SCOPED_TRACE("cube surface");
        EXPECT_NO_THROW(CompareCubeGrid(CubeGrid(n, true), n));
    }
    {
        SCOPED_TRACE("whole cube grid");
        EXPECT_NO_THROW(CompareCubeGrid(CubeGrid(n, false), n));
    }
    {
        SCOPED_TRACE("cube surface, every 2nd point duplicated");
        EXPECT_NO_THROW(CompareCubeGrid(HullPoints::WithDuplicates(CubeGrid(n, true), 3, 2, 7), n));
    }
}

#else

TEST(HullQhull, NeedsQhull)
{
    GTEST_SKIP() << "Qhull's reentrant library (libqhull_r) was not found at configure time; "
                    "install libqhull-dev to compare the hull with it";
}

#endif
