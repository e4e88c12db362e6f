// The hull's allocations: a point of up to three coordinates is one block
// (its list node, the coordinates inside it), and a construction allocates
// nothing per point it distributes, so its count of allocations does not
// follow the number of points that end up inside the hull.

#include "VornNumeric.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace
{
std::atomic<long> g_allocations{0};
} // namespace

// Both forms are replaced: a sanitizer's runtime supplies its own array form,
// which would not pass through the plain one.
void* operator new(std::size_t size)
{
    ++g_allocations;
    if (void* p = std::malloc(size == 0 ? 1 : size))
        return p;
    throw std::bad_alloc();
}

void* operator new[](std::size_t size)
{
    return operator new(size);
}

void operator delete(void* p) noexcept
{
    std::free(p);
}

void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}

void operator delete[](void* p) noexcept
{
    std::free(p);
}

void operator delete[](void* p, std::size_t) noexcept
{
    std::free(p);
}

namespace
{
TOLX::CMatrix<double> Point(std::initializer_list<double> coordinates)
{
    TOLX::CMatrix<double> p(coordinates.size(), 1);
    std::size_t i = 0;
    for (double c : coordinates)
        p(i++, 0) = c;
    return p;
}

TEST(HullAllocations, APointIsOneBlockUpToThreeCoordinates)
{
    // The list node always; a second block only for the coordinates that do
    // not fit in the matrix itself.
    const struct
    {
        std::size_t d;
        long blocks;
    } cases[] = {{2, 1}, {3, 1}, {4, 2}, {5, 2}};
    for (const auto& c : cases)
    {
        TOLX::CConvexHullComputer hull(c.d, "alloc", nullptr);
        const TOLX::CMatrix<double> p(c.d, 1);
        const long before = g_allocations;
        hull.addPoint(p);
        EXPECT_EQ(g_allocations - before, c.blocks) << "d = " << c.d;
    }
}

// The unit cube's corners and n points strictly inside it.
long AllocationsOfCubeHull(int perAxis)
{
    TOLX::CConvexHullComputer hull(3, "alloc", nullptr);
    for (int corner = 0; corner < 8; ++corner)
        hull.addPoint(Point({double(corner & 1), double((corner >> 1) & 1), double(corner >> 2)}));
    for (int i = 0; i < perAxis; ++i)
        for (int j = 0; j < perAxis; ++j)
            for (int k = 0; k < perAxis; ++k)
                hull.addPoint(Point({(i + 0.5) / perAxis, (j + 0.5) / perAxis, (k + 0.5) / perAxis}));
    const long before = g_allocations;
    hull.compute();
    const long count = g_allocations - before;
    EXPECT_EQ(hull.getVertices().size(), 8u);
    return count;
}

TEST(HullAllocations, ConstructionDoesNotAllocatePerPoint)
{
    // 1000 and 64000 inside points: working arrays may grow a few more times
    // for the larger set, which is far below one allocation per hundred of
    // its extra points.
    const long small = AllocationsOfCubeHull(10);
    const long large = AllocationsOfCubeHull(40);
    EXPECT_LT(large - small, (64000 - 1000) / 100) << small << " then " << large;
}
} // namespace
