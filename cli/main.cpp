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

#include "cli/command_line/command.h"
#include "cli/command_line/failure.h"
#include "cli/command_line/signals.h"

#ifndef OIBIDX_VERSION
#error "The build must define the version."
#endif

namespace zorel::cli {

namespace {

struct CommandEntry {
    const char* name;
    const char* summary;
    std::unique_ptr<CCommand> (*make)();
};

constexpr CommandEntry kCommands[] = {
    {"scan", "Write the catalogue of a folder tree", MakeScanCommand},
    {"browse", "List a folder of a catalogued volume", MakeBrowseCommand},
    {"match", "Test a file name against a pattern", MakeMatchCommand},
    {"generate", "Write text data files from a catalogue", MakeGenerateCommand},
    {"find", "Search a catalogue", MakeFindCommand},
    {"find-text", "Search text data files", MakeFindTextCommand},
    {"fingerprint", "Print the fingerprint of a folder", MakeFingerprintCommand},
    {"meta", "Read and change meta-files", MakeMetaCommand},
    {"session", "Read and change backup sessions", MakeSessionCommand},
    {"publication", "Read publications", MakePublicationCommand},
};

struct DeclaredCommand {
    CLI::App* app;
    std::unique_ptr<CCommand> command;
};

std::vector<DeclaredCommand> DeclareCommands(CLI::App& app) {
    app.set_version_flag("--version", "oibidx " OIBIDX_VERSION);
    app.require_subcommand(0, 1);
    app.footer(
        "Exit codes: 0 success, 1 nothing found, 2 failure, 3 some results could not be read.\n"
        "'oibidx COMMAND --help' describes a command.");
    std::vector<DeclaredCommand> commands;
    for (const CommandEntry& entry : kCommands) {
        CLI::App* subcommand = app.add_subcommand(entry.name, entry.summary);
        commands.push_back({subcommand, entry.make()});
        commands.back().command->Declare(*subcommand);
    }
    return commands;
}

// Help and version go to standard output; a wrong command line is a failure.
EExitCode ReportParse(const CLI::App& app, const CLI::ParseError& error, COutput& output) {
    std::ostringstream text;
    std::ostringstream errorText;
    const int code = app.exit(error, text, errorText);
    output.Write(text.str());
    if (code == 0) {
        return kExitOk;
    }
    PrintError(errorText.str());
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
    const std::vector<DeclaredCommand> commands = DeclareCommands(app);
    try {
        app.parse(ReversedArguments(argc, argv));
    } catch (const CLI::ParseError& error) {
        return ReportParse(app, error, output);
    }
    for (const DeclaredCommand& declared : commands) {
        if (declared.app->parsed()) {
            return declared.command->Run(output);
        }
    }
    PrintError("Which command? Run with --help for more information.");
    return kExitFailure;
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
