#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "ZorelClient.h"
#include "cli/volume/volume_owners.h"

namespace zorel::cli {

// The owners of listed files as every listing prints them. The library's listing has the names of
// accounts only; where several accounts of the volume share a name, the owner comes from the file
// table. Can be used by several threads.
class CFileOwners {
public:
    // For the files below `base`, the path of a folder with a backslash at its end; `root` is its
    // start, such as u"C:\\". Throws client::CError with the path of the data file.
    CFileOwners(const std::string& dataFile, std::u16string_view root, std::u16string_view base);

    // The owner of a file with this path below the base; `name` is the name in the library's
    // listing.
    std::u16string_view TextOf(std::u16string_view relativePath, std::int64_t size,
                               std::u16string_view name) const;
    // The columns of the widest owner.
    std::size_t Width() const;

private:
    struct Name {
        std::u16string text;
        bool isShared = false;  // by owners with different texts
    };
    // A file whose owner's name is shared.
    struct File {
        std::uint64_t key;
        std::u16string_view owner;  // in m_texts

        bool operator<(const File& other) const { return key < other.key; }
    };

    void AddName(std::u16string_view name, const std::u16string& text);
    void ReadFiles(const std::string& dataFile, std::u16string_view root, std::u16string_view base);

    CVolumeOwners m_owners;
    std::vector<std::u16string> m_texts;  // by owner
    std::unordered_map<std::u16string_view, Name> m_names;
    std::vector<File> m_files;  // sorted
    bool m_hasSharedName = false;
};

}  // namespace zorel::cli
