/// A synthetic stack on disk.
#ifndef KYFOCUS_APP_SYNTH_STACK_H
#define KYFOCUS_APP_SYNTH_STACK_H

#include <string>

#include "synth_options.h"

namespace app {

/// Name of a frame's file, such as "frame_007.png".
std::string FrameName(const SynthOptions& options, int frame);

/// Name of the file with the truth picture, with its folder: of the frames' format, PNG where that would lose
/// something.
std::string TruthName(const SynthOptions& options);

/// Name of a picture of the exposure series, such as "exposures/exposure_002.png".
std::string ExposureName(const SynthOptions& options, int exposure);

/// Writes the stack into options.Folder, which is made if it is missing: the frames and their focus positions
/// "heights.txt", the exposure series, if any, in a folder "exposures", and in a folder "truth" of its own the truth
/// picture, the true heights "height.tif" and the geometry of the frames "stack.json". All files appear together at the
/// end; files of the same names are replaced. Throws UsageError for options that don't go together and Failure for what
/// can't be written.
void WriteStack(const SynthOptions& options);

} // namespace app

#endif
