#pragma once

#include "Numeric/Matrix.h"

#include <cstddef>

namespace TOLX
{
namespace Impl
{
// Element (0, 0) of the product of the 1-by-d row `a` with the matrix x whose
// row-major elements start at `x` with `stride` columns, summed exactly as
// IMatrix::operator*= sums it: s = 0, then s = s + x(k, 0) * a(0, k) for k
// ascending. Reading the storage directly gives the same bits without the
// temporary matrices of the generic product.
inline double RowTimesColumn(const double* a, const double* x, std::size_t d, std::size_t stride)
{
    double s = 0.0;
    for (std::size_t k = 0; k < d; ++k)
        s = s + x[k * stride] * a[k];
    return s;
}

inline void Prefetch(const void* address)
{
    __builtin_prefetch(address);
}

// The shape of a matrix held by value (a list element, a member): its
// dynamic type is CMatrix<double> itself, so the call needs no dispatch.
inline std::size_t RowsOfValue(const CMatrix<double>& m)
{
    return m.CMatrix<double>::Rows();
}

inline std::size_t ColsOfValue(const CMatrix<double>& m)
{
    return m.CMatrix<double>::Cols();
}

// Column j of M as values for CFace::hasVertexValues.
inline const double* ColumnStart(const CMatrix<double>& M, std::size_t rows, std::size_t j)
{
    return rows == 0 ? nullptr : M.Data() + j;
}

// True when x can take part in a 1-by-d row product with a (0, 0) element;
// otherwise the generic product must run so that it raises its own message.
inline bool FitsRowProduct(std::size_t d, const CMatrix<double>& x)
{
    return x.Rows() == d && x.Cols() != 0;
}

inline bool ValueFitsRowProduct(std::size_t d, const CMatrix<double>& x)
{
    return RowsOfValue(x) == d && ColsOfValue(x) != 0;
}
} // namespace Impl
} // namespace TOLX
