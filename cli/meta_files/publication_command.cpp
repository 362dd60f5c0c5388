#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <unordered_set>
#include <utility>
#include <vector>

#include "ZorelText.h"
#include "cli/command_line/command_group.h"
#include "cli/library/library.h"
#include "cli/meta_files/guid_text.h"
#include "cli/output/text_format.h"

namespace zorel::tools {

namespace {

// A publication opened through the library; its errors name the file.
class CPublication {
public:
    struct Command {
        INT number;  // in the file
        std::u16string type;
    };

    explicit CPublication(std::string path) : m_path(std::move(path)) {
        const client::CLibrary library;
        const client::CText file(ToUtf16(m_path));
        Check(library->LoadPublication(file.Get(), m_reader.Out()));
        Check(m_reader->get_AddBSessionCmdAccessor(m_accessor.Out()));
    }

    void Check(HRESULT result) const { client::Check(result, m_path); }
    IMtfAddBSessionCmdAccessor* Accessor() const { return m_accessor.operator->(); }

    void Times(client::CText& local, client::CText& utc) const {
        client::CPointer<IMtfPublicationOrderingInfo> info;
        Check(m_reader->get_OrderingInfo(info.Out()));
        Check(info->get_PubLocalTime(local.Out()));
        Check(info->get_PubUtcTime(utc.Out()));
    }

    // In the order of the file. The reader gives types by position, the accessor everything
    // else by number; the numbers stand in the tree, in the order of their positions.
    std::vector<Command> Commands() const {
        INT count = 0;
        Check(m_reader->get_CmdCount(&count));
        const std::vector<INT> numbers = Numbers();
        if (static_cast<std::size_t>(count) != numbers.size()) {
            throw CToolError(m_path + ": The numbers of the commands cannot be told.");
        }
        std::vector<Command> commands;
        for (INT i = 0; i < count; ++i) {
            client::CText type;
            Check(m_reader->GetCmdType(i, type.Out()));
            commands.push_back({numbers[static_cast<std::size_t>(i)], std::u16string(type.View())});
        }
        return commands;
    }

private:
    // Those of the tree "cmd". A second tree whose name starts so would hide which command
    // came first.
    std::vector<INT> Numbers() const {
        client::CPointer<IMtfMetaFile> file;
        client::CPointer<IMtfAttrsTree> root;
        client::CTextArray names;
        Check(m_reader->get_MetaFile(file.Out()));
        Check(file->GetRootAttrsTree(root.Out()));
        Check(root->EnumChildTrees(names.Out()));
        std::vector<INT> numbers;
        for (const std::u16string& name : names.Texts()) {
            if (Folded(name).starts_with(u"cmd")) {
                if (!numbers.empty()) {
                    throw CToolError(m_path + ": There are commands in several trees.");
                }
                numbers = NumbersIn(*root.operator->(), name);
            }
        }
        return numbers;
    }
    std::vector<INT> NumbersIn(IMtfAttrsTree& root, const std::u16string& name) const {
        client::CPointer<IMtfAttrsTree> tree;
        client::CTextArray names;
        Check(root.GetExistingSubtree(client::CText(name).Get(), tree.Out()));
        Check(tree->EnumChildTrees(names.Out()));
        std::vector<INT> numbers;
        std::unordered_set<INT> known;
        for (const std::u16string& text : names.Texts()) {
            const std::optional<INT> number = ReadNumber(ToUtf8(text));
            if (number && known.insert(*number).second) {
                numbers.push_back(*number);
            }
        }
        return numbers;
    }
    // As the library reads it: blanks and a sign before it, anything behind it.
    static std::optional<INT> ReadNumber(const std::string& text) {
        char* end = nullptr;
        const long long value = std::strtoll(text.c_str(), &end, 10);
        if (end == text.c_str()) {
            return std::nullopt;
        }
        return static_cast<INT>(std::clamp<long long>(value, INT32_MIN, INT32_MAX));
    }

    std::string m_path;
    client::CPointer<IMtfPublicationMetaFileReader> m_reader;
    client::CPointer<IMtfAddBSessionCmdAccessor> m_accessor;
};

struct Field {
    const char* key;    // in JSON
    const char* label;  // for people
    client::CText text;
};

class CPublicationShowCommand : public CCommand {
public:
    void Declare(CLI::App& app) override {
        app.add_option("FILE", m_file, "Publication meta-file")->required();
        DeclareJson(app);
        app.footer(
            "Prints the times of the publication and its commands with their numbers in the\n"
            "file; groups are counted from 0. Commands in several trees, such as cmd.1 and\n"
            "cmdX.2, are refused: their order is not told. Exit code 1: there is neither.");
    }

    EExitCode Run(COutput& output) override {
        const CPublication publication(m_file);
        const std::vector<CPublication::Command> commands = publication.Commands();
        Field times[] = {{"localTime", "Local time", {}}, {"utcTime", "UTC time", {}}};
        publication.Times(times[0].text, times[1].text);
        Print(output, CJsonObject().Add("type", std::string_view("publication")), "", times);
        for (const CPublication::Command& command : commands) {
            Show(output, publication, command);
        }
        const bool isEmpty =
            commands.empty() && times[0].text.View().empty() && times[1].text.View().empty();
        return isEmpty ? kExitNothingFound : kExitOk;
    }

private:
    // One object, or a line for each field that is not empty; `indent` stands before each.
    template <std::size_t kCount>
    void Print(COutput& output, CJsonObject object, const std::string& indent,
               const Field (&fields)[kCount]) const {
        constexpr std::size_t kLabelWidth = 12;
        for (const Field& field : fields) {
            if (m_isJson) {
                object.Add(field.key, field.text.View());
            } else if (!field.text.View().empty()) {
                output.Write(indent + PadRight(field.label, kLabelWidth) +
                             Printable(field.text.View()) + "\n");
            }
        }
        if (m_isJson) {
            output.Write(object.Line());
        }
    }

    CJsonObject NewObject(std::string_view type, INT command) const {
        CJsonObject object;
        object.Add("type", type).AddNumber("command", command);
        return object;
    }

    void Show(COutput& output, const CPublication& publication,
              const CPublication::Command& command) const {
        IMtfAddBSessionCmdAccessor& accessor = *publication.Accessor();
        Field fields[] = {{"commandType", "  Type", client::CText(command.type)},
                          {"jobName", "  Job", {}},
                          {"backupServer", "  Server", {}},
                          {"sessionDateUtc", "  Session", {}}};
        publication.Check(accessor.GetBSessionInfo(command.number, fields[1].text.Out(),
                                                   fields[2].text.Out(), fields[3].text.Out()));
        if (!m_isJson) {
            output.Write("Command " + std::to_string(command.number) + "\n");
        }
        Print(output, NewObject("command", command.number), "", fields);
        INT groups = 0;
        publication.Check(accessor.GetRetargetedOibGroupsNum(command.number, &groups));
        for (INT group = 0; group < groups; ++group) {
            ShowGroup(output, publication, command.number, group);
        }
    }

    void ShowGroup(COutput& output, const CPublication& publication, INT command, INT group) const {
        IMtfAddBSessionCmdAccessor& accessor = *publication.Accessor();
        const auto title = [&](const char* what) {
            if (!m_isJson) {
                output.Write("  Group " + std::to_string(group) + ", " + what + "\n");
            }
        };
        INT oibs = 0;
        INT files = 0;
        publication.Check(accessor.GetOibsNumInRetargetedOibGroup(command, group, &oibs));
        publication.Check(accessor.GetBackupFilesNumInRetargetedOibGroup(command, group, &files));
        for (INT i = 0; i < oibs; ++i) {
            title("restore point");
            ShowOib(output, publication, command, group, i);
        }
        for (INT i = 0; i < files; ++i) {
            Field f[] = {
                {"server", "Server", {}}, {"path", "Path", {}}, {"modifyDateUtc", "Modified", {}}};
            publication.Check(accessor.GetBackupFile(command, group, i, f[0].text.Out(),
                                                     f[1].text.Out(), f[2].text.Out()));
            title("backup file");
            Print(output, NewObject("backupFile", command).AddNumber("group", group), "    ", f);
        }
    }

    void ShowOib(COutput& output, const CPublication& publication, INT command, INT group,
                 INT index) const {
        Field f[] = {{"vmName", "Machine", {}},
                     {"backupTimeUtc", "Time", {}},
                     {"oibUid", "Identifier", {}},
                     {"origin", "Origin", {}},
                     {"platform", "Platform", {}}};
        GUID id{};
        publication.Check(publication.Accessor()->GetOibRef(command, group, index, f[0].text.Out(),
                                                            f[1].text.Out(), &id, f[3].text.Out(),
                                                            f[4].text.Out()));
        f[2].text = client::CText(ToUtf16(GuidText(id)));
        Print(output, NewObject("oib", command).AddNumber("group", group), "    ", f);
    }

    std::string m_file;
};

}  // namespace

std::unique_ptr<CCommand> MakePublicationCommand() {
    return std::make_unique<CCommandGroup>(std::vector<CCommandGroup::Entry>{
        {"show", "Print times, commands and what they add", MakeCommand<CPublicationShowCommand>},
    });
}

}  // namespace zorel::tools
