#pragma once

// Component-wise arithmetic on CTriple. Every operation is spelled out in
// x, y, z order with the scalar applied per component, so results are
// reproducible to the last bit wherever the same expression is used.

#include "zeblib2core/Types.h"

#include <cmath>

namespace TOLX
{
template <class T>
CTriple<T> operator+(const CTriple<T>& a, const CTriple<T>& b)
{
    return CTriple<T>(a.x + b.x, a.y + b.y, a.z + b.z);
}

template <class T>
CTriple<T> operator-(const CTriple<T>& a, const CTriple<T>& b)
{
    return CTriple<T>(a.x - b.x, a.y - b.y, a.z - b.z);
}

template <class T>
CTriple<T> operator*(const CTriple<T>& v, T factor)
{
    return CTriple<T>(v.x * factor, v.y * factor, v.z * factor);
}

// A true division per component, not a multiplication by the reciprocal.
template <class T>
CTriple<T> operator/(const CTriple<T>& v, T divisor)
{
    return CTriple<T>(v.x / divisor, v.y / divisor, v.z / divisor);
}

template <class T>
T Dot(const CTriple<T>& a, const CTriple<T>& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

// Euclidean length; for integral components the result is a double.
template <class T>
auto Length(const CTriple<T>& v)
{
    return std::sqrt(Dot(v, v));
}
} // namespace TOLX
