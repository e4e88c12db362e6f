#pragma once

// The hull computer's shared state: ownership of facets and connectors and
// the bookkeeping that makes one construction step cost what the facets it
// touches cost, instead of scans over whole lists. Included only by
// ConvexHullComputer.cpp.

#include "Numeric/ConvexHullComputer.h"
#include "Numeric/helpers/HullKernels.h"
#include "Numeric/helpers/HullLookup.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <cstdint>
#include <iterator>
#include <list>
#include <memory>
#include <utility>
#include <vector>

namespace TOLX
{
// Ownership: every facet and connector lives in a slot of this object until
// the object goes. Released ones are rebuilt in place for later use instead
// of being deleted, so that a construction step allocates nothing in the
// long run; rebuilding yields what a new object would hold.
//
// Bookkeeping, valid for the lists of one computer, the driver (another
// computer sharing the object rebuilds it before its next step):
// - each listed facet knows its node in `facets` or `newFacets`, so it is
//   unlinked without a search;
// - a facet is in `visibleFacets` exactly when its visit mark equals the
//   current epoch, which moves on whenever that list is emptied;
// - `queue` holds the facets with outside points, ordered as the list
//   newFacets followed by facets orders them, the front-most on top. Outside
//   sets are filled only when facets are new, and a facet loses its points
//   only by becoming visible and being deleted, so the top entry that is
//   still alive is the first facet of the list with points above it.
class CConvexHullComputer::CShared
{
public:
    using CLinks = CFacet::CHullLinks;

    CShared() = default;
    CShared(const CShared&) = delete;
    CShared& operator=(const CShared&) = delete;
    ~CShared()
    {
        for (CFacet* f : m_facets)
            delete f;
        for (CFacetConnector* c : m_connectors)
            delete c;
    }

    // Room for the slot is made first, so that a new object is never left
    // without an owner.
    template <class... Args>
    CFacet* makeFacet(Args&&... args)
    {
        makeRoom(m_facets);
        CFacet* f = new CFacet(std::forward<Args>(args)...);
        f->links.storeSlot = m_facets.size();
        m_facets.push_back(f);
        return f;
    }

    template <class... Args>
    CFacetConnector* makeConnector(Args&&... args)
    {
        makeRoom(m_connectors);
        makeRoom(m_connectorSpare);
        CFacetConnector* c = new CFacetConnector(std::forward<Args>(args)...);
        c->storeSlot = m_connectors.size();
        m_connectors.push_back(c);
        m_connectorSpare.push_back(0);
        return c;
    }

    // Takes an object a caller made (and listed in the computer's lists)
    // into this object's keeping, so that it is destroyed once, with the
    // others; objects kept already are left as they are.
    void keep(CFacet* f)
    {
        const std::size_t slot = f->links.storeSlot;
        if (slot < m_facets.size() && m_facets[slot] == f)
            return;
        makeRoom(m_facets);
        f->links.storeSlot = m_facets.size();
        m_facets.push_back(f);
    }

    void keep(CFacetConnector* c)
    {
        const std::size_t slot = c->storeSlot;
        if (slot < m_connectors.size() && m_connectors[slot] == c)
            return;
        makeRoom(m_connectors);
        makeRoom(m_connectorSpare);
        c->storeSlot = m_connectors.size();
        m_connectors.push_back(c);
        m_connectorSpare.push_back(0);
    }

    // Everything the computer's lists name, for the destructor and for an
    // assignment that replaces the lists.
    void keepListed(const CConvexHullComputer& hull)
    {
        for (const std::list<CFacet*>* L : {&hull.facets, &hull.visibleFacets, &hull.newFacets})
            for (CFacet* f : *L)
                keep(f);
        for (CFacetConnector* c : hull.horizon)
            keep(c);
    }

    // A facet on ridge c through p, as new CFacet(c, p) builds it, rebuilt
    // from a released facet when there is one of the same space.
    CFacet* makeFacetOn(CFacetConnector* c, const CMatrix<double>& p)
    {
        if (m_spareFacets.empty() || m_spareFacets.back()->getDimSpace() != p.Rows() || p.Rows() < 2)
            return makeFacet(c, p);
        CFacet* f = m_spareFacets.back();
        m_spareFacets.pop_back();
        try
        {
            f->respan(c, p);
        }
        catch (...)
        {
            m_spareFacets.push_back(f);
            throw;
        }
        CLinks& links = f->links;
        links.forgetOutside();
        links.serial = 0;
        links.visit = 0;
        links.stamp = 0;
        links.list = CLinks::LIST_NONE;
        return f;
    }

    CFacetConnector* makeConnectorOn(CFacet* visible, CFacet* hidden, CMatrix<double>& ridge,
                                     CMatrix<double>& opposite)
    {
        if (m_spareConnectors.empty() || m_spareConnectors.back()->getDimSpace() != ridge.Rows())
            return makeConnector(visible, hidden, ridge, opposite);
        CFacetConnector* c = m_spareConnectors.back();
        m_spareConnectors.pop_back();
        m_connectorSpare[c->storeSlot] = 0;
        c->reset(visible, hidden, ridge, opposite);
        return c;
    }

    // Takes back f or c for reuse: as far as callers can tell, the computer
    // has destroyed it. An object a caller made is kept here from then on;
    // one released already is not released a second time.
    void recycle(CFacet* f)
    {
        if (f->links.list == CLinks::LIST_SPARE)
            return;
        keep(f);
        f->links.list = CLinks::LIST_SPARE;
        m_spareFacets.push_back(f);
    }

    void recycle(CFacetConnector* c)
    {
        keep(c);
        if (m_connectorSpare[c->storeSlot] != 0)
            return;
        m_connectorSpare[c->storeSlot] = 1;
        m_spareConnectors.push_back(c);
    }

    // ---- bookkeeping

    // The bookkeeping is trusted only while compute() drives the steps. A
    // subclass calling a protected step may have edited the lists in any
    // way since the last step, so the bookkeeping is rebuilt from them.
    void ensureTracked(CConvexHullComputer& hull)
    {
        if (driver != &hull || !driving)
            track(hull);
    }

    void forget(const CConvexHullComputer& hull)
    {
        if (driver == &hull)
            driver = nullptr;
    }

    // Rebuilds the bookkeeping from the lists of hull.
    void track(CConvexHullComputer& hull)
    {
        driver = &hull;
        ++epoch;
        alive.assign(1, 0);
        for (CFacet* f : hull.visibleFacets)
        {
            if (f->links.list != CLinks::LIST_SPARE)
                f->links.list = CLinks::LIST_NONE;
            f->links.serial = 0;
        }
        tag(hull.facets, CLinks::LIST_FACETS);
        tag(hull.newFacets, CLinks::LIST_NEW_FACETS);
        for (CFacet* f : hull.visibleFacets)
            f->links.visit = epoch;
        rebuildQueue(hull);
    }

    // Records that f was just put at the front of its list.
    void adopt(CFacet* f, std::list<CFacet*>::iterator position, CLinks::EnList list)
    {
        f->links.position = position;
        f->links.list = list;
        f->links.serial = alive.size();
        alive.push_back(1);
    }

    void retire(CFacet* f)
    {
        f->links.list = CLinks::LIST_NONE;
        if (f->links.serial < alive.size())
            alive[f->links.serial] = 0;
    }

    void rebuildQueue(const CConvexHullComputer& hull)
    {
        queue.clear();
        enqueue(hull.facets);
        enqueue(hull.newFacets);
    }

    // Queues the facets of L that have outside points; L must precede every
    // facet queued so far in the list order.
    void enqueue(const std::list<CFacet*>& L)
    {
        for (auto it = L.rbegin(); it != L.rend(); ++it)
            if (!(*it)->outsideSet.empty())
                queue.emplace_back((*it)->links.serial, *it);
    }

    // The first facet of the list with a point above it, p that point.
    CFacet* nextFacet(CMatrix<double>& p)
    {
        while (!queue.empty())
        {
            const auto [serial, f] = queue.back();
            if (serial < alive.size() && alive[serial] != 0)
            {
                if (f->links.outsideKnown && !f->outsideSet.empty())
                {
                    p = *f->links.furthest;
                    return f;
                }
                if (f->getFurthest(p))
                    return f;
            }
            queue.pop_back();
        }
        return nullptr;
    }

    const CConvexHullComputer* driver = nullptr;
    bool driving = false; // compute() runs the steps
    std::uint64_t epoch = 0;
    std::vector<char> alive; // by serial; serial 0 names no facet
    std::vector<std::pair<std::size_t, CFacet*>> queue;

    // ---- scratch of the steps, kept to avoid allocating per step

    // A horizon ridge and the opposite vertex, before a connector copies them.
    CMatrix<double> ridge;
    CMatrix<double> opposite;

    struct CHorizonFrame
    {
        CFacet* facet;
        std::size_t next;         // next neighbour slot to look at
        std::size_t outsideCount; // size of the facet's outside set before it moved to `points`
    };
    std::vector<CHorizonFrame> horizonFrames;

    // ---- distribution of points to facets (see distribute)

    using CNode = std::list<CMatrix<double>>::iterator;

    struct CTarget
    {
        CFacet* facet;
        const double* row;
        double threshold; // b + eps
        bool fresh;       // the outside set was empty before
        double best;      // height of `furthest`
        CNode furthest;
        std::vector<CNode> nodes; // in the order of arrival
    };
    std::vector<CTarget> targets;
    std::size_t targetCount = 0;

    // Where each point went while walking the list (target == targetCount:
    // nowhere), to undo the moves.
    struct CMove
    {
        CNode node;
        std::size_t target;
    };
    std::vector<CMove> moves;

    // The nodes of the outside sets the horizon search moved to `points`,
    // one array per visible facet in visiting order; `order` then lists
    // `points` front to back.
    std::vector<std::vector<CNode>> horizonNodes;
    bool horizonNodesKnown = false;
    // The outside sets the current horizon search moved to `points`: each
    // facet's nodes start at `first` there.
    struct CLent
    {
        CFacet* facet;
        CNode first;
        std::size_t count;
    };
    std::vector<CLent> lent;
    std::vector<CNode> order;
    std::vector<std::vector<CNode>> spareNodes;
    std::uint64_t stamp = 0;
    // The points found inside the hull, with their nodes, released when the
    // construction ends: releasing them one by one amid the construction's
    // own allocations keeps the allocator busy sorting them.
    std::list<CMatrix<double>> dropped;
    std::vector<CNode> droppedNodes;
    std::vector<CNode> stagedDrops; // the current distribution's, still in `points`

    // Releases the dropped points in the order of their addresses: the
    // allocator then finds the neighbours of each block it takes back
    // already at hand, which makes releasing many scattered points several
    // times faster, now and when it later merges the free blocks.
    void releaseDropped()
    {
        if (droppedNodes.size() != dropped.size()) // after an interruption
        {
            droppedNodes.clear();
            dropped.clear();
            return;
        }
        std::sort(droppedNodes.begin(), droppedNodes.end(),
                  [](CNode a, CNode b) { return std::less<const void*>()(&*a, &*b); });
        constexpr std::size_t kAhead = 16;
        const std::size_t n = droppedNodes.size();
        for (std::size_t i = 0; i < n; ++i)
        {
            if (i + kAhead < n)
                Impl::Prefetch(&*droppedNodes[i + kAhead]);
            if (i + kAhead / 2 < n)
            {
                // The neighbours the unlinking writes to.
                const CNode ahead = droppedNodes[i + kAhead / 2];
                if (ahead != dropped.begin())
                    Impl::Prefetch(&*std::prev(ahead));
                if (const CNode after = std::next(ahead); after != dropped.end())
                    Impl::Prefetch(&*after);
            }
            dropped.erase(droppedNodes[i]);
        }
        droppedNodes.clear();
    }

    // Moves every point of `points` to the front of the outside set of the
    // first facet of L it lies above and drops the others (to `dropped`):
    // the result of walking L facet after facet, each time over all
    // remaining points. Walking the points once instead gives the same sets
    // in the same order. With fromHorizon the computer has just run the
    // horizon search and the points are the outside sets it moved, whose
    // nodes are known: they are visited through an array, which lets the
    // memory of nodes far ahead be requested early.
    void distribute(CConvexHullComputer& hull, const std::list<CFacet*>& L, bool fromHorizon)
    {
        ensureTracked(hull);
        stagedDrops.clear();
        bool ordered = false;
        if (!prepareTargets(L))
            distributeLiterally(hull, L);
        else if (targetCount != 0)
        {
            ordered = fromHorizon && horizonOrder(hull);
            if (ordered)
                distributeInOrder(hull.points);
            else if (!distributeWalking(hull.points))
                distributeLiterally(hull, L);
        }
        for (std::size_t j = 0; j < targetCount; ++j)
            learnOutside(targets[j]);
        if (!ordered)
            for (CNode it = hull.points.begin(); it != hull.points.end(); ++it)
                stagedDrops.push_back(it);
        dropped.splice(dropped.end(), hull.points);
        droppedNodes.insert(droppedNodes.end(), stagedDrops.begin(), stagedDrops.end());
        // The arrays keep their storage for the next distributions.
        for (std::vector<CNode>& nodes : horizonNodes)
        {
            nodes.clear();
            spareNodes.push_back(std::move(nodes));
        }
        horizonNodes.clear();
        horizonNodesKnown = false;
    }

    // The horizon search puts the outside set of visible facet g in front of
    // `points`: a copy, or the nodes themselves, lent until g is deleted.
    void takeOutside(CConvexHullComputer& hull, CFacet* g, bool copy)
    {
        if (hull.visibleFacets.size() == 1)
        {
            horizonNodes.clear();
            horizonNodesKnown = hull.points.empty();
            lent.clear();
        }
        if (copy)
        {
            horizonNodesKnown = false;
            hull.points.insert(hull.points.begin(), g->outsideSet.cbegin(), g->outsideSet.cend());
            return;
        }
        if (g->links.outsideKnown)
            horizonNodes.push_back(std::move(g->links.outsideNodes));
        else
            horizonNodesKnown = false;
        g->links.forgetOutside();
        const std::size_t count = g->outsideSet.size();
        hull.points.splice(hull.points.begin(), g->outsideSet);
        if (count != 0)
            lent.push_back({g, hull.points.begin(), count});
    }

    // Gives every facet of the current horizon search a copy of the points it
    // lent, which are still in `points`.
    void returnLentOutsideSets()
    {
        for (const CLent& l : lent)
            l.facet->outsideSet.assign(l.first, std::next(l.first, static_cast<std::ptrdiff_t>(l.count)));
        lent.clear();
    }

    // Horizon ridges in list order and, for every ridge r and vertex k, the
    // ridges holding every vertex of r but k (matches[matchBegin[s] ..
    // matchBegin[s + 1]) for slot s = firstSlot[r] + k), in list order.
    std::vector<CFacetConnector*> ridges;
    std::vector<std::size_t> firstSlot;
    std::vector<std::size_t> matchBegin;
    std::vector<std::size_t> matches;
    std::vector<std::uint64_t> vertexHash;
    Impl::CChainTable ridgeTable;

    struct CRidgeFrame
    {
        std::size_t ridge;
        CFacet* built;
        std::size_t k;    // vertex left out of the shared (d-3)-face
        std::size_t next; // position in matches
    };
    std::vector<CRidgeFrame> ridgeFrames;

    // Lists the horizon's ridges (and start, if the horizon lacks it) with
    // their matches; returns the position of start.
    std::size_t indexRidges(const std::list<CFacetConnector*>& horizon, CFacetConnector* start)
    {
        ridges.assign(horizon.begin(), horizon.end());
        const std::size_t candidates = ridges.size();
        std::size_t startAt = 0;
        while (startAt < candidates && ridges[startAt] != start)
            ++startAt;
        if (startAt == candidates)
            ridges.push_back(start);

        firstSlot.assign(1, 0);
        for (const CFacetConnector* c : ridges)
            firstSlot.push_back(firstSlot.back() + c->vertices.Cols());
        const bool hashed = hashRidges(candidates);

        matchBegin.clear();
        matches.clear();
        for (std::size_t r = 0; r < ridges.size(); ++r)
            for (std::size_t k = 0; k < ridges[r]->vertices.Cols(); ++k)
            {
                matchBegin.push_back(matches.size());
                if (hashed)
                {
                    // Ridges that share all of r but vertex k have, as sets
                    // of distinct vertices, r's vertex set minus vertex k
                    // among their own minus one vertex: equal sums of hashes.
                    std::size_t last = ridges.size();
                    ridgeTable.forEach(ridgeHash(r) - vertexHash[firstSlot[r] + k], [&](std::size_t r2) {
                        if (r2 != r && r2 != last && holdsAllBut(r, k, r2))
                            matches.push_back(last = r2);
                        return true;
                    });
                }
                else
                    for (std::size_t r2 = 0; r2 < candidates; ++r2)
                        if (r2 != r && holdsAllBut(r, k, r2))
                            matches.push_back(r2);
            }
        matchBegin.push_back(matches.size());
        return startAt;
    }

private:
    // False, preparing nothing, when some facet of L has no 1-by-d normal
    // row or no offset. A facet listed twice is not fresh.
    bool prepareTargets(const std::list<CFacet*>& L)
    {
        const std::size_t d = L.empty() ? 0 : L.front()->getA().Cols();
        for (const CFacet* f : L)
        {
            const CMatrix<double>& A = f->getA();
            if (A.Rows() != 1 || A.Cols() != d || f->getb().Rows() == 0 || f->getb().Cols() == 0)
                return false;
        }
        ++stamp;
        targetCount = 0;
        bool repeated = false;
        for (CFacet* f : L)
        {
            if (targets.size() == targetCount)
                targets.emplace_back();
            CTarget& t = targets[targetCount++];
            t.facet = f;
            t.row = f->getA().Data();
            t.threshold = f->getb()(0, 0) + eps;
            t.fresh = f->outsideSet.empty();
            t.best = 0.0;
            if (t.nodes.capacity() == 0 && !spareNodes.empty())
            {
                t.nodes.swap(spareNodes.back());
                spareNodes.pop_back();
            }
            t.nodes.clear();
            repeated = repeated || f->links.stamp == stamp;
            f->links.stamp = stamp;
        }
        for (std::size_t j = 0; repeated && j < targetCount; ++j)
            targets[j].fresh = false;
        return true;
    }

    // The first target point q (an element of a point list) lies above,
    // targetCount for none.
    std::size_t targetOf(const CMatrix<double>& q, double& height) const
    {
        const std::size_t d = Impl::ColsOfValue(targets.front().facet->getA());
        const std::size_t stride = Impl::ColsOfValue(q);
        for (std::size_t j = 0; j < targetCount; ++j)
            if ((height = Impl::RowTimesColumn(targets[j].row, q.Data(), d, stride)) > targets[j].threshold)
                return j;
        return targetCount;
    }

    // Front insertion into the set: the node getFurthest picks is the last
    // to arrive among those of the greatest height, hence ">=".
    void moveTo(std::list<CMatrix<double>>& points, CNode node, CTarget& t, double height)
    {
        t.facet->outsideSet.splice(t.facet->outsideSet.begin(), points, node);
        if (t.nodes.empty() || height >= t.best)
        {
            t.best = height;
            t.furthest = node;
        }
        t.nodes.push_back(node);
    }

    void learnOutside(CTarget& t)
    {
        CFacet::CHullLinks& links = t.facet->links;
        links.forgetOutside();
        if (!t.fresh)
            return;
        if (!t.nodes.empty())
            links.outsideNodes.swap(t.nodes);
        links.furthest = t.furthest;
        links.outsideKnown = true;
    }

    // `points` front to back from the arrays of the horizon search. The
    // points came from distributions to the visible facets, so they fit the
    // row product of facets of the same dimension.
    bool horizonOrder(const CConvexHullComputer& hull)
    {
        const std::list<CMatrix<double>>& points = hull.points;
        if (!horizonNodesKnown)
            return false;
        for (const CFacet* v : hull.visibleFacets)
            if (v->getA().Cols() != targets.front().facet->getA().Cols())
                return false;
        order.clear();
        for (auto nodes = horizonNodes.rbegin(); nodes != horizonNodes.rend(); ++nodes)
            order.insert(order.end(), nodes->rbegin(), nodes->rend());
        return order.size() == points.size() && (order.empty() || order.front() == points.begin());
    }

    // Every point here came from an earlier distribution, so its shape fits
    // the row product. Points inside stay in `points` for now.
    void distributeInOrder(std::list<CMatrix<double>>& points)
    {
        constexpr std::size_t kAhead = 16;
        const std::size_t n = order.size();
        for (std::size_t i = 0; i < n; ++i)
        {
            if (i + kAhead < n)
                Impl::Prefetch(&*order[i + kAhead]);
            if (i + kAhead / 2 < n)
                Impl::Prefetch(order[i + kAhead / 2]->Data());
            double height = 0.0;
            const std::size_t j = targetOf(*order[i], height);
            if (j < targetCount)
                moveTo(points, order[i], targets[j], height);
            else
                stagedDrops.push_back(order[i]);
        }
    }

    // Walks `points`; false, with every move undone, at a point whose shape
    // the row product does not fit.
    bool distributeWalking(std::list<CMatrix<double>>& points)
    {
        const std::size_t d = targets.front().facet->getA().Cols();
        moves.clear();
        for (auto it = points.begin(); it != points.end();)
        {
            if (!Impl::ValueFitsRowProduct(d, *it))
            {
                for (const CMove& m : moves)
                    points.splice(it, m.target < targetCount ? targets[m.target].facet->outsideSet : points, m.node);
                for (std::size_t j = 0; j < targetCount; ++j)
                    targets[j].nodes.clear();
                return false;
            }
            const auto next = std::next(it);
            if (next != points.end())
                Impl::Prefetch(next->Data());
            double height = 0.0;
            const std::size_t j = targetOf(*it, height);
            moves.push_back({it, j});
            if (j < targetCount)
                moveTo(points, it, targets[j], height);
            it = next;
        }
        return true;
    }

    // Facet after facet, with isAbove's own products: for facets or points
    // of shapes the row product does not fit, whose messages must come in
    // this order.
    void distributeLiterally(CConvexHullComputer& hull, const std::list<CFacet*>& L)
    {
        targetCount = 0;
        for (CFacet* f : L)
            for (auto it = hull.points.begin(); it != hull.points.end();)
            {
                if (isAbove(f, *it))
                {
                    f->addToOutsideSet(*it);
                    it = hull.points.erase(it);
                }
                else
                    ++it;
            }
    }

    template <class T>
    static void makeRoom(std::vector<T>& slots)
    {
        if (slots.size() == slots.capacity())
            slots.reserve(2 * slots.size() + 16);
    }

    void tag(std::list<CFacet*>& L, CLinks::EnList list)
    {
        for (auto it = L.begin(); it != L.end(); ++it)
            adopt(*it, it, list);
    }

    // The exact test of the walk along the horizon: ridge r2 has every
    // vertex of ridge r except vertex k.
    bool holdsAllBut(std::size_t r, std::size_t k, std::size_t r2) const
    {
        const CMatrix<double>& R = ridges[r]->vertices;
        const std::size_t rows = Impl::RowsOfValue(R);
        const std::size_t cols = Impl::ColsOfValue(R);
        for (std::size_t j = 0; j < cols; ++j)
            if (j != k && !ridges[r2]->hasVertexValues(Impl::ColumnStart(R, rows, j), rows, cols))
                return false;
        return true;
    }

    std::uint64_t ridgeHash(std::size_t r) const
    {
        std::uint64_t sum = 0;
        for (std::size_t s = firstSlot[r]; s < firstSlot[r + 1]; ++s)
            sum += vertexHash[s];
        return sum;
    }

    // Hashes every ridge vertex and indexes the candidate ridges by their
    // vertex sets minus one vertex. Sets only describe ridges whose vertices
    // are distinct, NaN-free and equally many; otherwise the caller scans.
    bool hashRidges(std::size_t candidates)
    {
        vertexHash.clear();
        for (const CFacetConnector* c : ridges)
        {
            const CMatrix<double>& V = c->vertices;
            if (V.Cols() != ridges.front()->vertices.Cols())
                return false;
            for (std::size_t j = 0; j < V.Cols(); ++j)
            {
                std::uint64_t h = Impl::MixHash(V.Rows());
                for (std::size_t i = 0; i < V.Rows(); ++i)
                {
                    const double x = V.Data()[i * V.Cols() + j];
                    if (std::isnan(x))
                        return false;
                    h = Impl::MixHash(h ^ Impl::CoordinateBits(x));
                }
                for (std::size_t j2 = 0; j2 < j; ++j2)
                    if (sameColumns(V, j, j2))
                        return false;
                vertexHash.push_back(h);
            }
        }
        ridgeTable.clear(firstSlot[candidates]);
        for (std::size_t r = candidates; r-- > 0;)
            for (std::size_t s = firstSlot[r]; s < firstSlot[r + 1]; ++s)
                ridgeTable.insert(ridgeHash(r) - vertexHash[s], r);
        return true;
    }

    static bool sameColumns(const CMatrix<double>& V, std::size_t a, std::size_t b)
    {
        for (std::size_t i = 0; i < V.Rows(); ++i)
            if (!(V.Data()[i * V.Cols() + a] == V.Data()[i * V.Cols() + b]))
                return false;
        return true;
    }

    std::vector<CFacet*> m_facets;
    std::vector<CFacetConnector*> m_connectors;
    std::vector<char> m_connectorSpare; // by slot: released for reuse
    std::vector<CFacet*> m_spareFacets;
    std::vector<CFacetConnector*> m_spareConnectors;
};
} // namespace TOLX
