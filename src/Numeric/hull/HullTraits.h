#pragma once

// The hull engine's predicates and kernels, in one place: the height test
// (is a point above a facet), the equality of equation rows within eps,
// ridge membership of vertex columns, and the storage-level arithmetic they
// share. Each fast form gives the same bits as the generic matrix operations
// it replaces; where shapes do not fit, the generic operations run instead,
// so that their own messages are raised. Tolerances are absolute
// (CFacet::eps = 1e-12), never scaled by the coordinates. Internal header;
// not stable API.

#include "Numeric/Facet.h"
#include "Numeric/Matrix.h"
#include "Numeric/hull/HullAccess.h"

#include <cmath>
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
inline bool ValueFitsRowProduct(std::size_t d, const CMatrix<double>& x)
{
    return RowsOfValue(x) == d && ColsOfValue(x) != 0;
}

// out := M without column `skip` (skip < M.Cols()); out keeps its storage
// when its size does not change.
inline void CopyWithoutColumn(const CMatrix<double>& M, std::size_t skip, CMatrix<double>& out)
{
    const std::size_t rows = M.Rows();
    const std::size_t cols = M.Cols();
    out.Reshape(rows, cols - 1);
    double* o = out.Data();
    const double* m = M.Data();
    for (std::size_t i = 0; i < rows; ++i)
        for (std::size_t j = 0; j < cols; ++j)
            if (j != skip)
                *o++ = m[i * cols + j];
}

// out := column `col` of M (col < M.Cols()), keeping out's storage.
inline void CopyColumn(const CMatrix<double>& M, std::size_t col, CMatrix<double>& out)
{
    out.Reshape(M.Rows(), 1);
    for (std::size_t i = 0; i < M.Rows(); ++i)
        out.Data()[i] = M.Data()[i * M.Cols() + col];
}

struct CHullTraits
{
    static double Eps() { return CFacet::eps; }

    // (A p)(0, 0) > b(0, 0) + eps, with p's shape read by the caller, who
    // may test many facets.
    static bool IsAboveShaped(const CFacet* f, const CMatrix<double>& p, std::size_t rows, std::size_t cols)
    {
        const CMatrix<double>& A = f->getA();
        const CMatrix<double>& b = f->getb();
        if (RowsOfValue(A) != 1 || ColsOfValue(A) != rows || cols == 0 || RowsOfValue(b) == 0 ||
            ColsOfValue(b) == 0)
        {
            // The generic product and accessors, for their messages on
            // shapes that do not fit.
            CMatrix<double> height = A;
            height *= p;
            return height(0, 0) > b(0, 0) + Eps();
        }
        return RowTimesColumn(A.Data(), p.Data(), rows, cols) > b.Data()[0] + Eps();
    }

    static bool IsAbove(const CFacet* f, const CMatrix<double>& p) { return IsAboveShaped(f, p, p.Rows(), p.Cols()); }

    // Equation rows are the same plane when they agree element by element
    // within eps (a row without rows matches anything).
    static bool RowsMatch(const CMatrix<double>& a, const CMatrix<double>& r)
    {
        for (std::size_t i = 0; i < a.Rows(); ++i)
            for (std::size_t j = 0; j < a.Cols(); ++j)
                if (!(std::fabs(a(i, j) - r(i, j)) <= Eps()))
                    return false;
        return true;
    }

    // Whether `holder` has every column of M but column `skip` (none
    // skipped when skip >= M.Cols()) among its vertices, exactly.
    template <class Face>
    static bool HoldsColumnsBut(const Face& holder, const CMatrix<double>& M, std::size_t skip)
    {
        const std::size_t rows = RowsOfValue(M);
        const std::size_t cols = ColsOfValue(M);
        for (std::size_t j = 0; j < cols; ++j)
            if (j != skip && !CHullAccess::HasVertexValues(holder, ColumnStart(M, rows, j), rows, cols))
                return false;
        return true;
    }

    // Whether g is the facet across the ridge opposite vertex i of f.
    static bool SharesRidge(const CFacet& g, const CFacet& f, std::size_t i)
    {
        return HoldsColumnsBut(g, f.getVertices(), i);
    }
};
} // namespace Impl
} // namespace TOLX
