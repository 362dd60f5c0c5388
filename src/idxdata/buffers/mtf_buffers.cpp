#include "idxdata/buffers/mtf_buffers.h"

#include <algorithm>
#include <utility>

#include "frame/conversions.h"
#include "frame/errors.h"
#include "platform/memory.h"

namespace idxdata {

bool CMtfStorage::Reserve(std::uint64_t capacity) noexcept {
    if (capacity <= m_capacity) {
        return true;
    }
    void* data = std::realloc(m_data.get(), static_cast<std::size_t>(capacity));
    if (data == nullptr) {
        return false;
    }
    static_cast<void>(m_data.release());
    m_data.reset(static_cast<std::byte*>(data));
    platform::PreferLargePages(data, static_cast<std::size_t>(capacity));
    m_capacity = capacity;
    return true;
}

void CMtfStorage::Resize(std::uint64_t size) {
    if (!Reserve(size)) {
        throw frame::CExc(
            u"Cannot reallocate memory buffer. Requested size of the buffer is %1 elements, "
            u"previous - %2.",
            {frame::UInt64ToString(size), frame::UInt64ToString(m_size)}, frame::kFail);
    }
    m_size = size;
}

CMtfOutBuffer::CMtfOutBuffer(std::uint64_t growStep, std::uint64_t initialSize)
    : m_storage(std::make_shared<CMtfStorage>(initialSize)), m_growStep(growStep) {}

void CMtfOutBuffer::Grow(std::size_t length) {
    const std::uint64_t need = m_used + length;
    const std::uint64_t over = need % m_growStep;
    const std::uint64_t size = over == 0 ? need : need - over + m_growStep;
    // Half as much again keeps many small steps linear. This is a hint: failure is ignored.
    if (size > m_storage->Capacity()) {
        static_cast<void>(m_storage->Reserve(std::max(size, m_used + m_used / 2)));
    }
    m_storage->Resize(size);
}

std::shared_ptr<CMtfStorage> CMtfOutBuffer::TakeStorage() {
    m_storage->Resize(m_used);
    m_used = 0;
    return std::exchange(m_storage, std::make_shared<CMtfStorage>());
}

CMtfInBuffer::CMtfInBuffer(std::shared_ptr<const CMtfStorage> storage)
    : m_storage(std::move(storage)),
      m_content(reinterpret_cast<const char*>(m_storage->Data()),
                static_cast<std::size_t>(m_storage->Size())) {}

std::int64_t CMtfInBuffer::Find(std::string_view bytes) const noexcept {
    if (Remaining() < bytes.size() || Remaining() == 0) {
        return -1;
    }
    // The last start at which the bytes fit is not tried, so the last byte cannot count.
    const std::size_t last = m_content.size() - (bytes.empty() ? 0 : 1);
    const std::size_t found = m_content.substr(0, last).find(bytes, m_position);
    return found == std::string_view::npos ? -1 : static_cast<std::int64_t>(found - m_position);
}

void CMtfInBuffer::Skip(std::uint64_t count) noexcept {
    m_position += static_cast<std::size_t>(std::min(count, Remaining()));
}

bool CMtfInBuffer::NextToken(std::string_view delimiter, std::string_view& token) noexcept {
    if (IsEnd()) {
        return false;
    }
    const std::int64_t found = Find(delimiter);
    token = m_content.substr(m_position,
                             found < 0 ? std::string_view::npos : static_cast<std::size_t>(found));
    Skip(token.size() + (found < 0 ? 0 : delimiter.size()));
    return true;
}

}  // namespace idxdata
