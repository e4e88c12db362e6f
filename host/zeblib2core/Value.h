#pragma once

#include "zeblib2core/ZebCoreExport.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <unordered_map>
#include <vector>

namespace TOLX
{
enum EnValueType
{
    VALUE_DOUBLE,
    VALUE_LONG,
    VALUE_STRING,
    VALUE_VECTOR,
    VALUE_MAP
};

// The host's predefined keys; the library itself only uses named and indexed keys.
enum EnFixedKey
{
    KEY_STATUS = 0
};

class ZEBCORE_API CValue_Key
{
public:
    CValue_Key(const char* name);
    CValue_Key(int index);
    CValue_Key(EnFixedKey key);

    bool operator==(const CValue_Key& other) const;
    bool operator!=(const CValue_Key& other) const { return !(*this == other); }
    // The name, or the decimal index of an integer key.
    std::string ToString() const;
    bool IsIndex() const noexcept { return m_isIndex; }

private:
    std::string m_name;
    int m_index = 0;
    bool m_isIndex = false;
};

class CValueMap;
class CValueVector;

// Polymorphic base of every value. Asking for another kind than the value holds
// throws CException.
class ZEBCORE_API CValue
{
public:
    virtual ~CValue();
    virtual EnValueType Type() const = 0;
    virtual double Double() const;
    virtual long Long() const;
    virtual std::string String() const;
    virtual const CValueVector& Vector() const;
    virtual const CValueMap& Map() const;
    virtual CValue* Clone() const = 0;
    virtual bool Equal(const CValue& other) const = 0;

protected:
    CValue() = default;
    CValue(const CValue&) = default;
    CValue& operator=(const CValue&) = default;
};

class ZEBCORE_API CValueDouble : public CValue
{
public:
    explicit CValueDouble(double value) : m_value(value) {}
    EnValueType Type() const override { return VALUE_DOUBLE; }
    double Double() const override { return m_value; }
    CValue* Clone() const override;
    bool Equal(const CValue& other) const override;

private:
    double m_value;
};

// Holds a 32-bit signed value: an argument outside that range keeps its low 32 bits.
class ZEBCORE_API CValueLong : public CValue
{
public:
    explicit CValueLong(long value);
    EnValueType Type() const override { return VALUE_LONG; }
    long Long() const override { return m_value; }
    CValue* Clone() const override;
    bool Equal(const CValue& other) const override;

private:
    std::int32_t m_value;
};

class ZEBCORE_API CValueString : public CValue
{
public:
    // length CString::NPOS takes the whole text.
    CValueString(const char* text, std::size_t length);
    EnValueType Type() const override { return VALUE_STRING; }
    std::string String() const override { return m_value; }
    CValue* Clone() const override;
    bool Equal(const CValue& other) const override;

private:
    std::string m_value;
};

// Owning, insertion-ordered key/value storage shared by maps and vectors.
class ZEBCORE_API CValueContainerBase : public CValue
{
public:
    using KeyValue = std::pair<CValue_Key, std::unique_ptr<CValue>>;
    using const_iterator = std::vector<KeyValue>::const_iterator;

    ~CValueContainerBase() override;

    // Takes ownership of value; an existing key keeps its position.
    virtual void SetEntry(const CValue_Key& key, CValue* value);
    const CValue* Entry(const CValue_Key& key) const;
    bool HasEntry(const CValue_Key& key) const;
    bool RemoveEntry(const CValue_Key& key);
    std::size_t Size() const noexcept { return m_entries.size(); }
    bool IsEmpty() const noexcept { return m_entries.empty(); }
    void Clear() noexcept;
    std::vector<CValue_Key> Keys() const;
    const_iterator begin() const noexcept { return m_entries.begin(); }
    const_iterator end() const noexcept { return m_entries.end(); }
    bool Equal(const CValue& other) const override;

protected:
    CValueContainerBase() = default;
    CValueContainerBase(const CValueContainerBase& other);
    CValueContainerBase& operator=(const CValueContainerBase& other);

private:
    std::size_t Position(const CValue_Key& key) const;
    void IndexEntries();

    std::vector<KeyValue> m_entries;
    // Positions by key, kept for containers of many entries (a map of every
    // object of a large image), so that finding a key does not scan them all.
    std::unordered_map<std::string, std::size_t> m_positions;
};

class ZEBCORE_API CValueVector : public CValueContainerBase
{
public:
    CValueVector() = default;
    CValueVector(const CValueVector&) = default;
    CValueVector& operator=(const CValueVector&) = default;
    EnValueType Type() const override { return VALUE_VECTOR; }
    const CValueVector& Vector() const override { return *this; }
    CValue* Clone() const override;
    // Appends under the next integer key.
    void PushBack(CValue* value);
};

class ZEBCORE_API CValueMap : public CValueContainerBase
{
public:
    CValueMap() = default;
    CValueMap(const CValueMap&) = default;
    CValueMap& operator=(const CValueMap&) = default;
    EnValueType Type() const override { return VALUE_MAP; }
    const CValueMap& Map() const override { return *this; }
    CValue* Clone() const override;
};
} // namespace TOLX
