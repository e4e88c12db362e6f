// Hull inputs that fuzzing found to break the construction's bookkeeping:
// neighbour slots that went on naming facets deleted in an earlier step.

#include "Matrices.h"
#include "VornNumeric.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

using testsupport::Point;

// Each input builds either with one of the construction's described failures,
// or to a hull in which every neighbour slot i of a facet is empty or names a
// facet of the hull that holds every vertex of the first but vertex i. Under
// AddressSanitizer or valgrind this also shows that no step reads a deleted
// facet.
TEST(HullRobustness, NoNeighbourSlotNamesADeletedFacet)
{
    const double a = std::ldexp(0x1.1515151ccffffp+0, 274);
    const struct
    {
        std::uint32_t seed;
        std::vector<Point> points;
    } cases[] = {
        // Coordinates of very different size (2^36 beside 2^278): the horizon
        // of a step fell apart, a hidden facet kept a deleted visible facet as
        // its neighbour, and the next step followed that pointer.
        {1633749964u,
         {{0x1.ccp+6, 0x1.ac688bep+36, -0x1.13abe64p+35},
          {std::ldexp(0x1.1515151ccffffp+0, 278), 0x1.44p+6, -0x1.b4p+6},
          {a, 0x1.91a2032251p+36, -0x1.027127dcdap+35},
          {a, 0x1.91a2032251p+36, -0x1.027127dcdap+35},
          {a, 0x1.91a2032251p+36, -0x1.027127dcdap+35},
          {0, 0, 0}}},
        // A duplicate point 1e11 away beside a point 2e-12 from the origin:
        // one step's horizon breaks, and an edge kept the deleted edge.
        {367716864u, {{0x1.ccp+6, 0x1.ac688bep+36}, {0x1.ccp+6, 0x1.ac688bep+36}, {0x1.ac688bep+36, 0}, {-0x1.359f5a7b28179p-39, 0}}},
        // Duplicates at scales from 1e-12 to 2^40: a slot kept the deleted
        // visible facet, whose object was then reused elsewhere in the hull.
        {339858170u,
         {{0, 0x1.19799812dea11p-39, 0x1.388p+16}, {3, 4, 4}, {1, 0x1.388p+15, 0}, {1, 0x1.388p+15, 0},
          {1, 0x1p+40, 0x1.19799812dea11p-39}, {1, 0x1p+40, 0x1.19799812dea11p-39}, {2, 2, 1}, {8, 0, 0},
          {0, 4, 0x1.d4cp+16}}},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.seed);
        TOLX::SeedRand15(c.seed);
        TOLX::CConvexHullComputer hull(c.points[0].size(), "regression", nullptr);
        for (const Point& p : c.points)
            hull.addPoint(testsupport::Col(p));
        testing::internal::CaptureStderr();
        std::string message;
        try
        {
            hull.compute();
        }
        catch (const TOLX::CException& e)
        {
            message = e.what();
        }
        testing::internal::GetCapturedStderr();
        if (!message.empty())
        {
            EXPECT_TRUE(message == "Trying to construct new Facets with a point that is already inside the convex hull." ||
                        message == "Unable to construct a facet.")
                << message;
            continue;
        }
        const std::list<TOLX::CFacet*>& facets = hull.GetFacets();
        EXPECT_FALSE(facets.empty());
        for (const TOLX::CFacet* f : facets)
            for (std::size_t i = 0; i < f->getNeighbours().size(); ++i)
            {
                const TOLX::CFacet* g = f->getNeighbours()[i];
                ASSERT_TRUE(g == nullptr || std::find(facets.begin(), facets.end(), g) != facets.end());
                for (std::size_t j = 0; g && j < f->getVertices().Cols(); ++j)
                    EXPECT_TRUE(j == i || g->hasVertex(f->getVertices().GetCol(j))) << "slot " << i << ", vertex " << j;
            }
    }
}
