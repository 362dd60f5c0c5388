#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <unordered_set>
#include <utility>
#include <vector>

#include "ZorelClient.h"
#include "cli/command_line/command_group.h"
#include "cli/library/string_array.h"
#include "cli/meta_files/guid_text.h"
#include "cli/meta_files/meta_file.h"
#include "cli/output/json_object.h"
#include "cli/output/text_format.h"

namespace zorel::cli {

namespace {

// A publication opened through the library. Failures are client::CError and CCommandError with
// the path.
class CPublication {
public:
    struct Command {
        INT number;  // in the file
        std::u16string type;
    };

    explicit CPublication(std::string path) : m_path(std::move(path)) {
        Check(client::CreateLibrary()->LoadPublication(client::CString::FromUtf8(m_path),
                                                       m_reader.Put()));
        Check(m_reader->get_AddBSessionCmdAccessor(m_accessor.Put()));
    }

    void Check(HRESULT result) const { client::Check(result, m_path); }
    IMtfAddBSessionCmdAccessor& Accessor() const { return *m_accessor; }

    void Times(client::CString& local, client::CString& utc) const {
        client::CComPtr<IMtfPublicationOrderingInfo> info;
        Check(m_reader->get_OrderingInfo(info.Put()));
        Check(info->get_PubLocalTime(local.Put()));
        Check(info->get_PubUtcTime(utc.Put()));
    }

    // In the order of the file. The reader returns types by position, the accessor takes the
    // numbers of commands; the names in the tree are the numbers, in the order of positions.
    std::vector<Command> Commands() const {
        INT count = 0;
        Check(m_reader->get_CmdCount(&count));
        const std::vector<INT> numbers = Numbers();
        if (static_cast<std::size_t>(count) != numbers.size()) {
            throw CCommandError(m_path + ": the numbers of the commands are ambiguous");
        }
        std::vector<Command> commands;
        for (INT i = 0; i < count; ++i) {
            client::CString type;
            Check(m_reader->GetCmdType(i, type.Put()));
            commands.push_back({numbers[static_cast<std::size_t>(i)], std::u16string(type.View())});
        }
        return commands;
    }

private:
    // The numbers in the tree "cmd". With a second tree whose name starts with "cmd" the order of
    // the commands would be unknown.
    std::vector<INT> Numbers() const {
        client::CComPtr<IMtfMetaFile> file;
        client::CComPtr<IMtfAttrsTree> root;
        client::CStringArray names;
        Check(m_reader->get_MetaFile(file.Put()));
        Check(file->GetRootAttrsTree(root.Put()));
        Check(root->EnumChildTrees(names.Put()));
        std::vector<INT> numbers;
        for (const std::u16string& name : TextsOf(names)) {
            if (Folded(name).starts_with(u"cmd")) {
                if (!numbers.empty()) {
                    throw CCommandError(m_path + ": commands are in several trees");
                }
                numbers = NumbersIn(*root, name);
            }
        }
        return numbers;
    }
    std::vector<INT> NumbersIn(IMtfAttrsTree& root, const std::u16string& treeName) const {
        client::CComPtr<IMtfAttrsTree> tree;
        client::CStringArray names;
        Check(root.GetExistingSubtree(client::CString(treeName), tree.Put()));
        Check(tree->EnumChildTrees(names.Put()));
        std::vector<INT> numbers;
        std::unordered_set<INT> known;
        for (const std::u16string& name : TextsOf(names)) {
            const std::optional<INT> number = ReadNumber(ToUtf8(name));
            if (number && known.insert(*number).second) {
                numbers.push_back(*number);
            }
        }
        return numbers;
    }
    // As the library reads a number: after blanks and a sign, before any other text.
    static std::optional<INT> ReadNumber(const std::string& text) {
        char* end = nullptr;
        const long long value = std::strtoll(text.c_str(), &end, 10);
        if (end == text.c_str()) {
            return std::nullopt;
        }
        return static_cast<INT>(std::clamp<long long>(value, INT32_MIN, INT32_MAX));
    }

    std::string m_path;
    client::CComPtr<IMtfPublicationMetaFileReader> m_reader;
    client::CComPtr<IMtfAddBSessionCmdAccessor> m_accessor;
};

struct Field {
    const char* key;    // in JSON
    const char* label;  // in listings
    client::CString text;
};

// Throws CCommandError for a file without a publication that holds something else.
void CheckIsPublication(const std::string& path) {
    if (!CMetaFile(path, EIdxMetaLoad).Names().empty() || HasOtherText(path)) {
        throw CCommandError(path +
                            ": not a publication; it has no attribute such as "
                            "Publication.LocalTime or cmd.1.Type");
    }
}

class CPublicationShowCommand : public CCommand {
public:
    void Declare(CLI::App& app) override {
        app.add_option("FILE", m_file, "Publication meta-file")->required();
        DeclareJson(app);
        app.footer(
            "Prints the times of the publication and its commands with their numbers in the\n"
            "file; groups have numbers from 0. Commands in several trees, such as cmd.1 and\n"
            "cmdX.2, are an error: their order is unknown. Exit code 1: there are no times and\n"
            "no commands.");
    }

    EExitCode Run(COutput& output) override {
        const CPublication publication(m_file);
        const std::vector<CPublication::Command> commands = publication.Commands();
        Field times[] = {{"localTime", "Local time", {}}, {"utcTime", "UTC time", {}}};
        publication.Times(times[0].text, times[1].text);
        const bool isEmpty =
            commands.empty() && times[0].text.View().empty() && times[1].text.View().empty();
        if (isEmpty) {
            CheckIsPublication(m_file);
        }
        Print(output, CJsonObject().Add("type", std::string_view("publication")), "", times);
        for (const CPublication::Command& command : commands) {
            Show(output, publication, command);
        }
        return isEmpty ? kExitNothingFound : kExitOk;
    }

private:
    // One object, or a line, after `indent`, for each field that is not empty.
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
        IMtfAddBSessionCmdAccessor& accessor = publication.Accessor();
        Field fields[] = {{"commandType", "  Type", client::CString(command.type)},
                          {"jobName", "  Job", {}},
                          {"backupServer", "  Server", {}},
                          {"sessionDateUtc", "  Session", {}}};
        publication.Check(accessor.GetBSessionInfo(command.number, fields[1].text.Put(),
                                                   fields[2].text.Put(), fields[3].text.Put()));
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
        IMtfAddBSessionCmdAccessor& accessor = publication.Accessor();
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
            publication.Check(accessor.GetBackupFile(command, group, i, f[0].text.Put(),
                                                     f[1].text.Put(), f[2].text.Put()));
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
        publication.Check(publication.Accessor().GetOibRef(command, group, index, f[0].text.Put(),
                                                           f[1].text.Put(), &id, f[3].text.Put(),
                                                           f[4].text.Put()));
        f[2].text = client::CString(ToUtf16(GuidText(id)));
        Print(output, NewObject("oib", command).AddNumber("group", group), "    ", f);
    }

    std::string m_file;
};

}  // namespace

std::unique_ptr<CCommand> MakePublicationCommand() {
    return std::make_unique<CCommandGroup>(std::vector<CCommandGroup::Entry>{
        {"show", "Print the times and the commands", MakeCommand<CPublicationShowCommand>,
         "publication show publication.mtf --json"},
    });
}

}  // namespace zorel::cli
