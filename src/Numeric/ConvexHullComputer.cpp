#include "Numeric/ConvexHullComputer.h"

#include "Numeric/Numeric.h"
#include "Numeric/Random.h"
#include "Numeric/helpers/HullKernels.h"
#include "Numeric/helpers/HullLookup.h"
#include "Numeric/helpers/HullPrint.h"
#include "Numeric/helpers/HullSpans.h"
#include "Numeric/helpers/HullState.h"
#include "Numeric/helpers/RandomStream.h"
#include "Numeric/helpers/nrSVD.h"
#include "Numeric/helpers/RowScan.h"
#include "zeblib2core/Throw.h"
#include "zeblib2image/Image.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <cstdint>
#include <iostream>
#include <iterator>
#include <unordered_set>
#include <utility>

namespace TOLX
{
namespace
{
const char* const kStartPoints = "TOLX::CConvexHullComputer::getStartPoints";
const char* const kHorizon = "TOLX::CConvexHullComputer::constructHorizon";

// Host applications know these throw sites by their line numbers, so the
// numbers are fixed here instead of following edits of this file.
constexpr int kLineTooFewPoints = 166;
constexpr int kLineAffineSubspace = 198;
constexpr int kLineInsideHull = 299;

// out := M without column `skip` (skip < M.Cols()); out keeps its storage
// when its size does not change.
void CopyWithoutColumn(const CMatrix<double>& M, std::size_t skip, CMatrix<double>& out)
{
    const std::size_t rows = M.Rows();
    const std::size_t cols = M.Cols();
    out.Reshape(rows, cols - 1);
    double* o = out.Data();
    const double* m = M.Data();
    for (std::size_t i = 0; i < rows; ++i)
        for (std::size_t j = 0; j < cols; ++j)
            if (j != skip)
                *o++ = m[i * cols + j];
}

// Asks for the memory of the facets a loop over `all` reaches soon: the
// objects further ahead, the normal rows (or vertices) of nearer ones, whose
// objects have arrived by then.
void PrefetchFacetAhead(const std::vector<const CFacet*>& all, std::size_t i, bool vertices)
{
    constexpr std::size_t kAhead = 16;
    if (i + kAhead < all.size())
        Impl::Prefetch(all[i + kAhead]);
    if (i + kAhead / 2 < all.size())
    {
        const CFacet* f = all[i + kAhead / 2];
        Impl::Prefetch(vertices ? f->getVertices().Data() : f->getA().Data());
    }
}

// While compute() runs the steps itself, the bookkeeping carries over from
// one step to the next.
class CDriving
{
public:
    explicit CDriving(bool& driving) : m_driving(driving) { m_driving = true; }
    ~CDriving() { m_driving = false; }
    CDriving(const CDriving&) = delete;
    CDriving& operator=(const CDriving&) = delete;

private:
    bool& m_driving;
};

// out := column `col` of M (col < M.Cols()), keeping out's storage.
void CopyColumn(const CMatrix<double>& M, std::size_t col, CMatrix<double>& out)
{
    out.Reshape(M.Rows(), 1);
    for (std::size_t i = 0; i < M.Rows(); ++i)
        out.Data()[i] = M.Data()[i * M.Cols() + col];
}
} // namespace

const double CConvexHullComputer::eps = CFacet::eps;

CConvexHullComputer::CConvexHullComputer() : dimSpace(0), shared(std::make_shared<CShared>()) {}

CConvexHullComputer::CConvexHullComputer(std::size_t dim, const char*, const IObject*)
    : dimSpace(dim), shared(std::make_shared<CShared>())
{
}

CConvexHullComputer::CConvexHullComputer(const std::list<CMatrix<double>>& points_, const char*, const IObject*)
    : dimSpace(points_.empty() ? 0 : points_.front().Rows()), points(points_), shared(std::make_shared<CShared>())
{
}

CConvexHullComputer::CConvexHullComputer(const CConvexHullComputer& other)
    : dimSpace(other.dimSpace), points(other.points), facets(other.facets), visibleFacets(other.visibleFacets),
      horizon(other.horizon), newFacets(other.newFacets), equationsA(other.equationsA),
      equationsB(other.equationsB), shared(other.shared)
{
}

CConvexHullComputer& CConvexHullComputer::operator=(const CConvexHullComputer& other)
{
    // Objects a caller put in the lists about to be replaced are freed with
    // the rest of this computer's objects, not leaked.
    shared->keepListed(*this);
    dimSpace = other.dimSpace;
    points = other.points;
    facets = other.facets;
    visibleFacets = other.visibleFacets;
    horizon = other.horizon;
    newFacets = other.newFacets;
    equationsA = other.equationsA;
    equationsB = other.equationsB;
    // The bookkeeping described the lists just replaced.
    shared->forget(*this);
    shared = other.shared;
    shared->forget(*this);
    return *this;
}

CConvexHullComputer::~CConvexHullComputer()
{
    shared->keepListed(*this);
    shared->forget(*this);
}

// While another computer shares the objects it may still list them, so they
// then stay as they are until the last of those computers goes.
void CConvexHullComputer::release(CFacet* f)
{
    if (shared.use_count() == 1)
        shared->recycle(f);
}

void CConvexHullComputer::release(CFacetConnector* c)
{
    if (shared.use_count() == 1)
        shared->recycle(c);
}

void CConvexHullComputer::addPoint(const CMatrix<double>& p)
{
    points.push_front(p);
}

namespace
{
// The matrices of the affine independence test. One draw of start points
// keeps them across its attempts; each test gives them the shapes and values
// new zero matrices would get, so the results are the same.
struct CIndependenceWork
{
    CMatrix<double> D, U, S, V;
    CSvdWorkspace svd;
};

bool AffinelyIndependent(const CMatrix<double>& P, CIndependenceWork& w, double eps)
{
    const std::size_t d = P.Rows();
    const std::size_t k = P.Cols();
    // Without columns, k - 1 wraps: the singular values cannot exist.
    w.D.Reshape(d, k - 1);
    for (std::size_t r = 0; r < d; ++r)
        for (std::size_t c = 1; c < k; ++c)
            w.D(r, c - 1) = P(r, c) - P(r, 0);
    w.U.Reshape(d, k - 1);
    w.S.Reshape(k - 1, 1);
    w.V.Reshape(k - 1, k - 1);
    CNumeric::Svd(w.D, w.U, w.S, w.V, false, w.svd);
    for (std::size_t j = 0; j + 1 < k; ++j)
        if (std::fabs(w.S(j, 0)) < eps)
            return false;
    return true;
}
} // namespace

bool CConvexHullComputer::areAffinelyIndependent(const CMatrix<double>& P)
{
    CIndependenceWork work;
    return AffinelyIndependent(P, work, eps);
}

void CConvexHullComputer::getStartPoints(CMatrix<double>& S)
{
    const std::uint32_t n = static_cast<std::uint32_t>(points.size());
    // 32-bit like the count itself; the loop below stops one draw short of
    // the bound.
    const std::uint32_t attempts = 10u * n;
    // Every attempt draws up to n values and may copy any point: the points
    // are indexed once, and the draws run on a local copy of the generator.
    std::vector<CMatrix<double>*> indexed;
    indexed.reserve(points.size());
    for (CMatrix<double>& q : points)
        indexed.push_back(&q);
    std::vector<std::size_t> chosen;
    CIndependenceWork work;
    for (std::uint32_t attempt = 1; attempt < attempts; ++attempt)
    {
        if (n < dimSpace)
            TOLX_THROW(kStartPoints, kLineTooFewPoints,
                       "Will not be able to find any affinely independentpoints. Pointset contains only %1 points.", n);

        // Selection sampling: index i is taken with probability
        // needed / (n - i), which makes every subset equally likely.
        chosen.clear();
        {
            Impl::CRand15Stream random;
            std::size_t needed = S.Cols();
            for (std::uint32_t i = 0; needed > 0; ++i)
            {
                const double r =
                    random.Next() * (1.0 / 32768.0) * static_cast<double>(static_cast<std::uint32_t>(n - i));
                if (r < static_cast<double>(needed))
                {
                    chosen.push_back(i);
                    --needed;
                }
            }
        }

        // The chosen indices ascend; those past the last point fill nothing.
        for (std::size_t column = 0; column < chosen.size() && chosen[column] < indexed.size(); ++column)
        {
            CMatrix<double>& q = *indexed[chosen[column]];
            for (std::size_t r = 0; r < S.Rows(); ++r)
                S(r, column) = q(r, 0);
        }
        if (AffinelyIndependent(S, work, eps))
            return;
    }
    TOLX_THROW(kStartPoints, kLineAffineSubspace,
               "Could not find any affinely independent points. Maybe your data form an affine subspace.");
}

void CConvexHullComputer::makeSimplex(const CMatrix<double>& S)
{
    shared->ensureTracked(*this);
    for (std::size_t i = 0; i < S.Cols(); ++i)
    {
        CMatrix<double> V;
        CopyWithoutColumn(S, i, V);
        CFacet* f = shared->makeFacet(V);
        facets.push_front(f);
        shared->adopt(f, facets.begin(), CFacet::CHullLinks::LIST_FACETS);
        // The vertex left out must not lie above its facet: the normal points outward.
        if (isAbove(f, S.GetCol(i)))
            f->flipDirection();
        for (CFacet* g : facets)
        {
            g->addNeighbour(f);
            f->addNeighbour(g);
        }
    }
}

void CConvexHullComputer::compute()
{
    CMatrix<double> S(dimSpace, dimSpace + 1);
    getStartPoints(S);
    compute(S);
}

void CConvexHullComputer::compute(const CMatrix<double>& S)
{
    makeSimplex(S);
    const CDriving driving(shared->driving);
    distributePoints(facets);
    // The host's licence check belongs here; this build has no host licence.

    CMatrix<double> p(dimSpace, 1);
    while (CFacet* f = shared->nextFacet(p))
    {
        try
        {
            findHorizon(f, p, false);
            constructNewFacets(p);
        }
        catch (...)
        {
            // Left mid-step, the computer shows the state of the step as
            // written: the visible facets still hold their outside sets.
            shared->returnLentOutsideSets();
            throw;
        }
        // distributePoints(newFacets), visiting the points through the node
        // arrays the horizon search collected.
        shared->distribute(*this, newFacets, true);
        queueOutsideOf(newFacets);
        for (CFacet* g : newFacets)
            g->links.list = CFacet::CHullLinks::LIST_FACETS;
        facets.splice(facets.begin(), newFacets);
        deleteVisibleFacets();
    }
    collectEquations();
    // Degenerate input can break a step's horizon into pieces; a facet whose
    // ridge then got no new facet still names the deleted visible facet as
    // its neighbour: a pointer to a destroyed object, which this computer
    // keeps for reuse or has reused for another facet. Such a slot is
    // emptied, so that every neighbour a caller is shown is a facet of the
    // hull across the slot's ridge.
    const std::unordered_set<const CFacet*> current(facets.begin(), facets.end());
    for (CFacet* f : facets)
        for (std::size_t i = 0; i < f->neighbours.size(); ++i)
        {
            CFacet*& g = f->neighbours[i];
            if (g != nullptr && (current.count(g) == 0 || !sharesRidge(*g, *f, i)))
                g = nullptr;
        }
    // Released last, so that the allocations above need not wait for the
    // allocator to absorb them.
    shared->releaseDropped();
}

// One row per distinct facet plane, newest first. A grid over the rows offers
// the exact comparison only the rows that can be within eps of the facet's;
// the answer is that of isIn over all rows (the scan remains for rows of
// other shapes).
void CConvexHullComputer::collectEquations()
{
    // The facets in list order, their objects and rows requested from memory
    // ahead of use.
    const std::vector<const CFacet*> all(facets.begin(), facets.end());
    const std::size_t d = all.empty() ? 0 : all.front()->getA().Cols();
    bool rowsFit = d != 0;
    for (std::size_t i = 0; i < all.size(); ++i)
    {
        PrefetchFacetAhead(all, i, false);
        const CMatrix<double>& A = all[i]->getA();
        rowsFit = rowsFit && Impl::RowsOfValue(A) == 1 && Impl::ColsOfValue(A) == d;
    }
    for (const CMatrix<double>& r : equationsA)
        rowsFit = rowsFit && r.Rows() == 1 && r.Cols() == d;

    Impl::CNearKeyIndex index(std::vector<double>(rowsFit ? d : 0, eps), equationsA.size() + all.size());
    std::vector<const CMatrix<double>*> rows;
    rows.reserve(equationsA.size() + all.size());
    for (const CMatrix<double>& r : equationsA)
    {
        index.insert(r.Data());
        rows.push_back(&r);
    }
    for (std::size_t i = 0; i < all.size(); ++i)
    {
        PrefetchFacetAhead(all, i, false);
        const CMatrix<double>& a = all[i]->getA();
        const bool known = rowsFit ? index.findMatch(a.Data(), [&](std::size_t id) { return matchesWithin(a, *rows[id]); })
                                   : isIn(a, equationsA);
        if (known)
            continue;
        equationsA.push_front(a);
        equationsB.push_front(all[i]->getb()(0, 0));
        index.insert(equationsA.front().Data());
        rows.push_back(&equationsA.front());
    }
}

void CConvexHullComputer::distributePoints(const std::list<CFacet*>& L)
{
    shared->distribute(*this, L, false);
    queueOutsideOf(L);
}

// The queue of facets with outside points: new facets go in front of all
// others; any other list rebuilds it.
void CConvexHullComputer::queueOutsideOf(const std::list<CFacet*>& L)
{
    if (&L == &newFacets)
        shared->enqueue(newFacets);
    else
        shared->rebuildQueue(*this);
}

void CConvexHullComputer::constructHorizon(CFacet* f, const CMatrix<double>& p)
{
    findHorizon(f, p, true);
}

// Depth-first over the visible facets with an explicit stack, in the order of
// the recursive search: a facet's neighbours in slot order, each visible one
// searched completely before the next slot. A facet is in `visibleFacets`
// exactly when its visit mark is the current epoch. Each visible facet's
// outside set goes to the front of `points`: copied, or, inside compute(),
// lent by splicing its nodes, in the same order. Only compute() lends,
// because it deletes the visible facets before anyone can look at them, and
// gives the sets back if the step stops with an exception.
void CConvexHullComputer::findHorizon(CFacet* f, const CMatrix<double>& p, bool copyOutsideSets)
{
    CShared& s = *shared;
    s.ensureTracked(*this);
    const std::size_t pRows = p.Rows();
    const std::size_t pCols = p.Cols();
    auto enter = [&](CFacet* g) {
        visibleFacets.push_front(g);
        g->links.visit = s.epoch;
        const std::size_t outsideCount = g->outsideSet.size();
        s.takeOutside(*this, g, copyOutsideSets);
        s.horizonFrames.push_back({g, 0, outsideCount});
    };
    s.horizonFrames.clear();
    enter(f);
    while (!s.horizonFrames.empty())
    {
        CShared::CHorizonFrame& frame = s.horizonFrames.back();
        CFacet* current = frame.facet;
        if (frame.next == current->neighbours.size())
        {
            s.horizonFrames.pop_back();
            continue;
        }
        const std::size_t i = frame.next++;
        CFacet* g = current->neighbours[i];
        if (g == nullptr)
        {
            warnNullNeighbour(current, i, frame.outsideCount, p);
            continue;
        }
        if (isAboveShaped(g, p, pRows, pCols))
        {
            if (g->links.visit != s.epoch)
                enter(g);
            continue;
        }
        if (current->hasVertex(p))
            TOLX_THROW(kHorizon, kLineInsideHull,
                       "Trying to construct new Facets with a point that is already inside the convex hull.");
        const CMatrix<double>& V = current->getVertices();
        if (i >= V.Cols())
            V.GetCol(i); // raises the matrix's index message
        CopyWithoutColumn(V, i, s.ridge);
        CopyColumn(V, i, s.opposite);
        horizon.push_front(s.makeConnectorOn(current, g, s.ridge, s.opposite));
    }
}

void CConvexHullComputer::warnNullNeighbour(const CFacet* f, std::size_t i, std::size_t outsideCount,
                                            const CMatrix<double>& p) const
{
    std::cerr << "constructHorizon() WARNING: NULL neighbor facet found:" << static_cast<const void*>(f) << ", n#" << i
              << " of " << f->neighbours.size() << "\n"
              << "#outsideset: " << outsideCount << ", #points: " << points.size() << ",\np=\n";
    Impl::PrintHullMatrix(std::cerr, p);
    std::cerr << std::endl;
}

void CConvexHullComputer::constructNewFacets(CMatrix<double>& p)
{
    shared->ensureTracked(*this);
    for (CFacet* f : newFacets)
        shared->retire(f);
    newFacets.clear();
    if (!horizon.empty())
        buildAlongHorizon(horizon.front(), p);
    for (CFacetConnector* c : horizon)
        release(c);
    horizon.clear();
}

void CConvexHullComputer::constructNewFacets(CFacetConnector* c, CMatrix<double>& p)
{
    shared->ensureTracked(*this);
    buildAlongHorizon(c, p);
}

// Depth-first along the horizon with an explicit stack, in the order of the
// recursive walk: for each vertex k of a ridge, the ridges sharing all of it
// but k, in horizon order, each unbuilt one built and walked before the next.
// The matching ridges come from an index over the horizon (see indexRidges)
// instead of a scan of the horizon per ridge and vertex.
void CConvexHullComputer::buildAlongHorizon(CFacetConnector* start, CMatrix<double>& p)
{
    CShared& s = *shared;
    s.ridgeFrames.clear();
    auto build = [&](std::size_t r) {
        CFacetConnector* c = s.ridges[r];
        CFacet* nf = s.makeFacetOn(c, p);
        newFacets.push_front(nf);
        s.adopt(nf, newFacets.begin(), CFacet::CHullLinks::LIST_NEW_FACETS);
        // The visible facet's far vertex ends up inside the new hull.
        if (isAbove(nf, c->referencePoint))
            nf->flipDirection();
        c->setConstructedFacet(nf);
        CFacet* h = c->getHiddenFacet();
        h->addNeighbour(nf);
        nf->addNeighbour(h);
        s.ridgeFrames.push_back({r, nf, 0, s.matchBegin[s.firstSlot[r]]});
    };
    build(s.indexRidges(horizon, start));
    while (!s.ridgeFrames.empty())
    {
        CShared::CRidgeFrame& frame = s.ridgeFrames.back();
        if (frame.k == s.firstSlot[frame.ridge + 1] - s.firstSlot[frame.ridge])
        {
            s.ridgeFrames.pop_back();
            continue;
        }
        const std::size_t end = s.matchBegin[s.firstSlot[frame.ridge] + frame.k + 1];
        if (frame.next == end)
        {
            ++frame.k;
            continue;
        }
        const std::size_t r2 = s.matches[frame.next++];
        if (CFacet* e = s.ridges[r2]->getConstructedFacet())
        {
            e->addNeighbour(frame.built);
            frame.built->addNeighbour(e);
        }
        else
            build(r2);
    }
}

void CConvexHullComputer::deleteVisibleFacets()
{
    CShared& s = *shared;
    s.ensureTracked(*this);
    for (CFacet* v : visibleFacets)
    {
        // Called by a subclass, every occurrence goes, whatever the lists
        // look like.
        if (!s.driving)
        {
            facets.remove(v);
            newFacets.remove(v);
            s.retire(v);
            release(v);
            continue;
        }
        switch (v->links.list)
        {
        case CFacet::CHullLinks::LIST_FACETS:
            facets.erase(v->links.position);
            break;
        case CFacet::CHullLinks::LIST_NEW_FACETS:
            newFacets.erase(v->links.position);
            break;
        case CFacet::CHullLinks::LIST_SPARE:
            break;
        case CFacet::CHullLinks::LIST_NONE:
            if (isIn(v, facets))
                facets.remove(v);
            if (isIn(v, newFacets))
                newFacets.remove(v);
            break;
        }
        s.retire(v);
        release(v);
    }
    visibleFacets.clear();
    ++s.epoch;
}

bool CConvexHullComputer::isAbove(const CFacet* f, const CMatrix<double>& p)
{
    return isAboveShaped(f, p, p.Rows(), p.Cols());
}

// isAbove with p's shape read by the caller, who may test many facets.
bool CConvexHullComputer::isAboveShaped(const CFacet* f, const CMatrix<double>& p, std::size_t rows, std::size_t cols)
{
    const CMatrix<double>& A = f->getA();
    const CMatrix<double>& b = f->getb();
    if (Impl::RowsOfValue(A) != 1 || Impl::ColsOfValue(A) != rows || cols == 0 || Impl::RowsOfValue(b) == 0 ||
        Impl::ColsOfValue(b) == 0)
    {
        // The generic product and accessors, for their messages on shapes
        // that do not fit.
        CMatrix<double> height = A;
        height *= p;
        return height(0, 0) > b(0, 0) + eps;
    }
    return Impl::RowTimesColumn(A.Data(), p.Data(), rows, cols) > b.Data()[0] + eps;
}

// Whether g holds every vertex of f but vertex i: the facet that neighbour
// slot i of f names when the two share that ridge.
bool CConvexHullComputer::sharesRidge(const CFacet& g, const CFacet& f, std::size_t i)
{
    const CMatrix<double>& V = f.getVertices();
    const std::size_t rows = Impl::RowsOfValue(V);
    const std::size_t stride = Impl::ColsOfValue(V);
    for (std::size_t j = 0; j < stride; ++j)
        if (j != i && !g.hasVertexValues(Impl::ColumnStart(V, rows, j), rows, stride))
            return false;
    return true;
}

bool CConvexHullComputer::matchesWithin(const CMatrix<double>& a, const CMatrix<double>& r)
{
    for (std::size_t i = 0; i < a.Rows(); ++i)
        for (std::size_t j = 0; j < a.Cols(); ++j)
            if (!(std::fabs(a(i, j) - r(i, j)) <= eps))
                return false;
    return true;
}

bool CConvexHullComputer::isIn(const CMatrix<double>& a, const std::list<CMatrix<double>>& L)
{
    for (const CMatrix<double>& r : L)
        if (matchesWithin(a, r))
            return true;
    return false;
}

bool CConvexHullComputer::isIn(std::size_t i, const std::vector<std::size_t>& v)
{
    for (std::size_t x : v)
        if (x == i)
            return true;
    return false;
}

bool CConvexHullComputer::isIn(const CFacet* f, const std::list<CFacet*>& L)
{
    for (const CFacet* g : L)
        if (g == f)
            return true;
    return false;
}

bool CConvexHullComputer::isInside(const CMatrix<double>& p) const
{
    auto offset = equationsB.begin();
    for (auto row = equationsA.begin(); row != equationsA.end() && offset != equationsB.end(); ++row, ++offset)
    {
        const std::size_t d = row->Cols();
        double s = 0.0;
        if (row->Rows() != 0 && p.Rows() >= d && p.Cols() != 0)
            for (std::size_t i = 0; i < d; ++i)
                s += row->Data()[i] * p.Data()[i * p.Cols()];
        else
            for (std::size_t i = 0; i < d; ++i)
                s += (*row)(0, i) * p(i, 0); // raises the accessors' messages
        if (s - *offset > eps)
            return false;
    }
    return true;
}

namespace
{
// The identity of vertices in getVertices: x within 1e-6 and then, in the
// plane, y exactly equal; in space y within 1e-6 and z exactly equal. Written
// as "neither orders before the other", so NaN behaves as that ordering says.
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

// GetVertices' identity: every coordinate but the last within 1e-8, the last
// exactly equal. Vertices of facets of different spaces (which only a caller
// can mix) would be compared past the end of the shorter; they are distinct,
// ordered by their dimension.
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
// before the other; the index offers the equivalence test only the earlier
// keys that can be within the tolerances (see CNearKeyIndex).
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
    Impl::CNearKeyIndex m_index;
    Less m_less;
    std::vector<Key> m_keys;
};
} // namespace

std::list<CMatrix<double>> CConvexHullComputer::getVertices() const
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

void CConvexHullHelpers::GetVertices(std::list<std::vector<double>>& out, const CConvexHullComputer& hull)
{
    out.clear();
    const std::list<CFacet*>& facets = hull.GetFacets();
    const std::size_t d = facets.empty() ? 0 : facets.front()->getVertices().Rows();
    // The index needs keys of one length; otherwise every key is compared.
    const bool oneSpace = std::all_of(facets.begin(), facets.end(),
                                      [d](const CFacet* f) { return f->getVertices().Rows() == d; });
    std::vector<double> tolerances(oneSpace ? d : 0, 1e-8);
    if (!tolerances.empty())
        tolerances.back() = 0.0;
    CDistinctKeys<std::vector<double>, decltype(&CoordinatesLess)> seen(tolerances, hull.GetFacets().size(),
                                                                        &CoordinatesLess);
    for (const CFacet* f : hull.GetFacets())
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

void CConvexHullComputer::printFacetList(const std::list<CFacet*>& L)
{
    for (const CFacet* f : L)
    {
        f->print();
        std::cout << "Address: " << static_cast<const void*>(f) << std::endl;
        std::cout << f->neighbours.size() << " neighbours: " << std::endl;
        for (const CFacet* g : f->neighbours)
            std::cout << static_cast<const void*>(g) << std::endl;
        std::cout << f->outsideSet.size() << " members in outsideSet: " << std::endl;
        for (const CMatrix<double>& q : f->outsideSet)
        {
            Impl::PrintHullMatrix(std::cout, q);
            std::cout << std::endl;
        }
    }
    std::cout << std::endl << std::endl;
}
// ---------------------------------------------------------------------------
// Images: loading object points and painting the hull.

namespace
{
using CBox = CConvexHullComputer::CBox;

const char* const kLoadName = "TOLX::CConvexHullComputer::loadPointsFromImage";
const char* const kLoadBoxName = "TOLX::CConvexHullComputer::loadPointsFromImageBox";
const char* const kPaintName = "TOLX::CConvexHullComputer::paintConvexHullToImage";
const char* const kLoadThreeSpace = "The loadPointsFromImage(...) functionality is only provided in 3-space, but was "
                                    "called with a ConvexHullComputer in %1-space";
const char* const kLoadTypes = "The loadPointsFromImage(...) functionality is only provided for BINARY_FG, 8bit, 16bit "
                               "and 32bit unsigned integer data.";
const char* const kMonoColour = "For MONO-images, use colour=0 or colour=1.";
const char* const kGreyRange = "Grayvalue %1 exceeds range of image type.";

void Widen(CBox& box, int x, int y, int z, bool withZ)
{
    box.xmin = std::min(box.xmin, x);
    box.ymin = std::min(box.ymin, y);
    box.xmax = std::max(box.xmax, x);
    box.ymax = std::max(box.ymax, y);
    if (withZ)
    {
        box.zmin = std::min(box.zmin, z);
        box.zmax = std::max(box.zmax, z);
    }
}

void AppendPoint(std::list<CMatrix<double>>& points, std::size_t dim, int x, int y, int z)
{
    points.emplace_back(dim, 1);
    double* v = points.back().Data();
    v[0] = x;
    v[1] = y;
    if (dim == 3)
        v[2] = z;
}

// The rows of slices z = z0 .. z1-1 (for d = 2 slice z0 once, then on while
// z < z1) and y = y0 .. y1-1: each row gives its first matching pixel found
// from x0 towards the image width, then its last one found from x1-1 back
// towards the first. Coordinates outside the image hold no pixels and are
// skipped, so no box a caller passes reads outside the buffer.
template <class Pixel, class Match>
void ScanRows(const CImage& image, std::size_t dim, int x0, int y0, int z0, int x1, int y1, int z1,
              const Match& match, std::list<CMatrix<double>>& points, CBox& box)
{
    const int width = image.Width();
    const int height = image.Height();
    const int depth = image.Depth();
    const CPos step = image.Step();
    const std::uint8_t* data = image.Data();
    const bool threeD = dim == 3;
    const int yFrom = std::max(y0, 0);
    const int yTo = std::min(y1, height);
    const int xFrom = std::max(x0, 0);
    int z = z0;
    do
    {
        if (z >= 0 && z < depth)
            for (int y = yFrom; y < yTo; ++y)
            {
                const std::uint8_t* row = data + z * step.Z() + y * step.Y();
                const int first = Impl::FirstMatch<Pixel>(row, step.X(), xFrom, width, match);
                if (first >= width)
                    continue;
                AppendPoint(points, dim, first, y, z);
                Widen(box, first, y, z, threeD);
                const int last = Impl::LastMatch<Pixel>(row, step.X(), std::min(x1, width) - 1, first, match);
                if (last > first)
                {
                    AppendPoint(points, dim, last, y, z);
                    Widen(box, last, y, z, threeD);
                }
            }
        ++z;
    } while (z < z1);
}

template <class Pixel, class Match>
CBox typed_loadPointsFromImage(const CImage& image, std::size_t dim, const Match& match,
                               std::list<CMatrix<double>>& points)
{
    const CSize size = image.Size();
    const int depth = dim == 3 ? size.Depth() : 0;
    CBox box{size.Width(), size.Height(), depth, 0, 0, 0};
    if (dim != 2 && dim != 3)
        TOLX_THROW("typed_loadPointsFromImage", 130, "1d not implemented");
    ScanRows<Pixel>(image, dim, 0, 0, 0, size.Width(), size.Height(), depth, match, points, box);
    return box;
}

template <class Pixel>
void typed_loadPointsFromImageBox(const CImage& image, std::size_t dim, Pixel colour, int x0, int y0, int z0, int x1,
                                  int y1, int z1, std::list<CMatrix<double>>& points)
{
    const CSize size = image.Size();
    if (x1 == 0 || y1 == 0 || z1 == 0)
    {
        x1 = size.Width();
        y1 = size.Height();
        z1 = dim == 3 ? size.Depth() : 0;
    }
    if (dim != 2 && dim != 3)
        TOLX_THROW("typed_loadPointsFromImageBox", 274, "1d not implemented");
    CBox unused{0, 0, 0, 0, 0, 0};
    // A 3-D box scan starts only while z < z1; the 2-D one always reads slice z0.
    if (dim == 3 && z0 >= z1)
        return;
    ScanRows<Pixel>(image, dim, x0, y0, z0, x1, y1, z1, Impl::MatchColour<Pixel>(colour), points, unused);
}

// Pixel (x, y, z) of the image, or null outside it.
template <class Pixel>
std::uint8_t* PixelIn(CImage& image, std::int64_t x, std::int64_t y, std::int64_t z)
{
    if (x < 0 || y < 0 || z < 0 || x >= image.Width() || y >= image.Height() || z >= image.Depth())
        return nullptr;
    const CPos step = image.Step();
    return image.Data() + z * step.Z() + y * step.Y() + x * step.X();
}

// The painting loop as written, probe by probe with the hull's inside test,
// for equation rows of another shape than 1-by-d (which only a caller can
// make): the test reads them through their accessors, and the first probe
// that reaches such a row raises their message, after the rows before it
// were painted.
template <class Pixel>
void PaintProbeByProbe(CImage& image, const CConvexHullComputer& hull, std::size_t dim, CBox box, Pixel colour)
{
    CMatrix<double> probe(dim, 1);
    const auto inside = [&](std::int64_t x, std::int64_t y, std::int64_t z) {
        probe(0, 0) = static_cast<double>(x);
        probe(1, 0) = static_cast<double>(y);
        if (dim == 3)
            probe(2, 0) = static_cast<double>(z);
        return hull.isInside(probe);
    };
    const std::int64_t zFrom = dim == 3 ? box.zmin : 0;
    const std::int64_t zTo = dim == 3 ? box.zmax : 0;
    for (std::int64_t z = zFrom; z <= zTo; ++z)
        for (std::int64_t y = box.ymin; y <= box.ymax; ++y)
        {
            std::int64_t left = box.xmin;
            while (left <= box.xmax && !inside(left, y, z))
                ++left;
            if (left > box.xmax)
                continue;
            std::int64_t right = box.xmax;
            while (right > left && !inside(right, y, z))
                --right;
            for (std::int64_t x = left; x <= right; ++x)
                if (std::uint8_t* pixel = PixelIn<Pixel>(image, x, y, z))
                    std::memcpy(pixel, &colour, sizeof colour);
        }
}

template <class Pixel>
void typed_paintConvexHullToImage(CImage& image, const CConvexHullComputer& hull, std::size_t dim, double eps,
                                  CBox box, Pixel colour)
{
    if (dim > 3)
        TOLX_THROW("typed_paintConvexHullToImage", 141,
                   "The paintConvexHullToImage(...) functionality is only provided in 3-space, but was called with a "
                   "ConvexHullComputer in %1-space",
                   dim);
    if (dim != 2 && dim != 3)
        TOLX_THROW("typed_paintConvexHullToImage", 203, "1d not impl");

    const std::list<CMatrix<double>>& normals = hull.getA();
    const std::list<double>& offsets = hull.getb();
    if (!std::all_of(normals.begin(), normals.end(),
                     [dim](const CMatrix<double>& a) { return a.Rows() != 0 && a.Cols() == dim; }))
        return PaintProbeByProbe(image, hull, dim, box, colour);

    // The planes as plain numbers: d normal components, then the offset.
    std::vector<double> planes;
    planes.reserve(normals.size() * (dim + 1));
    auto offset = offsets.begin();
    for (auto normal = normals.begin(); normal != normals.end() && offset != offsets.end(); ++normal, ++offset)
    {
        planes.insert(planes.end(), normal->Data(), normal->Data() + dim);
        planes.push_back(*offset);
    }

    // Pixels outside the image do not exist; the rows inside it are painted
    // exactly as an unbounded scan would paint them.
    const int x0 = std::max(box.xmin, 0);
    const int x1 = std::min(box.xmax, image.Width() - 1);
    const int y0 = std::max(box.ymin, 0);
    const int y1 = std::min(box.ymax, image.Height() - 1);
    const int z0 = dim == 3 ? std::max(box.zmin, 0) : 0;
    const int z1 = dim == 3 ? std::min(box.zmax, image.Depth() - 1) : std::min(0, image.Depth() - 1);
    const Impl::CHullSpans spans(planes, dim, eps, x0, y0, z0, x1, y1, z1);

    const CPos step = image.Step();
    std::uint8_t* data = image.Data();
    for (int z = z0; z <= z1; ++z)
        for (int y = y0; y <= y1; ++y)
        {
            int left = 0;
            int right = -1;
            if (!spans.Row(y, z, left, right))
                continue;
            std::uint8_t* row = data + z * step.Z() + y * step.Y();
            for (int x = left; x <= right; ++x)
                std::memcpy(row + x * step.X(), &colour, sizeof colour);
        }
}
} // namespace

CConvexHullComputer::CBox CConvexHullComputer::loadPointsFromImage(const CImage& image)
{
    if (dimSpace > 3)
        TOLX_THROW(kLoadName, 756, kLoadThreeSpace, dimSpace);
    points.clear();
    const IImage::CType& type = image.Type();
    if (type == IMAGE_BINARY_FG)
        return typed_loadPointsFromImage<std::uint8_t>(image, dimSpace, Impl::MatchNonZero<std::uint8_t>(), points);
    if (type == IMAGE_BINARY_BG)
        return loadPointsFromImage(image, 0);
    if (type == IMAGE_GREY_8)
        return typed_loadPointsFromImage<std::uint8_t>(image, dimSpace, Impl::MatchNonZero<std::uint8_t>(), points);
    if (type == IMAGE_GREY_16)
        return typed_loadPointsFromImage<std::uint16_t>(image, dimSpace, Impl::MatchNonZero<std::uint16_t>(), points);
    if (type == IMAGE_GREY_32)
        return typed_loadPointsFromImage<std::uint32_t>(image, dimSpace, Impl::MatchNonZero<std::uint32_t>(), points);
    TOLX_THROW(kLoadName, 785, kLoadTypes);
}

// A grey value beyond the pixel type's range is saturated here, while the
// box loader cuts it to the pixel width; both are what callers rely on.
CConvexHullComputer::CBox CConvexHullComputer::loadPointsFromImage(const CImage& image, std::size_t colour)
{
    if (dimSpace > 3)
        TOLX_THROW(kLoadName, 791, kLoadThreeSpace, dimSpace);
    points.clear();
    const IImage::CType& type = image.Type();
    if (type == IMAGE_BINARY_FG || type == IMAGE_BINARY_BG)
    {
        if (colour > 1)
            TOLX_THROW(kLoadName, 800, kMonoColour);
        return typed_loadPointsFromImage<std::uint8_t>(
            image, dimSpace, Impl::MatchColour<std::uint8_t>(static_cast<std::uint8_t>(colour)), points);
    }
    if (type == IMAGE_GREY_8)
        return typed_loadPointsFromImage<std::uint8_t>(
            image, dimSpace, Impl::MatchColour<std::uint8_t>(static_cast<std::uint8_t>(std::min<std::size_t>(colour, 255))),
            points);
    if (type == IMAGE_GREY_16)
        return typed_loadPointsFromImage<std::uint16_t>(
            image, dimSpace,
            Impl::MatchColour<std::uint16_t>(static_cast<std::uint16_t>(std::min<std::size_t>(colour, 65535))), points);
    if (type == IMAGE_GREY_32)
        return typed_loadPointsFromImage<std::uint32_t>(
            image, dimSpace,
            Impl::MatchColour<std::uint32_t>(static_cast<std::uint32_t>(std::min<std::size_t>(colour, 4294967295u))),
            points);
    TOLX_THROW(kLoadName, 819, kLoadTypes);
}

void CConvexHullComputer::loadPointsFromImageBox(const CImage& image, std::size_t colour, int x0, int y0, int z0,
                                                 int x1, int y1, int z1)
{
    points.clear();
    const IImage::CType& type = image.Type();
    if (type == IMAGE_BINARY_FG || type == IMAGE_BINARY_BG)
    {
        if (colour > 1)
            TOLX_THROW(kLoadBoxName, 833, kMonoColour);
        typed_loadPointsFromImageBox<std::uint8_t>(image, dimSpace, static_cast<std::uint8_t>(colour), x0, y0, z0, x1,
                                                   y1, z1, points);
    }
    else if (type == IMAGE_GREY_8)
        typed_loadPointsFromImageBox<std::uint8_t>(image, dimSpace, static_cast<std::uint8_t>(colour), x0, y0, z0, x1,
                                                   y1, z1, points);
    else if (type == IMAGE_GREY_16)
        typed_loadPointsFromImageBox<std::uint16_t>(image, dimSpace, static_cast<std::uint16_t>(colour), x0, y0, z0,
                                                    x1, y1, z1, points);
    else if (type == IMAGE_GREY_32)
        typed_loadPointsFromImageBox<std::uint32_t>(image, dimSpace, static_cast<std::uint32_t>(colour), x0, y0, z0,
                                                    x1, y1, z1, points);
    else
        TOLX_THROW(kLoadBoxName, 856, kLoadTypes);
}

void CConvexHullComputer::paintConvexHullToImage(CImage& image) const
{
    paintConvexHullToImage(image, CBox{0, 0, 0, image.Width() - 1, image.Height() - 1, image.Depth() - 1}, 1);
}

void CConvexHullComputer::paintConvexHullToImage(CImage& image, CBox box) const
{
    paintConvexHullToImage(image, box, 1);
}

// A binary foreground image takes grey values up to 255 here, although the
// loader only accepts 0 and 1 for it.
void CConvexHullComputer::paintConvexHullToImage(CImage& image, CBox box, std::size_t colour) const
{
    const IImage::CType& type = image.Type();
    if (type == IMAGE_BINARY_FG || type == IMAGE_GREY_8)
    {
        if (colour >= 256)
            TOLX_THROW(kPaintName, 884, kGreyRange, colour);
        typed_paintConvexHullToImage<std::uint8_t>(image, *this, dimSpace, eps, box, static_cast<std::uint8_t>(colour));
    }
    else if (type == IMAGE_GREY_16)
    {
        if (colour >= 65536)
            TOLX_THROW(kPaintName, 892, kGreyRange, colour);
        typed_paintConvexHullToImage<std::uint16_t>(image, *this, dimSpace, eps, box,
                                                     static_cast<std::uint16_t>(colour));
    }
    else if (type == IMAGE_GREY_32)
    {
        if (colour >= 4294967296u)
            TOLX_THROW(kPaintName, 900, kGreyRange, colour);
        typed_paintConvexHullToImage<std::uint32_t>(image, *this, dimSpace, eps, box,
                                                     static_cast<std::uint32_t>(colour));
    }
    else
        TOLX_THROW(kPaintName, 904, "Not implemented for image type %1.", type.ToString());
}
} // namespace TOLX
