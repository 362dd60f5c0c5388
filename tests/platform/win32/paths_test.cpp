// Paths of Windows.
#include <gtest/gtest.h>

#include <filesystem>

#include "platform/files.h"
#include "support/port_files.h"
#include "support/temp_folder.h"

namespace {

using namespace platform;
using support::CodeOf;
using support::CTempFolder;

TEST(Files, PathsOfWindows) {
    const CTempFolder folder;
    const std::u16string base = folder.Path();
    const std::u16string name(200, u'n');
    ASSERT_TRUE(support::WriteWhole(base + u"\\\x0436\xD83D\xDE00", "x"));
    ASSERT_TRUE(CreateDirectoryW(u"\\\\?\\" + base + u"\\" + name));
    ASSERT_TRUE(support::WriteWhole(u"\\\\?\\" + base + u"\\" + name + u"\\" + name, "x"));
    const struct {
        std::u16string path;
        std::uint32_t code;
    } rows[] = {
        {base + u"/\x0436\xD83D\xDE00", 0},
        {base + u"\\\x0416\xD83D\xDE00", 0},
        {base + u"\\\x0437", 2},
        {u"\\\\?\\" + base + u"\\\x0436\xD83D\xDE00", 0},
        {u"\\\\?\\" + base + u"\\" + name + u"\\" + name, 0},
        {u"Q:\\a\\b", 3},
        {u"", 3},
        {base + std::u16string(u"\0a", 2), 123},
        {base + u"\\*", 123},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(CodeOf(support::OpenToRead(row.path)), row.code) << &row - rows;
        EXPECT_EQ(CodeOf(GetFileAttributesW(row.path) != kInvalidAttributes), row.code)
            << &row - rows;
    }
}

}  // namespace
