#pragma once

// The one way anything in this code base raises a CException: the macro
// captures the throwing file and its compile time, the caller names the
// function and line that host applications know the throw site by, and the
// message is filled through CString::Arg in placeholder order.

#include "zeblib2core/Exception.h"
#include "zeblib2core/String.h"
#include "zeblib2core/ZebCoreExport.h"

#include <string>
#include <type_traits>

namespace TOLX
{
namespace Impl
{
// Maps a compiler file name to the repository-relative path callers see
// ("src/Numeric/Matrix.cpp"); installed headers map back to their source path.
ZEBCORE_API std::string RepoRelativePath(const char* file);

ZEBCORE_API StExLocation MakeLocation(const char* dateTime, const char* file, std::string function, int line);

template <class T>
void AddArg(CString& message, const T& value)
{
    if constexpr (std::is_same_v<T, char> || std::is_same_v<T, CString>)
        message.Arg(value);
    else if constexpr (std::is_integral_v<T> || std::is_enum_v<T>)
        message.Arg(static_cast<int64>(value), 0);
    else
        message.Arg(CString(std::string(value).c_str(), ENCODING_UTF8));
}

template <class... Args>
[[noreturn]] void ThrowAt(const StExLocation& location, const char* text, const Args&... args)
{
    CString message(text, ENCODING_UTF8);
    (AddArg(message, args), ...);
    throw CException(location, message.c_str());
}

// One throw site as hosts know it: the function and line of its location
// record and the message with its %N placeholders. Each file family keeps its
// sites in one table, so the whole set can be read against what hosts expect;
// the throwing file and its compile time still come from where it is thrown.
struct StThrowSite
{
    const char* function;
    int line;
    const char* message;
};

template <class... Args>
[[noreturn]] void ThrowAtSite(const char* dateTime, const char* file, const StThrowSite& site, const Args&... args)
{
    ThrowAt(MakeLocation(dateTime, file, site.function, site.line), site.message, args...);
}

// A member of a class template is known by its instantiation
// ("TOLX::CMatrix<double>::GetCol"): its site names it with "<T>", which
// becomes "<typeName>" at the throw.
ZEBCORE_API std::string Instantiated(const char* function, const char* typeName);

template <class... Args>
[[noreturn]] void ThrowAtTemplateSite(const char* dateTime, const char* file, const char* typeName,
                                      const StThrowSite& site, const Args&... args)
{
    ThrowAt(MakeLocation(dateTime, file, Instantiated(site.function, typeName), site.line), site.message, args...);
}
} // namespace Impl
} // namespace TOLX

// TOLX_THROW_SITE(site, args...) raises the site of a table (StThrowSite);
// TOLX_THROW_TEMPLATE_SITE(typeName, site, args...) one whose function names "<T>".
#define TOLX_THROW_SITE(...) ::TOLX::Impl::ThrowAtSite(__DATE__ "-" __TIME__, __FILE__, __VA_ARGS__)
#define TOLX_THROW_TEMPLATE_SITE(...) ::TOLX::Impl::ThrowAtTemplateSite(__DATE__ "-" __TIME__, __FILE__, __VA_ARGS__)

#define TOLX_THROW(function, line, ...)                                                                      \
    ::TOLX::Impl::ThrowAt(::TOLX::Impl::MakeLocation(__DATE__ "-" __TIME__, __FILE__, (function), (line)), \
                          __VA_ARGS__)
