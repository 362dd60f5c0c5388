// The content of a meta-file after an interrupted save: by a failure of the disk at every
// step, by the end of the process, by a power failure.
#include <gtest/gtest.h>

#include <functional>

#include "frame/conversions.h"
#include "frame/file_system.h"
#include "mtf/tree/opened_meta_file.h"
#include "support/child_process.h"
#include "support/disk_faults.h"
#include "support/engine_failure.h"
#include "support/meta_file_bytes.h"
#include "support/port_files.h"
#include "support/temp_folder.h"

namespace mtf {
namespace {

using support::EFault;
using support::g_diskFaults;
using support::MetaFileBytes;
using File = std::shared_ptr<CMtfOpenedMetaFile>;

// One save. Contents are those of the file and of its safety copy; null is no file.
struct Scenario {
    std::string label;
    const char16_t* file;
    const char16_t* old;
    EMtfOpenMode mode;
    bool faultsAtOpen;  // otherwise faults happen only in the save
    std::function<void(CMtfOpenedMetaFile&)> change;
    const char16_t* before;  // the next open reads this or `after`
    const char16_t* after;
};

constexpr auto kLoad = EMtfOpenMode::EMtfLoad;
constexpr auto kOpenRW = EMtfOpenMode::EMtfOpenRW;
constexpr auto kDetached = EMtfOpenMode::EMtfCreateNewDetached;

auto Set(const char16_t* name, const char16_t* value) {
    return [=](CMtfOpenedMetaFile& file) { file.Tree().SetAttr(0, name, value); };
}
const auto Add = Set(u"d", u"3");
const auto Modify = Set(u"a.b", u"3");
void AddTwo(CMtfOpenedMetaFile& file) {
    Add(file);
    Set(u"e", u"4")(file);
}
void SaveAndModify(CMtfOpenedMetaFile& file) {
    Set(u"a.b", u"1")(file);
    Set(u"c", u"2")(file);
    file.File().Save();
    Modify(file);
}
void DeleteOpenFile(CMtfOpenedMetaFile& file) {
    ::unlink(frame::WideToAnsi(file.File().GetPath()).c_str());
    Add(file);
}

constexpr const char16_t* kBase = u"a.b=1\r\nc=2";
constexpr const char16_t* kBaseAndTwo = u"a.b=1\r\nc=2\r\nd=3\r\ne=4";
// More than the buffers of a save.
const std::u16string kLong(300000, u'v');
const std::u16string kLongRewritten = u"a.b=" + kLong + u"\r\nc=2";
constexpr const char16_t* kModified = u"a.b=3\r\nc=2";
constexpr const char16_t* kAppended = u"a.b=1\r\nc=2\r\nd=3";
// The units in it contain the bytes of a line end if a NUL is after them, at an odd offset.
constexpr const char16_t* kLikeLineEnds =
    u"\u0D41\u0A00\u0D41\u0A00\u0D41\u0A00\u0D41\u0A00\u0D41\u0A00";
const std::u16string kEndsLikeLineEnd = std::u16string(u"c=") + kLikeLineEnds;
const std::u16string kAppendedAfterIt = kEndsLikeLineEnd + u"\r\nd=3";
const std::u16string kAppendedLikeIt = std::u16string(kBase) + u"\r\nd=" + kLikeLineEnds;

const Scenario kScenarios[] = {
    // clang-format off
    {"append", kBase, nullptr, kOpenRW, false, Add, kBase, kAppended},
    {"append of two lines", kBase, nullptr, kOpenRW, false, AddTwo, kBase, kBaseAndTwo},
    {"append of a value of two lines", kBase, nullptr, kOpenRW, false, Set(u"d", u"3\r\ne=4"), kBase, kBaseAndTwo},
    {"append after a line end", u"c=2\r\n", nullptr, kOpenRW, false, Add, u"c=2<end>", u"c=2\r\n\r\nd=3"},
    {"append of units like a line end", kBase, nullptr, kOpenRW, false, Set(u"d", kLikeLineEnds), kBase, kAppendedLikeIt.c_str()},
    {"append after units like a line end", kEndsLikeLineEnd.c_str(), nullptr, kOpenRW, false, Add, kEndsLikeLineEnd.c_str(), kAppendedAfterIt.c_str()},
    {"rewrite", kBase, nullptr, kOpenRW, false, Modify, kBase, kModified},
    {"rewrite of many buffers", kBase, nullptr, kOpenRW, false, Set(u"a.b", kLong.c_str()), kBase, kLongRewritten.c_str()},
    {"rewrite of a loaded file", kBase, nullptr, kLoad, false, Modify, kBase, kModified},
    {"first save of a detached file", nullptr, nullptr, kDetached, false, Add, nullptr, u"d=3"},
    {"second save of a detached file", nullptr, nullptr, kDetached, false, SaveAndModify, kBase, kModified},
    {"creation", nullptr, nullptr, kOpenRW, true, Add, nullptr, u"d=3"},
    {"start without the old files", u"brok", u"a=1", kDetached, true, Add, u"a=1", u"d=3"},
    {"recovery", u"brok", kBase, kOpenRW, true, Add, kBase, kAppended},
    {"recovery of a missing file", nullptr, kBase, kOpenRW, true, Modify, kBase, kModified},
    {"rewrite of a loaded copy", u"brok", kBase, kLoad, false, Modify, kBase, kModified},
    {"rewrite without the copied file", nullptr, kBase, kLoad, false, Modify, kBase, kModified},
    {"held file without a name", kBase, nullptr, kOpenRW, false, DeleteOpenFile, nullptr, kAppended},
    // clang-format on
};

std::u16string Text(const char16_t* content) {
    return content == nullptr ? u"<none>" : content;
}

// The lines that an open reads, "<none>" when there is no file. A line end that belongs to the
// last line is shown as "<end>".
std::u16string LoadedText(const std::u16string& path) {
    if (!CMtfMetaFile::Exists(path)) {
        return u"<none>";
    }
    const std::shared_ptr<CMtfMetaFile> file = CMtfMetaFile::Open(path, kLoad);
    std::u16string text;
    std::u16string_view line;
    for (std::uint64_t id = 0; file->GetLines()->GetLine(id, line); ++id) {
        text += id == 0 ? line : u"\r\n" + std::u16string(line);
    }
    if (line.ends_with(u"\r\n")) {
        text.replace(text.size() - 2, 2, u"<end>");
    }
    return text;
}

// Calls `body` with step 1, 2, ... until it returns false because no fault was injected.
void ForEachStep(EFault fault, const std::function<bool(int)>& body) {
    int step = 1;
    for (bool isInjected = true; isInjected && step < 200; ++step) {
        SCOPED_TRACE("fault " + std::to_string(static_cast<int>(fault)) + ", step " +
                     std::to_string(step));
        isInjected = body(step);
    }
    EXPECT_LT(step, 200) << "no end";
    EXPECT_GT(step, 3) << "fewer than two faults were injected";
}

class MetaFileFaults : public testing::TestWithParam<Scenario> {
protected:
    MetaFileFaults() { frame::CreateFolder(m_folder.Path(u"w?d/*")); }
    void Prepare() {
        for (const auto& [path, content] :
             {std::pair{m_path, GetParam().file}, std::pair{m_path + u".old", GetParam().old}}) {
            platform::DeleteFileW(path);
            ASSERT_TRUE(content == nullptr || support::WriteWhole(path, MetaFileBytes(content)));
        }
    }
    // Opens, changes and saves, with the fault at `step`.
    void Run(File& file, int step, EFault fault) {
        if (GetParam().faultsAtOpen) {
            g_diskFaults.Arm(step, fault);
        }
        file = CMtfOpenedMetaFile::Open(m_path, GetParam().mode);
        GetParam().change(*file);
        if (!GetParam().faultsAtOpen) {
            g_diskFaults.Arm(step, fault);
        }
        file->File().Save();
    }
    static bool DeletesFiles() { return GetParam().faultsAtOpen && GetParam().mode == kDetached; }
    // The next open reads the old content or the new. An interrupted creation may leave an
    // empty file, an interrupted start none.
    void CheckDisk() {
        const std::u16string found = LoadedText(m_path);
        const Scenario& s = GetParam();
        const bool created = found.empty() && s.faultsAtOpen && s.before == nullptr;
        const bool deleted = found == u"<none>" && DeletesFiles();
        EXPECT_TRUE(found == Text(s.before) || found == Text(s.after) || created || deleted)
            << frame::WideToAnsi(found);
    }
    // 0 when the file was opened, 1 when it was in use, ten times.
    int Visit() {
        int pauses = 0;
        g_diskFaults.sleep = [&] { ++pauses; };
        try {
            CMtfMetaFile::Open(m_path, kOpenRW);
        } catch (const frame::CWin32Exc& exc) {
            return exc.GetCode() == platform::win32err::kSharingViolation && pauses == 10 ? 1 : 2;
        }
        return 0;
    }
    void CheckReopened() {
        if (CMtfMetaFile::Exists(m_path)) {
            CMtfOpenedMetaFile::Open(m_path, kOpenRW);
            EXPECT_EQ(support::ReadWhole(m_path + u".old"), "<none>");
            CheckDisk();
        }
    }

    support::CTempFolder m_folder{support::QuickFolder()};
    std::u16string m_path = m_folder.Path(u"w?d/*/m?");  // no pattern on this system
};

TEST_P(MetaFileFaults, FailureAtEveryStepLosesNothing) {
    for (const EFault fault : {EFault::FailOnce, EFault::FailFromThen}) {
        int failures = 0;
        for (const bool savesAgain : {false, true}) {
            ForEachStep(fault, [&](int step) {
                SCOPED_TRACE(savesAgain ? "saved again" : "");
                Prepare();
                g_diskFaults.refusesUnnamed = savesAgain;
                File file;
                const auto message = support::MessageOf([&] { Run(file, step, fault); });
                const bool isInjected = g_diskFaults.Disarm() >= step;
                g_diskFaults.refusesUnnamed = false;
                failures += message == u"<none>" ? 0 : 1;
                if (file && savesAgain) {
                    file->File().Save();
                    EXPECT_EQ(support::ReadWhole(m_path), MetaFileBytes(GetParam().after));
                }
                if (file) {
                    g_diskFaults.Arm(1, fault);
                    file->File().CloseFile();  // reports nothing, whatever fails
                    g_diskFaults.Disarm();
                }
                file.reset();
                CheckDisk();
                CheckReopened();
                return isInjected;
            });
        }
        EXPECT_GE(failures, 2) << "no fault was reported";
    }
}

// A second process opens the file for writing at every step, and closes it.
TEST_P(MetaFileFaults, AnotherProcessAtEveryStepUndoesNothing) {
    int refusals = 0;
    ForEachStep(EFault::Visit, [&](int step) {
        Prepare();
        g_diskFaults.visit = [&] {
            const int code = support::RunInChild([&] { return Visit(); });
            EXPECT_TRUE(code == 0 || code == 1) << code;
            refusals += code;
        };
        File file;
        const auto message = support::MessageOf([&] { Run(file, step, EFault::Visit); });
        const bool isInjected = g_diskFaults.Disarm() >= step;
        file.reset();
        if (message == u"<none>") {
            EXPECT_EQ(LoadedText(m_path), Text(GetParam().after));
            EXPECT_EQ(support::ReadWhole(m_path + u".old"), "<none>");
        } else if (!(GetParam().before == nullptr || DeletesFiles()) || LoadedText(m_path) != u"") {
            CheckDisk();  // unless the other process created the file
        }
        return isInjected;
    });
    // A new file is not in use before it is complete.
    EXPECT_TRUE(refusals > 0 || GetParam().before == nullptr) << "the file was never in use";
}

TEST_P(MetaFileFaults, EndAtEveryStepLosesNothing) {
    for (const EFault fault : {EFault::Kill, EFault::Kill, EFault::PowerCut, EFault::PowerCutAll,
                               EFault::PowerCutSome, EFault::PowerCutSome, EFault::PowerCutSome}) {
        ++g_diskFaults.seed;
        ForEachStep(fault, [&](int step) {
            Prepare();
            const int code = support::RunInChild([&] {
                File file;
                if (support::MessageOf([&] { Run(file, step, fault); }) != u"<none>") {
                    return 1;
                }
                g_diskFaults.CutPower();  // what a success reports is on the disk
                return 0;
            });
            EXPECT_TRUE(code == 0 || code == g_diskFaults.kDied) << code;
            CheckDisk();
            EXPECT_TRUE(code != 0 || LoadedText(m_path) == Text(GetParam().after));
            CheckReopened();
            return code != 0;
        });
    }
}

INSTANTIATE_TEST_SUITE_P(Saves, MetaFileFaults, testing::ValuesIn(kScenarios), [](const auto& row) {
    std::string name = row.param.label;
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
});

// While a file is being saved, an open for writing finds the copy and waits for the save; a save
// that ends during the open is not undone.
TEST(MetaFileInUse, OpenWaitsForASaveInProgress) {
    const support::CTempFolder folder(support::QuickFolder());
    const std::u16string path = folder.Path(u"m");
    for (const bool endsAtOnce : {false, true}) {
        auto saver = idxdata::CBinaryFile::CreateNew(path);
        const auto save = [&](std::u16string_view content) {
            const std::string bytes = MetaFileBytes(content);
            saver->SetSize(0);
            saver->Write(bytes.data(), bytes.size());
        };
        save(u"brok");
        support::WriteWhole(path + u".old", MetaFileBytes(u"a=1"));
        int pauses = 0;
        const auto finish = [&] {
            save(u"a=2");
            platform::DeleteFileW(path + u".old");
            saver.reset();
        };
        g_diskFaults.sleep = [&] { ++pauses == 3 ? finish() : void(); };
        g_diskFaults.visit = finish;
        g_diskFaults.Arm(endsAtOnce ? 1 : 0, EFault::Visit);
        CMtfMetaFile::Open(path, kOpenRW);
        g_diskFaults.Disarm();
        g_diskFaults.sleep = nullptr;
        EXPECT_EQ(pauses, endsAtOnce ? 0 : 3);
        EXPECT_EQ(LoadedText(path), u"a=2");
    }
}

// The safety copy is beside the file that a link leads to, where every path finds it.
TEST(MetaFileLink, ASaveThroughALinkIsRecoveredThroughEveryPath) {
    const support::CTempFolder folder(support::QuickFolder());
    std::filesystem::create_directory(folder.Native(u"links"));
    std::filesystem::create_symlink("../m", folder.Native(u"links/2"));
    std::filesystem::create_symlink("2", folder.Native(u"links/1"));
    const std::u16string file = folder.Path(u"m");
    const std::u16string link = folder.Path(u"links/1");
    ForEachStep(EFault::Kill, [&](int step) {
        platform::DeleteFileW(file + u".old");
        platform::DeleteFileW(file);
        CMtfOpenedMetaFile::Open(link, kOpenRW);  // creates the missing target
        EXPECT_EQ(LoadedText(file), u"");
        support::WriteWhole(file, MetaFileBytes(kBase));
        const int code = support::RunInChild([&] {
            const File opened = CMtfOpenedMetaFile::Open(link, kOpenRW);
            Modify(*opened);
            g_diskFaults.Arm(step, EFault::Kill);
            opened->File().Save();
            return 0;
        });
        const std::u16string found = LoadedText(file);
        EXPECT_TRUE(found == kModified || (code != 0 && found == kBase));
        EXPECT_EQ(LoadedText(link), found);
        CMtfOpenedMetaFile::Open(file, kOpenRW)->File().Save();
        EXPECT_EQ(LoadedText(link), found);
        return code != 0;
    });
}

// Another process saves the same missing file at every step. The save that succeeds last is in
// the file; a save that fails reports that the file is in use.
TEST(MetaFileCreators, ASuccessIsInTheFileUntilTheNextOne) {
    const support::CTempFolder folder(support::QuickFolder());
    const std::u16string path = folder.Path(u"m");
    g_diskFaults.sleep = [] {};
    const auto save = [&](EMtfOpenMode mode, const char16_t* name) {
        try {
            const File file = CMtfOpenedMetaFile::Open(path, mode);
            file->Tree().SetAttr(0, name, u"1");
            file->File().Save();
        } catch (const frame::CWin32Exc& exc) {
            return static_cast<int>(exc.GetCode());
        }
        return 0;
    };
    for (const auto mode : {kOpenRW, kDetached}) {
        for (const auto otherMode : {kOpenRW, kDetached}) {
            int successes = 0;
            ForEachStep(EFault::Visit, [&](int step) {
                platform::DeleteFileW(path);
                int other = 0;
                g_diskFaults.visit = [&] {
                    other = support::RunInChild([&] { return save(otherMode, u"other"); });
                };
                g_diskFaults.Arm(step, EFault::Visit);
                const int own = save(mode, u"own");
                const bool isInjected = g_diskFaults.Disarm() >= step;
                EXPECT_TRUE((own == 0 || own == 32) && (other == 0 || other == 32))
                    << own << ' ' << other;
                const std::u16string wanted = own == 0 ? u"own=1" : u"other=1";
                EXPECT_NE(LoadedText(path).find(wanted), std::u16string::npos)
                    << frame::WideToAnsi(LoadedText(path));
                successes += isInjected && own == 0 && other == 0 ? 1 : 0;
                return isInjected;
            });
            EXPECT_GT(successes, 0);
        }
    }
    g_diskFaults.sleep = nullptr;
}

// The cost of an append of many lines to a large file is that of one line.
TEST(MetaFileAppend, DoesNotCopyALargeFile) {
    const support::CTempFolder folder(support::QuickFolder());
    support::WriteWhole(folder.Path(u"m"), MetaFileBytes(kBase));
    std::filesystem::resize_file(folder.Native(u"m"), 2 << 20);
    const File file = CMtfOpenedMetaFile::Open(folder.Path(u"m"), kOpenRW);
    int calls[2] = {};
    for (int& count : calls) {
        file->Lines().PushComment(&count == calls ? u"x" : u"x\ny\nz");
        g_diskFaults.Arm(1000, EFault::FailOnce);
        file->File().Save();
        count = g_diskFaults.Disarm();
    }
    EXPECT_EQ(calls[0], calls[1]);
}

}  // namespace
}  // namespace mtf
