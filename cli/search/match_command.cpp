#include "ZorelClient.h"
#include "cli/command_line/command.h"
#include "cli/output/json_object.h"

namespace zorel::cli {

namespace {

class CMatchCommand : public CCommand {
public:
    void Declare(CLI::App& app) override {
        app.add_option("LINE", m_line, "Full path of a file, such as 'C:\\docs\\readme.txt'")
            ->required();
        app.add_option("PATTERN", m_pattern, "Pattern for the file's name: * and ? are wildcards")
            ->required();
        DeclareJson(app);
        app.footer(
            "Only the name after the last backslash is compared. The pattern has to match at the\n"
            "start of the name unless it begins with *; it never has to match up to the name's\n"
            "end. Exit code 0: it matches; 1: it does not match.");
    }

    EExitCode Run(COutput& output) override {
        const std::u16string line = ToUtf16(m_line);
        const std::u16string pattern = ToUtf16(m_pattern);
        VARIANT_BOOL matches = VARIANT_FALSE;
        client::Check(client::CreateLibrary()->IsWildcardMatch(client::CString(line),
                                                               client::CString(pattern), &matches),
                      m_line);
        const bool isMatch = matches != VARIANT_FALSE;
        if (m_isJson) {
            CJsonObject object;
            object.Add("line", line).Add("pattern", pattern).AddBool("match", isMatch);
            output.Write(object.Line());
        } else {
            output.Write(isMatch ? "match\n" : "no match\n");
        }
        return isMatch ? kExitOk : kExitNothingFound;
    }

private:
    std::string m_line;
    std::string m_pattern;
};

}  // namespace

std::unique_ptr<CCommand> MakeMatchCommand() {
    return std::make_unique<CMatchCommand>();
}

}  // namespace zorel::cli
