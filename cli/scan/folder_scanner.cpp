#include "cli/scan/folder_scanner.h"

#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <limits>
#include <memory>
#include <utility>

#include "ZorelText.h"

namespace zorel::tools {

namespace {

constexpr std::size_t kOpenLevels = 16;
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;

char AsciiUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

std::string UpperCased(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), AsciiUpper);
    return text;
}

std::string HostName() {
    char name[256] = {};
    return ::gethostname(name, sizeof(name) - 1) == 0 ? name : "";
}

// Empty when the account is not known.
std::string AccountName(uid_t user) {
    std::vector<char> texts(1024);
    passwd account{};
    passwd* found = nullptr;
    while (::getpwuid_r(user, &account, texts.data(), texts.size(), &found) == ERANGE) {
        texts.resize(2 * texts.size());
    }
    return found != nullptr ? found->pw_name : "";
}

// 100-nanosecond intervals since 1601-01-01 UTC; times outside that range are cut to it.
std::int64_t ToTicks(const timespec& time) {
    constexpr std::int64_t kEpochSeconds = 11644473600;
    constexpr std::int64_t kTicksPerSecond = 10000000;
    constexpr std::int64_t kLastSecond =
        std::numeric_limits<std::int64_t>::max() / kTicksPerSecond - kEpochSeconds - 1;
    if (time.tv_sec < -kEpochSeconds) {
        return 0;
    }
    if (time.tv_sec > kLastSecond) {
        return std::numeric_limits<std::int64_t>::max();
    }
    return (time.tv_sec + kEpochSeconds) * kTicksPerSecond + time.tv_nsec / 100;
}

bool IsOutOfResources(int error) {
    return error == EMFILE || error == ENFILE || error == ENOMEM;
}

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};
using FolderStream = std::unique_ptr<DIR, CloseFolder>;

// A stream of its own over the folder, so that `descriptor` stays open after it.
FolderStream OpenStream(int descriptor) {
    CDescriptor own(::openat(descriptor, ".", kFolderFlags));
    FolderStream stream(own ? ::fdopendir(own.Get()) : nullptr);
    if (stream) {
        own.Detach();
    } else if (IsOutOfResources(errno)) {
        ThrowSystemError("Cannot read a folder", errno);
    }
    return stream;
}

// Calls `use` with each name but "." and ".." until it says no; false when the folder
// could not be read to its end.
template <class Use>
bool ForEachName(int descriptor, Use use) {
    const FolderStream stream = OpenStream(descriptor);
    if (!stream) {
        return false;
    }
    for (;;) {
        errno = 0;
        // NOLINTNEXTLINE(concurrency-mt-unsafe): the stream is this function's own.
        const dirent* entry = ::readdir(stream.get());
        if (entry == nullptr) {
            return errno == 0;
        }
        const std::string name = entry->d_name;
        if (name != "." && name != ".." && !use(name)) {
            return true;
        }
    }
}

bool IsSameFolder(int descriptor, dev_t device, ino_t inode) {
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 && status.st_dev == device && status.st_ino == inode;
}

}  // namespace

bool CatalogueFiles::Has(const std::string& name) const {
    return std::find(names.begin(), names.end(), name) != names.end();
}

CAccountOwners::CAccountOwners(CCatalogueWriter& writer)
    : m_writer(writer), m_domain(ToUtf16(UpperCased(HostName()))) {}

std::uint32_t CAccountOwners::IndexOf(uid_t user) {
    const auto known = m_indices.find(user);
    if (known != m_indices.end()) {
        return known->second;
    }
    const std::uint32_t index = m_writer.AddOwner(ToUtf16("S-1-22-1-" + std::to_string(user)),
                                                  ToUtf16(AccountName(user)), m_domain);
    m_indices.emplace(user, index);
    return index;
}

CFolderScanner::CFolderScanner(CCatalogueWriter& writer, CatalogueFiles catalogue,
                               std::function<void()> onEntry)
    : m_writer(writer),
      m_catalogue(std::move(catalogue)),
      m_onEntry(std::move(onEntry)),
      m_owners(writer) {}

void CFolderScanner::Scan(CDescriptor start) {
    Level level;
    level.descriptor = std::move(start);
    level.folder = CCatalogueWriter::kRootFolder;
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
}

void CFolderScanner::Visit(const std::string& name) {
    const Level& parent = m_levels.back();
    Level level;
    level.name = name;
    level.descriptor = CDescriptor(::openat(parent.descriptor.Get(), name.c_str(), kFolderFlags));
    if (!level.descriptor && IsOutOfResources(errno)) {
        ThrowSystemError(name, errno);
    }
    // ENOTDIR and ELOOP: something else has taken the name meanwhile.
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

void CFolderScanner::Enter(Level level) {
    struct stat status {};
    if (::fstat(level.descriptor.Get(), &status) != 0) {
        ThrowSystemError(level.name, errno);
    }
    level.device = status.st_dev;
    level.inode = status.st_ino;
    if (!m_levels.empty()) {
        if (IsCatalogue(level) && HoldsOnlyCatalogue(level)) {
            m_totals.Skip(ESkipped::CatalogueFile);
            return;
        }
        level.folder = m_writer.AddFolder(ToUtf16(level.name), m_levels.back().folder);
    }
    List(level);
    m_levels.push_back(std::move(level));
    if (m_levels.size() - m_firstOpen > kOpenLevels) {
        m_levels[m_firstOpen++].descriptor.Close();
    }
}

void CFolderScanner::Leave() {
    const Level child = std::move(m_levels.back());
    m_levels.pop_back();
    if (m_levels.empty() || m_levels.back().descriptor) {
        return;
    }
    Level& parent = m_levels.back();
    m_firstOpen = m_levels.size() - 1;
    parent.descriptor = Reopen(m_firstOpen, child);
    if (!parent.descriptor) {
        m_totals.skipped[static_cast<std::size_t>(ESkipped::Vanished)] += parent.pending.size();
        parent.pending.clear();
    }
}

// The folder of a level that was closed: the parent of its child, or else, when the
// child was moved away, what the names lead to from the start.
CDescriptor CFolderScanner::Reopen(std::size_t index, const Level& child) const {
    const Level& level = m_levels[index];
    const auto openedSame = [](const CDescriptor& found, const Level& wanted) {
        if (!found && IsOutOfResources(errno)) {
            ThrowSystemError(wanted.name, errno);
        }
        return found && IsSameFolder(found.Get(), wanted.device, wanted.inode);
    };
    if (child.descriptor) {
        CDescriptor parent(::openat(child.descriptor.Get(), "..", kFolderFlags));
        if (openedSame(parent, level)) {
            return parent;
        }
    }
    CDescriptor place(::openat(m_levels.front().descriptor.Get(), ".", kFolderFlags));
    for (std::size_t i = 1; i <= index && place; ++i) {
        place = CDescriptor(::openat(place.Get(), m_levels[i].name.c_str(), kFolderFlags));
        if (!openedSame(place, m_levels[i])) {
            place.Close();
        }
    }
    return place;
}

void CFolderScanner::List(Level& level) {
    const bool complete = ForEachName(level.descriptor.Get(), [&](const std::string& name) {
        Record(level, name);
        m_onEntry();
        return true;
    });
    if (!complete) {
        m_totals.Skip(ESkipped::UnreadableFolder);
    }
    std::sort(level.pending.begin(), level.pending.end(), std::greater<>());
    CountUnreachable(level);
}

void CFolderScanner::Record(Level& level, const std::string& name) {
    if (IsCatalogue(level) && m_catalogue.Has(name)) {
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

void CFolderScanner::RecordFile(const Level& level, const std::string& name,
                                const struct stat& status) {
    m_writer.AddFile(ToUtf16(name), level.folder, m_owners.IndexOf(status.st_uid),
                     ToTicks(status.st_mtim), status.st_size);
    m_totals.bytes += static_cast<std::uint64_t>(status.st_size);
}

void CFolderScanner::CountUnreachable(const Level& level) {
    std::vector<std::string> folded;
    for (const std::string& name : level.pending) {
        if (name.find('\\') == std::string::npos) {
            folded.push_back(UpperCased(name));
        } else {
            ++m_totals.unreachableFolders;
        }
    }
    std::sort(folded.begin(), folded.end());
    const auto last = std::unique(folded.begin(), folded.end());
    m_totals.unreachableFolders += static_cast<std::uint64_t>(folded.end() - last);
}

bool CFolderScanner::IsCatalogue(const Level& level) const {
    return level.device == m_catalogue.device && level.inode == m_catalogue.inode;
}

bool CFolderScanner::HoldsOnlyCatalogue(const Level& level) const {
    bool only = true;
    const bool complete = ForEachName(level.descriptor.Get(), [&](const std::string& name) {
        only = m_catalogue.Has(name);
        return only;
    });
    return complete && only;
}

}  // namespace zorel::tools
