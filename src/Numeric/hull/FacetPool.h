#pragma once

// Ownership of the hull's facets and horizon connectors. Every object the
// engine made, or took into its keeping because a computer listed it, is
// deleted exactly once, when the pool goes. Released objects are not
// deleted but kept as spares and rebuilt in place for later use (as a new
// object would be built), so that construction steps allocate nothing in
// the long run.
//
// Facets are found through their records in the facet book; connectors,
// which carry nothing of the engine, through an index from their address to
// their slot. A pool never throws of its own; building a facet may raise
// the facet's construction messages, and then nothing was taken into
// keeping. Internal header; not stable API.

#include "Numeric/Facet.h"
#include "Numeric/hull/FacetBook.h"
#include "Numeric/hull/Lookup.h"

#include <cstddef>
#include <list>
#include <utility>
#include <vector>

namespace TOLX
{
namespace Impl
{
class CFacetPool
{
public:
    explicit CFacetPool(CFacetBook& book) : m_book(book) {}
    CFacetPool(const CFacetPool&) = delete;
    CFacetPool& operator=(const CFacetPool&) = delete;
    ~CFacetPool();

    // new CFacet(V), kept.
    CFacet* makeFacet(const CMatrix<double>& V);
    // A facet on ridge c through p, as new CFacet(c, p) builds it, rebuilt
    // from a spare of the same space when there is one.
    CFacet* makeFacetOn(CFacetConnector* c, const CMatrix<double>& p);
    // new CFacetConnector(visible, hidden, ridge, opposite), or a spare
    // rebuilt as that.
    CFacetConnector* makeConnector(CFacet* visible, CFacet* hidden, CMatrix<double>& ridge,
                                   CMatrix<double>& opposite);

    // Takes an object a caller made into keeping; kept ones stay as they are.
    void keep(CFacet* f) { m_book.of(f).owned = true; }
    void keep(CFacetConnector* c) { slotOf(c); }

    // Takes f back as a spare: as far as callers can tell, it has been
    // destroyed. A caller's facet is kept from then on; a spare is not
    // released a second time.
    void recycle(CFacet* f);
    // The same for the connectors of a horizon (newest first, as the
    // horizon lists them) when `sole`; either way the pool forgets which
    // connectors it made for this horizon.
    void recycleHorizon(const std::list<CFacetConnector*>& horizon, bool sole);

private:
    // The connector's slot, after taking it into keeping if need be.
    std::size_t slotOf(CFacetConnector* c);
    std::size_t addConnector(CFacetConnector* c);
    void recycleSlot(std::size_t slot);

    CFacetBook& m_book;
    std::vector<CFacet*> m_spareFacets;
    std::vector<CFacetConnector*> m_connectors; // by slot
    std::vector<char> m_connectorSpare;         // by slot
    std::vector<std::size_t> m_spareConnectors; // slots
    CChainTable m_connectorIndex;               // address -> slot
    // The connectors made since the last horizon was recycled, with their
    // slots (a connector's slot never changes), which saves the index.
    std::vector<std::pair<CFacetConnector*, std::size_t>> m_made;
};
} // namespace Impl
} // namespace TOLX
