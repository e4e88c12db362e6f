#pragma once

namespace TOLX
{
namespace Impl
{
// The element type's name as it appears in the function names of location
// records, e.g. "TOLX::IMatrix<float>::AddRows". Internal: not installed.
template <class T>
struct TypeName;

template <>
struct TypeName<double>
{
    static constexpr const char* value = "double";
};

template <>
struct TypeName<float>
{
    static constexpr const char* value = "float";
};
} // namespace Impl
} // namespace TOLX
