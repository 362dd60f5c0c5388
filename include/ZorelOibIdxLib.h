// ZorelOibIdxLib 1.0: the interfaces, records and identifiers of the file-index
// controller, for C++17 clients on Linux and on Windows.
//
// A client creates the class COibIdxLib (on Linux through CreateOibIdxLib below, on
// Windows through CoCreateInstance) and calls IOibIdxLib; methods return all other
// objects. Methods return an HRESULT; a failure sets the error information of the
// calling thread (GetErrorInfo). The caller frees every returned string, array and
// record field. doc/interface.md describes each method.
#pragma once

#include "ZorelAutomation.h"

// ----- Identifiers ----------------------------------------------------------------

inline constexpr GUID LIBID_ZorelOibIdxLib = {
    0xb61b642b, 0xea60, 0x4c62, {0x91, 0x8f, 0x26, 0xf5, 0x4f, 0x0f, 0x81, 0x5d}};
inline constexpr CLSID CLSID_COibIdxLib = {
    0xf527d4a6, 0x8452, 0x43f4, {0x95, 0xf5, 0xdc, 0xc3, 0x2f, 0xb0, 0xdc, 0x24}};
inline constexpr GUID APPID_ZorelOibIdxLib = {
    0x472b2912, 0x7d3a, 0x44d0, {0x9c, 0xa8, 0xd3, 0xd5, 0x47, 0x5a, 0xec, 0x0a}};
inline constexpr IID IID_IOibIdxLib = {
    0x5e5c6200, 0x0e90, 0x4c90, {0xb7, 0x2a, 0xa0, 0x66, 0xa7, 0x23, 0xfd, 0x5e}};
inline constexpr IID IID_IMtfMetaFile = {
    0xf2c61ee0, 0x4209, 0x48f9, {0x8e, 0xec, 0x00, 0x56, 0xa9, 0x72, 0xdd, 0x79}};
inline constexpr IID IID_IMtfAttrsTree = {
    0xa502bffc, 0x669d, 0x41f6, {0x9c, 0xe2, 0x78, 0xdf, 0xbf, 0x00, 0x11, 0x6a}};
inline constexpr IID IID_IMtfBSessionMetaFile = {
    0x0811935f, 0x9257, 0x44b9, {0x8c, 0x78, 0x26, 0x19, 0xac, 0x0f, 0x6d, 0x42}};
inline constexpr IID IID_ICatOibRefsEnumerator = {
    0x22bf1b01, 0xcc55, 0x4e89, {0xb5, 0x2f, 0x24, 0x47, 0xbb, 0x88, 0x1b, 0x75}};
inline constexpr IID IID_IMtfPublicationOrderingInfo = {
    0xa331a1a5, 0xe8ad, 0x4254, {0x99, 0xe9, 0xce, 0x40, 0x0c, 0x78, 0xfc, 0xa6}};
inline constexpr IID IID_IMtfPublicationMetaFileReader = {
    0xe9cdc05e, 0xb36c, 0x4d51, {0x8a, 0x2c, 0x1f, 0x86, 0xe2, 0x87, 0x4b, 0x90}};
inline constexpr IID IID_IMtfAddBSessionCmdAccessor = {
    0x15dd54ff, 0x42f0, 0x4d41, {0xae, 0xc0, 0x65, 0xa7, 0x0c, 0x47, 0x93, 0x73}};
inline constexpr IID IID_IOibDFBrowser = {
    0x31d94af1, 0xb515, 0x42fa, {0xa1, 0x23, 0x7f, 0xba, 0x9a, 0x4b, 0x70, 0x2d}};
inline constexpr IID IID_IOibFilesArray = {
    0xc7c4515e, 0x2e8b, 0x459e, {0xbd, 0xae, 0x75, 0xad, 0xab, 0xc8, 0xb8, 0xcb}};
inline constexpr IID IID_IOibTDFSearchTask = {
    0xc89a1654, 0x26df, 0x4277, {0xb0, 0xee, 0x7d, 0x55, 0x3d, 0x5e, 0x9e, 0x57}};
inline constexpr IID IID_IOibBDFSearchTask = {
    0xe280ed53, 0x259e, 0x4988, {0x8a, 0xf6, 0x08, 0xcd, 0xcf, 0x37, 0xd6, 0xbf}};
inline constexpr GUID GUID_Record_FILETIME = {
    0x49caf78e, 0x0807, 0x43d0, {0x90, 0x90, 0x9a, 0x06, 0xa7, 0x6a, 0xf5, 0xa0}};
inline constexpr GUID GUID_SearchSpec = {
    0x0c1f0ba5, 0x09d6, 0x4f5f, {0x9a, 0xb1, 0x09, 0x61, 0xfc, 0x36, 0xb9, 0x76}};
inline constexpr GUID GUID_SearchResult = {
    0x74590d76, 0x2403, 0x4179, {0x82, 0x2b, 0xbf, 0xfb, 0x05, 0x9b, 0x2e, 0x0d}};
inline constexpr GUID GUID_OibFileInfo = {
    0x0c7d7e0b, 0x0247, 0x4802, {0xa8, 0x44, 0xcc, 0x2f, 0xbc, 0x4c, 0xcd, 0x51}};
inline constexpr GUID GUID_EIdxMetaOpenMode = {
    0x83cfff4d, 0xb5e2, 0x49b5, {0xb4, 0xed, 0x23, 0x03, 0x54, 0xbe, 0x4e, 0x74}};

// ----- Records and enumeration ------------------------------------------------------

// How CreateMetaFile and CreateBSessionMetaFile open a file; passed as an INT.
enum EIdxMetaOpenMode : INT {
    EIdxMetaLoad = 0,               // read an existing file and close it
    EIdxMetaOpenRW = 1,             // open or create the file and keep it open
    EIdxMetaCreateNewDetached = 2,  // start without attributes; the first flush writes the file
};

// The criteria of a search. A null string is the same as an empty one.
struct SearchSpec {
    BSTR rootPath;         // folder that contains the files
    BSTR FileNamePattern;  // wildcard pattern for the file name
    BSTR Owner;            // NAME, DOMAIN\NAME, NAME@DOMAIN or DOMAIN.NAME
    VARIANT_BOOL UseTimeLimits;
    DATE ModifyTimeFrom;  // UTC, both ends included
    DATE ModifyTimeTill;
    VARIANT_BOOL UseSizeLimits;
    LONGLONG SizeFrom;  // bytes, both ends included
    LONGLONG SizeTill;
    VARIANT_BOOL UseSearchServerRule;
    BSTR UnrestrictedExtentions;  // permitted file name suffixes, separated by ';' or ','
};

struct SearchResult {
    BSTR FileFullName;
    DATE ModifyTime;  // UTC
    LONGLONG Size;    // bytes
    BSTR Owner;
};

struct OibFileInfo {
    BSTR FileName;
    DATE ModifyTime;  // UTC
    LONGLONG Size;    // bytes
    BSTR Owner;
};

static_assert(sizeof(_FILETIME) == 8);
static_assert(sizeof(SearchSpec) == 88 && offsetof(SearchSpec, ModifyTimeFrom) == 32 &&
              offsetof(SearchSpec, SizeFrom) == 56 &&
              offsetof(SearchSpec, UnrestrictedExtentions) == 80);
static_assert(sizeof(SearchResult) == 32 && offsetof(SearchResult, Owner) == 24);
static_assert(sizeof(OibFileInfo) == 32 && offsetof(OibFileInfo, Owner) == 24);

// ----- Interfaces -------------------------------------------------------------------

// The text data file search task. The index of the first result is 0.
struct IOibTDFSearchTask : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE GetResult(INT index, SearchResult* srchResult) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ResultsCount(INT* pCount) = 0;

protected:
    ~IOibTDFSearchTask() = default;
};

// The binary data search task: each Find adds to the criteria and to the results.
struct IOibBDFSearchTask : IOibTDFSearchTask {
    virtual HRESULT STDMETHODCALLTYPE Find(SearchSpec* srchSpec) = 0;

protected:
    ~IOibBDFSearchTask() = default;
};

struct IOibFilesArray : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE GetFileInfo(ULONG index, OibFileInfo* pFileInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_FilesCount(ULONG* pCount) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_TotalSize(ULONGLONG* pSize) = 0;

protected:
    ~IOibFilesArray() = default;
};

struct IOibDFBrowser : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE GetFolders(BSTR rootPath, SAFEARRAY** ppFolders) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFiles(BSTR rootPath, IOibFilesArray** ppFiles) = 0;
    virtual HRESULT STDMETHODCALLTYPE Close() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFilesEx(BSTR rootPath, VARIANT_BOOL bRecursive,
                                                 BSTR premittedExtentions,
                                                 IOibFilesArray** ppFiles) = 0;

protected:
    ~IOibDFBrowser() = default;
};

struct IMtfAttrsTree : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE EnumChildTrees(SAFEARRAY** ppNames) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateSubtree(BSTR treeName, IMtfAttrsTree** ppTree) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindSubtree(BSTR treeName, IMtfAttrsTree** ppTree) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetExistingSubtree(BSTR treeName, IMtfAttrsTree** ppTree) = 0;
    virtual HRESULT STDMETHODCALLTYPE DelSubtree(BSTR treeName) = 0;
    virtual HRESULT STDMETHODCALLTYPE EnumChildAttrs(SAFEARRAY** ppNames) = 0;
    virtual HRESULT STDMETHODCALLTYPE DelAttr(BSTR attrName) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetAttr(BSTR attrName, BSTR attrValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindAttr(BSTR attrName, BSTR* pAttrValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetExistingAttr(BSTR attrName, BSTR* pAttrValue) = 0;

protected:
    ~IMtfAttrsTree() = default;
};

struct IMtfMetaFile : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE GetRootAttrsTree(IMtfAttrsTree** ppTree) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateAttrsTree(BSTR treePath, IMtfAttrsTree** ppTree) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindAttrsTree(BSTR treePath, IMtfAttrsTree** ppTree) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetExistingAttrsTree(BSTR treePath,
                                                           IMtfAttrsTree** ppTree) = 0;
    virtual HRESULT STDMETHODCALLTYPE DelAttrsTree(BSTR treePath) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetAttr(BSTR attrPath, BSTR attrValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindAttr(BSTR attrPath, BSTR* pAttrValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetExistingAttr(BSTR attrPath, BSTR* pAttrValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE DelAttr(BSTR attrPath) = 0;
    virtual HRESULT STDMETHODCALLTYPE EnumAllAttrs(SAFEARRAY** ppAttrs) = 0;
    virtual HRESULT STDMETHODCALLTYPE PushComment(BSTR commentLine) = 0;
    virtual HRESULT STDMETHODCALLTYPE FlushChanges() = 0;
    virtual HRESULT STDMETHODCALLTYPE Close() = 0;

protected:
    ~IMtfMetaFile() = default;
};

struct ICatOibRefsEnumerator : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE get_RefsCount(INT* pCount) = 0;
    virtual HRESULT STDMETHODCALLTYPE MoveToElem(INT elemIndex) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_VmName(BSTR* pVmName) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_BackupTimeUtc(BSTR* pBackupTimeUtc) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_UniqueId(GUID* pUniqueId) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetOibRef(INT elemIndex, BSTR* pVmName, BSTR* pBackupTimeUtc,
                                                GUID* pUniqueId) = 0;

protected:
    ~ICatOibRefsEnumerator() = default;
};

struct IMtfBSessionMetaFile : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE DeleteOibRef(GUID pOibId) = 0;
    virtual HRESULT STDMETHODCALLTYPE EnumOibsRefs(ICatOibRefsEnumerator** ppEnumerator) = 0;
    virtual HRESULT STDMETHODCALLTYPE FlushChanges() = 0;
    virtual HRESULT STDMETHODCALLTYPE Close() = 0;

protected:
    ~IMtfBSessionMetaFile() = default;
};

struct IMtfPublicationOrderingInfo : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE get_PubLocalTime(BSTR* pLocalTime) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_PubUtcTime(BSTR* pUtcTime) = 0;

protected:
    ~IMtfPublicationOrderingInfo() = default;
};

// In this interface cmdId is a command's number in the file; groupId, oibId and fileId are
// 0-based positions.
struct IMtfAddBSessionCmdAccessor : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE GetRetargetedOibGroupsNum(INT cmdId, INT* pCount) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetOibsNumInRetargetedOibGroup(INT cmdId, INT groupId,
                                                                     INT* pCount) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBackupFilesNumInRetargetedOibGroup(INT cmdId, INT groupId,
                                                                            INT* pCount) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetOibRef(INT cmdId, INT groupId, INT oibId, BSTR* pVmName,
                                                BSTR* pBackupTimeUtc, GUID* pOibId,
                                                BSTR* pOibOrigin, BSTR* pPlatform) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBackupFile(INT cmdId, INT groupId, INT fileId,
                                                    BSTR* pBackupSrv, BSTR* pPath,
                                                    BSTR* pModificationTimeUTC) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBSessionInfo(INT cmdId, BSTR* pJobName,
                                                      BSTR* pBackupServer,
                                                      BSTR* pSessionDateUtc) = 0;

protected:
    ~IMtfAddBSessionCmdAccessor() = default;
};

// In this interface cmdId is a 0-based position.
struct IMtfPublicationMetaFileReader : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE get_OrderingInfo(IMtfPublicationOrderingInfo** ppInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_CmdCount(INT* pCount) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCmdType(INT cmdId, BSTR* pCmdType) = 0;
    virtual HRESULT STDMETHODCALLTYPE
    get_AddBSessionCmdAccessor(IMtfAddBSessionCmdAccessor** ppAccessor) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_MetaFile(IMtfMetaFile** ppMetaFile) = 0;

protected:
    ~IMtfPublicationMetaFileReader() = default;
};

struct IOibIdxLib : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE InitLogging(BSTR logPath, VARIANT_BOOL bSkipSecure) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateMetaFile(BSTR metaFilePath, INT openMode,
                                                     IMtfMetaFile** ppMetaFile) = 0;
    virtual HRESULT STDMETHODCALLTYPE IsMetaFileExists(BSTR metaFilePath,
                                                       VARIANT_BOOL* pbFileExists) = 0;
    virtual HRESULT STDMETHODCALLTYPE GenerateOibTDFs(BSTR binIndexFile, BSTR outpFolder,
                                                      _FILETIME txtDateTime, INT recsNumPerTxt,
                                                      VARIANT_BOOL bCrcMode, INT subfoldersMax,
                                                      INT additionalParts, BSTR separators) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindInOibTDF(BSTR dataFile, BSTR rootPath, BSTR searchStr,
                                                   SAFEARRAY** ppResult) = 0;
    virtual HRESULT STDMETHODCALLTYPE ParseOibTDFName(BSTR txtHierarchyFileName,
                                                      BSTR* ppOwnerDomain, BSTR** ppOwnerName) = 0;
    // The misspelled name is kept for compatibility.
    virtual HRESULT STDMETHODCALLTYPE ConvetrPathToCrcStr(BSTR folderPath, INT subfoldersMax,
                                                          BSTR* retStr) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindInOibTDF2(BSTR dataFile, SearchSpec* srchSpec,
                                                    IOibTDFSearchTask** pSearchTask) = 0;
    virtual HRESULT STDMETHODCALLTYPE BrowseOibDF(BSTR volumeFilePath,
                                                  IOibDFBrowser** pBrowser) = 0;
    virtual HRESULT STDMETHODCALLTYPE IsWildcardMatch(BSTR line, BSTR pattern,
                                                      VARIANT_BOOL* pResult) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindInOibBDF(BSTR dataPath,
                                                   IOibBDFSearchTask** pSearchTask) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateBSessionMetaFile(BSTR metaFilePath, INT openMode,
                                                             IMtfBSessionMetaFile** ppMetaFile) = 0;
    virtual HRESULT STDMETHODCALLTYPE
    LoadPublicationOrderingInfo(BSTR pubFilePath, IMtfPublicationOrderingInfo** ppOrderingInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE
    LoadPublication(BSTR metaFilePath, IMtfPublicationMetaFileReader** ppPubReader) = 0;

protected:
    ~IOibIdxLib() = default;
};

// ----- Module entry points ------------------------------------------------------------

extern "C" {
#if !defined(_WIN32)
// Creates the library object without a class factory. With an `outer` object, `iid` must
// be IUnknown (otherwise CLASS_E_NOAGGREGATION). E_POINTER for a null `ppv`.
HRESULT CreateOibIdxLib(IUnknown* outer, const IID* iid, void** ppv);
HRESULT DllGetClassObject(const CLSID& clsid, const IID& iid, void** ppv);
HRESULT DllCanUnloadNow();
HRESULT DllRegisterServer();
HRESULT DllUnregisterServer();
#endif
}
