#include "cli/browse/listing.h"

#include <algorithm>
#include <future>
#include <utility>

#include "ZorelText.h"
#include "cli/output/row_pipeline.h"
#include "cli/output/text_format.h"

namespace zorel::cli {

namespace {

// Listings with more files get columns for the widest owner of the volume and for the total size,
// because reading each file twice takes time.
constexpr ULONG kMaxMeasuredFiles = 10'000;
constexpr std::size_t kHumanSizeWidth = 7;

std::size_t DigitsOf(std::int64_t value) {
    return std::to_string(value).size();
}

// Folders, then files.
class CListingSource : public CRowSource {
public:
    CListingSource(const std::vector<std::u16string>& folders, IOibFilesArray& files,
                   const CFileOwners& owners, std::u16string base, std::string subject,
                   const RowStyle& style)
        : m_folders(folders),
          m_files(files),
          m_owners(owners),
          m_base(std::move(base)),
          m_subject(std::move(subject)),
          m_isWholePath(style.format == ERowFormat::Json),
          m_writer(style) {
        client::Check(m_files.get_FilesCount(&m_count), m_subject);
    }

    bool Fetch(RowChunk& chunk) override {
        if (!std::exchange(m_hasFolders, true)) {
            AddFolders(chunk);
            return true;
        }
        const ULONG end = m_next + std::min(static_cast<ULONG>(kRowsPerChunk), m_count - m_next);
        const bool isFound = m_next < end;
        for (; m_next < end; ++m_next) {
            client::Check(m_files.GetFileInfo(m_next, m_file.Put()), m_subject);
            AddFile(chunk);
        }
        return isFound;
    }

private:
    void AddFolders(RowChunk& chunk) {
        std::u16string path = m_base;
        FileRow row;
        row.shownAt = m_base.size();
        row.isFolder = true;
        for (const std::u16string& folder : m_folders) {
            path.resize(m_base.size());
            row.path = path += folder;
            m_writer.Append(chunk.text, row);
        }
    }

    void AddFile(RowChunk& chunk) {
        const std::u16string_view relative = client::ViewOf(m_file.FileName);
        FileRow row;
        row.path = relative;
        if (m_isWholePath) {
            chunk.keys = m_base;  // a text that keeps its memory
            row.path = chunk.keys += relative;
        }
        row.modified = m_file.ModifyTime;
        row.size = m_file.Size;
        row.owner = m_owners.TextOf(relative, m_file.Size, client::ViewOf(m_file.Owner));
        m_writer.Append(chunk.text, row);
    }

    const std::vector<std::u16string>& m_folders;
    IOibFilesArray& m_files;
    const CFileOwners& m_owners;
    std::u16string m_base;
    std::string m_subject;
    bool m_isWholePath;  // other rows show the path below the listed folder
    CRowWriter m_writer;
    client::CFileInfo m_file;
    bool m_hasFolders = false;
    ULONG m_count = 0;
    ULONG m_next = 0;
};

}  // namespace

CListing::CListing(const CCatalogue::Volume& volume, bool isRecursive,
                   std::optional<std::string> endings)
    : m_dataFile(volume.dataFile),
      m_root(ToUtf16(volume.name.substr(0, 1)) + u":\\"),
      m_isRecursive(isRecursive),
      m_endings(std::move(endings)),
      m_browser(volume.dataFile),
      m_base(m_root) {}

bool CListing::Open(const std::vector<std::u16string>& names) {
    const auto found = m_browser.Resolve(names);
    if (!found) {
        return false;
    }
    for (const std::u16string& name : *found) {
        m_base += name + u'\\';
    }
    // Both need the whole volume; the browsers belong to one thread each.
    std::future<void> folders = std::async(std::launch::async, [this] { ReadFolders(); });
    m_files = m_browser.Files(m_base, m_isRecursive, m_endings);
    folders.get();
    client::Check(m_files->get_FilesCount(&m_fileCount), m_dataFile);
    return true;
}

void CListing::ReadFolders() {
    m_owners = std::make_unique<CFileOwners>(m_dataFile, m_root, m_base);
    FindHidden();
    const CVolumeBrowser browser(m_dataFile);
    if (!m_isRecursive) {
        m_folders = browser.Folders(m_base);
    } else if (!m_endings) {
        m_folders = browser.AllFolders(m_base.substr(0, m_base.size() - 1));
    }
}

void CListing::FindHidden() {
    const std::u16string base = Folded(m_base);
    m_hidden = FindHiddenFolders(ReadFolderTable(m_dataFile), m_root);
    std::erase_if(m_hidden, [&](const HiddenFolder& folder) {
        const bool isBelow = Folded(folder.path).starts_with(base);
        const bool isChild = isBelow && folder.nameAt == base.size();
        return !(m_isRecursive ? isBelow : isChild);
    });
}

bool CListing::HasOmittedFiles() const {
    return std::any_of(m_hidden.begin(), m_hidden.end(),
                       [](const HiddenFolder& folder) { return folder.hasOmittedFiles; });
}

std::int64_t CListing::TotalSize() const {
    ULONGLONG size = 0;
    client::Check(m_files->get_TotalSize(&size), m_dataFile);
    return static_cast<std::int64_t>(size);
}

void CListing::SetWidths(RowStyle& style) const {
    style.ownerWidth = style.sizeWidth = 1;
    if (m_fileCount > kMaxMeasuredFiles) {
        style.ownerWidth = m_owners->Width();
        style.sizeWidth = style.isHuman ? kHumanSizeWidth : DigitsOf(TotalSize());
        return;
    }
    client::CFileInfo file;
    for (ULONG i = 0; i < m_fileCount; ++i) {
        client::Check(m_files->GetFileInfo(i, file.Put()), m_dataFile);
        const std::u16string_view owner =
            m_owners->TextOf(client::ViewOf(file.FileName), file.Size, client::ViewOf(file.Owner));
        style.ownerWidth = std::max(style.ownerWidth, DisplayWidth(Printable(owner)));
        style.sizeWidth = std::max(
            style.sizeWidth, style.isHuman ? HumanSize(file.Size).size() : DigitsOf(file.Size));
    }
}

void CListing::Print(COutput& output, RowStyle style) const {
    if (style.format == ERowFormat::Columns) {
        SetWidths(style);
    }
    std::vector<std::unique_ptr<CRowSource>> sources;
    sources.push_back(std::make_unique<CListingSource>(m_folders, *m_files, *m_owners, m_base,
                                                       m_dataFile, style));
    WriteInOrder(sources, [&](RowChunk& chunk) {
        output.Write(chunk.text.View());
        return true;
    });
}

}  // namespace zorel::cli
