#pragma once

#include "frame/objects/com_object.h"

namespace coClasses {

// The library object: the only class that clients create. Its only state is its lock. Each
// method converts its arguments, calls one engine and converts the result. As the inner
// object of an aggregate, its interfaces delegate their IUnknown methods to the outer object;
// Inner() is the non-delegating IUnknown.
class CCoOibIdxLib final : public frame::CCoObject<IOibIdxLib> {
public:
    explicit CCoOibIdxLib(IUnknown* outer) noexcept;

    // The non-delegating IUnknown. The first reference of a new object is released through it.
    IUnknown* Inner() noexcept { return &m_inner; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    HRESULT STDMETHODCALLTYPE InitLogging(BSTR logPath, VARIANT_BOOL bSkipSecure) override;
    HRESULT STDMETHODCALLTYPE CreateMetaFile(BSTR metaFilePath, INT openMode,
                                             IMtfMetaFile** ppMetaFile) override;
    HRESULT STDMETHODCALLTYPE IsMetaFileExists(BSTR metaFilePath,
                                               VARIANT_BOOL* pbFileExists) override;
    HRESULT STDMETHODCALLTYPE GenerateOibTDFs(BSTR binIndexFile, BSTR outpFolder,
                                              _FILETIME txtDateTime, INT recsNumPerTxt,
                                              VARIANT_BOOL bCrcMode, INT subfoldersMax,
                                              INT additionalParts, BSTR separators) override;
    HRESULT STDMETHODCALLTYPE FindInOibTDF(BSTR dataFile, BSTR rootPath, BSTR searchStr,
                                           SAFEARRAY** ppResult) override;
    HRESULT STDMETHODCALLTYPE ParseOibTDFName(BSTR txtHierarchyFileName, BSTR* ppOwnerDomain,
                                              BSTR** ppOwnerName) override;
    HRESULT STDMETHODCALLTYPE ConvetrPathToCrcStr(BSTR folderPath, INT subfoldersMax,
                                                  BSTR* retStr) override;
    HRESULT STDMETHODCALLTYPE FindInOibTDF2(BSTR dataFile, SearchSpec* srchSpec,
                                            IOibTDFSearchTask** pSearchTask) override;
    HRESULT STDMETHODCALLTYPE BrowseOibDF(BSTR volumeFilePath, IOibDFBrowser** pBrowser) override;
    HRESULT STDMETHODCALLTYPE IsWildcardMatch(BSTR line, BSTR pattern,
                                              VARIANT_BOOL* pResult) override;
    HRESULT STDMETHODCALLTYPE FindInOibBDF(BSTR dataPath, IOibBDFSearchTask** pSearchTask) override;
    HRESULT STDMETHODCALLTYPE CreateBSessionMetaFile(BSTR metaFilePath, INT openMode,
                                                     IMtfBSessionMetaFile** ppMetaFile) override;
    HRESULT STDMETHODCALLTYPE LoadPublicationOrderingInfo(
        BSTR pubFilePath, IMtfPublicationOrderingInfo** ppOrderingInfo) override;
    HRESULT STDMETHODCALLTYPE LoadPublication(BSTR metaFilePath,
                                              IMtfPublicationMetaFileReader** ppPubReader) override;

private:
    class CInner final : public IUnknown {
    public:
        explicit CInner(CCoOibIdxLib& object) noexcept : m_object(object) {}
        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
        ULONG STDMETHODCALLTYPE AddRef() override { return m_object.InnerAddRef(); }
        ULONG STDMETHODCALLTYPE Release() override { return m_object.InnerRelease(); }

    private:
        CCoOibIdxLib& m_object;
    };

    CInner m_inner;
    IUnknown* m_outer;  // the IUnknown that the interfaces delegate to; not reference-counted
};

}  // namespace coClasses
