#include "Numeric/hull/StartSimplex.h"

#include "Numeric/hull/RandomStream.h"

#include <cmath>

namespace TOLX
{
namespace Impl
{
bool CAffineTest::independent(const CMatrix<double>& P, double eps)
{
    const std::size_t d = P.Rows();
    const std::size_t k = P.Cols();
    // Without columns, k - 1 wraps: the singular values cannot exist.
    m_D.Reshape(d, k - 1);
    for (std::size_t r = 0; r < d; ++r)
        for (std::size_t c = 1; c < k; ++c)
            m_D(r, c - 1) = P(r, c) - P(r, 0);
    m_U.Reshape(d, k - 1);
    m_S.Reshape(k - 1, 1);
    m_V.Reshape(k - 1, k - 1);
    CNumeric::Svd(m_D, m_U, m_S, m_V, false, m_svd);
    for (std::size_t j = 0; j + 1 < k; ++j)
        if (std::fabs(m_S(j, 0)) < eps)
            return false;
    return true;
}

CStartDraw::CStartDraw(std::list<CMatrix<double>>& points)
{
    m_indexed.reserve(points.size());
    for (CMatrix<double>& q : points)
        m_indexed.push_back(&q);
}

bool CStartDraw::attempt(CMatrix<double>& S, double eps)
{
    const std::uint32_t n = static_cast<std::uint32_t>(m_indexed.size());
    // Selection sampling: index i is taken with probability needed / (n - i),
    // n - i formed in 32 bits. The draws run on a local copy of the
    // generator's state.
    m_chosen.clear();
    {
        CRand15Stream random;
        std::size_t needed = S.Cols();
        for (std::uint32_t i = 0; needed > 0; ++i)
        {
            const double r = random.Next() * (1.0 / 32768.0) * static_cast<double>(static_cast<std::uint32_t>(n - i));
            if (r < static_cast<double>(needed))
            {
                m_chosen.push_back(i);
                --needed;
            }
        }
    }
    // The chosen indices ascend; those past the last point fill nothing.
    for (std::size_t column = 0; column < m_chosen.size() && m_chosen[column] < m_indexed.size(); ++column)
    {
        const CMatrix<double>& q = *m_indexed[m_chosen[column]];
        for (std::size_t r = 0; r < S.Rows(); ++r)
            S(r, column) = q(r, 0);
    }
    return m_test.independent(S, eps);
}
} // namespace Impl
} // namespace TOLX
