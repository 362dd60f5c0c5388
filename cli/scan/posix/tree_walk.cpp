#include "cli/scan/posix/tree_walk.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "ZorelText.h"
#include "cli/output/calendar.h"
#include "cli/output/text_format.h"

namespace zorel::cli {

namespace {

constexpr std::size_t kMaxOpenLevels = 16;

}  // namespace

CTreeWalk::CTreeWalk(CDataFileWriter& writer, const CatalogueFiles& catalogue,
                     std::function<void()> onEntry)
    : m_writer(writer),
      m_catalogue(IdOf(OpenFolder(catalogue.folder), catalogue.folder)),
      m_catalogueNames(catalogue.names),
      m_onEntry(std::move(onEntry)),
      m_owners(writer) {}

ScanTotals CTreeWalk::Run(CDescriptor start) {
    Level level;
    level.descriptor = std::move(start);
    Enter(std::move(level));
    while (!m_levels.empty()) {
        std::vector<std::string>& pending = m_levels.back().pending;
        if (pending.empty()) {
            Leave();
        } else {
            const std::string name = std::move(pending.back());
            pending.pop_back();
            Visit(name);
        }
    }
    return m_totals;
}

void CTreeWalk::Visit(const std::string& name) {
    const Level& parent = m_levels.back();
    Level level;
    level.name = name;
    level.descriptor = OpenSubfolder(parent.descriptor.Get(), name.c_str());
    if (!level.descriptor && IsOutOfResources(errno)) {
        ThrowSystemError(name, errno);
    }
    // ENOTDIR and ELOOP: the folder was replaced after it was listed.
    if (!level.descriptor && (errno == ENOENT || errno == ENOTDIR || errno == ELOOP)) {
        m_totals.Skip(ESkipped::Vanished);
    } else if (!level.descriptor) {
        m_writer.AddFolder(ToUtf16(name), parent.folder);
        m_totals.Skip(ESkipped::UnreadableFolder);
    } else {
        Enter(std::move(level));
    }
    m_onEntry();
}

void CTreeWalk::Enter(Level level) {
    level.id = IdOf(level.descriptor, level.name);
    if (!m_levels.empty()) {
        if (level.id == m_catalogue && ContainsOnlyCatalogue(level)) {
            m_totals.Skip(ESkipped::CatalogueFile);
            return;
        }
        level.folder = m_writer.AddFolder(ToUtf16(level.name), m_levels.back().folder);
    }
    List(level);
    m_levels.push_back(std::move(level));
    if (m_levels.size() - m_firstOpen > kMaxOpenLevels) {
        m_levels[m_firstOpen++].descriptor.Close();
    }
}

void CTreeWalk::Leave() {
    const Level child = std::move(m_levels.back());
    m_levels.pop_back();
    if (m_levels.empty() || m_levels.back().descriptor) {
        return;
    }
    Level& parent = m_levels.back();
    m_firstOpen = m_levels.size() - 1;
    parent.descriptor = Reopen(m_firstOpen, child);
    if (!parent.descriptor) {
        m_totals.Skip(ESkipped::Vanished, parent.pending.size());
        parent.pending.clear();
    }
}

// Opens the folder of a level that was closed: the parent of its child or, when the child
// was moved, the folder that the names lead to from the start.
CDescriptor CTreeWalk::Reopen(std::size_t index, const Level& child) const {
    const Level& level = m_levels[index];
    const auto openedSame = [](const CDescriptor& found, const Level& wanted) {
        if (!found && IsOutOfResources(errno)) {
            ThrowSystemError(wanted.name, errno);
        }
        return found && IdOf(found, wanted.name) == wanted.id;
    };
    if (child.descriptor) {
        CDescriptor parent = OpenSubfolder(child.descriptor.Get(), "..");
        if (openedSame(parent, level)) {
            return parent;
        }
    }
    CDescriptor place = OpenSubfolder(m_levels.front().descriptor.Get(), ".");
    for (std::size_t i = 1; i <= index && place; ++i) {
        place = OpenSubfolder(place.Get(), m_levels[i].name.c_str());
        if (!openedSame(place, m_levels[i])) {
            place.Close();
        }
    }
    return place;
}

void CTreeWalk::List(Level& level) {
    const bool isComplete = ForEachName(level.descriptor.Get(), [&](const std::string& name) {
        Record(level, name);
        m_onEntry();
        return true;
    });
    if (!isComplete) {
        m_totals.Skip(ESkipped::UnreadableFolder);
    }
    std::sort(level.pending.begin(), level.pending.end(), std::greater<>());
    CountUnreachable(level);
}

void CTreeWalk::Record(Level& level, const std::string& name) {
    if (level.id == m_catalogue && IsCatalogueName(name)) {
        m_totals.Skip(ESkipped::CatalogueFile);
        return;
    }
    struct stat status {};
    if (::fstatat(level.descriptor.Get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        m_totals.Skip(errno == ENOENT ? ESkipped::Vanished : ESkipped::UnreadableEntry);
        return;
    }
    switch (status.st_mode & S_IFMT) {
        case S_IFREG:
            RecordFile(level, name, status);
            break;
        case S_IFDIR:
            level.pending.push_back(name);
            break;
        case S_IFLNK:
            m_totals.Skip(ESkipped::SymbolicLink);
            break;
        case S_IFSOCK:
            m_totals.Skip(ESkipped::Socket);
            break;
        case S_IFIFO:
            m_totals.Skip(ESkipped::Fifo);
            break;
        default:
            m_totals.Skip(ESkipped::Device);
    }
}

void CTreeWalk::RecordFile(const Level& level, const std::string& name, const struct stat& status) {
    m_file.FileName = ToUtf16(name);
    m_file.DirIndex = level.folder;
    m_file.OwnerIndex = m_owners.IndexOf(status.st_uid);
    m_file.ModifyTime = ToTicks(status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
    m_file.Size = status.st_size;
    m_writer.AddFile(m_file);
    m_totals.bytes += static_cast<std::uint64_t>(status.st_size);
}

void CTreeWalk::CountUnreachable(const Level& level) {
    std::vector<std::u16string> folded;
    for (const std::string& name : level.pending) {
        if (name.find('\\') == std::string::npos) {
            folded.push_back(Folded(ToUtf16(name)));
        } else {
            ++m_totals.unreachableFolders;
        }
    }
    std::sort(folded.begin(), folded.end());
    const auto last = std::unique(folded.begin(), folded.end());
    m_totals.unreachableFolders += static_cast<std::uint64_t>(folded.end() - last);
}

bool CTreeWalk::IsCatalogueName(const std::string& name) const {
    return std::find(m_catalogueNames.begin(), m_catalogueNames.end(), name) !=
           m_catalogueNames.end();
}

bool CTreeWalk::ContainsOnlyCatalogue(const Level& level) const {
    bool isOnly = true;
    const bool isComplete = ForEachName(level.descriptor.Get(), [&](const std::string& name) {
        isOnly = IsCatalogueName(name);
        return isOnly;
    });
    return isComplete && isOnly;
}

}  // namespace zorel::cli
