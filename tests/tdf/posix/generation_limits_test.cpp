// Generation in a process with few file handles.
#include <gtest/gtest.h>

#include "support/child_process.h"
#include "support/tdf_generation.h"

namespace {

using GenerationLimits = support::CTdfGenerationTest;

TEST_F(GenerationLimits, MoreOwnersThanHandles) {
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
