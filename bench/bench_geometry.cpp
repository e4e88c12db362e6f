// Closed-form root solvers and the line-circle distance, timed beside GSL's
// polynomial solvers on the same coefficients in the same run.
//
// GSL has no closed-form quartic; its quartic peer is gsl_poly_complex_solve
// (companion matrix, all four complex roots). Its cubic gsl_poly_solve_cubic
// is closed-form like ours and is timed on the same monic cubics.

#include "VornNumeric.h"
#include "Numeric/TripleArithmetic.h"

#include <benchmark/benchmark.h>

#ifdef VORN_HAVE_GSL
#include <gsl/gsl_errno.h>
#include <gsl/gsl_poly.h>
#endif

#include <array>
#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

namespace
{
using T3 = TOLX::CTriple<double>;
using Coefficients = std::array<double, 5>; // highest power first

constexpr std::size_t kPoolSize = 1024; // a power of two: the index wraps by masking
const unsigned kSeed = 20160203;

// Expands lead * (x - r0)(x - r1)(x^2 + s x + t) into coefficients.
Coefficients Expand(double lead, double r0, double r1, double s, double t)
{
    const double u = -(r0 + r1), v = r0 * r1; // x^2 + u x + v
    return {lead, lead * (u + s), lead * (v + u * s + t), lead * (v * s + u * t), lead * v * t};
}

// Half with four real roots, half with two real roots and a complex pair.
const std::vector<Coefficients>& Quartics()
{
    static const std::vector<Coefficients> pool = [] {
        std::mt19937 random(kSeed);
        std::uniform_real_distribution<double> root(-5, 5), lead(0.5, 2);
        std::vector<Coefficients> result;
        for (std::size_t i = 0; i < kPoolSize; ++i)
        {
            const double r2 = root(random), r3 = root(random);
            const double s = i % 2 == 0 ? -(r2 + r3) : root(random);
            const double t = i % 2 == 0 ? r2 * r3 : s * s / 4 + 1 + std::fabs(root(random));
            result.push_back(Expand(lead(random), root(random), root(random), s, t));
        }
        return result;
    }();
    return pool;
}

// Monic cubics x^3 + b x^2 + c x + d, half with three real roots.
const std::vector<Coefficients>& Cubics()
{
    static const std::vector<Coefficients> pool = [] {
        std::mt19937 random(kSeed + 1);
        std::uniform_real_distribution<double> root(-5, 5);
        std::vector<Coefficients> result;
        for (std::size_t i = 0; i < kPoolSize; ++i)
        {
            const double r0 = root(random), r1 = root(random);
            const double s = i % 2 == 0 ? -(r0 + r1) : root(random);
            const double t = i % 2 == 0 ? r0 * r1 : s * s / 4 + 1;
            const double r = root(random); // (x - r)(x^2 + s x + t)
            result.push_back({1, s - r, t - r * s, -r * t, 0});
        }
        return result;
    }();
    return pool;
}

T3 RandomUnit(std::mt19937& random)
{
    std::uniform_real_distribution<double> component(-1, 1);
    for (;;)
    {
        const T3 v(component(random), component(random), component(random));
        const T3 unit = v / TOLX::Length(v);
        if (TOLX::Length(v) > 0.1 && std::fabs(1 - TOLX::Length(unit)) <= 0x1p-52)
            return unit;
    }
}

struct LineAndCircle
{
    TOLX::Geometry::CLine line;
    TOLX::Geometry::CCircle circle;
    Coefficients quartic; // the stationary-point quartic the distance solves
};

// The quartic of the squared distance from line point P + t u to the rim.
Coefficients StationaryQuartic(const T3& u, const T3& p, const T3& m, const T3& n, double radius)
{
    const T3 w = p - m;
    const double U = TOLX::Dot(u, u), A = TOLX::Dot(u, w), N = TOLX::Dot(u, n), nw = TOLX::Dot(n, w);
    const double B = U - N * N, G = A - nw * N, W = TOLX::Dot(w, w) - nw * nw, R2 = radius * radius;
    return {U * U * B, 2 * (U * U * G + U * A * B), 4 * A * U * G + U * U * W + A * A * B - B * B * R2,
            2 * (U * A * W + A * A * G - B * G * R2), A * A * W - R2 * (G * G)};
}

const std::vector<LineAndCircle>& LinesAndCircles()
{
    static const std::vector<LineAndCircle> pool = [] {
        std::mt19937 random(kSeed + 2);
        std::uniform_real_distribution<double> coordinate(-3, 3), radius(0.5, 3);
        std::vector<LineAndCircle> result;
        for (std::size_t i = 0; i < kPoolSize; ++i)
        {
            const T3 u = RandomUnit(random), n = RandomUnit(random);
            const T3 p(coordinate(random), coordinate(random), coordinate(random));
            const T3 m(coordinate(random), coordinate(random), coordinate(random));
            const double r = radius(random);
            result.push_back({TOLX::Geometry::CLine(u, p), TOLX::Geometry::CCircle(m, n, r),
                              StationaryQuartic(u, p, m, n, r)});
        }
        return result;
    }();
    return pool;
}

void VornQuartic(benchmark::State& state, const std::vector<Coefficients>& pool)
{
    std::size_t i = 0;
    for (auto _ : state)
    {
        const Coefficients& k = pool[i++ & (kPoolSize - 1)];
        benchmark::DoNotOptimize(TOLX::RootsOfPolynom4thOrder(k[0], k[1], k[2], k[3], k[4]));
    }
}

void BM_Vorn_Quartic(benchmark::State& state) { VornQuartic(state, Quartics()); }
void BM_Vorn_Quartic_LineCircleCoefficients(benchmark::State& state)
{
    std::vector<Coefficients> pool;
    for (const LineAndCircle& item : LinesAndCircles())
        pool.push_back(item.quartic);
    VornQuartic(state, pool);
}

void BM_Vorn_Cubic(benchmark::State& state)
{
    const std::vector<Coefficients>& pool = Cubics();
    std::size_t i = 0;
    for (auto _ : state)
    {
        const Coefficients& k = pool[i++ & (kPoolSize - 1)];
        benchmark::DoNotOptimize(TOLX::RootsOfPolynom3rdOrder(k[0], k[1], k[2], k[3]));
    }
}

void BM_Vorn_LineCircleDistance(benchmark::State& state)
{
    const std::vector<LineAndCircle>& pool = LinesAndCircles();
    std::size_t i = 0;
    for (auto _ : state)
    {
        const LineAndCircle& item = pool[i++ & (kPoolSize - 1)];
        benchmark::DoNotOptimize(TOLX::Geometry::Distance(item.line, item.circle));
    }
}

BENCHMARK(BM_Vorn_Quartic);
BENCHMARK(BM_Vorn_Quartic_LineCircleCoefficients);
BENCHMARK(BM_Vorn_Cubic);
BENCHMARK(BM_Vorn_LineCircleDistance);

#ifdef VORN_HAVE_GSL
void GslQuartic(benchmark::State& state, const std::vector<Coefficients>& pool)
{
    gsl_set_error_handler_off(); // a non-converging case returns a status, it must not abort
    gsl_poly_complex_workspace* workspace = gsl_poly_complex_workspace_alloc(5);
    std::size_t i = 0;
    for (auto _ : state)
    {
        const Coefficients& k = pool[i++ & (kPoolSize - 1)];
        const double lowestFirst[5] = {k[4], k[3], k[2], k[1], k[0]};
        double roots[8];
        benchmark::DoNotOptimize(gsl_poly_complex_solve(lowestFirst, 5, workspace, roots));
        benchmark::DoNotOptimize(roots);
    }
    gsl_poly_complex_workspace_free(workspace);
}

void BM_Gsl_Quartic(benchmark::State& state) { GslQuartic(state, Quartics()); }
void BM_Gsl_Quartic_LineCircleCoefficients(benchmark::State& state)
{
    std::vector<Coefficients> pool;
    for (const LineAndCircle& item : LinesAndCircles())
        pool.push_back(item.quartic);
    GslQuartic(state, pool);
}

void BM_Gsl_Cubic(benchmark::State& state)
{
    const std::vector<Coefficients>& pool = Cubics();
    std::size_t i = 0;
    for (auto _ : state)
    {
        const Coefficients& k = pool[i++ & (kPoolSize - 1)];
        double x0, x1, x2;
        benchmark::DoNotOptimize(gsl_poly_solve_cubic(k[1], k[2], k[3], &x0, &x1, &x2));
        benchmark::DoNotOptimize(x0);
        benchmark::DoNotOptimize(x1);
        benchmark::DoNotOptimize(x2);
    }
}

BENCHMARK(BM_Gsl_Quartic);
BENCHMARK(BM_Gsl_Quartic_LineCircleCoefficients);
BENCHMARK(BM_Gsl_Cubic);
#endif
} // namespace

BENCHMARK_MAIN();
