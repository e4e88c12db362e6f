#include "HullGeometry.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace vorn
{
namespace
{
using Point = std::array<double, 3>;

// Hull coordinates are those of an object's box: small integers, for which
// these tolerances are far above rounding and far below any real distance.
constexpr double ON_PLANE = 1e-7;
constexpr double INDEPENDENT = 1e-6;
constexpr double INSIDE = 1e-9;

Point Normal(const HullPlanes& hull, std::size_t i)
{
    const double* plane = hull.Plane(i);
    return {plane[0], plane[1], hull.dimension == 3 ? plane[2] : 0.0};
}

double Offset(const HullPlanes& hull, std::size_t i) { return hull.Plane(i)[hull.dimension]; }

double Dot(const Point& a, const Point& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

Point Cross(const Point& a, const Point& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double Length(const Point& a) { return std::sqrt(Dot(a, a)); }

bool OnPlane(const HullPlanes& hull, std::size_t i, const Point& p)
{
    return std::fabs(Dot(Normal(hull, i), p) - Offset(hull, i)) <= ON_PLANE * std::max(1.0, std::fabs(Offset(hull, i)));
}

// True when some of the normals span the hull's dimension.
bool Spanning(const std::vector<Point>& normals, int dimension)
{
    for (std::size_t i = 0; i < normals.size(); ++i)
        for (std::size_t j = i + 1; j < normals.size(); ++j)
        {
            const Point edge = Cross(normals[i], normals[j]);
            if (Length(edge) <= INDEPENDENT)
                continue;
            if (dimension == 2)
                return true;
            for (std::size_t k = j + 1; k < normals.size(); ++k)
                if (std::fabs(Dot(edge, normals[k])) > INDEPENDENT)
                    return true;
        }
    return false;
}

std::vector<Point> CornersOn(const HullPlanes& hull, std::size_t plane, const std::vector<Point>& corners)
{
    std::vector<Point> on;
    for (const Point& corner : corners)
        if (OnPlane(hull, plane, corner))
            on.push_back(corner);
    return on;
}

// The area of a convex polygon given by its corners in any order, in the
// plane with unit normal n.
double PolygonArea(std::vector<Point> corners, const Point& n)
{
    if (corners.size() < 3)
        return 0;
    Point middle{0, 0, 0};
    for (const Point& p : corners)
        for (int k = 0; k < 3; ++k)
            middle[k] += p[k] / double(corners.size());
    const Point helper = std::fabs(n[0]) < 0.9 ? Point{1, 0, 0} : Point{0, 1, 0};
    Point u = Cross(n, helper);
    const double length = Length(u);
    for (double& c : u)
        c /= length;
    const Point w = Cross(n, u);
    std::vector<std::pair<double, double>> flat;
    for (const Point& p : corners)
    {
        const Point d{p[0] - middle[0], p[1] - middle[1], p[2] - middle[2]};
        flat.emplace_back(Dot(d, u), Dot(d, w));
    }
    std::sort(flat.begin(), flat.end(), [](const auto& a, const auto& b) {
        return std::atan2(a.second, a.first) < std::atan2(b.second, b.first);
    });
    double twice = 0;
    for (std::size_t i = 0; i < flat.size(); ++i)
    {
        const auto& a = flat[i];
        const auto& b = flat[(i + 1) % flat.size()];
        twice += a.first * b.second - a.second * b.first;
    }
    return std::fabs(twice) / 2;
}
} // namespace

std::vector<Point> Corners(const HullPlanes& hull)
{
    std::vector<Point> corners;
    std::vector<Point> active;
    for (const Point& vertex : hull.vertices)
    {
        active.clear();
        for (std::size_t i = 0; i < hull.PlaneCount(); ++i)
            if (OnPlane(hull, i, vertex))
                active.push_back(Normal(hull, i));
        if (Spanning(active, hull.dimension))
            corners.push_back(vertex);
    }
    return corners;
}

double PixelHullMeasure(const HullPlanes& hull, const std::vector<Point>& corners, const std::array<int, 3>& extent)
{
    Point centre{0, 0, 0};
    for (const Point& p : corners)
        for (int k = 0; k < 3; ++k)
            centre[k] += p[k] / double(corners.size());
    // The hull as pyramids from an inner point over its facets, and the
    // facets' share of the grown solid.
    double measure = 0;
    for (std::size_t i = 0; i < hull.PlaneCount(); ++i)
    {
        const Point n = Normal(hull, i);
        const std::vector<Point> on = CornersOn(hull, i, corners);
        const double height = Offset(hull, i) - Dot(n, centre);
        if (hull.dimension == 2)
        {
            const Point tangent{-n[1], n[0], 0};
            double low = INFINITY, high = -INFINITY;
            for (const Point& p : on)
                low = std::min(low, Dot(p, tangent)), high = std::max(high, Dot(p, tangent));
            measure += on.size() >= 2 ? (high - low) * height / 2 : 0.0;
        }
        else
        {
            const double area = PolygonArea(on, n);
            measure += area * height / 3 + area * (std::fabs(n[0]) + std::fabs(n[1]) + std::fabs(n[2])) / 2;
        }
    }
    return measure + std::accumulate(extent.begin(), extent.begin() + hull.dimension, 0.0) + 1;
}

std::int64_t LatticePointsInside(const HullPlanes& hull, const std::array<int, 3>& size)
{
    std::int64_t count = 0;
    for (int z = 0; z < size[2]; ++z)
        for (int y = 0; y < size[1]; ++y)
        {
            double low = 0, high = size[0] - 1;
            for (std::size_t i = 0; i < hull.PlaneCount() && low <= high; ++i)
            {
                const Point n = Normal(hull, i);
                const double rest = Offset(hull, i) - n[1] * y - n[2] * z + INSIDE;
                if (n[0] > 1e-12)
                    high = std::min(high, rest / n[0]);
                else if (n[0] < -1e-12)
                    low = std::max(low, rest / n[0]);
                else if (rest < 0)
                    high = -1;
            }
            count += std::max<std::int64_t>(0, std::int64_t(std::floor(high)) - std::int64_t(std::ceil(low)) + 1);
        }
    return count;
}
} // namespace vorn
