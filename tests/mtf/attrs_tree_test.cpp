// Attribute trees: names, order, failures in their words, and sizes that must not hurt.
#include "mtf/tree/attrs_tree.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>

#include "frame/conversions.h"
#include "support/meta_file_model.h"

namespace mtf {
namespace {

using support::MessageOf;
using Texts = std::vector<std::u16string>;

constexpr auto kRoot = CMtfAttrsTreeData::kRoot;

std::shared_ptr<CMtfLines> LinesFrom(std::u16string_view text) {
    auto lines = std::make_shared<CMtfLines>(u"F");
    idxdata::CMtfOutBuffer content(64);
    const std::string bytes = support::MetaFileBytes(text);
    content.Append(bytes.data(), bytes.size());
    lines->Load(content.TakeStorage());
    return lines;
}

struct TreeTest : testing::Test {
    void Load(std::u16string_view text) {
        lines = LinesFrom(text);
        tree = CMtfAttrsTreeData::Build(lines, u"F");
    }
    std::shared_ptr<CMtfLines> lines;
    std::shared_ptr<CMtfAttrsTreeData> tree;
};

TEST_F(TreeTest, NamesAndOrder) {
    Load(u"Job.Name=A\r\nJOB.Size=1\r\na.b=1\r\na..b=2\r\njob.b=3\r\nJob.B=4\r\nJob.a=5\r\nx = y ");
    EXPECT_EQ(support::DumpTree(*tree), (Texts{u"x=y", u"[Job", u"B=4", u"Name=A", u"Size=1",
                                               u"a=5", u"b=3", u"]", u"[a", u"b=2", u"]"}));
    tree->SetAttr(kRoot, u"job.Extra", u" x ");
    EXPECT_EQ(tree->GetExistingAttr(kRoot, u".JOB..Extra."), u" x ") << "kept as it was set";
    std::u16string_view line;
    ASSERT_TRUE(lines->GetLine(8, line));
    EXPECT_EQ(line, u"Job.Extra= x ");
    // Only the line that holds the attribute goes; the one that it had hidden stays.
    tree->DelAttr(kRoot, u"a.b");
    EXPECT_TRUE(lines->GetLine(2, line));
    EXPECT_FALSE(lines->GetLine(3, line));
    tree->DelSubtree(kRoot, u"");
    tree->DelSubtree(kRoot, u"missing.x");
    tree->CreateSubtree(kRoot, u"p.q");
    EXPECT_EQ(tree->EnumAllAttrs(),
              (Texts{u"x", u"Job.B", u"Job.Extra", u"Job.Name", u"Job.Size", u"Job.a", u"Job.b"}));
    tree->DelSubtree(tree->FindSubtree(kRoot, u"job"), u".");
    EXPECT_EQ(support::DumpTree(*tree), (Texts{u"x=y", u"[a", u"]", u"[p", u"[q", u"]", u"]"}));
    EXPECT_EQ(lines->FindAttrLinesUnder(u"").size(), 2U);
}

TEST_F(TreeTest, FailuresInTheirWords) {
    Load(u"a.b.c=1\r\nx=1");
    const CMtfTreeRef live(tree, tree->GetExistingSubtree(kRoot, u"a"));
    const CMtfTreeRef gone(tree, tree->GetExistingSubtree(kRoot, u"a.b"));
    tree->DelSubtree(kRoot, u"a.b");
    std::u16string_view value;
    const std::u16string deleted = u"\r\nItem with the specified ID (2) is deleted.";
    const struct {
        std::function<void()> action;
        std::u16string message;
    } kRows[] = {
        {[&] { live.SetAttr(u"", u"v"); },
         u"Failed to create attribute \"\" in the tree \"a\". Meta-file:\"F\".\r\n"
         u"The specified attribute's path () is invalid."},
        {[&] { live.FindAttr(u"..", value); },
         u"Failed to find attribute \"..\" in meta-file \"F\". Search root is \"a\"\r\n"
         u"The specified attribute's path (..) is invalid."},
        {[&] { live.DelAttr(u"."); },
         u"Failed to delete attribute \".\" from the tree \"a\". Meta-file: \"F\".\r\n"
         u"The specified attribute's path (.) is invalid."},
        {[&] { live.GetExistingSubtree(u"x"); },
         u"The meta-file \"F\" does not contain subtree \"2\"."},
        {[&] { live.GetExistingAttr(u"x"); },
         u"The meta-file \"F\" does not contain attribute \"x\" under the tree \"a\"."},
        {[&] { live.GetExistingAttrHere(u"x.y"); },
         u"Attribute \"x.y\" was not found under the tree \"a\"."},
        {[&] { gone.FindSubtree(u"x"); },
         u"Failed to find subtree  \"x\" of the tree \"2\". Meta-file: \"F\"." + deleted},
        {[&] { gone.CreateSubtree(u"x"); },
         u"Failed to create subtree  \"x\" of the tree \"2\". Meta-file: \"F\"." + deleted},
        {[&] { gone.DelSubtree(u""); },
         u"Failed to delete subtree  \"\" of the tree \"2\". Meta-file: \"F\"." + deleted},
        {[&] { gone.EnumChildTrees(); },
         u"Failed to enumerate children of the tree \"2\". Meta-file: F." + deleted},
        {[&] { gone.EnumChildAttrs(); },
         u"Failed to enumerate attributes of the tree \"2\". Meta-file: F." + deleted},
        {[&] { gone.SetAttr(u"x", u""); },
         u"Failed to create attribute \"x\" in the tree \"2\". Meta-file:\"F\"." + deleted},
        {[&] { gone.GetExistingAttrHere(u"x"); },
         u"Failed to find attribute \"x\" in meta-file \"F\". Search root is \"2\"" + deleted},
        {[&] { tree->GetTable().Get(3); },
         u"Out of the meta-table boundary. Item ID: 3. Table size: 3."},
        {[&] { CMtfAttrsTreeData::Build(LinesFrom(u"a=1\r\n=v"), u"F"); },
         u"The specified attribute's path () is invalid."},
        {[&] { CMtfAttrsTreeData::Build(LinesFrom(u" ... =v"), u"F"); },
         u"The specified attribute's path (...) is invalid."},
    };
    for (const auto& row : kRows) {
        EXPECT_EQ(MessageOf(row.action), row.message);
    }
    EXPECT_FALSE(tree->GetTable().IsLive(2));
}

TEST_F(TreeTest, DeepTreesAndLongNames) {
    constexpr int kDepth = 100000;
    std::u16string path;
    for (int i = 0; i < kDepth; ++i) {
        path += i % 2 == 0 ? u"a." : u"B.";
    }
    Load(path + u"x=1");
    EXPECT_EQ(tree->GetExistingAttr(kRoot, path + u"x"), u"1");
    // The line is written with the 100 innermost names only.
    std::u16string capped;
    for (int i = 0; i < 50; ++i) {
        capped += u"a.B.";
    }
    tree->SetAttr(kRoot, path + u"y", u"2");
    std::u16string_view line;
    ASSERT_TRUE(lines->GetLine(1, line));
    EXPECT_EQ(line, capped + u"y=2");
    EXPECT_EQ(tree->EnumAllAttrs(), (Texts{capped + u"x", capped + u"y"}));
    tree->DelSubtree(kRoot, u"A");
    EXPECT_EQ(lines->FindAttrLinesUnder(u"a").size(), 0U);

    const std::u16string dots(5000000, u'.');
    const std::u16string big(25 * 1024 * 1024, u'v');
    Load(dots + u"a" + dots + u"b" + dots + u"=" + big);
    EXPECT_EQ(tree->EnumAllAttrs(), Texts{u"a.b"});
    EXPECT_EQ(tree->GetExistingAttr(kRoot, u"a.b"), big);
    EXPECT_TRUE(
        MessageOf([&] { tree->DelAttr(kRoot, dots); }).ends_with(u"(" + dots + u") is invalid."));
}

// Each of these would take minutes if it were quadratic.
TEST_F(TreeTest, LargeTreesTakeLinearTime) {
    constexpr int kCount = 200000;
    std::u16string text;
    for (int i = 0; i < kCount; ++i) {
        const std::u16string number = frame::IntToString(i);
        text += u"top.sub" + number + u".x=1\r\nwide.attr" + number + u"=1\r\n";
    }
    const auto start = std::chrono::steady_clock::now();
    Load(text + u"end");
    EXPECT_EQ(tree->EnumAllAttrs().size(), 2U * kCount);
    EXPECT_EQ(tree->EnumChildTrees(tree->FindSubtree(kRoot, u"top")).size(), std::size_t{kCount});
    for (int i = 0; i < kCount; ++i) {
        const std::u16string number = frame::IntToString(i);
        tree->SetAttr(kRoot, u"wide.new" + number, number);
        tree->DelAttr(kRoot, u"wide.attr" + number);
        ASSERT_EQ(lines->GetSaveKind(), EMtfSaveKind::SaveRewrite);
    }
    EXPECT_EQ(lines->FindAttrLinesUnder(u"wide").size(), std::size_t{kCount});
    tree->DelSubtree(kRoot, u"top");
    tree->DelSubtree(kRoot, u"wide");
    EXPECT_EQ(tree->EnumAllAttrs(), Texts{});
    lines->CommitSaved();
    for (int i = 0; i < kCount; ++i) {
        lines->PushComment(u"c");
        ASSERT_EQ(lines->GetSaveKind(), EMtfSaveKind::SaveAppend);
        lines->CommitSaved();
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
}

}  // namespace
}  // namespace mtf
