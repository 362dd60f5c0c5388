#include "cli/volume/volume_tables.h"

#include <algorithm>
#include <cstdint>
#include <tuple>
#include <utility>

#include "ZorelClient.h"
#include "cli/command_line/paths.h"
#include "cli/output/text_format.h"
#include "frame/errors.h"

namespace zorel::cli {

namespace {

template <class Table>
Table ReadTable(const std::string& dataFile, idxdata::EIdxTable table,
                const idxdata::IRecord& layout) {
    try {
        idxdata::CSeqTableReader reader(AbsolutePath(dataFile), table, layout);
        return Table(reader);
    } catch (const frame::CExc& error) {
        throw client::CError(error.GetHResult(), dataFile, {"", ToUtf8(error.GetFullMessage())});
    }
}

constexpr bool IsSeparator(char16_t unit) {
    return unit == u'\\' || unit == u'/';
}

// Siblings with equal names have equal keys.
struct SiblingKey {
    std::int64_t parent;
    std::uint64_t name;
    std::size_t folder;

    std::pair<std::int64_t, std::uint64_t> Group() const { return {parent, name}; }
};

std::uint64_t FoldedHash(std::u16string_view text) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const char16_t unit : text) {
        const char16_t folded = unit >= u'A' && unit <= u'Z' ? unit + 0x20 : unit;
        hash = (hash ^ folded) * 0x100000001B3;
    }
    return hash;
}

std::vector<SiblingKey> SortedSiblings(const idxdata::CFolderTable& folders) {
    std::vector<SiblingKey> keys;
    keys.reserve(folders.Count());
    for (std::size_t i = 1; i < folders.Count(); ++i) {
        keys.push_back({folders.ParentOf(i), FoldedHash(folders.NameOf(i)), i});
    }
    std::sort(keys.begin(), keys.end(), [](const SiblingKey& a, const SiblingKey& b) {
        return std::tuple(a.parent, a.name, a.folder) < std::tuple(b.parent, b.name, b.folder);
    });
    return keys;
}

struct Hiding {
    std::size_t hidden;
    std::size_t by;  // the folder itself when its name contains a separator
};

// The last of the siblings from `first` to `last` whose name equals that of `first`.
using SiblingAt = std::vector<SiblingKey>::const_iterator;
std::size_t LastTwin(const idxdata::CFolderTable& folders, SiblingAt first, SiblingAt last) {
    const std::u16string name = Folded(folders.NameOf(first->folder));
    while (last != first && Folded(folders.NameOf(last->folder)) != name) {
        --last;  // another name with the same key
    }
    return last->folder;
}

std::vector<Hiding> FindHidings(const idxdata::CFolderTable& folders) {
    std::vector<Hiding> found;
    const std::vector<SiblingKey> keys = SortedSiblings(folders);
    for (auto group = keys.begin(); group != keys.end();) {
        const auto end = std::find_if(group, keys.end(), [&](const SiblingKey& key) {
            return key.Group() != group->Group();
        });
        for (; group != end; ++group) {
            const std::u16string_view name = folders.NameOf(group->folder);
            const std::size_t by =
                end - group > 1 ? LastTwin(folders, group, end - 1) : group->folder;
            const bool isCut = std::any_of(name.begin(), name.end(), IsSeparator);
            if (!name.empty() && (by != group->folder || isCut)) {
                found.push_back({group->folder, by});
            }
        }
    }
    std::sort(found.begin(), found.end(),
              [](const Hiding& a, const Hiding& b) { return a.hidden < b.hidden; });
    return found;
}

}  // namespace

idxdata::CFolderTable ReadFolderTable(const std::string& dataFile) {
    return ReadTable<idxdata::CFolderTable>(dataFile, idxdata::EIdxTableDirs, rec::CDirRecord());
}

idxdata::COwnerTable ReadOwnerTable(const std::string& dataFile) {
    return ReadTable<idxdata::COwnerTable>(dataFile, idxdata::EIdxTableOwners, rec::COwnerRecord());
}

std::u16string PathOfFolder(const idxdata::CFolderTable& folders, std::size_t folder,
                            std::u16string_view root) {
    std::vector<std::size_t> chain;
    const std::int64_t end =
        folders.WalkUp(static_cast<std::int64_t>(folder), [&](std::size_t ancestor) {
            chain.push_back(ancestor);
            return chain.size() <= folders.Count();  // a chain of parents can loop
        });
    std::u16string path;
    if (end == idxdata::CFolderTable::kRoot && !chain.empty()) {
        path = root;
        folders.AppendPath(path, chain);
        path.pop_back();
    }
    return path;
}

std::vector<HiddenFolder> FindHiddenFolders(const idxdata::CFolderTable& folders,
                                            std::u16string_view root) {
    std::vector<HiddenFolder> hidden;
    for (const Hiding& hiding : FindHidings(folders)) {
        std::u16string path = PathOfFolder(folders, hiding.hidden, root);
        const bool isTwin = hiding.by != hiding.hidden;
        std::string reason = isTwin
                                 ? "hidden by " + Printable(PathOfFolder(folders, hiding.by, root))
                                 : "its name contains a backslash, no path reaches it";
        const std::size_t units = folders.NameOf(hiding.hidden).size();
        const std::size_t nameAt = path.size() - std::min(units, path.size());
        hidden.push_back({std::move(path), nameAt, std::move(reason), isTwin});
    }
    return hidden;
}

}  // namespace zorel::cli
