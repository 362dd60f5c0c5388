// Binary files and memory buffers.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>

#include "idxdata/buffers/binary_file.h"
#include "idxdata/buffers/mtf_buffers.h"
#include "support/engine_failure.h"
#include "support/port_files.h"
#include "support/target.h"
#include "support/temp_folder.h"

namespace idxdata {
namespace {

using support::MessageOf;
using support::ReadWhole;

TEST(MtfBuffers, GrowByWholeSteps) {
    CMtfOutBuffer out(2048);
    std::string expected;
    for (const std::size_t length : {1, 2047, 0, 1, 10000}) {
        const std::string bytes(length, static_cast<char>('a' + expected.size() % 26));
        out.Append(bytes.data(), bytes.size());
        expected += bytes;
        EXPECT_EQ(out.StorageSize(), (expected.size() + 2047) / 2048 * 2048);
    }
    const auto storage = out.TakeStorage();
    const auto* data = reinterpret_cast<const char*>(storage->Data());
    EXPECT_EQ(std::string(data, storage->Size()), expected);
    EXPECT_EQ(out.Used() + out.StorageSize(), 0U);
    EXPECT_EQ(MessageOf([&] { storage->Resize(std::uint64_t{1} << 62); }),
              u"Cannot reallocate memory buffer. Requested size of the buffer is "
              u"4611686018427387904 elements, previous - 12049.");
}

TEST(MtfBuffers, CutAtDelimiters) {
    CMtfOutBuffer out(16);
    out.Append("a---+--b--", 10);
    CMtfInBuffer in(out.TakeStorage());
    EXPECT_TRUE(in.StartsWith("a-"));
    EXPECT_FALSE(in.StartsWith("a---+--b---"));
    std::vector<std::string_view> tokens;
    for (std::string_view token; in.NextToken("--", token);) {
        tokens.push_back(token);
    }
    // A delimiter at the end of the content stays.
    EXPECT_EQ(tokens, (std::vector<std::string_view>{"a", "-+", "b--"}));
}

class BinaryFile : public testing::Test {
protected:
    support::CTempFolder m_folder;
    std::u16string m_path = m_folder.Path(u"f");
};

// The message of CWin32Exc with this text, path and code.
std::u16string Win32Message(std::u16string_view text, std::u16string_view path,
                            std::uint32_t code) {
    return frame::CWin32Exc(text, {path}, code).GetFullMessage();
}

TEST_F(BinaryFile, TransfersExactly) {
    ASSERT_TRUE(support::WriteWhole(m_path, ""));
    const auto file = CBinaryFile::Open(m_path, EFileAccess::ReadWrite);
    file->Write("0123456789", 10);
    file->WriteAt(2, "ab", 2);
    EXPECT_EQ(file->GetPosition(), 4U);
    file->SeekToEnd();
    file->Write("!", 1);
    EXPECT_EQ(file->GetSize(), 11U);
    std::string buffer(8, '\0');
    file->ReadAt(1, buffer.data(), 4);
    EXPECT_EQ(buffer.substr(0, 4), "1ab4");
    file->Seek(8);
    EXPECT_EQ(file->Read(buffer.data(), 8), 3U);
    file->SetSize(3);
    EXPECT_EQ(file->GetPosition(), 3U);
    file->SeekToBegin();
    file->ReadExact(buffer.data(), 3);
    EXPECT_EQ(ReadWhole(m_path), "01a");
    platform::SetLastError(0);
    EXPECT_EQ(
        MessageOf([&] { file->ReadAt(1, buffer.data(), 5); }),
        Win32Message(u"Only 2 bytes were read from the file [%1] (requested 5 bytes).", m_path, 0));
}

TEST_F(BinaryFile, Failures) {
    ASSERT_TRUE(support::WriteWhole(m_path, "x"));
    const std::u16string missing = m_folder.Path(u"missing/f");
    const std::u16string created = m_folder.Path(u"w");
    const auto reader = CBinaryFile::Open(m_path, EFileAccess::Read);
    const auto writer = CBinaryFile::CreateNew(created);
    char byte = 0;
    const std::uint32_t notSized = support::OnWine() ? 6 : 5;
    const std::u16string_view notOpened = u"Failed to create new binary file [%1].";
    using Action = std::function<void()>;
    const std::u16string_view notSought =
        u"Unable to seek to the position 18446744073709551615 of the file [%1]";
    // clang-format off
    const std::tuple<std::u16string, std::uint32_t, std::u16string_view, Action> rows[] = {
        {m_path, 5, u"Failed to write [2] bytes to the file [%1].", [&] { reader->Write("yz", 2); }},
        {m_path, notSized, u"Cannot set the new physical size 7 of the file [%1].", [&] { reader->SetSize(7); }},
        {m_path, 131, notSought, [&] { reader->Seek(~std::uint64_t{0}); }},
        {m_path, 5, u"Cannot bring the file [%1] to the disk.", [&] { reader->Flush(); }},
        {created, 5, u"Failed to read 1 bytes from the file [%1].", [&] { writer->Read(&byte, 1); }},
        {missing, 3, notOpened, [&] { CBinaryFile::CreateStaged(missing); }},
        {missing, 3, u"Unable to get attributes for file '%1'.", [&] { CBinaryFile::GetAttributesOf(missing); }},
        {missing, 3, u"Unable to set attributes for file '%1'.", [&] { CBinaryFile::SetAttributesOf(missing, 0x4010, true); }},
    };
    // clang-format on
    for (const auto& [path, code, text, action] : rows) {
        EXPECT_EQ(MessageOf(action), Win32Message(text, path, code));
    }
    EXPECT_EQ(MessageOf([&] { reader->SetAttributes(0x10, false); }).substr(0, 31),
              u"Attributes [16] cannot be set.\r");
    for (const std::u16string& path : {missing, m_folder.Path(u"g")}) {
        EXPECT_EQ(CBinaryFile::OpenIfExists(path, EFileAccess::ReadWrite), nullptr);
    }
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(MessageOf([&] { CBinaryFile::OpenIfExists(created, EFileAccess::Read); }),
              Win32Message(notOpened, created, 32));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1000));
}

TEST_F(BinaryFile, StagedFiles) {
    CBinaryFile::CreateStaged(m_path)->Write("half", 4);
    EXPECT_TRUE(std::filesystem::is_empty(m_folder.Native()));
    const auto file = CBinaryFile::CreateStaged(m_path);
    file->Write("whole", 5);
    file->Flush();
    EXPECT_EQ(ReadWhole(m_path), "<none>");
    EXPECT_TRUE(file->Publish());
    EXPECT_FALSE(CBinaryFile::CreateStaged(m_path)->Publish());
    EXPECT_EQ(ReadWhole(m_path), "whole");
}

TEST_F(BinaryFile, TimesAndAttributes) {
    const std::int64_t wanted = 130000000000000000;
    std::int64_t time = 0;
    CBinaryFile::SetTimesOf(m_folder.Path(), nullptr, nullptr, &wanted);
    CBinaryFile::GetTimesOf(m_folder.Path(), nullptr, nullptr, &time);
    EXPECT_EQ(time, wanted);
    const auto file = CBinaryFile::CreateNew(m_path);
    file->SetTimes(nullptr, &wanted, nullptr);
    file->GetTimes(nullptr, &time, nullptr);
    EXPECT_EQ(time, wanted);
    file->SetAttributes(platform::kAttributeReadOnly | 0x10, true);
    EXPECT_EQ(file->GetAttributes() & 0x11, platform::kAttributeReadOnly);
    file->SetAttributes(platform::kAttributeNormal, false);
    EXPECT_EQ(CBinaryFile::GetAttributesOf(m_path) & platform::kAttributeReadOnly, 0U);
    EXPECT_EQ(CBinaryFile::Open(m_folder.Path(), EFileAccess::Read, true)->GetPath(),
              m_folder.Path());
}

}  // namespace
}  // namespace idxdata
