#include "compose_command.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>

#include <omp.h>

#include "compose_warnings.h"
#include "errors.h"
#include "focus_session.h"
#include "frame_list.h"
#include "frame_loader.h"
#include "height_files.h"
#include "height_map_file.h"
#include "output_files.h"
#include "progress_display.h"
#include "stopwatch.h"
#include "summary.h"

namespace app {
namespace {

namespace fs = std::filesystem;
constexpr int kMostDecodeThreads = 2; // one for each frame that may wait

std::vector<fs::path> OutputPaths(const ComposeOptions& options) {
    std::vector<fs::path> paths = {options.Output};
    if (!options.HeightMapOutput.empty()) paths.push_back(options.HeightMapOutput);
    if (!options.HeightImageOutput.empty()) paths.push_back(options.HeightImageOutput);
    if (!options.JsonOutput.empty() && options.JsonOutput != "-") paths.emplace_back(options.JsonOutput);
    return paths;
}

/// Height maps are files of 32-bit floats.
void RequireFloats(const std::vector<double>& heights, const std::vector<fs::path>& frames) {
    constexpr double kGreatest = 1e38; // differences and noise of a few percent beyond it still fit
    for (std::size_t index = 0; index < heights.size(); ++index)
        if (!(std::abs(heights[index]) <= kGreatest))
            throw Failure(DisplayPath(frames[index]) + ": height out of range, expected one from -1e38 to 1e38");
}

/// One height a frame, or none at all when no output needs them.
std::vector<double> FrameHeights(const ComposeOptions& options, const std::vector<fs::path>& frames) {
    std::vector<double> heights;
    if (!options.HeightsFile.empty()) heights = ReadHeights(options.HeightsFile, frames);
    if (options.Step) heights = EvenHeights(options.Start.value_or(0.0), *options.Step, frames.size());
    RequireFloats(heights, frames);
    if (options.WantsHeights() || heights.empty()) return heights;
    std::fputs("kyfocus: heights are given and not used: no --height-map, no --height-image\n", stderr);
    return {};
}

SessionSettings SettingsOf(const ComposeOptions& options) {
    SessionSettings settings;
    settings.ScopeType = options.Scope;
    settings.Speed = options.Speed;
    settings.CompSize = options.CompSize;
    settings.Smoothing = options.Smoothing;
    settings.Parallel = !options.NoParallel;
    return settings;
}

/// Refuses before the work what the output could not hold after it.
void RequireRoom(const KyiImageData& frame, const fs::path& output) {
    if (KyiGetFileTypeFromFileName(WidePath(output).c_str()) != KyiFileTypeJpeg) return;
    constexpr int kMostJpegPixels = 65500; // each way
    if (KyiGetMaxVal(frame.Format) > UINT8_MAX || std::max(frame.Width, frame.Height) > kMostJpegPixels)
        throw Failure(DisplayPath(output) +
                      ": a JPEG has 8 bits a sample and at most 65500 pixels each way, the "
                      "frames are " +
                      DescribeImage(frame) + ", expected a .png, .tif or .bmp output");
}

/// What has to be known of the frames before the first is added.
void CheckFirstFrame(const KyiImageData& frame, const ComposeOptions& options) {
    RequireRoom(frame, options.Output);
    for (const std::string& warning : SettingWarnings(options, frame, omp_get_num_procs()))
        std::fprintf(stderr, "kyfocus: warning: %s\n", warning.c_str());
}

/// Remembers the shape of the first frame and holds the others to it.
void RequireFit(const KyiImageData& frame, const fs::path& file, Summary& summary) {
    if (summary.Width == 0) {
        summary.Width = frame.Width;
        summary.Height = frame.Height;
        summary.Format = frame.Format;
    }
    if (frame.Width == summary.Width && frame.Height == summary.Height && frame.Format == summary.Format) return;
    throw Failure(DisplayPath(file) + ": " + DescribeImage(frame) + ", expected " + std::to_string(summary.Width) +
                  " x " + std::to_string(summary.Height) + " " + DescribeFormat(summary.Format) + " like " +
                  DisplayPath(summary.Frames.front()));
}

/// Adds one frame that fits, by its index. A refusal names the frame's file.
void AddFrame(FocusSession& session, KyiImageData& frame, std::size_t index, const std::vector<double>& heights,
              ProgressDisplay& display, Summary& summary) {
    const Stopwatch stopwatch;
    const std::optional<double> height = heights.empty() ? std::nullopt : std::optional(heights[index]);
    try {
        session.Add(frame, height, [&](int percent) { display.ShowFrame(static_cast<int>(index), percent); });
    } catch (const Failure& failure) {
        throw Failure(DisplayPath(summary.Frames[index]) + ": " + failure.what());
    }
    summary.Seconds.Add += stopwatch.Seconds();
    display.ShowFrame(static_cast<int>(index) + 1, 0);
}

/// Decodes and adds all frames.
void AddFrames(FocusSession& session, const ComposeOptions& options, const std::vector<double>& heights,
               ProgressDisplay& display, Summary& summary) {
    FrameLoader loader(summary.Frames, summary.DecodeThreads);
    for (std::size_t index = 0; index < summary.Frames.size(); ++index) {
        const Image frame = loader.Next();
        if (index == 0) CheckFirstFrame(*frame, options);
        RequireFit(*frame, summary.Frames[index], summary);
        AddFrame(session, *frame, index, heights, display, summary);
    }
    summary.Loader = loader.Statistics();
}

void SaveHeightMapOutput(const FocusSession& session, const ComposeOptions& options, OutputFiles& outputs,
                         Summary& summary) {
    const HeightMap map = session.Heights();
    const auto [least, greatest] = std::minmax_element(map.Values.begin(), map.Values.end());
    summary.Heights = HeightRange{*least, *greatest};
    outputs.Write(options.HeightMapOutput, [&](const fs::path& path) {
        SaveHeightMap(path, map, "Height map by kyfocus. Heights in " + options.Unit + ". unit=" + options.Unit);
    });
}

void SaveHeightImageOutput(const FocusSession& session, const ComposeOptions& options, OutputFiles& outputs,
                           Summary& summary) {
    HeightScale scale;
    scale.Unit = options.Unit;
    const Image image = session.HeightImage(scale);
    summary.ImageScale = scale;
    outputs.Write(options.HeightImageOutput, [&](const fs::path& path) { SaveHeightImage(path, *image, scale); });
}

void SaveResults(FocusSession& session, const ComposeOptions& options, OutputFiles& outputs, Summary& summary) {
    const Stopwatch stopwatch;
    if (!options.HeightMapOutput.empty()) SaveHeightMapOutput(session, options, outputs, summary);
    if (!options.HeightImageOutput.empty()) SaveHeightImageOutput(session, options, outputs, summary);
    const Image image = session.ExtractImage();
    summary.ResultWidth = image->Width;
    summary.ResultHeight = image->Height;
    outputs.Write(options.Output, [&](const fs::path& path) { SaveImage(path, *image); });
    summary.Seconds.Save = stopwatch.Seconds();
}

void WriteText(const fs::path& path, const std::string& text) {
    std::ofstream stream(path, std::ios::binary);
    stream << text;
    stream.close();
    if (!stream) throw Failure(DisplayPath(path) + ": cannot be written");
}

} // namespace

void AddComposeCommand(CLI::App& program) {
    const auto options = std::make_shared<ComposeOptions>();
    CLI::App* const command = program.add_subcommand(
        "compose", "Composes a focus stack into one image that is sharp everywhere, and into a height map.");
    AddComposeOptions(*command, *options);
    command->footer("Example: kyfocus compose stack/ -o sharp.png --start 0 --step 2.5 --height-map heights.tif");
    command->callback([options] { RunCompose(*options); });
}

void RunCompose(const ComposeOptions& options) {
    const Stopwatch wall;
    CheckComposeOptions(options);
    const std::vector<fs::path> outputPaths = OutputPaths(options);
    Summary summary;
    summary.Frames = ListFrames(options.Frames, options.KeepOrder, outputPaths);
    OutputFiles outputs;
    for (const fs::path& path : outputPaths) outputs.Add(path);
    const std::vector<double> heights = FrameHeights(options, summary.Frames);
    summary.Threads = options.NoParallel ? 1 : options.Threads > 0 ? options.Threads : omp_get_num_procs();
    summary.DecodeThreads = std::min(summary.Threads, kMostDecodeThreads);
    omp_set_num_threads(summary.Threads);
    std::fprintf(stderr, "%s\n", DescribeFrames(summary.Frames, options.KeepOrder).c_str());

    {
        ProgressDisplay display(options.Progress, static_cast<int>(summary.Frames.size()), stderr);
        FocusSession session(SettingsOf(options), outputs.TemporaryFolder());
        AddFrames(session, options, heights, display, summary);
        const Stopwatch make;
        session.Make([&](int percent) { display.ShowFinish(percent / 2); });
        summary.Seconds.Make = make.Seconds();
        SaveResults(session, options, outputs, summary);
        display.ShowFinish(100);
    }
    summary.Seconds.Wall = wall.Seconds();
    const std::string json = FormatSummaryJson(summary, options);
    if (!options.JsonOutput.empty() && options.JsonOutput != "-")
        outputs.Write(options.JsonOutput, [&](const fs::path& path) { WriteText(path, json); });
    outputs.Commit();
    std::fprintf(stderr, "%s\n", FormatSummaryLine(summary, options).c_str());
    if (options.JsonOutput == "-" && (std::fputs(json.c_str(), stdout) < 0 || std::fflush(stdout) != 0))
        throw Failure("standard output: summary cannot be written");
}

} // namespace app
