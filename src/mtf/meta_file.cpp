#include "mtf/meta_file.h"

#include "frame/conversions.h"
#include "frame/errors.h"
#include "frame/file_system.h"

namespace mtf {

namespace {

using frame::CExc;
using frame::kFail;
using idxdata::CBinaryFile;
using idxdata::EFileAccess;

constexpr std::uint64_t kGrowStep = 2048;  // bytes

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

// The same units with a NUL in place of the first one and of every CR that ends a line. The
// text of a line ends at its first NUL: behind the last line of a file they read as nothing.
std::u16string Hidden(std::u16string_view tail) {
    std::u16string hidden(tail);
    hidden.front() = u'\0';
    for (std::size_t pos = tail.find(u"\r\n"); pos != std::u16string_view::npos;
         pos = tail.find(u"\r\n", pos + 2)) {
        hidden[pos] = u'\0';
    }
    return hidden;
}

std::u16string OldPath(std::u16string_view path) {
    return std::u16string(path) + u".old";
}

}  // namespace

CMtfMetaFile::CMtfMetaFile(std::u16string_view path)
    : m_path(path), m_oldPath(OldPath(path)), m_lines(std::make_shared<CMtfLines>(path)) {}

std::shared_ptr<CMtfMetaFile> CMtfMetaFile::Open(std::u16string_view path, EMtfOpenMode mode) {
    const std::shared_ptr<CMtfMetaFile> file(new CMtfMetaFile(path));
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
            // In this order: while the file is there, it may be a broken one that its copy
            // stands for.
            frame::DeleteFile(m_path);
            frame::DeleteFile(m_oldPath);
            return;
    }
    throw CExc(u"The specified open mode \"%1\" is not supported.", {ModeName(mode)}, kFail);
}

void CMtfMetaFile::LoadFromDisk() {
    CBinaryFile::Holder file;
    if (frame::FileExists(m_oldPath)) {
        // When it is gone by now, its writer has just finished the file itself.
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
    const bool broken = frame::FileExists(m_oldPath);
    if (broken) {
        frame::CopyFile(m_oldPath, m_path, false);
    }
    m_file = CBinaryFile::OpenIfExists(m_path, EFileAccess::ReadWrite);
    if (!m_file) {
        WriteNewFile();
        m_file = CBinaryFile::Open(m_path, EFileAccess::ReadWrite);
        return;
    }
    if (broken) {
        // The copy goes once it is needed no more, and under the lock of the held file.
        m_file->Flush();
        frame::DeleteFileDurably(m_oldPath);
    }
    LoadContent(*m_file);
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
        CutBack();
        // A held file that has lost its name would take the new lines along.
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
            CutBack();
        } catch (const CExc&) {
            // The lines that a failed append has left behind stay in the file.
            m_soundSize.reset();
        }
        m_file.reset();
    }
}

void CMtfMetaFile::Rewrite() {
    if (frame::FileExists(m_path)) {
        // Opened before the copy is made: the copy of a file that somebody else holds would
        // outlive what the holder writes.
        const CBinaryFile::Holder file =
            m_file ? m_file : CBinaryFile::Open(m_path, EFileAccess::ReadWrite);
        // A copy that is there already is the last complete version.
        if (!frame::FileExists(m_oldPath)) {
            frame::CopyFileDurably(m_path, m_oldPath);
        }
        ComposeAndWrite(*file);
    } else {
        WriteNewFile();
        if (m_file) {
            m_file.reset();
            m_file = CBinaryFile::Open(m_path, EFileAccess::ReadWrite);
        }
    }
    frame::DeleteFileDurably(m_oldPath);
    // Not before the copy is gone: a later save must not take its content for the file's.
    m_lines->CommitSaved();
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
        if (out.Used() != 0) {
            WriteTail(*out.TakeStorage());
            m_lines->CommitSaved();
        }
    });
}

void CMtfMetaFile::WriteTail(const idxdata::CMtfStorage& tail) {
    const std::u16string_view units(reinterpret_cast<const char16_t*>(tail.Data()),
                                    static_cast<std::size_t>(tail.Size()) / sizeof(char16_t));
    const std::u16string hidden = Hidden(units);
    m_soundSize = m_file->GetSize();
    try {
        // A process that is killed may have written a part. First it writes lines that nobody
        // sees, then it uncovers one whole line after the other.
        m_file->SeekToEnd();
        m_file->Write(hidden.data(), hidden.size() * sizeof(char16_t));
        m_file->Seek(*m_soundSize);
        m_file->Write(tail.Data(), static_cast<std::size_t>(tail.Size()));
        m_file->Flush();
    } catch (const CExc&) {
        try {
            CutBack();
        } catch (const CExc&) {
            // The next save tries again; the failure to tell is the first one.
        }
        throw;
    }
    m_soundSize.reset();
}

void CMtfMetaFile::CutBack() {
    if (m_soundSize) {
        m_file->SetSize(*m_soundSize);
        m_soundSize.reset();
    }
}

}  // namespace mtf
