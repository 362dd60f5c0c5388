// Meta-files and their attribute trees through the interfaces, early and late bound.
#include <gtest/gtest.h>

#include <functional>

#include "support/meta_files.h"

namespace {

using automation::CBstr;
using automation::CComPtr;
using automation::CSafeArrayPtr;
using support::Bstr;
using support::Call;
using support::CallResult;
using support::EBinding;
using support::NamesFrom;
using support::TextFrom;

class MetaFileObjects : public support::CMetaFileTest {};

TEST_F(MetaFileObjects, OpeningThatFails) {
    constexpr std::u16string_view kOpening = u"Cannot create or load meta-file \"%1\". Open mode: ";
    const struct {
        const char* label;
        const char16_t* lines;  // null: there is no file
        INT mode;
        std::u16string text;
    } rows[] = {
        {"mode 3", nullptr, 3, u"Unknown meta-file open mode: 3."},
        {"mode -1", nullptr, -1, u"Unknown meta-file open mode: -1."},
        {"no file", nullptr, 0,
         std::u16string(kOpening) + u"EMtfLoad\nFile \"%1\" does not exist."},
        {"name without elements", u"a=1\n..=v", 0,
         u"The specified attribute's path (..) is invalid."},
        {"empty name", u"=v", 1, u"The specified attribute's path () is invalid."},
    };
    for (const auto& row : rows) {
        if (row.lines != nullptr) {
            Write(row.lines);
        }
        for (const EBinding binding : support::kBindings) {
            SCOPED_TRACE(std::string(row.label) + ", " + support::NameOf(binding));
            IMtfMetaFile* file = nullptr;
            const CallResult result = Call<&IOibIdxLib::CreateMetaFile>(
                binding, m_library.Get(), Bstr(Path()).Get(), row.mode, &file);
            ExpectFailure(result, binding, row.text, IID_IOibIdxLib, E_FAIL,
                          u"ZorelOibIdxLib.COibIdxLib.5");
            EXPECT_EQ(file, nullptr);
        }
    }
}

TEST_F(MetaFileObjects, Existence) {
    const struct {
        const char16_t* name;
        VARIANT_BOOL exists;
    } rows[] = {{u"x.mtf", VARIANT_TRUE}, {u"y.mtf", VARIANT_FALSE}, {u"z.mtf", VARIANT_TRUE},
                {u"sub", VARIANT_TRUE},   {u"*.mtf", VARIANT_TRUE},  {u"*.mtg", VARIANT_FALSE}};
    Write(u"a=1");
    std::ofstream(m_folder.Native(u"z.mtf.old"));
    std::filesystem::create_directory(m_folder.Native(u"sub"));
    for (const EBinding binding : support::kBindings) {
        for (const auto& row : rows) {
            VARIANT_BOOL exists = 7;
            EXPECT_EQ(Call<&IOibIdxLib::IsMetaFileExists>(
                          binding, m_library.Get(), Bstr(m_folder.Path(row.name)).Get(), &exists)
                          .hr,
                      S_OK);
            EXPECT_EQ(exists, row.exists) << frame::WideToAnsi(row.name);
        }
    }
}

TEST_F(MetaFileObjects, NullArguments) {
    Write(u"a.b=1");
    const auto file = OpenMetaFile(EIdxMetaLoad);
    CComPtr<IMtfAttrsTree> tree;
    ASSERT_EQ(file->GetRootAttrsTree(tree.Put()), S_OK);
    const CBstr text = Bstr(u"a");
    BSTR x = text.Get();
    BSTR value = nullptr;
    IMtfAttrsTree* none = nullptr;
    IMtfMetaFile* f = file.Get();
    IMtfAttrsTree* t = tree.Get();
    for (const EBinding b : support::kBindings) {
        const CallResult results[] = {
            Call<&IMtfMetaFile::GetRootAttrsTree>(b, f, nullptr),
            Call<&IMtfMetaFile::CreateAttrsTree>(b, f, nullptr, &none),
            Call<&IMtfMetaFile::CreateAttrsTree>(b, f, x, nullptr),
            Call<&IMtfMetaFile::FindAttrsTree>(b, f, nullptr, &none),
            Call<&IMtfMetaFile::FindAttrsTree>(b, f, x, nullptr),
            Call<&IMtfMetaFile::GetExistingAttrsTree>(b, f, nullptr, &none),
            Call<&IMtfMetaFile::GetExistingAttrsTree>(b, f, x, nullptr),
            Call<&IMtfMetaFile::DelAttrsTree>(b, f, nullptr),
            Call<&IMtfMetaFile::SetAttr>(b, f, nullptr, x),
            Call<&IMtfMetaFile::SetAttr>(b, f, x, nullptr),
            Call<&IMtfMetaFile::FindAttr>(b, f, nullptr, &value),
            Call<&IMtfMetaFile::FindAttr>(b, f, x, nullptr),
            Call<&IMtfMetaFile::GetExistingAttr>(b, f, nullptr, &value),
            Call<&IMtfMetaFile::GetExistingAttr>(b, f, x, nullptr),
            Call<&IMtfMetaFile::DelAttr>(b, f, nullptr),
            Call<&IMtfMetaFile::EnumAllAttrs>(b, f, nullptr),
            Call<&IMtfMetaFile::PushComment>(b, f, nullptr),
            Call<&IMtfAttrsTree::EnumChildTrees>(b, t, nullptr),
            Call<&IMtfAttrsTree::CreateSubtree>(b, t, nullptr, &none),
            Call<&IMtfAttrsTree::CreateSubtree>(b, t, x, nullptr),
            Call<&IMtfAttrsTree::FindSubtree>(b, t, nullptr, &none),
            Call<&IMtfAttrsTree::FindSubtree>(b, t, x, nullptr),
            Call<&IMtfAttrsTree::GetExistingSubtree>(b, t, nullptr, &none),
            Call<&IMtfAttrsTree::GetExistingSubtree>(b, t, x, nullptr),
            Call<&IMtfAttrsTree::DelSubtree>(b, t, nullptr),
            Call<&IMtfAttrsTree::EnumChildAttrs>(b, t, nullptr),
            Call<&IMtfAttrsTree::DelAttr>(b, t, nullptr),
            Call<&IMtfAttrsTree::SetAttr>(b, t, nullptr, x),
            Call<&IMtfAttrsTree::SetAttr>(b, t, x, nullptr),
            Call<&IMtfAttrsTree::FindAttr>(b, t, nullptr, &value),
            Call<&IMtfAttrsTree::FindAttr>(b, t, x, nullptr),
            Call<&IMtfAttrsTree::GetExistingAttr>(b, t, nullptr, &value),
            Call<&IMtfAttrsTree::GetExistingAttr>(b, t, x, nullptr),
        };
        for (const CallResult& result : results) {
            EXPECT_EQ(result.hr, E_INVALIDARG) << "result " << &result - results;
            EXPECT_EQ(result.error.description, u"");
        }
        EXPECT_TRUE(value == nullptr && none == nullptr);
        EXPECT_EQ(NamesFrom<&IMtfMetaFile::EnumAllAttrs>(b, f), u"a.b");
    }
}

// Every failing call, with the whole text that it leaves.
TEST_F(MetaFileObjects, CallsThatFail) {
    Write(u"a.b=1");
    const auto file = OpenMetaFile(EIdxMetaLoad);
    CComPtr<IMtfAttrsTree> tree;
    CComPtr<IMtfAttrsTree> orphan;
    ASSERT_EQ(file->GetExistingAttrsTree(Bstr(u"A").Get(), tree.Put()), S_OK);
    ASSERT_EQ(file->CreateAttrsTree(Bstr(u"gone").Get(), orphan.Put()), S_OK);  // node 2
    ASSERT_EQ(file->DelAttrsTree(Bstr(u"gone").Get()), S_OK);
    IMtfMetaFile* f = file.Get();
    IMtfAttrsTree* t = tree.Get();
    IMtfAttrsTree* o = orphan.Get();
    const CBstr dots = Bstr(u"..");
    const CBstr path = Bstr(u"no.x");
    BSTR d = dots.Get();
    BSTR x = path.Get();
    BSTR value = nullptr;
    SAFEARRAY* names = nullptr;
    IMtfAttrsTree* none = nullptr;
    const struct {
        std::function<CallResult(EBinding)> call;
        std::u16string_view text;
        const IID& iid;
    } rows[] = {
        {[&](EBinding b) { return Call<&IMtfMetaFile::GetExistingAttrsTree>(b, f, x, &none); },
         u"The meta-file \"%1\" does not contain subtree \"2\".", IID_IMtfMetaFile},
        {[&](EBinding b) { return Call<&IMtfMetaFile::SetAttr>(b, f, d, x); },
         u"Failed to create attribute \"..\" in the tree \"\". Meta-file:\"%1\".\n"
         u"The specified attribute's path (..) is invalid.",
         IID_IMtfMetaFile},
        {[&](EBinding b) { return Call<&IMtfMetaFile::FindAttr>(b, f, d, &value); },
         u"Failed to find attribute \"..\" in meta-file \"%1\". Search root is \"\"\n"
         u"The specified attribute's path (..) is invalid.",
         IID_IMtfMetaFile},
        {[&](EBinding b) { return Call<&IMtfMetaFile::GetExistingAttr>(b, f, x, &value); },
         u"The meta-file \"%1\" does not contain attribute \"no.x\" under the tree \"\".",
         IID_IMtfMetaFile},
        {[&](EBinding b) { return Call<&IMtfMetaFile::DelAttr>(b, f, d); },
         u"Failed to delete attribute \"..\" from the tree \"\". Meta-file: \"%1\".\n"
         u"The specified attribute's path (..) is invalid.",
         IID_IMtfMetaFile},
        {[&](EBinding b) { return Call<&IMtfAttrsTree::GetExistingSubtree>(b, t, x, &none); },
         u"The meta-file \"%1\" does not contain subtree \"2\".", IID_IMtfAttrsTree},
        {[&](EBinding b) { return Call<&IMtfAttrsTree::GetExistingAttr>(b, t, x, &value); },
         u"Attribute \"no.x\" was not found under the tree \"a\".", IID_IMtfAttrsTree},
        {[&](EBinding b) { return Call<&IMtfAttrsTree::EnumChildTrees>(b, o, &names); },
         u"Failed to enumerate children of the tree \"2\". Meta-file: %1.\n"
         u"Item with the specified ID (2) is deleted.",
         IID_IMtfAttrsTree},
        {[&](EBinding b) { return Call<&IMtfAttrsTree::CreateSubtree>(b, o, x, &none); },
         u"Failed to create subtree  \"no.x\" of the tree \"2\". Meta-file: \"%1\".\n"
         u"Item with the specified ID (2) is deleted.",
         IID_IMtfAttrsTree},
        {[&](EBinding b) { return Call<&IMtfAttrsTree::FindSubtree>(b, o, x, &none); },
         u"Failed to find subtree  \"no.x\" of the tree \"2\". Meta-file: \"%1\".\n"
         u"Item with the specified ID (2) is deleted.",
         IID_IMtfAttrsTree},
        {[&](EBinding b) { return Call<&IMtfAttrsTree::DelSubtree>(b, o, x); },
         u"Failed to delete subtree  \"no.x\" of the tree \"2\". Meta-file: \"%1\".\n"
         u"Item with the specified ID (2) is deleted.",
         IID_IMtfAttrsTree},
        {[&](EBinding b) { return Call<&IMtfAttrsTree::EnumChildAttrs>(b, o, &names); },
         u"Failed to enumerate attributes of the tree \"2\". Meta-file: %1.\n"
         u"Item with the specified ID (2) is deleted.",
         IID_IMtfAttrsTree},
        {[&](EBinding b) { return Call<&IMtfAttrsTree::SetAttr>(b, o, x, x); },
         u"Failed to create attribute \"no.x\" in the tree \"2\". Meta-file:\"%1\".\n"
         u"Item with the specified ID (2) is deleted.",
         IID_IMtfAttrsTree},
        {[&](EBinding b) { return Call<&IMtfAttrsTree::GetExistingAttr>(b, o, x, &value); },
         u"Failed to find attribute \"no.x\" in meta-file \"%1\". Search root is \"2\"\n"
         u"Item with the specified ID (2) is deleted.",
         IID_IMtfAttrsTree},
        {[&](EBinding b) { return Call<&IMtfAttrsTree::DelAttr>(b, o, x); },
         u"Failed to delete attribute \"no.x\" from the tree \"2\". Meta-file: \"%1\".\n"
         u"Item with the specified ID (2) is deleted.",
         IID_IMtfAttrsTree},
    };
    for (const EBinding binding : support::kBindings) {
        for (const auto& row : rows) {
            SCOPED_TRACE(frame::WideToAnsi(row.text));
            ExpectFailure(row.call(binding), binding, row.text, row.iid);
        }
    }
    EXPECT_TRUE(value == nullptr && names == nullptr && none == nullptr);
    std::filesystem::remove(m_folder.Native(u"x.mtf"));
    std::filesystem::create_directories(m_folder.Native(u"x.mtf"));
    const CallResult saving = Call<&IMtfMetaFile::FlushChanges>(EBinding::Early, f);
    EXPECT_LT(saving.hr, 0);
    EXPECT_TRUE(saving.error.description.starts_with(u"Cannot save changes in meta-file \"" +
                                                     Path() + u"\".\r\n"));
}

// What is not there is no failure to the Find and Del methods.
TEST_F(MetaFileObjects, NothingFound) {
    Write(u"a.b=1");
    const auto file = OpenMetaFile(EIdxMetaLoad);
    CComPtr<IMtfAttrsTree> tree;
    ASSERT_EQ(file->GetRootAttrsTree(tree.Put()), S_OK);
    const CBstr path = Bstr(u"a.B");
    for (const EBinding b : support::kBindings) {
        const HRESULT answer = b == EBinding::Early ? S_FALSE : S_OK;
        BSTR value = path.Get();
        IMtfAttrsTree* found = tree.Get();
        const auto expectNull = [&](const CallResult& result, bool isNull) {
            EXPECT_EQ(result.hr, answer);
            EXPECT_TRUE(isNull);
            value = path.Get();
            found = tree.Get();
        };
        // A returned null string arrives as an empty one on Wine.
        const auto isNull = [&](BSTR text) {
            const bool emptied = support::OnWine() && b == EBinding::Late;
            const CBstr owned(text == path.Get() ? nullptr : text);
            return text == nullptr || (emptied && ::SysStringLen(text) == 0);
        };
        auto result = Call<&IMtfMetaFile::FindAttr>(b, file.Get(), path.Get(), &value);
        expectNull(result, isNull(value));
        result = Call<&IMtfAttrsTree::FindAttr>(b, tree.Get(), path.Get(), &value);
        expectNull(result, isNull(value));
        result = Call<&IMtfMetaFile::FindAttrsTree>(b, file.Get(), path.Get(), &found);
        expectNull(result, found == nullptr);
        result = Call<&IMtfAttrsTree::FindSubtree>(b, tree.Get(), path.Get(), &found);
        expectNull(result, found == nullptr);
        EXPECT_EQ(Call<&IMtfMetaFile::DelAttr>(b, file.Get(), path.Get()).hr, S_OK);
        EXPECT_EQ(Call<&IMtfMetaFile::DelAttrsTree>(b, file.Get(), path.Get()).hr, S_OK);
        EXPECT_EQ(Call<&IMtfAttrsTree::DelAttr>(b, tree.Get(), path.Get()).hr, S_OK);
        EXPECT_EQ(Call<&IMtfAttrsTree::DelSubtree>(b, tree.Get(), path.Get()).hr, S_OK);
    }
    EXPECT_EQ(file->FlushChanges(), S_OK);
    EXPECT_EQ(Read(), u"a.b=1");
}

// A file's life: trees, attributes, comments, saves, and going on after Close.
TEST_F(MetaFileObjects, Editing) {
    for (const EBinding b : support::kBindings) {
        SCOPED_TRACE(support::NameOf(b));
        Write(u"#top\nJob.Name=Daily\nJob.Server.Host = srv01\nVersion=1\n\nnote");
        CComPtr<IMtfMetaFile> file;
        ASSERT_EQ(
            Call<&IOibIdxLib::CreateMetaFile>(b, m_library.Get(), Bstr(Path()).Get(), 1, file.Put())
                .hr,
            S_OK);
        CComPtr<IMtfAttrsTree> root;
        CComPtr<IMtfAttrsTree> deep;
        ASSERT_EQ(Call<&IMtfMetaFile::GetRootAttrsTree>(b, file.Get(), root.Put()).hr, S_OK);
        EXPECT_EQ(NamesFrom<&IMtfMetaFile::EnumAllAttrs>(b, file.Get()),
                  u"Version Job.Name Job.Server.Host");
        EXPECT_EQ(NamesFrom<&IMtfAttrsTree::EnumChildAttrs>(b, root.Get()), u"Version");
        EXPECT_EQ(TextFrom<&IMtfMetaFile::FindAttr>(b, file.Get(), Bstr(u"job.SERVER.Host").Get()),
                  u"srv01");
        ASSERT_EQ(
            Call<&IMtfAttrsTree::CreateSubtree>(b, root.Get(), Bstr(u"x.y").Get(), deep.Put()).hr,
            S_OK);
        EXPECT_EQ(NamesFrom<&IMtfAttrsTree::EnumChildTrees>(b, root.Get()), u"Job x");
        EXPECT_EQ(Call<&IMtfMetaFile::FlushChanges>(b, file.Get()).hr, S_OK);
        EXPECT_EQ(Read(), u"#top\nJob.Name=Daily\nJob.Server.Host = srv01\nVersion=1\n\nnote")
            << "a subtree without attributes is not written";

        const auto set =
            Call<&IMtfAttrsTree::SetAttr>(b, deep.Get(), Bstr(u"z.n").Get(), Bstr(u"").Get());
        EXPECT_EQ(set.hr, S_OK);
        EXPECT_EQ(Call<&IMtfMetaFile::PushComment>(b, file.Get(), Bstr(u"a\r\n\nb\n").Get()).hr,
                  S_OK);
        EXPECT_EQ(Call<&IMtfMetaFile::SetAttr>(b, file.Get(), Bstr(u"JOB.Name").Get(),
                                               Bstr(u"Weekly").Get())
                      .hr,
                  S_OK);
        EXPECT_EQ(TextFrom<&IMtfAttrsTree::GetExistingAttr>(b, root.Get(), Bstr(u"x.Y.z.n").Get()),
                  u"");
        EXPECT_EQ(Call<&IMtfMetaFile::Close>(b, file.Get()).hr, S_OK);
        EXPECT_EQ(Call<&IMtfMetaFile::DelAttrsTree>(b, file.Get(), Bstr(u"job.server").Get()).hr,
                  S_OK);
        EXPECT_EQ(Call<&IMtfMetaFile::FlushChanges>(b, file.Get()).hr, S_OK);
        EXPECT_EQ(Read(), u"#top\nJob.Name=Weekly\nVersion=1\n\nnote\nx.y.z.n=\n#a\n#\n#b");
    }
}

// A tree outlives the meta-file object; nothing is saved on release.
TEST_F(MetaFileObjects, TreeWithoutItsFile) {
    Write(u"a.b=1");
    CComPtr<IMtfAttrsTree> tree;
    ASSERT_EQ(OpenMetaFile(EIdxMetaOpenRW)->GetExistingAttrsTree(Bstr(u"a").Get(), tree.Put()),
              S_OK);
    ASSERT_EQ(tree->SetAttr(Bstr(u"b").Get(), Bstr(u"2").Get()), S_OK);
    EXPECT_EQ(TextFrom<&IMtfAttrsTree::FindAttr>(EBinding::Early, tree.Get(), Bstr(u"b").Get()),
              u"2");
    tree = nullptr;
    EXPECT_EQ(Read(), u"a.b=1");
}

}  // namespace
