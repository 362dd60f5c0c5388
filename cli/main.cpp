#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "cli/command_line/command_group.h"
#include "cli/command_line/failure.h"
#include "cli/command_line/parse_failure.h"
#include "cli/command_line/signals.h"

#ifndef OIBIDX_VERSION
#error "The build must define the version."
#endif

namespace zorel::cli {

namespace {

std::vector<CCommandGroup::Entry> Commands() {
    return {
        {"scan", "Write the catalogue of a folder tree", MakeScanCommand,
         "scan /srv/share -o catalogue"},
        {"info", "Show the volumes of a catalogue and where they come from", MakeInfoCommand,
         "info catalogue"},
        {"browse", "List a folder of a catalogued volume", MakeBrowseCommand,
         "browse catalogue/C.dat projects/2026"},
        {"match", "Test a file name against a pattern", MakeMatchCommand,
         "match 'C:\\docs\\readme.txt' '*.txt'"},
        {"generate", "Write text data files from a catalogue", MakeGenerateCommand,
         "generate catalogue/summary.txt -o texts"},
        {"find", "Search a catalogue", MakeFindCommand, "find catalogue --name '*.pst'"},
        {"find-text", "Search text data files", MakeFindTextCommand,
         "find-text texts/vl.*.txt --name '*.pst'"},
        {"fingerprint", "Print the fingerprint of a folder", MakeFingerprintCommand,
         "fingerprint 'C:\\Users\\john'"},
        {"meta", "Read and change meta-files", MakeMetaCommand},
        {"session", "Read and change backup sessions", MakeSessionCommand},
        {"publication", "Read publications", MakePublicationCommand},
        {"help", "Describe a command", MakeHelpCommand, "help meta set"},
        {"completion", "Print a completion script", MakeCompletionCommand, "completion bash"},
    };
}

void DeclareProgram(CLI::App& app, CCommandGroup& commands) {
    const auto formatter = app.get_formatter();
    formatter->label("REQUIRED", "(required)");
    formatter->label("SUBCOMMAND", "COMMAND");
    formatter->label("Subcommands", "Commands");
    formatter->label("Positionals", "Operands");
    app.set_version_flag("-V,--version", "oibidx " OIBIDX_VERSION, "Print the version and exit");
    DeclareVerbose(app);
    commands.Declare(app);
    app.footer(
        "Exit codes: 0 success, 1 nothing found, 2 failure, 3 done with omissions, 130 "
        "interrupted\n"
        "(128 and the number of the signal). 'oibidx help COMMAND' describes a command.");
}

// Help and version go to standard output; a wrong command line is a failure.
EExitCode ReportParse(const CLI::App& app, const CLI::ParseError& error, COutput& output) {
    std::ostringstream text;
    std::ostringstream ignored;
    if (app.exit(error, text, ignored) == 0) {
        output.Write(text.str());
        return kExitOk;
    }
    PrintError(ExplainParse(app, error));
    return kExitFailure;
}

// The arguments in the order that CLI11 requires, the last one first. CLI11 would take the next
// argument as the value of "--name="; such an option gets an empty argument as its value.
std::vector<std::string> ReversedArguments(int argc, char** argv) {
    std::vector<std::string> arguments;
    bool areOptions = true;
    for (int i = 1; i < argc; ++i) {
        std::string argument = argv[i];
        areOptions = areOptions && argument != "--";
        const bool isEmpty =
            areOptions && argument.starts_with("--") && argument.find('=') == argument.size() - 1;
        if (isEmpty) {
            argument.pop_back();
        }
        arguments.push_back(std::move(argument));
        if (isEmpty) {
            arguments.emplace_back();
        }
    }
    std::reverse(arguments.begin(), arguments.end());
    return arguments;
}

EExitCode RunCommandLine(int argc, char** argv, COutput& output) {
    CLI::App app("Writes catalogues of files, browses and searches them, and edits meta-files.",
                 "oibidx");
    CCommandGroup commands(Commands());
    DeclareProgram(app, commands);
    try {
        app.parse(ReversedArguments(argc, argv));
    } catch (const CLI::ParseError& error) {
        return ReportParse(app, error, output);
    }
    return commands.Run(output);
}

// Reports a failure outside of Main's handler: CLI11 allocates before main, the handler itself
// allocates. Allocates nothing.
[[noreturn]] void ReportTermination() {
    const char* message = kNotEnoughMemory;  // without an exception: its memory is missing
    try {
        if (std::current_exception()) {
            throw;
        }
    } catch (const std::bad_alloc&) {
        message = kNotEnoughMemory;
    } catch (const std::exception& error) {
        message = error.what();
    }
    for (const char* part : {"oibidx: ", message, "\n"}) {
        static_cast<void>(std::fputs(part, stderr));
    }
    std::_Exit(kExitFailure);
}

// Runs before the constructors of other static objects.
[[gnu::constructor(101)]] void InstallTerminationReport() {
    std::set_terminate(ReportTermination);
}

// Whether the reader of standard output has ended.
bool IsClosedPipe(const std::exception& error) {
    const auto* const failed = dynamic_cast<const std::system_error*>(&error);
    return failed != nullptr && failed->code() == std::errc::broken_pipe;
}

int Main(int argc, char** argv) {
    IgnoreWriteSignals();
    try {
        COutput output;
        const EExitCode code = RunCommandLine(argc, argv, output);
        output.Flush();
        return code;
    } catch (const CInterrupted&) {
        return InterruptExitCode();
    } catch (const std::exception& error) {
        if (IsClosedPipe(error)) {
            return kExitOk;
        }
        PrintFailure(error);
        return kExitFailure;
    }
}

}  // namespace

}  // namespace zorel::cli

int main(int argc, char** argv) {
    return zorel::cli::Main(argc, argv);
}
