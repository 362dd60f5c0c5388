// Paths as only this system has them.
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
        const char* label;
        std::u16string path;
        std::uint32_t code;
    } rows[] = {
        {"slash", base + u"/\x0436\xD83D\xDE00", 0},
        {"other letter case", base + u"\\\x0416\xD83D\xDE00", 0},
        {"other name", base + u"\\\x0437", 2},
        {"long form", u"\\\\?\\" + base + u"\\\x0436\xD83D\xDE00", 0},
        {"long", u"\\\\?\\" + base + u"\\" + name + u"\\" + name, 0},
        {"no such drive", u"Q:\\a\\b", 3},
        {"empty", u"", 3},
        {"NUL", base + std::u16string(u"\0a", 2), 123},
        {"wildcard", base + u"\\*", 123},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(CodeOf(support::OpenToRead(row.path)), row.code) << row.label;
        EXPECT_EQ(CodeOf(GetFileAttributesW(row.path) != kInvalidAttributes), row.code)
            << row.label;
    }
}

}  // namespace
