#include "tdf/generation/owner_files.h"

#include <algorithm>
#include <bit>
#include <exception>

#include "frame/conversions.h"
#include "frame/errors.h"
#include "frame/file_system.h"
#include "platform/errors.h"

namespace tdf {

namespace {

constexpr char16_t kCreateFailure[] = u"Cannot create file in CFileWriter::Create";

// Path separators, drive and stream separators, wildcards and control characters.
bool IsReserved(char16_t unit) {
    constexpr std::u16string_view kReserved = u"<>:\"/\\|?*";
    return unit < u' ' || kReserved.find(unit) != std::u16string_view::npos;
}

}  // namespace

void BeginText(idxdata::CFileWriter& writer) {
    writer.WriteWord(u'\uFEFF');
    writer.Flush();
}

COwnerFiles::COwnerFiles(const CTdfOwners& owners, OwnerFilesSettings settings,
                         const OwnerFilesLimits& limits)
    : m_owners(owners),
      m_settings(std::move(settings)),
      m_maxHandles(limits.openFiles),
      m_bufferSize(std::clamp(std::bit_floor(limits.buffers / (owners.Count() + 1)),
                              limits.minBuffer, limits.maxBuffer)),
      m_maxBuffers(std::max(limits.buffers / m_bufferSize, std::size_t{1})),
      m_states(owners.Count()),
      m_handles(owners.Count()),
      m_buffers(owners.Count()) {}

std::u16string COwnerFiles::PathFor(std::u16string_view name) const {
    if (std::any_of(name.begin(), name.end(), IsReserved)) {
        throw frame::CWin32Exc(kCreateFailure, platform::win32err::kInvalidName);
    }
    return frame::CombinePath(m_settings.folder, name);
}

std::u16string COwnerFiles::PathOf(std::uint32_t owner) const {
    std::u16string name = u"vl." + m_settings.volumeName + u".";
    name += m_owners.LabelOf(owner);
    name += u"." + frame::UInt64ToString(m_states[owner].fileNumber) + u".txt";
    return PathFor(name);
}

void COwnerFiles::CreateNext(std::uint32_t owner) {
    State& state = m_states[owner];
    if (!state.writer) {
        state.writer = std::make_unique<idxdata::CFileWriter>(m_bufferSize);
    }
    const std::u16string path = PathOf(owner);
    MarkSharedLabelOpen(owner);
    CreateExtraFile(*state.writer, path);
    m_handles.PushBack(owner);
    state.writer->SetAllFileTimes(m_settings.fileTimes);
    AcquireBuffer(owner);
    BeginText(*state.writer);
}

// Owners that share a label share their files' names. While one of them has a file open,
// another owner cannot create that file, even if no handle is held at the moment.
void COwnerFiles::MarkSharedLabelOpen(std::uint32_t owner) {
    const std::uint32_t first = m_owners.FirstWithSameLabel(owner);
    if (first != CTdfOwners::kUniqueLabel &&
        !m_openSharedLabels.emplace(first, m_states[owner].fileNumber).second) {
        throw frame::CWin32Exc(kCreateFailure, platform::win32err::kSharingViolation);
    }
}

void COwnerFiles::MarkSharedLabelClosed(std::uint32_t owner) noexcept {
    const std::uint32_t first = m_owners.FirstWithSameLabel(owner);
    if (first != CTdfOwners::kUniqueLabel) {
        m_openSharedLabels.erase({first, m_states[owner].fileNumber});
    }
}

// Space in the owner's buffer; null when the whole buffer is too small.
std::byte* COwnerFiles::Reserve(std::uint32_t owner, std::size_t bytes) {
    idxdata::CFileWriter& writer = *m_states[owner].writer;
    if (!writer.HoldsBuffer()) {
        AcquireBuffer(owner);
    } else {
        AcquireHandle(owner);
        m_buffers.PushBack(owner);
    }
    return writer.Reserve(bytes);
}

void COwnerFiles::PutLongLine(std::uint32_t owner, std::u16string_view line) {
    AcquireHandle(owner);
    m_states[owner].writer->WriteTextString(line);
}

void COwnerFiles::Complete(std::uint32_t owner) {
    Close(owner);
    ++m_states[owner].fileNumber;
    m_states[owner].recordsInFile = 0;
}

void COwnerFiles::Close(std::uint32_t owner) {
    if (m_states[owner].writer->IsPending()) {
        AcquireHandle(owner);
    }
    m_handles.Remove(owner);
    MarkSharedLabelClosed(owner);
    m_states[owner].writer->Close();
}

void COwnerFiles::CloseAll() {
    std::exception_ptr first;
    for (std::uint32_t owner = 0; owner < m_states.size(); ++owner) {
        State& state = m_states[owner];
        if (!state.writer || !state.writer->IsOpen()) {
            continue;
        }
        try {
            Close(owner);
        } catch (const std::exception&) {
            first = first ? first : std::current_exception();
        }
        m_handles.Remove(owner);
        m_buffers.Remove(owner);
        state.writer.reset();
    }
    if (first) {
        std::rethrow_exception(first);
    }
}

void COwnerFiles::CreateExtraFile(idxdata::CFileWriter& writer, std::u16string_view path) {
    // In a folder that others can write, a link can be anywhere.
    OpenWithFreeHandle([&] { writer.Create(path, idxdata::CFileWriter::EOtherEntry::Remove); });
}

void COwnerFiles::AcquireHandle(std::uint32_t owner) {
    idxdata::CFileWriter& writer = *m_states[owner].writer;
    if (!writer.HoldsHandle()) {
        OpenWithFreeHandle([&] { writer.Resume(); });
    }
    m_handles.PushBack(owner);
}

void COwnerFiles::AcquireBuffer(std::uint32_t owner) {
    if (!m_buffers.Holds(owner)) {
        while (m_buffers.Size() >= m_maxBuffers) {
            const std::uint32_t oldest = m_buffers.Front();
            idxdata::CFileWriter& writer = *m_states[oldest].writer;
            if (writer.IsPending()) {
                AcquireHandle(oldest);
            }
            writer.ReleaseBuffer();
            m_buffers.Remove(oldest);
        }
    }
    m_buffers.PushBack(owner);
}

// Calls `open`, which opens one file. When the process has no free file handle, closes the
// files that were unused longest and tries again.
template <class OpenCall>
void COwnerFiles::OpenWithFreeHandle(OpenCall open) {
    while (m_handles.Size() >= m_maxHandles) {
        PauseOldest();
    }
    for (;;) {
        try {
            return open();
        } catch (const frame::CWin32Exc& exc) {
            if (exc.GetCode() != platform::win32err::kTooManyOpenFiles || m_handles.Size() == 0) {
                throw;
            }
        }
        m_maxHandles = std::max<std::size_t>(m_handles.Size() * 3 / 4, 1);
        do {
            PauseOldest();
        } while (m_handles.Size() > m_maxHandles);
    }
}

void COwnerFiles::PauseOldest() {
    const std::uint32_t owner = m_handles.Front();
    m_handles.Remove(owner);
    m_states[owner].writer->Pause();
}

}  // namespace tdf
