#include "cli/scan/posix/tree_walk.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <iterator>
#include <string>
#include <system_error>
#include <utility>

#include "ZorelText.h"
#include "cli/output/calendar.h"
#include "cli/output/text_format.h"

namespace zorel::cli {

namespace {

constexpr std::size_t kMaxOpenLevels = 16;

// ENOTDIR and ELOOP: another entry replaced the folder after it was listed.
bool IsVanished(int error) {
    return error == ENOENT || error == ENOTDIR || error == ELOOP;
}

}  // namespace

CTreeWalk::CTreeWalk(CDataFileWriter& writer, const CatalogueFiles& catalogue,
                     const ScanOptions& options, ScanEvents events)
    : m_writer(writer),
      m_catalogue(IdOf(OpenFolder(catalogue.folder), catalogue.folder)),
      m_catalogueNames(catalogue.names),
      m_options(options),
      m_events(std::move(events)),
      m_owners(writer) {}

ScanTotals CTreeWalk::Run(const std::string& path, CDescriptor start) {
    Level level;
    level.name = path;
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
    return std::move(m_totals);
}

void CTreeWalk::Visit(const std::string& name) {
    Level level;
    level.name = name;
    level.descriptor = OpenSubfolder(m_levels.back().descriptor.Get(), name.c_str());
    const int error = level.descriptor ? 0 : errno;
    if (IsOutOfResources(error)) {
        ThrowSystemError(Path(name), error);
    }
    if (IsVanished(error)) {
        m_totals.Skip(ESkipped::Vanished);
    } else if (error != 0) {
        AddFolder(name);
        Omit(ESkipped::UnreadableFolder, Path(name), error);
    } else {
        Enter(std::move(level));
    }
    m_events.onEntry();
}

void CTreeWalk::Enter(Level level) {
    level.id = IdOf(level.descriptor, level.name);
    if (!m_levels.empty()) {
        if (level.id == m_catalogue && ContainsOnlyCatalogue(level)) {
            m_totals.Skip(ESkipped::CatalogueFile);
            return;
        }
        level.folder = AddFolder(level.name);
        if (!IsToEnter(level)) {
            m_totals.Skip(ESkipped::NotEntered);
            m_totals.notEntered.push_back(Path(level.name));
            return;
        }
    }
    m_levels.push_back(std::move(level));
    List();
    if (m_levels.size() - m_firstOpen > kMaxOpenLevels) {
        m_levels[m_firstOpen++].descriptor.Close();
    }
}

// A file system other than that of the parent begins in the folder: is it entered?
bool CTreeWalk::IsToEnter(const Level& level) const {
    if (level.id.device == m_levels.back().id.device) {
        return true;
    }
    return !m_options.staysOnFileSystem &&
           (m_options.entersSystemFolders ||
            !m_systemFileSystems.Contain(level.descriptor.Get(), level.id.device));
}

void CTreeWalk::Leave() {
    ReportUnreachable();
    const Level child = std::move(m_levels.back());
    m_levels.pop_back();
    if (m_levels.empty() || m_levels.back().descriptor) {
        return;
    }
    Level& parent = m_levels.back();
    m_firstOpen = m_levels.size() - 1;
    parent.descriptor = Reopen(m_firstOpen, child);
    const int error = parent.descriptor ? 0 : errno;
    if (IsVanished(error)) {
        m_totals.Skip(ESkipped::Vanished, parent.pending.size());
    } else if (error != 0 && !parent.pending.empty()) {
        Omit(ESkipped::UnreadableFolder, Path(), error);
    }
    if (error != 0) {
        parent.pending.clear();
    }
}

// Opens the folder of a level that was closed: the parent of its child or, when the child
// was moved, the folder that the names lead to from the start. None with errno on failure.
CDescriptor CTreeWalk::Reopen(std::size_t index, const Level& child) const {
    const auto isSame = [](CDescriptor& found, const Level& wanted) {
        if (!found && IsOutOfResources(errno)) {
            ThrowSystemError(wanted.name, errno);
        }
        if (found && !(IdOf(found, wanted.name) == wanted.id)) {
            found.Close();
            errno = ENOENT;
        }
        return static_cast<bool>(found);
    };
    if (child.descriptor) {
        CDescriptor parent = OpenSubfolder(child.descriptor.Get(), "..");
        if (isSame(parent, m_levels[index])) {
            return parent;
        }
    }
    CDescriptor place = OpenSubfolder(m_levels.front().descriptor.Get(), ".");
    isSame(place, m_levels.front());
    for (std::size_t i = 1; i <= index && place; ++i) {
        CDescriptor next = OpenSubfolder(place.Get(), m_levels[i].name.c_str());
        isSame(next, m_levels[i]);
        const int error = errno;
        place = std::move(next);
        errno = error;
    }
    return place;
}

void CTreeWalk::List() {
    const int error = ForEachName(m_levels.back().descriptor.Get(), [&](const std::string& name) {
        Record(name);
        m_events.onEntry();
        return true;
    });
    if (IsVanished(error)) {
        m_totals.Skip(ESkipped::Vanished);
    } else if (error != 0) {
        Omit(ESkipped::UnreadableFolder, Path(), error);
    }
    std::vector<std::string>& pending = m_levels.back().pending;
    std::sort(pending.begin(), pending.end(), std::greater<>());
}

void CTreeWalk::Record(const std::string& name) {
    Level& level = m_levels.back();
    if (level.id == m_catalogue && IsCatalogueName(name)) {
        m_totals.Skip(ESkipped::CatalogueFile);
        return;
    }
    struct stat status {};
    const bool isFound =
        ::fstatat(level.descriptor.Get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
    const int error = isFound ? 0 : errno;
    if (IsExcluded(name, S_ISDIR(status.st_mode))) {
        m_totals.Skip(ESkipped::Excluded);
        return;
    }
    if (error == ENOENT) {
        m_totals.Skip(ESkipped::Vanished);
        return;
    }
    if (error != 0) {
        Omit(ESkipped::UnreadableEntry, Path(name), error);
        return;
    }
    switch (status.st_mode & S_IFMT) {
        case S_IFREG:
            RecordFile(name, status);
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

void CTreeWalk::RecordFile(const std::string& name, const struct stat& status) {
    m_file.FileName = ToUtf16(name);
    m_file.DirIndex = m_levels.back().folder;
    m_file.OwnerIndex = m_owners.IndexOf(status.st_uid);
    m_file.ModifyTime = ToTicks(status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
    m_file.Size = status.st_size;
    m_writer.AddFile(m_file);
    m_totals.bytes += static_cast<std::uint64_t>(status.st_size);
}

std::int64_t CTreeWalk::AddFolder(const std::string& name) {
    Level& parent = m_levels.back();
    parent.recorded.push_back(name);
    return m_writer.AddFolder(ToUtf16(name), parent.folder);
}

// Of the subfolders whose names differ only in letter case, paths reach the one recorded last.
void CTreeWalk::ReportUnreachable() {
    const std::vector<std::string>& names = m_levels.back().recorded;
    const auto report = [&](const std::string& name, const std::string& reason) {
        ++m_totals.unreachableFolders;
        m_events.onOmission(Path(name), "cannot be browsed: " + reason);
    };
    std::vector<std::pair<std::u16string, std::size_t>> folded;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (names[i].find('\\') == std::string::npos) {
            folded.emplace_back(Folded(ToUtf16(names[i])), i);
        } else {
            report(names[i], "the name contains a backslash");
        }
    }
    std::sort(folded.begin(), folded.end());
    for (auto next = folded.begin(); next != folded.end();) {
        const auto first = next;
        next = std::find_if(first, folded.end(),
                            [&](const auto& other) { return other.first != first->first; });
        const std::string& visible = names[std::prev(next)->second];
        for (auto hidden = first; hidden != std::prev(next); ++hidden) {
            report(names[hidden->second], "hidden by \"" + Printable(ToUtf16(visible)) +
                                              "\", whose name differs only in letter case");
        }
    }
}

void CTreeWalk::Omit(ESkipped kind, const std::string& path, int error) {
    m_totals.Skip(kind);
    m_events.onOmission(path, std::generic_category().message(error));
}

// The path of an entry of the current folder; without a name, of this folder.
std::string CTreeWalk::Path(const std::string& name) const {
    std::string path;
    const auto append = [&](const std::string& element) {
        path += path.empty() || path.ends_with('/') || element.empty() ? "" : "/";
        path += element;
    };
    for (const Level& level : m_levels) {
        append(level.name);
    }
    append(name);
    return path;
}

bool CTreeWalk::IsExcluded(const std::string& name, bool isFolder) const {
    const CExclusions& exclusions = m_options.exclusions;
    if (exclusions.IsEmpty()) {
        return false;
    }
    std::string path;
    for (std::size_t i = 1; i < m_levels.size() && exclusions.NeedsPaths(); ++i) {
        path += m_levels[i].name + "/";
    }
    return exclusions.Matches(name, path + name, isFolder);
}

bool CTreeWalk::IsCatalogueName(const std::string& name) const {
    return std::find(m_catalogueNames.begin(), m_catalogueNames.end(), name) !=
           m_catalogueNames.end();
}

bool CTreeWalk::ContainsOnlyCatalogue(const Level& level) const {
    bool isOnly = true;
    const int error = ForEachName(level.descriptor.Get(), [&](const std::string& name) {
        isOnly = IsCatalogueName(name);
        return isOnly;
    });
    return error == 0 && isOnly;
}

}  // namespace zorel::cli
