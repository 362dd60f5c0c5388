// Generation in a process with few file handles, and on a full disk.
#include <gtest/gtest.h>

#include <algorithm>

#include "support/child_process.h"
#include "support/tdf_generation.h"

namespace {

using support::ExpectSame;
using support::Volume;
using support::Wide;

using GenerationLimits = support::CTdfGenerationTest;

// Consecutive files belong to different owners.
Volume ManyOwners(std::uint32_t owners, std::uint32_t files) {
    Volume volume;
    volume.dirs = {{u"", 0}, {u"folder", 0}};
    for (std::uint32_t i = 0; i < owners; ++i) {
        const std::u16string number = Wide(std::to_string(i));
        volume.owners.push_back({u"S-" + number, u"u" + number, u"CORP"});
    }
    for (std::uint32_t i = 0; i < files; ++i) {
        volume.files.push_back(
            {u"file" + Wide(std::to_string(i)), i % 2, i * 7919 % owners, support::kMorning, i});
    }
    return volume;
}

TEST_F(GenerationLimits, MoreOwnersThanHandles) {
    const Volume volume = ManyOwners(20'000, 100'000);
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
        for (const char16_t* owner : {u"0", u"9999", u"19999"}) {
            ExpectTimes(u"vl.C.CORP.u" + std::u16string(owner) + u".0.txt");
        }
        ExpectSame(ReadOutput(), Expected(volume));
    }
}

TEST_F(GenerationLimits, AFullDiskIsReported) {
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
            const bool reported =
                failure.result == static_cast<HRESULT>(0x800700DF) &&  // file too large
                failure.text.starts_with("Cannot write file in CFileWriter::Write");
            return failure.result == S_OK ? 0 : reported ? 1 : 2;
        };
        EXPECT_EQ(support::RunInChild(generate), limit < largest ? 1 : 0) << limit;
    }
    ExpectSame(ReadOutput(), Expected(volume));
}

}  // namespace
