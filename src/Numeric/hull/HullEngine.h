#pragma once

// The engine behind CConvexHullComputer: the incremental construction's
// state and its phases, each a call from the computer's step of the same
// name. A step runs: pick the facet whose furthest outside point is next
// (outside queue) -> find the facets that point sees and the horizon around
// them (horizon search) -> build the cone of new facets along the horizon
// (ridge index) -> distribute the freed points over the new facets (point
// distribution) -> splice the new facets in and delete the visible ones
// (facet pool, facet book).
//
// Every answer equals that of the straightforward construction with list
// scans and copies, bit for bit; the engine only saves the scans. Its
// bookkeeping is trusted only while the computer's compute() drives the
// steps: a subclass calling a protected step may have edited the lists in
// any way since the last step, so the bookkeeping is then rebuilt from the
// lists (ensureTracked). Computers that share facets through assignment
// share one engine, which owns every facet and connector any of them made.
//
// The engine never throws of its own: a point found on a visible facet is
// reported to the computer, which raises the message in its own file;
// messages of facets and matrices pass through. Internal header; not stable
// API.

#include "Numeric/Facet.h"
#include "Numeric/hull/FacetBook.h"
#include "Numeric/hull/FacetPool.h"
#include "Numeric/hull/OutsideQueue.h"
#include "Numeric/hull/PointDistribution.h"
#include "Numeric/hull/RidgeIndex.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <vector>

namespace TOLX
{
namespace Impl
{
// The lists of one computer, which the engine works on, and the computer
// they belong to.
struct CHullLists
{
    const void* computer;
    std::list<CMatrix<double>>& points;
    std::list<CFacet*>& facets;
    std::list<CFacet*>& visibleFacets;
    std::list<CFacetConnector*>& horizon;
    std::list<CFacet*>& newFacets;
};

enum class EnHorizonSearch
{
    COMPLETE,
    // The point is a vertex of a visible facet that has a hidden neighbour:
    // it cannot be outside the hull. The search stopped there.
    POINT_ON_VISIBLE_FACET
};

class CHullEngine
{
public:
    CHullEngine() : m_pool(m_book) {}
    CHullEngine(const CHullEngine&) = delete;
    CHullEngine& operator=(const CHullEngine&) = delete;

    // ---- ownership
    // Keeps everything the lists name, for a computer's destructor and for
    // an assignment that replaces its lists.
    void keepListed(const CHullLists& lists);
    // The computer's lists are no longer the ones the bookkeeping describes.
    void forget(const void* computer);

    // ---- bookkeeping
    void ensureTracked(const CHullLists& lists);
    // While compute() runs the steps itself, the bookkeeping carries over
    // from one step to the next.
    void setDriving(bool driving) { m_driving = driving; }

    // ---- the phases
    // Facet i of the start simplex on the columns of S, oriented away from
    // the left-out column and linked with every listed facet.
    void addSimplexFacet(const CHullLists& lists, const CMatrix<double>& S, std::size_t i);
    // distributePoints(L); fromHorizon: L is newFacets after a horizon
    // search of compute(), whose lent points are distributed.
    void distribute(const CHullLists& lists, const std::list<CFacet*>& L, bool fromHorizon);
    // The first facet of newFacets, then facets, with a point above it; p
    // that point.
    CFacet* nextOutsideFacet(CMatrix<double>& p);
    // Depth-first over the facets p sees. Outside sets are copied to the
    // front of the point list, or lent (compute() only).
    EnHorizonSearch searchHorizon(const CHullLists& lists, CFacet* f, const CMatrix<double>& p, bool copy);
    void returnLentOutsideSets() { m_distribution.returnLentOutsideSets(); }
    void clearNewFacets(const CHullLists& lists);
    // The cone from the horizon ridge `start` to p, depth-first along the
    // horizon.
    void buildAlongHorizon(const CHullLists& lists, CFacetConnector* start, CMatrix<double>& p);
    // Connectors are released only when no other computer can list them.
    void clearHorizon(const CHullLists& lists, bool sole);
    void spliceNewFacets(const CHullLists& lists);
    void deleteVisibleFacets(const CHullLists& lists, bool sole);
    // The end of compute(): neighbour slots that name no current facet
    // across their ridge are emptied; the dropped points are released.
    void finish(std::list<CFacet*>& facets);

private:
    struct CHorizonFrame
    {
        CFacet* facet;
        std::size_t next;         // next neighbour slot to look at
        std::size_t outsideCount; // size of the outside set before it moved to the points
    };

    struct CRidgeFrame
    {
        std::size_t ridge;
        CFacet* built;
        std::size_t k;    // vertex left out of the shared (d-3)-face
        std::size_t next; // position among the matches
    };

    void track(const CHullLists& lists);
    void adopt(CFacet* f, std::list<CFacet*>::iterator position, EnFacetList list);
    void retire(CFacet* f);
    void rebuildQueue(const CHullLists& lists);
    // Queues the facets of L with outside points; L precedes every facet
    // queued so far in list order.
    void enqueue(const std::list<CFacet*>& L);
    void release(CFacet* f, bool sole);

    CFacetBook m_book;
    CFacetPool m_pool;
    COutsideQueue m_queue;
    CPointDistribution m_distribution;
    CRidgeIndex m_ridges;

    const void* m_driver = nullptr;
    bool m_driving = false;
    std::uint64_t m_epoch = 0;

    // Scratch of the phases, kept so that a step allocates nothing.
    CMatrix<double> m_ridge;
    CMatrix<double> m_opposite;
    std::vector<CHorizonFrame> m_horizonFrames;
    std::vector<CRidgeFrame> m_ridgeFrames;
};

// Marks compute()'s own run of the steps for as long as it lives.
class CDriving
{
public:
    explicit CDriving(CHullEngine& engine) : m_engine(engine) { m_engine.setDriving(true); }
    ~CDriving() { m_engine.setDriving(false); }
    CDriving(const CDriving&) = delete;
    CDriving& operator=(const CDriving&) = delete;

private:
    CHullEngine& m_engine;
};
} // namespace Impl
} // namespace TOLX
