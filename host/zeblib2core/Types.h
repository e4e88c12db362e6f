#pragma once

#include <cstdint>

namespace TOLX
{
using int64 = std::int64_t;

// Three components passed by value; the geometry adds its arithmetic on top.
template <class T>
struct CTriple
{
    T x{};
    T y{};
    T z{};

    CTriple() = default;
    CTriple(T x_, T y_, T z_) : x(x_), y(y_), z(z_) {}
};
} // namespace TOLX
