// The common base of the tests that generate text data files.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/search_client.h"
#include "support/tdf_model.h"

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
class CTdfGenerationTest : public SearchTest {
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
    void WriteList(std::u16string_view lines) {
        Write(u"list.mtf", "\xFF\xFE" + Utf16Bytes(lines));
    }
    void WriteVolume(const std::string& bytes) {
        WriteList(u"Volume.C=c.dat");
        Write(u"c.dat", bytes);
    }
    std::u16string OutPath(std::u16string_view name) const {
        return m_settings.outpFolder + u"/" + std::u16string(name);
    }
    // The output folder has these files; the text data files have the times of the settings.
    void ExpectOutput(const TdfFiles& expected) const {
        for (const auto& [name, content] : expected) {
            const bool isText = name.starts_with(u"vl.");
            EXPECT_TRUE(!isText || HasTimes(OutPath(name), kFileTimes)) << frame::WideToAnsi(name);
            EXPECT_TRUE(ReadWhole(OutPath(name)) == content) << frame::WideToAnsi(name);
        }
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.Native(u"new/out"))) {
            EXPECT_TRUE(expected.contains(entry.path().filename().u16string())) << entry.path();
        }
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
    // The texts of the volume are those of the model.
    void Check(const Volume& volume) {
        WriteVolume(volume.Bytes());
        EXPECT_EQ(Generate().text, "");
        ExpectOutput(Expected(volume));
    }

    tdf::TdfSettings m_settings;
};

}  // namespace support
