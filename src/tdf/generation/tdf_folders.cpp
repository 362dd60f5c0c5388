#include "tdf/generation/tdf_folders.h"

#include <span>

#include "frame/conversions.h"
#include "frame/errors.h"
#include "tdf/naming/crc_path.h"

namespace tdf {

namespace {

constexpr std::size_t kMaxKept = 16 * 1024 * 1024;  // code units
constexpr std::size_t kLongestKept = 64 * 1024;     // code units of one text
// No system has paths near this long; 64 long names of a damaged table would take memory
// without end.
constexpr std::size_t kLongestPath = 16 * 1024 * 1024;  // code units

const std::byte* BytesOf(std::u16string_view text) noexcept {
    return std::as_bytes(std::span(text.data(), text.size())).data();
}

text::TextStatistics SurveyOf(std::u16string_view text) noexcept {
    return text::CollectTextStatistics(BytesOf(text), text.size());
}

}  // namespace

void CTdfFolders::Add(std::u16string_view name, std::int64_t parent) {
    m_names.Add(BytesOf(name), name.size());
    m_parents.push_back(parent);
}

CTdfFolders::Chain CTdfFolders::ChainOf(std::int64_t folder) const noexcept {
    Chain chain;
    while (folder != 0 && chain.count < kMaxFolders) {
        if (static_cast<std::uint64_t>(folder) >= m_parents.size()) {
            chain.missing = folder;
            break;
        }
        chain.folders[chain.count++] = static_cast<std::uint32_t>(folder);
        folder = m_parents[static_cast<std::size_t>(folder)];
    }
    return chain;
}

CFolderTexts::CFolderTexts(const CTdfFolders& folders, std::u16string_view volumeName,
                           std::optional<std::int32_t> groupLimit)
    : m_folders(folders),
      m_volumeName(volumeName),
      m_groupLimit(groupLimit),
      m_slots(folders.Count()) {}

CFolderTexts::Text CFolderTexts::TextOf(std::int64_t folder, std::int64_t record) {
    if (static_cast<std::uint64_t>(folder) >= m_slots.size()) {
        Compose(folder, record);  // the root of a volume without folders, or a failure
        return {m_text, SurveyOf(m_text)};
    }
    Slot& slot = m_slots[static_cast<std::size_t>(folder)];
    if (slot.round == m_round) {
        return {{m_kept.data() + slot.begin, slot.length}, {true, slot.length, slot.eightBit}};
    }
    Compose(folder, record);
    return Keep(slot);
}

// Only sound texts are kept: their surveys need no more than a number.
CFolderTexts::Text CFolderTexts::Keep(Slot& slot) {
    const text::TextStatistics survey = SurveyOf(m_text);
    if (m_text.size() > kLongestKept || !survey.valid) {
        return {m_text, survey};
    }
    if (m_kept.size() + m_text.size() > kMaxKept) {
        m_kept.clear();
        ++m_round;
    }
    slot = {static_cast<std::uint32_t>(m_kept.size()), static_cast<std::uint32_t>(m_text.size()),
            m_round, static_cast<std::uint32_t>(survey.eightBit)};
    m_kept += m_text;
    return {m_text, survey};
}

void CFolderTexts::Compose(std::int64_t folder, std::int64_t record) {
    const CTdfFolders::Chain chain = m_folders.ChainOf(folder);
    if (chain.missing) {
        throw frame::CExc(
            u"A folder index lies outside the folder table. Volume: [%1]. File record: [%2]. "
            u"Folder index: [%3].",
            {m_volumeName, frame::Int64ToString(record), frame::Int64ToString(*chain.missing)},
            frame::kInvalidArg);
    }
    m_text.clear();
    if (m_groupLimit) {
        ComposeGroups(chain);
    } else {
        ComposePath(chain, folder, record);
    }
}

void CFolderTexts::ComposePath(const CTdfFolders::Chain& chain, std::int64_t folder,
                               std::int64_t record) {
    std::size_t units = 0;
    for (std::size_t i = 0; i < chain.count; ++i) {
        units += m_folders.NameOf(chain.folders[i]).size();
    }
    if (units > kLongestPath) {
        throw frame::CExc(
            u"The path of a folder is too long. Volume: [%1]. File record: [%2]. Folder index: "
            u"[%3].",
            {m_volumeName, frame::Int64ToString(record), frame::Int64ToString(folder)},
            frame::kFail);
    }
    m_text += m_volumeName;
    m_text += u":\\";
    for (std::size_t i = chain.count; i-- > 0;) {
        m_text += m_folders.NameOf(chain.folders[i]);
        m_text += u'\\';
    }
}

void CFolderTexts::ComposeGroups(const CTdfFolders::Chain& chain) {
    CGroupLimit limit(*m_groupLimit);
    if (limit.TryAdd()) {
        AppendCrcGroup(m_text, ElementCrc(m_volumeName + u":"));
    }
    for (std::size_t i = chain.count; i-- > 0 && limit.TryAdd();) {
        AppendCrcGroup(m_text, ElementCrc(m_folders.NameOf(chain.folders[i])));
    }
}

}  // namespace tdf
