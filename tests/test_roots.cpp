#include "VornNumeric.h"
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <tuple>
#include <vector>

using namespace TOLX;
using Roots = std::vector<double>;

namespace
{
constexpr double kEps = 0x1p-52;
const double kNaN = std::nan("");

// The roots in the order the formulas give them; NaN expects NaN.
void ExpectRoots(const Roots& actual, const Roots& expected, double tolerance)
{
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
        if (std::isnan(expected[i]))
            EXPECT_TRUE(std::isnan(actual[i])) << "root " << i;
        else
            EXPECT_NEAR(actual[i], expected[i], tolerance) << "root " << i;
}
} // namespace

TEST(Roots, FormulaOrderAndDiscriminantBoundaries)
{
    // x^3 - 0.75 x + q with q/2 chosen so that (q/2)^2 - 1/64 is exactly eps.
    const double q = 0x1.0000000000020p-2;
    const std::tuple<Roots, Roots, double> cases[] = {
        {RootsOfPolynom1stOrder(0, 5), {}, 0},
        {RootsOfPolynom1stOrder(1e-17, 1), {}, 0},
        {RootsOfPolynom1stOrder(2, -4), {2}, 0},
        {RootsOfPolynom2ndOrder(1, -3, 2), {2, 1}, 1e-12},
        {RootsOfPolynom2ndOrder(-1, 3, -2), {1, 2}, 1e-12},
        {RootsOfPolynom2ndOrder(1, 2, 1), {-1}, 1e-12},
        {RootsOfPolynom2ndOrder(1, 0, 1), {}, 0},
        {RootsOfPolynom2ndOrder(0, 2, -4), {2}, 1e-12},
        // x^2 - eps/4: D is exactly eps, still two roots; half of that
        // (0 <= D < eps) collapses to the one root -b/2a.
        {RootsOfPolynom2ndOrder(1, 0, -kEps / 4), {0x1p-27, -0x1p-27}, 0},
        {RootsOfPolynom2ndOrder(1, 0, -kEps / 8), {0}, 0},
        {RootsOfPolynom2ndOrder(1, 0, 1e-300), {}, 0},
        // Roots 1, 2, 3 in the trigonometric form: 2 + (2/sqrt 3) cos(pi/6 + 2 pi i/3).
        {RootsOfPolynom3rdOrder(2, -12, 22, -12), {3, 1, 2}, 1e-12},
        {RootsOfPolynom3rdOrder(1, 0, 0, -8), {2}, 1e-12},
        {RootsOfPolynom3rdOrder(0, 1, -3, 2), {2, 1}, 1e-12},
        {RootsOfPolynom3rdOrder(1, 0, 0, 0), {kNaN, kNaN, kNaN}, 0},
        // x^3 + d: D = (d/2)^2. Above eps Cardano gives the one root -cbrt(d),
        // a positive D below eps takes the trigonometric form, where acos(-inf)
        // is NaN; with D exactly eps the double-root form, (x - 1/2)^2 (x + 1)
        // up to rounding, or with p == 0 the single shift value.
        {RootsOfPolynom3rdOrder(1, 0, 0, 0x1p-24), {-0x1p-8}, 1e-17},
        {RootsOfPolynom3rdOrder(1, 0, 0, 0x1p-26), {kNaN, kNaN, kNaN}, 0},
        {RootsOfPolynom3rdOrder(1, 0, -0.75, q), {-1, 0.5}, 1e-9},
        {RootsOfPolynom3rdOrder(1, 0, -0.75, -q), {1, -0.5}, 1e-9},
        {RootsOfPolynom3rdOrder(1, 0, 0, 0x1p-25), {0}, 0},
        // Quartics fall back to lower orders below the coefficient bound.
        {RootsOfPolynom4thOrder(0, 1, -6, 11, -6), {3, 1, 2}, 1e-12},
        {RootsOfPolynom4thOrder(1e-17, 0, 1, -3, 2), {2, 1}, 1e-12},
        {RootsOfPolynom4thOrder(0, 0, 0, 0, 0), {}, 0},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i)
    {
        SCOPED_TRACE(i);
        ExpectRoots(std::get<0>(cases[i]), std::get<1>(cases[i]), std::get<2>(cases[i]));
    }
}

// Four roots per resolvent root, over all three of them.
TEST(Roots, QuarticOverEveryResolventRoot)
{
    // x^4 - 5x^2 + 4 = (x^2 - 1)(x^2 - 4); resolvent roots 7, 2.5, 3 in this
    // order. At z = 2.5 the root w of 2z + p vanishes: NaN or (+-sqrt(10) +- w)/2.
    const Roots roots = RootsOfPolynom4thOrder(1, 0, -5, 0, 4);
    ASSERT_EQ(roots.size(), 12u);
    ExpectRoots(Roots(roots.begin(), roots.begin() + 4), {-2, -1, 1, 2}, 1e-12);
    ExpectRoots(Roots(roots.begin() + 8, roots.end()), {-2, 1, -1, 2}, 1e-12);
    for (int i = 4; i < 8; ++i)
        EXPECT_TRUE(std::isnan(roots[i]) || std::fabs(std::fabs(roots[i]) - std::sqrt(10.0) / 2) < 1e-6) << i;
    // Every root of (x-1)(x-2)(x-3)(x-4) appears at least twice.
    const Roots four = RootsOfPolynom4thOrder(1, -10, 35, -50, 24);
    for (const double expected : {1.0, 2.0, 3.0, 4.0})
        EXPECT_GE(std::count_if(four.begin(), four.end(), [&](double r) { return std::fabs(r - expected) < 1e-9; }), 2)
            << expected;
}
