/// The files of a composition: the image and what is made of its heights.
#ifndef KYFOCUS_APP_COMPOSE_OUTPUTS_H
#define KYFOCUS_APP_COMPOSE_OUTPUTS_H

#include <filesystem>
#include <vector>

#include "compose_options.h"
#include "focus_session.h"
#include "output_files.h"
#include "summary.h"

namespace app {

/// All files that the options ask for.
std::vector<std::filesystem::path> OutputPaths(const ComposeOptions& options);

/// Refuses before the work what the outputs could not hold after it. Throws Failure.
/// @param frame  The first one.
void RequireHoldable(const KyiImageData& frame, const ComposeOptions& options);

/// Takes the results out of a session that has been made and writes all but the summary.
void SaveResults(FocusSession& session, const ComposeOptions& options, OutputFiles& outputs, Summary& summary);

} // namespace app

#endif
