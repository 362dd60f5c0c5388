// What all tests of the generation of text data files start from.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "frame/conversions.h"
#include "frame/errors.h"
#include "support/port_files.h"
#include "support/target.h"
#include "support/tdf_model.h"
#include "support/temp_folder.h"
#include "tdf/generation/tdf_generator.h"

namespace support {

inline constexpr std::int64_t kFileTimes = 130027323072500000;  // 2013-01-15 14:05:07.25
inline constexpr std::int32_t kNoSplit = 1000000;
inline constexpr std::int64_t kMorning = 130027143072500000;  // 2013-01-15 09:05:07.25

// A volume list, its volumes and the output in a folder of the test's own.
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

    // Lines with CR LF between them, none behind the last.
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
    // What the model says for the settings of this test.
    TdfFiles Expected(const Volume& volume, std::u16string volumeName = u"C") const {
        return ModelTdfFiles(
            volume, {std::move(volumeName), m_settings.recsNumPerTxt, m_settings.bCrcMode,
                     m_settings.subfoldersMax, m_settings.additionalParts, m_settings.separators});
    }
    // The messages of the failure that generation ends with, and its result.
    struct Failure {
        std::string text;
        frame::HResult result = 0;
    };
    Failure Generate() const {
        try {
            tdf::GenerateTextDataFiles(m_settings);
            return {};
        } catch (const frame::CExc& exc) {
            return {frame::WideToAnsi(exc.GetFullMessage()), exc.GetHResult()};
        }
    }
    void ExpectTimes(std::u16string_view name) const {
        const platform::CFileHandle file = OpenToRead(OutPath(name));
        std::int64_t access = 0;
        std::int64_t write = 0;
        ASSERT_TRUE(platform::GetFileTime(file.Get(), nullptr, &access, &write));
        EXPECT_EQ(access, kFileTimes) << frame::WideToAnsi(name);
        if (KeepsSetTimes()) {
            EXPECT_EQ(write, kFileTimes) << frame::WideToAnsi(name);
        }
    }

    CTempFolder m_folder;
    tdf::TdfSettings m_settings;
};

// The names of both, then what differs, so that a failure is readable.
inline void ExpectSame(const TdfFiles& actual, const TdfFiles& expected) {
    std::vector<std::string> names[2];
    for (const auto& [name, content] : actual) {
        names[0].push_back(frame::WideToAnsi(name));
    }
    for (const auto& [name, content] : expected) {
        names[1].push_back(frame::WideToAnsi(name));
    }
    ASSERT_EQ(names[0], names[1]);
    for (const auto& [name, content] : expected) {
        EXPECT_TRUE(actual.at(name) == content) << frame::WideToAnsi(name);
    }
}

}  // namespace support
