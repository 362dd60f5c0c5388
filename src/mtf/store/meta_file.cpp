#include "mtf/store/meta_file.h"

#include <algorithm>
#include <cstddef>

#include "frame/conversions.h"
#include "frame/errors.h"
#include "frame/file_system.h"

namespace mtf {

namespace {

using frame::CExc;
using frame::CWin32Exc;
using frame::kFail;
using idxdata::CBinaryFile;
using idxdata::EFileAccess;

constexpr std::uint64_t kGrowStep = 2048;       // bytes
constexpr std::size_t kCopyBlock = 256 * 1024;  // bytes

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

// Whether added bytes contain a line end, in either encoding, after their first unit, which
// AppendLine writes last.
bool AddsSeveralLines(std::string_view tail) {
    return tail.find(kWideLineEnd, 1) != std::string_view::npos ||
           tail.find(kNarrowLineEnd, 1) != std::string_view::npos;
}

// A line end at the end of a file is text of its last line until more text follows.
bool EndsWithLineEnd(CBinaryFile& file) {
    char bytes[kWideLineEnd.size()];
    const std::uint64_t size = file.GetSize();
    const std::size_t length = std::min<std::uint64_t>(size, sizeof bytes);
    file.ReadAt(size - length, bytes, length);
    const std::string_view end(bytes, length);
    return end.ends_with(kWideLineEnd) || end.ends_with(kNarrowLineEnd);
}

std::u16string OldPath(std::u16string_view path) {
    return std::u16string(path) + u".old";
}

}  // namespace

CMtfMetaFile::CMtfMetaFile(std::u16string_view path)
    : m_path(path), m_oldPath(OldPath(path)), m_lines(std::make_shared<CMtfLines>(path)) {}

std::shared_ptr<CMtfMetaFile> CMtfMetaFile::Open(std::u16string_view path, EMtfOpenMode mode) {
    std::shared_ptr<CMtfMetaFile> file(new CMtfMetaFile(path));
    frame::WithContext(u"Cannot create or load meta-file \"%1\". Open mode: %2",
                       {path, ModeName(mode)}, [&] { file->OpenByMode(mode); });
    return file;
}

bool CMtfMetaFile::Exists(std::u16string_view path) {
    return frame::WithContext(u"Failed to check whether meta-file \"%1\" exists.", {path}, [&] {
        return frame::FileExists(path) || frame::FileExists(OldPath(path));
    });
}

void CMtfMetaFile::OpenByMode(EMtfOpenMode mode) {
    switch (mode) {
        case EMtfOpenMode::EMtfLoad:
            return LoadFromDisk();
        case EMtfOpenMode::EMtfOpenRW:
            return OpenForWriting();
        case EMtfOpenMode::EMtfCreateNewDetached:
            if (frame::FileExists(m_oldPath)) {
                // The file may be incomplete, so it is deleted before its safety copy.
                frame::DeleteFileDurably(m_path);
                frame::DeleteFile(m_oldPath);
            }
            frame::DeleteFile(m_path);
            return;
    }
    throw CExc(u"The specified open mode \"%1\" is not supported.", {ModeName(mode)}, kFail);
}

void CMtfMetaFile::LoadFromDisk() {
    CBinaryFile::Holder file;
    if (frame::FileExists(m_oldPath)) {
        // No copy any more: another process has just completed the file.
        file = CBinaryFile::OpenIfExists(m_oldPath, EFileAccess::Read);
    }
    if (!file) {
        file = CBinaryFile::OpenIfExists(m_path, EFileAccess::Read);
    }
    if (!file) {
        throw CExc(u"File \"%1\" does not exist.", {m_path}, kFail);
    }
    LoadContent(*file);
}

void CMtfMetaFile::OpenForWriting() {
    const bool hadCopy = frame::FileExists(m_oldPath);
    HoldFile(hadCopy);
    // Checked again: another process that held the file may have deleted the copy or made one.
    if (frame::FileExists(m_oldPath)) {
        Recover();
    } else if (hadCopy && m_file->GetSize() == 0) {
        // HoldFile created the file, and another process has deleted the copy.
        ComposeAndWrite(*m_file);
    }
    LoadContent(*m_file);
}

void CMtfMetaFile::HoldFile(bool hasCopy) {
    try {
        m_file = hasCopy ? CBinaryFile::OpenOrCreate(m_path)
                         : CBinaryFile::OpenIfExists(m_path, EFileAccess::ReadWrite);
    } catch (const CWin32Exc& exc) {
        if (hasCopy) {
            frame::ThrowNotCopied(m_oldPath, m_path, exc.GetCode());
        }
        throw;
    }
    if (!m_file) {
        WriteNewFile();
        m_file = CBinaryFile::Open(m_path, EFileAccess::ReadWrite);
    }
}

// Writes through the held file, so that no other process opens it before it is loaded.
void CMtfMetaFile::Recover() {
    try {
        const CBinaryFile::Holder copy = CBinaryFile::Open(m_oldPath, EFileAccess::Read);
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
        // A held file that was deleted or renamed is not appended to.
        if (kind == EMtfSaveKind::SaveAppend && frame::FileExists(m_path)) {
            Append();
        } else {
            Rewrite();
        }
    });
}

void CMtfMetaFile::CloseFile() {
    if (m_file) {
        try {
            TruncateFailedAppend();
        } catch (const CExc&) {
            // The text of the failed append stays in the file: a single line, or several
            // lines that the safety copy does not contain.
            m_committedSize.reset();
        }
        m_file.reset();
    }
}

void CMtfMetaFile::Rewrite() {
    const bool missing = !frame::FileExists(m_path);
    const bool hasCopy = missing && frame::FileExists(m_oldPath);
    if (hasCopy) {
        frame::CopyFileDurably(m_oldPath, m_path);
    } else if (missing) {
        WriteNewFile();
    }
    if (missing && m_file) {
        m_file.reset();
        m_file = CBinaryFile::Open(m_path, EFileAccess::ReadWrite);
    }
    if (!missing || hasCopy) {
        RewriteInPlace();
    }
    m_lines->CommitSaved();
}

void CMtfMetaFile::RewriteInPlace() {
    // Held until the copy is deleted. Otherwise another process could write the file while
    // the copy exists, and the next opening would replace its changes with the copy.
    const CBinaryFile::Holder file =
        m_file ? m_file : CBinaryFile::Open(m_path, EFileAccess::ReadWrite);
    MakeSafetyCopy();
    ComposeAndWrite(*file);
    frame::DeleteFileDurably(m_oldPath);
}

// An existing copy is kept: it is the last complete version.
void CMtfMetaFile::MakeSafetyCopy() {
    if (!frame::FileExists(m_oldPath)) {
        frame::CopyFileDurably(m_path, m_oldPath);
    }
}

void CMtfMetaFile::WriteNewFile() {
    const CBinaryFile::Holder file = CBinaryFile::CreateStaged(m_path);
    ComposeAndWrite(*file);
    file->Publish();
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
        if (AddsSeveralLines(tail) || EndsWithLineEnd(*m_file) || frame::FileExists(m_oldPath)) {
            AppendLines(tail);
        } else {
            AppendLine(tail);
        }
        m_committedSize.reset();
        m_lines->CommitSaved();
    });
}

// Writes the line with a NUL in place of its first unit, then replaces the NUL. Text after a
// NUL is not read, so the line becomes visible to readers with the last write, and the
// append needs no safety copy.
void CMtfMetaFile::AppendLine(std::string_view tail) {
    constexpr std::size_t kUnit = sizeof(char16_t);
    std::string hidden(tail);
    hidden.replace(0, kUnit, kUnit, '\0');
    m_committedSize = m_file->GetSize();
    try {
        m_file->SeekToEnd();
        m_file->Write(hidden.data(), hidden.size());
        m_file->Flush();  // so that a power failure cannot keep the first unit alone
        m_file->WriteAt(*m_committedSize, tail.data(), kUnit);
        m_file->Flush();
    } catch (const CExc&) {
        try {
            TruncateFailedAppend();
        } catch (const CExc&) {
            // The next save tries again. The caller gets the first failure.
        }
        throw;
    }
}

// Several lines do not become visible at once, so the copy exists until all are on the disk.
void CMtfMetaFile::AppendLines(std::string_view tail) {
    MakeSafetyCopy();
    m_committedSize = m_file->GetSize();
    try {
        m_file->SeekToEnd();
        m_file->Write(tail.data(), tail.size());
        m_file->Flush();
        frame::DeleteFileDurably(m_oldPath);
    } catch (const CExc&) {
        try {
            TruncateFailedAppend();
            m_file->Flush();
            frame::DeleteFileDurably(m_oldPath);
        } catch (const CExc&) {
            // The copy remains for the next save or the next opening.
        }
        throw;
    }
}

void CMtfMetaFile::TruncateFailedAppend() {
    if (m_committedSize) {
        m_file->SetSize(*m_committedSize);
        m_committedSize.reset();
    }
}

}  // namespace mtf
