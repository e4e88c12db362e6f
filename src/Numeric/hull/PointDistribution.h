#pragma once

// Distribution of the computer's point list over the outside sets of a list
// of facets L: every point moves to the front of the outside set of the
// first facet of L it lies above, and the others are dropped, being inside
// the hull. That is the result of walking L facet after facet, each time
// over all remaining points; walking the points once instead gives the same
// sets in the same order, and is what this does whenever every shape fits
// the row product (otherwise it runs the literal order, so that the
// messages of mis-shaped matrices come where that order raises them).
//
// Points move by splicing list nodes, never by copying. After a horizon
// search the points are the outside sets of the visible facets, lent to the
// point list (and given back if the step stops with an exception); their
// nodes are then visited through the arrays the earlier distribution
// recorded (the outside memo of the facet book), which lets memory far
// ahead be requested early. Dropped points are kept until the construction
// ends and released in address order, which the allocator absorbs several
// times faster than a release amid the construction's own allocations.
// No allocation per point or facet once the arrays have grown. Internal
// header; not stable API.

#include "Numeric/Facet.h"
#include "Numeric/hull/FacetBook.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <vector>

namespace TOLX
{
namespace Impl
{
class CPointDistribution
{
public:
    using CPoints = std::list<CMatrix<double>>;
    using CNode = CPoints::iterator;

    // Distributes `points` over L. visible lists the facets of the horizon
    // search that just lent `points`, null when the points came otherwise.
    void distribute(CPoints& points, const std::list<CFacet*>& L, const std::list<CFacet*>* visible,
                    CFacetBook& book);

    // The horizon search puts the outside set of visible facet g (of record
    // r) in front of `points`: a copy, or the nodes themselves, lent until g
    // is deleted. first: g is the first facet of the search.
    void takeOutside(CPoints& points, CFacetRecord& r, bool copy, bool first, CFacetBook& book);

    // Gives every facet of the current horizon search a copy of the points
    // it lent, which are still in `points`.
    void returnLentOutsideSets();

    // Releases the points dropped so far.
    void releaseDropped();

private:
    struct CTarget
    {
        CFacet* facet;
        std::size_t slot; // of the facet's record
        const double* row;
        double threshold; // b + eps
        bool fresh;       // the outside set was empty before
        double best;      // height of `furthest`
        CNode furthest;
        std::vector<CNode> nodes; // in the order of arrival
    };

    // An outside set the current horizon search moved to `points`: the
    // facet's nodes start at `first` there.
    struct CLent
    {
        CFacet* facet;
        CNode first;
        std::size_t count;
    };

    bool prepareTargets(const std::list<CFacet*>& L, CFacetBook& book);
    std::size_t targetOf(const CMatrix<double>& q, double& height) const;
    void moveTo(CPoints& points, CNode node, CTarget& t, double height);
    void learnOutside(CTarget& t, CFacetBook& book);
    class CHorizonCursor;

    bool horizonOrder(const CPoints& points, const std::list<CFacet*>& visible) const;
    void distributeInOrder(CPoints& points);
    bool distributeWalking(CPoints& points);
    void distributeLiterally(CPoints& points, const std::list<CFacet*>& L);

    std::vector<CTarget> m_targets;
    std::size_t m_targetCount = 0;
    std::uint64_t m_stamp = 0;

    // The nodes of the outside sets the horizon search moved to `points`,
    // one array per visible facet in visiting order.
    std::vector<std::vector<CNode>> m_horizonNodes;
    bool m_horizonNodesKnown = false;
    std::vector<CLent> m_lent;
    std::vector<std::vector<CNode>> m_spareNodes;
    static constexpr std::size_t kSpareCapacity = 4096;

    CPoints m_dropped;
    std::vector<CNode> m_droppedNodes;
    std::vector<CNode> m_stagedDrops; // the current distribution's, still in `points`
};
} // namespace Impl
} // namespace TOLX
