#include "Numeric/TripleGeometry.h"

#include "Numeric/GeometrySites.h"
#include "Numeric/TripleArithmetic.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

namespace TOLX
{
namespace
{
// The one absolute tolerance of the geometry and the root solvers; it is
// never scaled by the data.
constexpr double eps = std::numeric_limits<double>::epsilon();

// The tolerance applies to the length itself, not to its square, and a NaN
// length passes: the primitives check, they never normalise.
bool IsUnitLength(const CTriple<double>& v)
{
    return !(std::fabs(1.0 - Length(v)) > eps);
}
} // namespace

namespace Geometry
{
CPlane::CPlane(CTriple<double> point, CTriple<double> normal)
    : m_planePoint(point), m_normalVector(normal), m_distanceToOrigin(Dot(point, normal))
{
    if (!IsUnitLength(m_normalVector))
        Detail::RaiseFromGeometryHeader(Impl::GeometrySites::kPlaneFromPoint);
}

CPlane::CPlane(CTriple<double> normal, double distance)
    : m_planePoint(normal * distance), m_normalVector(normal), m_distanceToOrigin(distance)
{
    if (!IsUnitLength(m_normalVector))
        Detail::RaiseFromGeometryHeader(Impl::GeometrySites::kPlaneFromDistance);
}

CLine::CLine(CTriple<double> direction, CTriple<double> point) : m_direction(direction), m_point(point)
{
    if (!IsUnitLength(m_direction))
        Detail::RaiseFromGeometryHeader(Impl::GeometrySites::kLineDirection);
}

CTriple<double> CLine::GetPoint(double lambda) const
{
    return m_point + m_direction * lambda;
}

CPlane& CPlane::operator=(const CPlane& other) = default;
CLine& CLine::operator=(const CLine& other) = default;
CSegment& CSegment::operator=(const CSegment& other) = default;
CCircle& CCircle::operator=(const CCircle& other) = default;
CDisk& CDisk::operator=(const CDisk& other) = default;

double CLine::LambdaOfIntersectionWithPlane(const CPlane& plane) const
{
    const CTriple<double> normal = plane.GetNormalVector();
    const double cosine = Dot(m_direction, normal);
    if (cosine < eps)
        TOLX_THROW_SITE(Impl::GeometrySites::kLineParallelToPlane);
    return (plane.GetDistanceToOrigin() - Dot(m_point, normal)) / cosine;
}
} // namespace Geometry

namespace
{
// Real roots collected on the stack: a quartic yields at most three resolvent
// roots times four values, the lower orders fewer.
class CRootList
{
public:
    void Append(double value) { m_values[m_count++] = value; }
    const double* begin() const { return m_values.data(); }
    const double* end() const { return m_values.data() + m_count; }
    std::vector<double> ToVector() const { return std::vector<double>(begin(), end()); }

private:
    std::array<double, 12> m_values{};
    std::size_t m_count = 0;
};

constexpr double kOneThird = 1.0 / 3.0;
constexpr double kPi = 3.14159265358979323846;

void AppendRootsOf1stOrder(double a, double b, CRootList& roots)
{
    // No zero-order fallback: a vanishing a gives no root even for b == 0.
    if (std::fabs(a) < eps)
        return;
    roots.Append(-(b / a));
}

void AppendRootsOf2ndOrder(double a, double b, double c, CRootList& roots)
{
    if (std::fabs(a) < eps)
        return AppendRootsOf1stOrder(b, c, roots);
    const double discriminant = b * b - 4 * a * c;
    if (discriminant < 0)
        return;
    if (discriminant >= eps)
    {
        const double root = std::sqrt(discriminant);
        roots.Append((root - b) / (2 * a));
        roots.Append((-b - root) / (2 * a));
        return;
    }
    roots.Append(-(b / (2 * a)));
}

double SignedCubeRoot(double x)
{
    return x > 0 ? std::pow(x, kOneThird) : -std::pow(-x, kOneThird);
}

// Cardano for one real root, the trigonometric form for three. The switch is
// at D == +eps exactly, not at zero: a triple root gives 0/0 inside acos, and
// that NaN is part of the result.
void AppendRootsOf3rdOrder(double a, double b, double c, double d, CRootList& roots)
{
    if (std::fabs(a) < eps)
        return AppendRootsOf2ndOrder(b, c, d, roots);
    const double a2 = a * a;
    const double shift = -(b / (3 * a));
    const double p = (3 * a * c - b * b) / (3 * a2);
    const double q = 2 * (b * b * b) / (27 * (a2 * a)) - b * c / (3 * a2) + d / a;
    const double halfQ = q / 2;
    const double thirdP = p / 3;
    const double discriminant = halfQ * halfQ + thirdP * thirdP * thirdP;
    if (discriminant > eps)
    {
        const double root = std::sqrt(discriminant);
        roots.Append(shift + (SignedCubeRoot(root - halfQ) + SignedCubeRoot(-halfQ - root)));
    }
    else if (discriminant < eps)
    {
        const double phi = std::acos(-halfQ / std::sqrt(-(thirdP * thirdP * thirdP)));
        const double amplitude = 2 * std::sqrt(-p / 3);
        for (int i = 0; i < 3; ++i)
            roots.Append(shift + amplitude * std::cos(phi / 3 + 2 * kPi * i / 3));
    }
    else if (std::fabs(p) > eps)
    {
        if (q >= 0)
        {
            roots.Append(shift - std::pow(4 * q, kOneThird));
            roots.Append(shift + std::pow(halfQ, kOneThird));
        }
        else
        {
            roots.Append(shift + std::pow(-4 * q, kOneThird));
            roots.Append(shift - std::pow(-q / 2, kOneThird));
        }
    }
    else
    {
        roots.Append(shift);
    }
}

// Ferrari over every root of the resolvent cubic, with no guard against
// 2z + p <= 0: what such a resolvent root produces (NaN, infinities, values
// that are no roots) is passed on, so callers screen the candidates.
void AppendRootsOf4thOrder(double a, double b, double c, double d, double e, CRootList& roots)
{
    if (std::fabs(a) < eps)
        return AppendRootsOf3rdOrder(b, c, d, e, roots);
    const double a2 = a * a;
    const double a3 = a2 * a;
    const double a4 = a3 * a;
    const double b2 = b * b;
    const double b3 = b2 * b;
    const double b4 = b3 * b;
    const double p = c / a - 3 * b2 / (8 * a2);
    const double q = b3 / (8 * a3) - b * c / (2 * a2) + d / a;
    const double r = -3 * b4 / (256 * a4) + b2 * c / (16 * a3) - b * d / (4 * a2) + e / a;

    CRootList resolvent;
    AppendRootsOf3rdOrder(1, 2.5 * p, 2 * (p * p) - r, (p * p - r) * p / 2 - q * q / 8, resolvent);

    const double shift = b / (4 * a);
    for (const double z : resolvent)
    {
        const double w = std::sqrt(2 * z + p);
        // The signs run as doubles -1, +1; a NaN D2 is not negative and is kept.
        for (double s1 = -1; s1 < 2; s1 += 2)
        {
            const double d2 = -(3 * p + 2 * z + 2 * s1 * q / w);
            if (d2 < 0)
                continue;
            const double root = std::sqrt(d2);
            for (double s2 = -1; s2 < 2; s2 += 2)
                roots.Append((s2 * root + s1 * w) / 2 - shift);
        }
    }
}
} // namespace

std::vector<double> RootsOfPolynom1stOrder(double a, double b)
{
    CRootList roots;
    AppendRootsOf1stOrder(a, b, roots);
    return roots.ToVector();
}

std::vector<double> RootsOfPolynom2ndOrder(double a, double b, double c)
{
    CRootList roots;
    AppendRootsOf2ndOrder(a, b, c, roots);
    return roots.ToVector();
}

std::vector<double> RootsOfPolynom3rdOrder(double a, double b, double c, double d)
{
    CRootList roots;
    AppendRootsOf3rdOrder(a, b, c, d, roots);
    return roots.ToVector();
}

std::vector<double> RootsOfPolynom4thOrder(double a, double b, double c, double d, double e)
{
    CRootList roots;
    AppendRootsOf4thOrder(a, b, c, d, e, roots);
    return roots.ToVector();
}

namespace Geometry
{
namespace
{
// Lower bound first, then the upper one: a NaN parameter ends at the lower end.
double Clamp(double t, double lo, double hi)
{
    const double bounded = lo <= t ? t : lo;
    return hi < bounded ? hi : bounded;
}

// Parameter of the foot of x on the line, through the plane through x
// perpendicular to the line (which checks the direction's length).
double FootParameter(const CLine& line, const CTriple<double>& x)
{
    return line.LambdaOfIntersectionWithPlane(CPlane(x, line.GetDirection()));
}

// Foot of x in the plane of a circle or disk, along the plane's normal.
CTriple<double> FootInPlane(const CPlane& plane, const CTriple<double>& x)
{
    const CLine axisParallel(plane.GetNormalVector(), x);
    return axisParallel.GetPoint(axisParallel.LambdaOfIntersectionWithPlane(plane));
}
} // namespace

double Distance(const CLine& line, const CTriple<double>& x)
{
    return Length(x - line.GetPoint(FootParameter(line, x)));
}

double Distance(const CSegment& segment, const CTriple<double>& x)
{
    const double half = segment.GetHeight() / 2;
    return Length(segment.GetPoint(Clamp(FootParameter(segment, x), -half, half)) - x);
}

double Distance(const CSegment& s1, const CSegment& s2)
{
    const CTriple<double> u1 = s1.GetDirection();
    const CTriple<double> u2 = s2.GetDirection();
    const double half1 = s1.GetHeight() / 2;
    const double half2 = s2.GetHeight() / 2;
    const double c = Dot(u1, u2);
    const double sine2 = 1 - c * c;
    if (std::fabs(sine2) >= eps)
    {
        const CTriple<double> w = s2.GetCenter() - s1.GetCenter();
        const double w1 = Dot(u1, w);
        const double w2 = Dot(u2, w);
        const double t1 = (w1 - w2 * c) / sine2;
        const double t2 = (w1 * c - w2) / sine2;
        return Length(s1.GetPoint(Clamp(t1, -half1, half1)) - s2.GetPoint(Clamp(t2, -half2, half2)));
    }
    // Parallel or anti-parallel: measure from the first end of s1 to the
    // point of s2 level with it.
    const CPlane throughEnd(s1.GetCenter() - u1 * half1, u2);
    return Distance(s1, s2.GetPoint(Clamp(s2.LambdaOfIntersectionWithPlane(throughEnd), -half2, half2)));
}

double Distance(const CCircle& circle, CTriple<double> x)
{
    const CTriple<double> center = circle.GetCenter();
    const CTriple<double> offset = FootInPlane(circle, x) - center;
    const double r = Length(offset);
    const double radius = circle.GetRadius();
    if (r >= eps)
        return Length(x - (center + (offset / r) * radius));
    // On the axis every rim point is equally near. The rim point is taken
    // along n x (1, 0, 0), unnormalised on purpose, so a circle whose normal
    // is the x axis answers with its centre.
    const CTriple<double> n = circle.GetNormalVector();
    return Length(x - (center + CTriple<double>(0.0, n.z, -n.y) * radius));
}

double Distance(const CDisk& disk, CTriple<double> x)
{
    const CTriple<double> center = disk.GetCenter();
    const CTriple<double> foot = FootInPlane(disk, x);
    const CTriple<double> offset = foot - center;
    const double r = Length(offset);
    const double radius = disk.GetRadius();
    const CTriple<double> nearest = radius <= r ? center + (offset / r) * radius : foot;
    return Length(x - nearest);
}

double Distance(const CLine& line, const CCircle& circle)
{
    const CTriple<double> u = line.GetDirection();
    const CTriple<double> n = circle.GetNormalVector();
    const CTriple<double> w = line.GetCenter() - circle.GetCenter();
    const double radius2 = circle.GetRadius() * circle.GetRadius();
    // In-plane quantities: B = |u|^2 and W = |w|^2 within the circle's plane,
    // G = their in-plane product. U is used as computed, not taken as 1.
    const double U = Dot(u, u);
    const double A = Dot(u, w);
    const double N = Dot(u, n);
    const double nw = Dot(n, w);
    const double B = U - N * N;
    const double G = A - nw * N;
    const double W = Dot(w, w) - nw * nw;

    // Stationary points of the squared distance from P + t u to the rim:
    // (A + tU)^2 (W + 2tG + t^2 B) = R^2 (G + tB)^2, expanded.
    CRootList candidates;
    AppendRootsOf4thOrder(U * U * B, 2 * (U * U * G + U * A * B),
                          4 * A * U * G + U * U * W + A * A * B - B * B * radius2,
                          2 * (U * A * W + A * A * G - B * G * radius2), A * A * W - radius2 * (G * G), candidates);

    // Start from the distance to the farthest rim point; the comparison is
    // strict so NaN candidates never win and ties keep the earlier one.
    double best = Length(line.GetCenter() - circle.GetCenter()) + circle.GetRadius();
    for (const double t : candidates)
    {
        const double distance = Distance(circle, line.GetPoint(t));
        if (distance < best)
            best = distance;
    }
    return best;
}

CTriple<double> Intersection(const CPlane& plane, const CLine& line)
{
    return line.GetPoint(line.LambdaOfIntersectionWithPlane(plane));
}

CTriple<double> Intersection(const CLine& line, const CPlane& plane)
{
    return Intersection(plane, line);
}

CTriple<double> Projection(const CTriple<double>& x, const CPlane& plane)
{
    // x is the direction and the normal the point of the ray; host code
    // depends on exactly this, so it stays.
    return Intersection(plane, CLine(x, plane.GetNormalVector()));
}
} // namespace Geometry
} // namespace TOLX
