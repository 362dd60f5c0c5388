// Groups numbers by a key.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace idxdata {

// The numbers below a count, grouped by a function (a counting sort). Within a group they
// ascend.
class CGroups {
public:
    // `groupOf(i)` returns a group below `groups` for each i below `count`.
    template <class GroupOf>
    CGroups(std::size_t groups, std::size_t count, GroupOf&& groupOf)
        : m_begins(groups + 1, 0), m_members(count) {
        for (std::size_t i = 0; i < count; ++i) {
            ++m_begins[groupOf(i)];
        }
        std::uint32_t end = 0;
        for (std::uint32_t& begin : m_begins) {
            end += begin;
            begin = end;
        }
        for (std::size_t i = count; i-- > 0;) {
            m_members[--m_begins[groupOf(i)]] = static_cast<std::uint32_t>(i);
        }
    }

    std::span<const std::uint32_t> operator[](std::size_t group) const noexcept {
        return {m_members.data() + m_begins[group], m_members.data() + m_begins[group + 1]};
    }
    std::span<std::uint32_t> operator[](std::size_t group) noexcept {
        return {m_members.data() + m_begins[group], m_members.data() + m_begins[group + 1]};
    }

private:
    std::vector<std::uint32_t> m_begins;  // of each group in m_members, and the end
    std::vector<std::uint32_t> m_members;
};

}  // namespace idxdata
