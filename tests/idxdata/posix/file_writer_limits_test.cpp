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

// The write fails, Close fails again, and no byte is written twice.
TEST(FileWriter, ReportsAFileSizeLimit) {
    support::CTempFolder folder;
    const auto refused = Refused("Cannot write file in CFileWriter::WriteTextString", 223);
    for (const std::uint64_t limit : {0U, 1U, 19U, 57U}) {
        for (const std::size_t bufferSize : {16U, 48U, 4096U}) {
            SCOPED_TRACE(std::to_string(limit) + " " + std::to_string(bufferSize));
            const int done = support::RunInChild([&] {
                support::LimitFileSize(limit);
                CFileWriter writer(bufferSize);
                writer.Create(folder.Path(u"w"));
                const auto write = [&] {
                    for (const char16_t* text : {u"abcdefgh", u"ABCDEFGH", u"12345678"}) {
                        writer.WriteTextString(text);
                    }
                    writer.Flush();
                };
                return FailureOf(write) == refused &&
                       FailureOf([&] { writer.Close(); }) == refused && !writer.IsOpen();
            });
            EXPECT_EQ(done, 1);
            const auto all = support::Utf16Bytes(u"abcdefgh\r\nABCDEFGH\r\n12345678\r\n");
            EXPECT_EQ(support::ReadWhole(folder.Path(u"w")), all.substr(0, limit));
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
