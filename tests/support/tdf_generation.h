// The common base of the tests that generate text data files.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/automation_check.h"
#include "support/port_files.h"
#include "support/tdf_model.h"
#include "support/temp_folder.h"

namespace support {

inline constexpr std::int64_t kFileTimes = 130027323072500000;  // 2013-01-15 14:05:07.25
inline constexpr std::int32_t kNoSplit = 1000000;
inline constexpr std::int64_t kMorning = 130027143072500000;  // 2013-01-15 09:05:07.25

// A random volume whose owners have different labels.
inline Volume UniqueOwnersVolume(std::uint32_t seed, std::size_t dirs, std::size_t files,
                                 std::size_t owners) {
    Volume volume = RandomVolume(seed, dirs, files, owners);
    for (std::size_t i = 0; i < owners; ++i) {
        std::u16string& name = volume.owners[i].name;
        name += name.empty() ? u"" : Wide(std::to_string(i));
    }
    return volume;
}

// A folder with a volume list, its volumes and the output.
class CTdfGenerationTest : public testing::Test {
protected:
    CTdfGenerationTest() {
        m_settings.binIndexFile = m_folder.Path(u"list.mtf");
        m_settings.outpFolder = m_folder.Path(u"new/out");
        m_settings.txtDateTime = kFileTimes;
        m_settings.recsNumPerTxt = kNoSplit;
        m_settings.subfoldersMax = 3;
        m_settings.additionalParts = 2;
        m_settings.separators = u"._- ";
    }

    // Lines with CR LF between them; the last one has none.
    void WriteList(std::u16string_view lines) const {
        ASSERT_TRUE(WriteWhole(m_settings.binIndexFile, "\xFF\xFE" + Utf16Bytes(lines)));
    }
    void WriteVolume(const std::string& bytes) const {
        WriteList(u"Volume.C=c.dat");
        ASSERT_TRUE(WriteWhole(m_folder.Path(u"c.dat"), bytes));
    }
    std::u16string OutPath(std::u16string_view name) const {
        return m_settings.outpFolder + u"/" + std::u16string(name);
    }
    TdfFiles ReadOutput() const {
        TdfFiles files;
        for (const auto& entry :
             std::filesystem::recursive_directory_iterator(m_folder.Native(u"new/out"))) {
            files[entry.path().filename().u16string()] = ReadWhole(entry.path().u16string());
        }
        return files;
    }
    // The files of the model for the settings of this test.
    TdfFiles Expected(const Volume& volume, const std::u16string& volumeName = u"C") const {
        return ModelTdfFiles(volume, volumeName, m_settings);
    }
    struct Failure {
        std::string text;  // empty for success
        HRESULT result = S_OK;
    };
    Failure Generate() const {
        const auto ticks = static_cast<std::uint64_t>(m_settings.txtDateTime);
        const HRESULT hr = m_lib->GenerateOibTDFs(
            Bstr(m_settings.binIndexFile).Get(), Bstr(m_settings.outpFolder).Get(),
            {static_cast<std::uint32_t>(ticks), static_cast<std::uint32_t>(ticks >> 32)},
            m_settings.recsNumPerTxt, m_settings.bCrcMode ? VARIANT_TRUE : VARIANT_FALSE,
            m_settings.subfoldersMax, m_settings.additionalParts,
            Bstr(m_settings.separators).Get());
        return {frame::WideToAnsi(TakeError().description), hr};
    }
    void ExpectTimes(std::u16string_view name) const {
        EXPECT_TRUE(HasTimes(OutPath(name), kFileTimes)) << frame::WideToAnsi(name);
    }

    CTempFolder m_folder;
    tdf::TdfSettings m_settings;
    automation::CComPtr<IOibIdxLib> m_lib = NewLibrary();
};

// A failure shows a name, not the contents.
inline void ExpectSame(const TdfFiles& actual, const TdfFiles& expected) {
    for (const auto& [name, content] : actual) {
        EXPECT_TRUE(expected.contains(name)) << frame::WideToAnsi(name);
    }
    for (const auto& [name, content] : expected) {
        const auto found = actual.find(name);
        EXPECT_TRUE(found != actual.end() && found->second == content) << frame::WideToAnsi(name);
    }
}

}  // namespace support
