#pragma once

#include "Numeric/Export.h"
#include "Numeric/MatrixInterface.h"
#include "zeblib2core/Throw.h"
#include "zeblib2core/Types.h"

#include <cstddef>
#include <ostream>
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
    // The element at n * row + col, checked against the storage only.
    T& At(std::size_t row, std::size_t col);
    T At(std::size_t row, std::size_t col) const;
    void RequireSymmetric() const;

    std::vector<T> m_elements;
    int64 m_n;
};

namespace Impl
{
// Raises a site of the symmetric matrix from this header, the file that
// hosts know its checks by. Only the library's own code calls it.
[[noreturn]] inline void RaiseFromSymmMatrixHeader(const StThrowSite& site, const char* typeName)
{
    TOLX_THROW_TEMPLATE_SITE(typeName, site);
}
} // namespace Impl

extern template class CSymmMatrix<double>;
} // namespace TOLX
