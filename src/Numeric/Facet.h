#pragma once

#include "Numeric/Export.h"
#include "Numeric/Face.h"
#include "Numeric/Matrix.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <vector>

namespace TOLX
{
class CConvexHullComputer;

// A facet of the convex hull in d-space: a (d-1)-face whose A is a unit normal
// row and whose b is the offset n . v0, with the facets across its ridges and
// the outside set of not yet processed points above it. The hull lies on the
// side A x <= b.
class VORN_API CFacet : public CFace
{
public:
    // Absolute tolerance of facet construction and of the furthest-point
    // search; deliberately not scaled by the size of the coordinates.
    static const double eps;

    explicit CFacet(std::size_t d);
    // The facet through the d columns of V (d = rows of V).
    explicit CFacet(const CMatrix<double>& V);
    // The facet spanned by a (d-2)-face and one further point.
    CFacet(CFace* ridge, const CMatrix<double>& p);
    CFacet(const CFacet& other);
    CFacet& operator=(const CFacet& other);

    // Copies into p the outside point strictly furthest above b + eps, the
    // first of equally distant ones; false (p untouched) when there is none.
    bool getFurthest(CMatrix<double>& p) const;
    void addToOutsideSet(const CMatrix<double>& p);
    std::list<CMatrix<double>> getOutsideSet() const;
    // Stores g in the slot of the one vertex g does not share.
    void addNeighbour(CFacet* g);
    std::vector<CFacet*> getNeighbours() const;
    void flipDirection();
    void print() const;

protected:
    // Slot i: the facet sharing every vertex but vertex i; not owned.
    std::vector<CFacet*> neighbours;
    std::list<CMatrix<double>> outsideSet;

private:
    friend class CConvexHullComputer;

    void respan(CFace* ridge, const CMatrix<double>& p);
    // A and b from the vertices, or the construction's messages.
    void computeNormal();

    // Where the hull computer keeps this facet (see helpers/HullState.h).
    // It describes this object only: copies of a facet do not take it over.
    struct CHullLinks
    {
        enum EnList : unsigned char
        {
            LIST_NONE,
            LIST_FACETS,
            LIST_NEW_FACETS,
            LIST_SPARE // released: kept by the computer for reuse
        };

        using COutsideNode = std::list<CMatrix<double>>::iterator;

        // What the computer learnt while filling the outside set: its nodes
        // in the order they were added (the list runs the other way) and the
        // node getFurthest would pick. Any other change of the set forgets it.
        void forgetOutside()
        {
            outsideNodes.clear();
            outsideKnown = false;
        }

        std::size_t storeSlot = static_cast<std::size_t>(-1);
        std::size_t serial = 0;
        std::uint64_t visit = 0;
        std::uint64_t stamp = 0;
        std::list<CFacet*>::iterator position{};
        EnList list = LIST_NONE;
        bool outsideKnown = false;
        COutsideNode furthest{};
        std::vector<COutsideNode> outsideNodes;
    };
    CHullLinks links;
};

// A ridge on the horizon between a facet the new point sees and one it does
// not; one new facet is built on each.
class VORN_API CFacetConnector : public CFace
{
public:
    CFacetConnector(CFacet* visible, CFacet* hidden, CMatrix<double>& ridgeVertices, CMatrix<double>& referencePoint);

    CFacet* getVisibleFacet() const { return visibleFacet; }
    CFacet* getHiddenFacet() const { return hiddenFacet; }
    CFacet* getConstructedFacet() const { return constructedFacet; }
    void setConstructedFacet(CFacet* f) { constructedFacet = f; }
    CMatrix<double> getReferencePoint() const { return referencePoint; }
    // True when every column of M is a vertex of the ridge.
    bool hasVertices(CMatrix<double>& M) const;

protected:
    CFacet* visibleFacet;
    CFacet* hiddenFacet;
    CFacet* constructedFacet;
    // The visible facet's vertex that is not on the ridge.
    CMatrix<double> referencePoint;

private:
    friend class CConvexHullComputer;

    // The connector the constructor builds, in this object's storage; used
    // only for ridges of the same space.
    void reset(CFacet* visible, CFacet* hidden, const CMatrix<double>& ridgeVertices,
               const CMatrix<double>& referencePoint_);

    // Position in the hull computer's store; a stale copy is recognised there.
    std::size_t storeSlot = static_cast<std::size_t>(-1);
};
} // namespace TOLX
