#pragma once

#include "zeblib2core/ZebCoreExport.h"

#include <cstdint>
#include <exception>
#include <string>

namespace TOLX
{
namespace Impl
{
// Where an exception was raised. The field order is part of the host ABI.
struct StExLocation
{
    std::string dateTime; // compile date and time of the throwing file
    std::string file;     // repository-relative path of the throwing file
    std::string function; // fully qualified name of the throwing function
    std::int32_t line = 0;
    std::uint64_t reserved = 0;
};
} // namespace Impl

class ZEBCORE_API CException : public std::exception
{
public:
    CException(const Impl::StExLocation& location, const char* message);
    CException(const CException&) = default;
    CException& operator=(const CException&) = default;
    ~CException() override;

    const char* what() const noexcept override;
    const Impl::StExLocation& Location() const noexcept;

private:
    Impl::StExLocation m_location;
    std::string m_message;
};

class ZEBCORE_API CExLicense : public CException
{
public:
    using CException::CException;
    CExLicense(const CExLicense&) = default;
    CExLicense& operator=(const CExLicense&) = default;
    ~CExLicense() override;
};
} // namespace TOLX
