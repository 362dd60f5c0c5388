#include "mtf/publications/co_mtf_publication_meta_file_reader.h"

#include "automation/bstr.h"
#include "mtf/publications/co_mtf_add_bsession_cmd_accessor.h"
#include "mtf/publications/co_mtf_publication_ordering_info.h"
#include "mtf/tree/co_mtf_meta_file.h"

namespace coClasses {

HRESULT CCoMtfPublicationMetaFileReader::get_OrderingInfo(IMtfPublicationOrderingInfo** ppInfo) {
    return Locked([&]() -> HRESULT {
        if (ppInfo == nullptr) {
            return E_INVALIDARG;
        }
        return ReturnOrderingInfo(m_publication->orderingInfo, ppInfo);
    });
}

HRESULT CCoMtfPublicationMetaFileReader::get_CmdCount(INT* pCount) {
    return Locked([&]() -> HRESULT {
        if (pCount == nullptr) {
            return E_INVALIDARG;
        }
        *pCount = static_cast<INT>(m_publication->commands.Count());
        return S_OK;
    });
}

HRESULT CCoMtfPublicationMetaFileReader::GetCmdType(INT cmdId, BSTR* pCmdType) {
    return Locked([&]() -> HRESULT {
        if (pCmdType == nullptr) {
            return E_INVALIDARG;
        }
        const auto position = static_cast<std::uint64_t>(std::int64_t{cmdId});
        *pCmdType = automation::NewBstr(m_publication->commands.At(position).type);
        return S_OK;
    });
}

HRESULT CCoMtfPublicationMetaFileReader::get_AddBSessionCmdAccessor(
    IMtfAddBSessionCmdAccessor** ppAccessor) {
    return Locked([&]() -> HRESULT {
        if (ppAccessor == nullptr) {
            return E_INVALIDARG;
        }
        const auto accessor = frame::CreateInstance<CCoMtfAddBSessionCmdAccessor>(
            u"Instance of the CCoMtfAddBSessionCmdAccessor cannot be initialized.", m_publication);
        return frame::ReturnInterface(accessor, ppAccessor);
    });
}

HRESULT CCoMtfPublicationMetaFileReader::get_MetaFile(IMtfMetaFile** ppMetaFile) {
    return Locked([&]() -> HRESULT {
        if (ppMetaFile == nullptr) {
            return E_INVALIDARG;
        }
        return ReturnMetaFile(std::make_shared<mtf::CMtfOpenedMetaFile>(m_publication->file),
                              ppMetaFile);
    });
}

}  // namespace coClasses
