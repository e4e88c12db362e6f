#pragma once

// Reproducible point sets for comparing convex hulls, and the hull computer's
// input and results as plain numbers, its failures as text. Random points are stored row by row in
// one flat array: point i occupies [i * dim, (i + 1) * dim).

#include "Matrices.h"
#include "VornNumeric.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <list>
#include <numeric>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace HullPoints
{
// Uniform in the unit d-ball, or on the unit sphere (every point a hull vertex).
enum class Shape { Ball, Sphere };

inline std::vector<double> Random(std::size_t dim, std::size_t count, Shape shape, unsigned seed)
{
    std::mt19937 generator(seed);
    std::normal_distribution<double> normal;
    std::uniform_real_distribution<double> uniform;
    std::vector<double> coords(dim * count);
    for (auto p = coords.begin(); p != coords.end(); p += long(dim))
    {
        double norm2 = 0.0;
        while (norm2 == 0.0)
        {
            std::generate(p, p + long(dim), [&] { return normal(generator); });
            norm2 = std::inner_product(p, p + long(dim), p, 0.0);
        }
        // A Gaussian vector has a uniform direction; in the ball the radius
        // has the density d r^(d-1), so it is the d-th root of a uniform draw.
        const double radius = shape == Shape::Ball ? std::pow(uniform(generator), 1.0 / double(dim)) : 1.0;
        const double scale = radius / std::sqrt(norm2);
        std::transform(p, p + long(dim), p, [scale](double x) { return x * scale; });
    }
    return coords;
}

// Appends an exact copy of every `every`-th point, after all the points, so
// that copies are not next to their originals.
inline std::vector<double> WithDuplicates(std::vector<double> coords, std::size_t dim, std::size_t every)
{
    const std::size_t size = coords.size();
    coords.reserve(size + size / every + dim);
    for (std::size_t i = 0; i < size; ++i)
        if (i / dim % every == 0)
            coords.push_back(coords[i]);
    return coords;
}

// The points of a flat array, one vector each.
inline std::vector<std::vector<double>> Rows(const std::vector<double>& coords, std::size_t dim)
{
    std::vector<std::vector<double>> rows;
    for (auto at = coords.begin(); at != coords.end(); at += long(dim))
        rows.emplace_back(at, at + long(dim));
    return rows;
}

// A computer holding the points, in d-space (by default that of the first point).
inline TOLX::CConvexHullComputer HullOf(const std::vector<std::vector<double>>& points, std::size_t d = 0)
{
    TOLX::CConvexHullComputer hull(d ? d : points.front().size(), "hull", nullptr);
    for (const std::vector<double>& p : points)
        hull.addPoint(testsupport::Col(p));
    return hull;
}

// The same, computed.
inline TOLX::CConvexHullComputer Computed(const std::vector<std::vector<double>>& points)
{
    TOLX::CConvexHullComputer hull = HullOf(points);
    hull.compute();
    return hull;
}

// The message of what the call throws, empty when it returns.
template <class Call>
std::string ThrownBy(Call&& call)
try
{
    call();
    return "";
}
catch (const std::exception& e)
{
    return e.what();
}

// The elements of each matrix of a list.
inline std::vector<std::vector<double>> Flat(const std::list<TOLX::CMatrix<double>>& list)
{
    std::vector<std::vector<double>> out;
    for (const TOLX::CMatrix<double>& m : list)
        out.push_back(testsupport::Elements(m));
    return out;
}

// The result equations, each row followed by its offset.
inline std::vector<std::vector<double>> Equations(const TOLX::CConvexHullComputer& hull)
{
    std::vector<std::vector<double>> rows = Flat(hull.getA());
    auto b = hull.getb().begin();
    for (std::vector<double>& row : rows)
        row.push_back(*b++);
    return rows;
}
} // namespace HullPoints
