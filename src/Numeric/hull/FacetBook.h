#pragma once

// The hull engine's records of its facets, kept beside the facets instead
// of inside them: one record per slot, found from a facet through its
// handle (Impl::CHullHandle). A record says which computer list holds the
// facet and where (so it is unlinked without a search), its serial in the
// outside queue, the epoch of its last visit by a horizon search, the
// stamp of its last distribution, and what a distribution learnt about its
// outside set (the memo below).
//
// Invariants: a handle is trusted only when the record of its slot names
// the same facet, so a stale or foreign handle simply finds nothing; slots
// are never reused while the book lives. A record whose facet the engine
// does not own may outlive the facet; it is then never read again, since
// no live object carries its slot. Internal header; not stable API.

#include "Numeric/Facet.h"
#include "Numeric/hull/HullAccess.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <vector>

namespace TOLX
{
namespace Impl
{
enum class EnFacetList : unsigned char
{
    NONE,
    FACETS,
    NEW_FACETS,
    SPARE // released: kept by the engine for reuse
};

// One cache line per record: the lookups on the construction's hot paths
// touch one line each.
struct alignas(64) CFacetRecord
{
    using COutsideNode = std::list<CMatrix<double>>::iterator;

    CFacet* facet = nullptr;
    bool owned = false; // the engine deletes the facet when it goes
    EnFacetList list = EnFacetList::NONE;
    // The outside memo: the node getFurthest would pick and (in the book,
    // by slot) the set's nodes in the order they were added, the list
    // running the other way. Valid only while outsideKnown holds and the
    // facet reports no outside edit.
    bool outsideKnown = false;
    std::list<CFacet*>::iterator position{};
    std::size_t serial = 0; // 0: not queued since the last restart
    std::uint64_t visit = 0;
    std::uint64_t stamp = 0;
    COutsideNode furthest{};
};

class CFacetBook
{
public:
    // The record of f, or null when f has none here.
    CFacetRecord* find(const CFacet* f)
    {
        const std::size_t slot = CHullAccess::Slot(*f);
        return slot < m_records.size() && m_records[slot].facet == f ? &m_records[slot] : nullptr;
    }

    // The record of f, made now if f has none. References to records stay
    // valid until the next record is made.
    CFacetRecord& of(CFacet* f)
    {
        if (CFacetRecord* r = find(f))
            return *r;
        reserveOne();
        CHullAccess::SetSlot(*f, m_records.size());
        m_records.emplace_back();
        m_outsideNodes.emplace_back();
        m_records.back().facet = f;
        return m_records.back();
    }

    // Room for one more record, so that making it cannot fail.
    void reserveOne()
    {
        if (m_records.size() == m_records.capacity())
        {
            m_records.reserve(2 * m_records.size() + 16);
            m_outsideNodes.reserve(m_records.capacity());
        }
    }

    std::size_t slotOf(const CFacetRecord& r) const { return static_cast<std::size_t>(&r - m_records.data()); }
    // The record of a slot slotOf gave, as long as its facet is the same.
    CFacetRecord& at(std::size_t slot) { return m_records[slot]; }

    // The nodes of the outside memo of r.
    std::vector<CFacetRecord::COutsideNode>& outsideNodes(const CFacetRecord& r) { return m_outsideNodes[slotOf(r)]; }

    void forgetOutside(CFacetRecord& r)
    {
        outsideNodes(r).clear();
        r.outsideKnown = false;
    }

    // What a facet rebuilt for reuse starts with.
    void restart(CFacetRecord& r)
    {
        forgetOutside(r);
        r.serial = 0;
        r.visit = 0;
        r.stamp = 0;
        r.list = EnFacetList::NONE;
    }

    // Whether the outside memo of r describes its facet's outside set.
    static bool knowsOutside(const CFacetRecord& r)
    {
        return r.outsideKnown && !CHullAccess::OutsideEdited(*r.facet);
    }

    // The memo of f from now on describes its outside set as it is.
    void trustOutside(CFacet* f, CFacetRecord& r)
    {
        r.outsideKnown = true;
        CHullAccess::ClearOutsideEdit(*f);
    }

    template <class Visit>
    void forEachOwned(Visit&& visit) const
    {
        for (const CFacetRecord& r : m_records)
            if (r.owned)
                visit(r.facet);
    }

private:
    std::vector<CFacetRecord> m_records;
    std::vector<std::vector<CFacetRecord::COutsideNode>> m_outsideNodes; // by slot
};
} // namespace Impl
} // namespace TOLX
