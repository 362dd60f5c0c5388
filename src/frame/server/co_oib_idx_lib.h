#pragma once

#include "frame/objects/com_object.h"

namespace coClasses {

// The library object: the one class that clients create. Holds nothing but its lock; each
// method is a frame around one engine call. May be the inner object of an aggregate: then
// its interfaces delegate their IUnknown to the outer object, and Inner() is the object's
// own.
class CCoOibIdxLib final : public frame::CCoObject<IOibIdxLib> {
public:
    explicit CCoOibIdxLib(IUnknown* outer) noexcept;

    // The IUnknown that owns the object; the one reference it is born with belongs to it.
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
    IUnknown* m_outer;  // whose IUnknown the object's interfaces show; not counted
};

}  // namespace coClasses
