#include "NumPy.h"

#include <cmath>
#include <string>

namespace vornpy
{
RowView Rows(const Points& points, std::size_t dimension, const char* what)
{
    const bool matches = points.ndim() == 2 && (dimension == 0 ? points.shape(1) >= 2
                                                               : points.shape(1) == py::ssize_t(dimension));
    if (!matches)
    {
        std::string shape;
        for (py::ssize_t k = 0; k < points.ndim(); ++k)
            shape += (k ? ", " : "") + std::to_string(points.shape(k));
        const std::string columns = dimension == 0 ? "d >= 2" : std::to_string(dimension);
        throw py::value_error(std::string(what) + ": expected an n x " + columns + " array, got shape (" + shape +
                              (points.ndim() == 1 ? ",)" : ")"));
    }
    return points.unchecked<2>();
}

RowView FiniteRows(const Points& points, std::size_t dimension, const char* what)
{
    const RowView rows = Rows(points, dimension, what);
    for (py::ssize_t i = 0; i < rows.shape(0); ++i)
        for (py::ssize_t k = 0; k < rows.shape(1); ++k)
            if (!std::isfinite(rows(i, k)))
                throw py::value_error(std::string(what) + ": row " + std::to_string(i) + " is not finite");
    return rows;
}
} // namespace vornpy
