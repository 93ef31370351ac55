/// `kyfocus noisecut`: heights where the focus measure was weak are cut out and filled.
#ifndef KYFOCUS_APP_NOISECUT_COMMAND_H
#define KYFOCUS_APP_NOISECUT_COMMAND_H

#include <CLI/CLI.hpp>

namespace app {

/// Adds the sub-command. Its callback does the work and throws Failure or UsageError.
void AddNoisecutCommand(CLI::App& program);

} // namespace app

#endif
