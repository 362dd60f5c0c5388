// IDispatch for an object whose interface has a table. On Linux the table itself describes the
// interface; on Windows the type library that the table names does.
#pragma once

#include "automation/interface_table.h"

namespace automation {

// The four methods of IDispatch. `self` is the object's interface that `table` describes.
HRESULT DispatchGetTypeInfoCount(const InterfaceTable& table, UINT* count);
HRESULT DispatchGetTypeInfo(const InterfaceTable& table, UINT index, LCID locale, ITypeInfo** info);
HRESULT DispatchGetIDsOfNames(const InterfaceTable& table, REFIID reserved, LPOLESTR* names,
                              UINT count, LCID locale, DISPID* ids);
HRESULT DispatchInvoke(const InterfaceTable& table, IDispatch* self, DISPID id, REFIID reserved,
                       LCID locale, WORD flags, DISPPARAMS* params, VARIANT* result,
                       EXCEPINFO* exception, UINT* badArgument);

}  // namespace automation
