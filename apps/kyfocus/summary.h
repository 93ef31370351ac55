/// What a composition did, for people and for programs.
#ifndef KYFOCUS_APP_SUMMARY_H
#define KYFOCUS_APP_SUMMARY_H

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "compose_options.h"
#include "frame_loader.h"
#include "frame_move.h"
#include "height_image_file.h"

namespace app {

/// Seconds per stage. Frames are decoded beside the other stages, which follow one another.
struct StageSeconds {
    double Add = 0;
    double Make = 0;
    double Save = 0;
    double Wall = 0;
};

struct HeightExtent {
    double Least = 0;
    double Greatest = 0;
};

struct Summary {
    std::vector<std::filesystem::path> Frames;
    int Width = 0; // of a frame
    int Height = 0;
    int Format = 0;
    int ResultWidth = 0;
    int ResultHeight = 0;
    int Threads = 0;
    int DecodeThreads = 0;
    std::size_t TemporaryBytes = 0; // of the frames that the 3D pipeline kept on disk
    std::vector<FrameMove> Moves2d; // of each frame where the 2D pipeline lines them up
    std::vector<FrameMove> Moves3d; // and the 3D pipeline
    LoaderStatistics Loader;
    StageSeconds Seconds;
    std::optional<HeightExtent> Heights; // of the heights, when an output needed them
    std::optional<HeightScale> ImageScale;
};

/// The summary as a JSON object, indented, with a line end. Files are named as they were on the command line.
std::string FormatSummaryJson(const Summary& summary, const ComposeOptions& options);

/// The one line for people.
std::string FormatSummaryLine(const Summary& summary, const ComposeOptions& options);

/// Most memory that the process held at any time, in bytes; 0 where the system doesn't tell.
std::size_t PeakMemoryBytes();

} // namespace app

#endif
