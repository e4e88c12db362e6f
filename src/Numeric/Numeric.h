#pragma once

#include "Numeric/Export.h"
#include "Numeric/MatrixInterface.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>
#include <vector>

namespace TOLX
{
// Work arrays for CNumeric::Svd, kept by a caller across calls: repeated
// decompositions of matrices up to the size of earlier ones allocate nothing.
// The arrays are 1-based, laid out in one block with their row pointers:
//   A  m rows of n columns: the matrix on entry, the columns of U on return;
//   W  n values: the singular values;
//   V  n rows of n columns: the columns of V.
class VORN_API CSvdWorkspace
{
public:
    // Sizes the arrays for an m-by-n input; storage only ever grows. Element
    // values are left as they are: the caller fills A()[1..m][1..n].
    void Prepare(int m, int n);

    double** A() noexcept { return m_rowPointers.data(); }
    double* W() noexcept { return m_w; }
    double** V() noexcept { return m_rowPointers.data() + m_aRows; }

    // Decomposes the prepared arrays in place; false when a singular value
    // does not converge.
    bool Decompose();

private:
    std::vector<double> m_values;
    std::vector<double*> m_rowPointers;
    std::size_t m_aRows = 0;
    double* m_w = nullptr;
    int m_m = 0;
    int m_n = 0;
};

namespace Impl
{
// Keeps a parameter out of template argument deduction, so that
// Rank(matrixOfDouble, 0) takes T from the matrix alone.
template <class T>
struct NonDeduced
{
    using type = T;
};

// A result computed in double, stored as the element type. For float a finite
// value beyond the float range saturates to the largest (lowest) finite float
// rather than becoming an infinity; infinities and NaN pass through, all other
// values are rounded to the nearest float.
template <class T>
T NarrowResult(double value)
{
    if constexpr (std::is_same_v<T, double>)
        return value;
    else
    {
        constexpr double largest = std::numeric_limits<T>::max();
        if (std::isfinite(value))
        {
            if (value > largest)
                return std::numeric_limits<T>::max();
            if (value < -largest)
                return std::numeric_limits<T>::lowest();
        }
        return static_cast<T>(value);
    }
}
} // namespace Impl

// Singular value decomposition and numerical rank of dense matrices, computed
// in double precision for both element types.
class VORN_API CNumeric
{
public:
    // A = U * diag(S) * V^T with A m-by-n, U m-by-n, S n-by-1, V n-by-n. The
    // outputs are never reshaped: they must be at least that large and are
    // written element by element, elements outside those ranges keep their
    // values. With sort the singular values come in descending order (equal
    // values keep the worker's order) and the columns of U and V follow them.
    // Returns false, writing nothing, when the decomposition does not converge.
    template <class T>
    static bool Svd(const IMatrix<T>& A, IMatrix<T>& U, IMatrix<T>& S, IMatrix<T>& V, bool sort);

    // The same on caller-kept work arrays: repeated calls on matrices up to
    // the size of earlier ones allocate nothing.
    template <class T>
    static bool Svd(const IMatrix<T>& A, IMatrix<T>& U, IMatrix<T>& S, IMatrix<T>& V, bool sort,
                    CSvdWorkspace& work);

    // The number of singular values strictly above the absolute tolerance, or
    // -1 when the decomposition fails. A negative tolerance counts every
    // column.
    template <class T>
    static int Rank(const IMatrix<T>& A, typename Impl::NonDeduced<T>::type tolerance);
};

#define VORN_NUMERIC_DECLARE(T)                                                                                        \
    extern template bool CNumeric::Svd<T>(const IMatrix<T>&, IMatrix<T>&, IMatrix<T>&, IMatrix<T>&, bool);             \
    extern template bool CNumeric::Svd<T>(const IMatrix<T>&, IMatrix<T>&, IMatrix<T>&, IMatrix<T>&, bool,              \
                                          CSvdWorkspace&);                                                             \
    extern template int CNumeric::Rank<T>(const IMatrix<T>&, T);
VORN_NUMERIC_DECLARE(double)
VORN_NUMERIC_DECLARE(float)
#undef VORN_NUMERIC_DECLARE
} // namespace TOLX
