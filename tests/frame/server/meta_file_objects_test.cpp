// Meta-files and their attribute trees through the interfaces, early and late bound.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "frame/file_system.h"
#include "support/meta_files.h"

namespace {

using automation::CComPtr;
using support::CallResult;
using support::EBinding;
using F = IMtfMetaFile;
using T = IMtfAttrsTree;

class MetaFileObjects : public support::CMetaFileBindingTest {};
INSTANTIATE_TEST_SUITE_P(Bindings, MetaFileObjects, testing::ValuesIn(support::kBindings));

TEST_P(MetaFileObjects, OpeningThatFails) {
    const struct {
        const char16_t* lines;  // null: there is no file
        INT mode;
        std::u16string_view text;
    } rows[] = {
        // clang-format off
        {nullptr, 3, u"Unknown meta-file open mode: 3."},
        {nullptr, -1, u"Unknown meta-file open mode: -1."},
        {nullptr, 0, u"Cannot create or load meta-file \"%1\". Open mode: EMtfLoad\nFile \"%1\" does not exist."},
        {u"a=1\n .. =v", 0, u"The specified attribute's path (..) is invalid."},
        {u"=v", 1, u"The specified attribute's path () is invalid."},
        // clang-format on
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(frame::WideToAnsi(row.text));
        if (row.lines != nullptr) {
            Write(row.lines);
        }
        CComPtr<F> file;
        ExpectFailure(Invoke<&IOibIdxLib::CreateMetaFile>(m_library, Path(), row.mode, file.Put()),
                      row.text, IID_IOibIdxLib, E_FAIL, u"ZorelOibIdxLib.COibIdxLib.5");
        EXPECT_FALSE(file);
    }
}

TEST_P(MetaFileObjects, Existence) {
    Write(u"a=1");
    ASSERT_TRUE(support::WriteWhole(m_folder.Path(u"z.mtf.old"), ""));
    const struct {
        const char16_t* name;
        VARIANT_BOOL exists;
    } rows[] = {{u"x.mtf", VARIANT_TRUE}, {u"y.mtf", VARIANT_FALSE}, {u"z.mtf", VARIANT_TRUE},
                {u".", VARIANT_TRUE},     {u"*.mtf", VARIANT_TRUE},  {u"*.mtg", VARIANT_FALSE}};
    for (const auto& row : rows) {
        EXPECT_EQ(Get<&IOibIdxLib::IsMetaFileExists>(m_library, m_folder.Path(row.name)),
                  row.exists)
            << frame::WideToAnsi(row.name);
    }
}

TEST_P(MetaFileObjects, EverySpellingOfAPath) {
    const std::u16string here = m_folder.Path(), name(100, u'n');
    const std::u16string deep = name + u"\\" + name + u"\\" + name;  // more than 260 units
    frame::CreateFolder(here + u"\\" + deep);
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(m_folder.Native());
    for (const std::u16string& path :
         {std::u16string(u"m"), u"./" + deep + u"/m", std::u16string(u".\\\\m"), here + u"//m",
          here + u"\\" + name + u"\\../.\\m"}) {
        SCOPED_TRACE(frame::WideToAnsi(path));
        for (const char16_t* value : {u"1", u"2"}) {  // creates, then rewrites
            const auto file = Get<&IOibIdxLib::CreateMetaFile>(m_library, path, EIdxMetaOpenRW);
            Succeed<&F::SetAttr>(file, u"a", value);
            Succeed<&F::FlushChanges>(file);
        }
        EXPECT_EQ(Get<&IOibIdxLib::IsMetaFileExists>(m_library, path), VARIANT_TRUE);
        EXPECT_EQ(support::ReadWhole(path), support::MetaFileBytes(u"a=2"));
        Get<&IOibIdxLib::CreateMetaFile>(m_library, path, EIdxMetaCreateNewDetached);
        EXPECT_EQ(Get<&IOibIdxLib::IsMetaFileExists>(m_library, path), VARIANT_FALSE);
    }
    std::filesystem::current_path(before);
    frame::RemoveFolder(here + u"\\" + name);
}

TEST_P(MetaFileObjects, NullArguments) {
    Write(u"a.b=1");
    ExpectRefusesNull<&IOibIdxLib::InitLogging, &IOibIdxLib::CreateMetaFile,
                      &IOibIdxLib::IsMetaFileExists, &IOibIdxLib::BrowseOibDF,
                      &IOibIdxLib::IsWildcardMatch, &IOibIdxLib::CreateBSessionMetaFile,
                      &IOibIdxLib::LoadPublication>(m_library);
    const auto file = OpenMetaFile(EIdxMetaLoad);
    ExpectRefusesNull<&F::GetRootAttrsTree, &F::CreateAttrsTree, &F::FindAttrsTree,
                      &F::GetExistingAttrsTree, &F::DelAttrsTree, &F::DelAttr, &F::PushComment,
                      &F::SetAttr, &F::FindAttr, &F::GetExistingAttr, &F::EnumAllAttrs>(file);
    ExpectRefusesNull<&T::EnumChildTrees, &T::EnumChildAttrs, &T::CreateSubtree, &T::FindSubtree,
                      &T::GetExistingSubtree, &T::DelSubtree, &T::DelAttr, &T::SetAttr,
                      &T::FindAttr, &T::GetExistingAttr>(Get<&F::GetRootAttrsTree>(file));
    EXPECT_EQ(Get<&F::EnumAllAttrs>(file), u"a.b");
}

// The whole texts. Messages show the paths of trees as spelled at their creation.
TEST_P(MetaFileObjects, CallsThatFail) {
    Write(u"a.b=1");
    const auto f = OpenMetaFile(EIdxMetaLoad);
    const auto t = Get<&F::GetExistingAttrsTree>(f, u"A");
    const auto d = Get<&F::CreateAttrsTree>(f, u"gone");
    Succeed<&T::DelSubtree>(d, u".");
    BSTR value = nullptr;
    SAFEARRAY* names = nullptr;
    T* none = nullptr;
    const std::u16string noTree = u"The meta-file \"%1\" does not contain subtree \"2\".";
    const std::u16string isDeleted = u"\nItem with the specified ID (2) is deleted.";
    const std::u16string where = u" the tree \"2\". Meta-file: \"%1\"." + isDeleted;
    const struct {
        CallResult result;
        std::u16string text;
        const IID& iid = IID_IMtfAttrsTree;
    } rows[] = {
        // clang-format off
        {Invoke<&F::GetExistingAttrsTree>(f, u"no.x", &none), noTree, IID_IMtfMetaFile},
        {Invoke<&F::SetAttr>(f, u"..", u"v"), u"Failed to create attribute \"..\" in the tree \"\". Meta-file:\"%1\".\nThe specified attribute's path (..) is invalid.", IID_IMtfMetaFile},
        {Invoke<&F::FindAttr>(f, u"", &value), u"Failed to find attribute \"\" in meta-file \"%1\". Search root is \"\"\nThe specified attribute's path () is invalid.", IID_IMtfMetaFile},
        {Invoke<&F::GetExistingAttr>(f, u"a.B", &value), u"The meta-file \"%1\" does not contain attribute \"a.B\" under the tree \"\".", IID_IMtfMetaFile},
        {Invoke<&F::DelAttr>(f, u".."), u"Failed to delete attribute \"..\" from the tree \"\". Meta-file: \"%1\".\nThe specified attribute's path (..) is invalid.", IID_IMtfMetaFile},
        {Invoke<&T::GetExistingSubtree>(t, u"no.x", &none), noTree},
        {Invoke<&T::GetExistingAttr>(t, u"no.x", &value), u"Attribute \"no.x\" was not found under the tree \"a\"."},
        {Invoke<&T::EnumChildTrees>(d, &names), u"Failed to enumerate children of the tree \"2\". Meta-file: %1." + isDeleted},
        {Invoke<&T::EnumChildAttrs>(d, &names), u"Failed to enumerate attributes of the tree \"2\". Meta-file: %1." + isDeleted},
        {Invoke<&T::CreateSubtree>(d, u"no.x", &none), u"Failed to create subtree  \"no.x\" of" + where},
        {Invoke<&T::FindSubtree>(d, u"", &none), u"Failed to find subtree  \"\" of" + where},
        {Invoke<&T::DelSubtree>(d, u"x"), u"Failed to delete subtree  \"x\" of" + where},
        {Invoke<&T::DelAttr>(d, u"x"), u"Failed to delete attribute \"x\" from" + where},
        {Invoke<&T::SetAttr>(d, u"x", u"v"), u"Failed to create attribute \"x\" in the tree \"2\". Meta-file:\"%1\"." + isDeleted},
        {Invoke<&T::GetExistingAttr>(d, u"x", &value), u"Failed to find attribute \"x\" in meta-file \"%1\". Search root is \"2\"" + isDeleted},
        // clang-format on
    };
    for (const auto& row : rows) {
        ExpectFailure(row.result, row.text, row.iid);
    }
    EXPECT_TRUE(value == nullptr && names == nullptr && none == nullptr);
    std::filesystem::remove(m_folder.Native(u"x.mtf"));
    std::filesystem::create_directory(m_folder.Native(u"x.mtf"));
    const CallResult saving = Invoke<&F::FlushChanges>(f);
    EXPECT_LT(saving.hr, 0);
    EXPECT_TRUE(saving.error.description.starts_with(u"Cannot save changes in meta-file \"" +
                                                     Path() + u"\".\r\n"));
}

// Find returns S_FALSE and null for a missing item, Del returns S_OK.
TEST_P(MetaFileObjects, NothingFound) {
    Write(u"a.b=1");
    const auto file = OpenMetaFile(EIdxMetaLoad);
    const auto tree = Get<&F::GetRootAttrsTree>(file);
    const automation::CBstr unset = support::Bstr(u"unset");
    // On Wine a late-bound call returns an empty string for the null string.
    const bool isEmptied = support::OnWine() && m_binding == EBinding::Late;
    const auto expectNone = [&](auto out, const auto& call) {
        EXPECT_EQ(call(&out).hr, m_binding == EBinding::Early ? S_FALSE : S_OK);
        EXPECT_TRUE(out == nullptr || isEmptied);
        if constexpr (std::is_same_v<decltype(out), BSTR>) {
            EXPECT_EQ(::SysStringLen(out), 0U);
        }
    };
    expectNone(unset.Get(), [&](BSTR* out) { return Invoke<&F::FindAttr>(file, u"a.B", out); });
    expectNone(unset.Get(), [&](BSTR* out) { return Invoke<&T::FindAttr>(tree, u"a.B", out); });
    expectNone(&*tree, [&](T** out) { return Invoke<&F::FindAttrsTree>(file, u"a.B", out); });
    expectNone(&*tree, [&](T** out) { return Invoke<&T::FindSubtree>(tree, u"a.B", out); });
    Succeed<&F::DelAttr>(file, u"a.B");
    Succeed<&F::DelAttrsTree>(file, u"a.B");
    Succeed<&T::DelAttr>(tree, u"a.B");
    Succeed<&T::DelSubtree>(tree, u"a.B");
    Succeed<&F::FlushChanges>(file);
    ExpectContent(u"a.b=1");
}

// The hex dump in the format document and the golden file agree; a rewrite keeps every line.
TEST_P(MetaFileObjects, GoldenFileIsTheDocumentedExample) {
    std::ifstream document(ZOREL_SOURCE_DIR "/doc/meta-file.md");
    std::string documented;
    for (std::string line; std::getline(document, line);) {
        const bool isDump = line.starts_with("    0") && line.substr(8, 2) == "  ";
        std::istringstream bytes(isDump ? line.substr(10, 48) : "");
        for (std::string byte; bytes >> byte;) {
            documented.push_back(static_cast<char>(std::stoi(byte, nullptr, 16)));
        }
    }
    const std::string golden = support::ReadWhole(u"" ZOREL_SOURCE_DIR "/tests/data/meta_file.mtf");
    EXPECT_EQ(documented, golden);
    ASSERT_TRUE(support::WriteWhole(Path(), golden));
    const auto file = OpenMetaFile(EIdxMetaLoad);
    EXPECT_EQ(Get<&F::EnumAllAttrs>(file), u"Version Job.Name Job.Server.Host");
    EXPECT_EQ(Get<&F::FindAttr>(file, u"Job.Server.Host"), u"srv01");
    Succeed<&F::FlushChanges>(file);
    EXPECT_EQ(support::ReadWhole(Path()), golden);
}

// Trees, attributes, comments and saves, also after Close.
TEST_P(MetaFileObjects, Editing) {
    constexpr std::u16string_view kBefore =
        u"#top\nJob.Name=Daily\nJob.Server.Host = srv01\nVersion=1\n\nnote";
    Write(kBefore);
    const auto f = OpenMetaFile(EIdxMetaOpenRW);
    const auto root = Get<&F::GetRootAttrsTree>(f);
    EXPECT_EQ(Get<&F::EnumAllAttrs>(f), u"Version Job.Name Job.Server.Host");
    EXPECT_EQ(Get<&T::EnumChildAttrs>(root), u"Version");
    EXPECT_EQ(Get<&F::FindAttr>(f, u"job.SERVER.Host"), u"srv01");
    const auto deep = Get<&T::CreateSubtree>(root, u"x.y");
    EXPECT_EQ(Get<&T::EnumChildTrees>(root), u"Job x");
    Succeed<&F::FlushChanges>(f);
    ExpectContent(kBefore);  // a subtree without attributes is not written

    Succeed<&T::SetAttr>(deep, u"z.n", u"");
    Succeed<&F::PushComment>(f, u"a\r\n\nb\n");
    Succeed<&F::SetAttr>(f, u"JOB.Name", u"Weekly");
    EXPECT_EQ(Get<&T::GetExistingAttr>(root, u"x.Y.z.n"), u"");
    Succeed<&F::Close>(f);
    Succeed<&F::DelAttrsTree>(f, u"job.server");
    Succeed<&F::FlushChanges>(f);
    ExpectContent(u"#top\nJob.Name=Weekly\nVersion=1\n\nnote\nx.y.z.n=\n#a\n#\n#b");
}

// A tree outlives the meta-file object; releasing saves nothing.
TEST_P(MetaFileObjects, TreeWithoutItsFile) {
    Write(u"a.b=1");
    const auto tree = Get<&F::GetExistingAttrsTree>(OpenMetaFile(EIdxMetaOpenRW), u"a");
    Succeed<&T::SetAttr>(tree, u"b", u"2");
    EXPECT_EQ(Get<&T::FindAttr>(tree, u"b"), u"2");
    ExpectContent(u"a.b=1");
}

}  // namespace
