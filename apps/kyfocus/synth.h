/// `kyfocus synth`: a focus stack of a made-up surface, with everything known that a composition should find.
#ifndef KYFOCUS_APP_SYNTH_H
#define KYFOCUS_APP_SYNTH_H

#include <CLI/CLI.hpp>

namespace app {

/// Adds the sub-command. Its callback does the work and throws UsageError or Failure.
void AddSynthCommand(CLI::App& program);

} // namespace app

#endif
