/// The options of `kyfocus compose` that line frames up.
#ifndef KYFOCUS_APP_ALIGN_OPTIONS_H
#define KYFOCUS_APP_ALIGN_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include <kyfocus/settings.h>

namespace app {

struct ComposeOptions;

enum class Align { None, Auto, Lines, LinesMulti };

struct AlignOptions {
    std::optional<Align> Method;
    int Areas = 0; // 0: as many as there are places, else what the settings say
    std::vector<KyPoint>
        Places; // centres of the areas: 0 to 100 from 10 % to 90 % of the frame; empty: of the settings
    bool KeepBorder = false;
};

void AddAlignOptions(CLI::App& command, ComposeOptions& options, const std::string& group);

/// Turns the options into settings; the mode has been chosen. Throws UsageError, with the names of two options that
/// contradict each other, or for areas that all lie in one place.
void CompleteAlignOptions(ComposeOptions& options);

} // namespace app

#endif
