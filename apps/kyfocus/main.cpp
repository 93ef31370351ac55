/// The command line: sub-commands, and how their errors end the program.
#include <cstdio>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "compare.h"
#include "compose_command.h"
#include "devices_command.h"
#include "errors.h"
#include "halation_command.h"
#include "help_format.h"
#include "interruption.h"
#include "noisecut_command.h"
#include "params_command.h"
#include "synth.h"

namespace {

void AddCommands(CLI::App& program) {
    program.formatter(app::MakeHelpFormat());
    program.set_help_flag("-h,--help", "Print this help and exit.");
    program.set_version_flag("--version", "kyfocus " KYFOCUS_VERSION, "Print the version and exit.");
    program.require_subcommand(1);
    program.footer("kyfocus COMMAND --help tells the options of a command.");
    app::AddComposeCommand(program);
    app::AddSynthCommand(program);
    app::AddCompareCommand(program);
    app::AddHalationCommand(program);
    app::AddNoisecutCommand(program);
    app::AddParamsCommand(program);
    app::AddDevicesCommand(program);
    for (CLI::App* const command : program.get_subcommands(nullptr)) command->group("Commands");
}

int Fail(app::ExitStatus status, const char* message) {
    std::fprintf(stderr, "kyfocus: %s\n", message);
    return status;
}

/// Help and version end well; all else that the parser throws is a mistake on the command line.
int EndParse(const CLI::App& program, const CLI::ParseError& error) {
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) return program.exit(error);
    std::string message = error.what();
    if (program.get_subcommands().empty()) {
        const std::vector<std::string> words = program.remaining();
        message = words.empty() ? "no command given" : "unknown command: " + words.front();
    }
    return Fail(app::kExitUsage, message.append(" (see --help)").c_str());
}

/// A result that nobody received is a failure.
int Finish(int status) {
    std::cout.flush(); // help and version
    const bool isWritten = std::fflush(stdout) == 0 && std::ferror(stdout) == 0 && std::cout.good();
    if (status != app::kExitOk || isWritten) return status;
    return Fail(app::kExitFailure, "standard output: cannot be written");
}

/// Throws what main tells.
int Run(int argc, char** argv) {
    app::WatchInterruptions();
    CLI::App program("Focus composition for microscope imaging.", "kyfocus");
    AddCommands(program);
    try {
        program.parse(argc, argv);
        return Finish(app::kExitOk);
    } catch (const CLI::ParseError& error) {
        return Finish(EndParse(program, error));
    }
}

} // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const app::UsageError& error) {
        return Fail(app::kExitUsage, error.what());
    } catch (const app::Cancelled& error) {
        return Fail(app::kExitCancelled, error.what());
    } catch (const std::bad_alloc&) {
        return Fail(app::kExitFailure, "out of memory");
    } catch (const std::exception& error) {
        return Fail(app::kExitFailure, error.what());
    }
}
