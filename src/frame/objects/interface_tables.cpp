#include "frame/objects/interface_tables.h"

#include <array>
#include <cstddef>

// These take the name in the table and the member from the same word.
#define ZOREL_FIELD(Record, member) \
    automation::Field<decltype(Record::member)>(u"" #member, offsetof(Record, member))
#define ZOREL_METHOD(Interface, method, ...) \
    automation::Method<&Interface::method>(u"" #method __VA_OPT__(, ) __VA_ARGS__)
#define ZOREL_PROPERTY(Interface, property, ...) \
    automation::PropertyGet<&Interface::get_##property>(u"" #property, __VA_ARGS__)

namespace frame {

namespace {

using automation::FieldDesc;
using automation::In;
using automation::InterfaceTable;
using automation::Out;
using automation::RecordDesc;
using automation::Retval;
using automation::Unspecified;

constexpr DISPID kFirstId = 0x60020000;
// For methods of an interface that derives from another interface of the library.
constexpr DISPID kFirstDerivedId = 0x60030000;

// The major version of the type library that the two families of interfaces load.
constexpr std::uint16_t kMainLibrary = 1;
constexpr std::uint16_t kMetaLibrary = 5;

// ----- Records ------------------------------------------------------------------

constexpr FieldDesc kFileTimeFields[] = {
    ZOREL_FIELD(_FILETIME, dwLowDateTime),
    ZOREL_FIELD(_FILETIME, dwHighDateTime),
};
constexpr FieldDesc kSearchSpecFields[] = {
    ZOREL_FIELD(SearchSpec, rootPath),
    ZOREL_FIELD(SearchSpec, FileNamePattern),
    ZOREL_FIELD(SearchSpec, Owner),
    ZOREL_FIELD(SearchSpec, UseTimeLimits),
    ZOREL_FIELD(SearchSpec, ModifyTimeFrom),
    ZOREL_FIELD(SearchSpec, ModifyTimeTill),
    ZOREL_FIELD(SearchSpec, UseSizeLimits),
    ZOREL_FIELD(SearchSpec, SizeFrom),
    ZOREL_FIELD(SearchSpec, SizeTill),
    ZOREL_FIELD(SearchSpec, UseSearchServerRule),
    ZOREL_FIELD(SearchSpec, UnrestrictedExtentions),
};
constexpr FieldDesc kSearchResultFields[] = {
    ZOREL_FIELD(SearchResult, FileFullName),
    ZOREL_FIELD(SearchResult, ModifyTime),
    ZOREL_FIELD(SearchResult, Size),
    ZOREL_FIELD(SearchResult, Owner),
};
constexpr FieldDesc kOibFileInfoFields[] = {
    ZOREL_FIELD(OibFileInfo, FileName),
    ZOREL_FIELD(OibFileInfo, ModifyTime),
    ZOREL_FIELD(OibFileInfo, Size),
    ZOREL_FIELD(OibFileInfo, Owner),
};

constexpr RecordDesc kFileTime = {u"_FILETIME", &GUID_Record_FILETIME, sizeof(_FILETIME),
                                  kFileTimeFields};
constexpr RecordDesc kSearchSpec = {u"SearchSpec", &GUID_SearchSpec, sizeof(SearchSpec),
                                    kSearchSpecFields};
constexpr RecordDesc kSearchResult = {u"SearchResult", &GUID_SearchResult, sizeof(SearchResult),
                                      kSearchResultFields};
constexpr RecordDesc kOibFileInfo = {u"OibFileInfo", &GUID_OibFileInfo, sizeof(OibFileInfo),
                                     kOibFileInfoFields};

}  // namespace

}  // namespace frame

namespace automation {

template <>
struct RecordTraits<_FILETIME> {
    static constexpr const RecordDesc& kDesc = frame::kFileTime;
};
template <>
struct RecordTraits<SearchSpec> {
    static constexpr const RecordDesc& kDesc = frame::kSearchSpec;
};
template <>
struct RecordTraits<SearchResult> {
    static constexpr const RecordDesc& kDesc = frame::kSearchResult;
};
template <>
struct RecordTraits<OibFileInfo> {
    static constexpr const RecordDesc& kDesc = frame::kOibFileInfo;
};

}  // namespace automation

namespace frame {

namespace {

// ----- The library object -------------------------------------------------------

// Unspecified directions are kept for compatibility: for late-bound clients LoadPublication
// returns its reader in an ordinary argument, not as a return value.
constexpr auto kOibIdxLibMethods = automation::Methods(
    kFirstId,
    ZOREL_METHOD(IOibIdxLib, InitLogging, Unspecified(u"logPath"), Unspecified(u"bSkipSecure")),
    ZOREL_METHOD(IOibIdxLib, CreateMetaFile, In(u"metaFilePath"), In(u"openMode"),
                 Retval(u"ppMetaFile")),
    ZOREL_METHOD(IOibIdxLib, IsMetaFileExists, In(u"metaFilePath"), Retval(u"pbFileExists")),
    ZOREL_METHOD(
        IOibIdxLib, GenerateOibTDFs, Unspecified(u"binIndexFile"), Unspecified(u"outpFolder"),
        Unspecified(u"txtDateTime"), Unspecified(u"recsNumPerTxt"), Unspecified(u"bCrcMode"),
        Unspecified(u"subfoldersMax"), Unspecified(u"additionalParts"), Unspecified(u"separators")),
    ZOREL_METHOD(IOibIdxLib, FindInOibTDF, In(u"dataFile"), In(u"rootPath"), In(u"searchStr"),
                 Retval(u"ppResult")),
    ZOREL_METHOD(IOibIdxLib, ParseOibTDFName, Unspecified(u"txtHierarchyFileName"),
                 Unspecified(u"ppOwnerDomain"), Unspecified(u"ppOwnerName")),
    ZOREL_METHOD(IOibIdxLib, ConvetrPathToCrcStr, In(u"folderPath"), Unspecified(u"subfoldersMax"),
                 Retval(u"retStr")),
    ZOREL_METHOD(IOibIdxLib, FindInOibTDF2, In(u"dataFile"), In(u"srchSpec"),
                 Retval(u"pSearchTask")),
    ZOREL_METHOD(IOibIdxLib, BrowseOibDF, In(u"volumeFilePath"), Retval(u"pBrowser")),
    ZOREL_METHOD(IOibIdxLib, IsWildcardMatch, In(u"line"), In(u"pattern"), Retval(u"pResult")),
    ZOREL_METHOD(IOibIdxLib, FindInOibBDF, In(u"dataPath"), Retval(u"pSearchTask")),
    ZOREL_METHOD(IOibIdxLib, CreateBSessionMetaFile, In(u"metaFilePath"), In(u"openMode"),
                 Retval(u"ppMetaFile")),
    ZOREL_METHOD(IOibIdxLib, LoadPublicationOrderingInfo, In(u"pubFilePath"),
                 Retval(u"ppOrderingInfo")),
    ZOREL_METHOD(IOibIdxLib, LoadPublication, Unspecified(u"metaFilePath"),
                 Unspecified(u"ppPubReader")));

// ----- Meta-files ---------------------------------------------------------------

constexpr auto kMtfMetaFileMethods = automation::Methods(
    kFirstId, ZOREL_METHOD(IMtfMetaFile, GetRootAttrsTree, Retval(u"ppTree")),
    ZOREL_METHOD(IMtfMetaFile, CreateAttrsTree, In(u"treePath"), Retval(u"ppTree")),
    ZOREL_METHOD(IMtfMetaFile, FindAttrsTree, In(u"treePath"), Retval(u"ppTree")),
    ZOREL_METHOD(IMtfMetaFile, GetExistingAttrsTree, In(u"treePath"), Retval(u"ppTree")),
    ZOREL_METHOD(IMtfMetaFile, DelAttrsTree, In(u"treePath")),
    ZOREL_METHOD(IMtfMetaFile, SetAttr, In(u"attrPath"), In(u"attrValue")),
    ZOREL_METHOD(IMtfMetaFile, FindAttr, In(u"attrPath"), Retval(u"pAttrValue")),
    ZOREL_METHOD(IMtfMetaFile, GetExistingAttr, In(u"attrPath"), Retval(u"pAttrValue")),
    ZOREL_METHOD(IMtfMetaFile, DelAttr, In(u"attrPath")),
    ZOREL_METHOD(IMtfMetaFile, EnumAllAttrs, Retval(u"ppAttrs")),
    ZOREL_METHOD(IMtfMetaFile, PushComment, In(u"commentLine")),
    ZOREL_METHOD(IMtfMetaFile, FlushChanges), ZOREL_METHOD(IMtfMetaFile, Close));

constexpr auto kMtfAttrsTreeMethods = automation::Methods(
    kFirstId, ZOREL_METHOD(IMtfAttrsTree, EnumChildTrees, Retval(u"ppNames")),
    ZOREL_METHOD(IMtfAttrsTree, CreateSubtree, In(u"treeName"), Retval(u"ppTree")),
    ZOREL_METHOD(IMtfAttrsTree, FindSubtree, In(u"treeName"), Retval(u"ppTree")),
    ZOREL_METHOD(IMtfAttrsTree, GetExistingSubtree, In(u"treeName"), Retval(u"ppTree")),
    ZOREL_METHOD(IMtfAttrsTree, DelSubtree, In(u"treeName")),
    ZOREL_METHOD(IMtfAttrsTree, EnumChildAttrs, Retval(u"ppNames")),
    ZOREL_METHOD(IMtfAttrsTree, DelAttr, In(u"attrName")),
    ZOREL_METHOD(IMtfAttrsTree, SetAttr, In(u"attrName"), In(u"attrValue")),
    ZOREL_METHOD(IMtfAttrsTree, FindAttr, In(u"attrName"), Retval(u"pAttrValue")),
    ZOREL_METHOD(IMtfAttrsTree, GetExistingAttr, In(u"attrName"), Retval(u"pAttrValue")));

constexpr auto kMtfBSessionMetaFileMethods = automation::Methods(
    kFirstId, ZOREL_METHOD(IMtfBSessionMetaFile, DeleteOibRef, In(u"pOibId")),
    ZOREL_METHOD(IMtfBSessionMetaFile, EnumOibsRefs, Retval(u"ppEnumerator")),
    ZOREL_METHOD(IMtfBSessionMetaFile, FlushChanges), ZOREL_METHOD(IMtfBSessionMetaFile, Close));

constexpr auto kCatOibRefsEnumeratorMethods = automation::Methods(
    kFirstId, ZOREL_PROPERTY(ICatOibRefsEnumerator, RefsCount, Retval(u"pCount")),
    ZOREL_METHOD(ICatOibRefsEnumerator, MoveToElem, In(u"elemIndex")),
    ZOREL_PROPERTY(ICatOibRefsEnumerator, VmName, Retval(u"pVmName")),
    ZOREL_PROPERTY(ICatOibRefsEnumerator, BackupTimeUtc, Retval(u"pBackupTimeUtc")),
    ZOREL_PROPERTY(ICatOibRefsEnumerator, UniqueId, Retval(u"pUniqueId")),
    ZOREL_METHOD(ICatOibRefsEnumerator, GetOibRef, In(u"elemIndex"), Out(u"pVmName"),
                 Out(u"pBackupTimeUtc"), Out(u"pUniqueId")));

constexpr auto kMtfPublicationOrderingInfoMethods = automation::Methods(
    kFirstId, ZOREL_PROPERTY(IMtfPublicationOrderingInfo, PubLocalTime, Retval(u"pLocalTime")),
    ZOREL_PROPERTY(IMtfPublicationOrderingInfo, PubUtcTime, Retval(u"pUtcTime")));

constexpr auto kMtfPublicationMetaFileReaderMethods = automation::Methods(
    kFirstId, ZOREL_PROPERTY(IMtfPublicationMetaFileReader, OrderingInfo, Retval(u"ppInfo")),
    ZOREL_PROPERTY(IMtfPublicationMetaFileReader, CmdCount, Retval(u"pCount")),
    ZOREL_METHOD(IMtfPublicationMetaFileReader, GetCmdType, In(u"cmdId"), Retval(u"pCmdType")),
    ZOREL_PROPERTY(IMtfPublicationMetaFileReader, AddBSessionCmdAccessor, Retval(u"ppAccessor")),
    ZOREL_PROPERTY(IMtfPublicationMetaFileReader, MetaFile, Retval(u"ppMetaFile")));

constexpr auto kMtfAddBSessionCmdAccessorMethods = automation::Methods(
    kFirstId,
    ZOREL_METHOD(IMtfAddBSessionCmdAccessor, GetRetargetedOibGroupsNum, In(u"cmdId"),
                 Retval(u"pCount")),
    ZOREL_METHOD(IMtfAddBSessionCmdAccessor, GetOibsNumInRetargetedOibGroup, In(u"cmdId"),
                 In(u"groupId"), Retval(u"pCount")),
    ZOREL_METHOD(IMtfAddBSessionCmdAccessor, GetBackupFilesNumInRetargetedOibGroup, In(u"cmdId"),
                 In(u"groupId"), Retval(u"pCount")),
    ZOREL_METHOD(IMtfAddBSessionCmdAccessor, GetOibRef, In(u"cmdId"), In(u"groupId"), In(u"oibId"),
                 Out(u"pVmName"), Out(u"pBackupTimeUtc"), Out(u"pOibId"), Out(u"pOibOrigin"),
                 Out(u"pPlatform")),
    ZOREL_METHOD(IMtfAddBSessionCmdAccessor, GetBackupFile, In(u"cmdId"), In(u"groupId"),
                 In(u"fileId"), Out(u"pBackupSrv"), Out(u"pPath"), Out(u"pModificationTimeUTC")),
    ZOREL_METHOD(IMtfAddBSessionCmdAccessor, GetBSessionInfo, In(u"cmdId"), Out(u"pJobName"),
                 Out(u"pBackupServer"), Out(u"pSessionDateUtc")));

// ----- Data files and searches --------------------------------------------------

constexpr auto kOibDFBrowserMethods = automation::Methods(
    kFirstId, ZOREL_METHOD(IOibDFBrowser, GetFolders, In(u"rootPath"), Retval(u"ppFolders")),
    ZOREL_METHOD(IOibDFBrowser, GetFiles, In(u"rootPath"), Retval(u"ppFiles")),
    ZOREL_METHOD(IOibDFBrowser, Close),
    ZOREL_METHOD(IOibDFBrowser, GetFilesEx, In(u"rootPath"), In(u"bRecursive"),
                 In(u"premittedExtentions"), Retval(u"ppFiles")));

constexpr auto kOibFilesArrayMethods = automation::Methods(
    kFirstId, ZOREL_METHOD(IOibFilesArray, GetFileInfo, In(u"index"), Retval(u"pFileInfo")),
    ZOREL_PROPERTY(IOibFilesArray, FilesCount, Retval(u"pCount")),
    ZOREL_PROPERTY(IOibFilesArray, TotalSize, Retval(u"pSize")));

constexpr auto kOibTDFSearchTaskMethods = automation::Methods(
    kFirstId, ZOREL_METHOD(IOibTDFSearchTask, GetResult, In(u"index"), Retval(u"srchResult")),
    ZOREL_PROPERTY(IOibTDFSearchTask, ResultsCount, Retval(u"pCount")));

constexpr auto kOibBDFSearchTaskMethods =
    automation::Methods(kFirstDerivedId, ZOREL_METHOD(IOibBDFSearchTask, Find, In(u"srchSpec")));

// ----- The tables ---------------------------------------------------------------

constexpr InterfaceTable kOibIdxLib = {u"IOibIdxLib", &IID_IOibIdxLib, nullptr, kMainLibrary,
                                       kOibIdxLibMethods};
constexpr InterfaceTable kMtfMetaFile = {u"IMtfMetaFile", &IID_IMtfMetaFile, nullptr, kMetaLibrary,
                                         kMtfMetaFileMethods};
constexpr InterfaceTable kMtfAttrsTree = {u"IMtfAttrsTree", &IID_IMtfAttrsTree, nullptr,
                                          kMetaLibrary, kMtfAttrsTreeMethods};
constexpr InterfaceTable kMtfBSessionMetaFile = {u"IMtfBSessionMetaFile", &IID_IMtfBSessionMetaFile,
                                                 nullptr, kMetaLibrary,
                                                 kMtfBSessionMetaFileMethods};
constexpr InterfaceTable kCatOibRefsEnumerator = {u"ICatOibRefsEnumerator",
                                                  &IID_ICatOibRefsEnumerator, nullptr, kMetaLibrary,
                                                  kCatOibRefsEnumeratorMethods};
constexpr InterfaceTable kMtfPublicationOrderingInfo = {
    u"IMtfPublicationOrderingInfo", &IID_IMtfPublicationOrderingInfo, nullptr, kMetaLibrary,
    kMtfPublicationOrderingInfoMethods};
constexpr InterfaceTable kMtfPublicationMetaFileReader = {
    u"IMtfPublicationMetaFileReader", &IID_IMtfPublicationMetaFileReader, nullptr, kMetaLibrary,
    kMtfPublicationMetaFileReaderMethods};
constexpr InterfaceTable kMtfAddBSessionCmdAccessor = {
    u"IMtfAddBSessionCmdAccessor", &IID_IMtfAddBSessionCmdAccessor, nullptr, kMetaLibrary,
    kMtfAddBSessionCmdAccessorMethods};
constexpr InterfaceTable kOibDFBrowser = {u"IOibDFBrowser", &IID_IOibDFBrowser, nullptr,
                                          kMainLibrary, kOibDFBrowserMethods};
constexpr InterfaceTable kOibFilesArray = {u"IOibFilesArray", &IID_IOibFilesArray, nullptr,
                                           kMainLibrary, kOibFilesArrayMethods};
constexpr InterfaceTable kOibTDFSearchTask = {u"IOibTDFSearchTask", &IID_IOibTDFSearchTask, nullptr,
                                              kMainLibrary, kOibTDFSearchTaskMethods};
constexpr InterfaceTable kOibBDFSearchTask = {u"IOibBDFSearchTask", &IID_IOibBDFSearchTask,
                                              &kOibTDFSearchTask, kMainLibrary,
                                              kOibBDFSearchTaskMethods};

constexpr const InterfaceTable* kTables[] = {&kOibIdxLib,
                                             &kMtfMetaFile,
                                             &kMtfAttrsTree,
                                             &kMtfBSessionMetaFile,
                                             &kCatOibRefsEnumerator,
                                             &kMtfPublicationOrderingInfo,
                                             &kMtfPublicationMetaFileReader,
                                             &kMtfAddBSessionCmdAccessor,
                                             &kOibDFBrowser,
                                             &kOibFilesArray,
                                             &kOibTDFSearchTask,
                                             &kOibBDFSearchTask};
constexpr const RecordDesc* kRecords[] = {&kFileTime, &kSearchSpec, &kSearchResult, &kOibFileInfo};

}  // namespace

template <>
const InterfaceTable& TableOf<IOibIdxLib>() {
    return kOibIdxLib;
}
template <>
const InterfaceTable& TableOf<IMtfMetaFile>() {
    return kMtfMetaFile;
}
template <>
const InterfaceTable& TableOf<IMtfAttrsTree>() {
    return kMtfAttrsTree;
}
template <>
const InterfaceTable& TableOf<IMtfBSessionMetaFile>() {
    return kMtfBSessionMetaFile;
}
template <>
const InterfaceTable& TableOf<ICatOibRefsEnumerator>() {
    return kCatOibRefsEnumerator;
}
template <>
const InterfaceTable& TableOf<IMtfPublicationOrderingInfo>() {
    return kMtfPublicationOrderingInfo;
}
template <>
const InterfaceTable& TableOf<IMtfPublicationMetaFileReader>() {
    return kMtfPublicationMetaFileReader;
}
template <>
const InterfaceTable& TableOf<IMtfAddBSessionCmdAccessor>() {
    return kMtfAddBSessionCmdAccessor;
}
template <>
const InterfaceTable& TableOf<IOibDFBrowser>() {
    return kOibDFBrowser;
}
template <>
const InterfaceTable& TableOf<IOibFilesArray>() {
    return kOibFilesArray;
}
template <>
const InterfaceTable& TableOf<IOibTDFSearchTask>() {
    return kOibTDFSearchTask;
}
template <>
const InterfaceTable& TableOf<IOibBDFSearchTask>() {
    return kOibBDFSearchTask;
}

std::span<const InterfaceTable* const> AllInterfaceTables() {
    return kTables;
}

std::span<const RecordDesc* const> AllRecordDescs() {
    return kRecords;
}

}  // namespace frame
