#pragma once

// The hull's results that keep one entry per distinct key, in order of first
// appearance along the facet list: the equation rows (one per facet plane,
// rows within eps being the same plane) and the two vertex lists, each with
// the identity its callers know (see DistinctKeys.cpp). An index over the
// keys seen so far offers the exact identity test only the keys that can
// pass it, so every answer is that of a scan over all earlier keys. Nothing
// here throws of its own; the matrix accessors raise their messages on
// shapes that do not fit. Internal header; not stable API.

#include "Numeric/Facet.h"

#include <cstddef>
#include <list>
#include <vector>

namespace TOLX
{
namespace Impl
{
// For each facet whose normal row matches no row of A yet, its row and
// offset go to the front of A and b.
void CollectEquations(const std::list<CFacet*>& facets, std::list<CMatrix<double>>& A, std::list<double>& b);

// The hull vertices as d-by-1 matrices: x within 1e-6 and then, in the
// plane, y exactly equal; in space y within 1e-6 and z exactly equal.
std::list<CMatrix<double>> DistinctVertices(const std::list<CFacet*>& facets, std::size_t dimSpace);

// The hull vertices as coordinate vectors: every coordinate but the last
// within 1e-8, the last exactly equal.
void DistinctCoordinates(const std::list<CFacet*>& facets, std::list<std::vector<double>>& out);
} // namespace Impl
} // namespace TOLX
