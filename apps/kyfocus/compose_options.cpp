#include "compose_options.h"

#include <cmath>
#include <map>

#include <kyimaging/kyimaging.h>

#include "errors.h"
#include "images.h"

namespace app {
namespace {

namespace fs = std::filesystem;

const char* const kFramesGroup = "Frames";
const char* const kOutputGroup = "Output";
const char* const kCompositionGroup = "Composition";
const char* const kHeightGroup = "Heights";
const char* const kRunGroup = "Running";

/// Adds an option that takes one of a few names.
template <typename Value>
CLI::Option* AddChoice(CLI::App& command, const std::string& name, const std::map<std::string, Value>& choices,
                       const std::function<void(const Value&)>& choose, const std::string& description) {
    const auto check = [choices](const std::string& text) {
        if (choices.contains(text)) return std::string();
        std::string names;
        for (const auto& choice : choices) names.append(names.empty() ? "" : ", ").append(choice.first);
        return "'" + text + "' is not one of " + names;
    };
    const auto take = [choices, choose](const std::string& text) { choose(choices.at(text)); };
    return command.add_option_function<std::string>(name, take, description)->check(check);
}

/// Adds an option that takes a whole number from `least` to `most`.
CLI::Option* AddInteger(CLI::App& command, const std::string& name, int& value, int least, int most,
                        const std::string& description) {
    const auto check = [least, most](const std::string& text) {
        int number = 0;
        const bool isNumber = CLI::detail::lexical_cast(text, number);
        if (isNumber && number >= least && number <= most) return std::string();
        return "'" + text + "' is not a whole number from " + std::to_string(least) + " to " + std::to_string(most);
    };
    return command.add_option(name, value, description)->check(check);
}

CLI::Option* AddFinite(CLI::App& command, const std::string& name, std::optional<double>& value,
                       const std::string& description) {
    const auto check = [](const std::string& text) {
        double number = 0;
        const bool isNumber = CLI::detail::lexical_cast(text, number) && std::isfinite(number);
        return isNumber ? std::string() : "'" + text + "' is not a number";
    };
    return command.add_option(name, value, description)->check(check);
}

/// For file names: an empty one is a slip of the shell, such as a variable that is not set.
std::string RequireText(const std::string& text) { return text.empty() ? "an empty name, expected a file" : ""; }

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
    command
        .add_option("--height-map", options.HeightMapOutput,
                    "The height map as a TIFF of 32-bit floats, in --unit. Needs heights.")
        ->check(RequireText)
        ->option_text("FILE.tif")
        ->group(kOutputGroup);
    command
        .add_option(
            "--height-image", options.HeightImageOutput,
            "The height map as a 16-bit gray PNG; its text fields tell step, offset and unit of the samples. Needs "
            "heights.")
        ->check(RequireText)
        ->option_text("FILE.png")
        ->group(kOutputGroup);
    command
        .add_option(
            "--json", options.JsonOutput,
            "A summary of the run: frames, sizes, settings, seconds per stage, bytes of memory. - writes it to the "
            "standard output.")
        ->check(RequireText)
        ->option_text("FILE|-")
        ->group(kOutputGroup);
}

void AddCompositionOptions(CLI::App& command, ComposeOptions& options) {
    AddChoice<int>(
        command, "--speed", {{"full", 0}, {"half", 1}, {"quarter", 2}},
        [&options](int speed) { options.Speed = speed; },
        "Width at which sharpness is judged, as a part of the frame's: full, half or quarter. Default full. The "
        "result always has the frames' size.")
        ->option_text("NAME")
        ->group(kCompositionGroup);
    struct Preset {
        int CompSize;
        int Smoothing;
    };
    AddChoice<Preset>(
        command, "--preset", {{"fine", {1, 8}}, {"standard", {8, 6}}, {"coarse", {15, 6}}},
        [&options](const Preset& chosen) {
            options.CompSize = chosen.CompSize;
            options.Smoothing = chosen.Smoothing;
        },
        "--comp-size and --smoothing together: fine is 1 and 8, standard 8 and 6, coarse 15 and 6. "
        "Default standard.")
        ->option_text("NAME")
        ->group(kCompositionGroup);
    AddInteger(
        command, "--comp-size", options.CompSize, 0, 100,
        "Cutoff of the smoothing of the sharpness, in percent of the width; 0 does not smooth. Default 8, or the "
        "preset's.")
        ->option_text("PERCENT")
        ->group(kCompositionGroup);
    AddInteger(command, "--smoothing", options.Smoothing, 0, 100,
               "Cutoff of the smoothing of the heights, in percent of the width; 0 does not smooth. Default 6, or the "
               "preset's.")
        ->option_text("PERCENT")
        ->group(kCompositionGroup);
    AddInteger(
        command, "--scope", options.Scope, 0, 3,
        "Kind of instrument: 0 judges by edges, 2 takes the brightness of gray frames for the sharpness. Default 0. 1 "
        "and 3 are the same two with the frames lined up by their rows; this version can't do that yet.")
        ->option_text("0..3")
        ->group(kCompositionGroup);
}

void AddHeightOptions(CLI::App& command, ComposeOptions& options) {
    command
        .add_option(
            "--heights", options.HeightsFile,
            "Heights of the frames: a text file with one number a line, in frame order, or lines of file name and "
            "number; a comma or blanks between them, # begins a comment.")
        ->check(RequireText)
        ->option_text("FILE")
        ->group(kHeightGroup);
    AddFinite(command, "--step", options.Step,
              "Height from frame to frame, in --unit; may be negative. Instead of --heights.")
        ->option_text("NUMBER")
        ->group(kHeightGroup);
    AddFinite(command, "--start", options.Start, "Height of the first frame, in --unit, with --step. Default 0.")
        ->option_text("NUMBER")
        ->group(kHeightGroup);
    command.add_option("--unit", options.Unit, "Unit of all heights, for the outputs to tell. Default um.")
        ->option_text("NAME")
        ->group(kHeightGroup);
}

void AddRunOptions(CLI::App& command, ComposeOptions& options) {
    constexpr int kMostThreads = 1024;
    AddInteger(command, "--threads", options.Threads, 1, kMostThreads,
               "Threads of the computation; up to two more decode frames ahead. Default: one for each processor.")
        ->option_text("COUNT")
        ->group(kRunGroup);
    command
        .add_flag("--no-parallel", options.NoParallel,
                  "Compute in one thread with the sequential form of each step. The result is the same, except that "
                  "16-bit frames at --speed half or quarter are judged by samples cut at 255, which spoils it; a "
                  "machine of one processor always does so. The number of --threads never changes the result.")
        ->group(kRunGroup);
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

void RequireExtension(const fs::path& path, std::initializer_list<int> types, const std::string& expected) {
    if (path.empty()) return;
    const int type = KyiGetFileTypeFromFileName(WidePath(path).c_str());
    for (const int allowed : types)
        if (type == allowed) return;
    throw UsageError(path.native() + ": unknown extension, expected " + expected);
}

} // namespace

void AddComposeOptions(CLI::App& command, ComposeOptions& options) {
    AddFrameOptions(command, options);
    AddOutputOptions(command, options);
    AddCompositionOptions(command, options);
    AddHeightOptions(command, options);
    AddRunOptions(command, options);
}

void CheckComposeOptions(const ComposeOptions& options) {
    RequireExtension(options.Output, {KyiFileTypePng, KyiFileTypeTiff, KyiFileTypeJpeg, KyiFileTypeBitmap},
                     ".png, .tif, .jpg or .bmp");
    RequireExtension(options.HeightMapOutput, {KyiFileTypeTiff}, ".tif");
    RequireExtension(options.HeightImageOutput, {KyiFileTypePng}, ".png");
    if (options.Scope == 1 || options.Scope == 3)
        throw UsageError("--scope " + std::to_string(options.Scope) +
                         ": lining up frames by their rows is not available yet, expected 0 or 2");
    if (options.Start && !options.Step) throw UsageError("--start needs --step, the height from frame to frame");
    if (options.Step && *options.Step == 0) throw UsageError("--step is 0, expected the height from frame to frame");
    if (options.Step && !options.HeightsFile.empty()) throw UsageError("--heights and --step exclude each other");
    if (options.WantsHeights() && !options.HasHeights())
        throw UsageError(
            "--height-map and --height-image need the frames' heights: give --heights, or --start and --step");
}

} // namespace app
