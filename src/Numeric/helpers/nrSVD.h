#pragma once

#include "Numeric/Export.h"

#include <cstddef>
#include <vector>

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

// The worker's a, w and v laid out in one block with their row pointers.
// Keeping one workspace alive across calls makes repeated decompositions of
// matrices up to the same size free of allocations.
class VORN_API CSvdWorkspace
{
public:
    // Sizes the arrays for an m-by-n input; storage only ever grows. Element
    // values are left as they are: the caller fills a[1..m][1..n].
    void Prepare(int m, int n);

    double** A() noexcept { return m_rowPointers.data(); }
    double* W() noexcept { return m_w; }
    double** V() noexcept { return m_rowPointers.data() + m_aRows; }

    // Runs the worker on the prepared arrays.
    bool Decompose() { return CNrSvd::svdcmp(A(), m_m, m_n, W(), V()); }

private:
    std::vector<double> m_values;
    std::vector<double*> m_rowPointers;
    std::size_t m_aRows = 0;
    double* m_w = nullptr;
    int m_m = 0;
    int m_n = 0;
};
} // namespace TOLX
