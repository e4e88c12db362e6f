#pragma once

// The hull's diagnostic output. Internal header; not stable API.

#include "Numeric/Facet.h"
#include "Numeric/Matrix.h"

#include <cstddef>
#include <iostream>
#include <ostream>

namespace TOLX
{
namespace Impl
{
// The hull's diagnostic matrix format: row by row, every element with 12
// significant digits and followed by " ", an end of line after each row. The
// stream's own precision is restored afterwards.
inline void PrintHullMatrix(std::ostream& out, const CMatrix<double>& m)
{
    const std::streamsize previous = out.precision(12);
    for (std::size_t i = 0; i < m.Rows(); ++i)
    {
        for (std::size_t j = 0; j < m.Cols(); ++j)
            out << m(i, j) << " ";
        out << "\n";
    }
    out.precision(previous);
}
// The horizon search's report of a neighbour slot i of f that names no
// facet; outsideCount is the size f's outside set had before it moved to the
// point list, which now holds pointCount points.
inline void WarnNullNeighbour(const CFacet* f, std::size_t i, std::size_t slots, std::size_t outsideCount,
                              std::size_t pointCount, const CMatrix<double>& p)
{
    std::cerr << "constructHorizon() WARNING: NULL neighbor facet found:" << static_cast<const void*>(f) << ", n#" << i
              << " of " << slots << "\n"
              << "#outsideset: " << outsideCount << ", #points: " << pointCount << ",\np=\n";
    PrintHullMatrix(std::cerr, p);
    std::cerr << std::endl;
}
} // namespace Impl
} // namespace TOLX
