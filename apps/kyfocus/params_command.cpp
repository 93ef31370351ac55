#include "params_command.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "errors.h"
#include "option_kinds.h"

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

} // namespace

void AddParamsCommand(CLI::App& program) {
    const auto file = std::make_shared<std::filesystem::path>();
    CLI::App* const command =
        program.add_subcommand("params", "Shows a parameter file: each key, its value and what it means.");
    command->add_option("FILE", *file, "A file of compose --save-params or of another host of the library.")
        ->check(RequireText)
        ->option_text("FILE.ini")
        ->required();
    command->footer("Example: kyfocus params settings.ini");
    command->callback([file] {
        const std::string text = DescribeParameters(ReadParameterFile(*file));
        if (std::fputs(text.c_str(), stdout) < 0) throw Failure("standard output: table cannot be written");
    });
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
