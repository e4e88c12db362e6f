#include "Numeric/Vec3.h"

#include "Numeric/MatrixSites.h"

#include <cmath>
#include <limits>

namespace TOLX
{
namespace
{
// Absolute per-component bound of operator== and operator!=.
constexpr double equalityTolerance = std::numeric_limits<double>::epsilon();
// Lengths at or below the smallest normal double are not normalised.
constexpr double lengthThreshold = std::numeric_limits<double>::min();

// Negative indices wrap to huge values and fail the same test.
bool IsComponent(int i) { return static_cast<unsigned>(i) < 3u; }
} // namespace

CVec3::CVec3(double x, double y, double z) : m_c{x, y, z} {}

double CVec3::SquaredLength() const { return m_c[0] * m_c[0] + m_c[1] * m_c[1] + m_c[2] * m_c[2]; }

double CVec3::Length() const { return std::sqrt(SquaredLength()); }

CVec3& CVec3::Normalize()
{
    const double length = Length();
    return *this *= lengthThreshold >= std::fabs(length) ? 1.0 : 1.0 / length;
}

CVec3 CVec3::NormalizedCopy() const
{
    CVec3 copy(*this);
    return copy.Normalize();
}

CVec3& CVec3::operator+=(const CVec3& other)
{
    for (int k = 0; k < 3; ++k)
        m_c[k] += other.m_c[k];
    return *this;
}

CVec3& CVec3::operator-=(const CVec3& other)
{
    for (int k = 0; k < 3; ++k)
        m_c[k] -= other.m_c[k];
    return *this;
}

CVec3& CVec3::operator*=(double factor)
{
    for (double& c : m_c)
        c *= factor;
    return *this;
}

CVec3& CVec3::operator/=(double divisor) { return *this *= 1.0 / divisor; }

CVec3 CVec3::operator-() const { return CVec3(-m_c[0], -m_c[1], -m_c[2]); }

CVec3 CVec3::operator+(const CVec3& other) const { return CVec3(*this) += other; }

CVec3 CVec3::operator-(const CVec3& other) const { return CVec3(*this) -= other; }

CVec3 CVec3::operator*(double factor) const { return CVec3(*this) *= factor; }

CVec3 CVec3::operator/(double divisor) const { return CVec3(*this) /= divisor; }

double CVec3::operator*(const CVec3& other) const
{
    return m_c[0] * other.m_c[0] + m_c[1] * other.m_c[1] + m_c[2] * other.m_c[2];
}

CVec3 CVec3::CrossProd(const CVec3& b) const
{
    return CVec3(m_c[1] * b.m_c[2] - m_c[2] * b.m_c[1], m_c[2] * b.m_c[0] - m_c[0] * b.m_c[2],
                 m_c[0] * b.m_c[1] - m_c[1] * b.m_c[0]);
}

bool CVec3::operator==(const CVec3& other) const
{
    for (int k = 0; k < 3; ++k)
        if (!(std::fabs(m_c[k] - other.m_c[k]) <= equalityTolerance))
            return false;
    return true;
}

// Not written as !(a == b): a NaN component makes both comparisons false.
bool CVec3::operator!=(const CVec3& other) const
{
    for (int k = 0; k < 3; ++k)
        if (std::fabs(m_c[k] - other.m_c[k]) > equalityTolerance)
            return true;
    return false;
}

bool CVec3::operator<(const CVec3& other) const
{
    const double* a = m_c;
    const double* b = other.m_c;
    return a[2] < b[2] || (a[2] == b[2] && (a[1] < b[1] || (a[1] == b[1] && a[0] < b[0])));
}

bool CVec3::IsNull() const { return 0.0 >= SquaredLength(); }

bool CVec3::IsNotNull() const { return !IsNull(); }

// Only the column index has a defined meaning to check; a row index beyond the
// vector is reported with the same message rather than read past the storage.
double& CVec3::operator()(std::size_t i, std::size_t j)
{
    if (j != 0 || i >= 3)
        TOLX_THROW_SITE(Impl::MatrixSites::kVecWrite, i, j);
    return m_c[i];
}

double CVec3::operator()(std::size_t i, std::size_t j) const
{
    if (j != 0 || i >= 3)
        TOLX_THROW_SITE(Impl::MatrixSites::kVecRead, i, j);
    return m_c[i];
}

double CVec3::operator[](int i) const
{
    if (!IsComponent(i))
        TOLX_THROW_SITE(Impl::MatrixSites::kVecSubscriptRead, i);
    return m_c[i];
}

double& CVec3::operator[](int i)
{
    if (!IsComponent(i))
        TOLX_THROW_SITE(Impl::MatrixSites::kVecSubscriptWrite, i, 3, 1);
    return m_c[i];
}

double CVec3::Row(int i) const
{
    if (!IsComponent(i))
        TOLX_THROW_SITE(Impl::MatrixSites::kVecRow, i, 3, 1);
    return m_c[i];
}

CVec3 CVec3::Null() { return CVec3(); }

CVec3 CVec3::E_x() { return CVec3(1.0, 0.0, 0.0); }

CVec3 CVec3::E_y() { return CVec3(0.0, 1.0, 0.0); }

CVec3 CVec3::E_z() { return CVec3(0.0, 0.0, 1.0); }

void CVec3::SetPosition(double x, double y, double z)
{
    m_c[0] = x;
    m_c[1] = y;
    m_c[2] = z;
}

void CVec3::SetFromFloats(const float* const values) { SetPosition(values[0], values[1], values[2]); }

void CVec3::SetFromDoubles(const double* const values) { SetPosition(values[0], values[1], values[2]); }

void CVec3::WriteFloats(float* values) const
{
    for (int k = 0; k < 3; ++k)
        values[k] = static_cast<float>(m_c[k]);
}

void CVec3::WriteDoubles(double* values) const
{
    for (int k = 0; k < 3; ++k)
        values[k] = m_c[k];
}

void CVec3::Reshape(std::size_t rows, std::size_t cols)
{
    if (rows != 3 || cols != 1)
        TOLX_THROW_SITE(Impl::MatrixSites::kVecReshape);
}
} // namespace TOLX
