#include "tdf/generation/folder_texts.h"

#include "frame/conversions.h"
#include "frame/errors.h"
#include "tdf/naming/crc_path.h"
#include "text/unicode_text.h"

namespace tdf {

namespace {

constexpr std::size_t kMaxCache = 16 * 1024 * 1024;  // code units
constexpr std::size_t kMaxCachedText = 64 * 1024;    // code units of one text
// More than any system allows; the names of a damaged table could need any amount of memory.
constexpr std::size_t kMaxPath = 16 * 1024 * 1024;  // code units without the separators

bool IsUnicode(std::u16string_view text) noexcept {
    return text::IsUnicodeText(std::as_bytes(std::span(text)).data(), text.size());
}

}  // namespace

CFolderTexts::CFolderTexts(const idxdata::CFolderTable& folders, std::u16string_view volumeName,
                           std::optional<std::int32_t> groupLimit)
    : m_folders(folders),
      m_volumeName(volumeName),
      m_groupLimit(groupLimit),
      m_slots(folders.Count()) {}

CFolderTexts::Text CFolderTexts::TextOf(std::int64_t dirIndex, std::int64_t record) {
    const std::int64_t folder = m_groupLimit ? static_cast<std::uint32_t>(dirIndex) : dirIndex;
    if (!m_folders.Contains(folder)) {
        if (folder != idxdata::CFolderTable::kRoot) {
            ThrowOutside(dirIndex, record);
        }
        Compose(folder, record);  // the root of a volume without folders
        return {m_text, IsUnicode(m_text)};
    }
    Slot& slot = m_slots[static_cast<std::size_t>(folder)];
    if (slot.round == m_round) {
        return {{m_cache.data() + slot.begin, slot.length}, slot.isUnicode};
    }
    Compose(folder, record);
    return Cache(slot);
}

CFolderTexts::Text CFolderTexts::Cache(Slot& slot) {
    const bool isUnicode = IsUnicode(m_text);
    if (m_text.size() > kMaxCachedText) {
        return {m_text, isUnicode};
    }
    if (m_cache.size() + m_text.size() > kMaxCache) {
        m_cache.clear();
        ++m_round;
    }
    slot = {static_cast<std::uint32_t>(m_cache.size()), static_cast<std::uint32_t>(m_text.size()),
            m_round, isUnicode};
    m_cache += m_text;
    return {m_text, isUnicode};
}

void CFolderTexts::Compose(std::int64_t folder, std::int64_t record) {
    const std::span<const std::size_t> chain = ChainOf(folder, record);
    m_text.clear();
    if (m_groupLimit) {
        ComposeGroups(chain);
    } else {
        ComposePath(chain, folder, record);
    }
}

// The folders of the text, from the inside out.
std::span<const std::size_t> CFolderTexts::ChainOf(std::int64_t folder, std::int64_t record) {
    std::size_t count = 0;
    const std::int64_t end = m_folders.WalkUp(folder, [&](std::size_t i) {
        if (count == m_chain.size()) {
            return false;
        }
        m_chain[count++] = i;
        return true;
    });
    if (count < m_chain.size() && end != idxdata::CFolderTable::kRoot) {
        ThrowOutside(end, record);
    }
    return std::span(m_chain).first(count);
}

void CFolderTexts::ThrowOutside(std::int64_t index, std::int64_t record) const {
    throw frame::CExc(
        u"A folder index lies outside the folder table. Volume: [%1]. File record: [%2]. "
        u"Folder index: [%3].",
        {m_volumeName, frame::Int64ToString(record), frame::Int64ToString(index)},
        frame::kInvalidArg);
}

void CFolderTexts::ComposePath(std::span<const std::size_t> chain, std::int64_t folder,
                               std::int64_t record) {
    if (m_folders.PathLength(chain) - chain.size() > kMaxPath) {
        throw frame::CExc(
            u"The path of a folder is too long. Volume: [%1]. File record: [%2]. Folder index: "
            u"[%3].",
            {m_volumeName, frame::Int64ToString(record), frame::Int64ToString(folder)},
            frame::kFail);
    }
    m_text += m_volumeName;
    m_text += u":\\";
    m_folders.AppendPath(m_text, chain);
}

void CFolderTexts::ComposeGroups(std::span<const std::size_t> chain) {
    CGroupLimit limit(*m_groupLimit);
    if (limit.TryAdd()) {
        AppendCrcGroup(m_text, ElementCrc(m_volumeName + u":"));
    }
    for (auto folder = chain.rbegin(); folder != chain.rend(); ++folder) {
        const std::u16string_view name = m_folders.NameOf(*folder);
        if (!name.empty() && limit.TryAdd()) {
            AppendCrcGroup(m_text, ElementCrc(name));
        }
    }
}

}  // namespace tdf
