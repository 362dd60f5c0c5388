#include "mtf/publications/co_mtf_add_bsession_cmd_accessor.h"

#include <array>

#include "automation/bstr.h"

namespace coClasses {

namespace {

// Keys and positions are unsigned; negative numbers are converted.
std::uint64_t Unsigned(INT number) {
    return static_cast<std::uint64_t>(std::int64_t{number});
}

struct TextOut {
    std::u16string_view text;
    BSTR* out;
};

// Returns all texts, or none when memory runs out.
template <std::size_t kCount>
void ReturnTexts(const TextOut (&texts)[kCount]) {
    std::array<automation::CBstr, kCount> copies;
    for (std::size_t i = 0; i < kCount; ++i) {
        copies[i].Reset(automation::NewBstr(texts[i].text));
    }
    for (std::size_t i = 0; i < kCount; ++i) {
        *texts[i].out = copies[i].Detach();
    }
}

}  // namespace

mtf::CAddBSessionData& CCoMtfAddBSessionCmdAccessor::Session(INT cmdId) {
    return m_publication->commands.GetOrCreate(Unsigned(cmdId)).FindOrAddBSession();
}

mtf::CRetargetedOibGroup& CCoMtfAddBSessionCmdAccessor::Group(INT cmdId, INT groupId) {
    return Session(cmdId).groups.At(Unsigned(groupId));
}

HRESULT CCoMtfAddBSessionCmdAccessor::GetRetargetedOibGroupsNum(INT cmdId, INT* pCount) {
    return Locked([&]() -> HRESULT {
        if (pCount == nullptr) {
            return E_INVALIDARG;
        }
        *pCount = static_cast<INT>(Session(cmdId).groups.Count());
        return S_OK;
    });
}

HRESULT CCoMtfAddBSessionCmdAccessor::GetOibsNumInRetargetedOibGroup(INT cmdId, INT groupId,
                                                                     INT* pCount) {
    return Locked([&]() -> HRESULT {
        if (pCount == nullptr) {
            return E_INVALIDARG;
        }
        *pCount = static_cast<INT>(Group(cmdId, groupId).oibs.Count());
        return S_OK;
    });
}

HRESULT CCoMtfAddBSessionCmdAccessor::GetBackupFilesNumInRetargetedOibGroup(INT cmdId, INT groupId,
                                                                            INT* pCount) {
    return Locked([&]() -> HRESULT {
        if (pCount == nullptr) {
            return E_INVALIDARG;
        }
        *pCount = static_cast<INT>(Group(cmdId, groupId).backupFiles.Count());
        return S_OK;
    });
}

HRESULT CCoMtfAddBSessionCmdAccessor::GetOibRef(INT cmdId, INT groupId, INT oibId, BSTR* pVmName,
                                                BSTR* pBackupTimeUtc, GUID* pOibId,
                                                BSTR* pOibOrigin, BSTR* pPlatform) {
    return Locked([&]() -> HRESULT {
        if (frame::AnyNull(pVmName, pBackupTimeUtc, pOibId, pOibOrigin, pPlatform)) {
            return E_INVALIDARG;
        }
        const mtf::CPubOibRef& oib = Group(cmdId, groupId).oibs.At(Unsigned(oibId));
        ReturnTexts({{oib.vmName, pVmName},
                     {oib.backupTimeUtc, pBackupTimeUtc},
                     {oib.origin, pOibOrigin},
                     {oib.platform, pPlatform}});
        *pOibId = oib.oibUid;
        return S_OK;
    });
}

HRESULT CCoMtfAddBSessionCmdAccessor::GetBackupFile(INT cmdId, INT groupId, INT fileId,
                                                    BSTR* pBackupSrv, BSTR* pPath,
                                                    BSTR* pModificationTimeUTC) {
    return Locked([&]() -> HRESULT {
        if (frame::AnyNull(pBackupSrv, pPath, pModificationTimeUTC)) {
            return E_INVALIDARG;
        }
        const mtf::CPubBackupFile& file = Group(cmdId, groupId).backupFiles.At(Unsigned(fileId));
        ReturnTexts({{file.server, pBackupSrv},
                     {file.path, pPath},
                     {file.modifyDateUtc, pModificationTimeUTC}});
        return S_OK;
    });
}

HRESULT CCoMtfAddBSessionCmdAccessor::GetBSessionInfo(INT cmdId, BSTR* pJobName,
                                                      BSTR* pBackupServer, BSTR* pSessionDateUtc) {
    return Locked([&]() -> HRESULT {
        if (frame::AnyNull(pJobName, pBackupServer, pSessionDateUtc)) {
            return E_INVALIDARG;
        }
        const mtf::CAddBSessionData& session = Session(cmdId);
        ReturnTexts({{session.jobName, pJobName},
                     {session.backupServer, pBackupServer},
                     {session.sessionDateUtc, pSessionDateUtc}});
        return S_OK;
    });
}

}  // namespace coClasses
