#include "VornNumeric.h"
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using TOLX::RootsOfPolynom1stOrder;
using TOLX::RootsOfPolynom2ndOrder;
using TOLX::RootsOfPolynom3rdOrder;
using TOLX::RootsOfPolynom4thOrder;

namespace
{
constexpr double kEps = 0x1p-52;

void ExpectRoots(const std::vector<double>& actual, const std::vector<double>& expected, double tolerance = 1e-12)
{
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_NEAR(actual[i], expected[i], tolerance) << "root " << i;
}

void ExpectAllNaN(const std::vector<double>& roots, std::size_t count)
{
    ASSERT_EQ(roots.size(), count);
    for (const double root : roots)
        EXPECT_TRUE(std::isnan(root));
}
} // namespace

TEST(Roots, LinearAndQuadraticInFormulaOrder)
{
    EXPECT_TRUE(RootsOfPolynom1stOrder(0, 5).empty());
    EXPECT_TRUE(RootsOfPolynom1stOrder(1e-17, 1).empty());
    EXPECT_TRUE(RootsOfPolynom1stOrder(0, 0).empty());
    ExpectRoots(RootsOfPolynom1stOrder(2, -4), {2});

    ExpectRoots(RootsOfPolynom2ndOrder(1, -3, 2), {2, 1});
    ExpectRoots(RootsOfPolynom2ndOrder(-1, 3, -2), {1, 2});
    ExpectRoots(RootsOfPolynom2ndOrder(1, 2, 1), {-1});
    EXPECT_TRUE(RootsOfPolynom2ndOrder(1, 0, 1).empty());
    ExpectRoots(RootsOfPolynom2ndOrder(0, 2, -4), {2});
}

TEST(Roots, QuadraticDiscriminantBoundaries)
{
    // x^2 - eps/4: D is exactly eps, which still counts as two roots.
    ExpectRoots(RootsOfPolynom2ndOrder(1, 0, -kEps / 4), {0x1p-27, -0x1p-27}, 0);
    // Half of that: 0 <= D < eps collapses to the one root -b/2a.
    ExpectRoots(RootsOfPolynom2ndOrder(1, 0, -kEps / 8), {0}, 0);
    EXPECT_TRUE(RootsOfPolynom2ndOrder(1, 0, 1e-300).empty());
}

TEST(Roots, CubicBranches)
{
    // Roots 1, 2, 3 through the trigonometric form: 2 + (2/sqrt 3) cos(pi/6 + 2 pi i/3).
    ExpectRoots(RootsOfPolynom3rdOrder(1, -6, 11, -6), {3, 1, 2});
    ExpectRoots(RootsOfPolynom3rdOrder(2, -12, 22, -12), {3, 1, 2});
    ExpectRoots(RootsOfPolynom3rdOrder(1, 0, 0, -8), {2});
    ExpectRoots(RootsOfPolynom3rdOrder(0, 1, -3, 2), {2, 1});
    ExpectAllNaN(RootsOfPolynom3rdOrder(1, 0, 0, 0), 3);
}

TEST(Roots, CubicDiscriminantBoundaries)
{
    // x^3 + d: D = (d/2)^2. Above eps Cardano gives the one root -cbrt(d) ...
    ExpectRoots(RootsOfPolynom3rdOrder(1, 0, 0, 0x1p-24), {-0x1p-8}, 1e-17);
    // ... but a positive D below eps takes the trigonometric form, where
    // acos(-inf) is NaN.
    ExpectAllNaN(RootsOfPolynom3rdOrder(1, 0, 0, 0x1p-26), 3);
    // x^3 - 0.75 x + q with q/2 chosen so that (q/2)^2 - 1/64 is exactly eps:
    // the double-root form, (x - 1/2)^2 (x + 1) up to rounding.
    const double q = 0x1.0000000000020p-2;
    ExpectRoots(RootsOfPolynom3rdOrder(1, 0, -0.75, q), {-1, 0.5}, 1e-9);
    ExpectRoots(RootsOfPolynom3rdOrder(1, 0, -0.75, -q), {1, -0.5}, 1e-9);
    // Same D with p == 0: the single shift value.
    ExpectRoots(RootsOfPolynom3rdOrder(1, 0, 0, 0x1p-25), {0}, 0);
}

TEST(Roots, QuarticOverEveryResolventRoot)
{
    // x^4 - 5x^2 + 4 = (x^2 - 1)(x^2 - 4); resolvent roots 7, 2.5, 3 in this order.
    const std::vector<double> roots = RootsOfPolynom4thOrder(1, 0, -5, 0, 4);
    ASSERT_EQ(roots.size(), 12u);
    const double fromSeven[] = {-2, -1, 1, 2};
    const double fromThree[] = {-2, 1, -1, 2};
    for (int i = 0; i < 4; ++i)
    {
        EXPECT_NEAR(roots[i], fromSeven[i], 1e-12) << i;
        EXPECT_NEAR(roots[8 + i], fromThree[i], 1e-12) << i;
        // At z = 2.5 the root w of 2z + p vanishes: NaN or (+-sqrt(10) +- w)/2.
        const double degenerate = roots[4 + i];
        if (!std::isnan(degenerate))
        {
            EXPECT_NEAR(std::fabs(degenerate), std::sqrt(10.0) / 2, 1e-6) << i;
        }
    }
}

TEST(Roots, QuarticRepeatsRootsAndFallsBack)
{
    const std::vector<double> roots = RootsOfPolynom4thOrder(1, -10, 35, -50, 24);
    for (const double expected : {1.0, 2.0, 3.0, 4.0})
    {
        int hits = 0;
        for (const double root : roots)
            hits += std::fabs(root - expected) < 1e-9;
        EXPECT_GE(hits, 2) << expected;
    }
    ExpectRoots(RootsOfPolynom4thOrder(0, 1, -6, 11, -6), RootsOfPolynom3rdOrder(1, -6, 11, -6), 0);
    ExpectRoots(RootsOfPolynom4thOrder(1e-17, 0, 1, -3, 2), {2, 1});
    EXPECT_TRUE(RootsOfPolynom4thOrder(0, 0, 0, 0, 0).empty());
}
