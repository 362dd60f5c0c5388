#include "idxdata/tables/folder_table.h"

#include <algorithm>

#include "frame/conversions.h"
#include "frame/errors.h"

namespace idxdata {

namespace {

[[noreturn]] void ThrowBadParent(std::u16string_view path, std::int64_t record,
                                 std::int64_t parent) {
    throw frame::CExc(
        u"The parent folder index %1 of folder record %2 does not name an earlier record. "
        u"Index data file: [%3].",
        {frame::Int64ToString(parent), frame::Int64ToString(record), path}, frame::kInvalidArg);
}

}  // namespace

CFolderTable::CFolderTable(CSeqTableReader& table, EParentRule rule) {
    rec::CDirRecord record;
    for (std::int64_t index = 0; !table.IsEnd(); ++index) {
        table.ReadRecord(record);
        const std::int64_t parent = record.ParentDirIndex;
        if (rule == EParentRule::EarlierRecord && index != kRoot &&
            (parent < 0 || parent >= index)) {
            ThrowBadParent(table.Reader().GetPath(), index, parent);
        }
        m_folders.push_back({m_names.Add(record.DirName), parent});
    }
}

std::size_t CFolderTable::PathLength(std::span<const std::size_t> chain) const noexcept {
    std::size_t units = chain.size();
    for (const std::size_t folder : chain) {
        units += NameOf(folder).size();
    }
    return units;
}

void CFolderTable::AppendPath(std::u16string& path, std::span<const std::size_t> chain) const {
    path.reserve(path.size() + PathLength(chain));
    std::for_each(chain.rbegin(), chain.rend(), [&](std::size_t folder) {
        path += NameOf(folder);
        path += u'\\';
    });
}

}  // namespace idxdata
