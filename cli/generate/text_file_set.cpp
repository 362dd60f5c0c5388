#include "cli/generate/text_file_set.h"

#include <algorithm>
#include <cctype>
#include <exception>
#include <system_error>
#include <utility>

#include "ZorelText.h"
#include "cli/catalogue/replacement.h"
#include "cli/command_line/command_error.h"
#include "cli/generate/text_file_name.h"

namespace zorel::cli {

namespace {

namespace fs = std::filesystem;

// In a work folder. The last two exist only while the files of a run replace earlier ones, and
// never together.
constexpr const char* kNew = "new";            // the files of the run
constexpr const char* kEarlier = "earlier";    // files from the output folder, to be restored
constexpr const char* kReplaced = "replaced";  // the same files, to be removed

constexpr std::string_view kWorkPrefix = ".oibidx-";

// Calls `body`(std::error_code&) and throws its failure with the path.
template <class Body>
void Check(const fs::path& path, Body body) {
    std::error_code error;
    body(error);
    if (error) {
        throw std::system_error(error, path.string());
    }
}

void Rename(const fs::path& from, const fs::path& to) {
    Check(to, [&](std::error_code& error) { fs::rename(from, to, error); });
}

void CreateFolders(const fs::path& path) {
    Check(path, [&](std::error_code& error) { fs::create_directories(path, error); });
}

void Sync(const fs::path& folder) {
    SyncFolder(folder.string(), folder.string());
}

bool Exists(const fs::path& path) {
    return fs::exists(fs::symlink_status(path));
}

// Calls `use` with each entry of the folder.
template <class Use>
void ForEachEntry(const fs::path& folder, Use use) {
    Check(folder, [&](std::error_code& error) {
        for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
             entry.increment(error)) {
            use(*entry);
        }
    });
}

std::set<std::string> NamesIn(const fs::path& folder) {
    std::set<std::string> names;
    ForEachEntry(folder, [&](const fs::directory_entry& entry) {
        names.insert(entry.path().filename().string());
    });
    return names;
}

void MoveAll(const fs::path& from, const fs::path& to) {
    if (!Exists(from)) {
        return;
    }
    for (const std::string& name : NamesIn(from)) {
        Rename(from / name, to / name);
    }
    Sync(to);
}

bool IsWorkFolder(std::string_view name) {
    return name.size() == kWorkPrefix.size() + 6 && name.starts_with(kWorkPrefix) &&
           std::all_of(name.begin() + kWorkPrefix.size(), name.end(),
                       [](unsigned char unit) { return std::isalnum(unit) != 0; });
}

// Completes or restores what runs that were killed have left, and removes their folders.
void Repair(const fs::path& output) {
    for (const std::string& name : NamesIn(output)) {
        const fs::path work = output / name;
        const auto lock = IsWorkFolder(name) ? CCatalogueLock::Try(work.string()) : nullptr;
        if (!lock) {
            continue;
        }
        if (Exists(work / kReplaced)) {
            MoveAll(work / kNew, output);
        } else {
            MoveAll(work / kEarlier, output);
        }
        Check(work, [&](std::error_code& error) { fs::remove_all(work, error); });
    }
}

bool IsFileOf(const std::string& volume, const std::string& name) {
    const bool isText = name.starts_with("vl." + volume + ".") && ParseTextFileName(name).owner &&
                        name.find('\\') == std::string::npos;
    return isText || name == "owners." + volume + ".map";
}

}  // namespace

CTextFileSet::CTextFileSet(fs::path output) : m_output(std::move(output)) {
    CreateFolders(m_output);
    const CCatalogueLock lock(m_output.string());
    Repair(m_output);
    m_folder.emplace((m_output / kWorkPrefix).string());
    m_work = m_folder->Path();
    m_lock = std::make_unique<CCatalogueLock>(m_work.string());
}

fs::path CTextFileSet::Folder() const {
    return m_work / kNew;
}

std::set<std::string> CTextFileSet::Names() const {
    return NamesIn(Folder());
}

void CTextFileSet::Publish(const std::vector<std::string>& volumes, bool isOldKept) {
    const std::set<std::string> names = Names();
    for (const std::string& name : names) {
        const fs::path target = m_output / name;
        SyncFile((Folder() / name).string(), target.string());
        TakeAttributes((Folder() / name).string(), target.string());
    }
    Sync(Folder());
    const CCatalogueLock lock(m_output.string());
    Repair(m_output);
    const auto delay = m_folder->DelaySignals();
    m_folder->SetKept(true);
    try {
        Replace(EarlierNames(volumes, isOldKept, names));
    } catch (const std::exception& error) {
        RestoreAfter(error, names);
        m_folder->SetKept(false);
        throw;
    }
    m_folder->SetKept(false);
}

// The files that the new ones replace.
std::vector<std::string> CTextFileSet::EarlierNames(const std::vector<std::string>& volumes,
                                                    bool isOldKept,
                                                    const std::set<std::string>& names) const {
    std::vector<std::string> earlier;
    ForEachEntry(m_output, [&](const fs::directory_entry& entry) {
        const std::string name = entry.path().filename().string();
        const bool isOld = !isOldKept && std::any_of(volumes.begin(), volumes.end(),
                                                     [&](const std::string& volume) {
                                                         return IsFileOf(volume, name);
                                                     });
        if ((isOld || names.contains(name)) && !fs::is_directory(entry.symlink_status())) {
            earlier.push_back(name);
        }
    });
    return earlier;
}

// At each moment the output folder has files of one run only. The rename of the folder kEarlier
// decides whether the next run restores the earlier files or completes the new ones.
void CTextFileSet::Replace(const std::vector<std::string>& earlier) const {
    CreateFolders(m_work / kEarlier);
    Sync(m_work);
    Sync(m_output);
    for (const std::string& name : earlier) {
        Rename(m_output / name, m_work / kEarlier / name);
    }
    Sync(m_work / kEarlier);
    Sync(m_output);
    Rename(m_work / kEarlier, m_work / kReplaced);
    Sync(m_work);
    MoveAll(Folder(), m_output);
}

void CTextFileSet::RestoreAfter(const std::exception& failure,
                                const std::set<std::string>& names) const {
    try {
        Restore(names);
    } catch (const std::exception&) {
        throw CCommandError(std::string(failure.what()) + "; the earlier files are in " +
                            m_work.string() + " until the next run restores them");
    }
}

void CTextFileSet::Restore(const std::set<std::string>& names) const {
    if (Exists(m_work / kReplaced)) {
        for (const std::string& name : names) {
            if (!Exists(Folder() / name)) {
                Rename(m_output / name, Folder() / name);
            }
        }
        Sync(Folder());
        Sync(m_output);
        Rename(m_work / kReplaced, m_work / kEarlier);
        Sync(m_work);
    }
    MoveAll(m_work / kEarlier, m_output);
}

}  // namespace zorel::cli
