/// Settings that are allowed and rarely meant, for people to know before the work.
#ifndef KYFOCUS_APP_COMPOSE_WARNINGS_H
#define KYFOCUS_APP_COMPOSE_WARNINGS_H

#include <string>
#include <vector>

#include <kyimaging/kyimaging.h>

#include "compose_options.h"

namespace app {

/// One line for each setting that spoils the result of frames like this one; none for a sound run.
/// @param processors  Of the machine: with one the library takes the sequential form of its steps.
std::vector<std::string> SettingWarnings(const ComposeOptions& options, const KyiImageData& frame, int processors);

/// One line when --plane would fill areas without detail with another height than the one that it names.
/// @param heights  Of the frames; none where nothing needs them.
std::vector<std::string> PlaneWarnings(const ComposeOptions& options, const std::vector<double>& heights);

} // namespace app

#endif
