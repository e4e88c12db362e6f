#include "zeblib2core/Object.h"

namespace TOLX
{
IObject::~IObject() = default;

void IObject::SetInstance(const char* name) { m_instance = name != nullptr ? name : ""; }
} // namespace TOLX
