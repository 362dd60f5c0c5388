#pragma once

#include <memory>

#include "frame/objects/com_object.h"
#include "mtf/publications/publication.h"

namespace coClasses {

// IMtfAddBSessionCmdAccessor over a shared publication. Here cmdId is a command's number in
// the file; an unknown one adds an empty command. Groups, references and files are
// addressed by position. Calls must not run concurrently on one publication.
class CCoMtfAddBSessionCmdAccessor final : public frame::CCoObject<IMtfAddBSessionCmdAccessor> {
public:
    explicit CCoMtfAddBSessionCmdAccessor(std::shared_ptr<mtf::CPublication> publication) noexcept
        : m_publication(std::move(publication)) {}

    HRESULT STDMETHODCALLTYPE GetRetargetedOibGroupsNum(INT cmdId, INT* pCount) override;
    HRESULT STDMETHODCALLTYPE GetOibsNumInRetargetedOibGroup(INT cmdId, INT groupId,
                                                             INT* pCount) override;
    HRESULT STDMETHODCALLTYPE GetBackupFilesNumInRetargetedOibGroup(INT cmdId, INT groupId,
                                                                    INT* pCount) override;
    HRESULT STDMETHODCALLTYPE GetOibRef(INT cmdId, INT groupId, INT oibId, BSTR* pVmName,
                                        BSTR* pBackupTimeUtc, GUID* pOibId, BSTR* pOibOrigin,
                                        BSTR* pPlatform) override;
    HRESULT STDMETHODCALLTYPE GetBackupFile(INT cmdId, INT groupId, INT fileId, BSTR* pBackupSrv,
                                            BSTR* pPath, BSTR* pModificationTimeUTC) override;
    HRESULT STDMETHODCALLTYPE GetBSessionInfo(INT cmdId, BSTR* pJobName, BSTR* pBackupServer,
                                              BSTR* pSessionDateUtc) override;

private:
    mtf::CAddBSessionData& Session(INT cmdId);
    mtf::CRetargetedOibGroup& Group(INT cmdId, INT groupId);

    std::shared_ptr<mtf::CPublication> m_publication;
};

}  // namespace coClasses
