#pragma once

// The hull engine's one door into CFacet and CFacetConnector: the fields the
// construction works on in place (neighbour slots, outside sets, a
// connector's reference point), the in-place rebuilding of recycled
// objects, and the facet's handle (Impl::CHullHandle) that finds the
// engine's records of it. Everything else goes through the public
// operations. Internal header; not stable API.

#include "Numeric/Facet.h"

#include <cstddef>
#include <list>
#include <vector>

namespace TOLX
{
namespace Impl
{
struct CHullAccess
{
    static constexpr std::size_t kNoSlot = static_cast<std::size_t>(-1);

    static std::vector<CFacet*>& Neighbours(CFacet& f) { return f.neighbours; }
    static const std::vector<CFacet*>& Neighbours(const CFacet& f) { return f.neighbours; }
    static std::list<CMatrix<double>>& OutsideSet(CFacet& f) { return f.outsideSet; }
    static const std::list<CMatrix<double>>& OutsideSet(const CFacet& f) { return f.outsideSet; }
    static const CMatrix<double>& ReferencePoint(const CFacetConnector& c) { return c.referencePoint; }

    // CFace::hasVertexValues of the facet or ridge.
    template <class Face>
    static bool HasVertexValues(const Face& face, const double* column, std::size_t rows, std::size_t stride)
    {
        return face.hasVertexValues(column, rows, stride);
    }

    static void Respan(CFacet& f, CFace* ridge, const CMatrix<double>& p) { f.respan(ridge, p); }
    static void Reset(CFacetConnector& c, CFacet* visible, CFacet* hidden, const CMatrix<double>& ridge,
                      const CMatrix<double>& opposite)
    {
        c.reset(visible, hidden, ridge, opposite);
    }

    // The slot the handle names, kNoSlot without one.
    static std::size_t Slot(const CFacet& f) { return f.hullHandle.m_value / 2 - 1; }
    static void SetSlot(CFacet& f, std::size_t slot) { f.hullHandle.m_value = (slot + 1) * 2; }
    // Whether the outside set was edited through the facet since SetSlot or
    // ClearOutsideEdit.
    static bool OutsideEdited(const CFacet& f) { return (f.hullHandle.m_value & 1u) != 0; }
    static void ClearOutsideEdit(CFacet& f) { f.hullHandle.m_value &= ~std::size_t{1}; }
};
} // namespace Impl
} // namespace TOLX
