#include "tdf/generation/volume_generator.h"

#include <array>
#include <exception>

#include "frame/errors.h"
#include "frame/file_system.h"
#include "text/unicode_text.h"
#include "text/unit_writer.h"

namespace tdf {

namespace {

void PutReversed(text::CUnitWriter& out, std::u16string_view text) noexcept {
    for (std::size_t i = text.size(); i > 0; --i) {
        out.Put(text[i - 1]);
    }
}

// After a failure: saves the lines written so far.
void SaveLines(COwnerFiles& files) {
    try {
        files.CloseAll();
    } catch (const std::exception&) {
    }
}

}  // namespace

void CVolumeGenerator::Run(std::u16string_view dataFile) {
    m_reader = std::make_shared<idxdata::CStreamFileReader>();
    m_reader->Open(dataFile);
    ReadTables();
    COwnerFiles files(
        *m_owners,
        {m_settings.outpFolder, m_volumeName, m_settings.txtDateTime, m_settings.recsNumPerTxt},
        m_limits);
    try {
        ReadFiles(files);
    } catch (const std::exception&) {
        SaveLines(files);
        throw;
    }
    // Before the map: a text that cannot be written is reported, and has no map.
    files.CloseAll();
    WriteOwnersMap(files);
}

idxdata::CSeqTableReader CVolumeGenerator::OpenTable(idxdata::EIdxTable table,
                                                     const idxdata::IRecord& layout) {
    m_reader->SetCurFilePos(0);
    return {m_reader, table, layout};
}

void CVolumeGenerator::ReadTables() {
    idxdata::CSeqTableReader folders = OpenTable(idxdata::EIdxTableDirs, rec::CDirRecord());
    m_folders.emplace(folders);
    idxdata::CSeqTableReader owners = OpenTable(idxdata::EIdxTableOwners, rec::COwnerRecord());
    m_owners.emplace(owners);
    m_folderTexts.emplace(
        *m_folders, m_volumeName,
        m_settings.bCrcMode ? std::optional(m_settings.subfoldersMax) : std::nullopt);
}

void CVolumeGenerator::ReadFiles(COwnerFiles& files) {
    idxdata::CSeqTableReader table = OpenTable(idxdata::EIdxTableFiles, rec::CFileRecord());
    idxdata::CFileRecordCursor cursor(table);
    idxdata::FileRecordView record{};
    for (std::int64_t index = 0; cursor.Next(record); ++index) {
        if (record.ownerIndex < m_owners->Count()) {
            WriteRecord(files, record, index);
        }
    }
}

void CVolumeGenerator::WriteRecord(COwnerFiles& files, const idxdata::FileRecordView& record,
                                   std::int64_t index) {
    files.Open(record.ownerIndex);
    if (m_settings.bCrcMode) {
        WriteKeyLines(files, record, index);
    } else {
        WriteRecordLine(files, record, index);
    }
    files.CountRecord(record.ownerIndex);
}

void CVolumeGenerator::WriteRecordLine(COwnerFiles& files, const idxdata::FileRecordView& record,
                                       std::int64_t index) {
    const CFolderTexts::Text folder = m_folderTexts->TextOf(record.dirIndex, index);
    if (!folder.isUnicode || !text::IsUnicodeText(record.nameBytes, record.nameLength)) {
        return;
    }
    const std::size_t maxUnits =
        CRecordPrefixFormatter::kMaxUnits + folder.text.size() + record.nameLength;
    files.PutLine(record.ownerIndex, maxUnits, [&](std::byte* line) {
        text::CUnitWriter out(line);
        out.Skip(m_recordPrefix.Write(record.modifyTime, record.size, line));
        out.Put(folder.text);
        out.Put(record.nameBytes, record.nameLength);
        return out.Count();
    });
}

void CVolumeGenerator::WriteKeyLines(COwnerFiles& files, const idxdata::FileRecordView& record,
                                     std::int64_t index) {
    const std::u16string_view fingerprint = m_folderTexts->TextOf(record.dirIndex, index).text;
    if (record.nameLength == 0 || !text::IsUnicodeText(record.nameBytes, record.nameLength)) {
        return;
    }
    m_name.clear();
    record.AppendNameTo(m_name);
    m_keyNames.Split(m_name);
    const std::uint32_t owner = record.ownerIndex;
    WriteKeyLine(files, owner, EKeyTag::BaseName, fingerprint, m_keyNames.Base());
    for (const EKeyTag tag : {EKeyTag::Part, EKeyTag::ReversedPart}) {
        for (const std::u16string_view part : m_keyNames.Parts()) {
            WriteKeyLine(files, owner, tag, fingerprint, part);
        }
    }
}

void CVolumeGenerator::WriteKeyLine(COwnerFiles& files, std::uint32_t owner, EKeyTag tag,
                                    std::u16string_view fingerprint, std::u16string_view text) {
    const std::u16string_view extension = m_keyNames.Extension();
    const std::size_t units = extension.size() + 3 + fingerprint.size() + 1 + text.size();
    files.PutLine(owner, units, [&](std::byte* line) {
        text::CUnitWriter out(line);
        out.Put(extension);
        out.Put(std::array{u' ', static_cast<char16_t>(tag), u'h'});
        out.Put(fingerprint);
        out.Put(u' ');
        if (tag == EKeyTag::ReversedPart) {
            PutReversed(out, text);
        } else {
            out.Put(text);
        }
        return out.Count();
    });
}

void CVolumeGenerator::WriteOwnersMap(COwnerFiles& files) {
    const std::u16string name = u"owners." + m_volumeName + u".map";
    const std::u16string shownPath = frame::CombinePath(m_settings.outpFolder, name);
    frame::WithContext(u"Failed to create owners map file. File path:[%1].", {shownPath}, [&] {
        idxdata::CFileWriter map;
        files.CreateExtraFile(map, files.PathFor(name));
        BeginText(map);
        for (std::size_t owner = 0; owner < m_owners->Count(); ++owner) {
            map.WriteTextString(m_owners->MapLineOf(owner));
        }
        map.Close();
    });
}

}  // namespace tdf
