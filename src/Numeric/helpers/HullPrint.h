#pragma once

#include "Numeric/Matrix.h"

#include <cstddef>
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
} // namespace Impl
} // namespace TOLX
