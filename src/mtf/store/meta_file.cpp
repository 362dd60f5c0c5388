#include "mtf/store/meta_file.h"

#include <algorithm>
#include <cstddef>
#include <exception>

#include "frame/conversions.h"
#include "frame/errors.h"
#include "frame/file_system.h"
#include "platform/errors.h"
#include "platform/files.h"

namespace mtf {

namespace {

using frame::CExc;
using frame::CWin32Exc;
using frame::kFail;
using idxdata::CBinaryFile;
using idxdata::EFileAccess;

constexpr std::uint64_t kGrowStep = 2048;       // bytes
constexpr std::size_t kCopyBlock = 256 * 1024;  // bytes
// Copying a file of this size costs about as much as one flush.
constexpr std::uint64_t kCheapCopySize = 1024 * 1024;  // bytes
// A file that other processes create and delete this often counts as in use.
constexpr int kMaxAttempts = 100;

std::u16string ModeName(EMtfOpenMode mode) {
    switch (mode) {
        case EMtfOpenMode::EMtfLoad:
            return u"EMtfLoad";
        case EMtfOpenMode::EMtfOpenRW:
            return u"EMtfOpenRW";
        case EMtfOpenMode::EMtfCreateNewDetached:
            return u"EMtfCreateNewDetached";
    }
    return frame::IntToString(static_cast<std::int32_t>(mode));
}

// Whether added bytes contain a line end, in either encoding, after their first byte.
bool AddsSeveralLines(std::string_view tail) {
    return tail.find(kWideLineEnd, 1) != std::string_view::npos ||
           tail.find(kNarrowLineEnd, 1) != std::string_view::npos;
}

// Whether one byte distinguishes the first unit from a NUL. Always so for a line end.
bool BecomesVisibleByOneByte(std::string_view tail) {
    return tail[1] == '\0';
}

// The tail with NULs in place of its first unit and of the CR of each line end.
std::string HideLines(std::string_view tail) {
    std::string hidden(tail);
    hidden.replace(0, sizeof(char16_t), sizeof(char16_t), '\0');
    for (std::size_t at = 0; (at = hidden.find(kWideLineEnd, at)) != std::string::npos; ++at) {
        hidden[at] = '\0';
    }
    return hidden;
}

// The last bytes of the file, at most as many as a line end has.
std::string EndOf(CBinaryFile& file) {
    const std::uint64_t size = file.GetSize();
    std::string end(std::min<std::uint64_t>(size, kWideLineEnd.size()), '\0');
    file.ReadAt(size - end.size(), end.data(), end.size());
    return end;
}

// A line end at the end of a file is text of its last line until more text follows.
bool EndsWithLineEnd(std::string_view text) {
    return text.ends_with(kWideLineEnd) || text.ends_with(kNarrowLineEnd);
}

// Whether a NUL in the text, which begins at an even offset, could complete a line end at an odd
// offset: a file with such a line end is refused.
bool HasLineEndBeforeNul(std::string_view text) {
    const std::string_view begin = kWideLineEnd.substr(0, kWideLineEnd.size() - 1);
    std::size_t at = 0;
    while ((at = text.find(begin, at)) != std::string_view::npos && at % sizeof(char16_t) == 0) {
        ++at;
    }
    return at != std::string_view::npos;
}

std::u16string OldPath(std::u16string_view path) {
    return std::u16string(path) + u".old";
}

}  // namespace

CMtfMetaFile::CMtfMetaFile(std::u16string_view path)
    : m_path(path),
      m_filePath(platform::ResolveLink(path)),
      m_oldPath(OldPath(m_filePath)),
      m_lines(std::make_shared<CMtfLines>(path)) {}

std::shared_ptr<CMtfMetaFile> CMtfMetaFile::Open(std::u16string_view path, EMtfOpenMode mode) {
    std::shared_ptr<CMtfMetaFile> file(new CMtfMetaFile(path));
    frame::WithContext(u"Cannot create or load meta-file \"%1\". Open mode: %2",
                       {path, ModeName(mode)}, [&] { file->OpenByMode(mode); });
    return file;
}

bool CMtfMetaFile::Exists(std::u16string_view path) {
    return frame::WithContext(u"Failed to check whether meta-file \"%1\" exists.", {path}, [&] {
        const std::u16string file = platform::ResolveLink(path);
        return frame::AnyFileMatches(file) || frame::AnyFileMatches(OldPath(file));
    });
}

void CMtfMetaFile::OpenByMode(EMtfOpenMode mode) {
    switch (mode) {
        case EMtfOpenMode::EMtfLoad:
            return LoadFromDisk();
        case EMtfOpenMode::EMtfOpenRW:
            return OpenForWriting();
        case EMtfOpenMode::EMtfCreateNewDetached:
            return DeleteFiles();
    }
    throw CExc(u"The specified open mode \"%1\" is not supported.", {ModeName(mode)}, kFail);
}

bool CMtfMetaFile::HasCopy() const {
    const platform::EEntryKind kind = platform::GetEntryKind(m_oldPath);
    if (kind != platform::EEntryKind::None && kind != platform::EEntryKind::File) {
        throw CExc(u"The safety copy \"%1\" is not a regular file.", {m_oldPath}, kFail);
    }
    return kind == platform::EEntryKind::File;
}

void CMtfMetaFile::LoadFromDisk() {
    CBinaryFile::Holder file;
    if (HasCopy()) {
        file = CBinaryFile::OpenIfExists(m_oldPath, EFileAccess::Read, false);
    }
    if (!file) {
        // No copy any more: another process has just completed the file.
        file = CBinaryFile::OpenIfExists(m_filePath, EFileAccess::Read);
    }
    if (!file) {
        throw CExc(u"File \"%1\" does not exist.", {m_path}, kFail);
    }
    LoadContent(*file);
}

void CMtfMetaFile::OpenForWriting() {
    HoldFile();
    // Checked again: another process that held the file may have deleted the copy or made one.
    if (HasCopy()) {
        Recover();
    }
    LoadContent(*m_file);
}

// Holds the file; creates it if it is missing. Other processes can create or delete it between
// the steps.
void CMtfMetaFile::HoldFile() {
    const bool hasCopy = HasCopy();
    try {
        for (int attempt = 0; attempt < kMaxAttempts && !m_file; ++attempt) {
            m_file = CBinaryFile::OpenIfExists(m_filePath, EFileAccess::ReadWrite);
            if (!m_file) {
                HasCopy() ? RestoreCopy() : WriteNewFile();
            }
        }
    } catch (const CWin32Exc& exc) {
        if (hasCopy) {
            frame::ThrowNotCopied(m_oldPath, m_path, exc.GetCode());
        }
        throw;
    }
    if (!m_file) {
        CBinaryFile::ThrowNotOpened(m_filePath, platform::win32err::kSharingViolation);
    }
}

// The file may be incomplete while a copy exists, so it must not remain without the copy. It is
// moved away first, deleted last, and moved back if the copy cannot be deleted.
void CMtfMetaFile::DeleteFiles() {
    if (!HasCopy() || platform::GetEntryKind(m_filePath) != platform::EEntryKind::File) {
        frame::DeleteFile(m_filePath);
        frame::DeleteFile(m_oldPath);
        return;
    }
    const std::u16string moved = frame::StagedPath(m_filePath);
    if (!platform::MoveFileExW(m_filePath, moved, platform::kMoveWriteThrough)) {
        throw CWin32Exc(u"Cannot delete file [%1].", {m_filePath}, CWin32Exc::kLastError);
    }
    try {
        frame::DeleteFileDurably(m_oldPath);
        frame::DeleteFile(moved);
    } catch (const std::exception&) {
        if (platform::GetEntryKind(m_oldPath) != platform::EEntryKind::None) {
            platform::MoveFileExW(moved, m_filePath, platform::kMoveWriteThrough);
        } else {
            platform::DeleteFileW(moved);  // incomplete, and its copy is deleted
        }
        throw;
    }
}

// Writes through the held file, so that no other process opens it before it is loaded.
void CMtfMetaFile::Recover() {
    try {
        const CBinaryFile::Holder copy =
            CBinaryFile::OpenIfExists(m_oldPath, EFileAccess::Read, false);
        if (!copy) {
            return;  // deleted by another program
        }
        const auto block = std::make_unique<std::byte[]>(kCopyBlock);
        m_file->SetSize(0);
        while (const std::size_t length = copy->Read(block.get(), kCopyBlock)) {
            m_file->Write(block.get(), length);
        }
        m_file->Flush();
    } catch (const CWin32Exc& exc) {
        frame::ThrowNotCopied(m_oldPath, m_path, exc.GetCode());
    }
    frame::DeleteFileDurably(m_oldPath);
}

void CMtfMetaFile::LoadContent(CBinaryFile& file) {
    frame::WithContext(u"Parsing of the meta-file \"%1\" has been failed.", {m_path}, [&] {
        const std::uint64_t size = file.GetSize();
        if (size >= kMetaFileSizeLimit) {
            throw CExc(u"Size of the meta-file  \"%1\" is too big (%2 bytes)",
                       {m_path, frame::UInt64ToString(size)}, kFail);
        }
        const auto content = std::make_shared<idxdata::CMtfStorage>(size);
        file.SeekToBegin();
        file.ReadExact(content->Data(), static_cast<std::size_t>(size));
        m_lines->Load(content);
    });
}

void CMtfMetaFile::Save() {
    frame::WithContext(u"Cannot save changes in meta-file \"%1\".", {m_path}, [&] {
        const EMtfSaveKind kind = m_file ? m_lines->GetSaveKind() : EMtfSaveKind::SaveRewrite;
        if (kind == EMtfSaveKind::SaveNothing) {
            return;
        }
        TruncateFailedAppend();
        // A held file that was deleted, renamed or replaced is not appended to.
        if (kind == EMtfSaveKind::SaveAppend && m_file->HasName()) {
            Append();
        } else {
            Rewrite();
        }
    });
}

void CMtfMetaFile::CloseFile() noexcept {
    if (m_file) {
        try {
            TruncateFailedAppend();
        } catch (const std::exception&) {
            // The text of the failed append stays in the file: hidden, in whole lines, or
            // without effect because of a safety copy.
            m_committedSize.reset();
        }
        m_file.reset();
    }
}

void CMtfMetaFile::Rewrite() {
    for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
        if (TryRewrite()) {
            m_lines->CommitSaved();
            return;
        }
    }
    CBinaryFile::ThrowNotOpened(m_filePath, platform::win32err::kSharingViolation);
}

// False when another process has created or deleted the file at the same time.
bool CMtfMetaFile::TryRewrite() {
    CBinaryFile::Holder file = m_file && m_file->HasName() ? m_file : nullptr;
    if (!file && platform::GetEntryKind(m_filePath) == platform::EEntryKind::None) {
        const bool hasCopy = HasCopy();
        if (!(hasCopy ? RestoreCopy() : WriteNewFile())) {
            return false;
        }
        if (!hasCopy) {
            if (m_file) {  // the held file has no name any more
                m_file = CBinaryFile::OpenIfExists(m_filePath, EFileAccess::ReadWrite);
            }
            return true;
        }
    }
    // Opened before the copy is made and held until it is deleted. Otherwise another process
    // could write the file while the copy exists, and the next opening would replace its
    // changes with the copy.
    if (!file) {
        file = CBinaryFile::OpenIfExists(m_filePath, EFileAccess::ReadWrite);
    }
    if (!file) {
        return false;
    }
    MakeSafetyCopy();
    ComposeAndWrite(*file);
    frame::DeleteFileDurably(m_oldPath);
    if (m_file) {
        m_file = file;
    }
    return true;
}

// An existing copy is kept: it is the last complete version.
void CMtfMetaFile::MakeSafetyCopy() {
    if (!HasCopy()) {
        frame::CopyFileDurably(m_filePath, m_oldPath);
    }
}

// False when another process has created the file or deleted the copy.
bool CMtfMetaFile::RestoreCopy() {
    try {
        frame::CopyFileDurably(m_oldPath, m_filePath);
        return true;
    } catch (const CWin32Exc& exc) {
        if (exc.GetCode() != platform::win32err::kAlreadyExists &&
            exc.GetCode() != platform::win32err::kFileNotFound) {
            throw;
        }
        return false;
    }
}

// False when another process has created the file.
bool CMtfMetaFile::WriteNewFile() {
    const CBinaryFile::Holder file = CBinaryFile::CreateStaged(m_filePath);
    ComposeAndWrite(*file);
    return file->Publish();
}

void CMtfMetaFile::ComposeAndWrite(CBinaryFile& file) {
    frame::WithContext(u"Meta-file [%1] cannot be rewritten.", {m_path}, [&] {
        idxdata::CMtfOutBuffer out(kGrowStep, m_lines->ComposedSize());
        m_lines->ComposeAll(out);
        const auto content = out.TakeStorage();
        file.SetSize(0);
        file.Write(content->Data(), static_cast<std::size_t>(content->Size()));
        file.Flush();
    });
}

void CMtfMetaFile::Append() {
    frame::WithContext(u"Meta-file [%1] cannot be updated incrementally.", {m_path}, [&] {
        idxdata::CMtfOutBuffer out(kGrowStep);
        m_lines->ComposeTail(out);
        if (out.Used() == 0) {
            return;
        }
        const auto storage = out.TakeStorage();
        const std::string_view tail(reinterpret_cast<const char*>(storage->Data()),
                                    static_cast<std::size_t>(storage->Size()));
        const bool hasCopy = CopyBeforeAppend(tail);
        try {
            AppendTail(tail, hasCopy);
        } catch (const CWin32Exc& exc) {
            // Without the copy, which is deleted, the disk may have room for the tail.
            const bool isUndone =
                !m_committedSize && platform::GetEntryKind(m_oldPath) == platform::EEntryKind::None;
            if (!hasCopy || !isUndone || exc.GetCode() != platform::win32err::kDiskFull) {
                throw;
            }
            AppendTail(tail, false);
        }
        m_lines->CommitSaved();
    });
}

// A failure is undone, unless the undoing fails, too.
void CMtfMetaFile::AppendTail(std::string_view tail, bool hasCopy) {
    m_committedSize = m_file->GetSize();
    try {
        WriteTail(tail);
        if (hasCopy) {
            frame::DeleteFileDurably(m_oldPath);
        }
    } catch (const std::exception&) {
        UndoAppend(hasCopy);
        throw;
    }
    m_committedSize.reset();
}

// Makes a safety copy where the old content would not be readable at every moment of the
// append, and where a copy of a small file makes the append of several lines atomic. An append
// of other text whose copy cannot be made is still correct: each line becomes visible as a whole.
// Returns whether a copy exists.
bool CMtfMetaFile::CopyBeforeAppend(std::string_view tail) {
    const std::string end = EndOf(*m_file);
    const bool wanted = EndsWithLineEnd(end) || !BecomesVisibleByOneByte(tail) ||
                        HasLineEndBeforeNul(end + std::string(tail)) ||
                        (AddsSeveralLines(tail) && m_file->GetSize() <= kCheapCopySize);
    if (wanted) {
        try {
            MakeSafetyCopy();
        } catch (const CExc&) {
            // The folder refuses new files, or the disk has no room for a copy.
        }
    }
    return platform::GetEntryKind(m_oldPath) == platform::EEntryKind::File;
}

// Writes the tail first with NULs in place of its line ends. Text after a NUL is not read, and
// the second write changes nothing but these NULs, so each line becomes visible as a whole, in
// whatever order the bytes reach the disk. The length is set first: an append that ends
// at any byte leaves NULs, not a half of a unit.
void CMtfMetaFile::WriteTail(std::string_view tail) {
    const std::string hidden = HideLines(tail);
    m_file->AppendZeros(hidden.size());
    m_file->WriteAt(*m_committedSize, hidden.data(), hidden.size());
    m_file->Flush();  // before the NULs are replaced
    m_file->WriteAt(*m_committedSize, tail.data(), tail.size());
    m_file->Flush();
}

void CMtfMetaFile::UndoAppend(bool hasCopy) noexcept {
    try {
        TruncateFailedAppend();
        if (hasCopy) {
            m_file->Flush();
            frame::DeleteFileDurably(m_oldPath);
        }
    } catch (const std::exception&) {
        // The next save tries again; a copy remains for it or for the next opening. The caller
        // gets the first failure.
    }
}

void CMtfMetaFile::TruncateFailedAppend() {
    if (m_committedSize) {
        m_file->SetSize(*m_committedSize);
        m_committedSize.reset();
    }
}

}  // namespace mtf
