#include "zeblib2core/Exception.h"

namespace TOLX
{
CException::CException(const Impl::StExLocation& location, const char* message)
    : m_location(location), m_message(message != nullptr ? message : "")
{
}

CException::~CException() = default;

const char* CException::what() const noexcept { return m_message.c_str(); }

const Impl::StExLocation& CException::Location() const noexcept { return m_location; }

CExLicense::~CExLicense() = default;
} // namespace TOLX
