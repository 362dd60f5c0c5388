// What a catalogue records of the scan of a volume: the meta-file C.scan.mtf beside C.dat
// (doc/meta-file.md).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/catalogue/temporary_file.h"

namespace zorel::cli {

struct ScanRecord {
    std::string folder;  // absolute, without symbolic links
    std::string host;
    std::string time;  // of the start, UTC: 2024-03-01T12:30:00Z
    std::int64_t milliseconds = 0;
    std::int64_t folders = 0;
    std::int64_t files = 0;
    std::int64_t bytes = 0;
    std::int64_t owners = 0;
    std::int64_t omitted = 0;          // what the scan reported as not read or not reachable
    std::vector<std::string> options;  // that limit or extend the scan: "--exclude=*.tmp"
};

// "C.scan.mtf" for "C.dat", with the same folder.
std::string ScanRecordPath(const std::string& dataFile);

// The record of the scan that wrote the data file; none when there is no record or it describes
// another content: only a kill between the two renames of a scan, or another program that
// replaces one of the files, leaves such a pair. Throws client::CError and std::system_error.
std::optional<ScanRecord> FindScanRecord(const std::string& dataFile);

// A record on its way into the catalogue. Without Commit no file is left, and the former record
// stays. The caller holds the lock of the catalogue. Failures are client::CError, CCommandError
// and std::system_error with the path of the record or the content.
class CScanRecordWriter {
public:
    // Writes the record of the data file, whose content is complete at `content`.
    CScanRecordWriter(const ScanRecord& record, const std::string& dataFile,
                      const std::string& content);
    void Commit() { m_file.Commit(); }

private:
    void Write(const ScanRecord& record, const std::string& content) const;

    CTemporaryFile m_file;
};

}  // namespace zorel::cli
