// A meta-file on the disk: opening, saving, and what is left behind when that is broken off.
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
    EMtfLoad = 0,               // read; the file is not held
    EMtfOpenRW = 1,             // read or create, and hold the file
    EMtfCreateNewDetached = 2,  // start empty; nothing on the disk until the first save
};

// Files of this size and larger are refused.
inline constexpr std::uint64_t kMetaFileSizeLimit = 104857600;  // bytes

// One opened meta-file; no locks, one caller at a time. At every point of a save the disk
// holds the last complete content or the new one: under the file's name, or under
// "<path>.old", which the next Open prefers. Letting the object go saves nothing.
class CMtfMetaFile {
public:
    static std::shared_ptr<CMtfMetaFile> Open(std::u16string_view path, EMtfOpenMode mode);
    // True for a left-over safety copy, too.
    static bool Exists(std::u16string_view path);

    const std::u16string& GetPath() const noexcept { return m_path; }
    const std::shared_ptr<CMtfLines>& GetLines() const noexcept { return m_lines; }

    // Writes the changes: appended to the held file if that is enough, otherwise by a
    // rewrite. On failure the changes stay pending.
    void Save();
    // Lets the held file go; later saves rewrite the file.
    void CloseFile();

private:
    explicit CMtfMetaFile(std::u16string_view path);

    void OpenByMode(EMtfOpenMode mode);
    void LoadFromDisk();
    void OpenForWriting();
    void HoldFile(bool broken);
    void Recover();
    void LoadContent(idxdata::CBinaryFile& file);
    void Rewrite();
    void RewriteInPlace();
    void WriteNewFile();
    void MakeSafetyCopy();
    void ComposeAndWrite(idxdata::CBinaryFile& file);
    void Append();
    void AppendLine(std::string_view tail);
    void AppendLines(std::string_view tail);
    void CutBack();

    std::u16string m_path;
    std::u16string m_oldPath;             // the safety copy
    idxdata::CBinaryFile::Holder m_file;  // held in mode EMtfOpenRW only
    std::shared_ptr<CMtfLines> m_lines;
    // Where the held file ends without the append that failed or is under way.
    std::optional<std::uint64_t> m_soundSize;  // bytes
};

}  // namespace mtf
