// IRecordInfo from a record's table.
#pragma once

#include "automation/com_ptr.h"
#include "automation/interface_table.h"

namespace automation::detail {

// How a GUID travels in a VARIANT.
const RecordDesc& GuidRecord() noexcept;

// A description object of its own, any number of which may exist for one record; null
// without memory. `desc` outlives it.
CComPtr<IRecordInfo> NewRecordInfo(const RecordDesc& desc) noexcept;

// Whether a VT_RECORD variant with this description can be taken for the record `desc`; a
// null description is taken at its word.
bool DescribesRecord(IRecordInfo* info, const RecordDesc& desc) noexcept;

}  // namespace automation::detail
