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
    int Areas = 0;               // 0: as many as there are places, else what the settings say
    std::vector<KyPoint> Places; // centres of the areas, in percent of the frame; empty: those of the settings
    bool KeepBorder = false;
};

void AddAlignOptions(CLI::App& command, ComposeOptions& options, const std::string& group);

/// Turns the options into settings; the mode has been chosen. Throws UsageError, with the names of two options that
/// contradict each other.
void CompleteAlignOptions(ComposeOptions& options);

/// Whether frames move at all.
bool LinesFramesUp(const KyfFocusCompositionParameter& settings);

} // namespace app

#endif
