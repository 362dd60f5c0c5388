// Generation and search in a process with few resources.
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
        const support::TdfFiles expected = Expected(volume);
        for (const auto& [name, content] : expected) {
            if (name.ends_with(u"9.0.txt")) {
                ExpectTimes(name);
            }
        }
        support::ExpectSame(ReadOutput(), expected);
    }
}

// A file that many volumes name is loaded once.
TEST_F(GenerationLimits, ManyVolumesOfOneFile) {
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
