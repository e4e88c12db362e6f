#pragma once

// The horizon's ridges and, for every ridge r and vertex k of it, the other
// ridges that hold every vertex of r but k: the ridges whose new facets
// become neighbours across the (d-3)-face they share. Walking along the
// horizon then costs a look-up per ridge and vertex instead of a scan of the
// horizon.
//
// Ridges whose vertices are distinct, NaN-free and equally many are indexed
// by hashes of their vertex sets minus one vertex; any other horizon is
// scanned. Either way a candidate is accepted only by the exact vertex test,
// so the matches and their order (horizon order) are those of a scan.
// Internal header; not stable API.

#include "Numeric/Facet.h"
#include "Numeric/hull/Lookup.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <vector>

namespace TOLX
{
namespace Impl
{
class CRidgeIndex
{
public:
    // Indexes the horizon's ridges in list order (and start, if the horizon
    // lacks it); returns the position of start.
    std::size_t index(const std::list<CFacetConnector*>& horizon, CFacetConnector* start);

    CFacetConnector* ridge(std::size_t r) const { return m_ridges[r]; }
    std::size_t vertexCount(std::size_t r) const { return m_firstSlot[r + 1] - m_firstSlot[r]; }
    // The matches of ridge r without vertex k are match(i) for i in
    // [matchBegin(r, k), matchBegin(r, k + 1)).
    std::size_t matchBegin(std::size_t r, std::size_t k) const { return m_matchBegin[m_firstSlot[r] + k]; }
    std::size_t match(std::size_t i) const { return m_matches[i]; }

private:
    bool holdsAllBut(std::size_t r, std::size_t k, std::size_t r2) const;
    std::uint64_t ridgeHash(std::size_t r) const;
    bool hashRidges(std::size_t candidates);

    std::vector<CFacetConnector*> m_ridges;
    std::vector<std::size_t> m_firstSlot;
    std::vector<std::size_t> m_matchBegin;
    std::vector<std::size_t> m_matches;
    std::vector<std::uint64_t> m_vertexHash;
    CChainTable m_table;
};
} // namespace Impl
} // namespace TOLX
