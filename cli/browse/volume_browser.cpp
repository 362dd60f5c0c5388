#include "cli/browse/volume_browser.h"

#include <algorithm>
#include <utility>

#include "cli/library/string_array.h"
#include "cli/output/text_format.h"

namespace zorel::cli {

namespace {

constexpr std::u16string_view kSeparators = u"\\/";

bool IsVolume(std::u16string_view text) {
    return text.size() == 2 && text[1] == u':' &&
           ((text[0] >= u'A' && text[0] <= u'Z') || (text[0] >= u'a' && text[0] <= u'z'));
}

}  // namespace

std::vector<std::u16string> SplitPath(std::u16string_view path) {
    std::vector<std::u16string> names;
    const bool isRooted = path.find_first_of(kSeparators) == 0;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find_first_of(kSeparators), path.size());
        if (end != 0) {
            names.emplace_back(path.substr(0, end));
        }
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    if (!isRooted && !names.empty() && IsVolume(names.front())) {
        names.erase(names.begin());
    }
    return names;
}

std::string VolumeIn(const std::string& path) {
    const std::u16string start = ToUtf16(path).substr(0, 2);
    return IsVolume(start) ? path.substr(0, 1) : std::string();
}

std::u16string JoinPath(const std::vector<std::u16string>& names) {
    std::u16string path = u"C:";
    for (const std::u16string& name : names) {
        path += u'\\';
        path += name;
    }
    return path;
}

CVolumeBrowser::CVolumeBrowser(const std::string& dataFile) : m_path(dataFile) {
    client::Check(
        client::CreateLibrary()->BrowseOibDF(client::CString::FromUtf8(dataFile), m_browser.Put()),
        m_path);
}

std::vector<std::u16string> CVolumeBrowser::Folders(const std::u16string& path) const {
    client::CStringArray folders;
    client::Check(m_browser->GetFolders(client::CString(path), folders.Put()), m_path);
    return TextsOf(folders);
}

std::vector<std::u16string> CVolumeBrowser::AllFolders(const std::u16string& path) const {
    struct Place {
        std::u16string relative;
        bool isReachable;  // false after a name that contains a separator
    };
    std::vector<std::u16string> found;
    std::vector<Place> pending = {{u"", true}};  // the next one last
    while (!pending.empty()) {
        const Place place = std::move(pending.back());
        pending.pop_back();
        const bool isStart = place.relative.empty();
        if (!isStart) {
            found.push_back(place.relative);
        }
        if (!place.isReachable) {
            continue;
        }
        std::vector<std::u16string> names = Folders(isStart ? path : path + u'\\' + place.relative);
        std::reverse(names.begin(), names.end());
        for (const std::u16string& name : names) {
            pending.push_back({isStart ? name : place.relative + u'\\' + name,
                               name.find_first_of(kSeparators) == std::u16string::npos});
        }
    }
    return found;
}

std::optional<std::vector<std::u16string>> CVolumeBrowser::Resolve(
    const std::vector<std::u16string>& names) const {
    std::vector<std::u16string> found;
    for (const std::u16string& name : names) {
        const std::u16string wanted = Folded(name);
        const std::vector<std::u16string> siblings = Folders(JoinPath(found));
        const auto folder =
            std::find_if(siblings.begin(), siblings.end(),
                         [&](const std::u16string& sibling) { return Folded(sibling) == wanted; });
        if (folder == siblings.end()) {
            return std::nullopt;
        }
        found.push_back(*folder);
    }
    return found;
}

client::CComPtr<IOibFilesArray> CVolumeBrowser::Files(
    const std::u16string& path, bool isRecursive, const std::optional<std::string>& endings) const {
    const client::CString filter =
        endings ? client::CString::FromUtf8(*endings) : client::CString();
    client::CComPtr<IOibFilesArray> files;
    client::Check(
        m_browser->GetFilesEx(client::CString(path), isRecursive ? VARIANT_TRUE : VARIANT_FALSE,
                              filter, files.Put()),
        m_path);
    return files;
}

}  // namespace zorel::cli
