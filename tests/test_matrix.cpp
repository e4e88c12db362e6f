// The dense matrix and the fixed 3-vector and 3x3 matrix.

#include "ExpectThrow.h"
#include "Matrices.h"

#include <cmath>
#include <functional>
#include <limits>
#include <stdexcept>
#include <tuple>
#include <vector>

using TOLX::CMatrix;
using TOLX::CMatrix3;
using TOLX::CVec3;
using TOLX::IMatrix;
using testsupport::Mat;
using V = std::vector<double>;

namespace
{
const char* kMatrixFile = "src/Numeric/Matrix.cpp";
const char* kAccess = "TOLX::CMatrix<double>::operator ()";

template <class Base>
struct Shaped : Base
{
    using Base::Reshape;
};

V Of(const CVec3& v) { return {v[0], v[1], v[2]}; }

// The members of m, t0 then t1 then t2.
V Members(const CMatrix3& m)
{
    V out;
    for (std::size_t i = 0; i < 3; ++i)
        out.insert(out.end(), {m.Row(i)[0], m.Row(i)[1], m.Row(i)[2]});
    return out;
}

const CMatrix3 oneToNine(1, 2, 3, 4, 5, 6, 7, 8, 9);
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
    const CMatrix<double>& cmd = m;
    const CVec3& cv = v;
    const CMatrix3& cm = m3;
    Shaped<CVec3> shapedVec;
    Shaped<CMatrix3> shapedMatrix;
    EXPECT_NO_THROW(shapedVec.Reshape(3, 1));
    EXPECT_NO_THROW(shapedMatrix.Reshape(3, 3));
    const std::string dense = "src/Numeric/Matrix.cpp", iface = "src/Numeric/MatrixInterface.cpp", vec = "src/Numeric/Vec3.cpp";
    const std::string mat = "src/Numeric/Matrix3.cpp", reshape = "Reshape into other dimensions than (3,";
    const std::string at = "Index exceeds matrix bounds. Tried to access index ", atWrite = "Index exceeds matrix bounds.Tried to access index ";
    const std::string ofVec = " but Matrix size is 3-by-1", ofMatrix = " but Matrix size is 3-by-3";
    const std::tuple<std::function<void()>, std::string, std::string, std::string, int> cases[] = {
        {[&] { (void)cmd(2, 0); }, at + "(2,0) but Matrix size is 2-by-3", kAccess, dense, 83},
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
        {[&] { cv(2, 1); }, at + "(2,1)" + ofVec, "TOLX::CVec3::operator ()", vec, 106},
        {[&] { cv[3]; }, at + "(3)" + ofVec, "TOLX::CVec3::operator []", vec, 116},
        {[&] { v[-1]; }, at + "(-1)" + ofVec, "TOLX::CVec3::operator []", vec, 126},
        {[&] { cv.Row(3); }, at + "(3)" + ofVec, "TOLX::CVec3::Row", vec, 211},
        {[&] { shapedVec.Reshape(1, 3); }, reshape + "1) is not possible for an instance of CVec3.", "TOLX::CVec3::Reshape", vec, 308},
        {[&] { m3(3, 0); }, at + "(3,0)" + ofMatrix, "TOLX::CMatrix3::operator ()", mat, 114},
        {[&] { cm(0, 3); }, at + "(0,3)" + ofMatrix, "TOLX::CMatrix3::operator ()", mat, 124},
        {[&] { cm.Row(3); }, at + "(3,*)" + ofMatrix, "TOLX::CMatrix3::Row", mat, 151},
        {[&] { cm.Col(4); }, at + "(1,4)" + ofMatrix, "TOLX::CMatrix3::Col", mat, 165},
        {[&] { m3.Col(3); }, at + "(1,3)" + ofMatrix, "TOLX::CMatrix3::Col", mat, 175},
        {[&] { shapedMatrix.Reshape(3, 1); }, reshape + "3) is not possible for an instance of CMatrix3.", "TOLX::CMatrix3::Reshape", mat, 245},
    };
    for (const auto& [action, message, function, file, line] : cases)
        ExpectThrowAt(action, message, function, file, line);
    EXPECT_EQ(a, CMatrix<double>(2, 3)); // a failed check leaves the operand untouched
}

// Through the interface only the source's shape is walked; between two
// CMatrix objects assignment is a deep copy.
TEST(Matrix, AssignmentThroughTheInterfaceKeepsItsAsymmetryAndEqualityIsExact)
{
    const auto wide = Mat(2, 3, {1, 2, 3, 4, 5, 6});
    auto square = Mat(2, 2, {9, 9, 9, 9});
    ExpectThrowAt([&] { static_cast<IMatrix<double>&>(square) = wide; },
                  "Index exceeds matrix bounds.Tried to access index (0,2) but Matrix size is 2-by-2", kAccess,
                  kMatrixFile, 91);
    EXPECT_EQ(square, Mat(2, 2, {1, 2, 9, 9}));
    auto three = Mat(2, 3, {7, 7, 7, 7, 7, 7});
    static_cast<IMatrix<double>&>(three) = Mat(2, 2, {1, 2, 3, 4});
    EXPECT_EQ(three, Mat(2, 3, {1, 2, 7, 3, 4, 7}));
    auto other = Mat(2, 3, {0, 0, 0, 0, 0, 0});
    static_cast<IMatrix<double>&>(other) = Mat(3, 2, {1, 2, 3, 4, 5, 6});
    EXPECT_EQ(other, Mat(3, 2, {1, 2, 3, 4, 5, 6}));
    auto copy = Mat(1, 1, {5});
    copy = wide;
    copy(0, 0) = -1;
    EXPECT_EQ(copy, Mat(2, 3, {-1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(wide(0, 0), 1.0);
    auto source = Mat(2, 2, {1, 2, 3, 4});
    CMatrix<double> moved(std::move(source)), assigned;
    assigned = std::move(source);
    // NOLINTNEXTLINE(bugprone-use-after-move): a copy leaves its source as it was
    EXPECT_TRUE(source == Mat(2, 2, {1, 2, 3, 4}) && moved == source && assigned == source);
    // Equality is exact, and a NaN element is only equal to itself.
    const auto a = Mat(1, 2, {1, std::numeric_limits<double>::quiet_NaN()});
    EXPECT_TRUE(a == a && !(a == CMatrix<double>(a)));
    EXPECT_FALSE(Mat(1, 2, {1, 2}) == Mat(1, 2, {1, std::nextafter(2.0, 3.0)}) || Mat(1, 2, {1, 2}) == Mat(2, 1, {1, 2}));
}

TEST(Matrix, ReshapeTransposeConcatenationScalarsAndOrderedProducts)
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
    rows.AddRows(Mat(2, 2, {3, 4, 5, 6}));
    rows.AddRows(rows);
    EXPECT_EQ(rows, Mat(6, 2, {1, 2, 3, 4, 5, 6, 1, 2, 3, 4, 5, 6}));
    auto cols = Mat(2, 1, {1, 2});
    cols.AddCols(Mat(2, 2, {3, 4, 5, 6}));
    EXPECT_EQ(cols, Mat(2, 3, {1, 3, 4, 2, 5, 6}));
    EXPECT_EQ(cols.GetCol(2), Mat(2, 1, {4, 6}));
    auto f = Mat<float>(2, 2, {1, 2, 3, 4});
    f *= 2.0f;
    f += 1.0f;
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
    for (std::size_t i = 0; i < std::size(pairs); ++i)
    {
        const auto& [a, b, less, equal] = pairs[i];
        EXPECT_TRUE((a < b) == less && (a == b) == equal && (a != b) == !equal) << "pair " << i;
    }
    const CVec3 withNan(std::nan(""), 0, 0);
    EXPECT_FALSE(withNan == CVec3() || withNan != CVec3());
    // The matrix's inequality is the negation of its equality.
    EXPECT_TRUE(CMatrix3(withNan, CVec3(), CVec3()) != CMatrix3());
    EXPECT_FALSE(CMatrix3() != CMatrix3(0, 0, 0, 0, 1e-17, 0, 0, 0, 0));
    // The squared length of 1e-300 underflows; division multiplies by the
    // reciprocal, which differs from the quotient 5 / 3.
    EXPECT_TRUE(CVec3().IsNull() && CVec3(1e-300, 0, 0).IsNull() && !CVec3(1e-300, 0, 0).IsNotNull());
    EXPECT_FALSE(CVec3(1e-100, 0, 0).IsNull());
    CVec3 v(3, 0, 4), zero, tiny(1e-300, 0, 0), w(5, 0, 0);
    const V unit{3 * (1.0 / 5), 0, 4 * (1.0 / 5)};
    EXPECT_TRUE(v.Length() == 5.0 && Of(v.NormalizedCopy()) == unit && Of(v) == (V{3, 0, 4}) && Of(v.Normalize()) == unit);
    EXPECT_TRUE(Of(zero.Normalize()) == (V{0, 0, 0}) && Of(tiny.Normalize()) == (V{1e-300, 0, 0}));
    ASSERT_NE(5.0 * (1.0 / 3.0), 5.0 / 3.0);
    EXPECT_TRUE((CVec3(5, 0, 0) / 3.0)[0] == 5.0 * (1.0 / 3.0) && (w /= 3.0)[0] == 5.0 * (1.0 / 3.0));
    EXPECT_EQ(CVec3(1, 2, 3) * CVec3(4, 5, 6), 32.0);
    EXPECT_EQ(Of(CVec3(1, 2, 3).CrossProd(CVec3(4, 5, 6))), (V{-3, 6, -3}));
    EXPECT_EQ(Of(CVec3(1, 2, 3) - CVec3(4, 6, 8) * 0.5 + -CVec3(1, 1, 1)), (V{-2, -2, -2}));
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
    EXPECT_EQ(a.Determinant(), 24.0);
    EXPECT_EQ(Members(a.AdjointMatrix()), (V{12, 0, -3, 0, 8, 0, 0, 0, 6}));
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
