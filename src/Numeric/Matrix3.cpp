#include "Numeric/Matrix3.h"

#include "Numeric/MatrixSites.h"

#include <cmath>
#include <limits>
#include <stdexcept>

namespace TOLX
{
namespace
{
// Determinants at or below the smallest normal double count as singular.
constexpr double determinantThreshold = std::numeric_limits<double>::min();
} // namespace

CMatrix3::CMatrix3(const CVec3& t0, const CVec3& t1, const CVec3& t2) : m_t{t0, t1, t2} {}

CMatrix3::CMatrix3(double s0, double s1, double s2, double s3, double s4, double s5, double s6, double s7, double s8)
    : m_t{CVec3(s0, s1, s2), CVec3(s3, s4, s5), CVec3(s6, s7, s8)}
{
}

double& CMatrix3::operator()(std::size_t i, std::size_t j)
{
    if (i >= 3 || j >= 3)
        TOLX_THROW_SITE(Impl::MatrixSites::kMatrix3Write, i, j);
    return m_t[j][static_cast<int>(i)];
}

double CMatrix3::operator()(std::size_t i, std::size_t j) const
{
    if (i >= 3 || j >= 3)
        TOLX_THROW_SITE(Impl::MatrixSites::kMatrix3Read, i, j);
    return m_t[j][static_cast<int>(i)];
}

CVec3 CMatrix3::Row(std::size_t i) const
{
    if (i >= 3)
        TOLX_THROW_SITE(Impl::MatrixSites::kMatrix3Row, i);
    return m_t[i];
}

CVec3 CMatrix3::Col(std::size_t i) const
{
    if (i >= 3)
        TOLX_THROW_SITE(Impl::MatrixSites::kMatrix3ColRead, i);
    return m_t[i];
}

CVec3& CMatrix3::Col(std::size_t i)
{
    if (i >= 3)
        TOLX_THROW_SITE(Impl::MatrixSites::kMatrix3ColWrite, i);
    return m_t[i];
}

CMatrix3& CMatrix3::operator+=(const CMatrix3& other)
{
    for (int k = 0; k < 3; ++k)
        m_t[k] += other.m_t[k];
    return *this;
}

CMatrix3& CMatrix3::operator-=(const CMatrix3& other)
{
    for (int k = 0; k < 3; ++k)
        m_t[k] -= other.m_t[k];
    return *this;
}

CMatrix3& CMatrix3::operator*=(const double& factor)
{
    for (CVec3& t : m_t)
        t *= factor;
    return *this;
}

CMatrix3& CMatrix3::operator*=(const CMatrix3& other) { return *this = *this * other; }

CMatrix3 CMatrix3::operator+(const CMatrix3& other) const { return CMatrix3(*this) += other; }

CMatrix3 CMatrix3::operator-(const CMatrix3& other) const { return CMatrix3(*this) -= other; }

CMatrix3 CMatrix3::operator*(double factor) const { return CMatrix3(*this) *= factor; }

CMatrix3 CMatrix3::operator-() const { return CMatrix3(-m_t[0], -m_t[1], -m_t[2]); }

CVec3 CMatrix3::operator*(const CVec3& x) const { return CVec3(m_t[0] * x, m_t[1] * x, m_t[2] * x); }

CMatrix3 CMatrix3::operator*(const CMatrix3& B) const
{
    // Member i of the product is (ti . B.t0, ti . B.t1, ti . B.t2) = B * ti.
    CMatrix3 product;
    for (int i = 0; i < 3; ++i)
        product.m_t[i] = B * m_t[i];
    return product;
}

bool CMatrix3::operator==(const CMatrix3& other) const
{
    return m_t[0] == other.m_t[0] && m_t[1] == other.m_t[1] && m_t[2] == other.m_t[2];
}

bool CMatrix3::operator!=(const CMatrix3& other) const { return !(*this == other); }

double CMatrix3::Determinant() const { return m_t[0] * m_t[1].CrossProd(m_t[2]); }

bool CMatrix3::IsInvertible() const { return std::fabs(Determinant()) >= determinantThreshold; }

CMatrix3 CMatrix3::AdjointMatrix() const
{
    return CMatrix3(m_t[1].CrossProd(m_t[2]), m_t[2].CrossProd(m_t[0]), m_t[0].CrossProd(m_t[1]));
}

CMatrix3 CMatrix3::InverseMatrix() const
{
    double s[9];
    for (int k = 0; k < 3; ++k)
        m_t[k].WriteDoubles(s + 3 * k);
    const double c0 = s[4] * s[8] - s[7] * s[5];
    const double c1 = s[2] * s[7] - s[1] * s[8];
    const double c2 = s[1] * s[5] - s[2] * s[4];
    const double det = (s[3] * c1 + s[0] * c0) + s[6] * c2;
    if (determinantThreshold >= std::fabs(det))
        throw std::runtime_error(" EE Call of InverseMatrix() on singular matrix!");
    const double r = 1.0 / det;
    return CMatrix3(c0 * r, (s[6] * s[5] - s[3] * s[8]) * r, (s[3] * s[7] - s[6] * s[4]) * r, //
                    c1 * r, (s[0] * s[8] - s[6] * s[2]) * r, (s[6] * s[1] - s[0] * s[7]) * r, //
                    c2 * r, (s[3] * s[2] - s[0] * s[5]) * r, (s[0] * s[4] - s[3] * s[1]) * r);
}

void CMatrix3::Transpose() { *this = TransposedMatrix(); }

CMatrix3 CMatrix3::TransposedMatrix() const { return CMatrix3(Row(0), Row(1), Row(2)); }

CMatrix3 CMatrix3::Identity() { return CMatrix3(CVec3::E_x(), CVec3::E_y(), CVec3::E_z()); }

void CMatrix3::Reshape(std::size_t rows, std::size_t cols)
{
    if (rows != 3 || cols != 3)
        TOLX_THROW_SITE(Impl::MatrixSites::kMatrix3Reshape);
}
} // namespace TOLX
