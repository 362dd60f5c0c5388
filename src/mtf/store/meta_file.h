// Opening, saving and recovering a meta-file.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "idxdata/buffers/binary_file.h"
#include "mtf/store/lines.h"

namespace mtf {

enum class EMtfOpenMode : std::int32_t {
    EMtfLoad = 0,               // read; the file is not kept open
    EMtfOpenRW = 1,             // read or create, and keep the file open
    EMtfCreateNewDetached = 2,  // start empty; the first save creates the file
};

// Files of this size and larger are refused.
inline constexpr std::uint64_t kMetaFileSizeLimit = 104857600;  // bytes

// One opened meta-file; no locks, one caller at a time. At every moment of a save the disk
// has the last saved content or the new content: in the file, or in the safety copy
// "<path>.old", which the next Open reads instead of the file. An append of several lines without
// a copy adds whole lines, one after the other. Destruction saves nothing.
class CMtfMetaFile {
public:
    static std::shared_ptr<CMtfMetaFile> Open(std::u16string_view path, EMtfOpenMode mode);
    // Also true when only a safety copy exists. The name may contain wildcards.
    static bool Exists(std::u16string_view path);

    const std::u16string& GetPath() const noexcept { return m_path; }
    const std::shared_ptr<CMtfLines>& GetLines() const noexcept { return m_lines; }

    // Writes the changes: appends to the held file when lines were only added, otherwise
    // rewrites the file. After a failure the changes are still pending.
    void Save();
    // Closes the held file; later saves rewrite the file.
    void CloseFile() noexcept;

private:
    explicit CMtfMetaFile(std::u16string_view path);

    void OpenByMode(EMtfOpenMode mode);
    void LoadFromDisk();
    void OpenForWriting();
    void HoldFile();
    void DeleteFiles();
    void Recover();
    void LoadContent(idxdata::CBinaryFile& file);
    // Throws CExc for a safety copy that is not a regular file.
    bool HasCopy() const;
    void Rewrite();
    bool TryRewrite();
    bool WriteNewFile();
    bool RestoreCopy();
    void MakeSafetyCopy();
    void ComposeAndWrite(idxdata::CBinaryFile& file);
    void Append();
    bool CopyBeforeAppend(std::string_view tail);
    void AppendTail(std::string_view tail, bool hasCopy);
    void WriteTail(std::string_view tail);
    void UndoAppend(bool hasCopy) noexcept;
    void TruncateFailedAppend();

    std::u16string m_path;                // as the caller gave it
    std::u16string m_filePath;            // the file that a link leads to, or m_path
    std::u16string m_oldPath;             // the safety copy, beside the file itself
    idxdata::CBinaryFile::Holder m_file;  // held in mode EMtfOpenRW only
    std::shared_ptr<CMtfLines> m_lines;
    // Size of the held file without the append that failed or is in progress.
    std::optional<std::uint64_t> m_committedSize;  // bytes
};

}  // namespace mtf
