#pragma once

#include "Numeric/ContainerChecks.h"
#include "Numeric/Export.h"
#include "Numeric/MatrixInterface.h"
#include "Numeric/TypeName.h"
#include "zeblib2core/Throw.h"
#include "zeblib2core/Types.h"

#include <cmath>
#include <cstddef>
#include <iostream>
#include <ostream>
#include <utility>
#include <vector>

namespace TOLX
{
// Square matrix stored in full, row-major: element (i, j) at n * i + j.
// Squareness is its only invariant. Symmetry is tested when an eigenproblem is
// solved, and the class holds non-symmetric square matrices as well (the
// eigenvector matrix, column-scaled axis matrices).
//
// Element access is lenient on purpose: only the linear index n * row + col is
// checked against the storage, so (0, n) addresses element (1, 0).
template <class T>
class VORN_API CSymmMatrix : public IMatrix<T>
{
public:
    // The n-by-n identity.
    explicit CSymmMatrix(int64 n);
    // values are the row-major elements; there must be exactly n * n of them.
    CSymmMatrix(std::vector<T> values, int64 n);
    CSymmMatrix(const CSymmMatrix& other) = default;
    // A plain copy of dimension and storage; assignment from any other matrix
    // follows the interface's rule.
    CSymmMatrix& operator=(const CSymmMatrix& other);
    using IMatrix<T>::operator=;
    ~CSymmMatrix() override;

    std::size_t Rows() const override { return static_cast<std::size_t>(m_n); }
    std::size_t Cols() const override { return Rows(); }
    T& operator()(std::size_t row, std::size_t col) override;
    T operator()(std::size_t row, std::size_t col) const override;
    // Keeps elements at their storage positions; new ones are zero.
    void Reshape(std::size_t rows, std::size_t cols) override;

    // Euclidean length of column col.
    T GetColumnLength(int64 col) const;
    // Multiplies column j by factors[j].
    void ScaleColumns(std::vector<T> factors);
    // Rescales column j to length lengths[j]. A zero column gives infinite or
    // NaN factors; that is accepted, not checked.
    void SetColumnLength(std::vector<T> lengths);
    // Absolute tolerance of one machine epsilon, not scaled by the entries.
    bool IsSymmetric() const;
    // Largest absolute off-diagonal element, first in row-major order on ties;
    // p and q keep their values when every off-diagonal element is zero.
    T FindMaxOffDiagonal(int64& p, int64& q) const;
    std::ostream& Print(std::ostream& os) const;
    // Jacobi rotations on a copy, always annihilating the largest off-diagonal
    // element, until none exceeds eps. Column k of eigenvectors belongs to
    // eigenvalues[k]; eigenvalues must already hold n elements. Eigenvalues
    // come in diagonal order, unsorted.
    void SolveEigenProblem(CSymmMatrix& eigenvectors, std::vector<T>& eigenvalues, T eps) const;

private:
    std::size_t Index(std::size_t row, std::size_t col) const { return static_cast<std::size_t>(m_n) * row + col; }
    T& At(std::size_t row, std::size_t col) { return Impl::CheckedAt(m_elements, Index(row, col)); }
    T At(std::size_t row, std::size_t col) const { return Impl::CheckedAt(m_elements, Index(row, col)); }
    void RequireSymmetric() const;

    std::vector<T> m_elements;
    int64 m_n;
};

// The checks that raise the library's own messages are defined here in the
// header: host applications know these throw sites by this file.

namespace Impl
{
// n * n in 64-bit signed arithmetic, so a negative dimension has a positive
// square; false where the square would overflow.
inline bool SquareOf(int64 n, int64& square)
{
    return !__builtin_mul_overflow(n, n, &square);
}

inline bool IsSquareOf(std::size_t size, int64 n)
{
    int64 square = 0;
    return SquareOf(n, square) && size == static_cast<std::size_t>(square);
}
} // namespace Impl

template <class T>
CSymmMatrix<T>::CSymmMatrix(std::vector<T> values, int64 n) : m_elements(std::move(values)), m_n(n)
{
    if (!Impl::IsSquareOf(m_elements.size(), n))
        TOLX_THROW(Impl::TemplateMember<T>("TOLX::CSymmMatrix", "CSymmMatrix"), 104, "invalid parameter vector");
}

template <class T>
void CSymmMatrix<T>::SetColumnLength(std::vector<T> lengths)
{
    if (static_cast<int64>(lengths.size()) != m_n)
        TOLX_THROW(Impl::TemplateMember<T>("TOLX::CSymmMatrix", "SetColumnLength"), 217,
                   "invalid vector length in SetColumnLength");
    std::vector<T> factors(lengths.size());
    for (std::size_t j = 0; j < factors.size(); ++j)
        factors[j] = lengths[j] / GetColumnLength(static_cast<int64>(j));
    ScaleColumns(std::move(factors));
}

// The offending matrix goes to standard output first, so that the report of a
// failed decomposition shows what was handed in.
template <class T>
void CSymmMatrix<T>::RequireSymmetric() const
{
    if (IsSymmetric())
        return;
    std::cout << "Print Matrix:\n";
    Print(std::cout) << std::endl;
    TOLX_THROW(Impl::TemplateMember<T>("TOLX::CSymmMatrix", "SolveEigenProblem"), 250, "Matrix is not symmetric");
}

template <class T>
void CSymmMatrix<T>::Reshape(std::size_t rows, std::size_t cols)
{
    if (rows != cols)
        TOLX_THROW(Impl::TemplateMember<T>("TOLX::CSymmMatrix", "Reshape"), 485,
                   "Symmetric matrix must have an equal number of rows and columns.");
    m_elements.resize(Impl::CheckedArea<T>(rows, rows), T(0));
    m_n = static_cast<int64>(rows);
}

extern template class CSymmMatrix<double>;
} // namespace TOLX
