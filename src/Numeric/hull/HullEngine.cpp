#include "Numeric/hull/HullEngine.h"

#include "Numeric/hull/HullAccess.h"
#include "Numeric/hull/HullTraits.h"
#include "Numeric/hull/Lookup.h"
#include "Numeric/hull/Print.h"


namespace TOLX
{
namespace Impl
{
namespace
{
constexpr std::size_t kMaxPairDimension = 8;

// What f->addNeighbour(g) does once it knows which of f's vertices g shares.
void SettleNeighbour(CFacet* f, CFacet* g, const bool* shared, std::size_t d)
{
    std::size_t count = 0;
    std::size_t missing = 0;
    for (std::size_t i = 0; i < d; ++i)
        if (shared[i])
            ++count;
        else
            missing = i;
    if (count + 1 < d)
        f->addNeighbour(g); // prints both faces and raises its message
    else if (count < d)
        CHullAccess::Neighbours(*f)[missing] = g;
}

// a->addNeighbour(b), then b->addNeighbour(a). Column i of a equals column j
// of b is one test for both calls, so the two vertex sets are compared once,
// first coordinates first. Facets of other shapes make the two calls.
void LinkBothWays(CFacet* a, CFacet* b)
{
    const std::size_t d = a->getDimSpace();
    const CMatrix<double>& Va = a->getVertices();
    const CMatrix<double>& Vb = b->getVertices();
    const auto square = [d](const CFacet* f, const CMatrix<double>& V) {
        return f->getDimSpace() == d && RowsOfValue(V) == d && ColsOfValue(V) == d &&
               CHullAccess::Neighbours(*f).size() == d;
    };
    if (d < 2 || d > kMaxPairDimension || !square(a, Va) || !square(b, Vb))
    {
        a->addNeighbour(b);
        b->addNeighbour(a);
        return;
    }
    bool aInB[kMaxPairDimension] = {};
    bool bInA[kMaxPairDimension] = {};
    const double* va = Va.Data();
    const double* vb = Vb.Data();
    for (std::size_t i = 0; i < d; ++i)
        for (std::size_t j = 0; j < d; ++j)
        {
            if (!(va[i] == vb[j]))
                continue;
            std::size_t k = 1;
            while (k < d && va[k * d + i] == vb[k * d + j])
                ++k;
            if (k == d)
                aInB[i] = bInA[j] = true;
        }
    SettleNeighbour(a, b, aInB, d);
    SettleNeighbour(b, a, bInA, d);
}
} // namespace

void CHullEngine::keepListed(const CHullLists& lists)
{
    for (const std::list<CFacet*>* L : {&lists.facets, &lists.visibleFacets, &lists.newFacets})
        for (CFacet* f : *L)
            m_pool.keep(f);
    for (CFacetConnector* c : lists.horizon)
        m_pool.keep(c);
}

void CHullEngine::forget(const void* computer)
{
    if (m_driver == computer)
        m_driver = nullptr;
}

void CHullEngine::ensureTracked(const CHullLists& lists)
{
    if (m_driver != lists.computer || !m_driving)
        track(lists);
}

// Rebuilds the bookkeeping from the lists: positions and serials of the
// listed facets, the visit marks of the visible ones, the queue.
void CHullEngine::track(const CHullLists& lists)
{
    m_driver = lists.computer;
    ++m_epoch;
    m_queue.restart();
    for (CFacet* f : lists.visibleFacets)
    {
        CFacetRecord& r = m_book.of(f);
        if (r.list != EnFacetList::SPARE)
            r.list = EnFacetList::NONE;
        r.serial = 0;
    }
    for (auto it = lists.facets.begin(); it != lists.facets.end(); ++it)
        adopt(*it, it, EnFacetList::FACETS);
    for (auto it = lists.newFacets.begin(); it != lists.newFacets.end(); ++it)
        adopt(*it, it, EnFacetList::NEW_FACETS);
    for (CFacet* f : lists.visibleFacets)
        m_book.of(f).visit = m_epoch;
    rebuildQueue(lists);
}

// Records that f was just put at `position` of its list.
void CHullEngine::adopt(CFacet* f, std::list<CFacet*>::iterator position, EnFacetList list)
{
    const std::size_t serial = m_queue.admit();
    CFacetRecord& r = m_book.of(f);
    r.position = position;
    r.list = list;
    r.serial = serial;
}

void CHullEngine::retire(CFacet* f)
{
    CFacetRecord& r = m_book.of(f);
    r.list = EnFacetList::NONE;
    m_queue.retire(r.serial);
}

void CHullEngine::rebuildQueue(const CHullLists& lists)
{
    m_queue.clear();
    enqueue(lists.facets);
    enqueue(lists.newFacets);
}

void CHullEngine::enqueue(const std::list<CFacet*>& L)
{
    for (auto it = L.rbegin(); it != L.rend(); ++it)
        if (!CHullAccess::OutsideSet(**it).empty())
            m_queue.push(m_book.of(*it).serial, *it);
}

// While another computer shares the objects it may still list them, so they
// then stay as they are until the last of those computers goes.
void CHullEngine::release(CFacet* f, bool sole)
{
    if (sole)
        m_pool.recycle(f);
}

void CHullEngine::addSimplexFacet(const CHullLists& lists, const CMatrix<double>& S, std::size_t i)
{
    CMatrix<double> V;
    CopyWithoutColumn(S, i, V);
    CFacet* f = m_pool.makeFacet(V);
    lists.facets.push_front(f);
    adopt(f, lists.facets.begin(), EnFacetList::FACETS);
    // The vertex left out must not lie above its facet: the normal points outward.
    if (CHullTraits::IsAbove(f, S.GetCol(i)))
        f->flipDirection();
    for (CFacet* g : lists.facets)
    {
        g->addNeighbour(f);
        f->addNeighbour(g);
    }
}

// New facets go in front of all others in the queue; any other list
// rebuilds it.
void CHullEngine::distribute(const CHullLists& lists, const std::list<CFacet*>& L, bool fromHorizon)
{
    ensureTracked(lists);
    m_distribution.distribute(lists.points, L, fromHorizon ? &lists.visibleFacets : nullptr, m_book);
    if (&L == &lists.newFacets)
        enqueue(lists.newFacets);
    else
        rebuildQueue(lists);
}

CFacet* CHullEngine::nextOutsideFacet(CMatrix<double>& p)
{
    return m_queue.next([&](CFacet* f) {
        const CFacetRecord& r = m_book.of(f);
        if (CFacetBook::knowsOutside(r) && !CHullAccess::OutsideSet(*f).empty())
        {
            p = *r.furthest;
            return true;
        }
        return f->getFurthest(p);
    });
}

// With an explicit stack, in the order of the recursive search: a facet's
// neighbours in slot order, each visible one searched completely before the
// next slot. A facet is in visibleFacets exactly when its visit mark is the
// current epoch.
EnHorizonSearch CHullEngine::searchHorizon(const CHullLists& lists, CFacet* f, const CMatrix<double>& p, bool copy)
{
    ensureTracked(lists);
    const std::size_t pRows = p.Rows();
    const std::size_t pCols = p.Cols();
    auto enter = [&](CFacetRecord& r) {
        CFacet* g = r.facet;
        lists.visibleFacets.push_front(g);
        r.visit = m_epoch;
        const std::size_t outsideCount = CHullAccess::OutsideSet(*g).size();
        m_distribution.takeOutside(lists.points, r, copy, lists.visibleFacets.size() == 1, m_book);
        m_horizonFrames.push_back({g, 0, outsideCount});
    };
    m_horizonFrames.clear();
    enter(m_book.of(f));
    while (!m_horizonFrames.empty())
    {
        CHorizonFrame& frame = m_horizonFrames.back();
        CFacet* current = frame.facet;
        const std::vector<CFacet*>& neighbours = CHullAccess::Neighbours(*current);
        if (frame.next == neighbours.size())
        {
            m_horizonFrames.pop_back();
            continue;
        }
        const std::size_t i = frame.next++;
        CFacet* g = neighbours[i];
        if (g == nullptr)
        {
            WarnNullNeighbour(current, i, neighbours.size(), frame.outsideCount, lists.points.size(), p);
            continue;
        }
        if (CHullTraits::IsAboveShaped(g, p, pRows, pCols))
        {
            CFacetRecord& r = m_book.of(g);
            if (r.visit != m_epoch)
                enter(r);
            continue;
        }
        if (current->hasVertex(p))
            return EnHorizonSearch::POINT_ON_VISIBLE_FACET;
        const CMatrix<double>& V = current->getVertices();
        if (i >= V.Cols())
            V.GetCol(i); // raises the matrix's index message
        CopyWithoutColumn(V, i, m_ridge);
        CopyColumn(V, i, m_opposite);
        lists.horizon.push_front(m_pool.makeConnector(current, g, m_ridge, m_opposite));
    }
    return EnHorizonSearch::COMPLETE;
}

void CHullEngine::clearNewFacets(const CHullLists& lists)
{
    ensureTracked(lists);
    for (CFacet* f : lists.newFacets)
        retire(f);
    lists.newFacets.clear();
}

// With an explicit stack, in the order of the recursive walk: for each
// vertex k of a ridge, the ridges sharing all of it but k, in horizon order,
// each unbuilt one built and walked before the next.
void CHullEngine::buildAlongHorizon(const CHullLists& lists, CFacetConnector* start, CMatrix<double>& p)
{
    ensureTracked(lists);
    m_ridgeFrames.clear();
    auto build = [&](std::size_t r) {
        CFacetConnector* c = m_ridges.ridge(r);
        CFacet* nf = m_pool.makeFacetOn(c, p);
        lists.newFacets.push_front(nf);
        adopt(nf, lists.newFacets.begin(), EnFacetList::NEW_FACETS);
        // The visible facet's far vertex ends up inside the new hull.
        if (CHullTraits::IsAbove(nf, CHullAccess::ReferencePoint(*c)))
            nf->flipDirection();
        c->setConstructedFacet(nf);
        LinkBothWays(c->getHiddenFacet(), nf);
        m_ridgeFrames.push_back({r, nf, 0, m_ridges.matchBegin(r, 0)});
    };
    build(m_ridges.index(lists.horizon, start));
    while (!m_ridgeFrames.empty())
    {
        CRidgeFrame& frame = m_ridgeFrames.back();
        if (frame.k == m_ridges.vertexCount(frame.ridge))
        {
            m_ridgeFrames.pop_back();
            continue;
        }
        if (frame.next == m_ridges.matchBegin(frame.ridge, frame.k + 1))
        {
            ++frame.k;
            continue;
        }
        const std::size_t r2 = m_ridges.match(frame.next++);
        if (CFacet* e = m_ridges.ridge(r2)->getConstructedFacet())
            LinkBothWays(e, frame.built);
        else
            build(r2);
    }
}

void CHullEngine::clearHorizon(const CHullLists& lists, bool sole)
{
    m_pool.recycleHorizon(lists.horizon, sole);
    lists.horizon.clear();
}

void CHullEngine::spliceNewFacets(const CHullLists& lists)
{
    for (CFacet* g : lists.newFacets)
        m_book.of(g).list = EnFacetList::FACETS;
    lists.facets.splice(lists.facets.begin(), lists.newFacets);
}

void CHullEngine::deleteVisibleFacets(const CHullLists& lists, bool sole)
{
    ensureTracked(lists);
    for (CFacet* v : lists.visibleFacets)
    {
        // Called by a subclass, every occurrence goes, whatever the lists
        // look like.
        if (!m_driving)
        {
            lists.facets.remove(v);
            lists.newFacets.remove(v);
            retire(v);
            release(v, sole);
            continue;
        }
        const CFacetRecord& r = m_book.of(v);
        switch (r.list)
        {
        case EnFacetList::FACETS:
            lists.facets.erase(r.position);
            break;
        case EnFacetList::NEW_FACETS:
            lists.newFacets.erase(r.position);
            break;
        case EnFacetList::SPARE:
            break;
        case EnFacetList::NONE:
            lists.facets.remove(v);
            lists.newFacets.remove(v);
            break;
        }
        retire(v);
        release(v, sole);
    }
    lists.visibleFacets.clear();
    ++m_epoch;
}

// Degenerate input can break a step's horizon into pieces; a facet whose
// ridge then got no new facet still names the deleted visible facet as its
// neighbour: a pointer to a destroyed object, which the pool keeps for
// reuse or has reused for another facet. Such a slot is emptied, so that
// every neighbour a caller is shown is a facet of the hull across the
// slot's ridge. The dropped points are released last, so that the
// allocations before need not wait for the allocator to absorb them.
void CHullEngine::finish(std::list<CFacet*>& facets)
{
    // By address only: a slot may name an object that is no facet any more.
    CAddressSet current(facets.size());
    for (const CFacet* f : facets)
        current.insert(f);
    for (CFacet* f : facets)
        for (std::size_t i = 0; i < CHullAccess::Neighbours(*f).size(); ++i)
        {
            CFacet*& g = CHullAccess::Neighbours(*f)[i];
            if (g != nullptr && (!current.contains(g) || !CHullTraits::SharesRidge(*g, *f, i)))
                g = nullptr;
        }
    m_distribution.releaseDropped();
}
} // namespace Impl
} // namespace TOLX
