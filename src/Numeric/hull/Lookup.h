#pragma once

// Lookup tables of the hull engine. They only ever narrow down which
// earlier entries an exact test has to look at; every answer the computer
// gives is still decided by that exact test, so it equals the answer of a
// linear scan over all entries. No allocation once the tables have grown to
// their working size. Internal header; not stable API.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

namespace TOLX
{
namespace Impl
{
inline std::uint64_t MixHash(std::uint64_t x)
{
    x += 0x9e3779b97f4a7c15ull;
    x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9ull;
    x = (x ^ (x >> 27)) * 0x94d049bb133111ebull;
    return x ^ (x >> 31);
}

// An object's address as a table key.
inline std::uint64_t AddressKey(const void* p)
{
    return static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(p));
}

// The bits of a coordinate with -0 folded onto +0, so that values equal under
// == have equal bits (callers keep NaN away).
inline std::uint64_t CoordinateBits(double value)
{
    if (value == 0.0)
        value = 0.0;
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

// 64-bit keys to values in two flat arrays; the entries of one key come
// newest first. Growing keeps that order.
class CChainTable
{
public:
    void clear(std::size_t expected)
    {
        m_entries.clear();
        m_entries.reserve(expected);
        std::size_t buckets = 16;
        while (buckets < 2 * expected)
            buckets *= 2;
        m_heads.assign(buckets, kNone);
    }

    void insert(std::uint64_t key, std::size_t value)
    {
        if (2 * (m_entries.size() + 1) > m_heads.size())
            grow();
        link(m_entries.size(), key);
        m_entries.back().value = value;
    }

    // Calls visit(value) for the entries of key, newest first, while it returns true.
    template <class Visit>
    void forEach(std::uint64_t key, Visit&& visit) const
    {
        if (m_heads.empty())
            return;
        for (std::size_t e = m_heads[bucket(key)]; e != kNone; e = m_entries[e].next)
            if (m_entries[e].key == key && !visit(m_entries[e].value))
                return;
    }

private:
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    struct CEntry
    {
        std::uint64_t key;
        std::size_t value;
        std::size_t next;
    };

    std::size_t bucket(std::uint64_t key) const { return static_cast<std::size_t>(MixHash(key)) & (m_heads.size() - 1); }

    void link(std::size_t e, std::uint64_t key)
    {
        if (e == m_entries.size())
            m_entries.push_back({key, 0, kNone});
        std::size_t& head = m_heads[bucket(key)];
        m_entries[e].next = head;
        head = e;
    }

    void grow()
    {
        m_heads.assign(m_heads.empty() ? 16 : 2 * m_heads.size(), kNone);
        for (std::size_t e = 0; e < m_entries.size(); ++e)
            link(e, m_entries[e].key);
    }

    std::vector<std::size_t> m_heads;
    std::vector<CEntry> m_entries;
};

// A set of object addresses (never null) for a fixed number of them, in
// one flat array probed linearly: a test that misses the cache costs one
// miss, where a chained table costs two.
class CAddressSet
{
public:
    explicit CAddressSet(std::size_t count)
    {
        std::size_t slots = 16;
        while (slots < 2 * count)
            slots *= 2;
        m_slots.assign(slots, 0);
    }

    void insert(const void* address)
    {
        const std::uint64_t key = AddressKey(address);
        std::size_t s = first(key);
        while (m_slots[s] != 0 && m_slots[s] != key)
            s = (s + 1) & (m_slots.size() - 1);
        m_slots[s] = key;
    }

    bool contains(const void* address) const
    {
        const std::uint64_t key = AddressKey(address);
        for (std::size_t s = first(key); m_slots[s] != 0; s = (s + 1) & (m_slots.size() - 1))
            if (m_slots[s] == key)
                return true;
        return false;
    }

private:
    std::size_t first(std::uint64_t key) const { return static_cast<std::size_t>(MixHash(key)) & (m_slots.size() - 1); }

    std::vector<std::uint64_t> m_slots; // 0: empty
};

// Finds, among the keys inserted so far (ids 0, 1, 2, ...), those that may lie
// within a per-component tolerance of a probe; tolerance 0 means exact
// equality. Components with a tolerance t are cut into cells of width
// t * 2^20, taking the neighbouring cell as well when the probe lies within
// 1/64 of a cell border: two values within t of each other differ by at most
// 2^-20 cells plus a rounding error below 2^-12 cells, so they share a cell or
// sit in adjacent ones next to the border. Keys with NaN, infinite or very
// large components cannot be placed in cells; they are offered to every
// probe, and such a probe is offered every key. Only the first kMaxUsed
// components choose the cells, which can only add candidates. The caller's
// exact test then sees every key it could accept.
class CNearKeyIndex
{
public:
    // Expecting about `expected` keys sizes the table once.
    CNearKeyIndex(std::vector<double> tolerances, std::size_t expected)
        : m_tolerance(std::move(tolerances)), m_used(m_tolerance.size() < kMaxUsed ? m_tolerance.size() : kMaxUsed)
    {
        m_table.clear(expected);
    }

    template <class Test>
    bool findMatch(const double* key, Test&& test) const
    {
        for (std::size_t id : m_unplaced)
            if (test(id))
                return true;
        std::uint64_t base[kMaxUsed];
        std::uint64_t spread[kMaxUsed];
        std::size_t spreadCount = 0;
        if (!place(key, base, spread, spreadCount))
        {
            for (std::size_t id = 0; id < m_count; ++id)
                if (test(id))
                    return true;
            return false;
        }
        // Every combination of the cells next to borders.
        for (std::size_t mask = 0; mask < (std::size_t(1) << spreadCount); ++mask)
        {
            std::uint64_t h = 0;
            for (std::size_t i = 0, s = 0; i < m_used; ++i)
            {
                std::uint64_t cell = base[i];
                if (spread[i] != 0)
                    cell = (mask >> s++) & 1 ? cell + spread[i] : cell;
                h = MixHash(h ^ cell);
            }
            bool found = false;
            m_table.forEach(h, [&](std::size_t id) { return !(found = test(id)); });
            if (found)
                return true;
        }
        return false;
    }

    void insert(const double* key)
    {
        std::uint64_t base[kMaxUsed];
        std::uint64_t spread[kMaxUsed];
        std::size_t spreadCount = 0;
        if (!place(key, base, spread, spreadCount))
            m_unplaced.push_back(m_count);
        else
        {
            std::uint64_t h = 0;
            for (std::size_t i = 0; i < m_used; ++i)
                h = MixHash(h ^ base[i]);
            m_table.insert(h, m_count);
        }
        ++m_count;
    }

private:
    static constexpr std::size_t kMaxUsed = 8;
    static constexpr std::size_t kMaxSpread = 6;
    static constexpr double kBorder = 1.0 / 64;
    static constexpr double kCellsPerTolerance = 1048576.0;    // 2^20
    static constexpr double kLargestCell = 1099511627776.0;    // 2^40

    // The cell of every component and, for those near a border, the step to
    // the neighbouring cell (0 when there is none). False when the key cannot
    // be placed, or has too many components near borders to enumerate.
    bool place(const double* key, std::uint64_t* base, std::uint64_t* spread, std::size_t& spreadCount) const
    {
        spreadCount = 0;
        for (std::size_t i = 0; i < m_used; ++i)
        {
            const double v = key[i];
            spread[i] = 0;
            if (m_tolerance[i] == 0.0)
            {
                if (std::isnan(v))
                    return false;
                base[i] = CoordinateBits(v);
                continue;
            }
            const double q = v / (m_tolerance[i] * kCellsPerTolerance) + 0.5;
            if (!(std::fabs(q) <= kLargestCell))
                return false;
            const double cell = std::floor(q);
            base[i] = static_cast<std::uint64_t>(static_cast<std::int64_t>(cell));
            if (q - cell < kBorder)
                spread[i] = static_cast<std::uint64_t>(-1);
            else if (q - cell > 1.0 - kBorder)
                spread[i] = 1;
            if (spread[i] != 0 && ++spreadCount > kMaxSpread)
                return false;
        }
        return true;
    }

    std::vector<double> m_tolerance;
    std::size_t m_used;
    CChainTable m_table;
    std::vector<std::size_t> m_unplaced;
    std::size_t m_count = 0;
};
} // namespace Impl
} // namespace TOLX
