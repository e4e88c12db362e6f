#pragma once

#include "Numeric/Export.h"
#include "Numeric/Facet.h"
#include "Numeric/Matrix.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <vector>

namespace TOLX
{
class CImage;
class IObject;
namespace Impl
{
class CHullEngine;
struct CHullLists;
} // namespace Impl

// Incremental convex hull of points in d-space (d >= 2): a start simplex of
// d+1 random affinely independent input points is grown point by point, always
// adding the point furthest above the most recently built facet that still has
// points above it, until no point lies more than eps above any facet.
//
// eps = 1e-12 is absolute: with coordinates of about 1e4 and more, rounding
// in the facet equations reaches that size, so facets may fail to build
// ("Unable to construct a facet.", "...already inside the convex hull.") or
// decide wrongly; callers with such coordinates translate (and scale) their
// points towards the origin first and map the results back.
//
// Lists grow at the front, so results come in reverse order of creation. The
// computer owns its facets; assignment copies the pointer lists, so after
// a = b both computers refer to the same facet objects.
class VORN_API CConvexHullComputer
{
public:
    CConvexHullComputer(std::size_t dim, const char* name, const IObject* parent);
    // dimSpace is the row count of the first point; the list must not be empty.
    CConvexHullComputer(const std::list<CMatrix<double>>& points, const char* name, const IObject* parent);
    CConvexHullComputer(const CConvexHullComputer& other);
    CConvexHullComputer& operator=(const CConvexHullComputer& other);
    ~CConvexHullComputer();

    // Inserts a copy of p at the front of the point list; p is not checked.
    void addPoint(const CMatrix<double>& p);
    std::list<CMatrix<double>>& getPoints() { return points; }
    const std::list<CMatrix<double>>& getPoints() const { return points; }
    std::size_t getDimSpace() const { return dimSpace; }

    // Draws the start simplex at random and builds the hull.
    void compute();
    // Builds the hull from the start simplex given by the d+1 columns of S.
    void compute(const CMatrix<double>& S);

    // True unless some facet equation puts p more than eps outside.
    bool isInside(const CMatrix<double>& p) const;
    // The distinct hull vertices in order of first appearance along the facets.
    std::list<CMatrix<double>> getVertices() const;
    // One unit outward normal row per distinct facet plane, and its offset.
    std::list<CMatrix<double>>& getA() { return equationsA; }
    const std::list<CMatrix<double>>& getA() const { return equationsA; }
    std::list<double>& getb() { return equationsB; }
    const std::list<double>& getb() const { return equationsB; }
    const std::list<CFacet*>& GetFacets() const { return facets; }

    // Bounding box of loaded image points, in pixel indices, inclusive. A
    // loader that found nothing returns minima above the maxima.
    struct CBox
    {
        std::int32_t xmin;
        std::int32_t ymin;
        std::int32_t zmin;
        std::int32_t xmax;
        std::int32_t ymax;
        std::int32_t zmax;
    };

    // Replace the points by the leftmost and rightmost foreground pixel of
    // every image row (d = 2: slice 0 as (x, y); d = 3: every slice). The
    // first overload takes non-zero pixels, the second pixels equal to colour.
    CBox loadPointsFromImage(const CImage& image);
    CBox loadPointsFromImage(const CImage& image, std::size_t colour);
    // The same within a sub-box (x1, y1, z1 exclusive; any of them 0 means
    // the whole image); the forward search of a row runs to the image width.
    void loadPointsFromImageBox(const CImage& image, std::size_t colour, int x0, int y0, int z0, int x1, int y1,
                                int z1);
    // Set every pixel of the box whose centre is inside the hull (within eps)
    // to colour (1 unless given); the box defaults to the whole image.
    void paintConvexHullToImage(CImage& image) const;
    void paintConvexHullToImage(CImage& image, CBox box) const;
    void paintConvexHullToImage(CImage& image, CBox box, std::size_t colour) const;

    static bool areAffinelyIndependent(const CMatrix<double>& P);
    static void printFacetList(const std::list<CFacet*>& L);

protected:
    void getStartPoints(CMatrix<double>& S);
    void makeSimplex(const CMatrix<double>& S);
    void distributePoints(const std::list<CFacet*>& L);
    void constructHorizon(CFacet* f, const CMatrix<double>& p);
    void constructNewFacets(CMatrix<double>& p);
    void constructNewFacets(CFacetConnector* c, CMatrix<double>& p);
    void deleteVisibleFacets();

    std::size_t dimSpace;
    std::list<CMatrix<double>> points;
    std::list<CFacet*> facets;
    std::list<CFacet*> visibleFacets;
    std::list<CFacetConnector*> horizon;
    std::list<CFacet*> newFacets;
    std::list<CMatrix<double>> equationsA;
    std::list<double> equationsB;

private:
    CConvexHullComputer();

    // The lists the engine works on.
    Impl::CHullLists lists();
    // Whether no other computer shares the engine (and so may list objects).
    bool soleOwner() const;
    void findHorizon(CFacet* f, const CMatrix<double>& p, bool copyOutsideSets);
    void addFurthestPoint(CFacet* f, CMatrix<double>& p);

    static bool isAbove(const CFacet* f, const CMatrix<double>& p);
    static bool isIn(const CMatrix<double>& a, const std::list<CMatrix<double>>& L);
    static bool isIn(std::size_t i, const std::vector<std::size_t>& v);
    static bool isIn(const CFacet* f, const std::list<CFacet*>& L);

    static const double eps;

    // The construction's engine: it owns every facet and connector this
    // computer has made and not yet released, and keeps the bookkeeping of
    // the construction. Computers that share facet pointers through
    // assignment share it, so each object is deleted exactly once, when no
    // computer can list it any more.
    std::shared_ptr<Impl::CHullEngine> engine;
};

// Hull results as plain vectors of numbers.
class VORN_API CConvexHullHelpers
{
public:
    // Clears out and fills it with the distinct hull vertices, each as its d
    // coordinates, in order of first appearance along the facets.
    static void GetVertices(std::list<std::vector<double>>& out, const CConvexHullComputer& hull);
};
} // namespace TOLX
