/// The options of `kyfocus compose` for parameter files.
#ifndef KYFOCUS_APP_PARAMETER_OPTIONS_H
#define KYFOCUS_APP_PARAMETER_OPTIONS_H

#include <string>

#include <CLI/CLI.hpp>

#include "compose_options.h"
#include "output_files.h"

namespace app {

/// Adds --params and --save-params. What --params reads lies below all that the line says, wherever it stands there.
void AddParameterOptions(CLI::App& command, ComposeOptions& options, const std::string& group);

/// Warns of what the file says in vain. Throws Failure for a file that cannot be read, and UsageError for settings that
/// a composition cannot take and that no option replaces.
void CheckParameters(const ComposeOptions& options);

/// Writes the settings in force to the file that --save-params names; does nothing without it. Called ahead of the work
/// and again behind it: a file that cannot be written is told before, and what others have changed in it meanwhile
/// stays.
void SaveParameterOutput(const ComposeOptions& options, OutputFiles& outputs);

} // namespace app

#endif
