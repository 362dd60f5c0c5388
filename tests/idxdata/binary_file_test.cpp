#include "idxdata/buffers/binary_file.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <functional>

#include "frame/errors.h"
#include "support/meta_file_model.h"
#include "support/port_files.h"
#include "support/target.h"
#include "support/temp_folder.h"

namespace idxdata {
namespace {

using support::MessageOf;
using support::ReadWhole;

class BinaryFileTest : public testing::Test {
protected:
    // The message of a failed call with the path as %1.
    std::u16string Failure(std::u16string_view text, std::uint32_t code) const {
        return frame::CWin32Exc(text, {m_path}, code).GetFullMessage();
    }

    support::CTempFolder m_folder;
    std::u16string m_path = m_folder.Path(u"f");
};

TEST_F(BinaryFileTest, TransfersExactly) {
    const auto file = CBinaryFile::OpenOrCreate(m_path);
    file->Write("0123456789", 10);
    file->WriteAt(2, "ab", 2);
    EXPECT_EQ(file->GetPosition(), 4U);
    file->SeekToEnd();
    file->Write("!", 1);
    EXPECT_EQ(file->GetSize(), 11U);
    std::array<char, 8> buffer{};
    file->ReadAt(1, buffer.data(), 4);
    EXPECT_EQ(std::string_view(buffer.data(), 4), "1ab4");
    file->Seek(8);
    EXPECT_EQ(file->Read(buffer.data(), 8), 3U);
    file->SetSize(3);
    EXPECT_EQ(file->GetPosition(), 3U);
    file->SeekToBegin();
    file->ReadExact(buffer.data(), 3);
    EXPECT_EQ(ReadWhole(m_path), "01a");
    platform::SetLastError(0);
    EXPECT_EQ(MessageOf([&] { file->ReadAt(1, buffer.data(), 5); }),
              frame::CWin32Exc(u"Only 2 bytes were read from the file [%1] (requested 5 bytes).",
                               {m_path}, 0)
                  .GetFullMessage());
}

TEST_F(BinaryFileTest, FailuresInTheirWords) {
    ASSERT_TRUE(support::WriteWhole(m_path, "x"));
    const auto reader = CBinaryFile::Open(m_path, EFileAccess::Read);
    const std::u16string missing = m_folder.Path(u"missing/f");
    const std::u16string created = m_folder.Path(u"w");
    const auto writer = CBinaryFile::CreateNew(created);
    char byte = 0;
    const std::uint64_t before = ~std::uint64_t{0};  // one byte before the start
    const std::u16string folder = m_folder.Path();
    const struct {
        std::function<void()> action;
        std::u16string_view text;
        const std::u16string& path;
        std::uint32_t code;
    } kRows[] = {
        {[&] { reader->Write("yz", 2); }, u"Failed to write [2] bytes to the file [%1].", m_path,
         5},
        {[&] { reader->SetSize(7); }, u"Cannot set the new physical size 7 of the file [%1].",
         m_path, support::OnWine() ? 6U : 5U},
        {[&] { reader->Seek(before); },
         u"Unable to seek to the position 18446744073709551615 of the file [%1]", m_path, 131},
        {[&] { reader->Flush(); }, u"Cannot bring the file [%1] to the disk.", m_path, 5},
        {[&] { writer->Read(&byte, 1); }, u"Failed to read 1 bytes from the file [%1].", created,
         5},
        {[&] { CBinaryFile::CreateNew(folder); }, u"Failed to create new binary file [%1].", folder,
         5},
        {[&] { CBinaryFile::Open(missing, EFileAccess::Read); },
         u"Failed to create new binary file [%1].", missing, 3},
        {[&] { CBinaryFile::CreateStaged(missing); }, u"Failed to create new binary file [%1].",
         missing, 3},
        {[&] { CBinaryFile::GetAttributesOf(missing); }, u"Unable to get attributes for file '%1'.",
         missing, 3},
        {[&] { CBinaryFile::SetAttributesOf(missing, 0x4010, true); },
         u"Unable to set attributes for file '%1'.", missing, 3},
    };
    for (const auto& row : kRows) {
        EXPECT_EQ(MessageOf(row.action),
                  frame::CWin32Exc(row.text, {row.path}, row.code).GetFullMessage());
    }
    EXPECT_EQ(MessageOf([&] { reader->SetAttributes(0x10, false); }).substr(0, 31),
              u"Attributes [16] cannot be set.\r");
    EXPECT_EQ(CBinaryFile::OpenIfExists(missing, EFileAccess::ReadWrite), nullptr);
    EXPECT_EQ(CBinaryFile::OpenIfExists(m_folder.Path(u"g"), EFileAccess::Read), nullptr);
}

TEST_F(BinaryFileTest, TriesTenTimesWhenInUse) {
    const auto holder = CBinaryFile::CreateNew(m_path);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(MessageOf([&] { CBinaryFile::OpenIfExists(m_path, EFileAccess::Read); }),
              Failure(u"Failed to create new binary file [%1].", 32));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1000));
}

TEST_F(BinaryFileTest, AppearsWhenPublished) {
    {
        const auto file = CBinaryFile::CreateStaged(m_path);
        file->Write("half", 4);
        EXPECT_EQ(ReadWhole(m_path), "<none>");
    }
    EXPECT_TRUE(std::filesystem::is_empty(m_folder.Native())) << "let go without a name";
    const auto file = CBinaryFile::CreateStaged(m_path);
    file->Write("whole", 5);
    file->Flush();
    file->Publish();
    EXPECT_EQ(ReadWhole(m_path), "whole");
    const auto late = CBinaryFile::CreateStaged(m_path);
    EXPECT_EQ(MessageOf([&] { late->Publish(); }),
              Failure(u"Failed to create new binary file [%1].", 183));
    EXPECT_EQ(ReadWhole(m_path), "whole") << "what has come first stays";
}

TEST_F(BinaryFileTest, TimesAndAttributes) {
    const std::int64_t kWanted = 130000000000000000;
    std::int64_t time = 0;
    const auto file = CBinaryFile::CreateNew(m_path);
    file->SetTimes(nullptr, nullptr, &kWanted);
    file->Write("x", 1);
    file->GetTimes(nullptr, nullptr, &time);
    if (support::KeepsSetTimes()) {
        EXPECT_EQ(time, kWanted);
    }
    CBinaryFile::SetTimesOf(m_folder.Path(), nullptr, nullptr, &kWanted);
    CBinaryFile::GetTimesOf(m_folder.Path(), nullptr, nullptr, &time);
    EXPECT_EQ(time, kWanted) << "of a folder";
    file->SetAttributes(platform::kAttributeReadOnly | 0x10, true);
    EXPECT_EQ(file->GetAttributes() & 0x11, platform::kAttributeReadOnly);
    file->SetAttributes(platform::kAttributeNormal, false);
    EXPECT_EQ(CBinaryFile::GetAttributesOf(m_path) & platform::kAttributeReadOnly, 0U);
    EXPECT_EQ(CBinaryFile::Open(m_folder.Path(), EFileAccess::Read, true)->GetPath(),
              m_folder.Path());
}

}  // namespace
}  // namespace idxdata
