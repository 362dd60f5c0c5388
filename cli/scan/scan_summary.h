// The report of a scan.
#pragma once

#include <cstdint>
#include <string>

#include "cli/output/output.h"
#include "cli/scan/folder_scanner.h"

namespace zorel::cli {

struct ScanSummary {
    std::string dataFile;
    std::int64_t folders = 0;
    std::int64_t files = 0;
    std::int64_t owners = 0;
    ScanTotals totals;
};

void PrintSummary(COutput& output, const ScanSummary& summary);
// One JSON object.
void PrintSummaryAsJson(COutput& output, const ScanSummary& summary);

}  // namespace zorel::cli
