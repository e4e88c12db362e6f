#include "zeblib2core/Value.h"

#include "zeblib2core/String.h"
#include "zeblib2core/Throw.h"

#include <algorithm>

namespace TOLX
{
namespace
{
const char* TypeText(EnValueType type)
{
    switch (type)
    {
    case VALUE_DOUBLE: return "double";
    case VALUE_LONG: return "long";
    case VALUE_STRING: return "string";
    case VALUE_VECTOR: return "vector";
    case VALUE_MAP: return "map";
    }
    return "unknown";
}

[[noreturn]] void WrongType(const char* accessor, EnValueType held, EnValueType asked)
{
    TOLX_THROW(std::string("TOLX::CValue::") + accessor, __LINE__, "Value of type %1 cannot be read as %2",
               std::string(TypeText(held)), std::string(TypeText(asked)));
}
} // namespace

CValue_Key::CValue_Key(const char* name) : m_name(name != nullptr ? name : "") {}

CValue_Key::CValue_Key(int index) : m_index(index), m_isIndex(true) {}

CValue_Key::CValue_Key(EnFixedKey key) : m_name(key == KEY_STATUS ? "status" : "") {}

bool CValue_Key::operator==(const CValue_Key& other) const
{
    return m_isIndex == other.m_isIndex && (m_isIndex ? m_index == other.m_index : m_name == other.m_name);
}

std::string CValue_Key::ToString() const { return m_isIndex ? std::to_string(m_index) : m_name; }

CValue::~CValue() = default;
double CValue::Double() const { WrongType("Double", Type(), VALUE_DOUBLE); }
long CValue::Long() const { WrongType("Long", Type(), VALUE_LONG); }
std::string CValue::String() const { WrongType("String", Type(), VALUE_STRING); }
const CValueVector& CValue::Vector() const { WrongType("Vector", Type(), VALUE_VECTOR); }
const CValueMap& CValue::Map() const { WrongType("Map", Type(), VALUE_MAP); }

CValue* CValueDouble::Clone() const { return new CValueDouble(*this); }

bool CValueDouble::Equal(const CValue& other) const
{
    return other.Type() == VALUE_DOUBLE && other.Double() == m_value;
}

// The low 32 bits are kept on purpose: the host stores longs in 32 bits.
CValueLong::CValueLong(long value) : m_value(static_cast<std::int32_t>(static_cast<std::uint32_t>(value))) {}

CValue* CValueLong::Clone() const { return new CValueLong(*this); }

bool CValueLong::Equal(const CValue& other) const { return other.Type() == VALUE_LONG && other.Long() == m_value; }

CValueString::CValueString(const char* text, std::size_t length)
{
    if (text != nullptr)
        m_value = length == CString::NPOS ? std::string(text) : std::string(text, length);
}

CValue* CValueString::Clone() const { return new CValueString(*this); }

bool CValueString::Equal(const CValue& other) const
{
    return other.Type() == VALUE_STRING && other.String() == m_value;
}

CValueContainerBase::~CValueContainerBase() = default;

namespace
{
std::vector<CValueContainerBase::KeyValue> DeepCopy(const CValueContainerBase& source)
{
    std::vector<CValueContainerBase::KeyValue> copy;
    copy.reserve(source.Size());
    for (const auto& [key, value] : source)
        copy.emplace_back(key, std::unique_ptr<CValue>(value->Clone()));
    return copy;
}
} // namespace

namespace
{
// Below this many entries a scan is as fast as the index.
constexpr std::size_t kIndexedFrom = 64;

std::string IndexKey(const CValue_Key& key)
{
    return (key.IsIndex() ? "#" : "$") + key.ToString();
}
} // namespace

CValueContainerBase::CValueContainerBase(const CValueContainerBase& other) : CValue(other), m_entries(DeepCopy(other))
{
    IndexEntries();
}

CValueContainerBase& CValueContainerBase::operator=(const CValueContainerBase& other)
{
    if (this != &other)
    {
        m_entries = DeepCopy(other);
        IndexEntries();
    }
    return *this;
}

void CValueContainerBase::IndexEntries()
{
    m_positions.clear();
    if (m_entries.size() < kIndexedFrom)
        return;
    for (std::size_t i = 0; i < m_entries.size(); ++i)
        m_positions.emplace(IndexKey(m_entries[i].first), i);
}

// The position of key, or Size() when it is absent.
std::size_t CValueContainerBase::Position(const CValue_Key& key) const
{
    if (!m_positions.empty())
    {
        const auto found = m_positions.find(IndexKey(key));
        return found == m_positions.end() ? m_entries.size() : found->second;
    }
    std::size_t i = 0;
    while (i < m_entries.size() && !(m_entries[i].first == key))
        ++i;
    return i;
}

void CValueContainerBase::SetEntry(const CValue_Key& key, CValue* value)
{
    std::unique_ptr<CValue> owned(value);
    if (!owned)
        TOLX_THROW("TOLX::CValueContainerBase::SetEntry", __LINE__, "No value given for key '%1'", key.ToString());
    const std::size_t at = Position(key);
    if (at != m_entries.size())
    {
        m_entries[at].second = std::move(owned);
        return;
    }
    m_entries.emplace_back(key, std::move(owned));
    if (!m_positions.empty())
        m_positions.emplace(IndexKey(key), at);
    else if (m_entries.size() == kIndexedFrom)
        IndexEntries();
}

const CValue* CValueContainerBase::Entry(const CValue_Key& key) const
{
    const std::size_t at = Position(key);
    return at == m_entries.size() ? nullptr : m_entries[at].second.get();
}

bool CValueContainerBase::HasEntry(const CValue_Key& key) const { return Position(key) != m_entries.size(); }

bool CValueContainerBase::RemoveEntry(const CValue_Key& key)
{
    const std::size_t at = Position(key);
    if (at == m_entries.size())
        return false;
    m_entries.erase(m_entries.begin() + static_cast<std::ptrdiff_t>(at));
    IndexEntries();
    return true;
}

void CValueContainerBase::Clear() noexcept
{
    m_entries.clear();
    m_positions.clear();
}

std::vector<CValue_Key> CValueContainerBase::Keys() const
{
    std::vector<CValue_Key> keys;
    keys.reserve(m_entries.size());
    for (const auto& entry : m_entries)
        keys.push_back(entry.first);
    return keys;
}

// Deep equality: same kind, same keys, equal values; the order of insertion
// does not take part.
bool CValueContainerBase::Equal(const CValue& other) const
{
    if (other.Type() != Type())
        return false;
    const auto& container = static_cast<const CValueContainerBase&>(other);
    if (container.Size() != Size())
        return false;
    for (const auto& [key, value] : m_entries)
    {
        const CValue* theirs = container.Entry(key);
        if (theirs == nullptr || !value->Equal(*theirs))
            return false;
    }
    return true;
}

CValue* CValueVector::Clone() const { return new CValueVector(*this); }

void CValueVector::PushBack(CValue* value) { SetEntry(CValue_Key(static_cast<int>(Size())), value); }

CValue* CValueMap::Clone() const { return new CValueMap(*this); }
} // namespace TOLX
