#include "Bindings.h"
#include "NumPy.h"

#include "Numeric/ConvexHullComputer.h"
#include "Numeric/Matrix.h"
#include "zeblib2image/Image.h"

#include <pybind11/stl.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

namespace vornpy
{
namespace
{
// The library's hull of the rows of an n x d array, with its results in
// NumPy's terms: planes as SciPy writes them, vertices and facets as indices
// of the input rows.
class CHull
{
public:
    explicit CHull(const Points& points)
        : m_dimension(std::size_t(Rows(points, 0, "points").shape(1))), m_hull(m_dimension, "vorn.ConvexHull", nullptr)
    {
        const auto rows = FiniteRows(points, m_dimension, "points");
        // With fewer points the library says why there is no hull; with
        // exactly d its draw takes a column past the last point, the origin,
        // and would build a hull through a point nobody gave.
        if (rows.shape(0) == py::ssize_t(m_dimension))
            throw py::value_error("points: a hull in " + std::to_string(m_dimension) + "-D needs at least " +
                                  std::to_string(m_dimension + 1) + " points, got " + std::to_string(m_dimension));
        TOLX::CMatrix<double> point(m_dimension, 1);
        for (py::ssize_t i = 0; i < rows.shape(0); ++i)
        {
            for (std::size_t k = 0; k < m_dimension; ++k)
                point(k, 0) = rows(i, py::ssize_t(k));
            m_hull.addPoint(point);
        }
        {
            py::gil_scoped_release released;
            m_hull.compute();
        }
        IndexVertices(rows);
    }

    // Row k is (A_k, -b_k) for the library's half-space A_k x <= b_k:
    // normal . x + offset <= 0 inside. Negation is exact.
    py::array_t<double> Equations() const
    {
        std::vector<double> rows;
        auto offset = m_hull.getb().begin();
        for (const TOLX::CMatrix<double>& normal : m_hull.getA())
        {
            rows.insert(rows.end(), normal.Data(), normal.Data() + m_dimension);
            rows.push_back(-*offset++);
        }
        return Array(rows, {py::ssize_t(m_hull.getA().size()), py::ssize_t(m_dimension + 1)});
    }

    py::array_t<py::ssize_t> Vertices() const { return Array(m_vertices, {py::ssize_t(m_vertices.size())}); }

    py::array_t<py::ssize_t> Simplices() const
    {
        return Array(m_simplices, {py::ssize_t(m_simplices.size() / m_dimension), py::ssize_t(m_dimension)});
    }

    py::array_t<bool> Contains(const Points& points) const
    {
        const auto rows = Rows(points, m_dimension, "points");
        py::array_t<bool> inside(rows.shape(0));
        auto out = inside.mutable_unchecked<1>();
        TOLX::CMatrix<double> point(m_dimension, 1);
        for (py::ssize_t i = 0; i < rows.shape(0); ++i)
        {
            for (std::size_t k = 0; k < m_dimension; ++k)
                point(k, 0) = rows(i, py::ssize_t(k));
            out(i) = m_hull.isInside(point);
        }
        return inside;
    }

    // mask[p0, p1(, p2)] is the pixel whose centre is the point with those
    // coordinates. The mask is laid out first axis fastest (Fortran order),
    // which is the library's image with x = p0 fastest, then y = p1, z = p2,
    // so the library paints straight into the array's memory.
    py::array_t<bool> Paint(const std::vector<py::ssize_t>& shape) const
    {
        if ((m_dimension != 2 && m_dimension != 3) || shape.size() != m_dimension)
            throw py::value_error("paint: the hull is " + std::to_string(m_dimension) +
                                  "-D; a mask needs a 2-D or 3-D hull and a shape of as many entries");
        std::vector<int> size(3, 1);
        for (std::size_t k = 0; k < shape.size(); ++k)
        {
            if (shape[k] < 1 || shape[k] > INT32_MAX)
                throw py::value_error("paint: shape entry " + std::to_string(shape[k]) + " is not in 1 .. 2^31 - 1");
            size[k] = int(shape[k]);
        }
        py::array_t<bool, py::array::f_style> mask(shape);
        std::memset(mask.mutable_data(), 0, std::size_t(mask.nbytes()));
        const std::int64_t row = size[0], slice = row * size[1];
        TOLX::CImage image(TOLX::IMAGE_GREY_8, TOLX::CSize(size[0], size[1], size[2]),
                           reinterpret_cast<std::uint8_t*>(mask.mutable_data()), TOLX::CPos(1, row, slice));
        // Only the box around the vertices is searched (a pixel wider on each
        // side, for points within the library's tolerance of the hull).
        int box[2][3] = {{0, 0, 0}, {0, 0, 0}};
        for (std::size_t k = 0; k < m_dimension; ++k)
        {
            box[0][k] = int(std::max(0.0, std::floor(m_low[k]) - 1));
            box[1][k] = int(std::min(double(size[k] - 1), std::ceil(m_high[k]) + 1));
            if (box[0][k] > box[1][k])
                return mask;
        }
        py::gil_scoped_release released;
        m_hull.paintConvexHullToImage(image, {box[0][0], box[0][1], box[0][2], box[1][0], box[1][1], box[1][2]}, 1);
        return mask;
    }

    std::size_t Dimension() const { return m_dimension; }

private:
    // Each facet's vertices as input rows: the facets hold exact copies of
    // the points they were built from, so each is found by exact comparison
    // among the rows sorted by their coordinates (ties by index, so a point
    // given twice is the first of its copies).
    void IndexVertices(const RowView& rows)
    {
        const std::size_t d = m_dimension;
        // Row a against the point whose coordinate k is at(k): < 0, 0, > 0.
        const auto compare = [&](py::ssize_t a, const auto& at) {
            for (std::size_t k = 0; k < d; ++k)
                if (rows(a, py::ssize_t(k)) != at(k))
                    return rows(a, py::ssize_t(k)) < at(k) ? -1 : 1;
            return 0;
        };
        std::vector<py::ssize_t> order(std::size_t(rows.shape(0)));
        std::iota(order.begin(), order.end(), py::ssize_t{0});
        std::stable_sort(order.begin(), order.end(), [&](py::ssize_t a, py::ssize_t b) {
            return compare(a, [&](std::size_t k) { return rows(b, py::ssize_t(k)); }) < 0;
        });
        std::vector<bool> listed(order.size(), false);
        for (const TOLX::CFacet* facet : m_hull.GetFacets())
            for (std::size_t j = 0; j < d; ++j)
            {
                const auto vertex = [&](std::size_t k) { return facet->getVertices()(k, j); };
                const auto found = std::partition_point(order.begin(), order.end(),
                                                        [&](py::ssize_t a) { return compare(a, vertex) < 0; });
                if (found == order.end() || compare(*found, vertex) != 0)
                    throw std::logic_error("a hull vertex is none of the input points");
                m_simplices.push_back(*found);
                if (!listed[std::size_t(*found)])
                    listed[std::size_t(*found)] = true, m_vertices.push_back(*found);
            }
        m_low.assign(d, INFINITY);
        m_high.assign(d, -INFINITY);
        for (py::ssize_t v : m_vertices)
            for (std::size_t k = 0; k < d; ++k)
            {
                m_low[k] = std::min(m_low[k], rows(v, py::ssize_t(k)));
                m_high[k] = std::max(m_high[k], rows(v, py::ssize_t(k)));
            }
        if (d == 2)
            SortCounterClockwise(rows);
        else
            std::sort(m_vertices.begin(), m_vertices.end());
    }

    // By their angle around the mean of the vertices, which lies inside the
    // polygon; from the angle -pi on.
    void SortCounterClockwise(const RowView& rows)
    {
        double centre[2] = {0, 0};
        for (py::ssize_t v : m_vertices)
            centre[0] += rows(v, 0), centre[1] += rows(v, 1);
        std::vector<std::pair<double, py::ssize_t>> angles;
        for (py::ssize_t v : m_vertices)
            angles.emplace_back(std::atan2(rows(v, 1) - centre[1] / double(m_vertices.size()),
                                           rows(v, 0) - centre[0] / double(m_vertices.size())),
                                v);
        std::sort(angles.begin(), angles.end());
        for (std::size_t i = 0; i < angles.size(); ++i)
            m_vertices[i] = angles[i].second;
    }

    std::size_t m_dimension;
    TOLX::CConvexHullComputer m_hull;
    std::vector<py::ssize_t> m_vertices;
    std::vector<py::ssize_t> m_simplices;
    std::vector<double> m_low;
    std::vector<double> m_high;
};
} // namespace

void BindHull(py::module_& module)
{
    py::class_<CHull>(module, "ConvexHull", R"(The convex hull of n points in d-space (d >= 2).

ConvexHull(points): points is an n x d array-like of floats, one point per
row. The library builds the hull incrementally from a randomly drawn start
simplex (see vorn.seed). Its tolerance is absolute, 1e-12: a point within
1e-12 of a facet's plane counts as on it. Coordinates far from the origin
(beyond about 1e4) round by more than that; translate and scale such points
towards the origin first. Points that span no d-dimensional volume, or fewer
than d of them, raise vorn.Error with the library's message; exactly d points
raise ValueError.

Attributes
----------
ndim : int
    d, the number of coordinates of a point.
equations : ndarray of float, shape (m, d + 1)
    One row (normal, offset) per distinct facet plane (coplanar facets share
    one), with normal a unit outward normal: normal . x + offset <= 0 for the
    points inside, as SciPy's ConvexHull.equations. The library's half-space
    A x <= b is the row (A, -b), bit for bit.
vertices : ndarray of int, shape (k,)
    Indices of the input points that are hull vertices, each once: in 2-D in
    counter-clockwise order, otherwise ascending. A point given twice is
    listed by its first copy.
simplices : ndarray of int, shape (f, d)
    The facets as the indices of their d vertices (coplanar facets are listed
    one by one).

Methods
-------
contains(points) -> ndarray of bool
    Whether each row of an m x d array is inside (within 1e-12).
paint(shape) -> ndarray of bool
    The hull as a 2-D or 3-D mask.)")
        .def(py::init<const Points&>(), py::arg("points"))
        .def_property_readonly("ndim", &CHull::Dimension, "d, the number of coordinates of a point.")
        .def_property_readonly("equations", &CHull::Equations,
                               "(m, d + 1) float array, one row (unit outward normal, offset) per distinct facet "
                               "plane: normal . x + offset <= 0 inside.")
        .def_property_readonly("vertices", &CHull::Vertices,
                               "Indices of the input points that are hull vertices, each once; counter-clockwise "
                               "in 2-D, ascending otherwise.")
        .def_property_readonly("simplices", &CHull::Simplices,
                               "(f, d) int array: each facet as the indices of its d vertices.")
        .def("contains", &CHull::Contains, py::arg("points"),
             R"(Whether each row of an m x d array-like is inside the hull.

A point counts as inside unless some facet plane puts it more than 1e-12
outside (the library's isInside), so points on the boundary are inside; no
plane rejects a point with a NaN coordinate, so it counts as inside too.
Returns a bool array of length m.)")
        .def("paint", &CHull::Paint, py::arg("shape"),
             R"(The hull as a boolean mask of the given 2-D or 3-D shape.

mask[p0, p1] (or mask[p0, p1, p2]) is True when the point (p0, p1(, p2)),
with coordinates in the order of the columns of the hull's points, is inside
within 1e-12: pixel centres sit at integer coordinates, from 0 to
shape[k] - 1 along axis k. The shape has as many entries as the hull has
dimensions. The array is in Fortran order (first axis fastest), the memory
layout of the library's images, into which it paints directly; pass it to
numpy.ascontiguousarray for C order.)");
}
} // namespace vornpy
