#pragma once

#include "Numeric/Export.h"
#include "Numeric/Face.h"
#include "Numeric/Matrix.h"

#include <cstddef>
#include <list>
#include <vector>

namespace TOLX
{
namespace Impl
{
struct CHullAccess;

// The hull computer's handle on a facet: one opaque integer that finds the
// facet's records in the computer's own tables; no record lives here. It
// belongs to the object, not to its value, so the facet's copy and
// assignment need no exceptions for it: a copy starts without a handle, and
// an assignment keeps the handle of the facet assigned to and only notes
// that its outside set may have changed (as addToOutsideSet does). Not
// stable API: its meaning is the computer's alone.
class CHullHandle
{
public:
    CHullHandle() noexcept = default;
    CHullHandle(const CHullHandle&) noexcept {}
    CHullHandle& operator=(const CHullHandle&) noexcept
    {
        noteOutsideEdit();
        return *this;
    }
    ~CHullHandle() = default;

    void noteOutsideEdit() noexcept { m_value |= 1u; }

private:
    friend struct CHullAccess;

    // 0: no handle; otherwise (slot + 1) * 2, plus 1 after an outside edit.
    std::size_t m_value = 0;
};
} // namespace Impl

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
    CFacet(const CFacet& other) = default;
    CFacet& operator=(const CFacet& other) = default;

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
    friend struct Impl::CHullAccess;

    void respan(CFace* ridge, const CMatrix<double>& p);
    // A and b from the vertices, or the construction's messages.
    void computeNormal();

    // The one thing the hull computer keeps in a facet: an opaque number
    // that finds its own records of the facet (see Impl::CHullHandle).
    Impl::CHullHandle hullHandle;
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
    friend struct Impl::CHullAccess;

    // The connector the constructor builds, in this object's storage; used
    // only for ridges of the same space.
    void reset(CFacet* visible, CFacet* hidden, const CMatrix<double>& ridgeVertices,
               const CMatrix<double>& referencePoint_);
};
} // namespace TOLX
