#include "idxdata/streams/file_writer.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "frame/errors.h"
#include "support/engine_failure.h"
#include "support/port_files.h"
#include "support/target.h"
#include "support/temp_folder.h"

namespace idxdata {
namespace {

using support::Failure;
using support::FailureOf;
using support::Refused;

constexpr std::int64_t kTicks = 130027323072500000;  // 2013-01-15 14:05:07.25

void ExpectTimes(std::u16string_view path, std::int64_t expected) {
    const platform::CFileHandle file = support::OpenToRead(path);
    std::int64_t access = 0;
    std::int64_t write = 0;
    ASSERT_TRUE(platform::GetFileTime(file.Get(), nullptr, &access, &write));
    EXPECT_EQ(access, expected);
    if (support::KeepsSetTimes()) {
        EXPECT_EQ(write, expected);
    }
}

std::string BytesOf(std::u16string_view text) {
    std::string bytes;
    for (const char16_t unit : text) {
        bytes += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
    }
    return bytes;
}

// A file in memory with a position.
struct PlainFile {
    std::string content;
    std::size_t position = 0;

    void Write(const std::string& bytes) {
        content.resize(std::max(content.size(), position + bytes.size()));
        content.replace(position, bytes.size(), bytes);
        position += bytes.size();
    }
};

// One random operation on both.
void Step(std::mt19937& random, CFileWriter& writer, PlainFile& plain) {
    const std::u16string text(random() % 40, static_cast<char16_t>(0x3B0 + random() % 64));
    const std::string bytes = BytesOf(text);
    switch (random() % 11) {
        case 0:
            writer.WriteWord(0x2301);
            return plain.Write("\x01\x23");
        case 1:
            writer.WriteDWord(0x67452301);
            return plain.Write("\x01\x23\x45\x67");
        case 2:
            writer.WriteLongLong(-2);
            return plain.Write("\xFE\xFF\xFF\xFF\xFF\xFF\xFF\xFF");
        case 3:
            writer.WriteString(text);
            return plain.Write(std::string{static_cast<char>(text.size()), 0, 0, 0} + bytes);
        case 4:
            writer.WriteTextString(text);
            return plain.Write(bytes + std::string("\r\0\n\0", 4));
        case 5:
            writer.WritePrefix("VIFD");
            return plain.Write("VIFD");
        case 6:
            writer.WriteBuf(bytes.data(), bytes.size());
            return plain.Write(bytes);
        case 7:
            if (std::byte* const room = writer.Reserve(bytes.size() + 1)) {
                std::copy_n(bytes.data(), bytes.size(), reinterpret_cast<char*>(room));
                writer.Commit(bytes.size());
                plain.Write(bytes);
            }
            return;
        case 8:
            plain.position = random() % (plain.content.size() + 1);
            return writer.SetCurFilePos(static_cast<std::int64_t>(plain.position));
        case 9:
            return writer.Pause();
        default:
            return random() % 2 == 0 ? writer.Flush() : writer.ReleaseBuffer();
    }
}

TEST(FileWriter, WritesWhatAPlainFileWouldHold) {
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
        ExpectTimes(path, kTicks);  // before anybody reads
        EXPECT_EQ(support::ReadWhole(path), plain.content) << bufferSize;
    }
}

TEST(FileWriter, ContinuesWithoutCuttingOrLosingTimes) {
    support::CTempFolder folder;
    const std::u16string path = folder.Path(u"w");
    CFileWriter writer;
    writer.Create(path);
    writer.SetAllFileTimes(kTicks);
    writer.WriteWord(0xFEFF);
    writer.Pause();
    EXPECT_FALSE(writer.HoldsHandle());
    ASSERT_EQ(support::ReadWhole(path), "");  // and may be opened by others
    writer.WriteTextString(u"a");
    writer.Flush();
    ExpectTimes(path, kTicks);
    writer.Pause();
    writer.WriteTextString(u"b");
    ASSERT_TRUE(support::WriteWhole(path, "somebody else was here"));
    EXPECT_EQ(FailureOf([&] { writer.Flush(); }),
              Refused("Cannot write file in CFileWriter::WriteTextString", 32));
    EXPECT_EQ(FailureOf([&] { writer.Close(); }).code, 32U);
    EXPECT_FALSE(writer.IsOpen());
}

TEST(FileWriter, CreateReplacesAndTakesTurns) {
    support::CTempFolder folder;
    ASSERT_TRUE(support::WriteWhole(folder.Path(u"a"), "longer than what follows"));
    CFileWriter writer;
    writer.Create(folder.Path(u"a"));
    writer.WriteWord(0x6161);
    CFileWriter second;
    EXPECT_EQ(FailureOf([&] { second.Create(folder.Path(u"a")); }),
              Refused("Cannot create file in CFileWriter::Create", 32));
    writer.Create(folder.Path(u"b"));
    EXPECT_EQ(support::ReadWhole(folder.Path(u"a")), "aa");
    {
        CFileWriter lost;
        lost.Create(folder.Path(u"c"));
        lost.WriteWord(0x6161);
    }
    EXPECT_EQ(support::ReadWhole(folder.Path(u"c")), "");
}

TEST(FileWriter, RefusesWhatItCannotDo) {
    constexpr frame::HResult kBad = frame::kInvalidArg;
    const auto invalid = [](const char* message) { return Failure{message, kBad}; };
    CFileWriter closed;
    struct Row {
        std::function<void()> call;
        Failure expected;
    };
    const Row kRows[] = {
        {[&] { closed.WriteWord(1); }, invalid("Cannot write word in CFileWriter::WriteWord")},
        {[&] { closed.WriteDWord(1); }, invalid("Cannot write word in CFileWriter::WriteDWord")},
        {[&] { closed.WriteLongLong(1); },
         invalid("Cannot write word in CFileWriter::WriteLongLong")},
        {[&] { closed.WriteString(u""); }, invalid("Cannot write in CFileWriter::WriteString")},
        {[&] { closed.WriteTextString(u""); },
         invalid("Cannot write in CFileWriter::WriteTextString")},
        {[&] { closed.Reserve(1); }, invalid("Cannot write in CFileWriter::WriteTextString")},
        {[&] { closed.SetAllFileTimes(1); },
         invalid("Cannot set file time in CFileWriter::SetAllFileTimes")},
        {[&] { closed.WritePrefix(nullptr); },
         invalid("Invalid argument in CFileWriter::WritePrefix")},
        {[&] { closed.WritePrefix("VIF"); },
         invalid("Invalid length of prefix CFileWriter::WritePrefix")},
        {[&] { closed.WritePrefix("VIFD"); },
         invalid("Invalid argument in CFileWriter::WritePrefix")},
        {[&] { closed.WriteBuf(nullptr, 1); },
         invalid("Cannot write buf in CFileWriter::WriteBuf")},
        {[&] { closed.WriteBuf("", 0); }, invalid("Cannot write buf in CFileWriter::WriteBuf")},
        {[&] { closed.GetCurFilePos(); }, Refused("Error in CFileWriter::GetCurFilePos", 6)},
        {[&] { closed.SetCurFilePos(0); }, Refused("Error in CFileWriter::SetCurFilePos", 6)},
        {[&] { closed.Create(u"/no/such/folder/x"); },
         Refused("Cannot create file in CFileWriter::Create", 3)},
        {[&] { closed.Close(); }, Failure{}},
    };
    for (const Row& row : kRows) {
        EXPECT_EQ(FailureOf(row.call), row.expected) << row.expected.message;
    }
    support::CTempFolder folder;
    CFileWriter open;
    open.Create(folder.Path(u"w"));
    EXPECT_EQ(FailureOf([&] { open.SetCurFilePos(-1); }),
              Refused("Error in CFileWriter::SetCurFilePos", 131));
}

}  // namespace
}  // namespace idxdata
