#include "ExpectThrow.h"
#include "Numeric/helpers/nrSVD.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <new>
#include <random>
#include <vector>

using TOLX::CNrSvd;

namespace
{
// Lets a test make the worker's own work-vector allocation fail.
bool failNothrowArrayNew = false;
} // namespace

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    try { return failNothrowArrayNew ? nullptr : ::operator new[](size); }
    catch (...) { return nullptr; }
}

namespace
{
// The worker's 1-based arrays for an m-by-n input, filled from a row-major list.
TOLX::CSvdWorkspace Prepared(int m, int n, const std::vector<double>& rowMajor)
{
    TOLX::CSvdWorkspace work;
    work.Prepare(m, n);
    for (int i = 1; i <= m; ++i)
        for (int j = 1; j <= n; ++j)
            work.A()[i][j] = rowMajor[(i - 1) * n + (j - 1)];
    return work;
}

// The bits of x; every NaN maps to one value. Which NaN an operation returns
// follows the order of the operands in the machine code, which the compiler
// may swap in commutative operations: no property of the source's arithmetic.
std::uint64_t Bits(double x)
{
    std::uint64_t bits = 0x7ff8000000000000u;
    if (!std::isnan(x))
        std::memcpy(&bits, &x, sizeof bits);
    return bits;
}

// Both entry points on copies of one input: the converged flag, every
// singular value and every element of V must have the same bits.
void ExpectSameBits(int m, int n, const std::vector<double>& input)
{
    TOLX::CSvdWorkspace full = Prepared(m, n, input), lean = Prepared(m, n, input);
    ASSERT_EQ(CNrSvd::svdcmp(full.A(), m, n, full.W(), full.V()),
              CNrSvd::svdcmpWithoutU(lean.A(), m, n, lean.W(), lean.V()))
        << m << "x" << n;
    for (int j = 1; j <= n; ++j)
    {
        ASSERT_EQ(Bits(full.W()[j]), Bits(lean.W()[j])) << m << "x" << n << " w[" << j << "]";
        for (int i = 1; i <= n; ++i)
            ASSERT_EQ(Bits(full.V()[i][j]), Bits(lean.V()[i][j])) << m << "x" << n << " v[" << i << "][" << j << "]";
    }
}

// Inputs that take the worker through its different paths: random values,
// values over many orders of magnitude, exact small integers, zeros of both
// signs, subnormals, rank one, a zero column, a tiny entry, and non-finite values.
std::vector<std::vector<double>> Inputs(int m, int n, unsigned seed)
{
    std::mt19937 engine(seed);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    std::uniform_int_distribution<int> exponent(-300, 300), small(-3, 3);
    const std::size_t count = static_cast<std::size_t>(m) * n;
    std::vector<double> row(n);
    std::generate(row.begin(), row.end(), [&] { return unit(engine); });
    const std::function<double(std::size_t)> kinds[] = {
        [&](std::size_t) { return unit(engine); },
        [&](std::size_t) { return std::ldexp(unit(engine), exponent(engine)); },
        [&](std::size_t) { return static_cast<double>(small(engine)); },
        [](std::size_t) { return 0.0; },
        [](std::size_t k) { return k % 2 == 0 ? -0.0 : 0.0; },
        [](std::size_t) { return 1.0; },
        [](std::size_t k) { return std::ldexp(1.0 + static_cast<double>(k), -1070); },
        [&](std::size_t k) { return std::ldexp(unit(engine), k % 2 == 0 ? 1000 : -1000); },
        [&](std::size_t k) { return row[k % n]; },
        [&](std::size_t k) { return row[k % n] * static_cast<double>(k / n + 1); },
        [&](std::size_t k) { return k % n == 1 ? 0.0 : unit(engine); },
        [&](std::size_t k) { return k == count / 2 ? 1e-300 : unit(engine); },
        [&](std::size_t k) { return k == 0 ? std::numeric_limits<double>::infinity() : unit(engine); },
        [&](std::size_t k) { return k == count - 1 ? std::numeric_limits<double>::quiet_NaN() : unit(engine); }};
    std::vector<std::vector<double>> inputs;
    for (std::size_t kind = 0; kind < std::size(kinds); ++kind)
        for (int repeat = 0; repeat < (kind == 0 ? 40 : kind < 3 ? 20 : 1); ++repeat)
            for (std::size_t k = 0; k < count; ++k)
                (k == 0 ? inputs.emplace_back() : inputs.back()).push_back(kinds[kind](k));
    return inputs;
}
} // namespace

// Facet shapes d - 1 by d (d = 2..8 compiled for, the next at run time) and
// others. Equal bits alone would pass two equally wrong results: test_svd
// checks that the full worker decomposes these shapes.
TEST(SvdWithoutU, EveryShapeGivesTheFullWorkersBits)
{
    std::vector<std::pair<int, int>> shapes = {{1, 1}, {3, 3}, {5, 3}, {2, 5}, {1, 4}, {9, 9}, {40, 40}};
    for (int d = 2; d <= CNrSvd::kLargestFixedDimension + 1; ++d)
        shapes.emplace_back(d - 1, d);
    for (const auto& [m, n] : shapes)
        for (const std::vector<double>& input : Inputs(m, n, 77u + m * 50 + n))
            ExpectSameBits(m, n, input);
}

TEST(Svd, WorkVectorAllocationFailureThrows)
{
    // Wide enough that the work vector does not fit the stack buffer.
    TOLX::CSvdWorkspace work = Prepared(2, 40, std::vector<double>(80, 1.0));
    failNothrowArrayNew = true;
    ExpectThrowAt([&] { CNrSvd::svdcmp(work.A(), 2, 40, work.W(), work.V()); }, "Memory allocation error.",
                  "CNrSvd::svdcmp", "src/Numeric/helpers/nrSVD.cpp", 60);
    failNothrowArrayNew = false;
    EXPECT_TRUE(work.Decompose());
}
