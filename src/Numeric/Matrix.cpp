#include "Numeric/Matrix.h"

#include "Numeric/ContainerChecks.h"
#include "Numeric/MatrixSites.h"
#include "Numeric/TypeName.h"

#include <algorithm>

namespace TOLX
{
namespace Sites = Impl::MatrixSites;

template <class T>
CMatrix<T>::CMatrix(std::size_t rows, std::size_t cols)
{
    Reshape(rows, cols);
}

template <class T>
CMatrix<T>::CMatrix(const CMatrix& other) : IMatrix<T>(other)
{
    const std::size_t count = other.m_rows * other.m_cols;
    reserve(count, 0);
    std::copy(other.m_data, other.m_data + count, m_data);
    m_rows = other.m_rows;
    m_cols = other.m_cols;
}

template <class T>
CMatrix<T>& CMatrix<T>::operator=(const CMatrix& other)
{
    if (this != &other)
    {
        const std::size_t count = other.m_rows * other.m_cols;
        reserve(count, 0);
        std::copy(other.m_data, other.m_data + count, m_data);
        m_rows = other.m_rows;
        m_cols = other.m_cols;
    }
    return *this;
}

template <class T>
CMatrix<T>::~CMatrix()
{
    if (onHeap())
        delete[] m_data;
}

// A heap block grows at least twice, as a std::vector would, so that a
// matrix extended row by row is copied only now and then.
template <class T>
void CMatrix<T>::reserve(std::size_t count, std::size_t keep)
{
    const bool heap = onHeap();
    const std::size_t capacity = heap ? m_capacity : kInline;
    if (count <= capacity)
        return;
    const std::size_t grown = heap ? std::max(count, 2 * capacity) : count;
    T* block = new T[grown];
    std::copy(m_data, m_data + keep, block);
    if (heap)
        delete[] m_data;
    m_data = block;
    m_capacity = grown;
}

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
    return m_data[Index(row, col, Sites::kMatrixRead)];
}

template <class T>
T& CMatrix<T>::operator()(std::size_t row, std::size_t col)
{
    return m_data[Index(row, col, Sites::kMatrixWrite)];
}

template <class T>
void CMatrix<T>::Reshape(std::size_t rows, std::size_t cols)
{
    const std::size_t count = Impl::CheckedArea<T>(rows, cols);
    const std::size_t kept = std::min(count, m_rows * m_cols);
    reserve(count, kept);
    std::fill(m_data + kept, m_data + count, T(0));
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
        result.m_data[i] = m_data[i * m_cols + col];
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
