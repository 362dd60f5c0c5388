#include "idxdata/buffers/mtf_buffers.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/errors.h"
#include "support/meta_file_model.h"

namespace idxdata {
namespace {

using std::literals::operator""s;

CMtfInBuffer BufferOf(std::string_view bytes) {
    CMtfOutBuffer out(16);
    out.Append(bytes.data(), bytes.size());
    return CMtfInBuffer(out.TakeStorage());
}

TEST(MtfBuffers, GrowByWholeSteps) {
    CMtfOutBuffer out(2048);
    std::string expected;
    const struct {
        std::size_t append;
        std::uint64_t storageSize;
    } kRows[] = {{1, 2048}, {2047, 2048}, {0, 2048}, {1, 4096}, {10000, 12288}};
    for (const auto& row : kRows) {
        const std::string bytes(row.append, static_cast<char>('a' + expected.size() % 26));
        out.Append(bytes.data(), bytes.size());
        expected += bytes;
        EXPECT_EQ(out.StorageSize(), row.storageSize);
    }
    const auto storage = out.TakeStorage();
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(storage->Data()),
                          static_cast<std::size_t>(storage->Size())),
              expected);
    EXPECT_EQ(out.Used() + out.StorageSize(), 0U);
    EXPECT_EQ(CMtfOutBuffer(2048, 5).StorageSize(), 5U);
    // A smaller size keeps the block and its bytes.
    const std::byte* data = storage->Data();
    storage->Resize(1);
    storage->Resize(expected.size());
    EXPECT_EQ(storage->Data(), data);
    EXPECT_EQ(static_cast<char>(data[expected.size() - 1]), expected.back());
    EXPECT_EQ(support::MessageOf([&] { storage->Resize(std::uint64_t{1} << 62); }),
              u"Cannot reallocate memory buffer. Requested size of the buffer is "
              u"4611686018427387904 elements, previous - 12049.");
    EXPECT_EQ(storage->Size(), expected.size());
}

TEST(MtfBuffers, CutAtDelimiters) {
    const struct {
        const char* label;
        std::string content;
        std::string delimiter;
        std::vector<std::string> tokens;
    } kRows[] = {
        {"none", "abc", "\r\n", {"abc"}},
        {"in the middle", "a\r\nb", "\r\n", {"a", "b"}},
        {"at the end stays", "a\r\nb\r\n", "\r\n", {"a", "b\r\n"}},
        {"two at the end", "a\r\n\r\n", "\r\n", {"a", "\r\n"}},
        {"alone", "\r\n", "\r\n", {"\r\n"}},
        {"part of it", "a\r", "\r\n", {"a\r"}},
        {"overlapping", "\r\r\nx\r\n\n", "\r\n", {"\r", "x", "\n"}},
        {"at odd offsets", "a\r\0\n\0b"s, "\r\0\n\0"s, {"a", "b"}},
        {"longer than the content", "a", "abc", {"a"}},
        {"empty content", "", "\r\n", {}},
    };
    for (const auto& row : kRows) {
        CMtfInBuffer in = BufferOf(row.content);
        std::vector<std::string> tokens;
        for (std::string_view token; in.NextToken(row.delimiter, token);) {
            tokens.emplace_back(token);
        }
        EXPECT_EQ(tokens, row.tokens) << row.label;
        EXPECT_TRUE(in.IsEnd()) << row.label;
    }
}

TEST(MtfBuffers, Cursor) {
    CMtfInBuffer in = BufferOf("\xFF\xFE-ab-");
    EXPECT_TRUE(in.StartsWith("\xFF\xFE"));
    EXPECT_FALSE(BufferOf("\xFF").StartsWith("\xFF\xFE"));
    EXPECT_EQ(in.Find("-"), 2);
    in.Skip(3);
    EXPECT_EQ(in.Find("-"), -1) << "one at the very end is not found";
    EXPECT_EQ(in.Find("ab"), 0);
    EXPECT_EQ(in.Remaining(), 3U);
    in.Skip(100);
    EXPECT_TRUE(in.IsEnd());
    EXPECT_EQ(in.Find("-"), -1);
}

}  // namespace
}  // namespace idxdata
