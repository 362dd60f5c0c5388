// A meta-file. From choices: operations with saves and new openings, compared with a model. From
// any other bytes: what a file contains is still there after it is saved and loaded again.
#include <optional>

#include "fuzz.h"
#include "meta_file_model.h"
#include "support/meta_file_bytes.h"

namespace fuzz {

namespace {

using namespace std::string_view_literals;
using zorel::client::CComPtr;
using zorel::client::CString;
using Texts = std::vector<std::u16string>;

constexpr std::u16string_view kName = u"m.mtf";

Texts ListOf(const zorel::client::CStringArray& array) {
    Texts list(array.Size());
    for (std::size_t i = 0; i < list.size(); ++i) {
        list[i] = array[i];
    }
    return list;
}

CComPtr<IMtfMetaFile> Open(EIdxMetaOpenMode mode) {
    CComPtr<IMtfMetaFile> file;
    Succeeds(Library().CreateMetaFile(CString(PathOf(kName)), mode, file.Put()));
    return file;
}

// As CMetaFileModel::Dump.
Texts Dump(IMtfAttrsTree& tree) {
    Texts out;
    zorel::client::CStringArray attrs, subtrees;
    RequireSuccess(tree.EnumChildAttrs(attrs.Put()), "the attributes of a tree can be listed");
    for (const std::u16string& name : ListOf(attrs)) {
        CString value;
        RequireSuccess(tree.GetExistingAttr(CString(name), value.Put()),
                       "a listed attribute has a value");
        out.push_back(name + u'=' + std::u16string(value.View()));
    }
    RequireSuccess(tree.EnumChildTrees(subtrees.Put()), "the subtrees of a tree can be listed");
    for (const std::u16string& name : ListOf(subtrees)) {
        CComPtr<IMtfAttrsTree> subtree;
        RequireSuccess(tree.GetExistingSubtree(CString(name), subtree.Put()),
                       "a listed subtree exists");
        out.push_back(u'[' + name);
        const Texts content = Dump(*subtree);
        out.insert(out.end(), content.begin(), content.end());
        out.push_back(u"]");
    }
    return out;
}

Texts Dump(IMtfMetaFile& file) {
    CComPtr<IMtfAttrsTree> root;
    RequireSuccess(file.GetRootAttrsTree(root.Put()), "a meta-file has a tree");
    return Dump(*root);
}

// ----- Operations -----------------------------------------------------------------------

class CSession {
public:
    explicit CSession(CInput& input) : m_input(input), m_hasFewNames(input.Below(3) == 0) {
        ClearFolder();
        Open(EIdxMetaOpenRW);
    }

    void Step() {
        switch (m_input.Below(12)) {
            case 0:
                return Open(EIdxMetaOpenRW);
            case 1:
                return Open(m_input.Below(8) == 0 ? EIdxMetaCreateNewDetached : EIdxMetaLoad);
            case 2:
            case 3:
                RequireSuccess(m_file->FlushChanges(), "a meta-file can be saved");
                m_model.Save();
                Require(ReadFile(kName) == m_model.Disk(), "a saved file is that of the model");
                break;
            case 4:
                RequireSuccess(m_file->Close(), "a meta-file can be closed");
                break;
            default:
                Change();
        }
        RequireTreeOfTheModel();
    }

private:
    void Open(EIdxMetaOpenMode mode) {
        if (mode == EIdxMetaLoad && !m_model.Disk()) {
            return;
        }
        m_file = nullptr;
        m_file = fuzz::Open(mode);
        Require(static_cast<bool>(m_file), "a saved meta-file can be opened");
        m_model.Open(mode == EIdxMetaCreateNewDetached);
        RequireTreeOfTheModel();
    }

    void RequireTreeOfTheModel() const {
        zorel::client::CStringArray attrs;
        Require(Dump(*m_file) == m_model.Dump(), "a tree is that of the model");
        RequireSuccess(m_file->EnumAllAttrs(attrs.Put()), "all attributes can be listed");
        Require(ListOf(attrs) == m_model.AllAttrs(), "the list of all attributes is complete");
    }

    // With few names, files become empty again.
    std::u16string ReadPath() {
        std::u16string path =
            m_hasFewNames ? m_input.Text(u"ab", 1) : m_input.Text(u"aAbB..k1 x#\u00C9\u00E9", 8);
        if (path.find_first_not_of(u" .") == path.npos) {
            std::erase(path, u' ');  // a name of blanks makes a file unreadable
        }
        return path;
    }

    // A value with a line end reads back as several lines, and a line whose attribute has no name
    // makes a file unreadable: such lines get a name.
    std::u16string ReadValue() {
        const std::u16string text = m_input.Text(u"v =\t#\r\n1\u00E9\xD800", 8);
        std::u16string value;
        for (const char16_t unit : text) {
            value += unit == u'=' && text.find(u'\n') != text.npos ? u"k" : u"";
            value += unit == u'\n' && !value.ends_with(u'\r') && m_input.Flag() ? u"\r" : u"";
            value += unit;
        }
        return value;
    }

    void Change() {
        const std::u16string path = ReadPath();
        const CString name(path);
        switch (m_input.Below(8)) {
            case 0: {
                const std::u16string text = ReadValue();
                RequireSuccess(m_file->PushComment(CString(text)), "a comment can be added");
                return m_model.PushComment(text);
            }
            case 1:
                RequireSuccess(m_file->DelAttrsTree(name), "a tree can be deleted");
                return m_model.DelSubtree(path);
            case 2:
                return RequireSame(m_file->DelAttr(name), m_model.DelAttr(path));
            case 3:
            case 4:
                return ChangeBelow(path);
            default: {
                const std::u16string value = ReadValue();
                return RequireSame(m_file->SetAttr(name, CString(value)),
                                   m_model.SetAttr(path, value));
            }
        }
    }

    // The same with paths relative to the subtree `base`.
    void ChangeBelow(const std::u16string& base) {
        CComPtr<IMtfAttrsTree> tree, below;
        RequireSuccess(m_file->CreateAttrsTree(CString(base), tree.Put()), "a tree can be added");
        m_model.CreateSubtree(base);
        const std::u16string path = ReadPath();
        const std::u16string whole = base + u"." + path;
        const bool hasName = path.find_first_not_of(u'.') != path.npos;
        const CString name(path);
        switch (m_input.Below(4)) {
            case 0:
                RequireSuccess(tree->CreateSubtree(name, below.Put()), "a tree can be added");
                return m_model.CreateSubtree(whole);
            case 1:
                RequireSuccess(tree->DelSubtree(name), "a tree can be deleted");
                return m_model.DelSubtree(whole);
            case 2:
                return RequireSame(tree->DelAttr(name), m_model.DelAttr(hasName ? whole : path));
            default: {
                const std::u16string value = ReadValue();
                return RequireSame(tree->SetAttr(name, CString(value)),
                                   m_model.SetAttr(hasName ? whole : path, value));
            }
        }
    }

    static void RequireSame(HRESULT result, bool succeeds) {
        Require(Succeeds(result) == succeeds, "a call succeeds as in the model");
    }

    CInput& m_input;
    bool m_hasFewNames;
    CMetaFileModel m_model;
    CComPtr<IMtfMetaFile> m_file;
};

// ----- Any bytes ------------------------------------------------------------------------

// The model reads UTF-16 text without NUL.
void RequireContentOfTheModel(std::string_view bytes, const Texts& content) {
    const bool isWide = bytes.starts_with("\xFF\xFE") && bytes.size() % 2 == 0;
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
        if (bytes[i] == 0 && bytes[i + 1] == 0) {
            return;
        }
    }
    if (isWide) {
        CMetaFileModel model;
        model.SetDisk(std::string(bytes));
        model.Open(false);
        Require(content == model.Dump(), "a loaded file has the content of the model");
    }
}

// A loaded file is not kept open, so each save writes the whole file. A line that ends at a NUL
// can be empty; if it is the last one, the file ends with a line end, which is then read as text
// of the line before.
void SaveAnyBytes(std::string_view bytes) {
    WriteFile(kName, bytes);
    const auto first = Open(EIdxMetaLoad);
    if (!first) {
        return;
    }
    const Texts content = Dump(*first);
    RequireContentOfTheModel(bytes, content);
    const bool isSaved = Succeeds(first->FlushChanges());
    if (isSaved && !ReadFile(kName).ends_with("\r\0\n\0"sv)) {
        const auto second = Open(EIdxMetaLoad);
        Require(second && Dump(*second) == content, "a saved file has what was loaded");
    }
}

}  // namespace

void Run(std::string_view bytes) {
    CInput input(bytes);
    if (!input.Flag()) {
        return SaveAnyBytes(input.Rest());
    }
    CSession session(input);
    for (int i = 0; i < 60 && !input.IsEmpty(); ++i) {
        session.Step();
    }
}

std::vector<std::string> Seeds() {
    std::vector<std::string> seeds = {
        Seed(ReadSource("tests/data/meta_file.mtf"), {0}),
        Seed("Job.Name=a\r\n#c\r\n\r\njob.B = \xC3\xA9\r\nx", {0}),
        Seed(support::MetaFileBytes(u"a=1\r\nA.b=2\r\na.b=3\r\n"), {0}),
        Seed(support::MetaFileBytes(u"#x=1\r\n  #x=2\r\n\r\nnote\r\n\t k.l \t=\t \r \r\n"
                                    u"name=\r\nk\u00A0=\u3000\r\nk = v = w"),
             {0})};
    for (std::uint32_t i = 0; i < 40; ++i) {
        seeds.push_back(RandomSeed(i, 400, {1}));
    }
    return seeds;
}

}  // namespace fuzz
