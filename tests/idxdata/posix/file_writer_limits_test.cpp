// A writer whose file cannot grow.
#include <gtest/gtest.h>

#include "idxdata/streams/file_writer.h"
#include "support/child_process.h"
#include "support/engine_failure.h"
#include "support/port_files.h"
#include "support/tdf_model.h"
#include "support/temp_folder.h"

namespace idxdata {
namespace {

using support::FailureOf;
using support::Refused;

TEST(FileWriter, ReportsAFileSizeLimitTwice) {
    support::CTempFolder folder;
    const std::u16string path = folder.Path(u"w");
    std::string all;
    for (int i = 0; i < 20; ++i) {
        all += support::Utf16Bytes(u"abcdefgh\r\n");
    }
    for (const std::uint64_t limit : {0U, 1U, 19U, 200U, 399U}) {
        for (const std::size_t bufferSize : {16U, 48U, 4096U}) {
            SCOPED_TRACE(std::to_string(limit) + " " + std::to_string(bufferSize));
            const auto refused = Refused("Cannot write file in CFileWriter::WriteTextString", 223);
            // The write fails, Close fails again, and no byte is written twice.
            EXPECT_TRUE(support::RunInChild([&] {
                            support::LimitFileSize(limit);
                            CFileWriter writer(bufferSize);
                            writer.Create(path);
                            const auto write = [&] {
                                for (int i = 0; i < 20; ++i) {
                                    writer.WriteTextString(u"abcdefgh");
                                }
                                writer.Flush();
                            };
                            return FailureOf(write) == refused &&
                                   FailureOf([&] { writer.Close(); }) == refused &&
                                   !writer.IsOpen();
                        }) == 1);
            EXPECT_EQ(support::ReadWhole(path), all.substr(0, limit));
        }
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
