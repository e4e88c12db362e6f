#include "VornNumeric.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <stdexcept>

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

void ExpectFailure(const std::function<void()>& call, const char* message, const char* function, int line,
                   const char* file)
{
    try
    {
        call();
        ADD_FAILURE() << "expected CException: " << message;
    }
    catch (const TOLX::CException& e)
    {
        EXPECT_STREQ(e.what(), message);
        EXPECT_EQ(e.Location().function, function);
        EXPECT_EQ(e.Location().line, line);
        EXPECT_EQ(e.Location().file, file);
    }
}

void ExpectVec(const CVec3& v, double x, double y, double z)
{
    EXPECT_EQ(v[0], x);
    EXPECT_EQ(v[1], y);
    EXPECT_EQ(v[2], z);
}

const double smallestNormal = std::numeric_limits<double>::min();
const CMatrix3 oneToNine(1, 2, 3, 4, 5, 6, 7, 8, 9);
} // namespace

TEST(Vec3, BoundsMessagesCarryFilledTextAndLocation)
{
    CVec3 v;
    const CVec3& c = v;
    const char* vec = "src/Numeric/Vec3.cpp";
    ExpectFailure([&] { v(0, 1); }, "Index exceeds matrix bounds. Tried to access index (0,1) but Matrix size is 3-by-1",
                  "TOLX::CVec3::operator ()", 96, vec);
    ExpectFailure([&] { c(2, 1); }, "Index exceeds matrix bounds. Tried to access index (2,1) but Matrix size is 3-by-1",
                  "TOLX::CVec3::operator ()", 106, vec);
    ExpectFailure([&] { c[3]; }, "Index exceeds matrix bounds. Tried to access index (3) but Matrix size is 3-by-1",
                  "TOLX::CVec3::operator []", 116, vec);
    ExpectFailure([&] { v[-1]; }, "Index exceeds matrix bounds. Tried to access index (-1) but Matrix size is 3-by-1",
                  "TOLX::CVec3::operator []", 126, vec);
    ExpectFailure([&] { c.Row(3); }, "Index exceeds matrix bounds. Tried to access index (3) but Matrix size is 3-by-1",
                  "TOLX::CVec3::Row", 211, vec);
    ShapedVec3 shaped;
    EXPECT_NO_THROW(shaped.Reshape(3, 1));
    ExpectFailure([&] { shaped.Reshape(1, 3); },
                  "Reshape into other dimensions than (3,1) is not possible for an instance of CVec3.",
                  "TOLX::CVec3::Reshape", 308, vec);
    // The row index has no room to go past the storage either.
    ExpectFailure([&] { v(3, 0); }, "Index exceeds matrix bounds. Tried to access index (3,0) but Matrix size is 3-by-1",
                  "TOLX::CVec3::operator ()", 96, vec);
}

TEST(Matrix3, BoundsMessagesCarryFilledTextAndLocation)
{
    CMatrix3 m;
    const CMatrix3& c = m;
    const char* mat = "src/Numeric/Matrix3.cpp";
    ExpectFailure([&] { m(3, 0); }, "Index exceeds matrix bounds. Tried to access index (3,0) but Matrix size is 3-by-3",
                  "TOLX::CMatrix3::operator ()", 114, mat);
    ExpectFailure([&] { c(0, 3); }, "Index exceeds matrix bounds. Tried to access index (0,3) but Matrix size is 3-by-3",
                  "TOLX::CMatrix3::operator ()", 124, mat);
    ExpectFailure([&] { c.Row(3); }, "Index exceeds matrix bounds. Tried to access index (3,*) but Matrix size is 3-by-3",
                  "TOLX::CMatrix3::Row", 151, mat);
    ExpectFailure([&] { c.Col(4); }, "Index exceeds matrix bounds. Tried to access index (1,4) but Matrix size is 3-by-3",
                  "TOLX::CMatrix3::Col", 165, mat);
    ExpectFailure([&] { m.Col(3); }, "Index exceeds matrix bounds. Tried to access index (1,3) but Matrix size is 3-by-3",
                  "TOLX::CMatrix3::Col", 175, mat);
    ShapedMatrix3 shaped;
    EXPECT_NO_THROW(shaped.Reshape(3, 3));
    ExpectFailure([&] { shaped.Reshape(3, 1); },
                  "Reshape into other dimensions than (3,3) is not possible for an instance of CMatrix3.",
                  "TOLX::CMatrix3::Reshape", 245, mat);
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
        try
        {
            m.InverseMatrix();
            ADD_FAILURE() << "expected std::runtime_error";
        }
        catch (const std::runtime_error& e)
        {
            EXPECT_STREQ(e.what(), " EE Call of InverseMatrix() on singular matrix!");
        }
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
