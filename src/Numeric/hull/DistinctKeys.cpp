#include "Numeric/hull/DistinctKeys.h"

#include "Numeric/hull/HullTraits.h"
#include "Numeric/hull/Lookup.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace TOLX
{
namespace Impl
{
namespace
{
// Asks for the memory of the facets a loop over `all` reaches soon: the
// objects further ahead, the normal rows (or vertices) of nearer ones, whose
// objects have arrived by then.
void PrefetchFacetAhead(const std::vector<const CFacet*>& all, std::size_t i, bool vertices)
{
    constexpr std::size_t kAhead = 16;
    if (i + kAhead < all.size())
        Prefetch(all[i + kAhead]);
    if (i + kAhead / 2 < all.size())
    {
        const CFacet* f = all[i + kAhead / 2];
        Prefetch(vertices ? f->getVertices().Data() : f->getA().Data());
    }
}

// The identity of DistinctVertices, written as "neither orders before the
// other", so NaN behaves as that ordering says.
struct CVertexKey
{
    double x, y, z;
};

bool KeyLess(const CVertexKey& a, const CVertexKey& b, bool planar)
{
    if (std::fabs(a.x - b.x) > 1e-6)
        return a.x < b.x;
    if (planar)
        return a.y < b.y;
    if (std::fabs(a.y - b.y) > 1e-6)
        return a.y < b.y;
    return a.z < b.z;
}

// The identity of DistinctCoordinates. Vertices of facets of different
// spaces (which only a caller can mix) would be compared past the end of the
// shorter; they are distinct, ordered by their dimension.
bool CoordinatesLess(const std::vector<double>& a, const std::vector<double>& b)
{
    if (a.size() != b.size())
        return a.size() < b.size();
    for (std::size_t i = 0; i + 1 < a.size(); ++i)
        if (std::fabs(a[i] - b[i]) > 1e-8)
            return a[i] < b[i];
    return !a.empty() && a.back() < b.back();
}

// Keeps the distinct keys in order of first appearance. "Distinct" is "no
// earlier key is equivalent", equivalence being that neither key orders
// before the other; the index offers the test only the earlier keys that can
// be within the tolerances (see CNearKeyIndex).
template <class Key, class Less>
class CDistinctKeys
{
public:
    CDistinctKeys(std::vector<double> tolerances, std::size_t expected, Less less)
        : m_index(std::move(tolerances), expected), m_less(less)
    {
        m_keys.reserve(expected);
    }

    // True, and key kept, when no earlier key is equivalent to it.
    bool addIfNew(const Key& key, const double* components)
    {
        const bool known = m_index.findMatch(components, [&](std::size_t id) {
            return !m_less(m_keys[id], key) && !m_less(key, m_keys[id]);
        });
        if (known)
            return false;
        m_keys.push_back(key);
        m_index.insert(components);
        return true;
    }

private:
    CNearKeyIndex m_index;
    Less m_less;
    std::vector<Key> m_keys;
};
} // namespace

// Rows of other shapes than 1-by-d (which only a caller can make) are
// compared by a scan over all rows.
void CollectEquations(const std::list<CFacet*>& facets, std::list<CMatrix<double>>& A, std::list<double>& b)
{
    // One walk over the list both collects the facets and checks their
    // rows: the load of a facet then overlaps that of the next list node.
    const std::size_t d = facets.empty() ? 0 : facets.front()->getA().Cols();
    bool rowsFit = d != 0;
    std::vector<const CFacet*> all;
    all.reserve(facets.size());
    for (const CFacet* f : facets)
    {
        all.push_back(f);
        const CMatrix<double>& a = f->getA();
        rowsFit = rowsFit && RowsOfValue(a) == 1 && ColsOfValue(a) == d;
    }
    for (const CMatrix<double>& r : A)
        rowsFit = rowsFit && r.Rows() == 1 && r.Cols() == d;

    CNearKeyIndex index(std::vector<double>(rowsFit ? d : 0, CHullTraits::Eps()), A.size() + all.size());
    std::vector<const CMatrix<double>*> rows;
    rows.reserve(A.size() + all.size());
    for (const CMatrix<double>& r : A)
    {
        index.insert(r.Data());
        rows.push_back(&r);
    }
    for (std::size_t i = 0; i < all.size(); ++i)
    {
        PrefetchFacetAhead(all, i, false);
        const CMatrix<double>& a = all[i]->getA();
        const bool known =
            rowsFit ? index.findMatch(a.Data(), [&](std::size_t id) { return CHullTraits::RowsMatch(a, *rows[id]); })
                    : std::any_of(A.begin(), A.end(), [&](const CMatrix<double>& r) { return CHullTraits::RowsMatch(a, r); });
        if (known)
            continue;
        A.push_front(a);
        b.push_front(all[i]->getb()(0, 0));
        index.insert(A.front().Data());
        rows.push_back(&A.front());
    }
}

std::list<CMatrix<double>> DistinctVertices(const std::list<CFacet*>& facets, std::size_t dimSpace)
{
    const bool planar = dimSpace < 3;
    const auto less = [planar](const CVertexKey& a, const CVertexKey& b) { return KeyLess(a, b, planar); };
    CDistinctKeys<CVertexKey, decltype(less)> seen(planar ? std::vector<double>{1e-6, 0.0}
                                                          : std::vector<double>{1e-6, 1e-6, 0.0},
                                                   facets.size(), less);
    const std::vector<const CFacet*> all(facets.begin(), facets.end());
    std::list<CMatrix<double>> result;
    for (std::size_t f = 0; f < all.size(); ++f)
    {
        PrefetchFacetAhead(all, f, true);
        const CMatrix<double>& V = all[f]->getVertices();
        const std::size_t cols = V.Cols();
        // Too few rows: the accessors raise their message.
        const bool direct = V.Rows() >= (planar ? 2u : 3u);
        for (std::size_t j = 0; j < cols; ++j)
        {
            const double* v = V.Data() + j;
            const CVertexKey key = direct ? CVertexKey{v[0], v[cols], planar ? 0.0 : v[2 * cols]}
                                          : CVertexKey{V(0, j), V(1, j), planar ? 0.0 : V(2, j)};
            const double components[3] = {key.x, key.y, key.z};
            if (seen.addIfNew(key, components))
                result.push_back(V.GetCol(j));
        }
    }
    return result;
}

void DistinctCoordinates(const std::list<CFacet*>& facets, std::list<std::vector<double>>& out)
{
    out.clear();
    const std::size_t d = facets.empty() ? 0 : facets.front()->getVertices().Rows();
    // The index needs keys of one length; otherwise every key is compared.
    const bool oneSpace = std::all_of(facets.begin(), facets.end(),
                                      [d](const CFacet* f) { return f->getVertices().Rows() == d; });
    std::vector<double> tolerances(oneSpace ? d : 0, 1e-8);
    if (!tolerances.empty())
        tolerances.back() = 0.0;
    CDistinctKeys<std::vector<double>, decltype(&CoordinatesLess)> seen(tolerances, facets.size(), &CoordinatesLess);
    for (const CFacet* f : facets)
    {
        const CMatrix<double>& V = f->getVertices();
        for (std::size_t j = 0; j < V.Cols(); ++j)
        {
            std::vector<double> vertex(V.Rows());
            for (std::size_t i = 0; i < V.Rows(); ++i)
                vertex[i] = V.Data()[i * V.Cols() + j];
            if (seen.addIfNew(vertex, vertex.data()))
                out.push_back(std::move(vertex));
        }
    }
}
} // namespace Impl
} // namespace TOLX
