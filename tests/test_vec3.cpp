// The fixed 3-vector and 3x3 matrix.

#include "ExpectThrow.h"

#include <cmath>
#include <functional>
#include <limits>
#include <stdexcept>
#include <tuple>

using TOLX::CMatrix3;
using TOLX::CVec3;

namespace
{
struct ShapedVec3 : CVec3
{
    using CVec3::Reshape;
};
struct ShapedMatrix3 : CMatrix3
{
    using CMatrix3::Reshape;
};

void ExpectVec(const CVec3& v, double x, double y, double z)
{
    EXPECT_EQ(v[0], x);
    EXPECT_EQ(v[1], y);
    EXPECT_EQ(v[2], z);
}

const double smallestNormal = std::numeric_limits<double>::min();
const CMatrix3 oneToNine(1, 2, 3, 4, 5, 6, 7, 8, 9);
} // namespace

TEST(Vec3, BoundsAndShapeMessagesCarryFilledTextAndLocation)
{
    CVec3 v;
    CMatrix3 m;
    const CVec3& cv = v;
    const CMatrix3& cm = m;
    ShapedVec3 shapedVec;
    ShapedMatrix3 shapedMatrix;
    EXPECT_NO_THROW(shapedVec.Reshape(3, 1));
    EXPECT_NO_THROW(shapedMatrix.Reshape(3, 3));
    const std::string vec = "src/Numeric/Vec3.cpp", mat = "src/Numeric/Matrix3.cpp";
    const std::string bounds = "Index exceeds matrix bounds. Tried to access index ";
    const std::string ofVec = " but Matrix size is 3-by-1", ofMatrix = " but Matrix size is 3-by-3";
    // Action, message, function, file, line.
    const std::tuple<std::function<void()>, std::string, std::string, std::string, int> cases[] = {
        {[&] { v(0, 1); }, bounds + "(0,1)" + ofVec, "TOLX::CVec3::operator ()", vec, 96},
        // The row index has no room to go past the storage either.
        {[&] { v(3, 0); }, bounds + "(3,0)" + ofVec, "TOLX::CVec3::operator ()", vec, 96},
        {[&] { cv(2, 1); }, bounds + "(2,1)" + ofVec, "TOLX::CVec3::operator ()", vec, 106},
        {[&] { cv[3]; }, bounds + "(3)" + ofVec, "TOLX::CVec3::operator []", vec, 116},
        {[&] { v[-1]; }, bounds + "(-1)" + ofVec, "TOLX::CVec3::operator []", vec, 126},
        {[&] { cv.Row(3); }, bounds + "(3)" + ofVec, "TOLX::CVec3::Row", vec, 211},
        {[&] { shapedVec.Reshape(1, 3); },
         "Reshape into other dimensions than (3,1) is not possible for an instance of CVec3.", "TOLX::CVec3::Reshape",
         vec, 308},
        {[&] { m(3, 0); }, bounds + "(3,0)" + ofMatrix, "TOLX::CMatrix3::operator ()", mat, 114},
        {[&] { cm(0, 3); }, bounds + "(0,3)" + ofMatrix, "TOLX::CMatrix3::operator ()", mat, 124},
        {[&] { cm.Row(3); }, bounds + "(3,*)" + ofMatrix, "TOLX::CMatrix3::Row", mat, 151},
        {[&] { cm.Col(4); }, bounds + "(1,4)" + ofMatrix, "TOLX::CMatrix3::Col", mat, 165},
        {[&] { m.Col(3); }, bounds + "(1,3)" + ofMatrix, "TOLX::CMatrix3::Col", mat, 175},
        {[&] { shapedMatrix.Reshape(3, 1); },
         "Reshape into other dimensions than (3,3) is not possible for an instance of CMatrix3.",
         "TOLX::CMatrix3::Reshape", mat, 245},
    };
    for (const auto& [action, message, function, file, line] : cases)
        ExpectThrowAt(action, message, function, file, line);
}

TEST(Vec3, OrderingIsExactAndDecidedByZThenYThenX)
{
    EXPECT_TRUE(CVec3(5, 0, 1) < CVec3(0, 0, 2));
    EXPECT_FALSE(CVec3(0, 0, 2) < CVec3(5, 0, 1));
    EXPECT_TRUE(CVec3(9, 1, 2) < CVec3(0, 2, 2));
    EXPECT_TRUE(CVec3(0, 1, 1) < CVec3(5, 1, 1));
    EXPECT_FALSE(CVec3(5, 1, 1) < CVec3(0, 1, 1));
    EXPECT_FALSE(CVec3(1, 1, 1) < CVec3(1, 1, 1));
    // Exact, not within the equality tolerance.
    EXPECT_TRUE(CVec3(0, 0, 1) < CVec3(0, 0, std::nextafter(1.0, 2.0)));
}

TEST(Vec3, EqualityToleranceIsInclusiveAndNanIsNeitherEqualNorUnequal)
{
    const double eps = std::numeric_limits<double>::epsilon();
    EXPECT_TRUE(CVec3(1, 2, 3) == CVec3(1 + 1e-17, 2, 3));
    EXPECT_FALSE(CVec3(1, 2, 3) == CVec3(1 + 1e-15, 2, 3));
    EXPECT_TRUE(CVec3(1, 2, 3) != CVec3(1, 2, 3 + 1e-15));
    EXPECT_TRUE(CVec3(0, 0, 0) == CVec3(0, eps, 0));
    EXPECT_FALSE(CVec3(0, 0, 0) != CVec3(0, eps, 0));
    EXPECT_FALSE(CVec3(0, 0, 0) == CVec3(0, 0, std::nextafter(eps, 1.0)));
    const CVec3 withNan(std::nan(""), 0, 0);
    EXPECT_FALSE(withNan == CVec3());
    EXPECT_FALSE(withNan != CVec3());
    // The matrix's inequality is the negation of its equality.
    const CMatrix3 nanMatrix(withNan, CVec3(), CVec3());
    EXPECT_TRUE(nanMatrix != CMatrix3());
    EXPECT_FALSE(CMatrix3() != CMatrix3(0, 0, 0, 0, 1e-17, 0, 0, 0, 0));
}

TEST(Vec3, LengthNullAndNormalisation)
{
    EXPECT_TRUE(CVec3().IsNull());
    EXPECT_FALSE(CVec3(1e-100, 0, 0).IsNull());
    // The squared length underflows to zero.
    EXPECT_TRUE(CVec3(1e-300, 0, 0).IsNull());
    EXPECT_FALSE(CVec3(1e-300, 0, 0).IsNotNull());

    CVec3 v(3, 0, 4);
    EXPECT_EQ(v.Length(), 5.0);
    const CVec3 unit = v.NormalizedCopy();
    ExpectVec(v, 3, 0, 4);
    ExpectVec(unit, 3 * (1.0 / 5), 0, 4 * (1.0 / 5));
    ExpectVec(v.Normalize(), 3 * (1.0 / 5), 0, 4 * (1.0 / 5));
    CVec3 zero;
    ExpectVec(zero.Normalize(), 0, 0, 0);
    CVec3 tiny(1e-300, 0, 0);
    ExpectVec(tiny.Normalize(), 1e-300, 0, 0);
}

TEST(Vec3, ArithmeticAndConversions)
{
    // Division multiplies by the reciprocal, which differs from 5 / 3 here.
    ASSERT_NE(5.0 * (1.0 / 3.0), 5.0 / 3.0);
    EXPECT_EQ((CVec3(5, 0, 0) / 3.0)[0], 5.0 * (1.0 / 3.0));
    CVec3 v(5, 0, 0);
    EXPECT_EQ((v /= 3.0)[0], 5.0 * (1.0 / 3.0));

    EXPECT_EQ(CVec3(1, 2, 3) * CVec3(4, 5, 6), 32.0);
    ExpectVec(CVec3(1, 2, 3).CrossProd(CVec3(4, 5, 6)), -3, 6, -3);
    ExpectVec(CVec3::E_x().CrossProd(CVec3::E_y()), 0, 0, 1);
    ExpectVec(CVec3(1, 2, 3) - CVec3(4, 6, 8) * 0.5 + -CVec3(1, 1, 1), -2, -2, -2);

    const float floats[3] = {0.1f, -2.5f, 3.0f};
    CVec3 w;
    w.SetFromFloats(floats);
    ExpectVec(w, static_cast<double>(0.1f), -2.5, 3.0);
    float out[3];
    CVec3(1e300, 0.1, -1e300).WriteFloats(out);
    EXPECT_EQ(out[0], std::numeric_limits<float>::infinity());
    EXPECT_EQ(out[1], 0.1f);
    EXPECT_EQ(out[2], -std::numeric_limits<float>::infinity());
}

TEST(Matrix3, ElementRowAndColumnAccessFollowTheMembers)
{
    CMatrix3 m = oneToNine;
    ExpectVec(m.Row(0), 1, 2, 3);
    ExpectVec(static_cast<const CMatrix3&>(m).Col(0), 1, 2, 3);
    EXPECT_EQ(m(0, 1), 4.0);
    EXPECT_EQ(m(2, 0), 3.0);
    m(1, 2) = 42;
    ExpectVec(m.Row(2), 7, 42, 9);
    m.Col(1)[0] = -1;
    EXPECT_EQ(m(0, 1), -1.0);

    CMatrix3 t = oneToNine;
    t.Transpose();
    for (std::size_t k = 0; k < 3; ++k)
        ExpectVec(t.Row(k), oneToNine.Row(k)[0], oneToNine.Row(k)[1], oneToNine.Row(k)[2]);
    ExpectVec(oneToNine.TransposedMatrix().Row(1), 4, 5, 6);
}

TEST(Matrix3, ProductsAreDotProductsOfMembers)
{
    ExpectVec(oneToNine * CVec3(1, 0, 0), 1, 4, 7);
    // Element s(3i + j) is ti . tj.
    const CMatrix3 square = oneToNine * oneToNine;
    ExpectVec(square.Row(0), 14, 32, 50);
    ExpectVec(square.Row(1), 32, 77, 122);
    ExpectVec(square.Row(2), 50, 122, 194);
    const CMatrix3 cycle(CVec3::E_y(), CVec3::E_z(), CVec3::E_x());
    CMatrix3 m = oneToNine;
    m *= cycle;
    ExpectVec(m.Row(0), 2, 3, 1);
    ExpectVec(m.Row(2), 8, 9, 7);
    ExpectVec((oneToNine * 2.0 - oneToNine).Row(1), 4, 5, 6);
}

TEST(Matrix3, DeterminantAdjointAndInverse)
{
    const CMatrix3 identity = CMatrix3::Identity();
    EXPECT_EQ(identity.Determinant(), 1.0);
    EXPECT_EQ(oneToNine.Determinant(), 0.0);
    EXPECT_TRUE(identity.AdjointMatrix() == identity);
    EXPECT_TRUE(identity.InverseMatrix() == identity);

    const CMatrix3 a(CVec3(2, 0, 0), CVec3(0, 3, 0), CVec3(1, 0, 4));
    EXPECT_EQ(a.Determinant(), 24.0);
    const CMatrix3 adjoint = a.AdjointMatrix();
    ExpectVec(adjoint.Row(0), 12, 0, -3);
    ExpectVec(adjoint.Row(1), 0, 8, 0);
    ExpectVec(adjoint.Row(2), 0, 0, 6);
    EXPECT_TRUE(a * a.InverseMatrix() == identity);

    // Members (1,2,0), (0,1,0), (0,0,2): the inverse's members are the
    // columns of the textbook inverse of the matrix with those rows.
    const CMatrix3 inverse = CMatrix3(1, 2, 0, 0, 1, 0, 0, 0, 2).InverseMatrix();
    ExpectVec(inverse.Row(0), 1, 0, 0);
    ExpectVec(inverse.Row(1), -2, 1, 0);
    ExpectVec(inverse.Row(2), 0, 0, 0.5);
}

TEST(Matrix3, SingularBoundaryIsAsymmetric)
{
    auto expectSingular = [](const CMatrix3& m) {
        ExpectStdThrow<std::runtime_error>([&] { m.InverseMatrix(); }, " EE Call of InverseMatrix() on singular matrix!");
    };
    EXPECT_FALSE(CMatrix3().IsInvertible());
    expectSingular(CMatrix3());

    const CMatrix3 atThreshold(CVec3(smallestNormal, 0, 0), CVec3::E_y(), CVec3::E_z());
    EXPECT_TRUE(atThreshold.IsInvertible());
    expectSingular(atThreshold);

    const CMatrix3 above(CVec3(2 * smallestNormal, 0, 0), CVec3::E_y(), CVec3::E_z());
    EXPECT_EQ(above.InverseMatrix()(0, 0), 1.0 / (2 * smallestNormal));
    EXPECT_FALSE(CMatrix3(CVec3(smallestNormal / 2, 0, 0), CVec3::E_y(), CVec3::E_z()).IsInvertible());
}
