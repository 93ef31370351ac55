#include "compose_command.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>

#include <omp.h>

#include "binary_file.h"
#include "compose_outputs.h"
#include "compose_warnings.h"
#include "errors.h"
#include "focus_session.h"
#include "frame_list.h"
#include "frame_loader.h"
#include "height_files.h"
#include "make_trace.h"
#include "output_files.h"
#include "parameter_options.h"
#include "progress_display.h"
#include "stopwatch.h"
#include "summary.h"
#include "temporary_folder.h"

namespace app {
namespace {

namespace fs = std::filesystem;
constexpr int kMostDecodeThreads = 2; // one for each frame that may wait

/// What is made of heights holds floats.
void RequireFloats(const std::vector<double>& heights, const std::vector<fs::path>& frames) {
    constexpr double kGreatest = 1e38; // differences and noise of a few percent beyond it still fit
    for (std::size_t index = 0; index < heights.size(); ++index)
        if (!(std::abs(heights[index]) <= kGreatest))
            throw Failure(DisplayPath(frames[index]) + ": height out of range, expected one from -1e38 to 1e38");
}

/// The library takes heights that are all 0 for none in this mode.
void RequireOtherThanZero(const std::vector<double>& heights, const ComposeOptions& options) {
    if (options.Settings.AlgType != KyfAlgorithmTypeComplexProcessing) return;
    if (std::any_of(heights.begin(), heights.end(), [](double height) { return height != 0.0; })) return;
    throw Failure("the heights are all 0, which --mode complex takes for none, expected --mode 2d or 3d");
}

/// One height a frame, or none at all when nothing needs them.
std::vector<double> FrameHeights(const ComposeOptions& options, const std::vector<fs::path>& frames) {
    std::vector<double> heights;
    if (!options.HeightsFile.empty()) heights = ReadHeights(options.HeightsFile, frames);
    if (options.Step) heights = EvenHeights(options.Start.value_or(0.0), *options.Step, frames.size());
    RequireFloats(heights, frames);
    RequireOtherThanZero(heights, options);
    const bool isUsed = options.WantsHeights() || options.Settings.AlgType != KyfAlgorithmType2DSelection;
    if (isUsed || heights.empty()) return heights;
    std::fputs("kyfocus: heights are given and not used: nothing that is asked for needs them\n", stderr);
    return {};
}

void PrintWarnings(const std::vector<std::string>& warnings) {
    for (const std::string& warning : warnings) std::fprintf(stderr, "kyfocus: warning: %s\n", warning.c_str());
}

/// What has to be known of the frames before the first is added.
void CheckFirstFrame(const KyiImageData& frame, const ComposeOptions& options, const TemporaryFolder* temporary,
                     std::size_t frames) {
    RequireHoldable(frame, options);
    if (temporary) temporary->RequireRoom(ImageBytes(frame) * frames);
    PrintWarnings(SettingWarnings(options, frame, omp_get_num_procs()));
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
    if (const std::optional<FrameMove> move = session.LastMove2d()) summary.Moves2d.push_back(*move);
    if (const std::optional<FrameMove> move = session.LastMove3d()) summary.Moves3d.push_back(*move);
    summary.Seconds.Add += stopwatch.Seconds();
    display.ShowFrame(static_cast<int>(index) + 1, 0);
}

/// Decodes and adds all frames. What the first one is decides with what the session starts.
void AddFrames(std::optional<FocusSession>& session, const ComposeOptions& options, const std::vector<double>& heights,
               const TemporaryFolder* temporary, ProgressDisplay& display, Summary& summary) {
    FrameLoader loader(summary.Frames, summary.DecodeThreads);
    for (std::size_t index = 0; index < summary.Frames.size(); ++index) {
        const Image frame = loader.Next();
        if (index == 0) {
            CheckFirstFrame(*frame, options, temporary, summary.Frames.size());
            session.emplace(SessionSettings(options, *frame), !options.NoParallel, options.Align.KeepBorder,
                            temporary ? temporary->Path() : fs::path());
        }
        RequireFit(*frame, summary.Frames[index], summary);
        if (temporary) summary.TemporaryBytes += ImageBytes(*frame);
        AddFrame(*session, *frame, index, heights, display, summary);
    }
    summary.Loader = loader.Statistics();
}

/// The library composes what it can when a kept frame is lost, and does not tell.
void RequireKeptFrames(const TemporaryFolder& temporary, const MakeTrace& trace, const Summary& summary) {
    const std::size_t frames = summary.Frames.size();
    if (temporary.CountFiles(summary.TemporaryBytes / frames) < frames)
        throw Failure(DisplayPath(temporary.Path()) + ": frames that were kept here are gone or cut short");
    if (const std::optional<std::string> reason = trace.LostFrame())
        throw Failure(DisplayPath(temporary.Path()) + ": a frame that was kept here cannot be read: " + *reason);
}

void Make(FocusSession& session, ProgressDisplay& display, Summary& summary) {
    const Stopwatch stopwatch;
    session.Make([&](int percent) { display.ShowFinish(percent / 2); });
    summary.Seconds.Make = stopwatch.Seconds();
}

/// From the first frame to the results' files.
void Compose(const ComposeOptions& options, const std::vector<double>& heights, OutputFiles& outputs,
             Summary& summary) {
    std::optional<TemporaryFolder> temporary; // outlives the session, which writes there to the end
    if (options.Settings.AlgType != KyfAlgorithmType2DSelection) temporary.emplace(options.TemporaryParent);
    ProgressDisplay display(options.Progress, static_cast<int>(summary.Frames.size()), stderr);
    std::optional<FocusSession> session;
    AddFrames(session, options, heights, temporary ? &*temporary : nullptr, display, summary);
    PrintWarnings(MoveWarnings(options, summary));
    std::optional<MakeTrace> trace;
    if (temporary) trace.emplace(temporary->Path());
    Make(*session, display, summary);
    // In mode complex the image does not come of kept frames.
    if (options.Settings.AlgType == KyfAlgorithmType3DSafe) RequireKeptFrames(*temporary, *trace, summary);
    if (trace) trace->RequireHeights();
    trace.reset();
    SaveResults(*session, options, outputs, summary);
    display.ShowFinish(100);
}

} // namespace

void AddComposeCommand(CLI::App& program) {
    const auto options = std::make_shared<ComposeOptions>();
    CLI::App* const command = program.add_subcommand(
        "compose", "Composes a focus stack into one image that is sharp everywhere, and into a height map.");
    AddComposeOptions(*command, *options);
    command->footer("Example: kyfocus compose stack/ -o sharp.png --start 0 --step 2.5 --height-map heights.tif");
    command->callback([options, command] {
        for (const CLI::Option* const option : command->get_options())
            if (option->count() > 0) options->Given.push_back(option->get_name());
        RunCompose(*options);
    });
}

void RunCompose(ComposeOptions options) {
    const Stopwatch wall;
    CompleteComposeOptions(options);
    RequireGpu(options);
    const std::vector<fs::path> outputPaths = OutputPaths(options);
    Summary summary;
    summary.Frames = ListFrames(options.Frames, options.KeepOrder, outputPaths);
    OutputFiles outputs;
    for (const fs::path& path : outputPaths) outputs.Add(path);
    SaveParameterOutput(options, outputs);
    const std::vector<double> heights = FrameHeights(options, summary.Frames);
    PrintWarnings(PlaneWarnings(options, heights));
    summary.Threads = options.NoParallel ? 1 : options.Threads > 0 ? options.Threads : omp_get_num_procs();
    summary.DecodeThreads = std::min(summary.Threads, kMostDecodeThreads);
    omp_set_num_threads(summary.Threads);
    std::fprintf(stderr, "%s\n", DescribeFrames(summary.Frames, options.KeepOrder).c_str());

    Compose(options, heights, outputs, summary);
    summary.Seconds.Wall = wall.Seconds();
    const std::string json = FormatSummaryJson(summary, options);
    if (!options.JsonOutput.empty() && options.JsonOutput != "-")
        outputs.Write(options.JsonOutput, [&](const fs::path& path) { WriteTextFile(path, json); });
    SaveParameterOutput(options, outputs);
    const std::string line = FormatSummaryLine(summary, options) + "\n";
    if (options.JsonOutput == "-") WriteAnswer(json);
    outputs.Commit(); // the last step that can fail
    std::fputs(line.c_str(), stderr);
}

} // namespace app
