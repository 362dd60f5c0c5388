#include "cli/browse/file_owners.h"

#include <algorithm>
#include <functional>

#include "cli/command_line/paths.h"
#include "cli/output/text_format.h"
#include "cli/volume/volume_tables.h"
#include "frame/errors.h"
#include "idxdata/tables/file_record_cursor.h"

namespace zorel::cli {

namespace {

std::uint64_t KeyOf(std::u16string_view path, std::int64_t size) {
    const std::uint64_t hash = std::hash<std::u16string_view>()(path);
    return (hash ^ static_cast<std::uint64_t>(size)) * 0x9E3779B97F4A7C15;
}

}  // namespace

CFileOwners::CFileOwners(const std::string& dataFile, std::u16string_view root,
                         std::u16string_view base)
    : m_owners(dataFile) {
    AddName(u"", u"");  // files without an owner
    for (std::size_t i = 0; i < m_owners.Table().Count(); ++i) {
        m_texts.push_back(CVolumeOwners::TextOf(m_owners.Table()[i]));
        AddName(m_owners.Table()[i].name, m_texts.back());
    }
    if (m_hasSharedName) {
        ReadFiles(dataFile, root, base);
    }
}

void CFileOwners::AddName(std::u16string_view name, const std::u16string& text) {
    Name& known = m_names.try_emplace(name, Name{text}).first->second;
    known.isShared = known.isShared || known.text != text;
    m_hasSharedName = m_hasSharedName || known.isShared;
}

void CFileOwners::ReadFiles(const std::string& dataFile, std::u16string_view root,
                            std::u16string_view base) {
    const idxdata::CFolderTable folders = ReadFolderTable(dataFile);
    std::vector<std::u16string> paths(folders.Count());
    try {
        idxdata::CSeqTableReader table(AbsolutePath(dataFile), idxdata::EIdxTableFiles,
                                       rec::CFileRecord());
        idxdata::CFileRecordCursor cursor(table);
        idxdata::FileRecordView file{};
        std::u16string path;
        while (cursor.Next(file)) {
            if (file.ownerIndex >= m_texts.size() || !folders.Contains(file.dirIndex) ||
                !m_names.find(m_owners.Table()[file.ownerIndex].name)->second.isShared) {
                continue;
            }
            const auto folder = static_cast<std::size_t>(file.dirIndex);
            if (paths[folder].empty()) {
                paths[folder] = PathOfFolder(folders, folder, root);
                paths[folder] += paths[folder].empty() ? root : u"\\";
            }
            path = paths[folder];
            file.AppendNameTo(path);
            if (path.starts_with(base)) {
                const std::u16string_view relative = std::u16string_view(path).substr(base.size());
                m_files.push_back({KeyOf(relative, file.size), m_texts[file.ownerIndex]});
            }
        }
    } catch (const frame::CExc& error) {
        throw client::CError(error.GetHResult(), dataFile, {"", ToUtf8(error.GetFullMessage())});
    }
    std::stable_sort(m_files.begin(), m_files.end());
}

std::u16string_view CFileOwners::TextOf(std::u16string_view relativePath, std::int64_t size,
                                        std::u16string_view name) const {
    const auto known = m_names.find(name);
    if (known == m_names.end()) {
        return name;
    }
    if (known->second.isShared) {
        const std::uint64_t key = KeyOf(relativePath, size);
        const auto file = std::lower_bound(m_files.begin(), m_files.end(), File{key, {}});
        return file != m_files.end() && file->key == key ? file->owner : std::u16string_view();
    }
    return known->second.text;
}

std::size_t CFileOwners::Width() const {
    std::size_t width = 1;
    for (const std::u16string& text : m_texts) {
        width = std::max(width, DisplayWidth(Printable(text)));
    }
    return width;
}

}  // namespace zorel::cli
