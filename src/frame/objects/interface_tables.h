// The late-bound description of every interface and record of the library. Interfaces are
// described only here and in the public header.
#pragma once

#include <span>

#include "automation/interface_table.h"

namespace automation {

template <>
struct InterfaceTraits<IOibIdxLib> {
    static constexpr const IID& kIid = IID_IOibIdxLib;
};
template <>
struct InterfaceTraits<IMtfMetaFile> {
    static constexpr const IID& kIid = IID_IMtfMetaFile;
};
template <>
struct InterfaceTraits<IMtfAttrsTree> {
    static constexpr const IID& kIid = IID_IMtfAttrsTree;
};
template <>
struct InterfaceTraits<IMtfBSessionMetaFile> {
    static constexpr const IID& kIid = IID_IMtfBSessionMetaFile;
};
template <>
struct InterfaceTraits<ICatOibRefsEnumerator> {
    static constexpr const IID& kIid = IID_ICatOibRefsEnumerator;
};
template <>
struct InterfaceTraits<IMtfPublicationOrderingInfo> {
    static constexpr const IID& kIid = IID_IMtfPublicationOrderingInfo;
};
template <>
struct InterfaceTraits<IMtfPublicationMetaFileReader> {
    static constexpr const IID& kIid = IID_IMtfPublicationMetaFileReader;
};
template <>
struct InterfaceTraits<IMtfAddBSessionCmdAccessor> {
    static constexpr const IID& kIid = IID_IMtfAddBSessionCmdAccessor;
};
template <>
struct InterfaceTraits<IOibDFBrowser> {
    static constexpr const IID& kIid = IID_IOibDFBrowser;
};
template <>
struct InterfaceTraits<IOibFilesArray> {
    static constexpr const IID& kIid = IID_IOibFilesArray;
};
template <>
struct InterfaceTraits<IOibTDFSearchTask> {
    static constexpr const IID& kIid = IID_IOibTDFSearchTask;
};
template <>
struct InterfaceTraits<IOibBDFSearchTask> {
    static constexpr const IID& kIid = IID_IOibBDFSearchTask;
};

}  // namespace automation

namespace frame {

template <class Interface>
const automation::InterfaceTable& TableOf();

template <>
const automation::InterfaceTable& TableOf<IOibIdxLib>();
template <>
const automation::InterfaceTable& TableOf<IMtfMetaFile>();
template <>
const automation::InterfaceTable& TableOf<IMtfAttrsTree>();
template <>
const automation::InterfaceTable& TableOf<IMtfBSessionMetaFile>();
template <>
const automation::InterfaceTable& TableOf<ICatOibRefsEnumerator>();
template <>
const automation::InterfaceTable& TableOf<IMtfPublicationOrderingInfo>();
template <>
const automation::InterfaceTable& TableOf<IMtfPublicationMetaFileReader>();
template <>
const automation::InterfaceTable& TableOf<IMtfAddBSessionCmdAccessor>();
template <>
const automation::InterfaceTable& TableOf<IOibDFBrowser>();
template <>
const automation::InterfaceTable& TableOf<IOibFilesArray>();
template <>
const automation::InterfaceTable& TableOf<IOibTDFSearchTask>();
template <>
const automation::InterfaceTable& TableOf<IOibBDFSearchTask>();

// Every base interface precedes the interfaces that derive from it.
std::span<const automation::InterfaceTable* const> AllInterfaceTables();
std::span<const automation::RecordDesc* const> AllRecordDescs();

}  // namespace frame
