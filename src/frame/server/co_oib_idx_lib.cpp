#include "frame/server/co_oib_idx_lib.h"

#include "automation/bstr.h"
#include "frame/automation_conversions.h"
#include "frame/conversions.h"
#include "frame/errors.h"
#include "frame/logging/log_writers.h"
#include "idxdata/browser/co_oib_df_browser.h"
#include "mtf/publications/co_mtf_publication_meta_file_reader.h"
#include "mtf/publications/co_mtf_publication_ordering_info.h"
#include "mtf/sessions/co_mtf_bsession_meta_file.h"
#include "mtf/tree/co_mtf_meta_file.h"
#include "tdf/binary_search/co_oib_bdf_search_task.h"
#include "tdf/generation/tdf_generator.h"
#include "tdf/naming/crc_path.h"
#include "tdf/text_search/co_oib_tdf_search_task.h"

namespace coClasses {

namespace {

constexpr OLECHAR kProgId[] = {u'Z', u'o', u'r', u'e', u'l', u'O', u'i', u'b', u'I', u'd',
                               u'x', u'L', u'i', u'b', u'.', u'C', u'O', u'i', u'b', u'I',
                               u'd', u'x', u'L', u'i', u'b', u'.', u'5', u'\0'};

mtf::EMtfOpenMode ToOpenMode(INT mode) {
    switch (mode) {
        case EIdxMetaLoad:
            return mtf::EMtfOpenMode::EMtfLoad;
        case EIdxMetaOpenRW:
            return mtf::EMtfOpenMode::EMtfOpenRW;
        case EIdxMetaCreateNewDetached:
            return mtf::EMtfOpenMode::EMtfCreateNewDetached;
        default:
            throw frame::CExc(u"Unknown meta-file open mode: %1.", {frame::IntToString(mode)},
                              E_FAIL);
    }
}

}  // namespace

CCoOibIdxLib::CCoOibIdxLib(IUnknown* outer) noexcept
    : CCoObject(IID_IOibIdxLib, kProgId),
      m_inner(*this),
      m_outer(outer != nullptr ? outer : &m_inner) {}

HRESULT CCoOibIdxLib::CInner::QueryInterface(REFIID iid, void** object) {
    if (object != nullptr && iid == IID_IUnknown) {
        *object = static_cast<IUnknown*>(this);
        AddRef();
        return S_OK;
    }
    return m_object.InnerQueryInterface(iid, object);
}

HRESULT CCoOibIdxLib::QueryInterface(REFIID iid, void** object) {
    return m_outer->QueryInterface(iid, object);
}

ULONG CCoOibIdxLib::AddRef() {
    return m_outer->AddRef();
}
ULONG CCoOibIdxLib::Release() {
    return m_outer->Release();
}

HRESULT CCoOibIdxLib::InitLogging(BSTR logPath, VARIANT_BOOL bSkipSecure) {
    return Locked([&]() -> HRESULT {
        if (logPath == nullptr) {
            return E_INVALIDARG;
        }
        frame::CLogger& logger = frame::ProcessLogger();
        logger.SetWriter(std::make_shared<frame::CBackupStyleFileLogWriter>(
            std::u16string(automation::TextOf(logPath))));
        logger.SetSkipSecure(bSkipSecure != VARIANT_FALSE);
        return S_OK;
    });
}

HRESULT CCoOibIdxLib::CreateMetaFile(BSTR metaFilePath, INT openMode, IMtfMetaFile** ppMetaFile) {
    return Locked([&]() -> HRESULT {
        if (metaFilePath == nullptr || ppMetaFile == nullptr) {
            return E_INVALIDARG;
        }
        return ReturnMetaFile(
            mtf::CMtfOpenedMetaFile::Open(automation::TextOf(metaFilePath), ToOpenMode(openMode)),
            ppMetaFile);
    });
}

HRESULT CCoOibIdxLib::IsMetaFileExists(BSTR metaFilePath, VARIANT_BOOL* pbFileExists) {
    return Locked([&]() -> HRESULT {
        if (metaFilePath == nullptr || pbFileExists == nullptr) {
            return E_INVALIDARG;
        }
        *pbFileExists =
            frame::ToVariantBool(mtf::CMtfMetaFile::Exists(automation::TextOf(metaFilePath)));
        return S_OK;
    });
}

HRESULT CCoOibIdxLib::GenerateOibTDFs(BSTR binIndexFile, BSTR outpFolder, _FILETIME txtDateTime,
                                      INT recsNumPerTxt, VARIANT_BOOL bCrcMode, INT subfoldersMax,
                                      INT additionalParts, BSTR separators) {
    return Locked([&]() -> HRESULT {
        tdf::TdfSettings settings;
        settings.binIndexFile = automation::TextOf(binIndexFile);
        settings.outpFolder = automation::TextOf(outpFolder);
        settings.txtDateTime = static_cast<std::int64_t>(
            std::uint64_t{txtDateTime.dwHighDateTime} << 32 | txtDateTime.dwLowDateTime);
        settings.recsNumPerTxt = recsNumPerTxt;
        settings.bCrcMode = bCrcMode != VARIANT_FALSE;
        settings.subfoldersMax = subfoldersMax;
        settings.additionalParts = additionalParts;
        settings.separators = automation::TextOf(separators);
        tdf::GenerateTextDataFiles(settings);
        return S_OK;
    });
}

HRESULT CCoOibIdxLib::FindInOibTDF(BSTR dataFile, BSTR rootPath, BSTR searchStr,
                                   SAFEARRAY** ppResult) {
    return Locked([&]() -> HRESULT {
        if (ppResult == nullptr) {
            return E_POINTER;
        }
        tdf::CTextDataSearcher searcher;
        searcher.Search(automation::TextOf(dataFile), automation::TextOf(rootPath),
                        automation::TextOf(searchStr));
        const text::CLineStore& lines = searcher.GetResults();
        *ppResult = frame::StringsToSafeArray(lines.size(), [&](std::size_t i) {
                        return lines[i];
                    }).Detach();
        return S_OK;
    });
}

// Kept for compatibility: E_NOTIMPL for all arguments.
HRESULT CCoOibIdxLib::ParseOibTDFName(BSTR, BSTR*, BSTR**) {
    return Locked([] { return E_NOTIMPL; });
}

HRESULT CCoOibIdxLib::ConvetrPathToCrcStr(BSTR folderPath, INT subfoldersMax, BSTR* retStr) {
    return Locked([&]() -> HRESULT {
        if (retStr != nullptr) {
            *retStr = automation::NewBstr(
                tdf::ConvertPathToCrc(automation::TextOf(folderPath), subfoldersMax));
        }
        return S_OK;
    });
}

HRESULT CCoOibIdxLib::FindInOibTDF2(BSTR dataFile, SearchSpec* srchSpec,
                                    IOibTDFSearchTask** pSearchTask) {
    return Locked([&]() -> HRESULT {
        if (dataFile == nullptr || srchSpec == nullptr) {
            return E_INVALIDARG;
        }
        const auto task = frame::CreateInstance<CCoOibTDFSearchTask>(
            u"Instance of the CCoOibTDFSearchTask() cannot be initialized.",
            automation::TextOf(dataFile), *srchSpec);
        frame::ReturnInterface(task, pSearchTask);
        return S_OK;
    });
}

HRESULT CCoOibIdxLib::BrowseOibDF(BSTR volumeFilePath, IOibDFBrowser** pBrowser) {
    return Locked([&]() -> HRESULT {
        if (volumeFilePath == nullptr || pBrowser == nullptr) {
            return E_INVALIDARG;
        }
        const auto browser = frame::CreateInstance<CCoOibDFBrowser>(
            u"Instance of the CCoOibDFBrowser() cannot be initialized.",
            automation::TextOf(volumeFilePath));
        frame::ReturnInterface(browser, pBrowser);
        return S_OK;
    });
}

HRESULT CCoOibIdxLib::IsWildcardMatch(BSTR line, BSTR pattern, VARIANT_BOOL* pResult) {
    return Locked([&]() -> HRESULT {
        if (line == nullptr || pattern == nullptr || pResult == nullptr) {
            return E_INVALIDARG;
        }
        *pResult = frame::ToVariantBool(tdf::CTextDataSearcher::IsWildcardMatch(
            automation::TextOf(line), automation::TextOf(pattern)));
        return S_OK;
    });
}

HRESULT CCoOibIdxLib::FindInOibBDF(BSTR dataPath, IOibBDFSearchTask** pSearchTask) {
    return Locked([&]() -> HRESULT {
        if (dataPath == nullptr) {
            return E_INVALIDARG;
        }
        const auto task = frame::CreateInstance<CCoOibBDFSearchTask>(
            u"Instance of the CCoOibBDFSearchTask() cannot be initialized.",
            automation::TextOf(dataPath));
        frame::ReturnInterface(task, pSearchTask);
        return S_OK;
    });
}

HRESULT CCoOibIdxLib::CreateBSessionMetaFile(BSTR metaFilePath, INT openMode,
                                             IMtfBSessionMetaFile** ppMetaFile) {
    return Locked([&]() -> HRESULT {
        if (metaFilePath == nullptr || ppMetaFile == nullptr) {
            return E_INVALIDARG;
        }
        const auto object = frame::CreateInstance<CCoMtfBSessionMetaFile>(
            u"Instance of the CCoMtfBSessionMetaFile cannot be initialized.",
            mtf::CBSessionMetaFile::Open(automation::TextOf(metaFilePath), ToOpenMode(openMode)));
        return frame::ReturnInterface(object, ppMetaFile);
    });
}

HRESULT CCoOibIdxLib::LoadPublicationOrderingInfo(BSTR pubFilePath,
                                                  IMtfPublicationOrderingInfo** ppOrderingInfo) {
    return Locked([&]() -> HRESULT {
        if (pubFilePath == nullptr) {
            return E_INVALIDARG;
        }
        return ReturnOrderingInfo(mtf::CPubOrderingInfo::Load(automation::TextOf(pubFilePath)),
                                  ppOrderingInfo);
    });
}

HRESULT CCoOibIdxLib::LoadPublication(BSTR metaFilePath,
                                      IMtfPublicationMetaFileReader** ppPubReader) {
    return Locked([&]() -> HRESULT {
        if (metaFilePath == nullptr || ppPubReader == nullptr) {
            return E_INVALIDARG;
        }
        // The class in the message is wrong. Kept for compatibility.
        const auto reader = frame::CreateInstance<CCoMtfPublicationMetaFileReader>(
            u"Instance of the CCoMtfAddBSessionCmdAccessor cannot be initialized.",
            mtf::CPublication::Load(automation::TextOf(metaFilePath)));
        return frame::ReturnInterface(reader, ppPubReader);
    });
}

}  // namespace coClasses
