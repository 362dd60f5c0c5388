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

using support::Failure;
using support::FailureOf;
using support::Refused;

// Writes `lines` lines to a file that may not grow past `limit`; every failure is met
// twice: by the writing itself and by a second try, which must not write anything twice.
int WriteAgainstLimit(const std::u16string& path, std::uint64_t limit, std::size_t bufferSize) {
    support::LimitFileSize(limit);
    CFileWriter writer(bufferSize);
    writer.Create(path);
    const Failure expected = Refused("Cannot write file in CFileWriter::WriteTextString", 223);
    const auto write = [&] {
        for (int i = 0; i < 20; ++i) {
            writer.WriteTextString(u"abcdefgh");
        }
        writer.Flush();
    };
    if (FailureOf(write) != expected) {
        return 1;
    }
    if (FailureOf([&] { writer.Close(); }) != expected || writer.IsOpen()) {
        return 2;
    }
    return 0;
}

TEST(FileWriter, AFullFileIsNeverASuccess) {
    support::CTempFolder folder;
    const std::u16string path = folder.Path(u"w");
    const std::string line = support::Utf16Bytes(u"abcdefgh\r\n");
    std::string all;
    for (int i = 0; i < 20; ++i) {
        all += line;
    }
    for (const std::uint64_t limit : {0U, 1U, 19U, 200U, 399U}) {
        for (const std::size_t bufferSize : {16U, 48U, 4096U}) {
            SCOPED_TRACE(std::to_string(limit) + " " + std::to_string(bufferSize));
            EXPECT_EQ(
                support::RunInChild([&] { return WriteAgainstLimit(path, limit, bufferSize); }), 0);
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
