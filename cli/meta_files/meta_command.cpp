#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ZorelClient.h"
#include "cli/command_line/command_group.h"
#include "cli/command_line/paths.h"
#include "cli/meta_files/meta_file.h"
#include "cli/output/json_object.h"
#include "cli/output/text_format.h"

namespace zorel::cli {

namespace {

struct Attribute {
    std::u16string name;
    std::u16string value;
};

// The elements of a path, folded.
std::vector<std::u16string> FoldedElements(std::u16string_view path) {
    std::vector<std::u16string> elements;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find(u'.'), path.size());
        if (end != 0) {
            elements.push_back(Folded(path.substr(0, end)));
        }
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return elements;
}

// Throws for a line end at any byte of the text, even or odd: the library ends the line there.
void CheckIsOneLine(const std::string& what, std::u16string_view text) {
    constexpr std::string_view kLineEnd("\r\0\n\0", 4);
    const std::string_view bytes(reinterpret_cast<const char*>(text.data()),
                                 text.size() * sizeof(char16_t));
    if (bytes.find(kLineEnd) != bytes.npos) {
        throw CCommandError(what + ": a line of a meta-file cannot contain a line break");
    }
}

// Throws for text that would be another one when the library reads the file.
void CheckReadsBack(const std::string& what, std::u16string_view text) {
    constexpr std::u16string_view kBlanks = u" \t";
    CheckIsOneLine(what, text);
    if (!text.empty() &&
        (kBlanks.find(text.front()) != text.npos || kBlanks.find(text.back()) != text.npos)) {
        throw CCommandError(
            what + ": a meta-file does not keep blanks at the start and the end of a text");
    }
}

void CheckIsName(const std::string& name) {
    if (FoldedElements(ToUtf16(name)).empty()) {
        throw CCommandError("'" + name + "': not a name");
    }
}

// The options that the commands on a meta-file share.
class CMetaCommand : public CCommand {
protected:
    void DeclareFile(CLI::App& app) {
        app.add_option("FILE", m_file, "Meta-file")->required();
        DeclareJson(app);
    }
    void DeclareCreate(CLI::App& app) {
        m_createOption = app.add_flag("--create", m_create, "Create the file if it is missing");
    }
    CMetaFile OpenToRead() const { return CMetaFile(m_file, EIdxMetaLoad); }
    // Other processes cannot change the file as long as the result exists. Creates a missing file
    // only with --create.
    CMetaFile OpenToChange() const {
        if (m_createOption != nullptr && !m_create && !MetaFileExists(m_file) &&
            !std::filesystem::exists(WithSlashes(m_file))) {
            throw CCommandError(m_file + ": no such file; --create creates it");
        }
        if (!m_create) {
            OpenToRead();
        }
        return CMetaFile(m_file, EIdxMetaOpenRW);
    }
    // Prints the number of changes as JSON; without --json nothing.
    void PrintSummary(COutput& output, std::string_view what, std::size_t count) const {
        if (m_isJson) {
            CJsonObject object;
            object.Add("file", std::string_view(m_file));
            output.Write(object.AddNumber(what, static_cast<std::int64_t>(count)).Line());
        }
    }

    std::string m_file;

private:
    const CLI::Option* m_createOption = nullptr;  // null for a command without it
    bool m_create = false;
};

class CMetaListCommand : public CMetaCommand {
public:
    void Declare(CLI::App& app) override {
        DeclareFile(app);
        app.add_option("SUBTREE", m_subtree, "Only attributes below this path");
        app.footer("Prints NAME=VALUE for each attribute. Exit code 1: there is no attribute.");
    }

    EExitCode Run(COutput& output) override {
        const CMetaFile file = OpenToRead();
        const std::vector<std::u16string> wanted = FoldedElements(ToUtf16(m_subtree));
        const std::vector<std::u16string> names = file.Names();
        if (names.empty() && HasOtherText(m_file)) {
            PrintError(m_file + ": not a meta-file; no line has the form NAME=VALUE");
        }
        bool found = false;
        for (const std::u16string& name : names) {
            const std::vector<std::u16string> path = FoldedElements(name);
            if (path.size() <= wanted.size() ||
                !std::equal(wanted.begin(), wanted.end(), path.begin())) {
                continue;
            }
            client::CString value;
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
        app.footer("Prints the value without changes. Exit code 1: there is no such attribute.");
    }

    EExitCode Run(COutput& output) override {
        const std::u16string name = ToUtf16(m_name);
        client::CString value;
        if (!OpenToRead().Find(name, value)) {
            PrintError(m_file + ": no attribute " + m_name);
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
        const std::vector<Attribute> attrs = ParseArguments();
        CMetaFile file = OpenToChange();
        for (const Attribute& attr : attrs) {
            file.Set(attr.name, attr.value);
        }
        file.Save();
        PrintSummary(output, "set", attrs.size());
        return kExitOk;
    }

private:
    std::vector<Attribute> ParseArguments() const {
        if (m_arguments.size() == 2 && m_arguments[0].find('=') == std::string::npos) {
            return {MakeAttribute(m_arguments[0], m_arguments[1])};
        }
        std::vector<Attribute> attrs;
        for (const std::string& argument : m_arguments) {
            const std::size_t sign = argument.find('=');
            if (sign == std::string::npos) {
                throw CCommandError(argument + ": the form NAME=VALUE is required");
            }
            attrs.push_back(MakeAttribute(argument.substr(0, sign), argument.substr(sign + 1)));
        }
        return attrs;
    }
    static Attribute MakeAttribute(const std::string& name, const std::string& value) {
        Attribute attr{ToUtf16(name), ToUtf16(value)};
        CheckIsName(name);
        if (attr.name.front() == u'#') {
            throw CCommandError(name + ": a line that starts with # is a comment");
        }
        CheckReadsBack(name, attr.name);
        CheckReadsBack(name, attr.value);
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
        app.footer("Exit code 1: the file contains none of them and does not change.");
    }

    EExitCode Run(COutput& output) override {
        std::for_each(m_names.begin(), m_names.end(), CheckIsName);
        CMetaFile file = OpenToChange();
        std::size_t deleted = 0;
        for (const std::string& name : m_names) {
            if (Delete(file, ToUtf16(name))) {
                ++deleted;
            } else {
                PrintError(m_file + ": no " + (m_isTree ? "subtree " : "attribute ") + name);
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
        client::CString value;
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
        app.add_option("TEXT", m_texts, "Comments; each line of a text is a comment")->required();
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
            // Without the line feed the library would ignore an empty line.
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
        {"list", "List attributes", MakeCommand<CMetaListCommand>, "meta list job.mtf Job.Server"},
        {"get", "Print an attribute's value", MakeCommand<CMetaGetCommand>,
         "meta get job.mtf Job.Name"},
        {"set", "Add or change attributes", MakeCommand<CMetaSetCommand>,
         "meta set job.mtf Job.Name=Daily Job.Server.Host=srv01 --create"},
        {"del", "Delete attributes or subtrees", MakeCommand<CMetaDelCommand>,
         "meta del job.mtf Job.Name"},
        {"comment", "Add comments", MakeCommand<CMetaCommentCommand>,
         "meta comment job.mtf 'changed by hand'"},
    });
}

}  // namespace zorel::cli
