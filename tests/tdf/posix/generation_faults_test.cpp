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
            g_diskFaults.Arm(step, fault);
            g_diskFaults.isDelayed = true;
            bool failed = false;
            try {
                tdf::CVolumeGenerator(m_settings, u"C", {2, 400, 100, 200})
                    .Run(m_folder.Path(u"c.dat"));
            } catch (const frame::CExc& exc) {
                failed = true;
                EXPECT_LT(exc.GetHResult(), 0);
                EXPECT_NE(exc.GetFullMessage(), u"");
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

}  // namespace
