// Cross-check of the convex hull against Qhull on random point sets, some
// with duplicates: both must find the same facet planes and the same vertices.

#include "HullPoints.h"
#include "QhullPeer.h"
#include "VornNumeric.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#ifdef VORN_HAVE_QHULL

using HullPoints::Shape;
using testsupport::Point;
using Plane = std::vector<double>; // n·x <= b as the d elements of n, then b

namespace
{
// Whether the lexicographically sorted planes hold one within 1e-9 of p; only
// the band whose first element is close enough is scanned.
bool ContainsNear(const std::vector<Plane>& sorted, const Plane& p)
{
    for (auto it = std::lower_bound(sorted.begin(), sorted.end(), Plane{p[0] - 1e-9});
         it != sorted.end() && (*it)[0] <= p[0] + 1e-9; ++it)
        if (std::equal(p.begin(), p.end(), it->begin(), [](double a, double b) { return std::fabs(a - b) <= 1e-9; }))
            return true;
    return false;
}

// How many planes of a have no counterpart in the sorted b.
std::size_t MissingCount(const std::vector<Plane>& a, const std::vector<Plane>& b)
{
    return std::size_t(std::count_if(a.begin(), a.end(), [&](const Plane& p) { return !ContainsNear(b, p); }));
}

// Sorted; planes within the tolerance of each other count once.
std::vector<Plane> Distinct(std::vector<Plane> planes)
{
    std::sort(planes.begin(), planes.end());
    std::vector<Plane> kept; // stays sorted: planes are taken in order
    for (const Plane& p : planes)
        if (!ContainsNear(kept, p))
            kept.push_back(p);
    return kept;
}

// Builds both hulls of the points and checks that they describe the same
// distinct half-spaces and vertices; getVertices must list each vertex once
// and CConvexHullHelpers::GetVertices the same set. Returns how many there are.
std::size_t ExpectSameHulls(const std::vector<double>& coords, std::size_t dim)
{
    CQhullRun qhull(coords, dim);
    const TOLX::CConvexHullComputer ours = HullPoints::Computed(HullPoints::Rows(coords, dim));
    EXPECT_EQ(qhull.ExitCode(), 0);
    const std::vector<Plane> mine = HullPoints::Equations(ours), distinctMine = Distinct(mine), theirs = Distinct(qhull.Planes());
    EXPECT_EQ(distinctMine.size(), theirs.size());
    EXPECT_EQ(MissingCount(mine, theirs), 0u) << "planes Qhull does not have";
    EXPECT_EQ(MissingCount(theirs, distinctMine), 0u) << "Qhull planes we lack";

    const std::vector<Point> listed = HullPoints::Flat(ours.getVertices());
    const std::set<Point> vertices(listed.begin(), listed.end());
    EXPECT_EQ(vertices.size(), listed.size()) << "getVertices listed a vertex twice";
    EXPECT_TRUE(vertices == qhull.Vertices());
    std::list<std::vector<double>> helper;
    TOLX::CConvexHullHelpers::GetVertices(helper, ours);
    EXPECT_EQ(std::set<Point>(helper.begin(), helper.end()), vertices);
    return vertices.size();
}
} // namespace

// Random sets are in general position: the vertex sets must be equal, and on
// a sphere every point is a vertex. Sizes keep the whole comparison to a few
// seconds in an optimised build.
TEST(HullQhull, RandomPointsGiveQhullsPlanesAndVertices)
{
    // dimension, count, shape, seed
    const std::tuple<std::size_t, std::size_t, Shape, unsigned> cases[] = {
        {2, 5000, Shape::Ball, 21}, {2, 1000, Shape::Sphere, 22}, {3, 5000, Shape::Ball, 31}, {3, 1000, Shape::Sphere, 32},
        {4, 1000, Shape::Ball, 41}, {4, 200, Shape::Sphere, 42}, {5, 500, Shape::Ball, 51},  {5, 80, Shape::Sphere, 52},
    };
    for (const auto& [dim, count, shape, seed] : cases)
        for (bool duplicated : {false, true})
        {
            SCOPED_TRACE(std::to_string(dim) + "-D, seed " + std::to_string(seed) + (duplicated ? ", duplicates" : ""));
            std::vector<double> coords = HullPoints::Random(dim, count, shape, seed);
            if (duplicated)
                coords = HullPoints::WithDuplicates(coords, dim, 3, seed + 1000);
            const std::size_t vertices = ExpectSameHulls(coords, dim);
            EXPECT_TRUE(shape == Shape::Ball || vertices == count) << "every point on a sphere is a vertex";
        }
}

#else

TEST(HullQhull, NeedsQhull)
{
    GTEST_SKIP() << "Qhull's reentrant library (libqhull_r) was not found at configure time; "
                    "install libqhull-dev to compare the hull with it";
}

#endif
