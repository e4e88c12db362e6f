#pragma once

// The suite's one set of matrix builders: matrices written row by row, points
// as columns, and matrices read back as plain numbers for comparisons.

#include "Numeric/Matrix.h"

#include <cstddef>
#include <initializer_list>
#include <vector>

namespace testsupport
{
using Point = std::vector<double>;

// A rows-by-cols matrix from its elements in row-major order.
template <class T = double>
TOLX::CMatrix<T> Mat(std::size_t rows, std::size_t cols, std::initializer_list<double> rowMajor)
{
    TOLX::CMatrix<T> m(rows, cols);
    for (std::size_t k = 0; k < rows * cols; ++k) m(k / cols, k % cols) = static_cast<T>(rowMajor.begin()[k]);
    return m;
}

// A matrix whose rows are the given ones (all of one length).
template <class T = double>
TOLX::CMatrix<T> FromRows(const std::vector<Point>& rows)
{
    TOLX::CMatrix<T> m(rows.size(), rows.empty() ? 0 : rows[0].size());
    for (std::size_t k = 0; k < m.Rows() * m.Cols(); ++k)
        m(k / m.Cols(), k % m.Cols()) = static_cast<T>(rows[k / m.Cols()][k % m.Cols()]);
    return m;
}

// Points as the columns of a d-by-k matrix.
inline TOLX::CMatrix<double> Columns(const std::vector<Point>& points)
{
    TOLX::CMatrix<double> m(points.empty() ? 0 : points[0].size(), points.size());
    for (std::size_t k = 0; k < m.Rows() * m.Cols(); ++k)
        m(k % m.Rows(), k / m.Rows()) = points[k / m.Rows()][k % m.Rows()];
    return m;
}

// One point as a d-by-1 column.
inline TOLX::CMatrix<double> Col(const Point& p) { return Columns({p}); }

// The elements row by row.
template <class T>
std::vector<T> Elements(const TOLX::IMatrix<T>& m)
{
    std::vector<T> out;
    for (std::size_t k = 0; k < m.Rows() * m.Cols(); ++k) out.push_back(m(k / m.Cols(), k % m.Cols()));
    return out;
}
} // namespace testsupport
