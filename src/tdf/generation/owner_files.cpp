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
constexpr char16_t kByteOrderMark = u'\uFEFF';

// Characters that separate, name drives and streams or stand for others on some system.
bool IsReserved(char16_t unit) {
    constexpr std::u16string_view kReserved = u"<>:\"/\\|?*";
    return unit < u' ' || kReserved.find(unit) != std::u16string_view::npos;
}

}  // namespace

COwnerFiles::COwnerFiles(const CTdfOwners& owners, OwnerFilesSettings settings,
                         const OwnerFilesLimits& limits)
    : m_owners(owners),
      m_settings(std::move(settings)),
      m_mostHandles(limits.openFiles),
      m_bufferSize(std::clamp(std::bit_floor(limits.buffers / (owners.Count() + 1)),
                              limits.smallestBuffer, limits.largestBuffer)),
      m_mostBuffers(std::max(limits.buffers / m_bufferSize, std::size_t{1})),
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
    EnterSharedLabel(owner);
    WithRoomForHandle([&] { state.writer->Create(path); });
    m_handles.PushBack(owner);
    state.writer->SetAllFileTimes(m_settings.fileTimes);
    NeedBuffer(owner);
    state.writer->WriteWord(kByteOrderMark);
}

// Owners that share a label share their files' names. While one of them has a file open
// nobody can create it anew, whether a handle is held just now or not.
void COwnerFiles::EnterSharedLabel(std::uint32_t owner) {
    const std::uint32_t twin = m_owners.FirstWithSameLabel(owner);
    if (twin != CTdfOwners::kUniqueLabel &&
        !m_openSharedLabels.emplace(twin, m_states[owner].fileNumber).second) {
        throw frame::CWin32Exc(kCreateFailure, platform::win32err::kSharingViolation);
    }
}

void COwnerFiles::LeaveSharedLabel(std::uint32_t owner) noexcept {
    const std::uint32_t twin = m_owners.FirstWithSameLabel(owner);
    if (twin != CTdfOwners::kUniqueLabel) {
        m_openSharedLabels.erase({twin, m_states[owner].fileNumber});
    }
}

// Room in the owner's buffer; null when the buffer is too small at all.
std::byte* COwnerFiles::Place(std::uint32_t owner, std::size_t bytes) {
    idxdata::CFileWriter& writer = *m_states[owner].writer;
    if (!writer.HoldsBuffer()) {
        NeedBuffer(owner);
    } else {
        NeedHandle(owner);
        m_buffers.PushBack(owner);
    }
    return writer.Reserve(bytes);
}

void COwnerFiles::PutLongLine(std::uint32_t owner, std::u16string_view line) {
    NeedHandle(owner);
    m_states[owner].writer->WriteTextString(line);
}

void COwnerFiles::Complete(std::uint32_t owner) {
    Close(owner);
    ++m_states[owner].fileNumber;
    m_states[owner].recordsInFile = 0;
}

void COwnerFiles::Close(std::uint32_t owner) {
    if (m_states[owner].writer->IsPending()) {
        NeedHandle(owner);
    }
    m_handles.Remove(owner);
    LeaveSharedLabel(owner);
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
        } catch (const frame::CExc&) {
            first = first ? first : std::current_exception();
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

void COwnerFiles::CreateBeside(idxdata::CFileWriter& writer, std::u16string_view path) {
    WithRoomForHandle([&] { writer.Create(path); });
}

void COwnerFiles::NeedHandle(std::uint32_t owner) {
    idxdata::CFileWriter& writer = *m_states[owner].writer;
    if (!writer.HoldsHandle()) {
        WithRoomForHandle([&] { writer.Resume(); });
    }
    m_handles.PushBack(owner);
}

void COwnerFiles::NeedBuffer(std::uint32_t owner) {
    if (!m_buffers.Holds(owner)) {
        while (m_buffers.Size() >= m_mostBuffers) {
            const std::uint32_t waiting = m_buffers.Front();
            idxdata::CFileWriter& writer = *m_states[waiting].writer;
            if (writer.IsPending()) {
                NeedHandle(waiting);
            }
            writer.ReleaseBuffer();
            m_buffers.Remove(waiting);
        }
    }
    m_buffers.PushBack(owner);
}

// Runs `opening`, which opens one file. When the process has no handle left, files that
// wait give theirs until there is one.
template <class Opening>
void COwnerFiles::WithRoomForHandle(Opening opening) {
    while (m_handles.Size() >= m_mostHandles) {
        PauseFront();
    }
    for (;;) {
        try {
            return opening();
        } catch (const frame::CWin32Exc& exc) {
            if (exc.GetCode() != platform::win32err::kTooManyOpenFiles || m_handles.Size() == 0) {
                throw;
            }
        }
        m_mostHandles = std::max<std::size_t>(m_handles.Size() * 3 / 4, 1);
        do {
            PauseFront();
        } while (m_handles.Size() > m_mostHandles);
    }
}

void COwnerFiles::PauseFront() {
    const std::uint32_t owner = m_handles.Front();
    m_handles.Remove(owner);
    m_states[owner].writer->Pause();
}

}  // namespace tdf
