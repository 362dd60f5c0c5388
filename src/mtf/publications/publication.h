// Publication meta-files: when something was published, and by which commands.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "automation/guid.h"
#include "mtf/publications/sparse_array.h"
#include "mtf/store/meta_file.h"

namespace mtf {

// All times are texts that other software wrote; nothing here interprets them.

struct CPubOrderingInfo {
    std::u16string localTime;
    std::u16string utcTime;

    // Reads only these two out of the file. Throws CExc.
    static std::shared_ptr<const CPubOrderingInfo> Load(std::u16string_view path);
};

struct CPubOibRef {
    std::u16string vmName;
    std::u16string backupTimeUtc;
    GUID oibUid{};  // all zero when the file gives none
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

// What a command of the type AddBSession adds.
struct CAddBSessionData {
    CSparseArray<CRetargetedOibGroup> groups;
    std::u16string backupServer;
    std::u16string jobName;
    std::u16string sessionDateUtc;
};

struct CPubCommand {
    std::u16string type;  // empty until the file gives one
    bool isAddBSession = false;
    std::unique_ptr<CAddBSessionData> addBSession;  // made at first need

    CAddBSessionData& FindOrAddBSession();
};

// A publication, read completely by Load. Shared by the reader and what it hands out; no
// locks. Nothing changes after loading, but that looking up a command may add an empty one.
struct CPublication {
    std::shared_ptr<const CPubOrderingInfo> orderingInfo;
    std::shared_ptr<CMtfMetaFile> file;
    CSparseArray<CPubCommand> commands;

    // Throws CExc for an attribute that cannot be parsed; no partial result.
    static std::shared_ptr<CPublication> Load(std::u16string_view path);
};

}  // namespace mtf
