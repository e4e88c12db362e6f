#pragma once

#include "Numeric/Export.h"

#include <cstddef>

namespace TOLX
{
// A 3-by-1 column of doubles with value semantics. It mirrors the names of the
// dense matrix interface (Rows, Cols, operator(), Reshape) without deriving
// from it, and never touches the heap.
class VORN_API CVec3
{
public:
    CVec3() = default;
    CVec3(double x, double y, double z);
    CVec3(const CVec3&) = default;
    CVec3& operator=(const CVec3&) = default;

    std::size_t Rows() const { return 3; }
    std::size_t Cols() const { return 1; }

    double SquaredLength() const;
    double Length() const;
    // Scales to unit length; a vector too short to normalise stays unchanged.
    CVec3& Normalize();
    CVec3 NormalizedCopy() const;

    CVec3& operator+=(const CVec3& other);
    CVec3& operator-=(const CVec3& other);
    CVec3& operator*=(double factor);
    // Multiplies by 1/divisor; a zero divisor is not checked.
    CVec3& operator/=(double divisor);
    CVec3 operator-() const;
    CVec3 operator+(const CVec3& other) const;
    CVec3 operator-(const CVec3& other) const;
    CVec3 operator*(double factor) const;
    CVec3 operator/(double divisor) const;
    // Dot product.
    double operator*(const CVec3& other) const;
    CVec3 CrossProd(const CVec3& other) const;

    // Equal when every component differs by at most the double epsilon.
    bool operator==(const CVec3& other) const;
    // Unequal when some component differs by more than the double epsilon.
    bool operator!=(const CVec3& other) const;
    // Exact ordering by z, then y, then x.
    bool operator<(const CVec3& other) const;
    bool IsNull() const;
    bool IsNotNull() const;

    // Component i; only the column index is checked.
    double& operator()(std::size_t i, std::size_t j);
    double operator()(std::size_t i, std::size_t j) const;
    // Component i; a negative index fails like a too large one.
    double& operator[](int i);
    double operator[](int i) const;
    double Row(int i) const;

    static CVec3 Null();
    static CVec3 E_x();
    static CVec3 E_y();
    static CVec3 E_z();

    void SetPosition(double x, double y, double z);
    void SetFromFloats(const float* const values);
    void SetFromDoubles(const double* const values);
    void WriteFloats(float* values) const;
    void WriteDoubles(double* values) const;

protected:
    // The shape is fixed: only (3, 1) is accepted, and changes nothing.
    void Reshape(std::size_t rows, std::size_t cols);

private:
    double m_c[3] = {0.0, 0.0, 0.0};
};
} // namespace TOLX
