// A writer whose writes to the file fail.
#include <gtest/gtest.h>

#include "idxdata/streams/file_writer.h"
#include "support/disk_faults.h"
#include "support/engine_failure.h"
#include "support/port_files.h"
#include "support/temp_folder.h"

namespace idxdata {
namespace {

using support::EFault;
using support::FailureOf;
using support::g_diskFaults;
using support::ReadWhole;
using support::Refused;

// A write fails after half of its bytes. The next one continues there, or fails as well.
TEST(FileWriter, WritesNoByteTwiceAndLosesNone) {
    support::CTempFolder folder;
    const std::u16string path = folder.Path(u"w");
    const std::string_view all = "0123456789abcdef";
    for (const EFault fault : {EFault::FailOnce, EFault::FailFromThen}) {
        CFileWriter writer;
        writer.Create(path);
        writer.WriteBuf(all.data(), 8);
        g_diskFaults.Arm(1, fault);
        const auto refused = Refused("Cannot write file in CFileWriter::WriteBuf", 112);
        EXPECT_EQ(FailureOf([&] { writer.Flush(); }), refused);
        EXPECT_EQ(std::filesystem::file_size(folder.Native(u"w")), 4U);
        writer.WriteBuf(all.data() + 8, 8);
        const bool failsAgain = fault == EFault::FailFromThen;
        EXPECT_EQ(FailureOf([&] { writer.Close(); }), failsAgain ? refused : support::Failure{});
        EXPECT_FALSE(writer.IsOpen());
        g_diskFaults.Disarm();
        const std::string content = ReadWhole(path);
        EXPECT_TRUE(failsAgain ? all.starts_with(content) : content == all) << content;
    }
}

TEST(FileWriter, ReportsAFullDeviceWhenItCloses) {
    CFileWriter writer;
    writer.Create(u"/dev/full");
    writer.WriteDWord(1);
    writer.WriteWord(1);
    EXPECT_EQ(FailureOf([&] { writer.Close(); }),
              Refused("Cannot write file in CFileWriter::WriteWord", 112));
}

}  // namespace
}  // namespace idxdata
