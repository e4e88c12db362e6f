#include "ExpectThrow.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <sstream>
#include <stdexcept>
#include <tuple>
#include <vector>

using TOLX::CSymmMatrix;
using TOLX::int64;
using Values = std::vector<double>;

namespace
{
const char* const kFile = "src/Numeric/SymmMatrix.h";
constexpr double kEps = 2.220446049250313e-16;
const double kInf = std::numeric_limits<double>::infinity();

Values Elements(const CSymmMatrix<double>& m)
{
    Values out;
    for (std::size_t i = 0; i < m.Rows(); ++i)
        for (std::size_t j = 0; j < m.Cols(); ++j)
            out.push_back(m(i, j));
    return out;
}

// A square matrix from its elements.
CSymmMatrix<double> Square(const Values& values) { return CSymmMatrix<double>(values, int64(std::sqrt(values.size()))); }

// A v_k = lambda_k v_k with orthonormal columns. The residual tolerance is
// relative to the largest element and loose on purpose: for large positive
// theta the positive root t = sqrt(theta^2 + 1) - theta loses digits to
// cancellation while the pivot is zeroed regardless, so residuals reach a
// few 1e-8 of the matrix scale (1e-14 with the smaller root).
void ExpectEigenDecomposition(const CSymmMatrix<double>& a, const CSymmMatrix<double>& v, const Values& lambda)
{
    double scale = 0;
    for (double x : Elements(a))
        scale = std::max(scale, std::fabs(x));
    for (std::size_t k = 0; k < a.Rows(); ++k)
        for (std::size_t i = 0; i < a.Rows(); ++i)
        {
            double av = 0, dot = 0;
            for (std::size_t j = 0; j < a.Rows(); ++j)
                av += a(i, j) * v(j, k), dot += v(j, k) * v(j, i);
            EXPECT_NEAR(av, lambda[k] * v(i, k), 1e-7 * scale) << "column " << k << " row " << i;
            EXPECT_NEAR(dot, k == i ? 1.0 : 0.0, 1e-13) << k << " " << i;
        }
}
} // namespace

// Only the linear index is checked: (0, 2) is (1, 0). A negative dimension
// squares to a positive storage size and has no diagonal.
TEST(SymmMatrix, ConstructionAccessReshapeAndColumnLengths)
{
    EXPECT_EQ(Elements(CSymmMatrix<double>(3)), (Values{1, 0, 0, 0, 1, 0, 0, 0, 1}));
    CSymmMatrix<double> m({1, 2, 3, 4}, 2);
    m(0, 3) = 9;
    EXPECT_TRUE(m(0, 2) == 3.0 && m(1, 1) == 9.0);
    ExpectBadSubscript([&] { (void)m(2, 0); });
    ExpectBadSubscript([&] { m(1, 2) = 0; });
    ExpectBadSubscript([&] { (void)static_cast<const CSymmMatrix<double>&>(m)(0, 4); });
    const CSymmMatrix<double> negative(-2);
    EXPECT_EQ(negative.Rows(), static_cast<std::size_t>(-2));
    EXPECT_TRUE(negative(0, 0) == 0 && negative(0, 1) == 0 && negative(0, 2) == 0 && negative(0, 3) == 0);
    ExpectBadSubscript([&] { (void)negative(0, 4); });
    EXPECT_EQ(CSymmMatrix<double>({1, 2, 3, 4}, -2)(0, 3), 4.0);
    ExpectStdThrow<std::length_error>([] { CSymmMatrix<double>(int64(1) << 32); }, "vector<T> too long");
    for (const auto& [values, n] : std::vector<std::pair<Values, int64>>{
             {{1, 2, 3}, 2}, {{1, 2, 3, 4}, 3}, {{}, 1}, {{1, 2, 3}, -2}, {{}, int64(1) << 32}})
        ExpectThrowAt([&, v = values, d = n] { CSymmMatrix<double> bad(v, d); }, "invalid parameter vector",
                      "TOLX::CSymmMatrix<double>::CSymmMatrix", kFile, 104);
    // Reshaping keeps storage positions; from another matrix type the
    // interface's rule applies: rows differ, so the target is reshaped first.
    m = CSymmMatrix<double>({1, 2, 3, 4}, 2);
    m.Reshape(3, 3);
    EXPECT_EQ(Elements(m), (Values{1, 2, 3, 4, 0, 0, 0, 0, 0}));
    ExpectThrowAt([&] { m.Reshape(2, 3); }, "Symmetric matrix must have an equal number of rows and columns.",
                  "TOLX::CSymmMatrix<double>::Reshape", kFile, 485);
    TOLX::CMatrix<double> dense(2, 2);
    dense(0, 1) = 5;
    m = static_cast<const TOLX::IMatrix<double>&>(dense);
    EXPECT_EQ(Elements(m), (Values{0, 5, 0, 0}));
    // Column lengths: scaled, set and read.
    m = CSymmMatrix<double>({3, 1, 4, 2}, 2);
    EXPECT_TRUE(m.GetColumnLength(0) == 5.0 && m.GetColumnLength(1) == std::sqrt(5.0) &&
                CSymmMatrix<double>(0).GetColumnLength(0) == 0.0);
    m.ScaleColumns({2, -1});
    ExpectBadSubscript([&] { m.ScaleColumns({1}); });
    EXPECT_EQ(Elements(m), (Values{6, -1, 8, -2}));
    m.SetColumnLength({1, 0.5});
    EXPECT_TRUE(std::fabs(m(0, 0) - 0.6) < 1e-15 && std::fabs(m(1, 0) - 0.8) < 1e-15 &&
                std::fabs(m.GetColumnLength(1) - 0.5) < 1e-15);
    for (const Values& lengths : {Values{1, 1, 1}, Values{1}})
        ExpectThrowAt([&] { m.SetColumnLength(lengths); }, "invalid vector length in SetColumnLength",
                      "TOLX::CSymmMatrix<double>::SetColumnLength", kFile, 217);
    m = CSymmMatrix<double>({0, 1, 0, 1}, 2); // a zero column is divided by without a check
    m.SetColumnLength({1, 1});
    EXPECT_TRUE(std::isnan(m(0, 0)));
}

// Symmetric within one absolute epsilon, not scaled by the magnitude. The
// largest off-diagonal element: ties keep the first position in row-major
// order, both triangles count, and nothing above zero leaves the position.
TEST(SymmMatrix, SymmetryToleranceLargestOffDiagonalAndPrint)
{
    const std::pair<Values, bool> symmetric[] = {
        {{}, true}, {{1, 1, 1 + kEps, 1}, true}, {{1, 1, 1 + 2 * kEps, 1}, false},
        {{0, 1e6, std::nextafter(1e6, 2e6), 0}, false}, {{0, 0, 5, 0, 0, 0, 5 + 1e-15, 0, 0}, false}};
    for (const auto& [values, expected] : symmetric)
        EXPECT_EQ(Square(values).IsSymmetric(), expected) << values.size();
    const std::tuple<Values, double, int64, int64> largest[] = {{{9, 0, 0, 9}, 0.0, -7, -8},
                                                               {{100, 0, -3, 0, 100, 3, -3, 3, 100}, 3.0, 0, 2},
                                                               {{0, 1, 0, -4, 0, 2, 0, 2, 0}, 4.0, 1, 0}};
    for (const auto& [values, value, row, col] : largest)
    {
        int64 p = -7, q = -8;
        EXPECT_EQ(Square(values).FindMaxOffDiagonal(p, q), value);
        EXPECT_EQ(std::pair(p, q), std::pair(row, col));
    }
    std::ostringstream os;
    EXPECT_EQ(&CSymmMatrix<double>({1.5, -2, 1e-7, 123456789}, 2).Print(os), &os);
    EXPECT_EQ(os.str(), "1.5 -2 \n1e-07 1.23457e+08 \n");
}

// Exact results: theta = 0 gives c = s = 1/sqrt(2) in one rotation. |theta|
// = 5e154 and 1.5e155: theta^2 overflows, t is infinite, c = 0 and s = inf *
// 0 is NaN, so the diagonal becomes (-inf, +inf) and every eigenvector
// element NaN. theta = -1e154: t = 2e154 but t^2 overflows, so c = s = 0:
// the diagonal swaps and the eigenvectors are zero. A diagonal input gives
// identity vectors and writes only the first n values.
TEST(SymmMatrix, JacobiExactResultsAndRejection)
{
    const double c = 1 / std::sqrt(2.0), theta = (-1e139 - 1e139) / (2 * 1e-15);
    const double t = std::sqrt(theta * theta + 1) - theta, nan = std::nan("");
    const std::tuple<Values, Values, Values> cases[] = {
        {{2, 1, 1, 2}, {1, 3}, {c, c, -c, c}},
        {{1e140, 1e-15, 1e-15, 0}, {-kInf, kInf}, {nan, nan, nan, nan}},
        {{0, 1e-11, 1e-11, 3e144}, {-kInf, kInf}, {nan, nan, nan, nan}},
        {{1e139, 1e-15, 1e-15, -1e139}, {1e139 - t * 1e-15, -1e139 + t * 1e-15}, {0, 0, 0, 0}},
        {{3, 0, 0, 0, -1, 0, 0, 0, 2}, {3, -1, 2, 7}, {1, 0, 0, 0, 1, 0, 0, 0, 1}},
    };
    for (const auto& [elements, values, vectors] : cases)
    {
        const CSymmMatrix<double> a = Square(elements);
        CSymmMatrix<double> v(5);
        Values lambda(values.size(), 7);
        a.SolveEigenProblem(v, lambda, kEps);
        EXPECT_EQ(lambda, values);
        const Values e = Elements(v);
        EXPECT_TRUE(std::equal(e.begin(), e.end(), vectors.begin(), vectors.end(),
                               [](double x, double y) { return x == y || (std::isnan(x) && std::isnan(y)); }));
        EXPECT_EQ(Elements(a), elements);
    }
    Values tooShort(1), none;
    CSymmMatrix<double> v(2);
    ExpectBadSubscript([&] { CSymmMatrix<double>(3).SolveEigenProblem(v, tooShort, kEps); });
    CSymmMatrix<double>(0).SolveEigenProblem(v, none, kEps);
    EXPECT_EQ(v.Rows(), 0u);
    v = CSymmMatrix<double>({4, 4, 4, 4}, 2);
    Values lambda(2, 8);
    testing::internal::CaptureStdout();
    ExpectThrowAt([&] { CSymmMatrix<double>({1, 1, 1 + 1e-15, 1}, 2).SolveEigenProblem(v, lambda, kEps); },
                  "Matrix is not symmetric", "TOLX::CSymmMatrix<double>::SolveEigenProblem", kFile, 250);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Print Matrix:\n1 1 \n1 1 \n\n");
    EXPECT_TRUE(Elements(v) == (Values{4, 4, 4, 4}) && lambda == (Values{8, 8}));
}

// theta = (1 - 3) / 2 = -1 for the first: the positive root t = 1 + sqrt(2)
// moves the smaller eigenvalue to position 0 (the smaller root would not).
TEST(SymmMatrix, JacobiDecomposesGeneralSymmetricMatricesAndTerminates)
{
    const CSymmMatrix<double> first({3, 1, 1, 1}, 2);
    CSymmMatrix<double> v(0);
    Values lambda(2);
    first.SolveEigenProblem(v, lambda, kEps);
    EXPECT_TRUE(std::fabs(lambda[0] - (2 - std::sqrt(2.0))) < 1e-15 && std::fabs(lambda[1] - (2 + std::sqrt(2.0))) < 1e-15);
    ExpectEigenDecomposition(first, v, lambda);
    // Random symmetric matrices of thousandths in [-10, 10].
    std::mt19937 engine(12345);
    std::uniform_int_distribution<int> thousandths(-10000, 10000);
    for (std::size_t n = 2; n <= 6; ++n)
        for (int trial = 0; trial < 20; ++trial)
        {
            CSymmMatrix<double> a(static_cast<int64>(n));
            for (std::size_t k = 0; k < n * n; ++k)
                a(k % n, k / n) = a(k / n, k % n) = thousandths(engine) / 1000.0;
            lambda.resize(n);
            a.SolveEigenProblem(v, lambda, kEps);
            ExpectEigenDecomposition(a, v, lambda);
        }
    // Inputs on which rotating until no element exceeds eps would never end.
    // Huge equal diagonals absorb every rotation: with eps = 0 the last
    // subnormal off-diagonal element survives forever. A negative eps keeps the
    // loop going after every element is zero: the pivot stays at (0, 0), which
    // doubles until it overflows and turns NaN; rows and columns 1 and 2 are
    // never touched.
    lambda.resize(3);
    for (const double eps : {0.0, kEps})
    {
        CSymmMatrix<double>({1e300, 1.33, 6.74, 1.33, 1e300, 8.78, 6.74, 8.78, 1e300}, 3).SolveEigenProblem(v, lambda, eps);
        EXPECT_EQ(lambda, (Values{1e300, 1e300, 1e300})) << eps;
    }
    ExpectEigenDecomposition(CSymmMatrix<double>(3), v, {1, 1, 1});
    CSymmMatrix<double>({2, 0, 0, 0, 3, 0, 0, 0, 4}, 3).SolveEigenProblem(v, lambda, -1.0);
    EXPECT_TRUE(std::isnan(lambda[0]) && lambda[1] == 3.0 && lambda[2] == 4.0);
}
