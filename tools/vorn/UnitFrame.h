#pragma once

#include "PointFile.h"

#include <vector>

namespace vorn
{
// Coordinates centred on the midpoint of a point set's bounding box and
// scaled by a power of two so that its largest half-extent lies in [0.5, 1).
// The hull is built there: the library's tolerance (1e-12, absolute) then is
// one relative to the set's size, and the rounding of its facet equations
// does not grow with the set's distance from the origin.
//
// The scaling is exact (short of offsets below 2^-1022 of the set's size).
// The centring is not: each offset x - centre is rounded to the nearest
// double, an error of at most half a unit in the last place of the offset
// itself. Only points whose coordinates differ by less than that, which takes
// a set some sixteen orders of magnitude larger than their distance, can
// thereby fall on the same coordinates.
class CUnitFrame
{
public:
    explicit CUnitFrame(const PointSet& points);

    // The point's coordinates in the frame; infinite where its offset from
    // the centre overflows there, which puts it outside the set's hull.
    void ToUnit(const double* point, double* unit) const;
    // The offset of the plane normal . x <= offset in the input's
    // coordinates, from its offset in the frame: the unit normal is the same
    // in both.
    double OffsetFromUnit(const double* normal, double unitOffset) const;
    // The set's largest extent along an axis, in its own coordinates.
    double Extent() const { return m_extent; }

private:
    std::vector<double> m_centre;
    int m_exponent = 0; // the scale is 2^m_exponent
    double m_extent = 0;
};
} // namespace vorn
