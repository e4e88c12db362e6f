#pragma once

#include "zeblib2core/Value.h"
#include "zeblib2core/ZebCoreExport.h"

#include <string>

namespace TOLX
{
// Base of host objects that carry an instance name.
class ZEBCORE_API IObject
{
public:
    virtual ~IObject();
    void SetInstance(const char* name);
    const std::string& Instance() const noexcept { return m_instance; }

private:
    std::string m_instance;
};

// The host's plug-in base: configuration in, current set-up out.
class ZEBCORE_API IPluginObject : public IObject
{
public:
    virtual void Init(const CValueMap* setup) = 0;
    virtual void GetPluginSetup(CValueMap& setup) = 0;
};
} // namespace TOLX
