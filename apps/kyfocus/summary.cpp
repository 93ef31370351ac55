#include "summary.h"

#include <array>
#include <cstdio>
#include <fstream>

#include <nlohmann/json.hpp>

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

Json SettingsJson(const Summary& summary, const ComposeOptions& options) {
    return {{"speed", kSpeedNames[options.Speed]},    {"comp_size_percent", options.CompSize},
            {"smoothing_percent", options.Smoothing}, {"scope", options.Scope},
            {"parallel", !options.NoParallel},        {"threads", summary.Threads},
            {"decode_threads", summary.DecodeThreads}};
}

Json ResultJson(const Summary& summary, const ComposeOptions& options) {
    Json result = {{"file", DisplayPath(options.Output)},
                   {"width", summary.ResultWidth},
                   {"height", summary.ResultHeight},
                   {"format", DescribeFormat(summary.Format)}};
    if (summary.Heights)
        result["heights"] = {
            {"unit", options.Unit}, {"least", summary.Heights->Least}, {"greatest", summary.Heights->Greatest}};
    if (!options.HeightMapOutput.empty()) result["height_map"] = {{"file", DisplayPath(options.HeightMapOutput)}};
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
    const Json json = {{"program", "kyfocus"},
                       {"version", KYFOCUS_VERSION},
                       {"frames", FramesJson(summary)},
                       {"settings", SettingsJson(summary, options)},
                       {"result", ResultJson(summary, options)},
                       {"seconds", SecondsJson(summary)},
                       {"frames_per_second", FramesPerSecond(summary)},
                       {"memory",
                        {{"peak_bytes", PeakMemoryBytes()},
                         {"decoded_ahead_peak_bytes", summary.Loader.PeakBytes},
                         {"decoded_ahead_peak_frames", summary.Loader.PeakFrames}}}};
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
