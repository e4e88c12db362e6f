#include "Numeric/hull/RidgeIndex.h"

#include "Numeric/hull/HullTraits.h"

#include <cmath>

namespace TOLX
{
namespace Impl
{
namespace
{
bool SameColumns(const CMatrix<double>& V, std::size_t a, std::size_t b)
{
    const std::size_t cols = ColsOfValue(V);
    for (std::size_t i = 0; i < RowsOfValue(V); ++i)
        if (!(V.Data()[i * cols + a] == V.Data()[i * cols + b]))
            return false;
    return true;
}
} // namespace

std::size_t CRidgeIndex::index(const std::list<CFacetConnector*>& horizon, CFacetConnector* start)
{
    m_ridges.assign(horizon.begin(), horizon.end());
    const std::size_t candidates = m_ridges.size();
    std::size_t startAt = 0;
    while (startAt < candidates && m_ridges[startAt] != start)
        ++startAt;
    if (startAt == candidates)
        m_ridges.push_back(start);

    m_firstSlot.assign(1, 0);
    for (const CFacetConnector* c : m_ridges)
        m_firstSlot.push_back(m_firstSlot.back() + ColsOfValue(c->getVertices()));
    const bool hashed = hashRidges(candidates);

    m_matchBegin.clear();
    m_matches.clear();
    for (std::size_t r = 0; r < m_ridges.size(); ++r)
        for (std::size_t k = 0; k < vertexCount(r); ++k)
        {
            m_matchBegin.push_back(m_matches.size());
            if (hashed)
            {
                // Ridges that share all of r but vertex k have, as sets of
                // distinct vertices, r's vertex set minus vertex k among
                // their own minus one vertex: equal sums of hashes.
                std::size_t last = m_ridges.size();
                m_table.forEach(ridgeHash(r) - m_vertexHash[m_firstSlot[r] + k], [&](std::size_t r2) {
                    if (r2 != r && r2 != last && holdsAllBut(r, k, r2))
                        m_matches.push_back(last = r2);
                    return true;
                });
            }
            else
                for (std::size_t r2 = 0; r2 < candidates; ++r2)
                    if (r2 != r && holdsAllBut(r, k, r2))
                        m_matches.push_back(r2);
        }
    m_matchBegin.push_back(m_matches.size());
    return startAt;
}

// The exact test: ridge r2 has every vertex of ridge r except vertex k.
bool CRidgeIndex::holdsAllBut(std::size_t r, std::size_t k, std::size_t r2) const
{
    return CHullTraits::HoldsColumnsBut(*m_ridges[r2], m_ridges[r]->getVertices(), k);
}

std::uint64_t CRidgeIndex::ridgeHash(std::size_t r) const
{
    std::uint64_t sum = 0;
    for (std::size_t s = m_firstSlot[r]; s < m_firstSlot[r + 1]; ++s)
        sum += m_vertexHash[s];
    return sum;
}

// Hashes every ridge vertex and indexes the candidate ridges by their vertex
// sets minus one vertex; false when the sets do not describe the ridges.
bool CRidgeIndex::hashRidges(std::size_t candidates)
{
    m_vertexHash.clear();
    for (const CFacetConnector* c : m_ridges)
    {
        const CMatrix<double>& V = c->getVertices();
        const std::size_t rows = RowsOfValue(V);
        const std::size_t cols = ColsOfValue(V);
        if (cols != ColsOfValue(m_ridges.front()->getVertices()))
            return false;
        for (std::size_t j = 0; j < cols; ++j)
        {
            std::uint64_t h = MixHash(rows);
            for (std::size_t i = 0; i < rows; ++i)
            {
                const double x = V.Data()[i * cols + j];
                if (std::isnan(x))
                    return false;
                h = MixHash(h ^ CoordinateBits(x));
            }
            for (std::size_t j2 = 0; j2 < j; ++j2)
                if (SameColumns(V, j, j2))
                    return false;
            m_vertexHash.push_back(h);
        }
    }
    m_table.clear(m_firstSlot[candidates]);
    for (std::size_t r = candidates; r-- > 0;)
        for (std::size_t s = m_firstSlot[r]; s < m_firstSlot[r + 1]; ++s)
            m_table.insert(ridgeHash(r) - m_vertexHash[s], r);
    return true;
}
} // namespace Impl
} // namespace TOLX
