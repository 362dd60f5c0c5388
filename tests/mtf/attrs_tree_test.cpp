// Deep and large attribute trees.
#include "mtf/tree/attrs_tree.h"

#include <gtest/gtest.h>

#include <chrono>

#include "frame/conversions.h"
#include "support/engine_failure.h"
#include "support/meta_file_bytes.h"

namespace mtf {
namespace {

using Texts = std::vector<std::u16string>;

constexpr auto kRoot = CMtfAttrsTreeData::kRoot;

struct TreeTest : testing::Test {
    void Load(std::u16string_view text) {
        idxdata::CMtfOutBuffer content(64);
        const std::string bytes = support::MetaFileBytes(text);
        content.Append(bytes.data(), bytes.size());
        lines = std::make_shared<CMtfLines>(u"F");
        lines->Load(content.TakeStorage());
        tree = CMtfAttrsTreeData::Build(lines, u"F");
    }
    std::shared_ptr<CMtfLines> lines;
    std::shared_ptr<CMtfAttrsTreeData> tree;
};

TEST_F(TreeTest, DeepTreesAndLongNames) {
    constexpr int kDepth = 100000;
    std::u16string path;
    for (int i = 0; i < kDepth; ++i) {
        path += i % 2 == 0 ? u"a." : u"B.";
    }
    Load(path + u"x=1");
    EXPECT_EQ(tree->GetExistingAttr(kRoot, path + u"x"), u"1");
    // The line has only the 100 innermost names.
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
    const auto message = support::MessageOf([&] { tree->DelAttr(kRoot, dots); });
    EXPECT_TRUE(message.ends_with(u"(" + dots + u") is invalid."));
}

// Takes seconds; each of these operations would take minutes in quadratic time.
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
