#include "tdf/generation/volume_generator.h"

#include <array>
#include <exception>

#include "frame/errors.h"
#include "frame/file_system.h"
#include "text/unicode_text.h"
#include "text/unit_writer.h"

namespace tdf {

namespace {

// The bytes of a record beside its texts.
constexpr std::uint64_t kFolderSize = 4 + 8;
constexpr std::uint64_t kOwnerSize = 4 + 4 + 4;
constexpr std::uint64_t kFileSize = 4 + 8 + 4 + 8 + 8;

[[noreturn]] void FailShort() {
    throw frame::CExc(u"The specified size is out of the buffer boundary.", frame::kFail);
}

// Sees that the records of a table lie within the file: a reader gives zeros behind its
// end, which must not become lines.
class CTableGuard {
public:
    explicit CTableGuard(const idxdata::CSeqTableReader& table)
        : m_left(table.Reader().Remaining()) {}

    // A record with `units` code units of text and `fixed` other bytes was read.
    void Pass(std::uint64_t fixed, std::uint64_t units) {
        const std::uint64_t bytes = fixed + 2 * units;
        if (bytes > m_left) {
            FailShort();
        }
        m_left -= bytes;
    }

private:
    std::uint64_t m_left;  // bytes
};

void PutReversed(text::CUnitWriter& out, std::u16string_view text) noexcept {
    for (std::size_t i = text.size(); i > 0; --i) {
        out.Put(text[i - 1]);
    }
}

}  // namespace

void CVolumeGenerator::Run(std::u16string_view dataFile) {
    m_reader = std::make_shared<idxdata::CFileReader>();
    m_reader->Open(dataFile);
    ReadFolders();
    ReadOwners();
    m_folderTexts.emplace(
        m_folders, m_volumeName,
        m_settings.bCrcMode ? std::optional(m_settings.subfoldersMax) : std::nullopt);
    COwnerFiles files(
        m_owners,
        {m_settings.outpFolder, m_volumeName, m_settings.txtDateTime, m_settings.recsNumPerTxt},
        m_limits);
    // After a failure the lines written so far are saved as well.
    const auto saveLines = [&] {
        try {
            files.CloseAll();
        } catch (const frame::CExc&) {
        } catch (const std::exception&) {
        }
    };
    try {
        ReadFiles(files);
        WriteOwnersMap(files);
    } catch (const frame::CExc&) {
        saveLines();
        throw;
    } catch (const std::exception&) {
        saveLines();
        throw;
    }
    files.CloseAll();
}

idxdata::CSeqTableReader CVolumeGenerator::OpenTable(idxdata::EIdxTable table,
                                                     const idxdata::IRecord& layout) {
    m_reader->SetCurFilePos(0);
    idxdata::CSeqTableReader opened(m_reader, table, layout);
    // A header that ends with its file would read as that of an empty table.
    m_reader->SetCurFilePos(m_reader->GetCurFilePos() - std::int64_t{sizeof(std::int64_t)});
    if (m_reader->ReadLongLong() != opened.RecordCount()) {
        FailShort();
    }
    return opened;
}

void CVolumeGenerator::ReadFolders() {
    rec::CDirRecord record;
    idxdata::CSeqTableReader table = OpenTable(idxdata::EIdxTableDirs, record);
    CTableGuard guard(table);
    while (!table.IsEnd()) {
        table.ReadRecord(record);
        guard.Pass(kFolderSize, record.DirName.size());
        m_folders.Add(record.DirName, record.ParentDirIndex);
    }
}

void CVolumeGenerator::ReadOwners() {
    rec::COwnerRecord record;
    idxdata::CSeqTableReader table = OpenTable(idxdata::EIdxTableOwners, record);
    CTableGuard guard(table);
    while (!table.IsEnd()) {
        table.ReadRecord(record);
        guard.Pass(kOwnerSize,
                   record.OwnerId.size() + record.OwnerName.size() + record.OwnerDomain.size());
        m_owners.Add(record);
    }
    m_owners.FindSharedLabels();
}

void CVolumeGenerator::ReadFiles(COwnerFiles& files) {
    idxdata::CSeqTableReader table = OpenTable(idxdata::EIdxTableFiles, rec::CFileRecord());
    CTableGuard guard(table);
    idxdata::CFileRecordCursor cursor(table);
    idxdata::FileRecordView record{};
    for (std::int64_t index = 0; cursor.Next(record); ++index) {
        guard.Pass(kFileSize, record.nameLength);
        if (record.ownerIndex < m_owners.Count()) {
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
    const std::size_t maxUnits =
        CRecordPrefixFormatter::kMaxUnits + folder.text.size() + record.nameLength;
    text::TextStatistics survey = text::CollectTextStatistics(record.nameBytes, record.nameLength);
    survey += folder.survey;
    files.PutLine(record.ownerIndex, maxUnits, [&](std::byte* line) {
        text::CUnitWriter out(line);
        out.Skip(m_recordPrefix.Write(record.modifyTime, record.size, line));
        survey.units += out.Count();  // ASCII only
        out.Put(folder.text);
        out.Put(record.nameBytes, record.nameLength);
        const bool passes = survey.Passes() || text::LooksLikeUtf16Text(line, out.Count());
        return passes ? out.Count() : 0;
    });
}

void CVolumeGenerator::WriteKeyLines(COwnerFiles& files, const idxdata::FileRecordView& record,
                                     std::int64_t index) {
    if (!text::LooksLikeUtf16Text(record.nameBytes, record.nameLength)) {
        return;
    }
    // Key lines use the low 32 bits of the index only.
    const std::u16string_view fingerprint =
        m_folderTexts->TextOf(static_cast<std::uint32_t>(record.dirIndex), index).text;
    m_name.clear();
    record.AppendNameTo(m_name);
    m_keyNames.Cut(m_name);
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
        map.WriteWord(u'\uFEFF');
        for (std::size_t owner = 0; owner < m_owners.Count(); ++owner) {
            map.WriteTextString(m_owners.MapLineOf(owner));
        }
        map.Close();
    });
}

}  // namespace tdf
