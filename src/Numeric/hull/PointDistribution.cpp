#include "Numeric/hull/PointDistribution.h"

#include "Numeric/hull/HullAccess.h"
#include "Numeric/hull/HullTraits.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace TOLX
{
namespace Impl
{
namespace
{
using CNode = CPointDistribution::CNode;

std::uintptr_t AddressOf(CNode node)
{
    return reinterpret_cast<std::uintptr_t>(&*node);
}

// A radix sort on the nodes' distance from the lowest address, in units of
// the allocator's 16-byte alignment, 11 bits a pass: a million nodes within
// some hundred megabytes take three passes, several times faster than a
// comparison sort. A few thousand nodes are sorted by comparison, which
// then costs less than one pass over the radix counters.
void SortByAddress(std::vector<CNode>& nodes)
{
    constexpr std::size_t kRadixMinimum = 4096;
    if (nodes.size() < kRadixMinimum)
    {
        std::sort(nodes.begin(), nodes.end(), [](CNode a, CNode b) { return AddressOf(a) < AddressOf(b); });
        return;
    }
    std::uintptr_t low = AddressOf(nodes.front());
    std::uintptr_t high = low;
    for (CNode node : nodes)
    {
        low = std::min(low, AddressOf(node));
        high = std::max(high, AddressOf(node));
    }
    constexpr unsigned kBits = 11;
    constexpr std::size_t kBuckets = std::size_t(1) << kBits;
    std::vector<CNode> scratch(nodes.size());
    for (unsigned shift = 4; shift < 64 && ((high - low) >> shift) != 0; shift += kBits)
    {
        std::size_t start[kBuckets + 1] = {};
        const auto digit = [&](CNode node) { return ((AddressOf(node) - low) >> shift) & (kBuckets - 1); };
        for (CNode node : nodes)
            ++start[digit(node) + 1];
        for (std::size_t b = 0; b < kBuckets; ++b)
            start[b + 1] += start[b];
        for (CNode node : nodes)
            scratch[start[digit(node)]++] = node;
        nodes.swap(scratch);
    }
}
} // namespace

void CPointDistribution::distribute(CPoints& points, const std::list<CFacet*>& L, const std::list<CFacet*>* visible,
                                    CFacetBook& book)
{
    m_stagedDrops.clear();
    bool ordered = false;
    if (!prepareTargets(L, book))
        distributeLiterally(points, L);
    else if (m_targetCount != 0)
    {
        ordered = visible != nullptr && horizonOrder(points, *visible);
        if (ordered)
            distributeInOrder(points);
        else if (!distributeWalking(points))
            distributeLiterally(points, L);
    }
    for (std::size_t j = 0; j < m_targetCount; ++j)
        learnOutside(m_targets[j], book);
    if (!ordered)
        for (CNode it = points.begin(); it != points.end(); ++it)
            m_stagedDrops.push_back(it);
    m_dropped.splice(m_dropped.end(), points);
    m_droppedNodes.insert(m_droppedNodes.end(), m_stagedDrops.begin(), m_stagedDrops.end());
    // The arrays keep their storage for the next distributions, as many as
    // one distribution has ever had targets, and only the modest ones: the
    // arrays of an early distribution over few facets can hold most of the
    // points, and kept as spares for the small sets of later facets they
    // would hold memory the size of the input for nothing. Growing such an
    // array again costs an allocation per thousands of points.
    for (std::vector<CNode>& nodes : m_horizonNodes)
        if (m_spareNodes.size() < m_targets.size() && nodes.capacity() <= kSpareCapacity)
        {
            nodes.clear();
            m_spareNodes.push_back(std::move(nodes));
        }
    m_horizonNodes.clear();
    m_horizonNodesKnown = false;
}

void CPointDistribution::takeOutside(CPoints& points, CFacetRecord& r, bool copy, bool first, CFacetBook& book)
{
    if (first)
    {
        m_horizonNodes.clear();
        m_horizonNodesKnown = points.empty();
        m_lent.clear();
    }
    CFacet* g = r.facet;
    std::list<CMatrix<double>>& outside = CHullAccess::OutsideSet(*g);
    if (copy)
    {
        m_horizonNodesKnown = false;
        points.insert(points.begin(), outside.cbegin(), outside.cend());
        return;
    }
    if (CFacetBook::knowsOutside(r))
        m_horizonNodes.push_back(std::move(book.outsideNodes(r)));
    else
        m_horizonNodesKnown = false;
    book.forgetOutside(r);
    const std::size_t count = outside.size();
    points.splice(points.begin(), outside);
    if (count != 0)
        m_lent.push_back({g, points.begin(), count});
}

void CPointDistribution::returnLentOutsideSets()
{
    for (const CLent& l : m_lent)
        CHullAccess::OutsideSet(*l.facet).assign(l.first, std::next(l.first, static_cast<std::ptrdiff_t>(l.count)));
    m_lent.clear();
}

void CPointDistribution::releaseDropped()
{
    if (m_droppedNodes.size() != m_dropped.size()) // after an interruption
    {
        m_droppedNodes.clear();
        m_dropped.clear();
        return;
    }
    SortByAddress(m_droppedNodes);
    constexpr std::size_t kAhead = 16;
    const std::size_t n = m_droppedNodes.size();
    for (std::size_t i = 0; i < n; ++i)
    {
        if (i + kAhead < n)
            Prefetch(&*m_droppedNodes[i + kAhead]);
        if (i + kAhead / 2 < n)
        {
            // The neighbours the unlinking writes to.
            const CNode ahead = m_droppedNodes[i + kAhead / 2];
            if (ahead != m_dropped.begin())
                Prefetch(&*std::prev(ahead));
            if (const CNode after = std::next(ahead); after != m_dropped.end())
                Prefetch(&*after);
        }
        m_dropped.erase(m_droppedNodes[i]);
    }
    m_droppedNodes.clear();
}

// False, preparing nothing, when some facet of L has no 1-by-d normal row or
// no offset. A facet listed twice is not fresh.
bool CPointDistribution::prepareTargets(const std::list<CFacet*>& L, CFacetBook& book)
{
    const std::size_t d = L.empty() ? 0 : L.front()->getA().Cols();
    for (const CFacet* f : L)
    {
        const CMatrix<double>& A = f->getA();
        if (A.Rows() != 1 || A.Cols() != d || f->getb().Rows() == 0 || f->getb().Cols() == 0)
            return false;
    }
    ++m_stamp;
    m_targetCount = 0;
    bool repeated = false;
    for (CFacet* f : L)
    {
        if (m_targets.size() == m_targetCount)
            m_targets.emplace_back();
        CTarget& t = m_targets[m_targetCount++];
        t.facet = f;
        t.row = f->getA().Data();
        t.threshold = f->getb()(0, 0) + CHullTraits::Eps();
        t.fresh = CHullAccess::OutsideSet(*f).empty();
        t.best = 0.0;
        if (t.nodes.capacity() == 0 && !m_spareNodes.empty())
        {
            t.nodes.swap(m_spareNodes.back());
            m_spareNodes.pop_back();
        }
        t.nodes.clear();
        CFacetRecord& record = book.of(f);
        t.slot = book.slotOf(record);
        repeated = repeated || record.stamp == m_stamp;
        record.stamp = m_stamp;
    }
    for (std::size_t j = 0; repeated && j < m_targetCount; ++j)
        m_targets[j].fresh = false;
    return true;
}

// The first target point q (an element of a point list) lies above,
// m_targetCount for none.
std::size_t CPointDistribution::targetOf(const CMatrix<double>& q, double& height) const
{
    const std::size_t d = ColsOfValue(m_targets.front().facet->getA());
    const std::size_t stride = ColsOfValue(q);
    for (std::size_t j = 0; j < m_targetCount; ++j)
        if ((height = RowTimesColumn(m_targets[j].row, q.Data(), d, stride)) > m_targets[j].threshold)
            return j;
    return m_targetCount;
}

// Front insertion into the set: the node getFurthest picks is the last to
// arrive among those of the greatest height, hence ">=".
void CPointDistribution::moveTo(CPoints& points, CNode node, CTarget& t, double height)
{
    std::list<CMatrix<double>>& outside = CHullAccess::OutsideSet(*t.facet);
    outside.splice(outside.begin(), points, node);
    if (t.nodes.empty() || height >= t.best)
    {
        t.best = height;
        t.furthest = node;
    }
    t.nodes.push_back(node);
}

void CPointDistribution::learnOutside(CTarget& t, CFacetBook& book)
{
    CFacetRecord& record = book.at(t.slot);
    book.forgetOutside(record);
    if (!t.fresh)
        return;
    if (!t.nodes.empty())
        book.outsideNodes(record).swap(t.nodes);
    record.furthest = t.furthest;
    book.trustOutside(t.facet, record);
}

// `points` front to back from the arrays of the horizon search: the last
// visited facet's points came to the front last, and each array lists its
// nodes in the order they were added to an outside set, the set running the
// other way. The arrays are read where they are, not copied into one.
class CPointDistribution::CHorizonCursor
{
public:
    explicit CHorizonCursor(const std::vector<std::vector<CNode>>& arrays) : m_arrays(arrays), m_array(arrays.size())
    {
        settle();
    }

    bool done() const { return m_left == 0; }
    CNode node() const { return m_arrays[m_array][m_left - 1]; }
    void advance()
    {
        --m_left;
        settle();
    }
    void advance(std::size_t steps)
    {
        for (std::size_t k = 0; k < steps && !done(); ++k)
            advance();
    }

private:
    void settle()
    {
        while (m_left == 0 && m_array != 0)
            m_left = m_arrays[--m_array].size();
    }

    const std::vector<std::vector<CNode>>& m_arrays;
    std::size_t m_array;
    std::size_t m_left = 0; // nodes of m_arrays[m_array] still to come
};

// Whether the arrays of the horizon search list `points`. The points came
// from distributions to the visible facets, so they fit the row product of
// facets of the same dimension.
bool CPointDistribution::horizonOrder(const CPoints& points, const std::list<CFacet*>& visible) const
{
    if (!m_horizonNodesKnown)
        return false;
    for (const CFacet* v : visible)
        if (v->getA().Cols() != m_targets.front().facet->getA().Cols())
            return false;
    std::size_t count = 0;
    for (const std::vector<CNode>& nodes : m_horizonNodes)
        count += nodes.size();
    const CHorizonCursor first(m_horizonNodes);
    return count == points.size() && (count == 0 || first.node() == points.begin());
}

// Every point here came from an earlier distribution, so its shape fits the
// row product. Points inside stay in `points` for now.
void CPointDistribution::distributeInOrder(CPoints& points)
{
    constexpr std::size_t kAhead = 16;
    CHorizonCursor cursor(m_horizonNodes);
    CHorizonCursor ahead = cursor;
    CHorizonCursor near = cursor;
    ahead.advance(kAhead);
    near.advance(kAhead / 2);
    for (; !cursor.done(); cursor.advance())
    {
        if (!ahead.done())
        {
            Prefetch(&*ahead.node());
            ahead.advance();
        }
        if (!near.done())
        {
            Prefetch(near.node()->Data());
            near.advance();
        }
        const CNode node = cursor.node();
        double height = 0.0;
        const std::size_t j = targetOf(*node, height);
        if (j < m_targetCount)
            moveTo(points, node, m_targets[j], height);
        else
            m_stagedDrops.push_back(node);
    }
}

// Walks `points`; false, moving nothing, when some point's shape does not
// fit the row product. The shapes are checked first, so that no move has to
// be recorded for undoing: a record per point would double the memory of a
// large first distribution.
bool CPointDistribution::distributeWalking(CPoints& points)
{
    const std::size_t d = m_targets.front().facet->getA().Cols();
    for (const CMatrix<double>& q : points)
        if (!ValueFitsRowProduct(d, q))
            return false;
    for (auto it = points.begin(); it != points.end();)
    {
        const auto next = std::next(it);
        if (next != points.end())
            Prefetch(next->Data());
        double height = 0.0;
        const std::size_t j = targetOf(*it, height);
        if (j < m_targetCount)
            moveTo(points, it, m_targets[j], height);
        it = next;
    }
    return true;
}

// Facet after facet, with the generic height test: for facets or points of
// shapes the row product does not fit, whose messages must come in this
// order.
void CPointDistribution::distributeLiterally(CPoints& points, const std::list<CFacet*>& L)
{
    m_targetCount = 0;
    for (CFacet* f : L)
        for (auto it = points.begin(); it != points.end();)
        {
            if (CHullTraits::IsAbove(f, *it))
            {
                f->addToOutsideSet(*it);
                it = points.erase(it);
            }
            else
                ++it;
        }
}
} // namespace Impl
} // namespace TOLX
