#include "compose_options.h"

#include <algorithm>

#include <kyfocus/composition_setting.h>
#include <kyimaging/kyimaging.h>

#include "compose_mode.h"
#include "errors.h"
#include "gpu_options.h"
#include "height_options.h"
#include "images.h"
#include "option_kinds.h"
#include "parameter_options.h"

namespace app {
namespace {

namespace fs = std::filesystem;

const char* const kFramesGroup = "Frames";
const char* const kOutputGroup = "Output";
const char* const kCompositionGroup = "Composition";
const char* const kAlignGroup = "Alignment";
const char* const kHeightGroup = "Heights";
const char* const kSafe3dGroup = "Modes 3d and complex";
const char* const kRunGroup = "Running";

void AddFrameOptions(CLI::App& command, ComposeOptions& options) {
    command
        .add_option(
            "FRAMES", options.Frames,
            "Files, folders, quoted patterns such as 'stack/*.png', or any mix of them. A folder stands for its "
            ".tif, .tiff, .png, .jpg, .jpeg and .bmp files but for the outputs of this run. All frames have one size "
            "and format.")
        ->check(RequireText)
        ->option_text("...")
        ->required();
    command
        .add_flag("--keep-order", options.KeepOrder,
                  "Take files that are named one by one in the order given. By default they are put in natural order "
                  "(frame_2 before frame_10), as the files of a folder or pattern always are.")
        ->group(kFramesGroup);
}

void AddOutputOptions(CLI::App& command, ComposeOptions& options) {
    command
        .add_option("-o,--output", options.Output,
                    "The composed image: .png, .tif, .jpg or .bmp, in the frames' format. Required.")
        ->check(RequireText)
        ->option_text("FILE")
        ->required()
        ->group(kOutputGroup);
    AddHeightOutputs(command, options, kOutputGroup);
    command
        .add_option(
            "--json", options.JsonOutput,
            "A summary of the run: frames, sizes, settings, seconds per stage, bytes of memory. - writes it to the "
            "standard output.")
        ->check(RequireText)
        ->option_text("FILE|-")
        ->group(kOutputGroup);
}

void AddModeOption(CLI::App& command, ComposeOptions& options) {
    AddChoice<int>(
        command, "--mode",
        {{"2d", KyfAlgorithmType2DSelection},
         {"3d", KyfAlgorithmType3DSafe},
         {"complex", KyfAlgorithmTypeComplexProcessing}},
        [&options](int mode) { options.Settings.AlgType = mode; },
        "2d selects the sharpest frame pixel by pixel and takes the heights from that. 3d fits a surface first and "
        "composes the image along it. complex gives the image of 2d and the heights of 3d. Default: complex when "
        "heights are given and used, else 2d. 3d and complex need heights.")
        ->option_text("NAME")
        ->group(kCompositionGroup);
}

void AddCompositionOptions(CLI::App& command, ComposeOptions& options) {
    AddModeOption(command, options);
    AddParameterOptions(command, options, kCompositionGroup);
    AddChoice<int>(
        command, "--speed", {{"full", 0}, {"half", 1}, {"quarter", 2}},
        [&options](int speed) { options.Settings.Speed = speed; },
        "Width at which sharpness is judged: in 2d the frame's, half or a quarter of it; in 3d 512, 256 or 64 samples. "
        "Default full. The result always has the frames' size.")
        ->option_text("NAME")
        ->group(kCompositionGroup);
    struct Preset {
        int CompSize;
        int Smoothing;
    };
    AddChoice<Preset>(
        command, "--preset", {{"fine", {1, 8}}, {"standard", {8, 6}}, {"coarse", {15, 6}}},
        [&options](const Preset& chosen) {
            options.Settings.CompSize = chosen.CompSize;
            options.Settings.Smoothing = chosen.Smoothing;
        },
        "--comp-size and --smoothing together: fine is 1 and 8, standard 8 and 6, coarse 15 and 6. "
        "Default standard.")
        ->option_text("NAME")
        ->group(kCompositionGroup);
    AddInteger(
        command, "--comp-size", options.Settings.CompSize, 0, 100,
        "Cutoff of the smoothing of the sharpness, in percent of the width; 0 does not smooth. Default 8, or the "
        "preset's.")
        ->option_text("PERCENT")
        ->group(kCompositionGroup);
    AddInteger(
        command, "--smoothing", options.Settings.Smoothing, 0, 100,
        "Cutoff of the smoothing of the heights of 2d, in percent of the width; 0 does not smooth. Default 6, or the "
        "preset's.")
        ->option_text("PERCENT")
        ->group(kCompositionGroup);
    AddInteger(
        command, "--scope", options.Settings.ScopeType, 0, 3,
        "Kind of instrument: 0 judges by edges, 2 takes the brightness of gray frames for the sharpness. 1 and 3 are "
        "the same two with the frames lined up as by --align lines-multi. Default 0, or what --align needs.")
        ->option_text("0..3")
        ->group(kCompositionGroup);
}

void AddRunOptions(CLI::App& command, ComposeOptions& options) {
    constexpr int kMostThreads = 1024;
    AddInteger(command, "--threads", options.Threads, 1, kMostThreads,
               "Threads of the computation; up to two more decode frames ahead. Default: one for each processor.")
        ->option_text("COUNT")
        ->group(kRunGroup);
    command
        .add_flag(
            "--no-parallel", options.NoParallel,
            "Compute in one thread with the sequential form of each step. The result is the same, except that "
            "16-bit frames are judged by samples cut at 255, which spoils it, at --speed half or quarter and in modes "
            "3d and complex above 512 pixels of width; a machine of one processor always does so. The number of "
            "--threads never changes the result.")
        ->group(kRunGroup);
    AddGpuOptions(command, options, kRunGroup);
    AddChoice<ProgressStyle>(
        command, "--progress",
        {{"auto", ProgressStyle::Auto},
         {"bar", ProgressStyle::Bar},
         {"plain", ProgressStyle::Plain},
         {"none", ProgressStyle::None}},
        [&options](ProgressStyle style) { options.Progress = style; },
        "Progress on the standard error: bar redraws one line, plain prints a line every tenth, none "
        "is silent, auto takes bar on a terminal and plain elsewhere. Default auto.")
        ->option_text("NAME")
        ->group(kRunGroup);
}

void RequireImageExtension(const fs::path& path) {
    const int type = KyiGetFileTypeFromFileName(WidePath(path).c_str());
    for (const int allowed : {KyiFileTypePng, KyiFileTypeTiff, KyiFileTypeJpeg, KyiFileTypeBitmap})
        if (type == allowed) return;
    throw UsageError(path.native() + ": unknown extension, expected .png, .tif, .jpg or .bmp");
}

} // namespace

KyfFocusCompositionParameter DefaultSettings() {
    KyfFocusCompositionParameter settings = CKyfFocusCompositionSetting().Get();
    settings.AlgType = KyfAlgorithmType2DSelection;
    settings.Speed = 0;
    return settings;
}

bool ComposeOptions::IsGiven(const std::string& name) const {
    return std::find(Given.begin(), Given.end(), name) != Given.end();
}

void AddComposeOptions(CLI::App& command, ComposeOptions& options) {
    AddFrameOptions(command, options);
    AddOutputOptions(command, options);
    AddCompositionOptions(command, options);
    AddAlignOptions(command, options, kAlignGroup);
    AddFrameHeights(command, options, kHeightGroup);
    AddSafe3dOptions(command, options, kSafe3dGroup);
    AddRunOptions(command, options);
}

void CompleteComposeOptions(ComposeOptions& options) {
    RequireImageExtension(options.Output);
    CheckParameters(options);
    CheckHeightOptions(options);
    ChooseMode(options);
    CompleteAlignOptions(options);
    CompleteGpuOptions(options);
}

} // namespace app
