#include "Numeric/MatrixInterface.h"

#include "Numeric/MatrixSites.h"
#include "Numeric/TypeName.h"

#include <vector>

namespace TOLX
{
namespace Sites = Impl::MatrixSites;

namespace
{

// Row-major copy of all elements, read through the virtual accessor.
template <class T>
std::vector<T> ElementsOf(const IMatrix<T>& m)
{
    const std::size_t rows = m.Rows();
    const std::size_t cols = m.Cols();
    std::vector<T> copy;
    copy.reserve(rows * cols);
    for (std::size_t i = 0; i < rows; ++i)
        for (std::size_t j = 0; j < cols; ++j)
            copy.push_back(m(i, j));
    return copy;
}
// Element-wise operations need equal shapes, rows compared first.
template <class T>
void RequireSameShape(const IMatrix<T>& self, const IMatrix<T>& other, const Impl::StThrowSite& site)
{
    if (self.Rows() != other.Rows() || self.Cols() != other.Cols())
        TOLX_THROW_TEMPLATE_SITE(Impl::TypeName<T>::value, site, self.Rows(), self.Cols(), other.Rows(), other.Cols());
}
} // namespace

template <class T>
IMatrix<T>::~IMatrix() = default;

template <class T>
IMatrix<T>& IMatrix<T>::operator=(const IMatrix& other)
{
    const std::size_t r = other.Rows();
    const std::size_t c = other.Cols();
    // The asymmetry is intended and callers rely on it: with equal row counts
    // but different column counts the target keeps its shape, so a wider
    // source runs into the write accessor's bounds check and a narrower one
    // leaves the extra columns untouched.
    if (Rows() != r || Cols() == c)
        Reshape(r, c);
    for (std::size_t i = 0; i < r; ++i)
        for (std::size_t j = 0; j < c; ++j)
            (*this)(i, j) = other(i, j);
    return *this;
}

template <class T>
bool IMatrix<T>::operator==(const IMatrix& other) const
{
    if (this == &other)
        return true;
    if (Rows() != other.Rows() || Cols() != other.Cols())
        return false;
    for (std::size_t i = 0; i < Rows(); ++i)
        for (std::size_t j = 0; j < Cols(); ++j)
            if (!((*this)(i, j) == other(i, j)))
                return false;
    return true;
}

template <class T>
IMatrix<T>& IMatrix<T>::operator*=(const IMatrix& other)
{
    const std::size_t m = Rows();
    const std::size_t n = Cols();
    if (n != other.Rows())
        TOLX_THROW_TEMPLATE_SITE(Impl::TypeName<T>::value, Sites::kInterfaceProduct, m, n, other.Rows(), other.Cols());
    const std::vector<T> copy = ElementsOf(*this);
    Reshape(m, other.Cols());
    // B is read through its accessor on every use, after the reshape and
    // between the writes: a matrix multiplied by itself therefore reads the
    // elements of rows this loop has already written. Hosts get exactly
    // those values, so no snapshot of B is taken.
    for (std::size_t i = 0; i < m; ++i)
        for (std::size_t j = 0; j < other.Cols(); ++j)
        {
            T s = 0;
            for (std::size_t k = 0; k < other.Rows(); ++k)
                s = s + other(k, j) * copy[i * n + k];
            (*this)(i, j) = s;
        }
    return *this;
}

template <class T>
IMatrix<T>& IMatrix<T>::operator*=(const T& factor)
{
    for (std::size_t i = 0; i < Rows(); ++i)
        for (std::size_t j = 0; j < Cols(); ++j)
            (*this)(i, j) *= factor;
    return *this;
}

template <class T>
IMatrix<T>& IMatrix<T>::operator+=(const IMatrix& other)
{
    RequireSameShape(*this, other, Sites::kInterfaceSum);
    for (std::size_t i = 0; i < Rows(); ++i)
        for (std::size_t j = 0; j < Cols(); ++j)
            (*this)(i, j) += other(i, j);
    return *this;
}

template <class T>
IMatrix<T>& IMatrix<T>::operator+=(const T& summand)
{
    for (std::size_t i = 0; i < Rows(); ++i)
        for (std::size_t j = 0; j < Cols(); ++j)
            (*this)(i, j) += summand;
    return *this;
}

template <class T>
void IMatrix<T>::Transpose()
{
    const std::size_t rows = Rows();
    const std::size_t cols = Cols();
    const std::vector<T> copy = ElementsOf(*this);
    Reshape(cols, rows);
    for (std::size_t i = 0; i < rows; ++i)
        for (std::size_t j = 0; j < cols; ++j)
            (*this)(j, i) = copy[i * cols + j];
}

template <class T>
IMatrix<T>& IMatrix<T>::operator-=(const IMatrix& other)
{
    RequireSameShape(*this, other, Sites::kInterfaceDifference);
    for (std::size_t i = 0; i < Rows(); ++i)
        for (std::size_t j = 0; j < Cols(); ++j)
            (*this)(i, j) -= other(i, j);
    return *this;
}

// Both concatenations snapshot the argument first, so appending a matrix to
// itself doubles it instead of reading rows this call has just written.
template <class T>
void IMatrix<T>::AddRows(const IMatrix& other)
{
    const std::size_t rows = Rows();
    const std::size_t cols = Cols();
    if (other.Cols() != cols)
        TOLX_THROW_TEMPLATE_SITE(Impl::TypeName<T>::value, Sites::kInterfaceAddRows, other.Cols(), cols);
    const std::size_t added = other.Rows();
    const std::vector<T> mine = ElementsOf(*this);
    const std::vector<T> theirs = ElementsOf(other);
    Reshape(rows + added, cols);
    for (std::size_t i = 0; i < rows; ++i)
        for (std::size_t j = 0; j < cols; ++j)
            (*this)(i, j) = mine[i * cols + j];
    for (std::size_t k = 0; k < added; ++k)
        for (std::size_t j = 0; j < cols; ++j)
            (*this)(rows + k, j) = theirs[k * cols + j];
}

template <class T>
void IMatrix<T>::AddCols(const IMatrix& other)
{
    const std::size_t rows = Rows();
    const std::size_t cols = Cols();
    if (other.Rows() != rows)
        TOLX_THROW_TEMPLATE_SITE(Impl::TypeName<T>::value, Sites::kInterfaceAddCols, other.Rows(), rows);
    const std::size_t added = other.Cols();
    const std::vector<T> mine = ElementsOf(*this);
    const std::vector<T> theirs = ElementsOf(other);
    Reshape(rows, cols + added);
    for (std::size_t i = 0; i < rows; ++i)
    {
        for (std::size_t j = 0; j < cols; ++j)
            (*this)(i, j) = mine[i * cols + j];
        for (std::size_t k = 0; k < added; ++k)
            (*this)(i, cols + k) = theirs[i * added + k];
    }
}

template class IMatrix<double>;
template class IMatrix<float>;
} // namespace TOLX
