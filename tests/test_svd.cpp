// The singular value decomposition: its results, its failures, and the
// worker without U, which must give the full worker's bits.

#include "ExpectThrow.h"
#include "Matrices.h"
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

using TOLX::CMatrix;
using TOLX::CNrSvd;
using TOLX::CNumeric;
using testsupport::FromRows;
using testsupport::Mat;

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
const double kInf = std::numeric_limits<double>::infinity();

CMatrix<double> Random(std::size_t rows, std::size_t cols, unsigned seed)
{
    std::mt19937 engine(seed);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    CMatrix<double> m(rows, cols);
    std::generate(m.Data(), m.Data() + rows * cols, [&] { return value(engine); });
    return m;
}

struct Decomposition { CMatrix<double> U, S, V; bool converged; };

// The outputs start at `fill`, so that what is left unwritten shows.
Decomposition Decompose(const CMatrix<double>& A, bool sort, double fill = 0)
{
    Decomposition d{CMatrix<double>(A.Rows(), A.Cols()), CMatrix<double>(A.Cols(), 1),
                    CMatrix<double>(A.Cols(), A.Cols()), false};
    for (CMatrix<double>* m : {&d.U, &d.S, &d.V}) *m += fill;
    d.converged = CNumeric::Svd(A, d.U, d.S, d.V, sort);
    return d;
}

// A = U diag(S) V^T, S non-negative, V orthogonal, and the columns of U that
// carry a non-zero singular value orthonormal: together these pin down an SVD.
void ExpectValidSvd(const CMatrix<double>& A, const Decomposition& d, double tolerance)
{
    ASSERT_TRUE(d.converged);
    const std::size_t m = A.Rows(), n = A.Cols();
    for (std::size_t i = 0; i < m; ++i)
        for (std::size_t j = 0; j < n; ++j)
        {
            double sum = 0.0;
            for (std::size_t k = 0; k < n; ++k) sum += d.U(i, k) * d.S(k, 0) * d.V(j, k);
            EXPECT_NEAR(sum, A(i, j), tolerance) << i << "," << j;
        }
    for (std::size_t p = 0; p < n; ++p)
    {
        EXPECT_GE(d.S(p, 0), 0.0);
        for (std::size_t q = 0; q < n; ++q)
        {
            double vv = 0.0, uu = 0.0;
            for (std::size_t k = 0; k < std::max(m, n); ++k)
                vv += k < n ? d.V(k, p) * d.V(k, q) : 0, uu += k < m ? d.U(k, p) * d.U(k, q) : 0;
            const double expected = p == q ? 1.0 : 0.0;
            EXPECT_NEAR(vv, expected, tolerance);
            EXPECT_NEAR(d.S(p, 0) > tolerance && d.S(q, 0) > tolerance ? uu : expected, expected, tolerance);
        }
    }
}

// The worker's 1-based arrays for an m-by-n input, filled from a row-major list.
TOLX::CSvdWorkspace Prepared(int m, int n, const std::vector<double>& rowMajor)
{
    TOLX::CSvdWorkspace work;
    work.Prepare(m, n);
    for (int k = 0; k < m * n; ++k) work.A()[k / n + 1][k % n + 1] = rowMajor[std::size_t(k)];
    return work;
}

// The bits of x; every NaN maps to one value. Which NaN an operation returns
// follows the order of the operands in the machine code, which the compiler
// may swap in commutative operations: no property of the source's arithmetic.
std::uint64_t Bits(double x)
{
    std::uint64_t bits = 0x7ff8000000000000u;
    return std::isnan(x) ? bits : (std::memcpy(&bits, &x, sizeof bits), bits);
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
        [&](std::size_t) { return unit(engine); }, [&](std::size_t) { return std::ldexp(unit(engine), exponent(engine)); },
        [&](std::size_t) { return static_cast<double>(small(engine)); },
        [](std::size_t) { return 0.0; }, [](std::size_t k) { return k % 2 == 0 ? -0.0 : 0.0; }, [](std::size_t) { return 1.0; },
        [](std::size_t k) { return std::ldexp(1.0 + static_cast<double>(k), -1070); },
        [&](std::size_t k) { return std::ldexp(unit(engine), k % 2 == 0 ? 1000 : -1000); },
        [&](std::size_t k) { return row[k % n]; }, [&](std::size_t k) { return row[k % n] * static_cast<double>(k / n + 1); },
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

TEST(Svd, DecomposesSortsAndSaturatesWhenWritingFloatsBack)
{
    // Rank 2: the third row is the sum of the first two, the fourth is zero.
    const CMatrix<double> deficient = FromRows({{1, 2, 3, 4}, {-2, 0.5, 1, 0}, {-1, 2.5, 4, 4}, {0, 0, 0, 0}});
    // With the facet shapes d - 1 by d, which the hull's lean worker shares.
    std::vector<CMatrix<double>> inputs = {Random(4, 4, 1), Random(7, 3, 2), Random(1, 3, 3),
                                           Random(3, 6, 4), deficient,       Random(40, 35, 5)};
    for (std::size_t d = 2; d <= 9; ++d) inputs.push_back(Random(d - 1, d, unsigned(d)));
    for (const CMatrix<double>& A : inputs)
        for (bool sort : {false, true})
        {
            SCOPED_TRACE(testing::Message() << A.Rows() << "x" << A.Cols() << " sort=" << sort);
            ExpectValidSvd(A, Decompose(A, sort), 1e-12);
        }
    // Already diagonal: unsorted output keeps the diagonal's order.
    const CMatrix<double> A = FromRows({{1, 0, 0}, {0, 3, 0}, {0, 0, 2}});
    EXPECT_EQ(Decompose(A, false).S, FromRows({{1}, {3}, {2}}));
    const Decomposition sorted = Decompose(A, true);
    EXPECT_EQ(sorted.S, FromRows({{3}, {2}, {1}}));
    const int sourceAxis[] = {1, 2, 0};
    for (int j = 0; j < 3; ++j) EXPECT_DOUBLE_EQ(sorted.U(sourceAxis[j], j) * sorted.V(sourceAxis[j], j), 1.0) << j;
    // Equal values keep the worker's order: the 2 from column 0 stays first.
    const Decomposition ties = Decompose(FromRows({{2, 0, 0}, {0, 5, 0}, {0, 0, 2}}), true);
    for (const auto& [row, col] : {std::pair{1, 0}, {0, 1}, {2, 2}})
        EXPECT_DOUBLE_EQ(std::fabs(ties.U(row, col)), 1.0) << row << col;
    // A^T A = [[25, 20], [20, 25]] has eigenvalues 45 and 5.
    CMatrix<float> U(2, 2), S(2, 1), V(2, 2);
    ASSERT_TRUE(CNumeric::Svd(FromRows<float>({{3, 0}, {4, 5}}), U, S, V, true));
    EXPECT_TRUE(std::fabs(S(0, 0) - 3 * std::sqrt(5.0)) < 1e-5 && std::fabs(S(1, 0) - std::sqrt(5.0)) < 1e-5);
    // The largest singular value 2 * FLT_MAX is representable only in double.
    const float big = std::numeric_limits<float>::max();
    ASSERT_TRUE(CNumeric::Svd(FromRows<float>({{big, big}, {big, big}}), U, S, V, true));
    EXPECT_TRUE(S(0, 0) == big && std::fabs(std::fabs(U(0, 0)) - std::sqrt(0.5)) < 1e-6);
    using TOLX::Impl::NarrowResult;
    const std::pair<double, float> narrowed[] = {{3.5e38, big}, {-1e300, -big}, {3.4028234663852886e38, big},
                                                 {kInf, float(kInf)}, {-kInf, -float(kInf)}, {0.1, 0.1f}};
    for (const auto& [wide, narrow] : narrowed) EXPECT_EQ(NarrowResult<float>(wide), narrow) << wide;
    EXPECT_TRUE(std::isnan(NarrowResult<float>(std::nan(""))));
    EXPECT_EQ(NarrowResult<double>(1e300), 1e300);
}

TEST(Svd, OutputsAreWrittenInPlaceNeverReshapedAndWorkspacesReused)
{
    const CMatrix<double> A = Random(3, 3, 6);
    const Decomposition reference = Decompose(A, false);
    // Larger outputs: the extra row and column keep their values.
    CMatrix<double> U(4, 4), S(3, 2), V(4, 4);
    for (CMatrix<double>* m : {&U, &S, &V}) *m += 7.0;
    ASSERT_TRUE(CNumeric::Svd(A, U, S, V, false));
    for (std::size_t k = 0; k < 4; ++k) EXPECT_TRUE(U(3, k) == 7.0 && U(k, 3) == 7.0 && V(k, 3) == 7.0) << k;
    EXPECT_TRUE(S(2, 1) == 7.0 && S(2, 0) == reference.S(2, 0));
    // Too few rows in U: the first two rows are written, then the write
    // accessor reports the third.
    CMatrix<double> small(2, 3);
    ExpectThrowAt([&] { CNumeric::Svd(A, small, S, V, false); }, "Index exceeds matrix bounds.Tried to access index (2,0) but Matrix size is 2-by-3",
                  "TOLX::CMatrix<double>::operator ()", "src/Numeric/Matrix.cpp", 91);
    for (std::size_t i = 0; i < 2; ++i)
        for (std::size_t j = 0; j < 3; ++j) EXPECT_EQ(small(i, j), reference.U(i, j));
    // A workspace used for a larger input gives the results of a fresh one.
    TOLX::CSvdWorkspace work;
    CMatrix<double> wideU(6, 5), wideS(5, 1), wideV(5, 5), U3(3, 3), S3(3, 1), V3(3, 3);
    ASSERT_TRUE(CNumeric::Svd(Random(6, 5, 7), wideU, wideS, wideV, true, work));
    ASSERT_TRUE(CNumeric::Svd(A, U3, S3, V3, false, work));
    EXPECT_TRUE(U3 == reference.U && S3 == reference.S && V3 == reference.V);
}

// The tolerance is absolute and strict: values of 1e-3 and 1e3 against 1.
TEST(Svd, RankIsStrictAndExtremeInputsGiveThePublishedResults)
{
    const CMatrix<double> identity = FromRows({{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}), zero(2, 2);
    const std::tuple<CMatrix<double>, double, int> cases[] = {
        {identity, 0, 3}, {identity, 1, 0}, {identity, 0.999, 3}, {zero, 0, 0}, {zero, -1, 2},
        {FromRows({{1e-3, 0}, {0, 1e3}}), 1.0, 1}, {FromRows({{1, 2, 3, 4}, {2, 4, 6, 8}, {0, 1, 0, 1}}), 1e-9, 2},
        {FromRows({{1, 2, 2}}), 1e-12, 1}};
    for (const auto& [A, tolerance, rank] : cases)
        EXPECT_EQ(CNumeric::Rank(A, tolerance), rank) << A.Rows() << "x" << A.Cols() << " " << tolerance;
    EXPECT_EQ(CNumeric::Rank(FromRows<float>({{1, 0}, {0, 0.5}}), 0.5f), 1);
    // The routine is run as published on every input, without rescaling or
    // guards: NaN, or singular values near 1e300 (the shift's squares overflow)
    // or 1e-300 (they underflow), never split the 2-by-2 block, so the
    // decomposition fails, writes nothing, and the rank is -1.
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const CMatrix<double>& A : {FromRows({{nan, nan}, {nan, nan}}), FromRows({{1e300, 2e299}, {3e299, -1e300}}),
                                     FromRows({{1e-300, 2e-301}, {3e-301, -1e-300}})})
    {
        SCOPED_TRACE(A(0, 0));
        const Decomposition d = Decompose(A, true, 7.0);
        EXPECT_TRUE(!d.converged && d.U == Mat(2, 2, {7, 7, 7, 7}) && d.S == Mat(2, 1, {7, 7}) && d.V == d.U);
        EXPECT_EQ(CNumeric::Rank(A, 0), -1);
    }
    // A single column has no superdiagonal: the NaN value is returned and
    // counts towards the rank.
    EXPECT_TRUE(CNumeric::Rank(FromRows({{nan}, {1}}), 0) == 1 && CNumeric::Rank(FromRows({{nan}, {1}}), 1e300) == 1);
    // 2^510 [[3, 1], [2, 4]] converges, but the product 2 h y of the shift
    // overflows and the second singular value, U and V come out NaN.
    const Decomposition d = Decompose(Mat(2, 2, {3 * 0x1p510, 0x1p510, 2 * 0x1p510, 4 * 0x1p510}), false);
    EXPECT_TRUE(d.S(0, 0) == 0.0 && std::isnan(d.S(1, 0)));
    for (std::size_t k = 0; k < 4; ++k) EXPECT_TRUE(std::isnan(d.U.Data()[k]) && std::isnan(d.V.Data()[k])) << k;
    // A subnormal superdiagonal: V's reflection divides by it, (0 / 1) / g
    // and 1 / g with g = -5e-324 run to -infinity.
    EXPECT_EQ(Decompose(FromRows({{1, 5e-324}, {0, 1}}), false).V(1, 1), -kInf);
    // Counts are taken as 32-bit integers: 2^32 - 2 rows become m = -2, and
    // m + 1 = -1 row pointers cannot be allocated.
    for (const std::size_t rows : {std::size_t(4294967294u), std::size_t(2147483648u)})
        EXPECT_THROW(CNumeric::Rank(CMatrix<double>(rows, 0), 0.0), std::bad_array_new_length) << rows;
}

// The worker's own work vector, wide enough not to fit the stack buffer,
// cannot be allocated. (Valgrind runs leave this test out: it replaces the
// allocator itself.)
TEST(Svd, WorkVectorAllocationFailureThrows)
{
    TOLX::CSvdWorkspace work = Prepared(2, 40, std::vector<double>(80, 1.0));
    failNothrowArrayNew = true;
    ExpectThrowAt([&] { CNrSvd::svdcmp(work.A(), 2, 40, work.W(), work.V()); }, "Memory allocation error.",
                  "CNrSvd::svdcmp", "src/Numeric/helpers/nrSVD.cpp", 60);
    failNothrowArrayNew = false;
    EXPECT_TRUE(work.Decompose());
}

// Facet shapes d - 1 by d (d = 2..8 compiled for, the next at run time) and
// others. Equal bits alone would pass two equally wrong results: the tests
// above check that the full worker decomposes these shapes.
TEST(SvdWithoutU, EveryShapeGivesTheFullWorkersBits)
{
    std::vector<std::pair<int, int>> shapes = {{1, 1}, {3, 3}, {5, 3}, {2, 5}, {1, 4}, {9, 9}, {40, 40}};
    for (int d = 2; d <= CNrSvd::kLargestFixedDimension + 1; ++d) shapes.emplace_back(d - 1, d);
    // Both entry points on copies of one input: the converged flag, every
    // singular value and every element of V must have the same bits.
    for (const auto& [m, n] : shapes)
        for (const std::vector<double>& input : Inputs(m, n, 77u + m * 50 + n))
        {
            TOLX::CSvdWorkspace full = Prepared(m, n, input), lean = Prepared(m, n, input);
            ASSERT_EQ(CNrSvd::svdcmp(full.A(), m, n, full.W(), full.V()),
                      CNrSvd::svdcmpWithoutU(lean.A(), m, n, lean.W(), lean.V())) << m << "x" << n;
            for (int j = 1; j <= n; ++j)
                for (int i = 0; i <= n; ++i) // row 0 stands for the singular values
                    ASSERT_EQ(Bits(i ? full.V()[i][j] : full.W()[j]), Bits(i ? lean.V()[i][j] : lean.W()[j]))
                        << m << "x" << n << " v[" << i << "][" << j << "]";
        }
}
