#pragma once

// Reproducible point sets for comparing convex hulls. Points are stored row
// by row in one flat array: point i occupies [i * dim, (i + 1) * dim).

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <random>
#include <vector>

namespace HullPoints
{
enum class Shape
{
    Ball,   // uniform in the unit d-ball
    Sphere, // uniform on the unit sphere, so every point is a hull vertex
};

inline std::vector<double> Random(std::size_t dim, std::size_t count, Shape shape, unsigned seed)
{
    std::mt19937 generator(seed);
    std::normal_distribution<double> normal;
    std::uniform_real_distribution<double> uniform;
    std::vector<double> coords(dim * count);
    for (std::size_t i = 0; i < count; ++i)
    {
        double* p = &coords[i * dim];
        double norm2 = 0.0;
        while (norm2 == 0.0)
        {
            std::generate(p, p + dim, [&] { return normal(generator); });
            norm2 = std::inner_product(p, p + dim, p, 0.0);
        }
        // A Gaussian vector has a uniform direction; in the ball the radius
        // has the density d r^(d-1), so it is the d-th root of a uniform draw.
        const double radius = shape == Shape::Ball ? std::pow(uniform(generator), 1.0 / double(dim)) : 1.0;
        const double scale = radius / std::sqrt(norm2);
        for (std::size_t j = 0; j < dim; ++j)
            p[j] *= scale;
    }
    return coords;
}

// Appends an exact copy of every `every`-th point and shuffles the points, so
// that copies are not next to their originals.
inline std::vector<double> WithDuplicates(const std::vector<double>& coords, std::size_t dim, std::size_t every,
                                          unsigned seed)
{
    const std::size_t count = coords.size() / dim;
    std::vector<std::size_t> order(count);
    std::iota(order.begin(), order.end(), std::size_t{0});
    for (std::size_t i = 0; i < count; i += every)
        order.push_back(i);
    std::mt19937 generator(seed);
    std::shuffle(order.begin(), order.end(), generator);

    std::vector<double> result;
    result.reserve(order.size() * dim);
    for (std::size_t i : order)
        result.insert(result.end(), coords.begin() + long(i * dim), coords.begin() + long((i + 1) * dim));
    return result;
}
} // namespace HullPoints
