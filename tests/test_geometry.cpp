// Geometric primitives, distances, intersections and projection in 3-space.

#include "ExpectThrow.h"
#include "Numeric/TripleArithmetic.h"

#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <tuple>

using TOLX::CTriple;
using namespace TOLX::Geometry;

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

void ExpectTriple(const T3& actual, const T3& expected, double tolerance = 1e-12)
{
    EXPECT_NEAR(actual.x, expected.x, tolerance);
    EXPECT_NEAR(actual.y, expected.y, tolerance);
    EXPECT_NEAR(actual.z, expected.z, tolerance);
}

const T3 kX(1, 0, 0), kY(0, 1, 0), kZ(0, 0, 1), kOrigin;
} // namespace

TEST(Primitives, ConstructorsStoreFieldsInTheirArgumentOrder)
{
    const CPlane byPoint(T3(1, 2, 3), kZ);
    ExpectTriple(byPoint.GetPlanePoint(), T3(1, 2, 3), 0);
    ExpectTriple(byPoint.GetNormalVector(), kZ, 0);
    EXPECT_EQ(byPoint.GetDistanceToOrigin(), 3);
    const CPlane byDistance(kZ, -2);
    ExpectTriple(byDistance.GetPlanePoint(), T3(0, 0, -2), 0);
    EXPECT_EQ(byDistance.GetDistanceToOrigin(), -2);

    const CSegment segment(kX, T3(4, 5, 6), -3);
    ExpectTriple(segment.GetDirection(), kX, 0);
    ExpectTriple(segment.GetCenter(), T3(4, 5, 6), 0);
    EXPECT_EQ(segment.GetHeight(), -3);
    ExpectTriple(segment.GetPoint(0), T3(4, 5, 6), 0);
    ExpectTriple(segment.GetPoint(-2), T3(2, 5, 6), 0);

    CCircle circle(kY, 2, -1.5);
    ExpectTriple(circle.GetCenter(), T3(0, 2, 0), 0);
    EXPECT_EQ(circle.GetRadius(), -1.5);
    circle = CCircle(T3(7, 8, 9), kX, 4);
    ExpectTriple(circle.GetNormalVector(), kX, 0);
    EXPECT_EQ(circle.GetDistanceToOrigin(), 7);
    EXPECT_EQ(circle.GetRadius(), 4);
    const CDisk disk(T3(1, 1, 1), kZ, 0.5);
    EXPECT_EQ(disk.GetDistanceToOrigin(), 1);
    EXPECT_EQ(disk.GetRadius(), 0.5);
}

TEST(Primitives, UnitLengthIsCheckedOnTheLengthWithOneEpsilon)
{
    // Length exactly 1 + eps passes, 1 + 2 eps does not.
    EXPECT_NO_THROW(CPlane(kOrigin, T3(1 + kEps, 0, 0)));
    EXPECT_NO_THROW(CLine(T3(0.6, 0.8, 0), kOrigin));
    const std::tuple<std::function<void()>, const char*, const char*, int> cases[] = {
        {[] { CPlane(kOrigin, T3(1 + 2 * kEps, 0, 0)); }, kNotNormalPlane, kPlaneCtor, 39},
        {[] { CCircle(kZ * (1 + 1e-15), 1.0, 1.0); }, kNotNormalPlane, kPlaneCtor, 45},
        {[] { CDisk(kOrigin, kZ * 2.0, 1.0); }, kNotNormalPlane, kPlaneCtor, 39},
        {[] { CLine(kOrigin, kX); }, kNotNormalLine, kLineCtor, 96},
        {[] { CSegment(kX * 0.5, kX, 1.0); }, kNotNormalLine, kLineCtor, 96},
    };
    for (const auto& [action, message, function, line] : cases)
        ExpectThrowAt(action, message, function, kHeader, line);
    // A NaN length is not larger than eps: accepted, and it propagates.
    EXPECT_TRUE(std::isnan(Distance(CLine(T3(kNaN, 0, 0), kOrigin), kY)));
}

TEST(Primitives, IntersectionTestIsSigned)
{
    const CLine up(kZ, T3(1, 1, 0));
    const CPlane atFive(T3(0, 0, 5), kZ);
    EXPECT_DOUBLE_EQ(up.LambdaOfIntersectionWithPlane(atFive), 5);
    ExpectTriple(Intersection(atFive, up), T3(1, 1, 5));
    ExpectTriple(Intersection(up, atFive), T3(1, 1, 5));
    const CPlane reversed(T3(0, 0, 5), kZ * -1.0);
    ExpectThrowAt([&] { up.LambdaOfIntersectionWithPlane(reversed); }, kParallel, kLambda, kSource, 22);
    ExpectThrowAt([&] { Intersection(reversed, up); }, kParallel, kLambda, kSource, 22);
    ExpectThrowAt([&] { Intersection(CLine(kX, kOrigin), atFive); }, kParallel, kLambda, kSource, 22);
}

TEST(Projection, CastsTheRayFromTheNormalTipAlongThePoint)
{
    const CPlane unit(kZ, kZ);
    ExpectTriple(Projection(kZ, unit), kZ);
    // (0,0,1) + 2.5 (0.6, 0, 0.8): not the foot (0.6, 0, 3) of the point.
    ExpectTriple(Projection(T3(0.6, 0, 0.8), CPlane(kZ, 3.0)), T3(1.5, 0, 3));
    ExpectThrowAt([&] { Projection(T3(0, 0, 2), unit); }, kNotNormalLine, kLineCtor, kHeader, 96);
    ExpectThrowAt([&] { Projection(kZ * -1.0, unit); }, kParallel, kLambda, kSource, 22);
}

TEST(Distances, PointToLineAndSegment)
{
    EXPECT_DOUBLE_EQ(Distance(CLine(kX, kOrigin), T3(5, 3, 4)), 5);
    const CSegment segment(kX, kOrigin, 2);
    EXPECT_DOUBLE_EQ(Distance(segment, T3(3, 1, 0)), std::sqrt(5.0));
    EXPECT_DOUBLE_EQ(Distance(segment, T3(-3, 1, 0)), std::sqrt(5.0));
    EXPECT_DOUBLE_EQ(Distance(segment, T3(0, 1, 0)), 1);
    EXPECT_DOUBLE_EQ(Distance(CSegment(kX, T3(1, 1, 1), 0), T3(1, 4, 5)), 5);
}

TEST(Distances, SegmentToSegmentClampsEachSideOnItsOwn)
{
    const CSegment xAxis(kX, kOrigin, 2);
    EXPECT_DOUBLE_EQ(Distance(xAxis, CSegment(kY, kZ, 2)), 1);
    // The carrier lines meet at (4,0,0), the centre of the second segment; the
    // first clamps to (1,0,0) and the second keeps (4,0,0), although (3.4,-0.8,0)
    // would be nearer (sqrt 6.4).
    EXPECT_NEAR(Distance(xAxis, CSegment(T3(0.6, 0.8, 0), T3(4, 0, 0), 2)), 3, 1e-12);
    // Anti-parallel: from the end (-1,0,0) to the level point of [4,6]x{1}, clamped to (4,1,0).
    EXPECT_DOUBLE_EQ(Distance(xAxis, CSegment(kX * -1.0, T3(5, 1, 0), 2)), std::sqrt(10.0));
    EXPECT_DOUBLE_EQ(Distance(xAxis, CSegment(kX, T3(0.5, 1, 0), 2)), 1);
}

TEST(Distances, PointToCircleAndDisk)
{
    const CCircle circle(kOrigin, kZ, 2);
    EXPECT_DOUBLE_EQ(Distance(circle, T3(3, 0, 4)), std::sqrt(17.0));
    EXPECT_DOUBLE_EQ(Distance(circle, T3(0, 0, 0)), 2);
    // On the axis the rim point is centre + R (0, n.z, -n.y), here the centre.
    EXPECT_EQ(Distance(CCircle(kOrigin, kX, 2), kOrigin), 0);
    EXPECT_DOUBLE_EQ(Distance(CCircle(kOrigin, kZ, 0), T3(3, 0, 4)), 5);

    const CDisk disk(kOrigin, kZ, 2);
    EXPECT_DOUBLE_EQ(Distance(disk, T3(1, 0, 3)), 3);
    EXPECT_DOUBLE_EQ(Distance(disk, T3(4, 0, 3)), std::sqrt(13.0));
    EXPECT_TRUE(std::isnan(Distance(CDisk(kOrigin, kZ, 0), T3(0, 0, 3))));
}

namespace
{
T3 Cross(const T3& a, const T3& b)
{
    return T3(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
}

// Unit vectors that the primitives accept: normalised, retried until the
// computed length is within one epsilon of 1.
T3 RandomUnit(std::mt19937& random)
{
    std::uniform_real_distribution<double> component(-1, 1);
    for (;;)
    {
        const T3 v(component(random), component(random), component(random));
        const double length = std::sqrt(TOLX::Dot(v, v));
        const T3 unit = v / length;
        if (length > 0.1 && std::fabs(1 - std::sqrt(TOLX::Dot(unit, unit))) <= kEps)
            return unit;
    }
}

// Minimum over the rim of the point-to-line distance: a dense sweep over the
// angle, then a golden-section search in the best sample's neighbourhood.
double BruteForceDistance(const T3& u, const T3& p, const T3& centre, const T3& n, double radius)
{
    const T3 across = Cross(n, std::fabs(n.x) < 0.9 ? kX : kY);
    const T3 e1 = across / std::sqrt(TOLX::Dot(across, across));
    const T3 e2 = Cross(n, e1);
    const auto at = [&](double angle) {
        const T3 rim = centre + e1 * (radius * std::cos(angle)) + e2 * (radius * std::sin(angle));
        const T3 c = Cross(rim - p, u);
        return std::sqrt(TOLX::Dot(c, c));
    };
    const int samples = 20000;
    const double step = 2 * M_PI / samples;
    int best = 0;
    for (int i = 1; i < samples; ++i)
        if (at(i * step) < at(best * step))
            best = i;
    double lo = (best - 1) * step, hi = (best + 1) * step;
    const double golden = (std::sqrt(5.0) - 1) / 2;
    for (int i = 0; i < 100; ++i)
    {
        const double a = hi - golden * (hi - lo), b = lo + golden * (hi - lo);
        if (at(a) < at(b))
            hi = b;
        else
            lo = a;
    }
    return at((lo + hi) / 2);
}
} // namespace

TEST(Distances, LineToCircleMatchesBruteForce)
{
    std::mt19937 random(20160203);
    std::uniform_real_distribution<double> coordinate(-3, 3), radius(0.5, 3);
    for (int trial = 0; trial < 25; ++trial)
    {
        const T3 u = RandomUnit(random), n = RandomUnit(random);
        const T3 p(coordinate(random), coordinate(random), coordinate(random));
        const T3 centre(coordinate(random), coordinate(random), coordinate(random));
        const double r = radius(random);
        EXPECT_NEAR(Distance(CLine(u, p), CCircle(centre, n, r)), BruteForceDistance(u, p, centre, n, r), 1e-7)
            << "trial " << trial;
    }
}

TEST(Distances, LineToCircleDegenerateCases)
{
    const CCircle circle(kOrigin, kZ, 4);
    // Along the axis the quartic vanishes and the start bound |P - M| + R stays.
    EXPECT_DOUBLE_EQ(Distance(CLine(kZ, kOrigin), circle), 4);
    EXPECT_DOUBLE_EQ(Distance(CLine(kZ, T3(0, 0, 3)), circle), 7);
    // NaN candidates never beat the bound.
    EXPECT_DOUBLE_EQ(Distance(CLine(T3(kNaN, 0, 0), T3(3, 0, 4)), circle), 9);
    EXPECT_EQ(Distance(CLine(kX, kOrigin), CCircle(kOrigin, kZ, 0)), 0);
}
