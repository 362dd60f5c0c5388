// The text data files of a volume's owners, any number of them at a time.
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
    std::int32_t recordsPerFile = 0;  // 1 and anything below: one record in each file
};

// What all files together may take of the process.
struct OwnerFilesLimits {
    std::size_t openFiles = 224;
    std::size_t buffers = 96 * 1024 * 1024;  // bytes
    std::size_t smallestBuffer = 4 * 1024;
    std::size_t largestBuffer = 64 * 1024;
};

// Keeps one numbered series of files for each owner. Files of owners that wait are let go,
// the longest unused first, and continued later: without cutting them and with their
// times; the same happens when the process runs out of file handles. What cannot be
// written ends in a CExc, of CloseAll at the latest. One thread at a time.
class COwnerFiles {
public:
    // `owners` must outlive the files.
    COwnerFiles(const CTdfOwners& owners, OwnerFilesSettings settings,
                const OwnerFilesLimits& limits = {});

    // Sees that the owner has an open file; creates the next one of its series.
    void Open(std::uint32_t owner) {
        if (!m_states[owner].writer || !m_states[owner].writer->IsOpen()) {
            CreateNext(owner);
        }
    }
    // Writes a line to the owner's open file. `fill`(std::byte*) stores at most
    // `mostUnits` code units at any address and returns their number; 0 writes no line.
    template <std::invocable<std::byte*> Fill>
    void PutLine(std::uint32_t owner, std::size_t mostUnits, Fill fill);
    // Counts a record; the one that fills the file closes it.
    void CountRecord(std::uint32_t owner) {
        const std::uint32_t records = ++m_states[owner].recordsInFile;
        if (static_cast<std::int32_t>(records) >= m_settings.recordsPerFile) {
            Complete(owner);
        }
    }
    // Completes all open files. When some fail the first failure is thrown in the end.
    void CloseAll();

    // Creates a file beside those of the owners.
    void CreateBeside(idxdata::CFileWriter& writer, std::u16string_view path);
    // Where a file of this name lies. Throws CWin32Exc (123) for names that would lead
    // elsewhere or that not every system takes.
    std::u16string PathFor(std::u16string_view name) const;

private:
    struct State {
        std::unique_ptr<idxdata::CFileWriter> writer;
        std::uint32_t fileNumber = 0;
        std::uint32_t recordsInFile = 0;
    };

    void CreateNext(std::uint32_t owner);
    std::u16string PathOf(std::uint32_t owner) const;
    void EnterSharedLabel(std::uint32_t owner);
    void LeaveSharedLabel(std::uint32_t owner) noexcept;
    std::byte* Place(std::uint32_t owner, std::size_t bytes);
    void PutLongLine(std::uint32_t owner, std::u16string_view line);
    void NeedHandle(std::uint32_t owner);
    void NeedBuffer(std::uint32_t owner);
    template <class Opening>
    void WithRoomForHandle(Opening opening);
    void PauseFront();
    void Complete(std::uint32_t owner);
    void Close(std::uint32_t owner);

    const CTdfOwners& m_owners;
    OwnerFilesSettings m_settings;
    std::size_t m_mostHandles;
    std::size_t m_bufferSize;  // bytes of one
    std::size_t m_mostBuffers;
    std::vector<State> m_states;  // by owner
    COwnerQueue m_handles;        // owners whose writer holds one, longest unused first
    COwnerQueue m_buffers;        // the same of buffers
    // Files now open of owners that share a label: (first owner, file number).
    std::set<std::pair<std::uint32_t, std::uint32_t>> m_openSharedLabels;
    std::u16string m_longLine;
};

template <std::invocable<std::byte*> Fill>
void COwnerFiles::PutLine(std::uint32_t owner, std::size_t mostUnits, Fill fill) {
    constexpr char16_t kLineEnd[] = {u'\r', u'\n'};
    idxdata::CFileWriter& writer = *m_states[owner].writer;
    const std::size_t mostBytes = 2 * mostUnits + sizeof kLineEnd;
    std::byte* const place =
        writer.HasRoom(mostBytes) ? writer.Reserve(mostBytes) : Place(owner, mostBytes);
    if (place == nullptr) {
        m_longLine.resize(mostUnits);
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
