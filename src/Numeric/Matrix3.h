#pragma once

#include "Numeric/Export.h"
#include "Numeric/Vec3.h"

#include <cstddef>

namespace TOLX
{
// A 3-by-3 matrix of doubles held as three CVec3 members t0, t1, t2 (storage
// s0..s8 in that order). operator()(i, j) addresses component i of member tj,
// while Row(i) and Col(i) both return member ti and the products are defined
// on the members. Hosts rely on exactly these definitions: Transpose() and
// TransposedMatrix() therefore leave the matrix as it is, and A * B is the
// matrix of dot products ti . B.tj. No heap, no virtual functions.
class VORN_API CMatrix3
{
public:
    CMatrix3() = default;
    CMatrix3(const CVec3& t0, const CVec3& t1, const CVec3& t2);
    // s0 .. s8 in argument order.
    CMatrix3(double s0, double s1, double s2, double s3, double s4, double s5, double s6, double s7, double s8);
    CMatrix3(const CMatrix3&) = default;
    CMatrix3& operator=(const CMatrix3&) = default;

    std::size_t Rows() const { return 3; }
    std::size_t Cols() const { return 3; }

    // Component i of member tj, that is storage element s(i + 3j).
    double& operator()(std::size_t i, std::size_t j);
    double operator()(std::size_t i, std::size_t j) const;
    CVec3 Row(std::size_t i) const;
    CVec3 Col(std::size_t i) const;
    CVec3& Col(std::size_t i);

    CMatrix3& operator+=(const CMatrix3& other);
    CMatrix3& operator-=(const CMatrix3& other);
    CMatrix3& operator*=(const double& factor);
    CMatrix3& operator*=(const CMatrix3& other);
    CMatrix3 operator+(const CMatrix3& other) const;
    CMatrix3 operator-(const CMatrix3& other) const;
    CMatrix3 operator*(double factor) const;
    CMatrix3 operator-() const;
    // (t0 . x, t1 . x, t2 . x)
    CVec3 operator*(const CVec3& x) const;
    // Element s(3i + j) of the result is ti . B.tj.
    CMatrix3 operator*(const CMatrix3& B) const;

    bool operator==(const CMatrix3& other) const;
    bool operator!=(const CMatrix3& other) const;

    // t0 . (t1 x t2)
    double Determinant() const;
    // |det| >= smallest normal double; InverseMatrix() itself needs more.
    bool IsInvertible() const;
    // Members (t1 x t2, t2 x t0, t0 x t1).
    CMatrix3 AdjointMatrix() const;
    // Throws std::runtime_error when |det| is at most the smallest normal
    // double, so a determinant of exactly that size counts as invertible
    // for IsInvertible() yet cannot be inverted.
    CMatrix3 InverseMatrix() const;
    void Transpose();
    CMatrix3 TransposedMatrix() const;

    static CMatrix3 Identity();

protected:
    // The shape is fixed: only (3, 3) is accepted, and changes nothing.
    void Reshape(std::size_t rows, std::size_t cols);

private:
    CVec3 m_t[3];
};
} // namespace TOLX
