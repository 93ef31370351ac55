/// The modes of `kyfocus compose`: which pipelines run, and which options mean something to them.
#ifndef KYFOCUS_APP_COMPOSE_MODE_H
#define KYFOCUS_APP_COMPOSE_MODE_H

#include "compose_options.h"

namespace app {

/// The name of a mode as --mode takes it.
const char* ModeName(KyfAlgorithmType mode);

/// Sets the mode where none was asked for: complex when heights are given and something needs them, else 2d. Throws
/// UsageError when the mode lacks heights or an option means nothing to it.
void ChooseMode(ComposeOptions& options);

} // namespace app

#endif
