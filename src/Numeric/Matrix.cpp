#include "Numeric/Matrix.h"

#include "Numeric/ContainerChecks.h"
#include "Numeric/MatrixSites.h"
#include "Numeric/TypeName.h"

namespace TOLX
{
namespace Sites = Impl::MatrixSites;

template <class T>
CMatrix<T>::CMatrix(std::size_t rows, std::size_t cols)
    : m_rows(rows), m_cols(cols), m_elements(Impl::CheckedArea<T>(rows, cols), T(0))
{
}

template <class T>
CMatrix<T>& CMatrix<T>::operator=(const CMatrix& other)
{
    if (this != &other)
    {
        m_elements = other.m_elements;
        m_rows = other.m_rows;
        m_cols = other.m_cols;
    }
    return *this;
}

template <class T>
CMatrix<T>::~CMatrix() = default;

template <class T>
std::size_t CMatrix<T>::Index(std::size_t row, std::size_t col, const Impl::StThrowSite& site) const
{
    if (row >= m_rows || col >= m_cols)
        TOLX_THROW_TEMPLATE_SITE(Impl::TypeName<T>::value, site, row, col, m_rows, m_cols);
    return row * m_cols + col;
}

template <class T>
T CMatrix<T>::operator()(std::size_t row, std::size_t col) const
{
    return m_elements[Index(row, col, Sites::kMatrixRead)];
}

template <class T>
T& CMatrix<T>::operator()(std::size_t row, std::size_t col)
{
    return m_elements[Index(row, col, Sites::kMatrixWrite)];
}

template <class T>
void CMatrix<T>::Reshape(std::size_t rows, std::size_t cols)
{
    m_elements.resize(Impl::CheckedArea<T>(rows, cols), T(0));
    m_rows = rows;
    m_cols = cols;
}

template <class T>
CMatrix<T> CMatrix<T>::GetCol(std::size_t col) const
{
    if (col >= m_cols)
        TOLX_THROW_TEMPLATE_SITE(Impl::TypeName<T>::value, Sites::kMatrixGetCol, col, m_cols);
    CMatrix result(m_rows, 1);
    for (std::size_t i = 0; i < m_rows; ++i)
        result.m_elements[i] = m_elements[i * m_cols + col];
    return result;
}

template <class T>
CMatrix<T> CMatrix<T>::operator*(const IMatrix<T>& other) const
{
    if (m_cols != other.Rows())
        TOLX_THROW_TEMPLATE_SITE(Impl::TypeName<T>::value, Sites::kMatrixProduct);
    CMatrix result(*this);
    result *= other;
    return result;
}

template class CMatrix<double>;
template class CMatrix<float>;
} // namespace TOLX
