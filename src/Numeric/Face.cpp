#include "Numeric/Face.h"

#include "Numeric/hull/HullTraits.h"
#include "Numeric/hull/Print.h"
#include "Numeric/hull/ThrowSites.h"
#include "zeblib2core/Throw.h"

#include <iostream>

namespace TOLX
{
namespace Sites = Impl::HullSites;

CFace::CFace(CMatrix<double>& A_, CMatrix<double>& b_, CMatrix<double>& vertices_)
    : A(A_), b(b_), vertices(vertices_), dimSpace(static_cast<unsigned char>(A_.Cols())),
      dimSelf(static_cast<unsigned char>(A_.Cols() - A_.Rows()))
{
    if (dimSpace < dimSelf)
        TOLX_THROW_SITE(Sites::kFaceDimension);
    if (b_.Cols() != 1)
        TOLX_THROW_SITE(Sites::kFaceBNotVector, b_.Cols());
    // The test compares row counts while the message names column counts.
    if (b_.Rows() != A_.Rows())
        TOLX_THROW_SITE(Sites::kFaceSizeMismatch, A_.Cols(), b_.Cols());
    if (vertices_.Cols() != static_cast<std::size_t>(dimSelf) + 1)
        TOLX_THROW_SITE(Sites::kFaceVertexCount);
}

// The row count wraps in 8 bits like dimSelf does, so a face whose own
// dimension exceeds that of its space reaches the dimension check below.
CFace::CFace(unsigned char dimSpace_, unsigned char dimSelf_)
    : A(static_cast<unsigned char>(dimSpace_ - dimSelf_), dimSpace_),
      b(static_cast<unsigned char>(dimSpace_ - dimSelf_), 1), dimSpace(dimSpace_), dimSelf(dimSelf_)
{
    if (dimSpace < dimSelf)
        TOLX_THROW_SITE(Sites::kFaceDimensionBySize);
}

// Matrix equality of a vertex column with p: equal shapes, then every
// element equal (so NaN never matches).
bool CFace::hasVertex(const CMatrix<double>& p) const
{
    const std::size_t rows = p.Rows();
    return p.Cols() == 1 && hasVertexValues(rows == 0 ? nullptr : p.Data(), rows, 1);
}

// The first coordinates of the vertices lie side by side in row 0: they are
// scanned first, and only a column whose first coordinate matches is
// compared further, since vertices rarely share one.
bool CFace::hasVertexValues(const double* column, std::size_t rows, std::size_t stride) const
{
    const std::size_t cols = Impl::ColsOfValue(vertices);
    if (rows != Impl::RowsOfValue(vertices))
        return false;
    if (rows == 0)
        return cols != 0;
    const double* v = vertices.Data();
    const double first = column[0];
    for (std::size_t c = 0; c < cols; ++c)
    {
        if (!(v[c] == first))
            continue;
        std::size_t i = 1;
        while (i < rows && v[i * cols + c] == column[i * stride])
            ++i;
        if (i == rows)
            return true;
    }
    return false;
}

void CFace::print() const
{
    std::cout << "\n"
              << static_cast<unsigned>(dimSelf) << "dim Face in " << static_cast<unsigned>(dimSpace)
              << "dim space: ------------------\n"
              << "Equation:\n";
    Impl::PrintHullMatrix(std::cout, A);
    Impl::PrintHullMatrix(std::cout, b);
    std::cout << "\n"
              << "Vertices:\n";
    Impl::PrintHullMatrix(std::cout, vertices);
    std::cout << std::endl;
}
} // namespace TOLX
