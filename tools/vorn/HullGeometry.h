#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace vorn
{
// A hull as facet planes, `dimension` + 1 numbers each (unit outward normal,
// then offset b: normal . x <= b inside), and the points on its boundary that
// the hull computer lists as vertices (corners, and points on edges and faces).
struct HullPlanes
{
    int dimension = 3;
    std::vector<double> planes;
    std::vector<std::array<double, 3>> vertices; // z is 0 in 2-D

    std::size_t PlaneCount() const { return planes.size() / std::size_t(dimension + 1); }
    const double* Plane(std::size_t i) const { return planes.data() + i * std::size_t(dimension + 1); }
};

// The extreme points of the hull: the vertices on planes whose normals span
// every direction (two in 2-D, three in 3-D), not those inside an edge or a face.
std::vector<std::array<double, 3>> Corners(const HullPlanes& hull);

// The area (2-D) or volume (3-D) of the hull of unit squares or cubes centred
// on the hull's lattice points, with `extent` the hull's size along each axis
// (its box's size minus one). That solid is the hull P of the centres grown by
// the unit square or cube C: its measure is, with n_f the unit normal of a
// facet of P,
//   2-D: area(P) + extent_x + extent_y + 1,
//   3-D: vol(P) + sum over faces of area_f (|n_x| + |n_y| + |n_z|) / 2
//        + extent_x + extent_y + extent_z + 1,
// which gives a filled box its pixel count.
double PixelHullMeasure(const HullPlanes& hull, const std::vector<std::array<double, 3>>& corners,
                        const std::array<int, 3>& extent);

// How many lattice points (x, y, z) with 0 <= x < size[0] and so on lie in the
// hull (within 1e-9): the pixels a painter of the hull would fill.
std::int64_t LatticePointsInside(const HullPlanes& hull, const std::array<int, 3>& size);
} // namespace vorn
