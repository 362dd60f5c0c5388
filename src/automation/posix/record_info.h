// IRecordInfo from a record's table.
#pragma once

#include "automation/com_ptr.h"
#include "automation/interface_table.h"

namespace automation::detail {

// The description of a GUID in a VARIANT.
const RecordDesc& GuidRecord() noexcept;

// A new description object; null for a lack of memory. `desc` must outlive it.
CComPtr<IRecordInfo> NewRecordInfo(const RecordDesc& desc) noexcept;

// Whether a VT_RECORD variant with this description holds the record `desc`. A null
// description matches every record.
bool DescribesRecord(IRecordInfo* info, const RecordDesc& desc) noexcept;

}  // namespace automation::detail
