// Walks a real folder tree and puts what it finds into a catalogue.
#pragma once

#include <sys/stat.h>

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

#include "cli/scan/catalogue_writer.h"
#include "cli/scan/descriptor.h"

namespace zorel::tools {

// What a scan passes by, by kind.
enum class ESkipped : std::size_t {
    SymbolicLink,
    Socket,
    Fifo,
    Device,
    UnreadableFolder,  // recorded, but not all of its content
    UnreadableEntry,
    Vanished,       // gone between listing and reading
    CatalogueFile,  // the catalogue that is being written
    Count
};

struct ScanTotals {
    std::uint64_t bytes = 0;
    std::array<std::uint64_t, static_cast<std::size_t>(ESkipped::Count)> skipped{};
    // Recorded, but no path leads there: the name holds a backslash, or a sibling's name
    // differs only in ASCII letter case.
    std::uint64_t unreachableFolders = 0;

    void Skip(ESkipped kind) { ++skipped[static_cast<std::size_t>(kind)]; }
    std::uint64_t Skipped(ESkipped kind) const { return skipped[static_cast<std::size_t>(kind)]; }
};

// The files of the catalogue itself, which a scan leaves out.
struct CatalogueFiles {
    dev_t device = 0;
    ino_t inode = 0;  // of the catalogue's folder
    std::vector<std::string> names;

    bool Has(const std::string& name) const;
};

// The accounts of the system as owners: one record for each user that owns a file.
class CAccountOwners {
public:
    explicit CAccountOwners(CCatalogueWriter& writer);
    std::uint32_t IndexOf(uid_t user);

private:
    CCatalogueWriter& m_writer;
    std::u16string m_domain;  // the host name in capitals
    std::unordered_map<uid_t, std::uint32_t> m_indices;
};

// One scan of one tree. It follows no symbolic link, holds a bounded number of
// descriptors however deep the tree is, and goes on when entries vanish. Only a lack of
// resources fails it (std::system_error); whatever `onEntry` throws stops it too.
class CFolderScanner {
public:
    // `onEntry` is called after each entry.
    CFolderScanner(CCatalogueWriter& writer, CatalogueFiles catalogue,
                   std::function<void()> onEntry);

    // Records what stands below the open folder `start`, once for each scanner.
    void Scan(CDescriptor start);
    const ScanTotals& Totals() const { return m_totals; }

private:
    // A folder on the way from the start to the current place.
    struct Level {
        std::string name;
        CDescriptor descriptor;  // none while closed to spare descriptors
        dev_t device = 0;
        ino_t inode = 0;
        std::uint64_t folder = 0;          // index in the catalogue
        std::vector<std::string> pending;  // subfolders still to visit, the next one last
    };

    void Visit(const std::string& name);
    void Enter(Level level);
    void Leave();
    void List(Level& level);
    void Record(Level& level, const std::string& name);
    void RecordFile(const Level& level, const std::string& name, const struct stat& status);
    void CountUnreachable(const Level& level);
    bool IsCatalogue(const Level& level) const;
    bool HoldsOnlyCatalogue(const Level& level) const;
    CDescriptor Reopen(std::size_t index, const Level& child) const;

    CCatalogueWriter& m_writer;
    CatalogueFiles m_catalogue;
    std::function<void()> m_onEntry;
    CAccountOwners m_owners;
    std::vector<Level> m_levels;
    std::size_t m_firstOpen = 1;  // the start and the levels from here on are open
    ScanTotals m_totals;
};

}  // namespace zorel::tools
