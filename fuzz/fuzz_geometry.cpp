// Root solvers and every distance, intersection and projection on random
// coefficients and geometry. Nothing may crash or raise anything but the
// geometry's own three messages; distances are never negative (NaN allowed);
// results that the closed forms promise are checked against independent
// computations where the input is finite and well conditioned.

#include "FuzzInput.h"
#include "VornNumeric.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

namespace
{
using TOLX::CTriple;
using Triple = CTriple<double>;
namespace G = TOLX::Geometry;

constexpr double kEps = 2.220446049250313e-16;

const char* const kPlaneNormal = "Plane normal vector needs to be normalized!";
const char* const kLineDirection = "Line direction needs to be normalized!";
const char* const kParallel = "Plane and Line are parallel -> no intersection";

double Dot(const Triple& a, const Triple& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
Triple Sub(const Triple& a, const Triple& b) { return Triple(a.x - b.x, a.y - b.y, a.z - b.z); }
double Norm(const Triple& a) { return std::sqrt(Dot(a, a)); }
Triple Cross(const Triple& a, const Triple& b)
{
    return Triple(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
}

bool Modest(double x) { return std::fabs(x) <= 1e6; }
bool Modest(const Triple& t) { return Modest(t.x) && Modest(t.y) && Modest(t.z); }

Triple Point(FuzzInput& in) { return Triple(in.Number(), in.Number(), in.Number()); }

// Unit vectors of several kinds: exact axes, normalised random vectors (which
// may miss the unit test by a rounding), and arbitrary triples.
Triple Direction(FuzzInput& in)
{
    switch (in.Byte() % 4)
    {
    case 0:
    {
        Triple t;
        const double sign = in.Byte() % 2 ? 1.0 : -1.0;
        switch (in.Below(3))
        {
        case 0: t.x = sign; break;
        case 1: t.y = sign; break;
        default: t.z = sign; break;
        }
        return t;
    }
    case 1:
    case 2:
    {
        const Triple t = Point(in);
        const double n = Norm(t);
        return Triple(t.x / n, t.y / n, t.z / n);
    }
    default: return Point(in);
    }
}

void CheckDistance(double d) { FUZZ_CHECK(!(d < 0)); }

bool SameValues(const std::vector<double>& a, const std::vector<double>& b)
{
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](double x, double y) {
               return std::memcmp(&x, &y, sizeof x) == 0;
           });
}

// Coefficients of k * (x - r_0) ... (x - r_{m-1}) times an optional factor
// x^2 + p x + q, highest power first. Quarters, eighths and small integers
// keep every coefficient exact.
std::vector<double> Expand(double k, const std::vector<double>& roots)
{
    std::vector<double> c{k};
    for (double r : roots)
    {
        c.push_back(0.0);
        for (std::size_t i = c.size() - 1; i > 0; --i)
            c[i] -= r * c[i - 1];
    }
    return c;
}

bool NearOne(double x, const std::vector<double>& roots, double tolerance)
{
    return std::any_of(roots.begin(), roots.end(), [&](double r) { return std::fabs(x - r) <= tolerance; });
}

// Every value is one of the roots and every root is found.
void CheckRoots(const std::vector<double>& found, const std::vector<double>& roots, double tolerance)
{
    FUZZ_CHECK(found.size() == roots.size());
    for (double x : found)
        FUZZ_CHECK(NearOne(x, roots, tolerance));
    for (double r : roots)
        FUZZ_CHECK(NearOne(r, found, tolerance));
}

// Well separated roots (at least 1/2 apart) of modest size.
std::vector<double> SeparatedRoots(FuzzInput& in, std::size_t count)
{
    std::vector<double> roots;
    while (roots.size() < count)
    {
        const double r = static_cast<double>(static_cast<std::int8_t>(in.Byte())) / 8.0;
        if (std::all_of(roots.begin(), roots.end(), [&](double s) { return std::fabs(r - s) >= 0.5; }))
            roots.push_back(r);
        else if (in.Empty())
            roots.push_back(static_cast<double>(roots.size()) * 100.0 + 50.0);
    }
    return roots;
}

void FuzzKnownRoots(FuzzInput& in)
{
    double k = static_cast<double>(static_cast<std::int8_t>(in.Byte())) / 4.0;
    if (k == 0.0)
        k = 1.0;
    const unsigned order = 1 + in.Below(3);
    const std::vector<double> roots = SeparatedRoots(in, order);
    double scale = 1.0;
    for (double r : roots)
        scale = std::max(scale, std::fabs(r));
    const std::vector<double> c = Expand(k, roots);
    const double tolerance = 1e-7 * scale;
    if (order == 1)
        CheckRoots(TOLX::RootsOfPolynom1stOrder(c[0], c[1]), roots, tolerance);
    else if (order == 2)
        CheckRoots(TOLX::RootsOfPolynom2ndOrder(c[0], c[1], c[2]), roots, tolerance);
    else
    {
        CheckRoots(TOLX::RootsOfPolynom3rdOrder(c[0], c[1], c[2], c[3]), roots, tolerance);
        // One real root r and a complex pair: k (x - r)(x^2 + p x + q) with
        // p^2 < 4 q, which Cardano answers with r alone.
        const double p = static_cast<double>(static_cast<std::int8_t>(in.Byte())) / 8.0;
        const double q = p * p / 4.0 + 0.5 + static_cast<double>(in.Byte()) / 16.0;
        const double r = roots[0];
        const std::vector<double> one =
            TOLX::RootsOfPolynom3rdOrder(k, k * (p - r), k * (q - r * p), -k * r * q);
        const double size = std::max({scale, std::fabs(p), std::sqrt(q)});
        FUZZ_CHECK(one.size() == 1);
        FUZZ_CHECK(std::fabs(one[0] - r) <= 1e-7 * size);
    }
    // A repeated root of a quadratic: the discriminant vanishes exactly.
    const double r = roots[0];
    const std::vector<double> twice = TOLX::RootsOfPolynom2ndOrder(k, -2 * k * r, k * r * r);
    FUZZ_CHECK(twice.size() == 1 && twice[0] == r);
}

// Random coefficients: sizes bounded, degenerate leading coefficients handed
// down exactly as the lower order answers.
void FuzzCoefficients(FuzzInput& in)
{
    double c[5];
    for (double& x : c)
        x = in.Number();
    if (in.Byte() % 2)
        c[0] = static_cast<double>(static_cast<std::int8_t>(in.Byte())) * 1e-18; // |a| < eps
    const auto r1 = TOLX::RootsOfPolynom1stOrder(c[0], c[1]);
    const auto r2 = TOLX::RootsOfPolynom2ndOrder(c[0], c[1], c[2]);
    const auto r3 = TOLX::RootsOfPolynom3rdOrder(c[0], c[1], c[2], c[3]);
    const auto r4 = TOLX::RootsOfPolynom4thOrder(c[0], c[1], c[2], c[3], c[4]);
    FUZZ_CHECK(r1.size() <= 1 && r2.size() <= 2 && r3.size() <= 3 && r4.size() <= 12);
    if (std::fabs(c[0]) < kEps)
    {
        FUZZ_CHECK(r1.empty());
        FUZZ_CHECK(SameValues(r2, TOLX::RootsOfPolynom1stOrder(c[1], c[2])));
        FUZZ_CHECK(SameValues(r3, TOLX::RootsOfPolynom2ndOrder(c[1], c[2], c[3])));
        FUZZ_CHECK(SameValues(r4, TOLX::RootsOfPolynom3rdOrder(c[1], c[2], c[3], c[4])));
    }
    else
        FUZZ_CHECK(r4.size() % 2 == 0); // values come in pairs s2 = -1, +1
}

void FuzzShapes(FuzzInput& in)
{
    const unsigned op = in.Below(9);
    const Triple x = Point(in);
    const Triple u = Direction(in);
    const Triple P = Point(in);
    const double h = in.Number();
    const Triple n = Direction(in);
    const Triple M = Point(in);
    const double R = in.Number();
    const Triple u2 = Direction(in);
    const Triple P2 = Point(in);
    const double h2 = in.Number();
    // Finite, moderate input; a NaN direction passes the unit test (its
    // length is NaN) and is left out of the comparisons below.
    const bool modest = Modest(x) && Modest(P) && Modest(M) && Modest(P2) && Modest(h) && Modest(R) &&
                        Modest(h2) && Modest(u) && Modest(n) && Modest(u2);
    const double scale = 1.0 + std::max({Norm(x), Norm(P), Norm(M), Norm(P2), std::fabs(h), std::fabs(R)});

    switch (op)
    {
    case 0:
    {
        const double d = G::Distance(G::CLine(u, P), x);
        CheckDistance(d);
        if (modest)
            FUZZ_CHECK(std::fabs(d - Norm(Cross(Sub(x, P), u))) <= 1e-9 * scale);
        break;
    }
    case 1:
    {
        const double d = G::Distance(G::CSegment(u, P, h), x);
        CheckDistance(d);
        if (modest && h >= 0)
        {
            FUZZ_CHECK(d >= Norm(Cross(Sub(x, P), u)) - 1e-9 * scale);
            FUZZ_CHECK(d <= Norm(Sub(x, P)) + 1e-9 * scale);
        }
        break;
    }
    case 2: CheckDistance(G::Distance(G::CSegment(u, P, h), G::CSegment(u2, P2, h2))); break;
    case 3:
    {
        const double dc = G::Distance(G::CCircle(M, n, R), x);
        const double dd = G::Distance(G::CDisk(M, n, R), x);
        CheckDistance(dc);
        CheckDistance(dd);
        // The disk holds the rim point the circle measures to. Near the axis
        // the circle's rim direction is the rounding noise of the foot point,
        // which may point anywhere (also along the normal), so the comparison
        // is made only clearly off the axis. A disk of radius 0 seen from its
        // axis answers NaN (0 / 0).
        if (modest && R >= 0 && Norm(Cross(Sub(x, M), n)) > 1e-6 * scale)
            FUZZ_CHECK(!(dd > dc + 1e-9 * scale));
        break;
    }
    case 4:
    {
        const double dc = G::Distance(G::CCircle(n, h, R), x);
        const double dd = G::Distance(G::CDisk(n, h, R), x);
        CheckDistance(dc);
        CheckDistance(dd);
        break;
    }
    case 5:
    {
        const G::CCircle circle(M, n, R);
        const double d = G::Distance(G::CLine(u, P), circle);
        // The search starts from |P - M| + R and only ever lowers it.
        const double bound = Norm(Sub(P, M)) + R;
        FUZZ_CHECK(std::isnan(d) || d <= bound || d <= bound + 1e-12 * std::fabs(bound));
        if (R >= 0)
            CheckDistance(d);
        break;
    }
    case 6:
    case 7:
    {
        const G::CPlane plane = op == 6 ? G::CPlane(M, n) : G::CPlane(n, h);
        const G::CLine line(u, P);
        const Triple X = in.Byte() % 2 ? G::Intersection(plane, line) : G::Intersection(line, plane);
        if (modest && Modest(plane.GetDistanceToOrigin()) && Dot(u, n) >= 0.1)
            FUZZ_CHECK(std::fabs(Dot(n, X) - plane.GetDistanceToOrigin()) <= 1e-9 * scale * 10.0);
        break;
    }
    default:
    {
        const G::CPlane plane(M, n);
        const Triple X = G::Projection(u, plane);
        if (modest && Dot(u, n) >= 0.1)
            FUZZ_CHECK(std::fabs(Dot(n, X) - plane.GetDistanceToOrigin()) <= 1e-9 * scale * 10.0);
        break;
    }
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput in(data, size);
    try
    {
        switch (in.Byte() % 3)
        {
        case 0: FuzzKnownRoots(in); break;
        case 1: FuzzCoefficients(in); break;
        default: FuzzShapes(in); break;
        }
    }
    catch (const TOLX::CException& e)
    {
        const std::string message = e.what();
        FUZZ_CHECK(message == kPlaneNormal || message == kLineDirection || message == kParallel);
    }
    return 0;
}
