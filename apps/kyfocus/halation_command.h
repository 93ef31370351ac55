/// `kyfocus halation`: a series of frames of one scene becomes one image without over-bright spots.
#ifndef KYFOCUS_APP_HALATION_COMMAND_H
#define KYFOCUS_APP_HALATION_COMMAND_H

#include <CLI/CLI.hpp>

namespace app {

/// Adds the sub-command. Its callback does the work and throws Failure or UsageError.
void AddHalationCommand(CLI::App& program);

} // namespace app

#endif
