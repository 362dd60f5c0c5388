// The text data files of the owners of one volume, for any number of owners.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "idxdata/streams/file_writer.h"
#include "tdf/generation/owner_queue.h"
#include "tdf/generation/tdf_owners.h"

namespace tdf {

// The settings that all text data files of a volume share.
struct OwnerFilesSettings {
    std::u16string folder;
    std::u16string volumeName;
    std::int64_t fileTimes = 0;       // ticks
    std::int32_t recordsPerFile = 0;  // one record in each file for 1 and less
};

// The resources that all files of a volume may use together.
struct OwnerFilesLimits {
    std::size_t openFiles = 224;
    std::size_t buffers = 96 * 1024 * 1024;  // bytes
    std::size_t minBuffer = 4 * 1024;
    std::size_t maxBuffer = 64 * 1024;
};

// Writes the byte-order mark to the file: on a full disk this is the write that is reported.
void BeginText(idxdata::CFileWriter& writer);

// Writes one numbered series of files for each owner. When the limits or the process's file
// handles are exhausted, it closes the files that were unused longest and reopens them when
// their owners' next lines arrive; contents and file times are preserved. Each failure to
// write is thrown as a CExc, by CloseAll at the latest. For one thread at a time.
class COwnerFiles {
public:
    // `owners` must outlive the files.
    COwnerFiles(const CTdfOwners& owners, OwnerFilesSettings settings,
                const OwnerFilesLimits& limits = {});

    // Creates the next file of the owner's series, unless one is open.
    void Open(std::uint32_t owner) {
        if (!m_states[owner].writer || !m_states[owner].writer->IsOpen()) {
            CreateNext(owner);
        }
    }
    // Writes a line to the owner's open file. `fill`(std::byte*) stores at most `maxUnits`
    // code units at an address of any alignment and returns their number; 0 writes no line.
    template <std::invocable<std::byte*> Fill>
    void PutLine(std::uint32_t owner, std::size_t maxUnits, Fill fill);
    // Counts a record and closes the file when it holds recordsPerFile records.
    void CountRecord(std::uint32_t owner) {
        const std::uint32_t records = ++m_states[owner].recordsInFile;
        if (static_cast<std::int32_t>(records) >= m_settings.recordsPerFile) {
            Complete(owner);
        }
    }
    // Closes all open files, then throws the first failure, if any.
    void CloseAll();

    // Creates a file that belongs to no owner.
    void CreateExtraFile(idxdata::CFileWriter& writer, std::u16string_view path);
    // The path of a file in the output folder. Throws CWin32Exc (123) for a name that leads
    // out of the folder or that is not valid on every system.
    std::u16string PathFor(std::u16string_view name) const;

private:
    struct State {
        std::unique_ptr<idxdata::CFileWriter> writer;
        std::uint32_t fileNumber = 0;
        std::uint32_t recordsInFile = 0;
    };

    void CreateNext(std::uint32_t owner);
    std::u16string PathOf(std::uint32_t owner) const;
    void MarkSharedLabelOpen(std::uint32_t owner);
    void MarkSharedLabelClosed(std::uint32_t owner) noexcept;
    std::byte* Reserve(std::uint32_t owner, std::size_t bytes);
    void PutLongLine(std::uint32_t owner, std::u16string_view line);
    void AcquireHandle(std::uint32_t owner);
    void AcquireBuffer(std::uint32_t owner);
    template <class OpenCall>
    void OpenWithFreeHandle(OpenCall open);
    void PauseOldest();
    void Complete(std::uint32_t owner);
    void Close(std::uint32_t owner);

    const CTdfOwners& m_owners;
    OwnerFilesSettings m_settings;
    std::size_t m_maxHandles;
    std::size_t m_bufferSize;  // bytes of one buffer
    std::size_t m_maxBuffers;
    std::vector<State> m_states;  // by owner
    COwnerQueue m_handles;        // owners whose writer holds a handle, longest unused first
    COwnerQueue m_buffers;        // owners whose writer holds a buffer, longest unused first
    // The open files of owners that share a label: (first owner, file number).
    std::set<std::pair<std::uint32_t, std::uint32_t>> m_openSharedLabels;
    std::u16string m_longLine;
};

template <std::invocable<std::byte*> Fill>
void COwnerFiles::PutLine(std::uint32_t owner, std::size_t maxUnits, Fill fill) {
    constexpr char16_t kLineEnd[] = {u'\r', u'\n'};
    idxdata::CFileWriter& writer = *m_states[owner].writer;
    const std::size_t maxBytes = 2 * maxUnits + sizeof kLineEnd;
    std::byte* const place =
        writer.HasRoom(maxBytes) ? writer.Reserve(maxBytes) : Reserve(owner, maxBytes);
    if (place == nullptr) {
        m_longLine.resize(maxUnits);
        m_longLine.resize(fill(reinterpret_cast<std::byte*>(m_longLine.data())));
        if (!m_longLine.empty()) {
            PutLongLine(owner, m_longLine);
        }
        return;
    }
    const std::size_t bytes = 2 * fill(place);
    if (bytes != 0) {
        std::memcpy(place + bytes, kLineEnd, sizeof kLineEnd);
        writer.Commit(bytes + sizeof kLineEnd);
    }
}

}  // namespace tdf
