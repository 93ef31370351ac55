#include "summary.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <utility>

#include <nlohmann/json.hpp>

#include "compose_mode.h"
#include "images.h"

namespace app {
namespace {

using Json = nlohmann::ordered_json;

Json FrameNames(const Summary& summary) {
    Json names = Json::array();
    for (const std::filesystem::path& frame : summary.Frames) names.push_back(DisplayPath(frame));
    return names;
}

Json FramesJson(const Summary& summary) {
    return {{"count", summary.Frames.size()},
            {"width", summary.Width},
            {"height", summary.Height},
            {"format", DescribeFormat(summary.Format)},
            {"files", FrameNames(summary)}};
}

const char* PlaneName(KyfPlaneType plane) {
    return plane == KyfPlaneTypeBottom ? "bottom" : plane == KyfPlaneTypeTop ? "top" : "other";
}

/// What the mode reads, and nothing else.
Json SettingsJson(const Summary& summary, const ComposeOptions& options) {
    const KyfFocusCompositionParameter& settings = options.Settings;
    const KyfAlgorithmType mode = settings.AlgType;
    Json json = {{"speed", kSpeedNames[settings.Speed]}, {"scope", settings.ScopeType}};
    if (mode != KyfAlgorithmType3DSafe) json["comp_size_percent"] = settings.CompSize;
    if (mode == KyfAlgorithmType2DSelection) json["smoothing_percent"] = settings.Smoothing;
    if (mode != KyfAlgorithmType2DSelection) {
        json["plane"] = PlaneName(settings.PlaneType);
        json["halation"] = settings.HalationMeasures != 0;
        json["adopt_top"] = settings.AdoptionPeakPosition == 1;
        json["sensitivity"] = settings.FocusingValueDetectionSensitivity;
        json["noise_remove"] = settings.ProjectionNoiseRemove;
        json["shape_smoothing"] = settings.D3ShapeSmoothing;
    }
    json["parallel"] = !options.NoParallel;
    json["threads"] = summary.Threads;
    json["decode_threads"] = summary.DecodeThreads;
    return json;
}

Json MovesJson(const char* method, const std::vector<FrameMove>& moves) {
    Json frames = Json::array();
    for (const FrameMove& move : moves)
        frames.push_back(
            {{"shift_x", move.X}, {"shift_y", move.Y}, {"scale_x", move.ScaleX}, {"scale_y", move.ScaleY}});
    return {{"method", method}, {"frames", frames}};
}

/// By the pipelines that line frames up; empty where none does.
Json AlignmentJson(const Summary& summary, const ComposeOptions& options) {
    Json json = Json::object();
    const bool isAuto = options.Settings.ScopeType == 0;
    const char* const lines = options.Settings.MatchingDetectType == 1 ? "lines" : "lines-multi";
    if (!summary.Moves2d.empty()) json["2d"] = MovesJson(isAuto ? "areas" : lines, summary.Moves2d);
    if (!summary.Moves3d.empty()) json["3d"] = MovesJson(isAuto ? "projection" : lines, summary.Moves3d);
    if (!json.empty()) json["keep_border"] = options.Align.KeepBorder;
    return json;
}

Json ResultJson(const Summary& summary, const ComposeOptions& options) {
    Json result = {{"file", DisplayPath(options.Output)},
                   {"width", summary.ResultWidth},
                   {"height", summary.ResultHeight},
                   {"format", DescribeFormat(summary.Format)}};
    if (summary.Heights)
        result["heights"] = {
            {"unit", options.Unit}, {"least", summary.Heights->Least}, {"greatest", summary.Heights->Greatest}};
    const auto addFile = [&result](const char* name, const std::filesystem::path& file) {
        if (!file.empty()) result[name] = {{"file", DisplayPath(file)}};
    };
    addFile("height_map", options.HeightMapOutput);
    addFile("differentiation_map", options.DifferentiationMapOutput);
    addFile("height_picture", options.HeightPictureOutput);
    addFile("mesh", options.MeshOutput);
    if (summary.ImageScale)
        result["height_image"] = {{"file", DisplayPath(options.HeightImageOutput)},
                                  {"unit", options.Unit},
                                  {"step", summary.ImageScale->Step},
                                  {"offset", summary.ImageScale->Offset}};
    return result;
}

Json SecondsJson(const Summary& summary) {
    return {{"decode", summary.Loader.DecodeSeconds},
            {"wait_for_frames", summary.Loader.WaitSeconds},
            {"add", summary.Seconds.Add},
            {"make", summary.Seconds.Make},
            {"save", summary.Seconds.Save},
            {"wall", summary.Seconds.Wall}};
}

double FramesPerSecond(const Summary& summary) {
    return static_cast<double>(summary.Frames.size()) / summary.Seconds.Wall;
}

} // namespace

std::string FormatSummaryJson(const Summary& summary, const ComposeOptions& options) {
    Json json = {{"program", "kyfocus"},
                 {"version", KYFOCUS_VERSION},
                 {"frames", FramesJson(summary)},
                 {"mode", ModeName(options.Settings.AlgType)},
                 {"settings", SettingsJson(summary, options)},
                 {"result", ResultJson(summary, options)},
                 {"seconds", SecondsJson(summary)},
                 {"frames_per_second", FramesPerSecond(summary)},
                 {"memory",
                  {{"peak_bytes", PeakMemoryBytes()},
                   {"decoded_ahead_peak_bytes", summary.Loader.PeakBytes},
                   {"decoded_ahead_peak_frames", summary.Loader.PeakFrames}}},
                 {"temporary_bytes", summary.TemporaryBytes}};
    if (Json alignment = AlignmentJson(summary, options); !alignment.empty()) json["alignment"] = std::move(alignment);
    return json.dump(2, ' ', /*ensure_ascii=*/false, Json::error_handler_t::replace) + "\n";
}

std::string FormatSummaryLine(const Summary& summary, const ComposeOptions& options) {
    std::array<char, 80> timing;
    const int length = std::snprintf(timing.data(), timing.size(), " in %.2f s (%.1f frames/s)", summary.Seconds.Wall,
                                     FramesPerSecond(summary));
    return DisplayPath(options.Output) + ": " + std::to_string(summary.ResultWidth) + " x " +
           std::to_string(summary.ResultHeight) + " " + DescribeFormat(summary.Format) + " from " +
           std::to_string(summary.Frames.size()) + (summary.Frames.size() == 1 ? " frame" : " frames") +
           std::string(timing.data(), static_cast<std::size_t>(length));
}

std::size_t PeakMemoryBytes() {
    // Not getrusage: its figure takes over the peak of the program that started this one.
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        std::size_t kibibytes = 0;
        if (std::sscanf(line.c_str(), "VmHWM: %zu kB", &kibibytes) == 1) return kibibytes * 1024;
    }
    return 0;
}

} // namespace app
