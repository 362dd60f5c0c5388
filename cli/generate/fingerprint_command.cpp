#include "ZorelClient.h"
#include "cli/command_line/command.h"
#include "cli/command_line/number_option.h"
#include "cli/output/json_object.h"

namespace zorel::cli {

namespace {

class CFingerprintCommand : public CCommand {
public:
    void Declare(CLI::App& app) override {
        app.add_option("PATH", m_path, "Folder path, such as 'C:\\Users\\john'")->required();
        DeclareNumber(app, "--subfolders", m_subfolders, -1, kMaxNumber,
                      "Number of path elements, -1 for all");
        DeclareJson(app);
        app.footer(
            "Prints the fingerprint of the folder in key lines that are generated with the same\n"
            "number of --subfolders.");
    }

    EExitCode Run(COutput& output) override {
        const std::u16string path = ToUtf16(m_path);
        client::CString fingerprint;
        client::Check(client::CreateLibrary()->ConvetrPathToCrcStr(client::CString(path),
                                                                   m_subfolders, fingerprint.Put()),
                      m_path);
        if (m_isJson) {
            CJsonObject object;
            object.Add("path", path).Add("fingerprint", fingerprint.View());
            output.Write(object.Line());
        } else {
            output.Write(fingerprint.Utf8() + "\n");
        }
        return kExitOk;
    }

private:
    std::string m_path;
    INT m_subfolders = -1;
};

}  // namespace

std::unique_ptr<CCommand> MakeFingerprintCommand() {
    return std::make_unique<CFingerprintCommand>();
}

}  // namespace zorel::cli
