// Meta-files and their attribute trees through the interfaces, early and late bound.
#include <gtest/gtest.h>

#include <filesystem>

#include "support/meta_files.h"

namespace {

using automation::CComPtr;
using support::CallResult;
using support::EBinding;
using support::Get;
using support::Invoke;
using support::NamesFrom;
using support::Succeed;
using support::TextFrom;
using F = IMtfMetaFile;
using T = IMtfAttrsTree;
using TreePtr = CComPtr<T>;

class MetaFileObjects : public support::CMetaFileTest {};

TEST_F(MetaFileObjects, OpeningThatFails) {
    const struct {
        const char16_t* lines;  // null: there is no file
        INT mode;
        std::u16string_view text;
    } rows[] = {
        {nullptr, 3, u"Unknown meta-file open mode: 3."},
        {nullptr, -1, u"Unknown meta-file open mode: -1."},
        {nullptr, 0,
         u"Cannot create or load meta-file \"%1\". Open mode: EMtfLoad\n"
         u"File \"%1\" does not exist."},
        {u"a=1\n .. =v", 0, u"The specified attribute's path (..) is invalid."},
        {u"=v", 1, u"The specified attribute's path () is invalid."},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(frame::WideToAnsi(row.text));
        if (row.lines != nullptr) {
            Write(row.lines);
        }
        for (const EBinding b : support::kBindings) {
            CComPtr<F> file;
            const CallResult result = Invoke<&IOibIdxLib::CreateMetaFile>(
                b, m_library.Get(), Path().c_str(), row.mode, file.Put());
            ExpectFailure(result, b, row.text, IID_IOibIdxLib, E_FAIL,
                          u"ZorelOibIdxLib.COibIdxLib.5");
            EXPECT_FALSE(file);
        }
    }
}

TEST_F(MetaFileObjects, Existence) {
    Write(u"a=1");
    ASSERT_TRUE(support::WriteWhole(m_folder.Path(u"z.mtf.old"), ""));
    const struct {
        const char16_t* name;
        VARIANT_BOOL exists;
    } rows[] = {{u"x.mtf", VARIANT_TRUE}, {u"y.mtf", VARIANT_FALSE}, {u"z.mtf", VARIANT_TRUE},
                {u".", VARIANT_TRUE},     {u"*.mtf", VARIANT_TRUE},  {u"*.mtg", VARIANT_FALSE}};
    for (const EBinding b : support::kBindings) {
        for (const auto& row : rows) {
            const auto exists = Get<VARIANT_BOOL, &IOibIdxLib::IsMetaFileExists>(
                b, m_library.Get(), m_folder.Path(row.name).c_str());
            EXPECT_EQ(exists, row.exists) << frame::WideToAnsi(row.name);
        }
    }
}

TEST_F(MetaFileObjects, NullArguments) {
    Write(u"a.b=1");
    const auto file = OpenMetaFile(EBinding::Early, EIdxMetaLoad);
    const auto tree = Get<TreePtr, &F::GetRootAttrsTree>(EBinding::Early, file.Get());
    const automation::CBstr text = support::Bstr(u"a");
    BSTR x = text.Get();
    BSTR value = nullptr;
    T* none = nullptr;
    SAFEARRAY* names = nullptr;
    using support::ExpectRefusesNull;
    ExpectRefusesNull<&F::GetRootAttrsTree>(file.Get(), &none);
    ExpectRefusesNull<&F::CreateAttrsTree, &F::FindAttrsTree, &F::GetExistingAttrsTree>(file.Get(),
                                                                                        x, &none);
    ExpectRefusesNull<&F::DelAttrsTree, &F::DelAttr, &F::PushComment>(file.Get(), x);
    ExpectRefusesNull<&F::SetAttr>(file.Get(), x, x);
    ExpectRefusesNull<&F::FindAttr, &F::GetExistingAttr>(file.Get(), x, &value);
    ExpectRefusesNull<&F::EnumAllAttrs>(file.Get(), &names);
    ExpectRefusesNull<&T::EnumChildTrees, &T::EnumChildAttrs>(tree.Get(), &names);
    ExpectRefusesNull<&T::CreateSubtree, &T::FindSubtree, &T::GetExistingSubtree>(tree.Get(), x,
                                                                                  &none);
    ExpectRefusesNull<&T::DelSubtree, &T::DelAttr>(tree.Get(), x);
    ExpectRefusesNull<&T::SetAttr>(tree.Get(), x, x);
    ExpectRefusesNull<&T::FindAttr, &T::GetExistingAttr>(tree.Get(), x, &value);
    EXPECT_TRUE(value == nullptr && none == nullptr && names == nullptr);
    EXPECT_EQ(NamesFrom<&F::EnumAllAttrs>(EBinding::Early, file.Get()), u"a.b");
}

// The whole texts. Messages show the paths of trees as spelled at their creation.
TEST_F(MetaFileObjects, CallsThatFail) {
    Write(u"a.b=1");
    const auto file = OpenMetaFile(EBinding::Early, EIdxMetaLoad);
    const auto tree = Get<TreePtr, &F::GetExistingAttrsTree>(EBinding::Early, file.Get(), u"A");
    const auto deleted = Get<TreePtr, &F::CreateAttrsTree>(EBinding::Early, file.Get(), u"gone");
    Succeed<&T::DelSubtree>(EBinding::Early, deleted.Get(), u".");
    F* f = file.Get();
    T* t = tree.Get();
    T* d = deleted.Get();
    BSTR value = nullptr;
    SAFEARRAY* names = nullptr;
    T* none = nullptr;
    for (const EBinding b : support::kBindings) {
        const auto fileFails = [&](const CallResult& result, std::u16string_view text) {
            ExpectFailure(result, b, text, IID_IMtfMetaFile);
        };
        const auto treeFails = [&](const CallResult& result, std::u16string_view text) {
            ExpectFailure(result, b, text, IID_IMtfAttrsTree);
        };
        fileFails(Invoke<&F::GetExistingAttrsTree>(b, f, u"no.x", &none),
                  u"The meta-file \"%1\" does not contain subtree \"2\".");
        fileFails(Invoke<&F::SetAttr>(b, f, u"..", u"v"),
                  u"Failed to create attribute \"..\" in the tree \"\". Meta-file:\"%1\".\n"
                  u"The specified attribute's path (..) is invalid.");
        fileFails(Invoke<&F::FindAttr>(b, f, u"", &value),
                  u"Failed to find attribute \"\" in meta-file \"%1\". Search root is \"\"\n"
                  u"The specified attribute's path () is invalid.");
        fileFails(Invoke<&F::GetExistingAttr>(b, f, u"a.B", &value),
                  u"The meta-file \"%1\" does not contain attribute \"a.B\" under the tree \"\".");
        fileFails(Invoke<&F::DelAttr>(b, f, u".."),
                  u"Failed to delete attribute \"..\" from the tree \"\". Meta-file: \"%1\".\n"
                  u"The specified attribute's path (..) is invalid.");
        treeFails(Invoke<&T::GetExistingSubtree>(b, t, u"no.x", &none),
                  u"The meta-file \"%1\" does not contain subtree \"2\".");
        treeFails(Invoke<&T::GetExistingAttr>(b, t, u"no.x", &value),
                  u"Attribute \"no.x\" was not found under the tree \"a\".");
        const std::u16string isDeleted = u"\nItem with the specified ID (2) is deleted.";
        treeFails(Invoke<&T::EnumChildTrees>(b, d, &names),
                  u"Failed to enumerate children of the tree \"2\". Meta-file: %1." + isDeleted);
        treeFails(Invoke<&T::EnumChildAttrs>(b, d, &names),
                  u"Failed to enumerate attributes of the tree \"2\". Meta-file: %1." + isDeleted);
        const std::u16string where = u" the tree \"2\". Meta-file: \"%1\"." + isDeleted;
        treeFails(Invoke<&T::CreateSubtree>(b, d, u"no.x", &none),
                  u"Failed to create subtree  \"no.x\" of" + where);
        treeFails(Invoke<&T::FindSubtree>(b, d, u"", &none),
                  u"Failed to find subtree  \"\" of" + where);
        treeFails(Invoke<&T::DelSubtree>(b, d, u"x"),
                  u"Failed to delete subtree  \"x\" of" + where);
        treeFails(Invoke<&T::DelAttr>(b, d, u"x"),
                  u"Failed to delete attribute \"x\" from" + where);
        treeFails(
            Invoke<&T::SetAttr>(b, d, u"x", u"v"),
            u"Failed to create attribute \"x\" in the tree \"2\". Meta-file:\"%1\"." + isDeleted);
        treeFails(Invoke<&T::GetExistingAttr>(b, d, u"x", &value),
                  u"Failed to find attribute \"x\" in meta-file \"%1\". Search root is \"2\"" +
                      isDeleted);
        EXPECT_TRUE(value == nullptr && names == nullptr && none == nullptr);
    }
    std::filesystem::remove(m_folder.Native(u"x.mtf"));
    std::filesystem::create_directory(m_folder.Native(u"x.mtf"));
    const CallResult saving = Invoke<&F::FlushChanges>(EBinding::Early, f);
    EXPECT_LT(saving.hr, 0);
    EXPECT_TRUE(saving.error.description.starts_with(u"Cannot save changes in meta-file \"" +
                                                     Path() + u"\".\r\n"));
}

// Find returns S_FALSE and null for a missing item, Del returns S_OK.
TEST_F(MetaFileObjects, NothingFound) {
    Write(u"a.b=1");
    const auto file = OpenMetaFile(EBinding::Early, EIdxMetaLoad);
    const auto tree = Get<TreePtr, &F::GetRootAttrsTree>(EBinding::Early, file.Get());
    const automation::CBstr unset = support::Bstr(u"unset");
    for (const EBinding b : support::kBindings) {
        // On Wine a late-bound call returns an empty string for the null string.
        const bool isEmptied = support::OnWine() && b == EBinding::Late;
        const auto expectNone = [&](const CallResult& result, const auto& out) {
            EXPECT_EQ(result.hr, b == EBinding::Early ? S_FALSE : S_OK);
            EXPECT_TRUE(out == nullptr || isEmptied);
        };
        for (BSTR value = unset.Get(); const bool inTree : {false, true}) {
            const auto result = inTree ? Invoke<&T::FindAttr>(b, tree.Get(), u"a.B", &value)
                                       : Invoke<&F::FindAttr>(b, file.Get(), u"a.B", &value);
            expectNone(result, value);
            EXPECT_EQ(::SysStringLen(value), 0U);
            value = unset.Get();
        }
        T* found = tree.Get();
        expectNone(Invoke<&F::FindAttrsTree>(b, file.Get(), u"a.B", &found), found);
        found = tree.Get();
        expectNone(Invoke<&T::FindSubtree>(b, tree.Get(), u"a.B", &found), found);
        Succeed<&F::DelAttr>(b, file.Get(), u"a.B");
        Succeed<&F::DelAttrsTree>(b, file.Get(), u"a.B");
        Succeed<&T::DelAttr>(b, tree.Get(), u"a.B");
        Succeed<&T::DelSubtree>(b, tree.Get(), u"a.B");
    }
    Succeed<&F::FlushChanges>(EBinding::Early, file.Get());
    ExpectContent(u"a.b=1");
}

// Trees, attributes, comments and saves, also after Close.
TEST_F(MetaFileObjects, Editing) {
    constexpr std::u16string_view kBefore =
        u"#top\nJob.Name=Daily\nJob.Server.Host = srv01\nVersion=1\n\nnote";
    for (const EBinding b : support::kBindings) {
        Write(kBefore);
        const auto file = OpenMetaFile(b, EIdxMetaOpenRW);
        F* f = file.Get();
        const auto root = Get<TreePtr, &F::GetRootAttrsTree>(b, f);
        EXPECT_EQ(NamesFrom<&F::EnumAllAttrs>(b, f), u"Version Job.Name Job.Server.Host");
        EXPECT_EQ(NamesFrom<&T::EnumChildAttrs>(b, root.Get()), u"Version");
        EXPECT_EQ(TextFrom<&F::FindAttr>(b, f, u"job.SERVER.Host"), u"srv01");
        const auto deep = Get<TreePtr, &T::CreateSubtree>(b, root.Get(), u"x.y");
        EXPECT_EQ(NamesFrom<&T::EnumChildTrees>(b, root.Get()), u"Job x");
        Succeed<&F::FlushChanges>(b, f);
        ExpectContent(kBefore);  // a subtree without attributes is not written

        Succeed<&T::SetAttr>(b, deep.Get(), u"z.n", u"");
        Succeed<&F::PushComment>(b, f, u"a\r\n\nb\n");
        Succeed<&F::SetAttr>(b, f, u"JOB.Name", u"Weekly");
        EXPECT_EQ(TextFrom<&T::GetExistingAttr>(b, root.Get(), u"x.Y.z.n"), u"");
        Succeed<&F::Close>(b, f);
        Succeed<&F::DelAttrsTree>(b, f, u"job.server");
        Succeed<&F::FlushChanges>(b, f);
        ExpectContent(u"#top\nJob.Name=Weekly\nVersion=1\n\nnote\nx.y.z.n=\n#a\n#\n#b");
    }
}

// A tree outlives the meta-file object; releasing saves nothing.
TEST_F(MetaFileObjects, TreeWithoutItsFile) {
    Write(u"a.b=1");
    const EBinding b = EBinding::Early;
    const auto tree =
        Get<TreePtr, &F::GetExistingAttrsTree>(b, OpenMetaFile(b, EIdxMetaOpenRW).Get(), u"a");
    Succeed<&T::SetAttr>(b, tree.Get(), u"b", u"2");
    EXPECT_EQ(TextFrom<&T::FindAttr>(b, tree.Get(), u"b"), u"2");
    ExpectContent(u"a.b=1");
}

}  // namespace
