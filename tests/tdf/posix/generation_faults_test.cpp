// Generation when any step of its writing fails.
#include <gtest/gtest.h>

#include "frame/errors.h"
#include "support/child_process.h"
#include "support/disk_faults.h"
#include "support/tdf_generation.h"
#include "tdf/generation/volume_generator.h"

namespace {

using support::EFault;
using support::g_diskFaults;

class GenerationFaults : public support::CTdfGenerationTest {};

// More owners than buffers and handles: files are closed and reopened all the time.
TEST_F(GenerationFaults, EachIsReported) {
    const support::Volume volume = support::UniqueOwnersVolume(3, 5, 40, 4);
    WriteVolume(volume.Bytes());
    std::filesystem::create_directories(m_folder.Native(u"new/out"));
    const std::filesystem::path map = m_folder.Native(u"new/out/owners.C.map");
    m_settings.recsNumPerTxt = 9;
    for (const auto& [crcMode, fault] :
         {std::pair(false, EFault::FailOnce), std::pair(false, EFault::FailFromThen),
          std::pair(true, EFault::FailOnce), std::pair(true, EFault::FailFromThen)}) {
        m_settings.bCrcMode = crcMode;
        const support::TdfFiles expected = Expected(volume);
        int failures = 0;
        int calls = 1;
        for (int step = 1; step <= calls + 1; ++step) {  // the last step has no fault
            SCOPED_TRACE(step);
            std::filesystem::remove(map);
            g_diskFaults.Arm(step, fault);
            g_diskFaults.isDelayed = true;
            bool failed = false;
            try {
                tdf::CVolumeGenerator(m_settings, u"C", {2, 400, 100, 200})
                    .Run(m_folder.Path(u"c.dat"));
            } catch (const frame::CExc& exc) {
                failed = true;
                EXPECT_LT(exc.GetHResult(), 0);
                const std::string message = frame::WideToAnsi(exc.GetFullMessage());
                EXPECT_NE(message, "");
                // Text that was not written has no owners map.
                EXPECT_TRUE(message.starts_with("Failed to create owners map file.") ||
                            !std::filesystem::exists(map))
                    << message;
            }
            calls = g_diskFaults.Disarm();
            failures += failed ? 1 : 0;
            for (const auto& [name, content] : failed ? support::TdfFiles() : expected) {
                if (name.starts_with(u"vl.")) {
                    ExpectTimes(name);
                }
                EXPECT_TRUE(support::ReadWhole(OutPath(name)) == content);
            }
        }
        EXPECT_GT(failures, 50);
    }
}

TEST_F(GenerationFaults, AFullDiskRefusesTheFirstText) {
    WriteVolume(support::SmallVolume().Bytes());
    EXPECT_EQ(support::RunInChild([&] {
                  support::LimitFileSize(0);
                  const Failure failure = Generate();
                  return failure.text.starts_with("Cannot write file in CFileWriter::WriteWord\r")
                             ? 0
                             : 1;
              }),
              0);
    EXPECT_EQ(ReadOutput(), (support::TdfFiles{{u"vl.C.CORP.jsmith.0.txt", ""}}));
}

TEST_F(GenerationFaults, PlantedLinksAreReplaced) {
    const support::Volume volume = support::SmallVolume();
    WriteVolume(volume.Bytes());
    std::filesystem::create_directories(m_folder.Native(u"new/out"));
    const std::u16string victim = m_folder.Path(u"victim");
    ASSERT_TRUE(support::WriteWhole(victim, "precious"));
    for (const char* name : {"vl.C.CORP.jsmith.0.txt", "owners.C.map"}) {
        std::filesystem::create_symlink(victim, m_folder.Native(u"new/out") / name);
    }
    const auto dangling = m_folder.Native(u"new/out/vl.C.unkn0.0.txt");
    std::filesystem::create_symlink(m_folder.Native(u"none"), dangling);
    EXPECT_EQ(Generate().text, "");
    support::ExpectSame(ReadOutput(), Expected(volume));
    EXPECT_EQ(support::ReadWhole(victim), "precious");
    EXPECT_FALSE(std::filesystem::exists(m_folder.Native(u"none")));
}

}  // namespace
