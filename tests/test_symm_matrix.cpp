#include "VornNumeric.h"

#include "ExpectThrow.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

using TOLX::CSymmMatrix;
using TOLX::int64;

namespace
{
const char* const kFile = "src/Numeric/SymmMatrix.h";
constexpr double kEps = 2.220446049250313e-16;

std::vector<double> Elements(const CSymmMatrix<double>& m)
{
    std::vector<double> out;
    for (std::size_t i = 0; i < m.Rows(); ++i)
        for (std::size_t j = 0; j < m.Cols(); ++j)
            out.push_back(m(i, j));
    return out;
}

// Checks A v_k = lambda_k v_k, unit length and mutual orthogonality of the
// columns. The residual tolerance is relative to the largest element of A and
// loose on purpose: for large positive theta the positive root
// t = sqrt(theta^2 + 1) - theta loses digits to cancellation, and the element
// the rotation was meant to annihilate is zeroed regardless, so residuals
// reach a few 1e-8 of the matrix scale (1e-14 with the smaller root).
void ExpectEigenDecomposition(const CSymmMatrix<double>& a, const CSymmMatrix<double>& v,
                              const std::vector<double>& lambda)
{
    const std::size_t n = a.Rows();
    double scale = 0;
    for (double x : Elements(a))
        scale = std::max(scale, std::fabs(x));
    for (std::size_t k = 0; k < n; ++k)
    {
        for (std::size_t i = 0; i < n; ++i)
        {
            double av = 0;
            for (std::size_t j = 0; j < n; ++j)
                av += a(i, j) * v(j, k);
            EXPECT_NEAR(av, lambda[k] * v(i, k), 1e-7 * scale) << "column " << k << " row " << i;
        }
        for (std::size_t l = 0; l < n; ++l)
        {
            double dot = 0;
            for (std::size_t i = 0; i < n; ++i)
                dot += v(i, k) * v(i, l);
            EXPECT_NEAR(dot, k == l ? 1.0 : 0.0, 1e-13);
        }
    }
}
} // namespace

TEST(SymmMatrix, ConstructionAndLenientAccess)
{
    EXPECT_EQ(CSymmMatrix<double>(3).Cols(), 3u);
    EXPECT_EQ(Elements(CSymmMatrix<double>(3)), (std::vector<double>{1, 0, 0, 0, 1, 0, 0, 0, 1}));

    CSymmMatrix<double> m({1, 2, 3, 4}, 2);
    // Only the linear index is checked: (0, 2) is element (1, 0).
    EXPECT_EQ(m(0, 2), 3.0);
    m(0, 3) = 9;
    EXPECT_EQ(m(1, 1), 9.0);
    ExpectBadSubscript([&] { (void)m(2, 0); });
    ExpectBadSubscript([&] { m(1, 2) = 0; });
    ExpectBadSubscript([&] { (void)static_cast<const CSymmMatrix<double>&>(m)(0, 4); });

    EXPECT_EQ(CSymmMatrix<double>(0).Rows(), 0u);
    // A negative dimension squares to a positive storage size and has no
    // diagonal: n = -2 holds four zeros, or the four values given.
    const CSymmMatrix<double> negative(-2);
    EXPECT_EQ(negative.Rows(), static_cast<std::size_t>(-2));
    EXPECT_EQ((std::vector<double>{negative(0, 0), negative(0, 1), negative(0, 2), negative(0, 3)}),
              (std::vector<double>{0, 0, 0, 0}));
    ExpectBadSubscript([&] { (void)negative(0, 4); });
    EXPECT_EQ(CSymmMatrix<double>({1, 2, 3, 4}, -2)(0, 3), 4.0);
    ExpectStdThrow<std::length_error>([] { CSymmMatrix<double>(int64(1) << 32); }, "vector<T> too long");

    for (const auto& [values, n] : std::vector<std::pair<std::vector<double>, int64>>{
             {{1, 2, 3}, 2}, {{1, 2, 3, 4}, 3}, {{}, 1}, {{1, 2, 3}, -2}, {{}, int64(1) << 32}})
        ExpectThrowAt([&, v = values, d = n] { CSymmMatrix<double> bad(v, d); }, "invalid parameter vector",
                      "TOLX::CSymmMatrix<double>::CSymmMatrix", kFile, 104);
}

TEST(SymmMatrix, AssignmentFromAnotherMatrixTypeReshapes)
{
    CSymmMatrix<double> target(3);
    target = CSymmMatrix<double>({1, 2, 3, 4}, 2);
    EXPECT_EQ(Elements(target), (std::vector<double>{1, 2, 3, 4}));
    // From another matrix type the interface's rule applies: rows differ, so
    // the target is reshaped first.
    TOLX::CMatrix<double> dense(2, 2);
    dense(0, 1) = 5;
    target = static_cast<const TOLX::IMatrix<double>&>(dense);
    EXPECT_EQ(Elements(target), (std::vector<double>{0, 5, 0, 0}));
}

TEST(SymmMatrix, ReshapeKeepsStoragePositions)
{
    CSymmMatrix<double> m({1, 2, 3, 4}, 2);
    m.Reshape(3, 3);
    EXPECT_EQ(Elements(m), (std::vector<double>{1, 2, 3, 4, 0, 0, 0, 0, 0}));
    ExpectThrowAt([&] { m.Reshape(2, 3); }, "Symmetric matrix must have an equal number of rows and columns.",
                  "TOLX::CSymmMatrix<double>::Reshape", kFile, 485);
    EXPECT_EQ(m.Rows(), 3u);
    m.Reshape(1, 1);
    EXPECT_EQ(Elements(m), (std::vector<double>{1}));
}

TEST(SymmMatrix, ColumnLengths)
{
    CSymmMatrix<double> m({3, 1, 4, 2}, 2);
    EXPECT_DOUBLE_EQ(m.GetColumnLength(0), 5.0);
    EXPECT_DOUBLE_EQ(m.GetColumnLength(1), std::sqrt(5.0));
    EXPECT_EQ(CSymmMatrix<double>(0).GetColumnLength(0), 0.0);

    m.ScaleColumns({2, -1});
    EXPECT_EQ(Elements(m), (std::vector<double>{6, -1, 8, -2}));
    ExpectBadSubscript([&] { m.ScaleColumns({1}); });
    EXPECT_EQ(Elements(m), (std::vector<double>{6, -1, 8, -2}));

    m.SetColumnLength({1, 1});
    EXPECT_DOUBLE_EQ(m.GetColumnLength(1), 1.0);
    EXPECT_DOUBLE_EQ(m(0, 0), 0.6);
    EXPECT_DOUBLE_EQ(m(1, 0), 0.8);
    m.SetColumnLength({10, 0.5});
    EXPECT_DOUBLE_EQ(m.GetColumnLength(0), 10.0);
    EXPECT_DOUBLE_EQ(m.GetColumnLength(1), 0.5);

    for (const std::vector<double>& lengths : {std::vector<double>{1, 1, 1}, std::vector<double>{1}})
        ExpectThrowAt([&] { m.SetColumnLength(lengths); }, "invalid vector length in SetColumnLength",
                      "TOLX::CSymmMatrix<double>::SetColumnLength", kFile, 217);

    // A zero column is divided by without a check.
    CSymmMatrix<double> zero({0, 1, 0, 1}, 2);
    zero.SetColumnLength({1, 1});
    EXPECT_TRUE(std::isnan(zero(0, 0)));
}

TEST(SymmMatrix, SymmetryToleranceIsOneAbsoluteEpsilon)
{
    EXPECT_TRUE(CSymmMatrix<double>(0).IsSymmetric());
    EXPECT_TRUE(CSymmMatrix<double>({1, 1, 1 + kEps, 1}, 2).IsSymmetric());
    EXPECT_FALSE(CSymmMatrix<double>({1, 1, 1 + 2 * kEps, 1}, 2).IsSymmetric());
    // Not scaled by the magnitude: one unit in the last place of 1e6 is too much.
    EXPECT_FALSE(CSymmMatrix<double>({0, 1e6, std::nextafter(1e6, 2e6), 0}, 2).IsSymmetric());
    EXPECT_FALSE(CSymmMatrix<double>({0, 0, 5, 0, 0, 0, 5 + 1e-15, 0, 0}, 3).IsSymmetric());
}

TEST(SymmMatrix, FindMaxOffDiagonal)
{
    using Position = std::pair<int64, int64>;
    Position at{-7, -8};
    EXPECT_EQ(CSymmMatrix<double>({9, 0, 0, 9}, 2).FindMaxOffDiagonal(at.first, at.second), 0.0);
    EXPECT_EQ(at, Position(-7, -8));
    // Ties keep the first position in row-major order; both triangles count.
    EXPECT_EQ(CSymmMatrix<double>({100, 0, -3, 0, 100, 3, -3, 3, 100}, 3).FindMaxOffDiagonal(at.first, at.second), 3.0);
    EXPECT_EQ(at, Position(0, 2));
    EXPECT_EQ(CSymmMatrix<double>({0, 1, 0, -4, 0, 2, 0, 2, 0}, 3).FindMaxOffDiagonal(at.first, at.second), 4.0);
    EXPECT_EQ(at, Position(1, 0));
}

TEST(SymmMatrix, PrintUsesDefaultFormatting)
{
    std::ostringstream os;
    EXPECT_EQ(&CSymmMatrix<double>({1.5, -2, 1e-7, 123456789}, 2).Print(os), &os);
    EXPECT_EQ(os.str(), "1.5 -2 \n1e-07 1.23457e+08 \n");
}

TEST(SymmMatrix, JacobiTwoByTwoIsExact)
{
    const CSymmMatrix<double> a({2, 1, 1, 2}, 2);
    CSymmMatrix<double> v(5);
    std::vector<double> lambda(2, -1);
    a.SolveEigenProblem(v, lambda, kEps);
    // theta = 0, t = 1, c = s = 1/sqrt(2): one rotation.
    const double c = 1 / std::sqrt(2.0);
    EXPECT_EQ(lambda, (std::vector<double>{1, 3}));
    EXPECT_EQ(v.Rows(), 2u);
    EXPECT_EQ(Elements(v), (std::vector<double>{c, c, -c, c}));
    EXPECT_EQ(Elements(a), (std::vector<double>{2, 1, 1, 2}));
}

TEST(SymmMatrix, JacobiTakesThePositiveRootForNegativeTheta)
{
    // theta = (1 - 3) / 2 = -1: the positive root t = 1 + sqrt(2) moves the
    // smaller eigenvalue to position 0 (the smaller root would not).
    const CSymmMatrix<double> a({3, 1, 1, 1}, 2);
    CSymmMatrix<double> v(2);
    std::vector<double> lambda(2);
    a.SolveEigenProblem(v, lambda, kEps);
    EXPECT_NEAR(lambda[0], 2 - std::sqrt(2.0), 1e-15);
    EXPECT_NEAR(lambda[1], 2 + std::sqrt(2.0), 1e-15);
    ExpectEigenDecomposition(a, v, lambda);
}

TEST(SymmMatrix, JacobiRotationsBeyondTheSquaresRange)
{
    // |theta| = 5e154 and 1.5e155: theta^2 overflows, t = sqrt(inf) - theta
    // is infinite, c = 1 / inf = 0 and s = inf * 0 is NaN. The diagonal
    // becomes a -+ t a_pq = (-inf, +inf) and every eigenvector element NaN.
    // theta = -1e154: theta^2 is finite, t = 2e154, but t^2 overflows, so
    // c = 0 and s = t c = 0: the diagonal swaps to (-1e139, 1e139) and the
    // eigenvectors are zero. Each time the pivot is zeroed and the loop ends.
    const double inf = std::numeric_limits<double>::infinity();
    const double theta = (-1e139 - 1e139) / (2 * 1e-15);
    const double t = std::sqrt(theta * theta + 1) - theta;
    const std::tuple<std::vector<double>, std::vector<double>, bool> cases[] = {
        {{1e140, 1e-15, 1e-15, 0}, {-inf, inf}, true},
        {{0, 1e-11, 1e-11, 3e144}, {-inf, inf}, true},
        {{1e139, 1e-15, 1e-15, -1e139}, {1e139 - t * 1e-15, -1e139 + t * 1e-15}, false},
    };
    for (const auto& [elements, expected, vectorsNaN] : cases)
    {
        CSymmMatrix<double> v(2);
        std::vector<double> lambda(2);
        CSymmMatrix<double>(elements, 2).SolveEigenProblem(v, lambda, kEps);
        EXPECT_EQ(lambda, expected);
        for (double x : Elements(v))
            EXPECT_TRUE(vectorsNaN ? std::isnan(x) : x == 0.0) << x;
    }
}

TEST(SymmMatrix, JacobiDiagonalAndEmpty)
{
    const CSymmMatrix<double> diag({3, 0, 0, 0, -1, 0, 0, 0, 2}, 3);
    CSymmMatrix<double> v({9, 9, 9, 9}, 2);
    std::vector<double> lambda(4, 7);
    diag.SolveEigenProblem(v, lambda, kEps);
    EXPECT_EQ(Elements(v), Elements(CSymmMatrix<double>(3)));
    EXPECT_EQ(lambda, (std::vector<double>{3, -1, 2, 7}));

    CSymmMatrix<double> same(2);
    std::vector<double> none;
    testing::internal::CaptureStdout();
    CSymmMatrix<double>(0).SolveEigenProblem(same, none, kEps);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(same.Rows(), 0u);
    EXPECT_TRUE(none.empty());

    std::vector<double> tooShort(1);
    ExpectBadSubscript([&] { diag.SolveEigenProblem(v, tooShort, kEps); });
}

TEST(SymmMatrix, JacobiRejectsNonSymmetricAfterPrinting)
{
    const CSymmMatrix<double> a({1, 1, 1 + 1e-15, 1}, 2);
    CSymmMatrix<double> v({4, 4, 4, 4}, 2);
    std::vector<double> lambda(2, 8);
    testing::internal::CaptureStdout();
    ExpectThrowAt([&] { a.SolveEigenProblem(v, lambda, kEps); }, "Matrix is not symmetric",
                  "TOLX::CSymmMatrix<double>::SolveEigenProblem", kFile, 250);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Print Matrix:\n1 1 \n1 1 \n\n");
    EXPECT_EQ(Elements(v), (std::vector<double>{4, 4, 4, 4}));
    EXPECT_EQ(lambda, (std::vector<double>{8, 8}));
}

TEST(SymmMatrix, JacobiDecomposesGeneralSymmetricMatrices)
{
    unsigned state = 12345;
    const auto next = [&state] {
        state = state * 1103515245u + 12345u;
        return static_cast<double>((state >> 8) % 20001) / 1000.0 - 10.0;
    };
    for (int64 n = 2; n <= 6; ++n)
        for (int trial = 0; trial < 20; ++trial)
        {
            const auto dim = static_cast<std::size_t>(n);
            std::vector<double> values(dim * dim);
            for (std::size_t i = 0; i < dim; ++i)
                for (std::size_t j = i; j < dim; ++j)
                    values[i * dim + j] = values[j * dim + i] = next();
            const CSymmMatrix<double> a(values, n);
            CSymmMatrix<double> v(0);
            std::vector<double> lambda(dim);
            a.SolveEigenProblem(v, lambda, kEps);
            ExpectEigenDecomposition(a, v, lambda);
            double trace = 0;
            double sum = 0;
            for (std::size_t k = 0; k < dim; ++k)
            {
                trace += a(k, k);
                sum += lambda[k];
            }
            EXPECT_NEAR(sum, trace, 1e-12 * static_cast<double>(n));
        }
}

// Inputs on which rotating until no element exceeds eps would never end.
TEST(SymmMatrix, JacobiTerminatesOnInputsThatNeverConverge)
{
    CSymmMatrix<double> v(3);
    std::vector<double> lambda(3);

    // Huge equal diagonals absorb every rotation; with eps = 0 the last
    // subnormal off-diagonal element survives forever.
    const CSymmMatrix<double> huge({1e300, 1.33, 6.74, 1.33, 1e300, 8.78, 6.74, 8.78, 1e300}, 3);
    huge.SolveEigenProblem(v, lambda, 0.0);
    EXPECT_EQ(lambda, (std::vector<double>{1e300, 1e300, 1e300}));
    // With the usual eps the same input converges normally.
    huge.SolveEigenProblem(v, lambda, kEps);
    EXPECT_EQ(lambda, (std::vector<double>{1e300, 1e300, 1e300}));
    ExpectEigenDecomposition(CSymmMatrix<double>(3), v, {1, 1, 1});

    // A negative eps keeps the loop going after every element is zero: the
    // pivot stays at (0, 0), which doubles until it overflows and turns NaN;
    // rows and columns 1 and 2 are never touched.
    CSymmMatrix<double>({2, 0, 0, 0, 3, 0, 0, 0, 4}, 3).SolveEigenProblem(v, lambda, -1.0);
    EXPECT_TRUE(std::isnan(lambda[0]));
    EXPECT_EQ(lambda[1], 3.0);
    EXPECT_EQ(lambda[2], 4.0);
}
