#pragma once

#include "Numeric/Export.h"
#include "Numeric/Numeric.h" // CSvdWorkspace, the worker's arrays kept across calls

namespace TOLX
{
// Golub-Reinsch singular value decomposition on 1-based arrays of doubles
// (index 0 of every array and row is never read):
//   a  m rows of n columns: the matrix on entry, the columns of U on return;
//   w  n values: the singular values, non-negative and unsorted;
//   v  n rows of n columns: the columns of V (not its transpose).
// A = U * diag(w) * V^T. Returns false when a singular value does not
// converge within the iteration limit; a, w and v then hold partial results.
class VORN_API CNrSvd
{
public:
    static bool svdcmp(double** a, int m, int n, double* w, double** v);

    // The same w, v and result bit for bit, without forming U: a is left in
    // an unspecified state. The (d-1)-by-d shapes of facet normals,
    // d = 2..kLargestFixedDimension, run with their sizes fixed at compile
    // time; every other shape runs with sizes known only at run time.
    static bool svdcmpWithoutU(double** a, int m, int n, double* w, double** v);
    static constexpr int kLargestFixedDimension = 8;
};
} // namespace TOLX
