#pragma once

// Planes, lines, segments, circles and disks in 3-space, the distances between
// them, and closed-form real roots of polynomials up to the fourth order.

#include "Numeric/Export.h"
#include "zeblib2core/Throw.h"
#include "zeblib2core/Types.h"

#include <vector>

namespace TOLX
{
namespace Geometry
{
// Every computation of the primitives, the unit-length decision included,
// is compiled into the library, never into host code: a host's own
// floating-point settings (fused multiply-adds) cannot change a result.

namespace Detail
{
// Raises a constructor's site from this header, where hosts have always found
// them in the location record. Only the library's own implementation of the
// constructors calls it.
[[noreturn]] inline void RaiseFromGeometryHeader(const Impl::StThrowSite& site)
{
    TOLX_THROW_SITE(site);
}
} // namespace Detail

// The plane of all x with dot(normal, x) == distance to origin.
class VORN_API CPlane
{
public:
    CPlane(CTriple<double> point, CTriple<double> normal);
    // The plane point becomes normal * distance.
    CPlane(CTriple<double> normal, double distance);
    CPlane(const CPlane& other) = default;
    CPlane& operator=(const CPlane& other);

    CTriple<double> GetPlanePoint() const { return m_planePoint; }
    CTriple<double> GetNormalVector() const { return m_normalVector; }
    double GetDistanceToOrigin() const { return m_distanceToOrigin; }

private:
    CTriple<double> m_planePoint;
    CTriple<double> m_normalVector;
    double m_distanceToOrigin;
};

// The points point + lambda * direction. Unlike the plane, the direction
// comes first in the constructor.
class VORN_API CLine
{
public:
    CLine(CTriple<double> direction, CTriple<double> point);
    CLine(const CLine& other) = default;
    CLine& operator=(const CLine& other);

    CTriple<double> GetDirection() const { return m_direction; }
    CTriple<double> GetCenter() const { return m_point; }
    CTriple<double> GetPoint(double lambda) const;

    // Refuses every direction whose dot product with the plane normal is
    // below eps, including lines that run against the normal: callers orient
    // the line along the normal first.
    double LambdaOfIntersectionWithPlane(const CPlane& plane) const;

private:
    CTriple<double> m_direction;
    CTriple<double> m_point;
};

// The part of the line with lambda in [-height/2, +height/2], centred on the
// line's point.
class VORN_API CSegment : public CLine
{
public:
    CSegment(CTriple<double> direction, CTriple<double> center, double height)
        : CLine(direction, center), m_height(height)
    {
    }
    CSegment(const CSegment& other) = default;
    CSegment& operator=(const CSegment& other);

    double GetHeight() const { return m_height; }

private:
    double m_height;
};

// The rim of a circle: centre = plane point, normal of its plane.
class VORN_API CCircle : public CPlane
{
public:
    CCircle(CTriple<double> center, CTriple<double> normal, double radius)
        : CPlane(center, normal), m_radius(radius)
    {
    }
    CCircle(CTriple<double> normal, double distance, double radius) : CPlane(normal, distance), m_radius(radius) {}
    CCircle(const CCircle& other) = default;
    CCircle& operator=(const CCircle& other);

    CTriple<double> GetCenter() const { return GetPlanePoint(); }
    double GetRadius() const { return m_radius; }

private:
    double m_radius;
};

// The filled counterpart of CCircle: same data, measured as an area.
class VORN_API CDisk : public CPlane
{
public:
    CDisk(CTriple<double> center, CTriple<double> normal, double radius) : CPlane(center, normal), m_radius(radius) {}
    CDisk(CTriple<double> normal, double distance, double radius) : CPlane(normal, distance), m_radius(radius) {}
    CDisk(const CDisk& other) = default;
    CDisk& operator=(const CDisk& other);

    CTriple<double> GetCenter() const { return GetPlanePoint(); }
    double GetRadius() const { return m_radius; }

private:
    double m_radius;
};

VORN_API double Distance(const CLine& line, const CTriple<double>& x);
VORN_API double Distance(const CSegment& segment, const CTriple<double>& x);
// The closest points of the two carrier lines are clamped to their segments
// independently of each other.
VORN_API double Distance(const CSegment& s1, const CSegment& s2);
VORN_API double Distance(const CCircle& circle, CTriple<double> x);
VORN_API double Distance(const CDisk& disk, CTriple<double> x);
VORN_API double Distance(const CLine& line, const CCircle& circle);

VORN_API CTriple<double> Intersection(const CPlane& plane, const CLine& line);
VORN_API CTriple<double> Intersection(const CLine& line, const CPlane& plane);

// Casts the ray from the tip of the plane's normal in the direction x onto
// the plane; x must therefore have unit length.
VORN_API CTriple<double> Projection(const CTriple<double>& x, const CPlane& plane);
} // namespace Geometry

// Real roots by closed formulas, highest power first. The results are
// candidates in formula order: unsorted, with repetitions and possibly NaN.
VORN_API std::vector<double> RootsOfPolynom1stOrder(double a, double b);
VORN_API std::vector<double> RootsOfPolynom2ndOrder(double a, double b, double c);
VORN_API std::vector<double> RootsOfPolynom3rdOrder(double a, double b, double c, double d);
VORN_API std::vector<double> RootsOfPolynom4thOrder(double a, double b, double c, double d, double e);
} // namespace TOLX
