// Geometric primitives, distances, intersections and projection in 3-space,
// and the roots of the polynomials that the distances solve.

#include "ExpectThrow.h"
#include "Numeric/TripleArithmetic.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <tuple>
#include <vector>

using namespace TOLX;
using namespace TOLX::Geometry;
using Roots = std::vector<double>;

namespace
{
using T3 = CTriple<double>;
constexpr double kEps = 0x1p-52;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
const char* const kHeader = "src/Numeric/TripleGeometry.h";
const char* const kSource = "src/Numeric/TripleGeometry.cpp";
const char* const kNotNormalPlane = "Plane normal vector needs to be normalized!";
const char* const kNotNormalLine = "Line direction needs to be normalized!";
const char* const kParallel = "Plane and Line are parallel -> no intersection";
const char* const kPlaneCtor = "TOLX::Geometry::CPlane::CPlane";
const char* const kLineCtor = "TOLX::Geometry::CLine::CLine";
const char* const kLambda = "TOLX::Geometry::CLine::LambdaOfIntersectionWithPlane";
const T3 kX(1, 0, 0), kY(0, 1, 0), kZ(0, 0, 1), kOrigin;

void ExpectTriple(const T3& actual, const T3& expected, double tolerance = 0)
{
    EXPECT_TRUE(std::fabs(actual.x - expected.x) <= tolerance && std::fabs(actual.y - expected.y) <= tolerance &&
                std::fabs(actual.z - expected.z) <= tolerance)
        << actual.x << " " << actual.y << " " << actual.z;
}

// The roots in the order the formulas give them; NaN expects NaN.
void ExpectRoots(const Roots& actual, const Roots& expected, double tolerance, std::size_t id = 0)
{
    ASSERT_EQ(actual.size(), expected.size()) << "case " << id;
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_TRUE(std::isnan(expected[i]) ? std::isnan(actual[i]) : std::fabs(actual[i] - expected[i]) <= tolerance)
            << "case " << id << ", root " << i << ": " << actual[i];
}
} // namespace

TEST(Primitives, ConstructorsStoreFieldsInTheirArgumentOrderAndCheckUnitLengths)
{
    const CPlane byPoint(T3(1, 2, 3), kZ), byDistance(kZ, -2);
    const CSegment segment(kX, T3(4, 5, 6), -3);
    const CCircle byDistanceCircle(kY, 2, -1.5), circle(T3(7, 8, 9), kX, 4);
    const CDisk disk(T3(1, 1, 1), kZ, 0.5);
    const std::pair<T3, T3> points[] = {
        {byPoint.GetPlanePoint(), T3(1, 2, 3)}, {byPoint.GetNormalVector(), kZ},
        {byDistance.GetPlanePoint(), T3(0, 0, -2)}, {segment.GetDirection(), kX},
        {segment.GetCenter(), T3(4, 5, 6)}, {segment.GetPoint(-2), T3(2, 5, 6)},
        {byDistanceCircle.GetCenter(), T3(0, 2, 0)}, {circle.GetNormalVector(), kX}};
    for (const auto& [actual, expected] : points) ExpectTriple(actual, expected);
    const std::pair<double, double> values[] = {
        {byPoint.GetDistanceToOrigin(), 3}, {byDistance.GetDistanceToOrigin(), -2}, {segment.GetHeight(), -3},
        {byDistanceCircle.GetRadius(), -1.5}, {circle.GetDistanceToOrigin(), 7}, {circle.GetRadius(), 4},
        {disk.GetDistanceToOrigin(), 1}, {disk.GetRadius(), 0.5}};
    for (const auto& [actual, expected] : values) EXPECT_EQ(actual, expected);
    // Unit length is checked on the length, with one epsilon: 1 + eps passes.
    EXPECT_NO_THROW((CPlane(kOrigin, T3(1 + kEps, 0, 0)), CLine(T3(0.6, 0.8, 0), kOrigin)));
    const CLine up(kZ, T3(1, 1, 0));
    const CPlane reversed(T3(0, 0, 5), kZ * -1.0), unit(kZ, kZ);
    const std::tuple<std::function<void()>, const char*, const char*, const char*, int> cases[] = {
        {[] { CPlane(kOrigin, T3(1 + 2 * kEps, 0, 0)); }, kNotNormalPlane, kPlaneCtor, kHeader, 39},
        {[] { CCircle(kZ * (1 + 1e-15), 1.0, 1.0); }, kNotNormalPlane, kPlaneCtor, kHeader, 45},
        {[] { CDisk(kOrigin, kZ * 2.0, 1.0); }, kNotNormalPlane, kPlaneCtor, kHeader, 39},
        {[] { CLine(kOrigin, kX); }, kNotNormalLine, kLineCtor, kHeader, 96},
        {[] { CSegment(kX * 0.5, kX, 1.0); }, kNotNormalLine, kLineCtor, kHeader, 96},
        {[&] { Projection(T3(0, 0, 2), unit); }, kNotNormalLine, kLineCtor, kHeader, 96},
        // The intersection test is signed: a plane facing the line is parallel.
        {[&] { up.LambdaOfIntersectionWithPlane(reversed); }, kParallel, kLambda, kSource, 22},
        {[&] { Intersection(reversed, up); }, kParallel, kLambda, kSource, 22},
        {[&] { Intersection(CLine(kX, kOrigin), unit); }, kParallel, kLambda, kSource, 22},
        {[&] { Projection(kZ * -1.0, unit); }, kParallel, kLambda, kSource, 22},
    };
    for (const auto& [action, message, function, file, line] : cases)
        ExpectThrowAt(action, message, function, file, line);
    // A NaN length is not larger than eps: accepted, and it propagates.
    EXPECT_TRUE(std::isnan(Distance(CLine(T3(kNaN, 0, 0), kOrigin), kY)));
}

TEST(Distances, IntersectionProjectionClosedFormDistancesAndPolynomialRoots)
{
    const CLine up(kZ, T3(1, 1, 0));
    const CPlane atFive(T3(0, 0, 5), kZ);
    EXPECT_DOUBLE_EQ(up.LambdaOfIntersectionWithPlane(atFive), 5);
    // The last projection is the ray from the normal's tip along the point:
    // (0,0,1) + 2.5 (0.6, 0, 0.8), not the foot (0.6, 0, 3) of the point.
    const std::pair<T3, T3> meets[] = {{Intersection(atFive, up), T3(1, 1, 5)}, {Intersection(up, atFive), T3(1, 1, 5)},
                                       {Projection(kZ, CPlane(kZ, kZ)), kZ}, {Projection(T3(0.6, 0, 0.8), CPlane(kZ, 3.0)), T3(1.5, 0, 3)}};
    for (const auto& [actual, expected] : meets) ExpectTriple(actual, expected, 1e-12);
    const CSegment xAxis(kX, kOrigin, 2);
    const CCircle circle(kOrigin, kZ, 2);
    const CDisk disk(kOrigin, kZ, 2);
    const std::pair<double, double> cases[] = {
        {Distance(CLine(kX, kOrigin), T3(5, 3, 4)), 5},
        {Distance(xAxis, T3(3, 1, 0)), std::sqrt(5.0)},
        {Distance(xAxis, T3(-3, 1, 0)), std::sqrt(5.0)},
        {Distance(xAxis, T3(0, 1, 0)), 1},
        {Distance(CSegment(kX, T3(1, 1, 1), 0), T3(1, 4, 5)), 5},
        {Distance(xAxis, CSegment(kY, kZ, 2)), 1},
        // Each side clamps on its own: the carrier lines meet at (4,0,0), the
        // centre of the second segment; the first clamps to (1,0,0) and the
        // second keeps (4,0,0), although (3.4,-0.8,0) would be nearer.
        {Distance(xAxis, CSegment(T3(0.6, 0.8, 0), T3(4, 0, 0), 2)), 3},
        // Anti-parallel: from the end (-1,0,0) to the level point of [4,6]x{1}, clamped to (4,1,0).
        {Distance(xAxis, CSegment(kX * -1.0, T3(5, 1, 0), 2)), std::sqrt(10.0)},
        {Distance(xAxis, CSegment(kX, T3(0.5, 1, 0), 2)), 1},
        {Distance(circle, T3(3, 0, 4)), std::sqrt(17.0)},
        {Distance(circle, kOrigin), 2},
        // On the axis the rim point is centre + R (0, n.z, -n.y), here the centre.
        {Distance(CCircle(kOrigin, kX, 2), kOrigin), 0},
        {Distance(CCircle(kOrigin, kZ, 0), T3(3, 0, 4)), 5},
        {Distance(disk, T3(1, 0, 3)), 3},
        {Distance(disk, T3(4, 0, 3)), std::sqrt(13.0)},
        // Along the axis the quartic vanishes and the start bound |P - M| + R stays.
        {Distance(CLine(kZ, kOrigin), CCircle(kOrigin, kZ, 4)), 4},
        {Distance(CLine(kZ, T3(0, 0, 3)), CCircle(kOrigin, kZ, 4)), 7},
        // NaN candidates never beat the bound.
        {Distance(CLine(T3(kNaN, 0, 0), T3(3, 0, 4)), CCircle(kOrigin, kZ, 4)), 9},
        {Distance(CLine(kX, kOrigin), CCircle(kOrigin, kZ, 0)), 0},
        // General positions: a skew line through the rim point (4,0,0), and a
        // line in the xz-plane whose nearest rim point is (4,0,0) by symmetry.
        {Distance(CLine(T3(1, 2, 3) / std::sqrt(14.0), T3(4, 0, 0)), CCircle(kOrigin, kZ, 4)), 0},
        {Distance(CLine(T3(0.6, 0, 0.8), T3(6, 0, 0)), CCircle(kOrigin, kZ, 4)), 1.6},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i)
        EXPECT_NEAR(cases[i].first, cases[i].second, 1e-12) << "case " << i;
    EXPECT_TRUE(std::isnan(Distance(CDisk(kOrigin, kZ, 0), T3(0, 0, 3))));
    // x^3 - 0.75 x + q with q/2 chosen so that (q/2)^2 - 1/64 is exactly eps.
    const double q = 0x1.0000000000020p-2;
    const std::tuple<Roots, Roots, double> formulas[] = {
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
    for (std::size_t i = 0; i < std::size(formulas); ++i)
        ExpectRoots(std::get<0>(formulas[i]), std::get<1>(formulas[i]), std::get<2>(formulas[i]), i);
    // Four roots per resolvent root, over all three of them.
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
        EXPECT_GE(std::count_if(four.begin(), four.end(), [&](double r) { return std::fabs(r - expected) < 1e-9; }), 2) << expected;
}
