// The incremental convex hull as its steps read: the start simplex, the
// distribution of the points over its facets, and then, while some facet
// has a point above it, one step per furthest point: the facets it sees and
// their horizon, the cone of new facets from the horizon to the point, the
// redistribution of the freed points and the deletion of the visible
// facets; finally the facet equations. Each step calls its part of the
// engine (hull/HullEngine.h); the messages of the computer are raised here,
// where hosts know them to come from (hull/ThrowSites.h).

#include "Numeric/ConvexHullComputer.h"

#include "Numeric/hull/DistinctKeys.h"
#include "Numeric/hull/HullAccess.h"
#include "Numeric/hull/HullEngine.h"
#include "Numeric/hull/HullTraits.h"
#include "Numeric/hull/ImageRows.h"
#include "Numeric/hull/PixelTypes.h"
#include "Numeric/hull/Print.h"
#include "Numeric/hull/StartSimplex.h"
#include "Numeric/hull/ThrowSites.h"
#include "zeblib2core/Throw.h"
#include "zeblib2image/Image.h"

#include <cstdint>
#include <iostream>

namespace TOLX
{
namespace Sites = Impl::HullSites;

const double CConvexHullComputer::eps = CFacet::eps;

CConvexHullComputer::CConvexHullComputer() : dimSpace(0), engine(std::make_shared<Impl::CHullEngine>()) {}

CConvexHullComputer::CConvexHullComputer(std::size_t dim, const char*, const IObject*)
    : dimSpace(dim), engine(std::make_shared<Impl::CHullEngine>())
{
}

CConvexHullComputer::CConvexHullComputer(const std::list<CMatrix<double>>& points_, const char*, const IObject*)
    : dimSpace(points_.empty() ? 0 : points_.front().Rows()), points(points_),
      engine(std::make_shared<Impl::CHullEngine>())
{
}

CConvexHullComputer::CConvexHullComputer(const CConvexHullComputer& other)
    : dimSpace(other.dimSpace), points(other.points), facets(other.facets), visibleFacets(other.visibleFacets),
      horizon(other.horizon), newFacets(other.newFacets), equationsA(other.equationsA),
      equationsB(other.equationsB), engine(other.engine)
{
}

CConvexHullComputer& CConvexHullComputer::operator=(const CConvexHullComputer& other)
{
    // Objects a caller put in the lists about to be replaced are freed with
    // the rest of this computer's objects, not leaked.
    engine->keepListed(lists());
    dimSpace = other.dimSpace;
    points = other.points;
    facets = other.facets;
    visibleFacets = other.visibleFacets;
    horizon = other.horizon;
    newFacets = other.newFacets;
    equationsA = other.equationsA;
    equationsB = other.equationsB;
    // The bookkeeping described the lists just replaced.
    engine->forget(this);
    engine = other.engine;
    engine->forget(this);
    return *this;
}

CConvexHullComputer::~CConvexHullComputer()
{
    engine->keepListed(lists());
    engine->forget(this);
}

Impl::CHullLists CConvexHullComputer::lists()
{
    return {this, points, facets, visibleFacets, horizon, newFacets};
}

bool CConvexHullComputer::soleOwner() const
{
    return engine.use_count() == 1;
}

void CConvexHullComputer::addPoint(const CMatrix<double>& p)
{
    points.push_front(p);
}

bool CConvexHullComputer::areAffinelyIndependent(const CMatrix<double>& P)
{
    return Impl::CAffineTest().independent(P, eps);
}

void CConvexHullComputer::getStartPoints(CMatrix<double>& S)
{
    const std::uint32_t n = static_cast<std::uint32_t>(points.size());
    // 32-bit like the count itself; the loop stops one draw short of the bound.
    const std::uint32_t attempts = 10u * n;
    Impl::CStartDraw draw(points);
    for (std::uint32_t attempt = 1; attempt < attempts; ++attempt)
    {
        if (n < dimSpace)
            TOLX_THROW_SITE(Sites::kHullTooFewPoints, n);
        if (draw.attempt(S, eps))
            return;
    }
    TOLX_THROW_SITE(Sites::kHullAffineSubspace);
}

void CConvexHullComputer::makeSimplex(const CMatrix<double>& S)
{
    engine->ensureTracked(lists());
    for (std::size_t i = 0; i < S.Cols(); ++i)
        engine->addSimplexFacet(lists(), S, i);
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
    const Impl::CDriving driving(*engine);
    distributePoints(facets);
    // The host's licence check belongs here; this build has no host licence.
    CMatrix<double> p(dimSpace, 1);
    while (CFacet* f = engine->nextOutsideFacet(p))
        addFurthestPoint(f, p);
    Impl::CollectEquations(facets, equationsA, equationsB);
    engine->finish(facets);
}

// One step of the construction from the facet f and its furthest point p.
void CConvexHullComputer::addFurthestPoint(CFacet* f, CMatrix<double>& p)
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
        engine->returnLentOutsideSets();
        throw;
    }
    engine->distribute(lists(), newFacets, true);
    engine->spliceNewFacets(lists());
    deleteVisibleFacets();
}

void CConvexHullComputer::distributePoints(const std::list<CFacet*>& L)
{
    engine->distribute(lists(), L, false);
}

void CConvexHullComputer::constructHorizon(CFacet* f, const CMatrix<double>& p)
{
    findHorizon(f, p, true);
}

// Each visible facet's outside set goes to the front of `points`: copied,
// or, inside compute(), lent by splicing its nodes, in the same order. Only
// compute() lends, because it deletes the visible facets before anyone can
// look at them, and gives the sets back if the step stops with an exception.
void CConvexHullComputer::findHorizon(CFacet* f, const CMatrix<double>& p, bool copyOutsideSets)
{
    if (engine->searchHorizon(lists(), f, p, copyOutsideSets) == Impl::EnHorizonSearch::POINT_ON_VISIBLE_FACET)
        TOLX_THROW_SITE(Sites::kHullAlreadyInside);
}

void CConvexHullComputer::constructNewFacets(CMatrix<double>& p)
{
    engine->clearNewFacets(lists());
    if (!horizon.empty())
        engine->buildAlongHorizon(lists(), horizon.front(), p);
    engine->clearHorizon(lists(), soleOwner());
}

void CConvexHullComputer::constructNewFacets(CFacetConnector* c, CMatrix<double>& p)
{
    engine->buildAlongHorizon(lists(), c, p);
}

void CConvexHullComputer::deleteVisibleFacets()
{
    engine->deleteVisibleFacets(lists(), soleOwner());
}

bool CConvexHullComputer::isAbove(const CFacet* f, const CMatrix<double>& p)
{
    return Impl::CHullTraits::IsAbove(f, p);
}

bool CConvexHullComputer::isIn(const CMatrix<double>& a, const std::list<CMatrix<double>>& L)
{
    for (const CMatrix<double>& r : L)
        if (Impl::CHullTraits::RowsMatch(a, r))
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

std::list<CMatrix<double>> CConvexHullComputer::getVertices() const
{
    return Impl::DistinctVertices(facets, dimSpace);
}

void CConvexHullHelpers::GetVertices(std::list<std::vector<double>>& out, const CConvexHullComputer& hull)
{
    Impl::DistinctCoordinates(hull.GetFacets(), out);
}

void CConvexHullComputer::printFacetList(const std::list<CFacet*>& L)
{
    for (const CFacet* f : L)
    {
        f->print();
        std::cout << "Address: " << static_cast<const void*>(f) << std::endl;
        const std::vector<CFacet*>& neighbours = Impl::CHullAccess::Neighbours(*f);
        std::cout << neighbours.size() << " neighbours: " << std::endl;
        for (const CFacet* g : neighbours)
            std::cout << static_cast<const void*>(g) << std::endl;
        const std::list<CMatrix<double>>& outside = Impl::CHullAccess::OutsideSet(*f);
        std::cout << outside.size() << " members in outsideSet: " << std::endl;
        for (const CMatrix<double>& q : outside)
        {
            Impl::PrintHullMatrix(std::cout, q);
            std::cout << std::endl;
        }
    }
    std::cout << std::endl << std::endl;
}

// ---------------------------------------------------------------------------
// Images: the checks and messages; the rows are read and painted by
// hull/ImageRows, each member under its pixel rule (hull/PixelTypes.h).

namespace
{
bool ScansRows(std::size_t dim)
{
    return dim == 2 || dim == 3;
}
} // namespace

CConvexHullComputer::CBox CConvexHullComputer::loadPointsFromImage(const CImage& image)
{
    if (dimSpace > 3)
        TOLX_THROW_SITE(Sites::kLoadThreeSpace, dimSpace);
    points.clear();
    if (image.Type() == IMAGE_BINARY_BG)
        return loadPointsFromImage(image, 0);
    const Impl::CPixelRule rule = Impl::LoaderRule(image.Type(), Impl::EnColourPolicy::SATURATE);
    if (rule.width == Impl::EnPixelWidth::NONE)
        TOLX_THROW_SITE(Sites::kLoadTypes);
    if (!ScansRows(dimSpace))
        TOLX_THROW_SITE(Sites::kLoadRowsDimension);
    return Impl::LoadImageRows(image, dimSpace, rule.width, Impl::CObjectPixels{true, 0}, points);
}

CConvexHullComputer::CBox CConvexHullComputer::loadPointsFromImage(const CImage& image, std::size_t colour)
{
    if (dimSpace > 3)
        TOLX_THROW_SITE(Sites::kLoadColourThreeSpace, dimSpace);
    points.clear();
    const Impl::CPixelRule rule = Impl::LoaderRule(image.Type(), Impl::EnColourPolicy::SATURATE);
    if (rule.width == Impl::EnPixelWidth::NONE)
        TOLX_THROW_SITE(Sites::kLoadColourTypes);
    std::uint32_t value = 0;
    if (!Impl::PixelValue(rule, colour, value))
        TOLX_THROW_SITE(Sites::kLoadColourMono);
    if (!ScansRows(dimSpace))
        TOLX_THROW_SITE(Sites::kLoadRowsDimension);
    return Impl::LoadImageRows(image, dimSpace, rule.width, Impl::CObjectPixels{false, value}, points);
}

void CConvexHullComputer::loadPointsFromImageBox(const CImage& image, std::size_t colour, int x0, int y0, int z0,
                                                 int x1, int y1, int z1)
{
    points.clear();
    const Impl::CPixelRule rule = Impl::LoaderRule(image.Type(), Impl::EnColourPolicy::TRUNCATE);
    if (rule.width == Impl::EnPixelWidth::NONE)
        TOLX_THROW_SITE(Sites::kLoadBoxTypes);
    std::uint32_t value = 0;
    if (!Impl::PixelValue(rule, colour, value))
        TOLX_THROW_SITE(Sites::kLoadBoxMono);
    if (!ScansRows(dimSpace))
        TOLX_THROW_SITE(Sites::kLoadBoxRowsDimension);
    Impl::LoadImageBoxRows(image, dimSpace, rule.width, value, x0, y0, z0, x1, y1, z1, points);
}

void CConvexHullComputer::paintConvexHullToImage(CImage& image) const
{
    paintConvexHullToImage(image, CBox{0, 0, 0, image.Width() - 1, image.Height() - 1, image.Depth() - 1}, 1);
}

void CConvexHullComputer::paintConvexHullToImage(CImage& image, CBox box) const
{
    paintConvexHullToImage(image, box, 1);
}

void CConvexHullComputer::paintConvexHullToImage(CImage& image, CBox box, std::size_t colour) const
{
    const Impl::CPixelRule rule = Impl::PainterRule(image.Type());
    if (rule.width == Impl::EnPixelWidth::NONE)
        TOLX_THROW_SITE(Sites::kPaintType, image.Type().ToString());
    std::uint32_t value = 0;
    if (!Impl::PixelValue(rule, colour, value))
        TOLX_THROW_SITE(Sites::kPaintGreyRange[Impl::WidthIndex(rule.width)], colour);
    if (dimSpace > 3)
        TOLX_THROW_SITE(Sites::kPaintRowsThreeSpace, dimSpace);
    if (!ScansRows(dimSpace))
        TOLX_THROW_SITE(Sites::kPaintRowsDimension);
    Impl::PaintHullRows(image, *this, dimSpace, box, rule.width, value);
}
} // namespace TOLX
