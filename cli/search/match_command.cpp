#include "ZorelText.h"
#include "cli/command_line/command.h"
#include "cli/library/library.h"

namespace zorel::tools {

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
            "Only the name after the last backslash is matched. The pattern may match the\n"
            "beginning of the name only; it is not bound to the name's start when it begins\n"
            "with *. Exit code 0: it matches; 1: it does not.");
    }

    EExitCode Run(COutput& output) override {
        const std::u16string line = ToUtf16(m_line);
        const std::u16string pattern = ToUtf16(m_pattern);
        const client::CLibrary library;
        VARIANT_BOOL matches = VARIANT_FALSE;
        client::Check(library->IsWildcardMatch(client::CText(line).Get(),
                                               client::CText(pattern).Get(), &matches),
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

}  // namespace zorel::tools
