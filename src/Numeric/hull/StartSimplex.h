#pragma once

// The random draw of the start simplex: selection sampling of d+1 point
// indices with the library's 15-bit generator (every subset equally
// likely), and the affine independence test of the drawn points by the
// singular values of their differences (absolute bound eps). One draw keeps
// its index of the points and the matrices of the test across its
// attempts, so an attempt allocates nothing; each test gives the matrices
// the shapes and values new zero matrices would get, so the results are the
// same bits. The attempt count and its messages are the computer's.
// Internal header; not stable API.

#include "Numeric/Matrix.h"
#include "Numeric/Numeric.h"
#include "Numeric/helpers/nrSVD.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <vector>

namespace TOLX
{
namespace Impl
{
class CAffineTest
{
public:
    // True when no singular value of the differences P(:, c) - P(:, 0)
    // is below eps in magnitude.
    bool independent(const CMatrix<double>& P, double eps);

private:
    CMatrix<double> m_D, m_U, m_S, m_V;
    CSvdWorkspace m_svd;
};

class CStartDraw
{
public:
    explicit CStartDraw(std::list<CMatrix<double>>& points);

    // One attempt: draws S.Cols() indices, copies the chosen points into the
    // columns of S in index order (indices past the last point fill
    // nothing) and tests them.
    bool attempt(CMatrix<double>& S, double eps);

private:
    std::vector<CMatrix<double>*> m_indexed;
    std::vector<std::size_t> m_chosen;
    CAffineTest m_test;
};
} // namespace Impl
} // namespace TOLX
