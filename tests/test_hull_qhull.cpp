// Cross-check of the convex hull against Qhull on random point sets, some
// with duplicates: both must find the same facet planes and the same vertices.

#include "HullPoints.h"
#include "QhullPeer.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#ifdef VORN_HAVE_QHULL

using namespace HullPoints;
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

} // namespace

// Both hulls of each point set must describe the same distinct half-spaces
// and, the sets being in general position, the same vertices; on a sphere
// every point is a vertex. getVertices must list each vertex once and
// CConvexHullHelpers::GetVertices the same set. Sizes keep the whole
// comparison to a few seconds in an optimised build.
TEST(HullQhull, RandomPointsGiveQhullsPlanesAndVertices)
{
    // dimension, count, shape, seed
    const std::tuple<std::size_t, std::size_t, Shape, unsigned> cases[] = {
        {2, 5000, Shape::Ball, 21}, {2, 1000, Shape::Sphere, 22}, {3, 5000, Shape::Ball, 31}, {3, 1000, Shape::Sphere, 32},
        {4, 1000, Shape::Ball, 41}, {4, 200, Shape::Sphere, 42}, {5, 500, Shape::Ball, 51},  {5, 80, Shape::Sphere, 52},
    };
    // How many planes of a have no counterpart in the sorted b.
    const auto missing = [](const std::vector<Plane>& a, const std::vector<Plane>& b) {
        return std::count_if(a.begin(), a.end(), [&](const Plane& p) { return !ContainsNear(b, p); });
    };
    for (const auto& [dim, count, shape, seed] : cases)
        for (bool duplicated : {false, true})
        {
            SCOPED_TRACE(std::to_string(dim) + "-D, seed " + std::to_string(seed) + (duplicated ? ", duplicates" : ""));
            std::vector<double> coords = Random(dim, count, shape, seed);
            if (duplicated)
                coords = WithDuplicates(coords, dim, 3);
            CQhullRun qhull(coords, dim);
            const TOLX::CConvexHullComputer ours = Computed(Rows(coords, dim));
            EXPECT_EQ(qhull.ExitCode(), 0);
            const std::vector<Plane> mine = Equations(ours), distinctMine = Distinct(mine), theirs = Distinct(qhull.Planes());
            EXPECT_EQ(distinctMine.size(), theirs.size());
            EXPECT_EQ(missing(mine, theirs), 0) << "planes Qhull does not have";
            EXPECT_EQ(missing(theirs, distinctMine), 0) << "Qhull planes we lack";

            const std::vector<Point> listed = Flat(ours.getVertices());
            const std::set<Point> vertices(listed.begin(), listed.end());
            EXPECT_EQ(vertices.size(), listed.size()) << "getVertices listed a vertex twice";
            EXPECT_TRUE(vertices == qhull.Vertices());
            EXPECT_TRUE(shape == Shape::Ball || vertices.size() == count) << "every point on a sphere is a vertex";
            std::list<std::vector<double>> helper;
            TOLX::CConvexHullHelpers::GetVertices(helper, ours);
            EXPECT_EQ(std::set<Point>(helper.begin(), helper.end()), vertices);
        }
}

#else

TEST(HullQhull, NeedsQhull)
{
    GTEST_SKIP() << "Qhull's reentrant library (libqhull_r) was not found at configure time; "
                    "install libqhull-dev to compare the hull with it";
}

#endif
