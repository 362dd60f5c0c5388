#include "cli/generate/line_report.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "ZorelText.h"
#include "cli/command_line/paths.h"
#include "cli/command_line/with_subject.h"
#include "idxdata/streams/stream_file_reader.h"
#include "idxdata/tables/file_record_cursor.h"
#include "idxdata/tables/folder_table.h"
#include "idxdata/tables/owner_table.h"
#include "tdf/generation/folder_texts.h"
#include "text/unicode_text.h"

namespace zorel::cli {

namespace {

bool IsText(std::u16string_view text) {
    return text::IsUnicodeText(std::as_bytes(std::span(text)).data(), text.size());
}

// The files of one volume with the fate of their lines.
class CVolumeReader {
public:
    CVolumeReader(const CCatalogue::Volume& volume, ELineKind kind, COmissionList& omissions);

    LineReport Read();

private:
    struct FolderState {
        bool isRead = false;
        bool isText = false;
        bool isShortened = false;
    };

    idxdata::CSeqTableReader Open(idxdata::EIdxTable table, const idxdata::IRecord& layout);
    const FolderState& StateOf(std::int64_t folder);
    FolderState ReadState(std::int64_t folder) const;
    // Why the line of the file is missing or shortened; null when it is whole. Counts the case.
    const char* Omission(const idxdata::FileRecordView& file);
    std::u16string PathOf(const idxdata::FileRecordView& file) const;
    // Key lines use the low 32 bits of an index.
    std::int64_t FolderOf(const idxdata::FileRecordView& file) const {
        return m_isKeys ? static_cast<std::uint32_t>(file.dirIndex) : file.dirIndex;
    }

    std::u16string m_volume;
    bool m_isKeys;
    COmissionList& m_omissions;
    std::shared_ptr<idxdata::CStreamFileReader> m_reader;
    std::optional<idxdata::CFolderTable> m_folders;
    std::optional<idxdata::COwnerTable> m_owners;
    std::vector<FolderState> m_states;  // by folder
    FolderState m_root;                 // of a volume without folders
    LineReport m_report;
};

CVolumeReader::CVolumeReader(const CCatalogue::Volume& volume, ELineKind kind,
                             COmissionList& omissions)
    : m_volume(ToUtf16(volume.name)),
      m_isKeys(kind == ELineKind::Key),
      m_omissions(omissions),
      m_reader(std::make_shared<idxdata::CStreamFileReader>()) {
    m_reader->Open(AbsolutePath(volume.dataFile));
    idxdata::CSeqTableReader folders = Open(idxdata::EIdxTableDirs, rec::CDirRecord());
    m_folders.emplace(folders);
    idxdata::CSeqTableReader owners = Open(idxdata::EIdxTableOwners, rec::COwnerRecord());
    m_owners.emplace(owners);
    m_states.resize(m_folders->Count());
    m_root = ReadState(idxdata::CFolderTable::kRoot);
}

idxdata::CSeqTableReader CVolumeReader::Open(idxdata::EIdxTable table,
                                             const idxdata::IRecord& layout) {
    m_reader->SetCurFilePos(0);
    return {m_reader, table, layout};
}

LineReport CVolumeReader::Read() {
    idxdata::CSeqTableReader table = Open(idxdata::EIdxTableFiles, rec::CFileRecord());
    idxdata::CFileRecordCursor cursor(table);
    idxdata::FileRecordView file{};
    while (cursor.Next(file)) {
        ++m_report.files;
        if (const char* const reason = Omission(file)) {
            m_omissions.Add(PathOf(file), reason);
        }
    }
    return m_report;
}

const char* CVolumeReader::Omission(const idxdata::FileRecordView& file) {
    if (!m_owners->Contains(file.ownerIndex)) {
        ++m_report.unknownOwner;
        return "no line; the owner is not in the table of owners";
    }
    const FolderState& folder = StateOf(FolderOf(file));
    if ((!m_isKeys && !folder.isText) || !text::IsUnicodeText(file.nameBytes, file.nameLength)) {
        ++m_report.notText;
        return "no line; the name or the path is not text";
    }
    if (m_isKeys && file.nameLength == 0) {
        ++m_report.emptyNames;
        return "no line; the name is empty";
    }
    if (folder.isShortened) {
        ++m_report.shortened;
        return "the line has only the folders nearest the file";
    }
    return nullptr;
}

const CVolumeReader::FolderState& CVolumeReader::StateOf(std::int64_t folder) {
    if (!m_folders->Contains(folder)) {
        return m_root;
    }
    FolderState& state = m_states[static_cast<std::size_t>(folder)];
    if (!state.isRead) {
        state = ReadState(folder);
    }
    return state;
}

CVolumeReader::FolderState CVolumeReader::ReadState(std::int64_t folder) const {
    FolderState state{true, IsText(m_volume), false};
    std::size_t count = 0;
    m_folders->WalkUp(folder, [&](std::size_t i) {
        state.isShortened = count == tdf::CFolderTexts::kMaxFolders;
        if (!state.isShortened) {
            ++count;
            state.isText = state.isText && IsText(m_folders->NameOf(i));
        }
        return !state.isShortened;
    });
    return state;
}

// A table of folders can have loops, and names of any length.
std::u16string CVolumeReader::PathOf(const idxdata::FileRecordView& file) const {
    constexpr std::size_t kMaxUnits = 1U << 16;
    std::vector<std::size_t> chain;
    std::size_t units = 0;
    m_folders->WalkUp(FolderOf(file), [&](std::size_t i) {
        units += m_folders->NameOf(i).size() + 1;
        if (units <= kMaxUnits) {
            chain.push_back(i);
        }
        return units <= kMaxUnits;
    });
    std::u16string path = m_volume + u":\\";
    m_folders->AppendPath(path, chain);
    file.AppendNameTo(path);
    return path;
}

}  // namespace

LineReport ReportLines(const CCatalogue::Volume& volume, ELineKind kind, COmissionList& omissions) {
    return WithSubject(volume.dataFile,
                       [&] { return CVolumeReader(volume, kind, omissions).Read(); });
}

}  // namespace zorel::cli
