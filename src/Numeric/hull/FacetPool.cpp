#include "Numeric/hull/FacetPool.h"

#include "Numeric/hull/HullAccess.h"

#include <cstdint>

namespace TOLX
{
namespace Impl
{
namespace
{
template <class T>
void MakeRoom(std::vector<T>& slots)
{
    if (slots.size() == slots.capacity())
        slots.reserve(2 * slots.size() + 16);
}
} // namespace

CFacetPool::~CFacetPool()
{
    m_book.forEachOwned([](CFacet* f) { delete f; });
    for (CFacetConnector* c : m_connectors)
        delete c;
}

// Room for the record is made first, so that a new facet is never left
// without an owner.
CFacet* CFacetPool::makeFacet(const CMatrix<double>& V)
{
    m_book.reserveOne();
    CFacet* f = new CFacet(V);
    m_book.of(f).owned = true;
    return f;
}

CFacet* CFacetPool::makeFacetOn(CFacetConnector* c, const CMatrix<double>& p)
{
    if (m_spareFacets.empty() || m_spareFacets.back()->getDimSpace() != p.Rows() || p.Rows() < 2)
    {
        m_book.reserveOne();
        CFacet* f = new CFacet(c, p);
        m_book.of(f).owned = true;
        return f;
    }
    // A spare that fails to be rebuilt stays a spare.
    CFacet* f = m_spareFacets.back();
    CHullAccess::Respan(*f, c, p);
    m_spareFacets.pop_back();
    m_book.restart(m_book.of(f));
    return f;
}

CFacetConnector* CFacetPool::makeConnector(CFacet* visible, CFacet* hidden, CMatrix<double>& ridge,
                                           CMatrix<double>& opposite)
{
    if (m_spareConnectors.empty() || m_connectors[m_spareConnectors.back()]->getDimSpace() != ridge.Rows())
    {
        MakeRoom(m_connectors);
        MakeRoom(m_connectorSpare);
        MakeRoom(m_made);
        CFacetConnector* c = new CFacetConnector(visible, hidden, ridge, opposite);
        m_made.emplace_back(c, addConnector(c));
        return c;
    }
    MakeRoom(m_made);
    const std::size_t slot = m_spareConnectors.back();
    m_spareConnectors.pop_back();
    m_connectorSpare[slot] = 0;
    CFacetConnector* c = m_connectors[slot];
    CHullAccess::Reset(*c, visible, hidden, ridge, opposite);
    m_made.emplace_back(c, slot);
    return c;
}

void CFacetPool::recycle(CFacet* f)
{
    CFacetRecord& r = m_book.of(f);
    if (r.list == EnFacetList::SPARE)
        return;
    r.owned = true;
    r.list = EnFacetList::SPARE;
    m_spareFacets.push_back(f);
}

void CFacetPool::recycleHorizon(const std::list<CFacetConnector*>& horizon, bool sole)
{
    for (CFacetConnector* c : horizon)
    {
        if (!sole)
            break;
        if (!m_made.empty() && m_made.back().first == c)
        {
            recycleSlot(m_made.back().second);
            m_made.pop_back();
        }
        else
            recycleSlot(slotOf(c));
    }
    m_made.clear();
}

void CFacetPool::recycleSlot(std::size_t slot)
{
    if (m_connectorSpare[slot] != 0)
        return;
    m_connectorSpare[slot] = 1;
    m_spareConnectors.push_back(slot);
}

std::size_t CFacetPool::slotOf(CFacetConnector* c)
{
    std::size_t slot = m_connectors.size();
    m_connectorIndex.forEach(AddressKey(c), [&](std::size_t s) {
        if (m_connectors[s] != c)
            return true;
        slot = s;
        return false;
    });
    if (slot < m_connectors.size())
        return slot;
    MakeRoom(m_connectors);
    MakeRoom(m_connectorSpare);
    return addConnector(c);
}

std::size_t CFacetPool::addConnector(CFacetConnector* c)
{
    const std::size_t slot = m_connectors.size();
    m_connectors.push_back(c);
    m_connectorSpare.push_back(0);
    m_connectorIndex.insert(AddressKey(c), slot);
    return slot;
}
} // namespace Impl
} // namespace TOLX
