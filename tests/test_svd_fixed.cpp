#include "VornNumeric.h"
#include "Numeric/helpers/nrSVD.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

using TOLX::CNrSvd;

namespace
{
// 1-based worker arrays for an m-by-n input, filled from a row-major matrix.
struct WorkerArrays
{
    WorkerArrays(int m, int n, const std::vector<double>& rowMajor)
        : values((m + 1) * (n + 1), 0.0), w(n + 1, 0.0), vValues((n + 1) * (n + 1), 0.0), a(m + 1), v(n + 1)
    {
        for (int i = 0; i <= m; ++i)
            a[i] = values.data() + i * (n + 1);
        for (int i = 0; i <= n; ++i)
            v[i] = vValues.data() + i * (n + 1);
        for (int i = 1; i <= m; ++i)
            for (int j = 1; j <= n; ++j)
                a[i][j] = rowMajor[(i - 1) * n + (j - 1)];
    }
    std::vector<double> values, w, vValues;
    std::vector<double*> a, v;
};

// The bits of x; every NaN maps to one value. Which NaN an operation returns
// (its sign and payload) follows the order of the operands in the machine
// code, which the compiler may swap in commutative operations, so it is no
// property of the arithmetic written in the source.
std::uint64_t Bits(double x)
{
    if (std::isnan(x))
        return 0x7ff8000000000000u;
    std::uint64_t bits;
    std::memcpy(&bits, &x, sizeof bits);
    return bits;
}

// Both entry points on copies of the same input: the converged flag, every
// singular value and every element of V must have the same bits.
void ExpectSameBits(int m, int n, const std::vector<double>& input, const char* what)
{
    WorkerArrays full(m, n, input);
    WorkerArrays lean(m, n, input);
    const bool fullConverged = CNrSvd::svdcmp(full.a.data(), m, n, full.w.data(), full.v.data());
    const bool leanConverged = CNrSvd::svdcmpWithoutU(lean.a.data(), m, n, lean.w.data(), lean.v.data());
    ASSERT_EQ(fullConverged, leanConverged) << what << " " << m << "x" << n;
    for (int j = 1; j <= n; ++j)
    {
        ASSERT_EQ(Bits(full.w[j]), Bits(lean.w[j])) << what << " " << m << "x" << n << " w[" << j << "]";
        for (int i = 1; i <= n; ++i)
            ASSERT_EQ(Bits(full.v[i][j]), Bits(lean.v[i][j]))
                << what << " " << m << "x" << n << " v[" << i << "][" << j << "]";
    }
}

// Inputs that take the worker through its different paths: plain random
// values, values spread over many orders of magnitude, zeros, repeated and
// proportional rows, subnormals, exact small integers, and non-finite values.
std::vector<std::vector<double>> Inputs(int m, int n, unsigned seed)
{
    std::mt19937 engine(seed);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    std::uniform_int_distribution<int> exponent(-300, 300);
    std::uniform_int_distribution<int> small(-3, 3);
    const std::size_t count = static_cast<std::size_t>(m) * n;
    std::vector<std::vector<double>> inputs;
    auto make = [&](auto element) {
        std::vector<double> x(count);
        for (std::size_t k = 0; k < count; ++k)
            x[k] = element(k);
        inputs.push_back(x);
    };
    for (int r = 0; r < 40; ++r)
        make([&](std::size_t) { return unit(engine); });
    for (int r = 0; r < 20; ++r)
        make([&](std::size_t) { return std::ldexp(unit(engine), exponent(engine)); });
    for (int r = 0; r < 20; ++r)
        make([&](std::size_t) { return static_cast<double>(small(engine)); });
    make([&](std::size_t) { return 0.0; });
    make([&](std::size_t k) { return k % 2 == 0 ? -0.0 : 0.0; });
    make([&](std::size_t) { return 1.0; });
    make([&](std::size_t k) { return std::ldexp(1.0 + static_cast<double>(k), -1070); });
    make([&](std::size_t k) { return std::ldexp(unit(engine), k % 2 == 0 ? 1000 : -1000); });
    // Every row equal, and every row a multiple of the first: rank one.
    std::vector<double> row(n);
    for (double& x : row)
        x = unit(engine);
    make([&](std::size_t k) { return row[k % n]; });
    make([&](std::size_t k) { return row[k % n] * static_cast<double>(k / n + 1); });
    // One column of zeros, one tiny entry among ordinary ones.
    make([&](std::size_t k) { return k % n == 1 ? 0.0 : unit(engine); });
    make([&](std::size_t k) { return k == count / 2 ? 1e-300 : unit(engine); });
    make([&](std::size_t k) { return k == 0 ? std::numeric_limits<double>::infinity() : unit(engine); });
    make([&](std::size_t k) { return k == count - 1 ? std::numeric_limits<double>::quiet_NaN() : unit(engine); });
    return inputs;
}

TEST(SvdWithoutU, FacetShapesGiveTheFullWorkersBits)
{
    // d = 2..8 are the compile-time shapes; the next one runs at run time.
    for (int d = 2; d <= CNrSvd::kLargestFixedDimension + 1; ++d)
        for (const std::vector<double>& input : Inputs(d - 1, d, 1000u + d))
            ExpectSameBits(d - 1, d, input, "facet shape");
}

TEST(SvdWithoutU, OtherShapesGiveTheFullWorkersBits)
{
    const int shapes[][2] = {{1, 1}, {3, 3}, {5, 3}, {2, 5}, {1, 4}, {9, 9}, {40, 40}};
    for (const auto& shape : shapes)
        for (const std::vector<double>& input : Inputs(shape[0], shape[1], 77u + shape[0] * 50 + shape[1]))
            ExpectSameBits(shape[0], shape[1], input, "other shape");
}

// Equal bits alone would pass two equally wrong results: the lean entry point
// must also decompose. For each right singular vector v_j, |A v_j| = w_j, and
// V is orthogonal.
TEST(SvdWithoutU, FacetShapesDecompose)
{
    std::mt19937 engine(5);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    for (int d = 2; d <= CNrSvd::kLargestFixedDimension; ++d)
    {
        const int m = d - 1;
        std::vector<double> input(static_cast<std::size_t>(m) * d);
        for (double& x : input)
            x = unit(engine);
        WorkerArrays lean(m, d, input);
        ASSERT_TRUE(CNrSvd::svdcmpWithoutU(lean.a.data(), m, d, lean.w.data(), lean.v.data()));
        int zeros = 0;
        for (int j = 1; j <= d; ++j)
        {
            EXPECT_GE(lean.w[j], 0.0);
            zeros += lean.w[j] < 1e-12 ? 1 : 0;
            double norm2 = 0.0;
            for (int i = 0; i < m; ++i)
            {
                double row = 0.0;
                for (int c = 0; c < d; ++c)
                    row += input[i * d + c] * lean.v[c + 1][j];
                norm2 += row * row;
            }
            EXPECT_NEAR(std::sqrt(norm2), lean.w[j], 1e-12) << d << " " << j;
            for (int k = 1; k <= d; ++k)
            {
                double dot = 0.0;
                for (int c = 1; c <= d; ++c)
                    dot += lean.v[c][j] * lean.v[c][k];
                EXPECT_NEAR(dot, j == k ? 1.0 : 0.0, 1e-12) << d << " " << j << " " << k;
            }
        }
        // A (d-1)-by-d matrix has a null space: exactly one zero singular value
        // for random rows.
        EXPECT_EQ(zeros, 1) << d;
    }
}
} // namespace
