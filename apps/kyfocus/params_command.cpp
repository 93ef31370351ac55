#include "params_command.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>

#include <CLI/CLI.hpp>
#include <kyfocus/composition_setting.h>

#include "errors.h"
#include "images.h"
#include "option_kinds.h"
#include "output_files.h"
#include "parameter_dialog.h"

namespace app {
namespace {

std::string SourceText(ParameterEntry::Source from) {
    switch (from) {
    case ParameterEntry::Source::File: return "file";
    case ParameterEntry::Source::Missing: return "missing";
    default: return "unreadable";
    }
}

std::string TableLine(const std::string& key, const std::string& value, const std::string& from,
                      const std::string& meaning) {
    char columns[128];
    std::snprintf(columns, sizeof columns, "%-34s%11s  %-11s ", key.c_str(), value.c_str(), from.c_str());
    return columns + meaning + "\n";
}

std::string EntryLine(const ParameterEntry& entry) {
    std::string meaning = entry.Key->Meaning(entry.Value);
    if (entry.From == ParameterEntry::Source::Unreadable)
        meaning += "; the file has '" + ShownText(entry.Text) + "', which is no whole number";
    return TableLine(entry.Key->Name, std::to_string(entry.Value), SourceText(entry.From), meaning);
}

struct ParamsOptions {
    std::filesystem::path File;
    bool IsDialog = false;
    std::optional<int> Language;
};

void Show(const std::filesystem::path& file) { WriteAnswer(DescribeParameters(ReadParameterFile(file))); }

/// The settings of a file; the defaults where there is no file yet.
KyfFocusCompositionParameter SettingsToEdit(const std::filesystem::path& file) {
    std::error_code error;
    const bool isThere = std::filesystem::exists(file, error);
    const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : ".";
    if (!isThere && !std::filesystem::is_directory(folder, error))
        throw Failure(DisplayPath(file) + ": parameters cannot be written: there is no such folder");
    KyfFocusCompositionParameter settings = CKyfFocusCompositionSetting().Get();
    if (!isThere) return settings;
    RequireWritable(file);
    const ParameterFile parameters = ReadParameterFile(file);
    for (const ParameterEntry& entry : parameters.Entries)
        if (entry.From == ParameterEntry::Source::Unreadable)
            std::fprintf(stderr, "kyfocus: warning: %s: %s is no whole number and shows as %d\n",
                         DisplayPath(file).c_str(), entry.Key->Name, entry.Value);
    OverlayParameters(parameters, settings);
    return settings;
}

void Edit(const ParamsOptions& options) {
    KyfFocusCompositionParameter settings = SettingsToEdit(options.File);
    if (!EditParameters(settings, options.Language.value_or(LanguageOfLocale(MessageLocale()))))
        throw Cancelled(DisplayPath(options.File) + ": cancelled, nothing has been saved");
    OutputFiles outputs; // a save that fails half way leaves the file as it was
    outputs.Add(options.File);
    WriteParameters(settings, options.File, outputs);
    WriteAnswer(DisplayPath(options.File) + ": saved\n");
    outputs.Commit(); // the last step that can fail
}

void AddOptions(CLI::App& command, ParamsOptions& options) {
    command.add_option("FILE", options.File, "A file of compose --save-params or of another host of the library.")
        ->check(RequireText)
        ->option_text("FILE.ini")
        ->required();
    CLI::Option* const dialog = command.add_flag(
        "--dialog", options.IsDialog,
        "Show the settings in a dialog and save them to the file on OK; what else it holds stays. A file that is not "
        "there yet begins with the library's defaults. On Cancel the file stays as it is and the exit status is 3. "
        "Needs "
        "the library of dialogs, which is installed where Qt is, and a display.");
    AddChoice<int>(
        command, "--language", DialogLanguages(), [&options](const int& language) { options.Language = language; },
        "Language of the dialog: eng, jpn, kor, zh-hant, zh-hans. Default: that of the locale (LC_ALL, LC_MESSAGES, "
        "LANG), else eng.")
        ->option_text("NAME")
        ->needs(dialog);
}

} // namespace

void AddParamsCommand(CLI::App& program) {
    const auto options = std::make_shared<ParamsOptions>();
    CLI::App* const command = program.add_subcommand(
        "params", "Shows a parameter file, each key, its value and what it means, or edits it in a dialog.");
    AddOptions(*command, *options);
    command->footer("Example: kyfocus params --dialog settings.ini");
    command->callback([options] { options->IsDialog ? Edit(*options) : Show(options->File); });
}

std::string DescribeParameters(const ParameterFile& file) {
    std::string text = TableLine("KEY", "VALUE", "FROM", "MEANING");
    for (const ParameterEntry& entry : file.Entries) text += EntryLine(entry);
    const bool isWhole = std::all_of(file.Entries.begin(), file.Entries.end(), [](const ParameterEntry& entry) {
        return entry.From == ParameterEntry::Source::File;
    });
    if (!isWhole)
        text += "\nMissing and unreadable keys show the library's defaults; compose keeps its own for them.\n";
    std::string names;
    for (const std::string& key : file.UnknownKeys) names.append(names.empty() ? "" : ", ").append(ShownText(key));
    if (!names.empty()) text += "\nKeys without a meaning: " + names + "\n";
    return text;
}

} // namespace app
