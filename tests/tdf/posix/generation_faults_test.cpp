// Generation when any step of its writing fails, and with few file handles.
#include <gtest/gtest.h>

#include "frame/errors.h"
#include "support/child_process.h"
#include "support/disk_faults.h"
#include "support/tdf_generation.h"
#include "tdf/generation/volume_generator.h"

namespace {

using support::EFault;
using support::g_diskFaults;

using GenerationFaults = support::CTdfGenerationTest;

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
            if (!failed) {
                ExpectOutput(expected);
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
    EXPECT_EQ(support::ReadWhole(OutPath(u"vl.C.CORP.jsmith.0.txt")), "");
    EXPECT_FALSE(std::filesystem::exists(OutPath(u"owners.C.map")));
}

TEST_F(GenerationFaults, PlantedLinksAreReplaced) {
    const support::Volume volume = support::SmallVolume();
    WriteVolume(volume.Bytes());
    std::filesystem::create_directories(m_folder.Native(u"new/out"));
    const std::u16string victim = m_folder.Path(u"victim");
    ASSERT_TRUE(support::WriteWhole(victim, "precious"));
    const auto dangling = m_folder.Native(u"new/out/vl.C.unkn0.0.txt");
    std::filesystem::create_symlink(m_folder.Native(u"none"), dangling);
    for (const bool isHard : {true, false}) {
        for (const char* name : {"vl.C.CORP.jsmith.0.txt", "owners.C.map"}) {
            const auto planted = m_folder.Native(u"new/out") / name;
            std::filesystem::remove(planted);
            isHard ? std::filesystem::create_hard_link(victim, planted)
                   : std::filesystem::create_symlink(victim, planted);
        }
        EXPECT_EQ(Generate().text, "");
        ExpectOutput(Expected(volume));
        EXPECT_EQ(support::ReadWhole(victim), "precious");
        EXPECT_FALSE(std::filesystem::exists(m_folder.Native(u"none")));
    }
}

TEST_F(GenerationFaults, MoreOwnersThanHandles) {
    const support::Volume volume = support::UniqueOwnersVolume(1, 10, 50'000, 10'000);
    WriteVolume(volume.Bytes());
    constexpr std::uint64_t kMaxMemory = 300'000'000;  // bytes
    for (const std::uint64_t handles : {256U, 24U}) {
        EXPECT_EQ(support::RunInChild([&] {
                      support::LimitOpenFiles(handles);
                      if (Generate().result != S_OK) {
                          return 1;
                      }
                      return support::PeakMemory() < kMaxMemory ? 0 : 2;
                  }),
                  0)
            << handles;
        ExpectOutput(Expected(volume));
    }
}

// A file that many volumes name is loaded once.
TEST_F(GenerationFaults, ManyVolumesOfOneFile) {
    support::Volume volume = support::SmallVolume();
    volume.files.resize(150'000, volume.files[0]);
    WriteVolume(volume.Bytes());
    std::string list = "none=";
    for (int i = 0; i < 60; ++i) {
        list += "\r\nVolume." + std::to_string(i) + "=c.dat";
    }
    ASSERT_TRUE(support::WriteWhole(m_folder.Path(u"summary.txt"), list));
    EXPECT_EQ(support::RunInChild([&] {
                  automation::CComPtr<IOibBDFSearchTask> task;
                  const automation::CBstr folder = support::Bstr(m_folder.Path());
                  if (m_lib->FindInOibBDF(folder.Get(), task.Put()) != S_OK) {
                      return 1;
                  }
                  return support::PeakMemory() < 300'000'000 ? 0 : 2;
              }),
              0);
}

}  // namespace
