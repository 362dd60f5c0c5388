// The listings of a volume, computed by slow, simple code that shares nothing with the library.
#pragma once

#include <algorithm>
#include <map>
#include <set>
#include <tuple>

#include "support/search_model.h"
#include "support/tdf_model.h"

namespace fuzz {

using Names = std::vector<std::u16string>;
// Name, time, size and owner.
using Listed = std::tuple<std::u16string, double, std::int64_t, std::u16string>;

// The correct answers of a browser, by a search through all rows of the volume. Folder -1
// has no content.
struct BrowserModel {
    // The last of equal names; a folder without a name is no child.
    std::map<std::u16string, std::int64_t> ChildrenOf(std::int64_t parent) const {
        std::map<std::u16string, std::int64_t> children;
        for (std::size_t i = 1; i < volume.dirs.size(); ++i) {
            if (volume.dirs[i].parent == parent && !volume.dirs[i].name.empty()) {
                children[support::Lower(volume.dirs[i].name)] = static_cast<std::int64_t>(i);
            }
        }
        return children;
    }

    // -1 for a path that does not exist.
    std::int64_t Resolve(std::u16string path) const {
        std::replace(path.begin(), path.end(), u'/', u'\\');
        std::int64_t folder = 0;
        for (auto at = path.find(u'\\'); at < path.size() && at + 1 < path.size();) {
            const auto next = std::min(path.find(u'\\', at + 1), path.size());
            const auto children = ChildrenOf(folder);
            const auto child = children.find(support::Lower(path.substr(at + 1, next - at - 1)));
            folder = child == children.end() ? -1 : child->second;
            at = folder < 0 ? path.size() : next;
        }
        return folder;
    }

    Names Folders(std::int64_t folder) const {
        Names names;
        for (const auto& [folded, child] : ChildrenOf(folder)) {
            names.push_back(volume.dirs[static_cast<std::size_t>(child)].name);
        }
        return names;
    }

    // No endings: any name.
    std::multiset<Listed> Files(std::int64_t folder, bool recursive, const Names& endings,
                                const std::u16string& prefix = {}) const {
        std::multiset<Listed> files;
        for (const support::FileRow& row : volume.files) {
            const auto fits = [&](const auto& ending) {
                return row.name.size() > ending.size() && row.name.ends_with(ending);
            };
            if (row.dir == folder &&
                (endings.empty() || std::any_of(endings.begin(), endings.end(), fits))) {
                const bool owned = row.owner < volume.owners.size();
                files.insert({prefix + row.name, *support::DateOfTicks(row.modifyTime), row.size,
                              owned ? volume.owners[row.owner].name : u""});
            }
        }
        for (const auto& [folded, child] : ChildrenOf(recursive ? folder : -1)) {
            const std::u16string& name = volume.dirs[static_cast<std::size_t>(child)].name;
            files.merge(Files(child, true, endings, prefix + name + u"\\"));
        }
        return files;
    }

    const support::Volume& volume;
};

}  // namespace fuzz
