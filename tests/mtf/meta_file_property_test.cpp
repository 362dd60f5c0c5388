// Random operations on a meta-file, compared with the plain model.
#include <gtest/gtest.h>

#include <random>

#include "mtf/tree/opened_meta_file.h"
#include "support/meta_file_model.h"
#include "support/port_files.h"
#include "support/temp_folder.h"

namespace mtf {
namespace {

constexpr std::u16string_view kElements[] = {u"a",      u"A",      u"b",  u"Job", u"JOB", u"x y",
                                             u"\u00C9", u"\u00E9", u"#c", u"k1",  u"k2",  u"k3"};
// Blanks at the ends, signs and line ends do not read back as they were set.
constexpr std::u16string_view kValues[] = {
    u"", u"1", u" v ", u"=", u"a=b", u"\t", u"x\r\ny.z=1", u"end\r\n", u"caf\u00E9", u"\xD800"};
constexpr std::u16string_view kComments[] = {u"", u"c", u"a\r\n\r\nb\n", u"\n", u"tail\r"};

class MetaFileProperty : public testing::TestWithParam<std::uint32_t> {
protected:
    std::size_t Below(std::size_t end) {
        return std::uniform_int_distribution<std::size_t>(0, end - 1)(m_random);
    }
    template <class List>
    std::u16string Pick(const List& list) {
        return std::u16string(list[Below(std::size(list))]);
    }
    std::u16string RandomPath() {
        std::u16string path = Below(8) == 0 ? u"." : u"";
        for (std::size_t count = Below(4); count > 0; --count) {
            path += Pick(kElements) + (Below(10) == 0 ? u".." : u".");
        }
        return Below(30) == 0 ? path : path + Pick(kElements);
    }

    void Open() {
        const auto mode = static_cast<EMtfOpenMode>(Below(40) == 0 ? 2 : Below(2));
        if (mode == EMtfOpenMode::EMtfLoad && !m_model.Disk()) {
            return Open();
        }
        m_file.reset();
        m_file = CMtfOpenedMetaFile::Open(m_path, mode);
        m_model.Open(mode == EMtfOpenMode::EMtfCreateNewDetached);
    }

    void Change() {
        CMtfAttrsTreeData& tree = m_file->Tree();
        const std::u16string path = RandomPath();
        const std::u16string value = Pick(kValues);
        const std::u16string comment = Pick(kComments);
        std::u16string message;
        const std::u16string base = Below(3) == 0 ? RandomPath() : u"";
        std::uint64_t node = tree.FindSubtree(0, base);
        node = node == tree.kNoNode ? tree.CreateSubtree(0, base) : node;
        m_model.CreateSubtree(base);
        const std::u16string whole = base + u'.' + path;
        const bool hasElements = path.find_first_not_of(u'.') != path.npos;
        const std::u16string attr = hasElements ? whole : path;
        switch (Below(10)) {
            case 0:
            case 1:
                return m_model.PushComment(comment), m_file->Lines().PushComment(comment);
            case 2:
                return m_model.CreateSubtree(whole), void(tree.CreateSubtree(node, path));
            case 3:
                return m_model.DelSubtree(whole), tree.DelSubtree(node, path);
            case 4:
            case 5:
                message = support::MessageOf([&] { tree.DelAttr(node, path); });
                EXPECT_EQ(m_model.DelAttr(attr), message == u"<none>");
                return;
            default:
                message = support::MessageOf([&] { tree.SetAttr(node, path, value); });
                EXPECT_EQ(m_model.SetAttr(attr, value), message == u"<none>");
        }
    }

    void Flush() {
        m_file->File().Save();
        m_model.Save();
        ASSERT_EQ(support::ReadWhole(m_path), m_model.Disk());
    }

    std::mt19937 m_random{GetParam()};
    support::CTempFolder m_folder{support::QuickFolder()};
    std::u16string m_path = m_folder.Path(u"m");
    support::CMetaFileModel m_model;
    std::shared_ptr<CMtfOpenedMetaFile> m_file;
};

TEST_P(MetaFileProperty, AgreesWithTheModelAtEveryStep) {
    Open();
    for (int step = 0; step < 1500 && !HasFailure(); ++step) {
        SCOPED_TRACE("seed " + std::to_string(GetParam()) + ", step " + std::to_string(step));
        const std::size_t choice = Below(12);
        choice < 2    ? Flush()
        : choice == 2 ? m_file->File().CloseFile()
        : choice == 3 ? Open()
                      : Change();
        ASSERT_EQ(support::DumpTree(m_file->Tree()), m_model.Dump());
        ASSERT_EQ(m_file->Tree().EnumAllAttrs(), m_model.AllAttrs());
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, MetaFileProperty, testing::Values(1U, 2U, 3U, 4U));

}  // namespace
}  // namespace mtf
