#include <algorithm>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ZorelText.h"
#include "cli/command_line/command_group.h"
#include "cli/library/library.h"
#include "cli/output/text_format.h"

namespace zorel::tools {

namespace {

using Attr = std::pair<std::u16string, std::u16string>;  // name and value

// The elements of a path with A-Z folded.
std::vector<std::u16string> FoldedElements(std::u16string_view path) {
    std::vector<std::u16string> elements;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find(u'.'), path.size());
        if (end != 0) {
            elements.push_back(Folded(std::u16string(path.substr(0, end))));
        }
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return elements;
}

// A line break, wherever it lies in the bytes of the text: the file is cut there.
void CheckIsOneLine(const std::string& what, std::u16string_view text) {
    constexpr std::string_view kLineEnd("\r\0\n\0", 4);
    const std::string_view bytes(reinterpret_cast<const char*>(text.data()),
                                 text.size() * sizeof(char16_t));
    if (bytes.find(kLineEnd) != bytes.npos) {
        throw CToolError(what + ": A line of a meta-file cannot hold a line break.");
    }
}

// Refuses what the file format would give back as something else.
void CheckReadsBack(const std::string& what, std::u16string_view text) {
    constexpr std::u16string_view kBlanks = u" \t";
    CheckIsOneLine(what, text);
    if (!text.empty() &&
        (kBlanks.find(text.front()) != text.npos || kBlanks.find(text.back()) != text.npos)) {
        throw CToolError(what + ": A meta-file does not keep blanks at the start and the end.");
    }
}

void CheckIsName(const std::string& name) {
    if (FoldedElements(ToUtf16(name)).empty()) {
        throw CToolError("'" + name + "': This is no name.");
    }
}

// A meta-file opened through the library; its errors name the file.
class CMetaFile {
public:
    CMetaFile(std::string path, EIdxMetaOpenMode mode) : m_path(std::move(path)) {
        const client::CLibrary library;
        const client::CText file(ToUtf16(m_path));
        Check(library->CreateMetaFile(file.Get(), mode, m_file.Out()));
    }

    std::vector<std::u16string> Names() const {
        client::CTextArray names;
        Check(m_file->EnumAllAttrs(names.Out()));
        return names.Texts();
    }
    bool Find(std::u16string_view name, client::CText& value) const {
        return Check(m_file->FindAttr(client::CText(name).Get(), value.Out())) == S_OK;
    }
    bool HasTree(std::u16string_view path) const {
        client::CPointer<IMtfAttrsTree> tree;
        return Check(m_file->FindAttrsTree(client::CText(path).Get(), tree.Out())) == S_OK;
    }
    void Set(const Attr& attr) {
        Check(m_file->SetAttr(client::CText(attr.first).Get(), client::CText(attr.second).Get()));
    }
    void Delete(std::u16string_view name) { Check(m_file->DelAttr(client::CText(name).Get())); }
    void DeleteTree(std::u16string_view path) {
        Check(m_file->DelAttrsTree(client::CText(path).Get()));
    }
    void Comment(std::u16string_view text) {
        Check(m_file->PushComment(client::CText(text).Get()));
    }
    void Save() { Check(m_file->FlushChanges()); }

private:
    HRESULT Check(HRESULT result) const {
        client::Check(result, m_path);
        return result;
    }

    std::string m_path;
    client::CPointer<IMtfMetaFile> m_file;
};

// What all commands on a meta-file have in common.
class CMetaCommand : public CCommand {
protected:
    void DeclareFile(CLI::App& app) {
        app.add_option("FILE", m_file, "Meta-file")->required();
        DeclareJson(app);
    }
    void DeclareCreate(CLI::App& app) {
        app.add_flag("--create", m_mayCreate, "Make the file when it is missing");
    }
    CMetaFile OpenToRead() const { return CMetaFile(m_file, EIdxMetaLoad); }
    // The file is held until the end. A missing one is made only when asked for.
    CMetaFile OpenToChange() const {
        if (!m_mayCreate) {
            OpenToRead();
        }
        return CMetaFile(m_file, EIdxMetaOpenRW);
    }
    // What was done how many times; people see only what went wrong.
    void PrintSummary(COutput& output, std::string_view what, std::size_t count) const {
        if (m_isJson) {
            CJsonObject object;
            object.Add("file", std::string_view(m_file));
            output.Write(object.AddNumber(what, static_cast<std::int64_t>(count)).Line());
        }
    }

    std::string m_file;

private:
    bool m_mayCreate = false;
};

class CMetaListCommand : public CMetaCommand {
public:
    void Declare(CLI::App& app) override {
        DeclareFile(app);
        app.add_option("SUBTREE", m_subtree, "Only what stands below this path");
        app.footer("Prints NAME=VALUE for each attribute. Exit code 1: there is none.");
    }

    EExitCode Run(COutput& output) override {
        const CMetaFile file = OpenToRead();
        const std::vector<std::u16string> wanted = FoldedElements(ToUtf16(m_subtree));
        bool found = false;
        for (const std::u16string& name : file.Names()) {
            const std::vector<std::u16string> path = FoldedElements(name);
            if (path.size() <= wanted.size() ||
                !std::equal(wanted.begin(), wanted.end(), path.begin())) {
                continue;
            }
            client::CText value;
            found = file.Find(name, value) || found;
            if (m_isJson) {
                output.Write(CJsonObject().Add("name", name).Add("value", value.View()).Line());
            } else {
                output.Write(Printable(name) + "=" + Printable(value.View()) + "\n");
            }
        }
        return found ? kExitOk : kExitNothingFound;
    }

private:
    std::string m_subtree;
};

class CMetaGetCommand : public CMetaCommand {
public:
    void Declare(CLI::App& app) override {
        DeclareFile(app);
        app.add_option("NAME", m_name, "Attribute, such as Job.Server.Host")->required();
        app.footer("Prints the value as it stands in the file. Exit code 1: there is none.");
    }

    EExitCode Run(COutput& output) override {
        const std::u16string name = ToUtf16(m_name);
        client::CText value;
        if (!OpenToRead().Find(name, value)) {
            PrintError(m_file + ": There is no attribute " + m_name);
            return kExitNothingFound;
        }
        if (m_isJson) {
            output.Write(CJsonObject().Add("name", name).Add("value", value.View()).Line());
        } else {
            output.Write(ToUtf8(value.View()) + "\n");
        }
        return kExitOk;
    }

private:
    std::string m_name;
};

class CMetaSetCommand : public CMetaCommand {
public:
    void Declare(CLI::App& app) override {
        DeclareFile(app);
        DeclareCreate(app);
        app.add_option("NAME=VALUE", m_arguments, "Attributes, or one as NAME VALUE")->required();
        app.footer("Adds attributes or changes their values, all in one save.");
    }

    EExitCode Run(COutput& output) override {
        const std::vector<Attr> attrs = Attributes();
        CMetaFile file = OpenToChange();
        for (const Attr& attr : attrs) {
            file.Set(attr);
        }
        file.Save();
        PrintSummary(output, "set", attrs.size());
        return kExitOk;
    }

private:
    std::vector<Attr> Attributes() const {
        if (m_arguments.size() == 2 && m_arguments[0].find('=') == std::string::npos) {
            return {Attribute(m_arguments[0], m_arguments[1])};
        }
        std::vector<Attr> attrs;
        for (const std::string& argument : m_arguments) {
            const std::size_t sign = argument.find('=');
            if (sign == std::string::npos) {
                throw CToolError(argument + ": NAME=VALUE is wanted.");
            }
            attrs.push_back(Attribute(argument.substr(0, sign), argument.substr(sign + 1)));
        }
        return attrs;
    }
    static Attr Attribute(const std::string& name, const std::string& value) {
        Attr attr(ToUtf16(name), ToUtf16(value));
        CheckIsName(name);
        if (attr.first.front() == u'#') {
            throw CToolError(name + ": A line that starts with # is a comment.");
        }
        CheckReadsBack(name, attr.first);
        CheckReadsBack(name, attr.second);
        return attr;
    }

    std::vector<std::string> m_arguments;
};

class CMetaDelCommand : public CMetaCommand {
public:
    void Declare(CLI::App& app) override {
        DeclareFile(app);
        app.add_option("NAME", m_names, "Attributes, or with --tree subtrees")->required();
        app.add_flag("--tree", m_isTree, "Delete subtrees with everything below them");
        app.footer("Exit code 1: nothing of this was there, and the file stays as it is.");
    }

    EExitCode Run(COutput& output) override {
        std::for_each(m_names.begin(), m_names.end(), CheckIsName);
        CMetaFile file = OpenToChange();
        std::size_t deleted = 0;
        for (const std::string& name : m_names) {
            if (Delete(file, ToUtf16(name))) {
                ++deleted;
            } else {
                PrintError(m_file + ": There is no " + (m_isTree ? "subtree " : "attribute ") +
                           name);
            }
        }
        if (deleted != 0) {
            file.Save();
        }
        PrintSummary(output, "deleted", deleted);
        return deleted != 0 ? kExitOk : kExitNothingFound;
    }

private:
    bool Delete(CMetaFile& file, const std::u16string& name) const {
        client::CText value;
        if (m_isTree ? !file.HasTree(name) : !file.Find(name, value)) {
            return false;
        }
        m_isTree ? file.DeleteTree(name) : file.Delete(name);
        return true;
    }

    std::vector<std::string> m_names;
    bool m_isTree = false;
};

class CMetaCommentCommand : public CMetaCommand {
public:
    void Declare(CLI::App& app) override {
        DeclareFile(app);
        DeclareCreate(app);
        app.add_option("TEXT", m_texts, "Comments; each line of a text becomes one")->required();
        app.footer("Adds comment lines at the end of the file.");
    }

    EExitCode Run(COutput& output) override {
        std::vector<std::u16string> lines;
        for (const std::string& text : m_texts) {
            std::istringstream in(text);
            for (std::string line; std::getline(in, line);) {
                lines.push_back(ToUtf16(line));
                CheckIsOneLine(line, lines.back());
            }
        }
        CMetaFile file = OpenToChange();
        for (const std::u16string& line : lines) {
            // The line feed keeps an empty line.
            file.Comment(line + u"\n");
        }
        file.Save();
        PrintSummary(output, "comments", lines.size());
        return kExitOk;
    }

private:
    std::vector<std::string> m_texts;
};

}  // namespace

std::unique_ptr<CCommand> MakeMetaCommand() {
    return std::make_unique<CCommandGroup>(std::vector<CCommandGroup::Entry>{
        {"list", "List attributes", MakeCommand<CMetaListCommand>},
        {"get", "Print an attribute's value", MakeCommand<CMetaGetCommand>},
        {"set", "Add or change attributes", MakeCommand<CMetaSetCommand>},
        {"del", "Delete attributes or subtrees", MakeCommand<CMetaDelCommand>},
        {"comment", "Add comments", MakeCommand<CMetaCommentCommand>},
    });
}

}  // namespace zorel::tools
