// The dense matrix, the fixed 3-vector and 3x3 matrix, and the symmetric
// matrix with its Jacobi eigen solver.

#include "ExpectThrow.h"
#include "Matrices.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <sstream>
#include <stdexcept>
#include <tuple>
#include <utility>
#include <vector>

using TOLX::CMatrix;
using TOLX::CMatrix3;
using TOLX::CSymmMatrix;
using TOLX::CVec3;
using TOLX::IMatrix;
using TOLX::int64;
using testsupport::Elements;
using testsupport::Mat;
using V = std::vector<double>;
using Values = std::vector<double>;

namespace
{
const char* kMatrixFile = "src/Numeric/Matrix.cpp";
const char* kAccess = "TOLX::CMatrix<double>::operator ()";

// Reshape made public, for its messages.
template <class Base>
struct Shaped : Base { using Base::Reshape; };

V Of(const CVec3& v) { return {v[0], v[1], v[2]}; }

// The members of m, t0 then t1 then t2.
V Members(const CMatrix3& m)
{
    V out;
    for (std::size_t i = 0; i < 3; ++i) out.insert(out.end(), {m.Row(i)[0], m.Row(i)[1], m.Row(i)[2]});
    return out;
}

const CMatrix3 oneToNine(1, 2, 3, 4, 5, 6, 7, 8, 9);

const char* const kFile = "src/Numeric/SymmMatrix.h";
constexpr double kEps = 2.220446049250313e-16;
const double kInf = std::numeric_limits<double>::infinity();

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
    for (double x : Elements(a)) scale = std::max(scale, std::fabs(x));
    for (std::size_t k = 0; k < a.Rows(); ++k)
        for (std::size_t i = 0; i < a.Rows(); ++i)
        {
            double av = 0, dot = 0;
            for (std::size_t j = 0; j < a.Rows(); ++j) av += a(i, j) * v(j, k), dot += v(j, k) * v(j, i);
            EXPECT_NEAR(av, lambda[k] * v(i, k), 1e-7 * scale) << "column " << k << " row " << i;
            EXPECT_NEAR(dot, k == i ? 1.0 : 0.0, 1e-13) << k << " " << i;
        }
}
} // namespace

// The two accessors of the dense matrix word their bounds messages
// differently; every shape message names its operation and the element type.
// The fixed types fill the index in and name their own shape.
TEST(Matrix, BoundsAndShapeMessages)
{
    CMatrix<double> m(2, 3), a(2, 3), b(3, 2), two(2, 2);
    CMatrix<float> f(1, 1), empty, row(1, 3);
    CVec3 v;
    CMatrix3 m3;
    Shaped<CVec3> shapedVec;
    Shaped<CMatrix3> shapedMatrix;
    EXPECT_NO_THROW((shapedVec.Reshape(3, 1), shapedMatrix.Reshape(3, 3)));
    const std::string dense = "src/Numeric/Matrix.cpp", iface = "src/Numeric/MatrixInterface.cpp", vec = "src/Numeric/Vec3.cpp";
    const std::string mat = "src/Numeric/Matrix3.cpp", reshape = "Reshape into other dimensions than (3,";
    const std::string at = "Index exceeds matrix bounds. Tried to access index ", atWrite = "Index exceeds matrix bounds.Tried to access index ";
    const std::string ofVec = " but Matrix size is 3-by-1", ofMatrix = " but Matrix size is 3-by-3";
    const std::tuple<std::function<void()>, std::string, std::string, std::string, int> cases[] = {
        {[&] { (void)std::as_const(m)(2, 0); }, at + "(2,0) but Matrix size is 2-by-3", kAccess, dense, 83},
        {[&] { m(2, 0) = 1.0; }, atWrite + "(2,0) but Matrix size is 2-by-3", kAccess, dense, 91},
        {[&] { f(0, 1) = 1.0f; }, atWrite + "(0,1) but Matrix size is 1-by-1", "TOLX::CMatrix<float>::operator ()", dense, 91},
        {[&] { a += b; }, "Tried to add 2-by-3 and 3-by-2 matrices", "TOLX::IMatrix<double>::operator +=", iface, 130},
        {[&] { a -= b; }, "Tried to subtract 2-by-3 and 3-by-2 matrices", "TOLX::IMatrix<double>::operator -=", iface, 145},
        {[&] { a *= two; }, "Tried to multiply 2-by-3 *= 2-by-2 matrices", "TOLX::IMatrix<double>::operator *=", iface, 85},
        {[&] { empty.AddRows(row); }, "Tried to concatenate 3-dim rows to 0-dim rows", "TOLX::IMatrix<float>::AddRows", iface, 176},
        {[&] { empty.AddCols(row); }, "Tried to concatenate 1-dim Cols to 0-dim Cols", "TOLX::IMatrix<float>::AddCols", iface, 209},
        {[&] { (void)a.GetCol(3); }, "Index out of bounds. Tried to access Col 3 but matrix has only 3 Cols",
         "TOLX::CMatrix<double>::GetCol", dense, 179},
        {[&] { (void)(a * two); }, "Trying to multiply non-conform matrices.", "TOLX::CMatrix<double>::operator *", dense, 124},
        {[&] { v(0, 1); }, at + "(0,1)" + ofVec, "TOLX::CVec3::operator ()", vec, 96},
        {[&] { v(3, 0); }, at + "(3,0)" + ofVec, "TOLX::CVec3::operator ()", vec, 96},
        {[&] { std::as_const(v)(2, 1); }, at + "(2,1)" + ofVec, "TOLX::CVec3::operator ()", vec, 106},
        {[&] { std::as_const(v)[3]; }, at + "(3)" + ofVec, "TOLX::CVec3::operator []", vec, 116},
        {[&] { v[-1]; }, at + "(-1)" + ofVec, "TOLX::CVec3::operator []", vec, 126},
        {[&] { std::as_const(v).Row(3); }, at + "(3)" + ofVec, "TOLX::CVec3::Row", vec, 211},
        {[&] { shapedVec.Reshape(1, 3); }, reshape + "1) is not possible for an instance of CVec3.", "TOLX::CVec3::Reshape", vec, 308},
        {[&] { m3(3, 0); }, at + "(3,0)" + ofMatrix, "TOLX::CMatrix3::operator ()", mat, 114},
        {[&] { std::as_const(m3)(0, 3); }, at + "(0,3)" + ofMatrix, "TOLX::CMatrix3::operator ()", mat, 124},
        {[&] { std::as_const(m3).Row(3); }, at + "(3,*)" + ofMatrix, "TOLX::CMatrix3::Row", mat, 151},
        {[&] { std::as_const(m3).Col(4); }, at + "(1,4)" + ofMatrix, "TOLX::CMatrix3::Col", mat, 165},
        {[&] { m3.Col(3); }, at + "(1,3)" + ofMatrix, "TOLX::CMatrix3::Col", mat, 175},
        {[&] { shapedMatrix.Reshape(3, 1); }, reshape + "3) is not possible for an instance of CMatrix3.", "TOLX::CMatrix3::Reshape", mat, 245},
    };
    for (const auto& [action, message, function, file, line] : cases)
        ExpectThrowAt(action, message, function, file, line);
    EXPECT_EQ(a, CMatrix<double>(2, 3)); // a failed check leaves the operand untouched
}

TEST(Matrix, ReshapeTransposeConcatenationScalarsOrderedProductsAssignmentAndEquality)
{
    auto m = Mat(1, 2, {1, 2});
    m.Reshape(3, 1);
    EXPECT_EQ(m, Mat(3, 1, {1, 2, 0}));
    auto r = Mat(2, 3, {1, 2, 3, 4, 5, 6});
    r.Reshape(3, 2); // reinterprets, does not rearrange
    EXPECT_EQ(r, Mat(3, 2, {1, 2, 3, 4, 5, 6}));
    r.Transpose();
    EXPECT_EQ(r, Mat(2, 3, {1, 3, 5, 2, 4, 6}));
    auto rows = Mat(1, 2, {1, 2});
    rows.AddRows(Mat(2, 2, {3, 4, 5, 6})), rows.AddRows(rows);
    EXPECT_EQ(rows, Mat(6, 2, {1, 2, 3, 4, 5, 6, 1, 2, 3, 4, 5, 6}));
    auto cols = Mat(2, 1, {1, 2});
    cols.AddCols(Mat(2, 2, {3, 4, 5, 6}));
    EXPECT_TRUE(cols == Mat(2, 3, {1, 3, 4, 2, 5, 6}) && cols.GetCol(2) == Mat(2, 1, {4, 6}));
    auto f = Mat<float>(2, 2, {1, 2, 3, 4});
    f *= 2.0f, f += 1.0f;
    EXPECT_EQ(f, Mat<float>(2, 2, {3, 5, 7, 9}));
    f -= Mat<float>(2, 2, {3, 5, 7, 9});
    EXPECT_EQ(f, Mat<float>(2, 2, {0, 0, 0, 0}));
    auto a = Mat(2, 3, {1, 2, 3, 4, 5, 6});
    a *= Mat(3, 4, {1, 0, 2, -1, 0, 1, 1, 2, 3, 1, 0, 1});
    EXPECT_EQ(a, Mat(2, 4, {10, 5, 4, 6, 22, 11, 13, 12}));
    // Summation from k = 0 upward: (1 + 1e16) - 1e16 loses the 1.
    EXPECT_EQ((Mat(1, 3, {1.0, 1e16, -1e16}) * Mat(3, 1, {1, 1, 1}))(0, 0), 0.0);
    // Squaring in place: row 1 reads row 0's new values (7, 10), not (1, 2).
    auto s = Mat(2, 2, {1, 2, 3, 4});
    s *= s;
    EXPECT_EQ(s, Mat(2, 2, {7, 10, 7 * 3 + 3 * 4, 10 * 3 + 4 * 4}));
    // Through the interface only the source's shape is walked; between two
    // CMatrix objects assignment is a deep copy.
    const auto wide = Mat(2, 3, {1, 2, 3, 4, 5, 6});
    auto square = Mat(2, 2, {9, 9, 9, 9});
    ExpectThrowAt([&] { static_cast<IMatrix<double>&>(square) = wide; },
                  "Index exceeds matrix bounds.Tried to access index (0,2) but Matrix size is 2-by-2", kAccess, kMatrixFile, 91);
    EXPECT_EQ(square, Mat(2, 2, {1, 2, 9, 9}));
    auto three = Mat(2, 3, {7, 7, 7, 7, 7, 7}), other = Mat(2, 3, {0, 0, 0, 0, 0, 0});
    static_cast<IMatrix<double>&>(three) = Mat(2, 2, {1, 2, 3, 4});
    static_cast<IMatrix<double>&>(other) = Mat(3, 2, {1, 2, 3, 4, 5, 6});
    EXPECT_TRUE(three == Mat(2, 3, {1, 2, 7, 3, 4, 7}) && other == Mat(3, 2, {1, 2, 3, 4, 5, 6}));
    auto copy = Mat(1, 1, {5});
    copy = wide, copy(0, 0) = -1;
    EXPECT_TRUE(copy == Mat(2, 3, {-1, 2, 3, 4, 5, 6}) && wide(0, 0) == 1.0);
    auto source = Mat(2, 2, {1, 2, 3, 4});
    CMatrix<double> moved(std::move(source)), assigned;
    assigned = std::move(source);
    // NOLINTNEXTLINE(bugprone-use-after-move): a copy leaves its source as it was
    EXPECT_TRUE(source == Mat(2, 2, {1, 2, 3, 4}) && moved == source && assigned == source);
    // Equality is exact, and a NaN element is only equal to itself.
    const auto withNaN = Mat(1, 2, {1, std::numeric_limits<double>::quiet_NaN()});
    EXPECT_TRUE(withNaN == withNaN && !(withNaN == CMatrix<double>(withNaN)));
    EXPECT_FALSE(Mat(1, 2, {1, 2}) == Mat(1, 2, {1, std::nextafter(2.0, 3.0)}) || Mat(1, 2, {1, 2}) == Mat(2, 1, {1, 2}));
}

// Ordering: exact, decided by z, then y, then x. Equality: within an
// inclusive epsilon per element; NaN is neither equal nor unequal.
TEST(Vec3, OrderingEqualityLengthArithmeticAndConversions)
{
    const double eps = std::numeric_limits<double>::epsilon();
    const std::tuple<CVec3, CVec3, bool, bool> pairs[] = {
        // a, b, a < b, a == b
        {{5, 0, 1}, {0, 0, 2}, true, false},         {{0, 0, 2}, {5, 0, 1}, false, false},
        {{9, 1, 2}, {0, 2, 2}, true, false},         {{0, 1, 1}, {5, 1, 1}, true, false},
        {{5, 1, 1}, {0, 1, 1}, false, false},        {{1, 1, 1}, {1, 1, 1}, false, true},
        {{0, 0, 1}, {0, 0, std::nextafter(1.0, 2.0)}, true, true},
        {{1, 2, 3}, {1 + 1e-15, 2, 3}, true, false}, {{1, 2, 3}, {1, 2, 3 + 1e-15}, true, false},
        {{0, 0, 0}, {0, eps, 0}, true, true},        {{0, 0, 0}, {0, 0, std::nextafter(eps, 1.0)}, true, false}};
    for (const auto& [a, b, less, equal] : pairs)
        EXPECT_TRUE((a < b) == less && (a == b) == equal && (a != b) == !equal) << a[0] << " " << b[0];
    const CVec3 withNan(std::nan(""), 0, 0);
    EXPECT_FALSE(withNan == CVec3() || withNan != CVec3());
    // The matrix's inequality is the negation of its equality.
    EXPECT_TRUE(CMatrix3(withNan, CVec3(), CVec3()) != CMatrix3() && !(CMatrix3() != CMatrix3(0, 0, 0, 0, 1e-17, 0, 0, 0, 0)));
    // The squared length of 1e-300 underflows; division multiplies by the
    // reciprocal, which differs from the quotient 5 / 3.
    EXPECT_TRUE(CVec3().IsNull() && CVec3(1e-300, 0, 0).IsNull() && !CVec3(1e-300, 0, 0).IsNotNull() &&
                !CVec3(1e-100, 0, 0).IsNull());
    CVec3 v(3, 0, 4), zero, tiny(1e-300, 0, 0), w(5, 0, 0);
    const V unit{3 * (1.0 / 5), 0, 4 * (1.0 / 5)};
    EXPECT_TRUE(v.Length() == 5.0 && Of(v.NormalizedCopy()) == unit && Of(v) == (V{3, 0, 4}) && Of(v.Normalize()) == unit);
    EXPECT_TRUE(Of(zero.Normalize()) == (V{0, 0, 0}) && Of(tiny.Normalize()) == (V{1e-300, 0, 0}));
    ASSERT_NE(5.0 * (1.0 / 3.0), 5.0 / 3.0);
    EXPECT_TRUE((CVec3(5, 0, 0) / 3.0)[0] == 5.0 * (1.0 / 3.0) && (w /= 3.0)[0] == 5.0 * (1.0 / 3.0));
    EXPECT_TRUE(CVec3(1, 2, 3) * CVec3(4, 5, 6) == 32.0 && Of(CVec3(1, 2, 3).CrossProd(CVec3(4, 5, 6))) == (V{-3, 6, -3}) &&
                Of(CVec3(1, 2, 3) - CVec3(4, 6, 8) * 0.5 + -CVec3(1, 1, 1)) == (V{-2, -2, -2}));
    const float floats[3] = {0.1f, -2.5f, 3.0f};
    w.SetFromFloats(floats);
    EXPECT_EQ(Of(w), (V{static_cast<double>(0.1f), -2.5, 3.0}));
    float out[3];
    CVec3(1e300, 0.1, -1e300).WriteFloats(out);
    EXPECT_TRUE(out[0] == HUGE_VALF && out[1] == 0.1f && out[2] == -HUGE_VALF);
}

TEST(Matrix3, MembersDeterminantAdjointInverseAndTheAsymmetricSingularBoundary)
{
    const CMatrix3 identity = CMatrix3::Identity();
    EXPECT_TRUE(identity.Determinant() == 1.0 && oneToNine.Determinant() == 0.0);
    EXPECT_TRUE(identity.AdjointMatrix() == identity && identity.InverseMatrix() == identity);
    const CMatrix3 a(CVec3(2, 0, 0), CVec3(0, 3, 0), CVec3(1, 0, 4));
    EXPECT_TRUE(a.Determinant() == 24.0 && Members(a.AdjointMatrix()) == (V{12, 0, -3, 0, 8, 0, 0, 0, 6}));
    EXPECT_TRUE(a * a.InverseMatrix() == identity);
    // Members (1,2,0), (0,1,0), (0,0,2): the inverse's members are the
    // columns of the textbook inverse of the matrix with those rows.
    EXPECT_EQ(Members(CMatrix3(1, 2, 0, 0, 1, 0, 0, 0, 2).InverseMatrix()),
              (V{1, 0, 0, -2, 1, 0, 0, 0, 0.5}));
    // Invertible from the smallest normal determinant on, but inverting needs more.
    const double smallest = std::numeric_limits<double>::min();
    const auto diagonal = [](double x) { return CMatrix3(CVec3(x, 0, 0), CVec3::E_y(), CVec3::E_z()); };
    // Members (2^53, -1, 2^53), (1, 1, 0), (1, 0, 1): the determinant is
    // 1 + 2^53 - 2^53 summed from the left, where 1 + 2^53 rounds to 2^53.
    for (const CMatrix3& singular : {diagonal(0.0), diagonal(smallest), CMatrix3(0x1p53, -1, 0x1p53, 1, 1, 0, 1, 0, 1)})
        ExpectStdThrow<std::runtime_error>([&] { singular.InverseMatrix(); },
                                           " EE Call of InverseMatrix() on singular matrix!");
    EXPECT_TRUE(!diagonal(0).IsInvertible() && diagonal(smallest).IsInvertible());
    EXPECT_FALSE(diagonal(smallest / 2).IsInvertible());
    EXPECT_EQ(diagonal(2 * smallest).InverseMatrix()(0, 0), 1.0 / (2 * smallest));
    // The members are the columns: m(i, j) is element i of member j, Row(i) and
    // Col(i) are both member i, and products are dot products of members.
    CMatrix3 m = oneToNine;
    EXPECT_EQ(Of(static_cast<const CMatrix3&>(m).Col(0)), (V{1, 2, 3}));
    EXPECT_TRUE(m(0, 1) == 4.0 && m(2, 0) == 3.0);
    m(1, 2) = 42;
    m.Col(1)[0] = -1;
    EXPECT_EQ(Members(m), (V{1, 2, 3, -1, 5, 6, 7, 42, 9}));
    // Transposing rebuilds the matrix from its rows, which are its members.
    m = oneToNine;
    m.Transpose();
    EXPECT_EQ(Members(m), Members(oneToNine));
    EXPECT_EQ(Members(oneToNine.TransposedMatrix()), Members(oneToNine));
    EXPECT_EQ(Of(oneToNine * CVec3(1, 0, 0)), (V{1, 4, 7}));
    EXPECT_EQ(Members(oneToNine * oneToNine), (V{14, 32, 50, 32, 77, 122, 50, 122, 194}));
    m *= CMatrix3(CVec3::E_y(), CVec3::E_z(), CVec3::E_x());
    EXPECT_EQ(Members(m), (V{2, 3, 1, 5, 6, 4, 8, 9, 7}));
    EXPECT_EQ(Members(oneToNine * 2.0 - oneToNine), Members(oneToNine));
}

// Only the linear index is checked: (0, 2) is (1, 0). A negative dimension
// squares to a positive storage size and has no diagonal.
TEST(SymmMatrix, ConstructionAccessReshapeColumnLengthsSymmetryAndPrint)
{
    EXPECT_EQ(Elements(CSymmMatrix<double>(3)), (Values{1, 0, 0, 0, 1, 0, 0, 0, 1}));
    CSymmMatrix<double> m({1, 2, 3, 4}, 2);
    m(0, 3) = 9;
    EXPECT_TRUE(m(0, 2) == 3.0 && m(1, 1) == 9.0);
    ExpectBadSubscript([&] { (void)m(2, 0); });
    ExpectBadSubscript([&] { m(1, 2) = 0; });
    ExpectBadSubscript([&] { (void)static_cast<const CSymmMatrix<double>&>(m)(0, 4); });
    const CSymmMatrix<double> negative(-2);
    EXPECT_TRUE(negative.Rows() == static_cast<std::size_t>(-2) && negative(0, 0) == 0 && negative(0, 1) == 0 && negative(0, 2) == 0 && negative(0, 3) == 0);
    ExpectBadSubscript([&] { (void)negative(0, 4); });
    EXPECT_EQ(CSymmMatrix<double>({1, 2, 3, 4}, -2)(0, 3), 4.0);
    ExpectStdThrow<std::length_error>([] { CSymmMatrix<double>(int64(1) << 32); }, "vector<T> too long");
    for (const auto& [values, n] : std::vector<std::pair<Values, int64>>{
             {{1, 2, 3}, 2}, {{1, 2, 3, 4}, 3}, {{}, 1}, {{1, 2, 3}, -2}, {{}, int64(1) << 32}})
        ExpectThrowAt([&, v = values, d = n] { CSymmMatrix<double> bad(v, d); }, "invalid parameter vector",
                      "TOLX::CSymmMatrix<double>::CSymmMatrix", kFile, 104);
    // Reshaping keeps storage positions; from another matrix type the
    // interface's rule applies: rows differ, so the target is reshaped first.
    m = CSymmMatrix<double>({1, 2, 3, 4}, 2), m.Reshape(3, 3);
    EXPECT_EQ(Elements(m), (Values{1, 2, 3, 4, 0, 0, 0, 0, 0}));
    ExpectThrowAt([&] { m.Reshape(2, 3); }, "Symmetric matrix must have an equal number of rows and columns.",
                  "TOLX::CSymmMatrix<double>::Reshape", kFile, 485);
    m = static_cast<const TOLX::IMatrix<double>&>(Mat(2, 2, {0, 5, 0, 0}));
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
    m = CSymmMatrix<double>({0, 1, 0, 1}, 2), m.SetColumnLength({1, 1}); // a zero column is divided by without a check
    EXPECT_TRUE(std::isnan(m(0, 0)));
    // Symmetric within one absolute epsilon, not scaled by the magnitude. The
    // largest off-diagonal element: ties keep the first position in row-major
    // order, both triangles count, and nothing above zero leaves the position.
    const std::pair<Values, bool> symmetric[] = {
        {{}, true}, {{1, 1, 1 + kEps, 1}, true}, {{1, 1, 1 + 2 * kEps, 1}, false},
        {{0, 1e6, std::nextafter(1e6, 2e6), 0}, false}, {{0, 0, 5, 0, 0, 0, 5 + 1e-15, 0, 0}, false}};
    for (const auto& [values, expected] : symmetric) EXPECT_EQ(Square(values).IsSymmetric(), expected) << values.size();
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
            for (std::size_t k = 0; k < n * n; ++k) a(k % n, k / n) = a(k / n, k % n) = thousandths(engine) / 1000.0;
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
