// Elements with keys from a file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "frame/conversions.h"
#include "frame/errors.h"

namespace mtf {

// Owns elements in the order in which their keys first appeared; their addresses are stable.
// A key is a number from the file and independent of the element's position.
template <class T>
class CSparseArray {
public:
    // The element with this key; a new empty one at the end when there is none.
    T& GetOrCreate(std::uint64_t key) {
        if (m_lastElement == nullptr || key != m_lastKey) {
            m_lastElement = &Lookup(key);
            m_lastKey = key;
        }
        return *m_lastElement;
    }

    // Throws CExc (E_FAIL) for a position beyond the last element.
    T& At(std::uint64_t position) const {
        if (position >= m_elements.size()) {
            throw frame::CExc(
                u"Out of the sparse array boundary: requested element '%1', container contains "
                u"'%2' elements.",
                {frame::UInt64ToString(position), frame::UInt64ToString(m_elements.size())},
                frame::kFail);
        }
        return *m_elements[static_cast<std::size_t>(position)];
    }

    std::uint64_t Count() const noexcept { return m_elements.size(); }

private:
    T& Lookup(std::uint64_t key) {
        const auto found = m_index.lower_bound(key);
        if (found != m_index.end() && found->first == key) {
            return *found->second;
        }
        m_elements.push_back(std::make_unique<T>());
        try {
            m_index.emplace_hint(found, key, m_elements.back().get());
        } catch (const std::bad_alloc&) {
            m_elements.pop_back();
            throw;
        }
        return *m_elements.back();
    }

    std::vector<std::unique_ptr<T>> m_elements;
    std::map<std::uint64_t, T*> m_index;
    std::uint64_t m_lastKey = 0;
    T* m_lastElement = nullptr;  // the element of m_lastKey; null before the first lookup
};

}  // namespace mtf
