#pragma once

// The queue of facets with outside points, in the order the computer's list
// (newFacets, then facets) gives them, the front-most on top. Outside sets
// are filled only while facets are new, and a facet loses its points only
// by becoming visible and being deleted; so the top entry that is still
// alive is the first facet of the list with points above it, and finding
// the next facet to grow from costs no scan of the list.
//
// Entries name a facet and its serial; a serial dies when its facet leaves
// the lists, and dead entries are dropped when they reach the top. Serial 0
// names no facet. Internal header; not stable API.

#include "Numeric/Facet.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace TOLX
{
namespace Impl
{
class COutsideQueue
{
public:
    // Forgets every serial and entry.
    void restart()
    {
        m_alive.assign(1, 0);
        m_queue.clear();
    }

    // A new live serial.
    std::size_t admit()
    {
        m_alive.push_back(1);
        return m_alive.size() - 1;
    }

    void retire(std::size_t serial)
    {
        if (serial < m_alive.size())
            m_alive[serial] = 0;
    }

    void clear() { m_queue.clear(); }

    // Entries must come in reverse list order: each in front of all before.
    void push(std::size_t serial, CFacet* f) { m_queue.emplace_back(serial, f); }

    // The top live facet for which grow(f) holds, dropping the entries
    // above it and those it refuses; null when none is left.
    template <class Grow>
    CFacet* next(Grow&& grow)
    {
        while (!m_queue.empty())
        {
            const auto [serial, f] = m_queue.back();
            if (serial < m_alive.size() && m_alive[serial] != 0 && grow(f))
                return f;
            m_queue.pop_back();
        }
        return nullptr;
    }

private:
    std::vector<char> m_alive; // by serial
    std::vector<std::pair<std::size_t, CFacet*>> m_queue;
};
} // namespace Impl
} // namespace TOLX
