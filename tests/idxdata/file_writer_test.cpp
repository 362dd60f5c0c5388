#include "idxdata/streams/file_writer.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "support/engine_failure.h"
#include "support/port_files.h"
#include "support/tdf_model.h"
#include "support/temp_folder.h"

namespace idxdata {
namespace {

using support::Failure;
using support::FailureOf;
using support::ReadWhole;
using support::Refused;

constexpr std::int64_t kTicks = 130027323072500000;  // 2013-01-15 14:05:07.25

// A file in memory with a position.
struct PlainFile {
    void Write(const std::string& bytes) {
        content.replace(position, bytes.size(), bytes);
        position += bytes.size();
    }
    std::string content;
    std::size_t position = 0;
};

// One random operation on both.
void Step(std::mt19937& random, CFileWriter& writer, PlainFile& plain) {
    const std::u16string text(random() % 40, static_cast<char16_t>(0x3B0 + random() % 64));
    const std::string bytes = support::Utf16Bytes(text);
    const std::function<void()> operations[] = {
        [&] { writer.WriteWord(0x2301), plain.Write("\x01\x23"); },
        [&] { writer.WriteDWord(0x67452301), plain.Write("\x01\x23\x45\x67"); },
        [&] { writer.WriteLongLong(-2), plain.Write("\xFE\xFF\xFF\xFF\xFF\xFF\xFF\xFF"); },
        [&] {
            writer.WriteString(text);
            plain.Write(std::string{static_cast<char>(text.size()), 0, 0, 0} + bytes);
        },
        [&] { writer.WriteTextString(text), plain.Write(bytes + std::string("\r\0\n\0", 4)); },
        [&] { writer.WritePrefix("VIFD"), plain.Write("VIFD"); },
        [&] { writer.WriteBuf(bytes.data(), bytes.size()), plain.Write(bytes); },
        [&] {
            if (std::byte* const space = writer.Reserve(bytes.size() + 1)) {
                std::copy_n(bytes.data(), bytes.size(), reinterpret_cast<char*>(space));
                writer.Commit(bytes.size());
                plain.Write(bytes);
            }
        },
        [&] {
            plain.position = random() % (plain.content.size() + 1);
            writer.SetCurFilePos(static_cast<std::int64_t>(plain.position));
        },
        [&] { writer.Pause(); },
        [&] { writer.Flush(); },
        [&] { writer.ReleaseBuffer(); },
    };
    operations[random() % std::size(operations)]();
}

TEST(FileWriter, WritesTheBytesOfAPlainFile) {
    support::CTempFolder folder;
    const std::u16string path = folder.Path(u"w");
    for (const std::size_t bufferSize : {1U, 2U, 7U, 64U, 65536U}) {
        std::mt19937 random(static_cast<std::uint32_t>(bufferSize));
        CFileWriter writer(bufferSize);
        PlainFile plain;
        writer.Create(path);
        writer.SetAllFileTimes(kTicks);
        for (int i = 0; i < 400; ++i) {
            Step(random, writer, plain);
            ASSERT_TRUE(writer.IsOpen());
            ASSERT_EQ(writer.GetCurFilePos(), static_cast<std::int64_t>(plain.position)) << i;
        }
        writer.Close();
        EXPECT_FALSE(writer.IsOpen());
        EXPECT_TRUE(support::HasTimes(
            path, kTicks));  // before the first read, which changes the access time
        EXPECT_EQ(ReadWhole(path), plain.content) << bufferSize;
    }
}

TEST(FileWriter, PausesAndResumes) {
    support::CTempFolder folder;
    const std::u16string path = folder.Path(u"w");
    CFileWriter writer;
    writer.Create(path);
    writer.SetAllFileTimes(kTicks);
    EXPECT_EQ(FailureOf([&] { CFileWriter().Create(path); }),
              Refused("Cannot create file in CFileWriter::Create", 32));
    writer.WriteWord(0xFEFF);
    writer.Pause();
    EXPECT_FALSE(writer.HoldsHandle());
    ASSERT_EQ(ReadWhole(path), "");
    writer.WriteTextString(u"a");
    writer.Flush();
    EXPECT_TRUE(support::HasTimes(path, kTicks));
    writer.Pause();
    writer.WriteTextString(u"b");
    ASSERT_TRUE(support::WriteWhole(path, "changed by another program"));
    EXPECT_EQ(FailureOf([&] { writer.Flush(); }),
              Refused("Cannot write file in CFileWriter::WriteTextString", 32));
    EXPECT_EQ(FailureOf([&] { writer.Close(); }).code, 32U);
    EXPECT_FALSE(writer.IsOpen());
    // Create replaces a file and closes the one before, unless it fails. So does the destructor.
    writer.Create(path);
    writer.WriteWord(0x6161);
    EXPECT_EQ(FailureOf([&] { writer.Create(folder.Path(u"missing/x")); }),
              Refused("Cannot create file in CFileWriter::Create", 3));
    writer.WriteWord(0x6262);
    writer.Create(folder.Path(u"x"));
    EXPECT_EQ(ReadWhole(path), "aabb");
    {
        CFileWriter dropped;
        dropped.Create(path);
        dropped.WriteWord(0x6363);
    }
    EXPECT_EQ(ReadWhole(path), "cc");
    EXPECT_EQ(FailureOf([&] { writer.SetCurFilePos(-1); }),
              Refused("Error in CFileWriter::SetCurFilePos", 131));
}

TEST(FileWriter, ReplacesAFileWithSeveralNames) {
    support::CTempFolder folder;
    ASSERT_TRUE(support::WriteWhole(folder.Path(u"victim"), "abcd"));
    std::filesystem::create_hard_link(folder.Native(u"victim"), folder.Native(u"w"));
    CFileWriter writer;
    writer.Create(folder.Path(u"w"), CFileWriter::EOtherEntry::Remove);
    writer.WriteWord(0x6161);
    writer.Close();
    EXPECT_EQ(ReadWhole(folder.Path(u"w")), "aa");
    EXPECT_EQ(ReadWhole(folder.Path(u"victim")), "abcd");
}

TEST(FileWriter, RefusesCallsWithoutAFile) {
    CFileWriter closed;
    // clang-format off
    const std::pair<std::function<void()>, std::string> rows[] = {
        {[&] { closed.WriteWord(1); }, "Cannot write word in CFileWriter::WriteWord"},
        {[&] { closed.WriteDWord(1); }, "Cannot write word in CFileWriter::WriteDWord"},
        {[&] { closed.WriteLongLong(1); }, "Cannot write word in CFileWriter::WriteLongLong"},
        {[&] { closed.WriteString(u""); }, "Cannot write in CFileWriter::WriteString"},
        {[&] { closed.WriteTextString(u""); }, "Cannot write in CFileWriter::WriteTextString"},
        {[&] { closed.Reserve(1); }, "Cannot write in CFileWriter::WriteTextString"},
        {[&] { closed.SetAllFileTimes(1); }, "Cannot set file time in CFileWriter::SetAllFileTimes"},
        {[&] { closed.WritePrefix("VIF"); }, "Invalid length of prefix CFileWriter::WritePrefix"},
        {[&] { closed.WritePrefix("VIFD"); }, "Invalid argument in CFileWriter::WritePrefix"},
        {[&] { closed.WriteBuf(nullptr, 1); }, "Cannot write buf in CFileWriter::WriteBuf"},
        {[&] { closed.WriteBuf("", 0); }, "Cannot write buf in CFileWriter::WriteBuf"},
    };
    // clang-format on
    for (const auto& [call, message] : rows) {
        EXPECT_EQ(FailureOf(call), (Failure{message, frame::kInvalidArg}));
    }
    EXPECT_EQ(FailureOf([&] { closed.Close(); }), Failure{});
}

}  // namespace
}  // namespace idxdata
