#include "zeblib2core/Throw.h"

#include <cstring>
#include <utility>

namespace TOLX
{
namespace Impl
{
std::string RepoRelativePath(const char* file)
{
    const std::string path = file != nullptr ? file : "";
    // Markers in order of preference, with the prefix that completes the path
    // when only an installed copy of the header was compiled.
    static const std::pair<const char*, const char*> markers[] = {
        {"src/Numeric/", ""}, {"host/zeblib2", ""}, {"tests/", ""}, {"Numeric/", "src/"}, {"zeblib2", "host/"}};
    for (const auto& [marker, prefix] : markers)
    {
        for (std::size_t at = path.rfind(marker); at != std::string::npos; at = at == 0 ? std::string::npos : path.rfind(marker, at - 1))
            if (at == 0 || path[at - 1] == '/')
                return prefix + path.substr(at);
    }
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string Instantiated(const char* function, const char* typeName)
{
    std::string name = function;
    const std::size_t at = name.find("<T>");
    if (at != std::string::npos)
        name.replace(at + 1, 1, typeName);
    return name;
}

StExLocation MakeLocation(const char* dateTime, const char* file, std::string function, int line)
{
    StExLocation location;
    location.dateTime = dateTime;
    location.file = RepoRelativePath(file);
    location.function = std::move(function);
    location.line = line;
    location.reserved = 0;
    return location;
}
} // namespace Impl
} // namespace TOLX
