/// `kyfocus compose`: a stack of frames into an all-in-focus image, and into heights.
#ifndef KYFOCUS_APP_COMPOSE_COMMAND_H
#define KYFOCUS_APP_COMPOSE_COMMAND_H

#include <CLI/CLI.hpp>

#include "compose_options.h"

namespace app {

/// Adds the sub-command; parsing it runs it.
void AddComposeCommand(CLI::App& program);

/// Composes and writes all outputs, or none. Throws UsageError and Failure.
void RunCompose(ComposeOptions options);

} // namespace app

#endif
