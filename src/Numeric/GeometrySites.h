#pragma once

// Every throw site of the geometry in 3-space: the function and line that
// hosts know each site by, and its message. The constructors' sites are raised
// from TripleGeometry.h, the file their location names; the intersection's
// from TripleGeometry.cpp. Internal: not installed.

#include "zeblib2core/Throw.h"

namespace TOLX
{
namespace Impl
{
namespace GeometrySites
{
inline constexpr char kPlaneNormal[] = "Plane normal vector needs to be normalized!";

// TripleGeometry.h: CPlane(point, normal), CPlane(normal, distance), CLine.
inline constexpr StThrowSite kPlaneFromPoint{"TOLX::Geometry::CPlane::CPlane", 39, kPlaneNormal};
inline constexpr StThrowSite kPlaneFromDistance{"TOLX::Geometry::CPlane::CPlane", 45, kPlaneNormal};
inline constexpr StThrowSite kLineDirection{"TOLX::Geometry::CLine::CLine", 96, "Line direction needs to be normalized!"};

// TripleGeometry.cpp.
inline constexpr StThrowSite kLineParallelToPlane{"TOLX::Geometry::CLine::LambdaOfIntersectionWithPlane", 22,
                                                  "Plane and Line are parallel -> no intersection"};
} // namespace GeometrySites
} // namespace Impl
} // namespace TOLX
