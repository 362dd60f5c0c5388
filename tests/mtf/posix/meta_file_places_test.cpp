// Saves of meta-files where a name is taken, a link or too long, and where files are protected.
#include <gtest/gtest.h>

#include <functional>

#include "frame/conversions.h"
#include "mtf/tree/opened_meta_file.h"
#include "support/child_process.h"
#include "support/disk_fault_state.h"
#include "support/engine_failure.h"
#include "support/meta_file_bytes.h"
#include "support/port_files.h"
#include "support/temp_folder.h"

namespace mtf {
namespace {

namespace fs = std::filesystem;
using support::MessageOf;
using support::MetaFileBytes;
using support::ReadWhole;

constexpr const char16_t* kBase = u"a=1";
// The kinds of saves. Each adds lines to `kBase`; a detached one starts empty.
const struct Save {
    std::u16string label;
    EMtfOpenMode mode;
    std::u16string lines;
    bool rewrites = false;
} kSaves[] = {
    {u"append", EMtfOpenMode::EMtfOpenRW, u"b=2"},
    {u"append of two", EMtfOpenMode::EMtfOpenRW, u"b=2\r\nc=3"},
    {u"rewrite", EMtfOpenMode::EMtfOpenRW, u"b=2", true},
    {u"save of a loaded file", EMtfOpenMode::EMtfLoad, u"b=2"},
    {u"creation", EMtfOpenMode::EMtfCreateNewDetached, u"a=1\r\nb=2"},
};

// With the parameter true, new files have names from the start.
class MetaFilePlaces : public testing::TestWithParam<bool> {
protected:
    MetaFilePlaces() { support::g_diskFaults.refusesUnnamed = GetParam(); }
    ~MetaFilePlaces() override { support::g_diskFaults.refusesUnnamed = false; }
    // Opens, calls `between`, changes and saves.
    void Run(
        const Save& save, const std::function<void()>& between = [] {}) {
        const auto file = CMtfMetaFile::Open(m_path, save.mode);
        between();
        CMtfLines& lines = *file->GetLines();
        if (save.rewrites) {
            lines.ReplaceAttrLine(0, u"a", u"1");
        }
        lines.AppendLine(save.lines, EMtfLineState::LineAppended);
        file->Save();
    }
    static bool IsNew(const Save& save) { return save.mode == EMtfOpenMode::EMtfCreateNewDetached; }
    static bool IsAppend(const Save& save) {
        return save.mode == EMtfOpenMode::EMtfOpenRW && !save.rewrites;
    }
    static std::string Saved(const Save& save) {
        return MetaFileBytes((IsNew(save) ? u"" : std::u16string(kBase) + u"\r\n") + save.lines);
    }
    void Put(std::u16string_view name, std::string_view bytes) {
        ASSERT_TRUE(support::WriteWhole(m_folder.Path(name), bytes));
    }
    std::size_t CountEntries() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(m_folder.Native()), {}));
    }

    support::CTempFolder m_folder{support::QuickFolder()};
    std::u16string m_path = m_folder.Path(u"m");
};

// Something is planted beside the file before it is opened, or before it is saved. A refused save
// changes nothing; no link is followed to another file.
TEST_P(MetaFilePlaces, PlantedNames) {
    for (const std::u16string name : {u"m.old", u"m.new~", u"m.old.new~"}) {
        for (const bool isFolder : {true, false}) {
            for (const bool beforeOpen : {true, false}) {
                for (const Save& save : kSaves) {
                    SCOPED_TRACE(frame::WideToAnsi(save.label + u" beside " + name));
                    Put(u"m", MetaFileBytes(kBase));
                    Put(u"victim", "x");
                    const auto plant = [&] {
                        isFolder ? fs::create_directory(m_folder.Native(name))
                                 : (fs::create_symlink("victim", m_folder.Native(name)), true);
                    };
                    beforeOpen ? plant() : void();
                    const std::u16string message =
                        MessageOf([&] { Run(save, beforeOpen ? [] {} : std::function(plant)); });
                    const bool isSaved = name != u"m.old" || (!beforeOpen && IsAppend(save));
                    EXPECT_EQ(message.ends_with(u"m.old\" is not a regular file."), !isSaved)
                        << frame::WideToAnsi(message);
                    // The opening of a detached file deletes it.
                    const bool isDeleted = !beforeOpen && IsNew(save);
                    EXPECT_EQ(ReadWhole(m_path), isSaved     ? Saved(save)
                                                 : isDeleted ? "<none>"
                                                             : MetaFileBytes(kBase));
                    EXPECT_EQ(ReadWhole(m_folder.Path(u"victim")), "x");
                    EXPECT_EQ(CountEntries(), isDeleted && !isSaved ? 2U : 3U);
                    fs::remove_all(m_folder.Native(name));
                }
            }
        }
    }
}

// From 252 on the name of the safety copy is too long.
TEST_P(MetaFilePlaces, LongNames) {
    for (std::size_t length = 240; length <= 255; ++length) {
        m_path = m_folder.Path(std::u16string(length, u'n'));
        for (const Save& save : kSaves) {
            SCOPED_TRACE(frame::WideToAnsi(save.label) + " " + std::to_string(length));
            ASSERT_TRUE(support::WriteWhole(m_path, MetaFileBytes(kBase)));
            const bool copies = save.rewrites || save.mode == EMtfOpenMode::EMtfLoad;
            const bool isSaved = !copies || length <= 251;
            EXPECT_EQ(MessageOf([&] { Run(save); }) == u"<none>", isSaved);
            EXPECT_EQ(ReadWhole(m_path), isSaved ? Saved(save) : MetaFileBytes(kBase));
            EXPECT_EQ(CountEntries(), 1U);
        }
        fs::remove(m_path);
        CMtfMetaFile::Open(m_path, EMtfOpenMode::EMtfOpenRW);
        EXPECT_EQ(ReadWhole(m_path), "\xFF\xFE");
        fs::remove(m_path);
    }
}

// A held file that becomes read-only is saved like any other.
TEST_P(MetaFilePlaces, ProtectedFile) {
    for (const Save& save : kSaves) {
        SCOPED_TRACE(frame::WideToAnsi(save.label));
        Put(u"m", MetaFileBytes(kBase));
        const bool isHeld = save.mode == EMtfOpenMode::EMtfOpenRW;
        const auto protect = [&] {
            support::OpenToWrite(m_path, platform::kOpenAlways);
            platform::SetFileAttributesW(m_path, platform::kAttributeReadOnly);
        };
        EXPECT_EQ(MessageOf([&] { Run(save, protect); }) == u"<none>", isHeld);
        EXPECT_EQ(ReadWhole(m_path) == Saved(save), isHeld);
        EXPECT_EQ(CountEntries(), 1U);
        fs::permissions(m_path, fs::perms::owner_all);
        EXPECT_EQ(MessageOf([&] { Run(save); }), u"<none>");
    }
}

// In a folder that refuses new files, appends succeed and other saves lose nothing.
TEST_P(MetaFilePlaces, ProtectedFolder) {
    for (const Save& save : kSaves) {
        SCOPED_TRACE(frame::WideToAnsi(save.label));
        Put(u"m", MetaFileBytes(kBase));
        fs::permissions(m_path, fs::perms(0666));
        fs::permissions(m_folder.Native(), fs::perms(0555));
        const int code = support::RunInChild([&] {
            const bool isOrdinary = ::geteuid() != 0 || ::setuid(65534) == 0;
            return isOrdinary && MessageOf([&] { Run(save); }) == u"<none>" ? 0 : 1;
        });
        fs::permissions(m_folder.Native(), fs::perms(0755));
        EXPECT_EQ(code, IsAppend(save) ? 0 : 1);
        EXPECT_EQ(ReadWhole(m_path), IsAppend(save) ? Saved(save) : MetaFileBytes(kBase));
        EXPECT_EQ(CountEntries(), 1U);
    }
}

// After the opening, the disk has room for 0, 1, 2, ... bytes. A refused save keeps the old
// content, and an append leaves no other file and needs no more room than that of its text.
TEST_P(MetaFilePlaces, NearlyFullDisk) {
    for (const Save& save : kSaves) {
        bool isSaved = false;
        for (off_t room = 0; !isSaved && room < 200; ++room) {
            SCOPED_TRACE(frame::WideToAnsi(save.label) + " " + std::to_string(room));
            Put(u"m", MetaFileBytes(kBase));
            const std::u16string message =
                MessageOf([&] { Run(save, [&] { support::g_diskFaults.room = room; }); });
            support::g_diskFaults.room = -1;
            isSaved = message == u"<none>";
            const std::size_t text = Saved(save).size() - MetaFileBytes(kBase).size();
            EXPECT_TRUE(!IsAppend(save) || isSaved == (room >= static_cast<off_t>(text)));
            EXPECT_TRUE(!(IsAppend(save) || isSaved) || CountEntries() == 1U);
            CMtfMetaFile::Open(m_path, EMtfOpenMode::EMtfOpenRW);
            EXPECT_EQ(ReadWhole(m_path),
                      isSaved ? Saved(save) : MetaFileBytes(IsNew(save) ? u"" : kBase));
            EXPECT_EQ(CountEntries(), 1U);
        }
        EXPECT_TRUE(isSaved);
    }
}

// A link, or a folder beside a safety copy, is at the name itself, before the file is opened or
// before it is saved. A link is used as the file, one that appears later is refused.
TEST_P(MetaFilePlaces, EntryAtTheName) {
    for (const bool isFolder : {true, false}) {
        for (const bool beforeOpen : {true, false}) {
            for (const Save& save : kSaves) {
                SCOPED_TRACE(frame::WideToAnsi(save.label) + (isFolder ? " folder" : " link") +
                             (beforeOpen ? " first" : ""));
                Put(u"target", MetaFileBytes(kBase));
                const auto plant = [&] {
                    fs::remove(m_folder.Native(u"m"));
                    isFolder ? fs::create_directory(m_path)
                             : (fs::create_symlink("target", m_path), true);
                    isFolder ? Put(u"m.old", MetaFileBytes(kBase)) : void();
                };
                beforeOpen ? plant() : Put(u"m", MetaFileBytes(kBase));
                const std::u16string message =
                    MessageOf([&] { Run(save, beforeOpen ? [] {} : std::function(plant)); });
                const bool isSaved = beforeOpen && !isFolder;
                EXPECT_EQ(message == u"<none>", isSaved) << frame::WideToAnsi(message);
                EXPECT_EQ(ReadWhole(m_folder.Path(u"target")),
                          isSaved ? Saved(save) : MetaFileBytes(kBase));
                EXPECT_EQ(isFolder, fs::is_directory(m_path));
                EXPECT_EQ(!isFolder, fs::is_symlink(m_path));
                EXPECT_EQ(CountEntries(), isFolder ? 3U : 2U);
                EXPECT_TRUE(!isFolder || ReadWhole(m_path + u".old") == MetaFileBytes(kBase));
                fs::remove(m_path);
                fs::remove(m_folder.Native(u"m.old"));
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Files, MetaFilePlaces, testing::Bool(),
                         [](const auto& row) { return row.param ? "named" : "unnamed"; });

}  // namespace
}  // namespace mtf
