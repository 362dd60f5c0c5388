#include "ZorelText.h"
#include "cli/command_line/command.h"
#include "cli/library/library.h"

namespace zorel::tools {

namespace {

class CFingerprintCommand : public CCommand {
public:
    void Declare(CLI::App& app) override {
        app.add_option("PATH", m_path, "Folder path, such as 'C:\\Users\\john'")->required();
        app.add_option("--subfolders", m_subfolders, "Elements that count, -1 for all")
            ->capture_default_str();
        DeclareJson(app);
        app.footer(
            "Prints the fingerprint that key lines carry for files of this folder when they\n"
            "are generated with the same --subfolders.");
    }

    EExitCode Run(COutput& output) override {
        const std::u16string path = ToUtf16(m_path);
        const client::CLibrary library;
        client::CText fingerprint;
        client::Check(library->ConvetrPathToCrcStr(client::CText(path).Get(), m_subfolders,
                                                   fingerprint.Out()),
                      m_path);
        if (m_isJson) {
            CJsonObject object;
            object.Add("path", path).Add("fingerprint", fingerprint.View());
            output.Write(object.Line());
        } else {
            output.Write(ToUtf8(fingerprint.View()) + "\n");
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

}  // namespace zorel::tools
