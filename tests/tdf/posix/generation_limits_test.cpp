// Generation in a process with few file handles, or with no room for its files.
#include <gtest/gtest.h>

#include <algorithm>

#include "platform/errors.h"
#include "support/child_process.h"
#include "support/tdf_generation.h"

namespace tdf {
namespace {

using support::ExpectSame;
using support::kMorning;
using support::Volume;

using GenerationLimits = support::CTdfGenerationTest;

// Owners in mixed order, each with a line of its own length.
Volume ManyOwners(std::uint32_t owners, std::uint32_t files) {
    Volume volume;
    volume.dirs = {{u"", 0}, {u"folder", 0}};
    for (std::uint32_t i = 0; i < owners; ++i) {
        volume.owners.push_back(
            {u"S-" + frame::UInt64ToString(i), u"u" + frame::UInt64ToString(i), u"CORP"});
    }
    for (std::uint32_t i = 0; i < files; ++i) {
        volume.files.push_back(
            {u"file" + frame::UInt64ToString(i), i % 2, i * 7919 % owners, kMorning, i});
    }
    return volume;
}

TEST_F(GenerationLimits, ServesMoreOwnersThanThereAreHandles) {
    const Volume volume = ManyOwners(20'000, 100'000);
    WriteVolume(volume.Bytes());
    constexpr std::uint64_t kMaxMemory = 300'000'000;
    for (const std::uint64_t handles : {256U, 24U}) {
        EXPECT_EQ(support::RunInChild([&] {
                      support::LimitOpenFiles(handles);
                      if (Generate().result != 0) {
                          return 1;
                      }
                      return support::PeakMemory() < kMaxMemory ? 0 : 2;
                  }),
                  0)
            << handles;
        for (const std::uint32_t owner : {0U, 9'999U, 19'999U}) {
            ExpectTimes(u"vl.C.CORP.u" + frame::UInt64ToString(owner) + u".0.txt");
        }
        ExpectSame(ReadOutput(), Expected(volume));
    }
}

TEST_F(GenerationLimits, AFullDiskIsNeverASuccess) {
    const Volume volume = ManyOwners(3, 3000);
    WriteVolume(volume.Bytes());
    std::uint64_t largest = 0;
    for (const auto& [name, content] : Expected(volume)) {
        largest = std::max<std::uint64_t>(largest, content.size());
    }
    for (const std::uint64_t limit : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{65535},
                                      std::uint64_t{65536}, largest - 1, largest}) {
        const auto generate = [&] {
            support::LimitFileSize(limit);
            const Failure failure = Generate();
            if (failure.result == 0) {
                return 0;
            }
            const bool told = failure.text.starts_with("Cannot write file in CFileWriter::Write");
            const bool coded =
                failure.result == frame::HResultFromWin32(platform::win32err::kFileTooLarge);
            return told && coded ? 1 : 2;
        };
        EXPECT_EQ(support::RunInChild(generate), limit < largest ? 1 : 0) << limit;
    }
    ExpectSame(ReadOutput(), Expected(volume));
}

}  // namespace
}  // namespace tdf
