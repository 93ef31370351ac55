// Command lines of any words, one a line of the input: understood, or refused with a message.
//
// No command runs: what a line of compose means is worked out to the end, of the other commands the line is read. The
// only file that reading a line may open is the one of --params, and none may be written. Slashes become underscores,
// so that names stay in an empty folder of the program's own; a parameter file lies there.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "compare.h"
#include "compose_options.h"
#include "devices_command.h"
#include "errors.h"
#include "halation_command.h"
#include "help_format.h"
#include "noisecut_command.h"
#include "params_command.h"
#include "support/require.h"
#include "support/scratch_folder.h"
#include "synth.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

/// For as long as it lives the program works in the folder; corpus and finds may be named from where it was before.
class InFolder {
  public:
    InFolder() : m_before(std::filesystem::current_path()) {
        static const fuzz::ScratchFolder folder;
        std::filesystem::current_path(folder.Path());
        if (!std::filesystem::exists("p.ini"))
            std::ofstream("p.ini") << "[FocusCompositionSetting]\nSpeed=2\nAlgType=1\nScopeType=3\n";
    }
    ~InFolder() {
        std::error_code error;
        std::filesystem::current_path(m_before, error);
    }
    InFolder(const InFolder&) = delete;
    InFolder& operator=(const InFolder&) = delete;

  private:
    std::filesystem::path m_before;
};

std::vector<std::string> Words(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMostWords = 40;
    std::istringstream stream(std::string(reinterpret_cast<const char*>(data), size));
    std::vector<std::string> words;
    for (std::string word; words.size() < kMostWords && std::getline(stream, word);) {
        for (char& letter : word)
            if (letter == '/' || letter == '\0') letter = '_';
        words.push_back(word);
    }
    return {words.rbegin(), words.rend()}; // the parser takes them from the back
}

/// Ends the reading before a command runs.
struct LineIsRead {};

void AddOtherCommands(CLI::App& program) {
    app::AddSynthCommand(program);
    app::AddCompareCommand(program);
    app::AddHalationCommand(program);
    app::AddNoisecutCommand(program);
    app::AddParamsCommand(program);
    app::AddDevicesCommand(program);
    // Not in the place of the callbacks, which own what the options are read into.
    for (CLI::App* const command : program.get_subcommands(nullptr))
        command->parse_complete_callback([] { throw LineIsRead(); });
}

void RequireMessage(const char* text) { fuzz::Require(*text != '\0', "a refusal tells why"); }

void Parse(std::vector<std::string> words) {
    CLI::App program("Focus composition.", "kyfocus");
    program.formatter(app::MakeHelpFormat());
    program.set_version_flag("--version", "kyfocus");
    program.require_subcommand(1);
    AddOtherCommands(program);
    app::ComposeOptions options;
    CLI::App* const compose = program.add_subcommand("compose", "");
    app::AddComposeOptions(*compose, options);
    compose->callback([&] {
        for (const CLI::Option* const option : compose->get_options())
            if (option->count() > 0) options.Given.push_back(option->get_name());
        app::CompleteComposeOptions(options);
    });
    try {
        program.parse(std::move(words));
    } catch (const LineIsRead&) { // understood
    } catch (const CLI::Success&) {
        fuzz::Require(!program.help().empty(), "help has a text");
    } catch (const CLI::ParseError& error) {
        RequireMessage(error.what());
    } catch (const app::UsageError& error) {
        RequireMessage(error.what());
    } catch (const app::Failure& error) {
        RequireMessage(error.what());
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const InFolder folder;
    Parse(Words(data, size));
    return 0;
}
