#pragma once

#include <string>

namespace TOLX
{
namespace Impl
{
// The element type's name as it appears in the function names of location
// records, e.g. "TOLX::IMatrix<float>::AddRows".
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

template <class T>
std::string TemplateMember(const char* classPath, const char* member)
{
    return std::string(classPath) + "<" + TypeName<T>::value + ">::" + member;
}
} // namespace Impl
} // namespace TOLX
