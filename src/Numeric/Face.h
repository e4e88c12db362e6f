#pragma once

#include "Numeric/Export.h"
#include "Numeric/Matrix.h"

#include <cstddef>

namespace TOLX
{
// An affine face of a polytope in d-space: the points x with A x = b, spanned
// by the columns of `vertices`. Both dimensions are kept in 8 bits: the face
// lives in spaces of at most 255 dimensions, and dimSelf = dimSpace - rows(A)
// wraps in 8 bits, so an A with more rows than columns is rejected as a face
// of a dimension above that of its space.
class VORN_API CFace
{
public:
    CFace(CMatrix<double>& A, CMatrix<double>& b, CMatrix<double>& vertices);
    // A and b become zero matrices of the right shape; `vertices` is left
    // without a meaningful shape and must be assigned before it is read.
    CFace(unsigned char dimSpace, unsigned char dimSelf);

    CMatrix<double>& getA() { return A; }
    const CMatrix<double>& getA() const { return A; }
    CMatrix<double>& getb() { return b; }
    const CMatrix<double>& getb() const { return b; }
    CMatrix<double>& getVertices() { return vertices; }
    const CMatrix<double>& getVertices() const { return vertices; }
    std::size_t getDimSpace() const { return dimSpace; }
    std::size_t getDimSelf() const { return dimSelf; }

    // True when some column of `vertices` equals p exactly.
    bool hasVertex(const CMatrix<double>& p) const;
    // Dumps dimensions, equation and vertices to standard output.
    void print() const;

protected:
    // hasVertex for the column of `rows` values at column[0], column[stride],
    // ... (null when rows is 0), without extracting it into a matrix.
    bool hasVertexValues(const double* column, std::size_t rows, std::size_t stride) const;

    CMatrix<double> A;
    CMatrix<double> b;
    CMatrix<double> vertices;
    unsigned char dimSpace = 0;
    unsigned char dimSelf = 0;
};
} // namespace TOLX
