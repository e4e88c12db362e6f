// The fixed 3-vector and 3x3 matrix.

#include "ExpectThrow.h"

#include <cmath>
#include <functional>
#include <limits>
#include <stdexcept>
#include <tuple>
#include <vector>

using TOLX::CMatrix3;
using TOLX::CVec3;
using V = std::vector<double>;

namespace
{
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

TEST(Vec3, BoundsAndShapeMessagesCarryFilledTextAndLocation)
{
    CVec3 v;
    CMatrix3 m;
    const CVec3& cv = v;
    const CMatrix3& cm = m;
    Shaped<CVec3> shapedVec;
    Shaped<CMatrix3> shapedMatrix;
    EXPECT_NO_THROW(shapedVec.Reshape(3, 1));
    EXPECT_NO_THROW(shapedMatrix.Reshape(3, 3));
    const std::string vec = "src/Numeric/Vec3.cpp", mat = "src/Numeric/Matrix3.cpp", reshape = "Reshape into other dimensions than (3,";
    const std::string at = "Index exceeds matrix bounds. Tried to access index ", ofVec = " but Matrix size is 3-by-1", ofMatrix = " but Matrix size is 3-by-3";
    const std::tuple<std::function<void()>, std::string, std::string, std::string, int> cases[] = {
        {[&] { v(0, 1); }, at + "(0,1)" + ofVec, "TOLX::CVec3::operator ()", vec, 96},
        {[&] { v(3, 0); }, at + "(3,0)" + ofVec, "TOLX::CVec3::operator ()", vec, 96},
        {[&] { cv(2, 1); }, at + "(2,1)" + ofVec, "TOLX::CVec3::operator ()", vec, 106},
        {[&] { cv[3]; }, at + "(3)" + ofVec, "TOLX::CVec3::operator []", vec, 116},
        {[&] { v[-1]; }, at + "(-1)" + ofVec, "TOLX::CVec3::operator []", vec, 126},
        {[&] { cv.Row(3); }, at + "(3)" + ofVec, "TOLX::CVec3::Row", vec, 211},
        {[&] { shapedVec.Reshape(1, 3); }, reshape + "1) is not possible for an instance of CVec3.", "TOLX::CVec3::Reshape", vec, 308},
        {[&] { m(3, 0); }, at + "(3,0)" + ofMatrix, "TOLX::CMatrix3::operator ()", mat, 114},
        {[&] { cm(0, 3); }, at + "(0,3)" + ofMatrix, "TOLX::CMatrix3::operator ()", mat, 124},
        {[&] { cm.Row(3); }, at + "(3,*)" + ofMatrix, "TOLX::CMatrix3::Row", mat, 151},
        {[&] { cm.Col(4); }, at + "(1,4)" + ofMatrix, "TOLX::CMatrix3::Col", mat, 165},
        {[&] { m.Col(3); }, at + "(1,3)" + ofMatrix, "TOLX::CMatrix3::Col", mat, 175},
        {[&] { shapedMatrix.Reshape(3, 1); }, reshape + "3) is not possible for an instance of CMatrix3.", "TOLX::CMatrix3::Reshape", mat, 245},
    };
    for (const auto& [action, message, function, file, line] : cases)
        ExpectThrowAt(action, message, function, file, line);
}

// Ordering: exact, decided by z, then y, then x. Equality: within an
// inclusive epsilon per element; NaN is neither equal nor unequal.
TEST(Vec3, OrderingAndEquality)
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
}

// The squared length of 1e-300 underflows; division multiplies by the
// reciprocal, which differs from the quotient 5 / 3.
TEST(Vec3, LengthNormalisationArithmeticAndConversions)
{
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

// The members are the columns: m(i, j) is element i of member j, Row(i) and
// Col(i) are both member i, and products are dot products of members.
TEST(Matrix3, AccessAndProductsFollowTheMembers)
{
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

TEST(Matrix3, DeterminantAdjointAndInverse)
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
}

// Invertible from the smallest normal determinant on, but inverting needs more.
TEST(Matrix3, SingularBoundaryIsAsymmetric)
{
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
}
