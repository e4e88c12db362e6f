#include "ExpectThrow.h"
#include "Numeric/helpers/nrSVD.h"

#include <cmath>
#include <limits>
#include <new>
#include <random>
#include <vector>

using TOLX::CMatrix;
using TOLX::CNumeric;

namespace
{
// Lets a test make the worker's own work-vector allocation fail.
bool failNothrowArrayNew = false;
} // namespace

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    if (failNothrowArrayNew)
        return nullptr;
    try
    {
        return ::operator new[](size);
    }
    catch (...)
    {
        return nullptr;
    }
}

namespace
{
template <class T>
CMatrix<T> FromRows(const std::vector<std::vector<double>>& rows)
{
    CMatrix<T> m(rows.size(), rows[0].size());
    for (std::size_t i = 0; i < m.Rows() * m.Cols(); ++i)
        m.Data()[i] = static_cast<T>(rows[i / m.Cols()][i % m.Cols()]);
    return m;
}

CMatrix<double> Random(std::size_t rows, std::size_t cols, unsigned seed)
{
    std::mt19937 engine(seed);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    CMatrix<double> m(rows, cols);
    for (std::size_t i = 0; i < rows * cols; ++i)
        m.Data()[i] = value(engine);
    return m;
}

struct Decomposition
{
    CMatrix<double> U, S, V;
};

Decomposition Decompose(const CMatrix<double>& A, bool sort)
{
    Decomposition d{CMatrix<double>(A.Rows(), A.Cols()), CMatrix<double>(A.Cols(), 1),
                    CMatrix<double>(A.Cols(), A.Cols())};
    EXPECT_TRUE(CNumeric::Svd(A, d.U, d.S, d.V, sort));
    return d;
}

// A = U diag(S) V^T, S non-negative, V orthogonal, and the columns of U that
// carry a non-zero singular value orthonormal: together these pin down an SVD.
void ExpectValidSvd(const CMatrix<double>& A, const Decomposition& d, double tolerance)
{
    const std::size_t m = A.Rows(), n = A.Cols();
    for (std::size_t i = 0; i < m; ++i)
        for (std::size_t j = 0; j < n; ++j)
        {
            double sum = 0.0;
            for (std::size_t k = 0; k < n; ++k)
                sum += d.U(i, k) * d.S(k, 0) * d.V(j, k);
            EXPECT_NEAR(sum, A(i, j), tolerance) << "element " << i << "," << j;
        }
    for (std::size_t k = 0; k < n; ++k)
        EXPECT_GE(d.S(k, 0), 0.0);
    for (std::size_t p = 0; p < n; ++p)
        for (std::size_t q = 0; q < n; ++q)
        {
            double vv = 0.0, uu = 0.0;
            for (std::size_t k = 0; k < n; ++k)
                vv += d.V(k, p) * d.V(k, q);
            for (std::size_t k = 0; k < m; ++k)
                uu += d.U(k, p) * d.U(k, q);
            EXPECT_NEAR(vv, p == q ? 1.0 : 0.0, tolerance);
            if (d.S(p, 0) > tolerance && d.S(q, 0) > tolerance)
            {
                EXPECT_NEAR(uu, p == q ? 1.0 : 0.0, tolerance);
            }
        }
}
} // namespace

TEST(Svd, DecomposesSquareTallWideAndRankDeficientMatrices)
{
    // Rank 2: the third row is the sum of the first two, the fourth is zero.
    const CMatrix<double> deficient =
        FromRows<double>({{1, 2, 3, 4}, {-2, 0.5, 1, 0}, {-1, 2.5, 4, 4}, {0, 0, 0, 0}});
    const CMatrix<double> inputs[] = {Random(4, 4, 1), Random(7, 3, 2), Random(1, 3, 3),
                                      Random(3, 6, 4), deficient,       Random(40, 35, 5)};
    for (const CMatrix<double>& A : inputs)
        for (bool sort : {false, true})
        {
            SCOPED_TRACE(testing::Message() << A.Rows() << "x" << A.Cols() << " sort=" << sort);
            ExpectValidSvd(A, Decompose(A, sort), 1e-12);
        }
}

TEST(Svd, SingularValuesMatchClosedForm)
{
    // A^T A = [[25, 20], [20, 25]] has eigenvalues 45 and 5.
    const Decomposition d = Decompose(FromRows<double>({{3, 0}, {4, 5}}), true);
    EXPECT_NEAR(d.S(0, 0), 3.0 * std::sqrt(5.0), 1e-14);
    EXPECT_NEAR(d.S(1, 0), std::sqrt(5.0), 1e-14);
    // A single row's only singular value is its length.
    const Decomposition row = Decompose(FromRows<double>({{1, 2, 2}}), true);
    EXPECT_NEAR(row.S(0, 0), 3.0, 1e-14);
    EXPECT_NEAR(std::fabs(row.U(0, 0)), 1.0, 1e-14);
}

TEST(Svd, SortOrdersDescendingAndStablyAndMovesColumns)
{
    const CMatrix<double> A = FromRows<double>({{1, 0, 0}, {0, 3, 0}, {0, 0, 2}});
    // Already diagonal: every value converges in place, so unsorted output
    // keeps the diagonal's order.
    const Decomposition unsorted = Decompose(A, false);
    const double unsortedValues[] = {1, 3, 2};
    for (int j = 0; j < 3; ++j)
        EXPECT_DOUBLE_EQ(unsorted.S(j, 0), unsortedValues[j]);

    const Decomposition sorted = Decompose(A, true);
    const double values[] = {3, 2, 1};
    const int sourceAxis[] = {1, 2, 0};
    for (int j = 0; j < 3; ++j)
    {
        EXPECT_DOUBLE_EQ(sorted.S(j, 0), values[j]);
        EXPECT_DOUBLE_EQ(sorted.U(sourceAxis[j], j) * sorted.V(sourceAxis[j], j), 1.0) << j;
    }

    // Equal values keep the worker's order: the 2 from column 0 stays first.
    const Decomposition ties = Decompose(FromRows<double>({{2, 0, 0}, {0, 5, 0}, {0, 0, 2}}), true);
    EXPECT_DOUBLE_EQ(std::fabs(ties.U(1, 0)), 1.0);
    EXPECT_DOUBLE_EQ(std::fabs(ties.U(0, 1)), 1.0);
    EXPECT_DOUBLE_EQ(std::fabs(ties.U(2, 2)), 1.0);
}

TEST(Svd, FloatDecomposesAndSaturatesWhenWritingBack)
{
    CMatrix<float> A = FromRows<float>({{3, 0}, {4, 5}});
    CMatrix<float> U(2, 2), S(2, 1), V(2, 2);
    ASSERT_TRUE(CNumeric::Svd(A, U, S, V, true));
    EXPECT_NEAR(S(0, 0), 3.0 * std::sqrt(5.0), 1e-5);
    EXPECT_NEAR(S(1, 0), std::sqrt(5.0), 1e-5);

    // The largest singular value 2 * FLT_MAX is representable only in double.
    const float big = std::numeric_limits<float>::max();
    A = FromRows<float>({{big, big}, {big, big}});
    ASSERT_TRUE(CNumeric::Svd(A, U, S, V, true));
    EXPECT_EQ(S(0, 0), big);
    EXPECT_NEAR(std::fabs(U(0, 0)), std::sqrt(0.5), 1e-6);

    using TOLX::Impl::NarrowResult;
    const double inf = std::numeric_limits<double>::infinity();
    const std::pair<double, float> narrowed[] = {{3.5e38, big}, {-1e300, -big}, {3.4028234663852886e38, big},
                                                 {inf, float(inf)}, {-inf, -float(inf)}, {0.1, 0.1f}};
    for (const auto& [wide, narrow] : narrowed)
        EXPECT_EQ(NarrowResult<float>(wide), narrow) << wide;
    EXPECT_TRUE(std::isnan(NarrowResult<float>(std::nan(""))));
    EXPECT_EQ(NarrowResult<double>(1e300), 1e300);
}

TEST(Svd, OutputsAreWrittenInPlaceAndNeverReshaped)
{
    const CMatrix<double> A = Random(3, 3, 6);
    const Decomposition reference = Decompose(A, false);

    // Larger outputs: the extra row and column keep their values.
    CMatrix<double> U(4, 4), S(3, 2), V(4, 4);
    for (CMatrix<double>* m : {&U, &S, &V})
        *m += 7.0;
    ASSERT_TRUE(CNumeric::Svd(A, U, S, V, false));
    for (std::size_t k = 0; k < 4; ++k)
    {
        EXPECT_EQ(U(3, k), 7.0);
        EXPECT_EQ(U(k, 3), 7.0);
        EXPECT_EQ(V(k, 3), 7.0);
    }
    EXPECT_EQ(S(2, 1), 7.0);
    EXPECT_EQ(S(2, 0), reference.S(2, 0));

    // Too few rows in U: the first two rows are written, then the write
    // accessor reports the third.
    CMatrix<double> small(2, 3);
    ExpectThrowAt([&] { CNumeric::Svd(A, small, S, V, false); },
                  "Index exceeds matrix bounds.Tried to access index (2,0) but Matrix size is 2-by-3",
                  "TOLX::CMatrix<double>::operator ()", "src/Numeric/Matrix.cpp", 91);
    for (std::size_t i = 0; i < 2; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            EXPECT_EQ(small(i, j), reference.U(i, j));
}

TEST(Svd, WorkspaceReuseGivesIdenticalResults)
{
    TOLX::CSvdWorkspace work;
    const CMatrix<double> big = Random(6, 5, 7), A = Random(3, 4, 8);
    CMatrix<double> U(6, 5), S(5, 1), V(5, 5);
    ASSERT_TRUE(CNumeric::Svd(big, U, S, V, true, work));

    CMatrix<double> U2(3, 4), S2(4, 1), V2(4, 4);
    ASSERT_TRUE(CNumeric::Svd(A, U2, S2, V2, true, work));
    const Decomposition fresh = Decompose(A, true);
    EXPECT_TRUE(U2 == fresh.U);
    EXPECT_TRUE(S2 == fresh.S);
    EXPECT_TRUE(V2 == fresh.V);
}

TEST(Rank, CountsValuesStrictlyAboveAbsoluteTolerance)
{
    const CMatrix<double> identity = FromRows<double>({{1, 0, 0}, {0, 1, 0}, {0, 0, 1}});
    EXPECT_EQ(CNumeric::Rank(identity, 0), 3);
    EXPECT_EQ(CNumeric::Rank(identity, 1), 0);
    EXPECT_EQ(CNumeric::Rank(identity, 0.999), 3);

    const CMatrix<double> zero(2, 2);
    EXPECT_EQ(CNumeric::Rank(zero, 0), 0);
    EXPECT_EQ(CNumeric::Rank(zero, -1), 2);

    // The tolerance is not scaled: values of 1e-3 and 1e3 against 1.
    EXPECT_EQ(CNumeric::Rank(FromRows<double>({{1e-3, 0}, {0, 1e3}}), 1.0), 1);
    EXPECT_EQ(CNumeric::Rank(FromRows<double>({{1, 2, 3, 4}, {2, 4, 6, 8}, {0, 1, 0, 1}}), 1e-9), 2);
    // One row: one non-zero singular value (the others are zero up to rounding).
    EXPECT_EQ(CNumeric::Rank(FromRows<double>({{1, 2, 2}}), 1e-12), 1);
    EXPECT_EQ(CNumeric::Rank(FromRows<float>({{1, 0}, {0, 0.5}}), 0.5f), 1);
}

TEST(Svd, NanInputFailsOrPropagatesWithoutHanging)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    // With two columns the NaN superdiagonal never becomes negligible: the
    // iteration limit ends the decomposition and nothing is written.
    const CMatrix<double> A = FromRows<double>({{nan, nan}, {nan, nan}});
    CMatrix<double> U(2, 2), S(2, 1), V(2, 2), sevens(2, 2);
    for (CMatrix<double>* m : {&U, &S, &V, &sevens})
        *m += 7.0;
    EXPECT_FALSE(CNumeric::Svd(A, U, S, V, true));
    EXPECT_TRUE(U == sevens && V == sevens && S == sevens.GetCol(0));
    EXPECT_EQ(CNumeric::Rank(A, 0), -1);

    // A single column has no superdiagonal: the NaN value is returned and
    // counts towards the rank.
    const CMatrix<double> single = FromRows<double>({{nan}, {1}});
    EXPECT_EQ(CNumeric::Rank(single, 0), 1);
    EXPECT_EQ(CNumeric::Rank(single, 1e300), 1);
}

TEST(Svd, SubnormalPivotsGiveFiniteOrthogonalFactors)
{
    // A subnormal pivot (a row or column reduced to a value below 2^-1022)
    // once made 1 / pivot overflow in the accumulation of V or U, leaving
    // infinities and NaN in factors of finite input.
    const std::vector<std::vector<std::vector<double>>> cases = {
        {{63, -1.26e-320}},                // subnormal superdiagonal: V
        {{-7e-12, 9.2e-322, 0, 0}},       // the same in a wider row
        {{1e-320, 0}, {0, 1}},            // subnormal diagonal: U
        {{1, 2e-320, 0}, {3, 0, 5e-321}}, // both
    };
    // A non-finite element fails the reconstruction or the orthogonality.
    for (const auto& rows : cases)
        ExpectValidSvd(FromRows<double>(rows), Decompose(FromRows<double>(rows), true), 1e-12);
}

TEST(Svd, HugeElementsGiveFiniteFactors)
{
    // Singular values beyond 1e154 once overflowed where the worker squares
    // them to pick a shift, and finite input came back as NaN. The same
    // matrix scaled down by 2^500 (exactly) must give the same factors and
    // singular values scaled by exactly 2^500.
    const std::vector<std::vector<double>> rows = {
        {0.98046875, 99.16796875, 9.3e10, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0x1p513, 127.5}};
    const CMatrix<double> A = FromRows<double>(rows);
    CMatrix<double> small = A;
    small *= 0x1p-500;
    const Decomposition d = Decompose(A, true);
    const Decomposition reference = Decompose(small, true);
    for (std::size_t i = 0; i < 4; ++i)
    {
        EXPECT_EQ(d.S(i, 0), std::ldexp(reference.S(i, 0), 500));
        for (std::size_t j = 0; j < 4; ++j)
        {
            EXPECT_EQ(d.U(i, j), reference.U(i, j));
            EXPECT_EQ(d.V(i, j), reference.V(i, j));
        }
    }
    ExpectValidSvd(small, reference, 1e-12);

    // Scaled down to a largest element of 1, the elements of 2^-116 beside
    // 2^929 became subnormal and U lost its accuracy (1e-10): huge matrices
    // are scaled to a largest element near 2^400 instead.
    const double e = -0x1.8b8b8b8b8b8b8p-116;
    const CMatrix<double> wide = FromRows<double>(
        {{e, e, e, -0x1.8b8b8b8b80005p-116, e}, {e, e, e, e, e}, {e, e, e, 0x1.942ac2bb8b8b8p-512, 0x1.0002700000001p+929}});
    const Decomposition w = Decompose(wide, true);
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 5; ++j)
        {
            double sum = 0.0;
            for (std::size_t k = 0; k < 5; ++k)
                sum += w.U(i, k) * w.S(k, 0) * w.V(j, k);
            EXPECT_NEAR(sum, wide(i, j), 1e-14 * 0x1p929) << i << "," << j;
        }
}

TEST(Svd, SubnormalElementsKeepFullAccuracy)
{
    // Reflections built at the scale of subnormal elements kept only their
    // few bits: U was off by 1e-7 beside a normal element of 0.15, and a
    // matrix of subnormal elements only did not converge.
    const CMatrix<double> mixed =
        FromRows<double>({{0x0.00000002fp-1022, -0x1p-8, 0x1.38p-3}, {0x0.0000000007223p-1022, 0, 0}});
    ExpectValidSvd(mixed, Decompose(mixed, true), 1e-15);

    // Scaling by a power of two is exact: the subnormal matrix decomposes
    // into the factors of its copy scaled by 2^1070, singular values scaled
    // back by exactly 2^-1070.
    const CMatrix<double> tiny = FromRows<double>({{5e-321, 3e-321}, {1e-321, 2e-321}});
    CMatrix<double> normal = tiny;
    normal *= 0x1p1000;
    normal *= 0x1p70;
    const Decomposition d = Decompose(tiny, false);
    const Decomposition reference = Decompose(normal, false);
    ExpectValidSvd(normal, reference, 1e-12);
    for (std::size_t j = 0; j < 2; ++j)
    {
        EXPECT_EQ(d.S(j, 0), std::ldexp(reference.S(j, 0), -1070));
        for (std::size_t i = 0; i < 2; ++i)
        {
            EXPECT_EQ(d.U(i, j), reference.U(i, j));
            EXPECT_EQ(d.V(i, j), reference.V(i, j));
        }
    }
}

TEST(Svd, WorkVectorAllocationFailureThrows)
{
    // Wide enough that the work vector does not fit the stack buffer.
    const int m = 2, n = 40;
    TOLX::CSvdWorkspace work;
    work.Prepare(m, n);
    for (int i = 1; i <= m; ++i)
        for (int j = 1; j <= n; ++j)
            work.A()[i][j] = i + j;

    failNothrowArrayNew = true;
    ExpectThrowAt([&] { TOLX::CNrSvd::svdcmp(work.A(), m, n, work.W(), work.V()); },
                  "Memory allocation error.", "CNrSvd::svdcmp", "src/Numeric/helpers/nrSVD.cpp", 60);
    failNothrowArrayNew = false;
    EXPECT_TRUE(work.Decompose());
}
