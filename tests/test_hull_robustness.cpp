// Hull inputs that fuzzing found to break the construction's bookkeeping:
// neighbour slots that went on naming facets deleted in an earlier step.

#include "VornNumeric.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace
{
using Point = std::vector<double>;

// Builds the hull: either one of the construction's described failures, or
// a hull in which no facet names a neighbour that is not one of its facets.
// Under AddressSanitizer or valgrind this also shows that no step reads a
// deleted facet.
void ExpectNoStaleNeighbours(std::size_t d, std::uint32_t seed, const std::vector<Point>& points)
{
    TOLX::SeedRand15(seed);
    TOLX::CConvexHullComputer hull(d, "regression", nullptr);
    for (const Point& p : points)
    {
        TOLX::CMatrix<double> m(d, 1);
        std::copy(p.begin(), p.end(), m.Data());
        hull.addPoint(m);
    }
    testing::internal::CaptureStderr();
    try
    {
        hull.compute();
    }
    catch (const TOLX::CException& e)
    {
        testing::internal::GetCapturedStderr();
        const std::string message = e.what();
        EXPECT_TRUE(message == "Trying to construct new Facets with a point that is already inside the convex hull." ||
                    message == "Unable to construct a facet.")
            << message;
        return;
    }
    testing::internal::GetCapturedStderr();
    const std::list<TOLX::CFacet*>& facets = hull.GetFacets();
    EXPECT_FALSE(facets.empty());
    for (const TOLX::CFacet* f : facets)
        for (const TOLX::CFacet* g : f->getNeighbours())
            EXPECT_TRUE(g == nullptr || std::find(facets.begin(), facets.end(), g) != facets.end());
}
} // namespace

TEST(HullRobustness, DeletedFacetsAreNoLongerNeighbours)
{
    // Coordinates of very different size (2^36 beside 2^278): in an earlier
    // construction the horizon of a step fell apart, a hidden facet kept a
    // deleted visible facet as its neighbour, and the next step followed
    // that pointer.
    const double a = std::ldexp(0x1.1515151ccffffp+0, 274);
    const std::vector<Point> points = {
        {0x1.ccp+6, 0x1.ac688bep+36, -0x1.13abe64p+35},
        {std::ldexp(0x1.1515151ccffffp+0, 278), 0x1.44p+6, -0x1.b4p+6},
        {a, 0x1.91a2032251p+36, -0x1.027127dcdap+35},
        {a, 0x1.91a2032251p+36, -0x1.027127dcdap+35},
        {a, 0x1.91a2032251p+36, -0x1.027127dcdap+35},
        {0, 0, 0},
    };
    ExpectNoStaleNeighbours(3, 1633749964u, points);
}

TEST(HullRobustness, NoNeighbourOutsideTheHullAfterABrokenHorizon)
{
    // A duplicate point 1e11 away beside a point 2e-12 from the origin: one
    // step's horizon breaks, and an edge kept the deleted edge as neighbour.
    const std::vector<Point> points = {
        {0x1.ccp+6, 0x1.ac688bep+36},
        {0x1.ccp+6, 0x1.ac688bep+36},
        {0x1.ac688bep+36, 0},
        {-0x1.359f5a7b28179p-39, 0},
    };
    ExpectNoStaleNeighbours(2, 367716864u, points);
}
