/// Settings that are allowed and rarely meant, for people to know before the work.
#ifndef KYFOCUS_APP_COMPOSE_WARNINGS_H
#define KYFOCUS_APP_COMPOSE_WARNINGS_H

#include <string>
#include <vector>

#include <kyimaging/kyimaging.h>

#include "compose_options.h"
#include "summary.h"

namespace app {

/// One line for each setting that spoils the result of frames like this one; none for a sound run.
/// @param processors  Of the machine: with one the library takes the sequential form of its steps.
std::vector<std::string> SettingWarnings(const ComposeOptions& options, const KyiImageData& frame, int processors);

/// One line when --plane would fill areas without detail with another height than the one that it names.
/// @param heights  Of the frames; none where nothing needs them.
std::vector<std::string> PlaneWarnings(const ComposeOptions& options, const std::vector<double>& heights);

/// A line when template areas have moved a frame as far as they reach, to within 1 % of the frame, so that it or a
/// later one may be lost; another when they have magnified one by more than 5 %. Each names the first such frame.
std::vector<std::string> MoveWarnings(const ComposeOptions& options, const Summary& summary);

} // namespace app

#endif
