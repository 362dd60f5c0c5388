// What a generation tells when the disk fails at any step of its writing.
#include <gtest/gtest.h>

#include <filesystem>

#include "frame/errors.h"
#include "platform/errors.h"
#include "support/disk_faults.h"
#include "support/port_files.h"
#include "support/tdf_generation.h"
#include "support/tdf_model.h"
#include "support/temp_folder.h"
#include "tdf/generation/tdf_generator.h"
#include "tdf/generation/volume_generator.h"

namespace tdf {
namespace {

using support::EFault;
using support::g_diskFaults;
using support::kFileTimes;

class GenerationFaults : public testing::TestWithParam<std::tuple<bool, EFault>> {};

// Owners enough, and room for few: files are let go and continued all the time.
TEST_P(GenerationFaults, NoStepFailsUnnoticed) {
    const auto [crcMode, fault] = GetParam();
    const support::CTempFolder folder;
    TdfSettings settings;
    settings.outpFolder = folder.Path(u"out");
    settings.txtDateTime = kFileTimes;
    settings.recsNumPerTxt = 9;
    settings.bCrcMode = crcMode;
    settings.subfoldersMax = 3;
    std::filesystem::create_directory(folder.Native(u"out"));
    support::Volume volume = support::RandomVolume(3, 5, 40, 4);
    for (std::size_t i = 0; i < volume.owners.size(); ++i) {
        volume.owners[i].name += static_cast<char16_t>(u'a' + i);
    }
    ASSERT_TRUE(support::WriteWhole(folder.Path(u"c.dat"), volume.Bytes()));
    const support::TdfFiles expected =
        ModelTdfFiles(volume, {u"C", 9, crcMode, 3, 0, settings.separators});
    int failures = 0;
    for (int step = 1;; ++step) {
        SCOPED_TRACE(step);
        g_diskFaults.Arm(step, fault);
        g_diskFaults.isDelayed = true;
        bool failed = false;
        try {
            CVolumeGenerator(settings, u"C", {2, 400, 100, 200}).Run(folder.Path(u"c.dat"));
        } catch (const frame::CExc& exc) {
            failed = true;
            EXPECT_LT(exc.GetHResult(), 0);
            EXPECT_NE(exc.GetFullMessage(), u"");
        }
        const int calls = g_diskFaults.Disarm();
        failures += failed ? 1 : 0;
        if (!failed) {
            for (const auto& [name, content] : expected) {
                const std::u16string path = settings.outpFolder + u"/" + name;
                EXPECT_TRUE(support::ReadWhole(path) == content);
                std::int64_t written = 0;
                const auto file = support::OpenToRead(path);
                ASSERT_TRUE(platform::GetFileTime(file.Get(), nullptr, nullptr, &written));
                EXPECT_TRUE(written == kFileTimes || !name.starts_with(u"vl."));
            }
        }
        if (calls < step) {
            break;
        }
    }
    EXPECT_GT(failures, 50);
}

INSTANTIATE_TEST_SUITE_P(All, GenerationFaults,
                         testing::Combine(testing::Bool(),
                                          testing::Values(EFault::FailOnce, EFault::FailFromThen)));

}  // namespace
}  // namespace tdf
