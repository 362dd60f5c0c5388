// The late-bound description of every interface and record of the library. Besides the
// public header this is the only place where an interface is described.
#pragma once

#include <span>

#include "platform/interface_table.h"

namespace frame {

template <class Interface>
const platform::InterfaceTable& TableOf();

template <>
const platform::InterfaceTable& TableOf<IOibIdxLib>();
template <>
const platform::InterfaceTable& TableOf<IMtfMetaFile>();
template <>
const platform::InterfaceTable& TableOf<IMtfAttrsTree>();
template <>
const platform::InterfaceTable& TableOf<IMtfBSessionMetaFile>();
template <>
const platform::InterfaceTable& TableOf<ICatOibRefsEnumerator>();
template <>
const platform::InterfaceTable& TableOf<IMtfPublicationOrderingInfo>();
template <>
const platform::InterfaceTable& TableOf<IMtfPublicationMetaFileReader>();
template <>
const platform::InterfaceTable& TableOf<IMtfAddBSessionCmdAccessor>();
template <>
const platform::InterfaceTable& TableOf<IOibDFBrowser>();
template <>
const platform::InterfaceTable& TableOf<IOibFilesArray>();
template <>
const platform::InterfaceTable& TableOf<IOibTDFSearchTask>();
template <>
const platform::InterfaceTable& TableOf<IOibBDFSearchTask>();

// A base interface stands before the interfaces that derive from it.
std::span<const platform::InterfaceTable* const> AllInterfaceTables();
std::span<const platform::RecordDesc* const> AllRecordDescs();

}  // namespace frame
