#include "frame/version.h"

#include "frame/conversions.h"
#include "frame/errors.h"
#include "frame/file_system.h"

namespace frame {

FileVersion ParseVersion(std::u16string_view text) {
    FileVersion version;
    std::u16string_view rest = text;
    const auto refuse = [&] {
        throw CExc(u"Cannot unserialize a version string. Specified string: [%1].", {text}, kFail);
    };
    for (std::uint16_t* part :
         {&version.major, &version.minor, &version.build, &version.revision}) {
        if (part != &version.major) {
            if (!rest.starts_with(u'.')) {
                refuse();
            }
            rest.remove_prefix(1);
        }
        const std::size_t length = ReadDecimalPrefix(rest).length;
        if (length == 0) {
            refuse();
        }
        *part = static_cast<std::uint16_t>(StringToUInt(rest.substr(0, length)));
        rest.remove_prefix(length);
    }
    return version;
}

std::u16string FormatVersion(const FileVersion& version) {
    return IntToString(version.major) + u"." + IntToString(version.minor) + u"." +
           IntToString(version.build) + u"." + IntToString(version.revision);
}

FileVersion GetFileVersion(std::u16string_view path) {
    const auto read = [&] {
        FileVersion version;
        switch (platform::ReadFileVersion(path, version)) {
            case platform::EVersionStep::Done:
                break;
            case platform::EVersionStep::Size:
                throw CWin32Exc(u"Cannot obtain the size of the VERSION_INFO structure.",
                                CWin32Exc::kLastError);
            case platform::EVersionStep::Data:
                throw CWin32Exc(u"Cannot retrieve raw version information.", CWin32Exc::kLastError);
            case platform::EVersionStep::Root:
                throw CWin32Exc(u"Cannot retrieve a pointer to the VS_FIXEDFILEINFO structure.",
                                CWin32Exc::kLastError);
        }
        return version;
    };
    return WithContext(u"Cannot get file version. File path: [%1].", {path}, read);
}

}  // namespace frame
