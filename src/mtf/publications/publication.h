// Publication meta-files: the time of a publication and its commands.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "automation/guid.h"
#include "mtf/publications/sparse_array.h"
#include "mtf/store/meta_file.h"

namespace mtf {

// All times are texts from the file and are not interpreted.

struct CPubOrderingInfo {
    std::u16string localTime;
    std::u16string utcTime;

    // Reads only these two values from the file. Throws CExc.
    static std::shared_ptr<const CPubOrderingInfo> Load(std::u16string_view path);
};

struct CPubOibRef {
    std::u16string vmName;
    std::u16string backupTimeUtc;
    GUID oibUid{};  // zero when the file has none
    std::u16string platform;
    std::u16string origin;
};

struct CPubBackupFile {
    std::u16string server;
    std::u16string path;
    std::u16string modifyDateUtc;
};

struct CRetargetedOibGroup {
    CSparseArray<CPubOibRef> oibs;
    CSparseArray<CPubBackupFile> backupFiles;
};

// The data of a command of type AddBSession.
struct CAddBSessionData {
    CSparseArray<CRetargetedOibGroup> groups;
    std::u16string backupServer;
    std::u16string jobName;
    std::u16string sessionDateUtc;
};

struct CPubCommand {
    std::u16string type;  // empty when the file has none
    bool isAddBSession = false;
    std::unique_ptr<CAddBSessionData> addBSession;  // created on first use

    CAddBSessionData& FindOrAddBSession();
};

// A publication, read completely by Load. Shared by the reader and the objects that it
// returns; no locks. After loading it changes only when a lookup adds an empty command.
struct CPublication {
    std::shared_ptr<const CPubOrderingInfo> orderingInfo;
    std::shared_ptr<CMtfMetaFile> file;
    CSparseArray<CPubCommand> commands;

    // Throws CExc for an attribute that cannot be parsed; no partial result.
    static std::shared_ptr<CPublication> Load(std::u16string_view path);
};

}  // namespace mtf
