#include "parameter_options.h"

#include <cstdio>
#include <filesystem>

#include "errors.h"
#include "images.h"
#include "option_kinds.h"
#include "parameter_file.h"

namespace app {
namespace {

namespace fs = std::filesystem;

void ReadParameters(const fs::path& file, ComposeOptions& options) {
    const ParameterFile parameters = ReadParameterFile(file);
    const std::string name = DisplayPath(file);
    for (const ParameterEntry& entry : parameters.Entries) {
        const bool isMode = std::string("AlgType") == entry.Key->Name;
        if (isMode && entry.From == ParameterEntry::Source::File) options.HasModeOfFile = true;
        if (entry.From == ParameterEntry::Source::Unreadable)
            options.ParameterWarnings.push_back(name + ": " + entry.Key->Name + " is no whole number and is not used");
    }
    for (const std::string& key : parameters.UnknownKeys)
        options.ParameterWarnings.push_back(name + ": " + ShownText(key) +
                                            " is no parameter and is not used, see kyfocus params");
    OverlayParameters(parameters, options.Settings);
}

/// While the line is parsed: what is wrong with the file counts once the line is known to be right.
void TakeParameters(const fs::path& file, ComposeOptions& options) {
    if (!options.ParametersFile.empty()) throw CLI::ArgumentMismatch::AtMost("--params", 1, 2);
    options.ParametersFile = file;
    try {
        ReadParameters(file, options);
    } catch (const Failure& failure) {
        options.ParametersFailure = failure.what();
    }
}

/// The number of the preset that the two settings are, for panels to show.
std::int32_t PresetOf(const KyfFocusCompositionParameter& settings) {
    constexpr std::int32_t kPresets[][2] = {{1, 8}, {8, 6}, {15, 6}};
    std::int32_t preset = 0;
    for (const auto& values : kPresets) {
        if (settings.CompSize == values[0] && settings.Smoothing == values[1]) break;
        ++preset;
    }
    return preset;
}

} // namespace

void AddParameterOptions(CLI::App& command, ComposeOptions& options, const std::string& group) {
    command
        .add_option_function<std::string>(
            "--params", [&options](const std::string& file) { TakeParameters(file, options); },
            "Settings from a parameter file: mode and all that follows from it. Options on the line win over the file. "
            "kyfocus params shows what is in it.")
        ->trigger_on_parse() // before the other options take effect
        ->check(RequireText)
        ->option_text("FILE.ini")
        ->group(group);
    command
        .add_option("--save-params", options.ParametersOutput,
                    "Write the settings of this run to a parameter file. What else it holds stays.")
        ->check(RequireText)
        ->option_text("FILE.ini")
        ->group(group);
}

void CheckParameters(const ComposeOptions& options) {
    if (options.ParametersFile.empty()) return;
    if (!options.ParametersFailure.empty()) throw Failure(options.ParametersFailure);
    for (const std::string& warning : options.ParameterWarnings)
        std::fprintf(stderr, "kyfocus: warning: %s\n", warning.c_str());
    KyfFocusCompositionParameter settings = options.Settings;
    for (const ParameterKey& key : ParameterKeys()) {
        const std::int32_t value = key.Field(settings);
        const bool isReplaced = key.Option && options.IsGiven(key.Option);
        if (!isReplaced && !key.IsInRange(value))
            throw UsageError(DisplayPath(options.ParametersFile) + ": " + key.Name + " is " + std::to_string(value) +
                             ", expected " + key.Range());
    }
}

void SaveParameterOutput(const ComposeOptions& options, OutputFiles& outputs) {
    if (options.ParametersOutput.empty()) return;
    KyfFocusCompositionParameter settings = options.Settings;
    settings.CompParamSetType = PresetOf(settings);
    WriteParameters(settings, options.ParametersOutput, outputs);
}

} // namespace app
