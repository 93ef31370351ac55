/// The options of `kyfocus compose` for heights: where they come from, what is made of them, the 3D pipeline.
#ifndef KYFOCUS_APP_HEIGHT_OPTIONS_H
#define KYFOCUS_APP_HEIGHT_OPTIONS_H

#include <CLI/CLI.hpp>

#include "compose_options.h"

namespace app {

/// Adds --height-map, --height-image, --height-picture, --mesh and what belongs to them.
void AddHeightOutputs(CLI::App& command, ComposeOptions& options, const std::string& group);

/// Adds --heights, --start, --step and --unit.
void AddFrameHeights(CLI::App& command, ComposeOptions& options, const std::string& group);

/// Adds the settings of the 3D pipeline.
void AddSafe3dOptions(CLI::App& command, ComposeOptions& options, const std::string& group);

/// Throws UsageError for heights that are asked for or given in part, and for names that fit no format.
void CheckHeightOptions(const ComposeOptions& options);

} // namespace app

#endif
