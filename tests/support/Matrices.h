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
    auto value = rowMajor.begin();
    for (std::size_t i = 0; i < rows; ++i)
        for (std::size_t j = 0; j < cols; ++j)
            m(i, j) = static_cast<T>(*value++);
    return m;
}

// A matrix whose rows are the given ones (all of one length).
template <class T = double>
TOLX::CMatrix<T> FromRows(const std::vector<Point>& rows)
{
    TOLX::CMatrix<T> m(rows.size(), rows.empty() ? 0 : rows[0].size());
    for (std::size_t i = 0; i < m.Rows(); ++i)
        for (std::size_t j = 0; j < m.Cols(); ++j)
            m(i, j) = static_cast<T>(rows[i][j]);
    return m;
}

// One point as a d-by-1 column.
inline TOLX::CMatrix<double> Col(const Point& p)
{
    TOLX::CMatrix<double> m(p.size(), 1);
    for (std::size_t i = 0; i < p.size(); ++i)
        m(i, 0) = p[i];
    return m;
}

// Points as the columns of a d-by-k matrix.
inline TOLX::CMatrix<double> Columns(const std::vector<Point>& points)
{
    TOLX::CMatrix<double> m(points.empty() ? 0 : points[0].size(), points.size());
    for (std::size_t j = 0; j < m.Cols(); ++j)
        for (std::size_t i = 0; i < m.Rows(); ++i)
            m(i, j) = points[j][i];
    return m;
}

// The elements row by row.
template <class T>
std::vector<T> Elements(const TOLX::CMatrix<T>& m)
{
    std::vector<T> out;
    for (std::size_t i = 0; i < m.Rows(); ++i)
        for (std::size_t j = 0; j < m.Cols(); ++j)
            out.push_back(m(i, j));
    return out;
}
} // namespace testsupport
