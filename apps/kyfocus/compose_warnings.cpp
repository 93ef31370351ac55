#include "compose_warnings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "compose_mode.h"
#include "images.h"

namespace app {
namespace {

constexpr double kShortestCutoff = 2.0; // pixels; below it the smoothing grows again
constexpr int kPercent = 100;

/// Width at which sharpness is judged, in pixels.
int WorkingWidth(const ComposeOptions& options, int width) { return width >> options.Settings.Speed; }

/// The least percentage of a width that is kShortestCutoff.
std::string LeastSetting(int width) {
    const int least = (2 * kPercent + width - 1) / width;
    return least > kPercent ? "0" : "0 or at least " + std::to_string(least);
}

/// Warns of a cutoff of `percent` of `width` that lies below two pixels. The weight of the smoothing goes with
/// 1 / sin(pi / cutoff): without bounds where the cutoff is 1, 1/2, 1/3 ... of a pixel.
void WarnOfCutoff(const char* option, int percent, int width, std::vector<std::string>& warnings) {
    const double cutoff = static_cast<double>(percent) * width / kPercent;
    if (percent == 0 || width < 1 || cutoff >= kShortestCutoff) return;
    std::array<char, 160> text;
    const int length = std::snprintf(text.data(), text.size(),
                                     "%s %d is a cutoff of %.2f pixels here; below 2 pixels it smooths more, not less, "
                                     "and may take all detail away, expected ",
                                     option, percent, cutoff);
    warnings.push_back(std::string(text.data(), static_cast<std::size_t>(length)) + LeastSetting(width));
}

void WarnOfCutSamples(const ComposeOptions& options, const KyiImageData& frame, int processors,
                      std::vector<std::string>& warnings) {
    constexpr int kWidthOf3d = 512; // wider frames are reduced to it
    const KyfAlgorithmType mode = options.Settings.AlgType;
    const bool isReduced3d = mode != KyfAlgorithmType2DSelection && frame.Width > kWidthOf3d;
    const bool isReduced2d = mode != KyfAlgorithmType3DSafe && options.Settings.Speed != 0;
    if ((!isReduced2d && !isReduced3d) || KyiGetMaxVal(frame.Format) <= UINT8_MAX) return;
    const std::string speed = isReduced3d ? std::string("--mode ") + ModeName(mode)
                                          : std::string("--speed ") + kSpeedNames[options.Settings.Speed];
    const std::string other = isReduced3d ? "--mode 2d --speed full" : "--speed full";
    const std::string tail = " judges 16-bit frames by samples cut at 255, which spoils the result, expected ";
    if (processors < 2)
        warnings.push_back(speed + " on one processor" + tail + other);
    else if (options.NoParallel)
        warnings.push_back(speed + " with --no-parallel" + tail + "--threads 1 in the place of --no-parallel");
}

/// The height at a frame number between 0 and the last one.
double HeightAt(const std::vector<double>& heights, double position) {
    const auto before = static_cast<std::size_t>(position);
    if (before + 1 >= heights.size()) return heights.back();
    return heights[before] + (heights[before + 1] - heights[before]) * (position - static_cast<double>(before));
}

std::string DescribePlane(KyfPlaneType plane, double level, double filled) {
    const bool isBottom = plane == KyfPlaneTypeBottom;
    const char* const name = isBottom ? "bottom" : "top";
    std::array<char, 320> text;
    const int length = std::snprintf(
        text.data(), text.size(),
        "--plane %s fills wide areas without detail with a height of about %g here, not with that of the %s, %g: it is "
        "for heights that start at 0 and rise%s, expected --plane other",
        name, filled, name, level, isBottom ? "" : " in steps of at least 1");
    return {text.data(), static_cast<std::size_t>(length)};
}

/// How far areas can be found along an axis: to the first position that is tried, and before the last one of the
/// coarsest steps.
struct AreaReach {
    int Least;
    int Greatest;
};

AreaReach ReachOf(int length) {
    constexpr int kCoarsestStep = 8; // pixels; the finer steps add up to one less
    const double used = length * 0.8;
    const int middle = static_cast<int>(used * 0.4 * 0.5) - static_cast<int>(used * 0.2 * 0.5); // nothing moves
    const int last = std::min(std::max((2 * middle - 1) / kCoarsestStep, 1) * kCoarsestStep - 1, 2 * middle - 2);
    return {-middle, last - middle};
}

bool IsAtEnd(int shift, int length) {
    const AreaReach reach = ReachOf(length);
    const int spare = length / kPercent;
    return shift != 0 && (shift <= reach.Least + spare || shift >= reach.Greatest - spare);
}

bool IsWild(double scale) {
    constexpr double kMost = 0.05; // stacks breathe by a few percent
    return !(std::abs(scale - 1.0) <= kMost);
}

/// The first frame after the first one whose move is a bad one, and how many there are.
template <typename IsBad>
std::string DescribeMoves(const Summary& summary, const std::string& tail, const IsBad& isBad) {
    std::size_t first = 0;
    std::size_t count = 0;
    for (std::size_t i = 1; i < summary.Moves2d.size(); ++i) {
        if (!isBad(summary.Moves2d[i])) continue;
        if (count++ == 0) first = i;
    }
    if (count == 0) return "";
    const FrameMove& move = summary.Moves2d[first];
    std::array<char, 160> text;
    const int length = std::snprintf(text.data(), text.size(),
                                     ": --align auto has moved it by %d, %d pixels and "
                                     "magnified it by %.3g",
                                     move.X, move.Y, move.ScaleX);
    const std::string others = count > 1 ? " (and " + std::to_string(count - 1) + " more)" : "";
    return DisplayPath(summary.Frames[first]) + others + std::string(text.data(), static_cast<std::size_t>(length)) +
           tail;
}

} // namespace

std::vector<std::string> MoveWarnings(const ComposeOptions& options, const Summary& summary) {
    std::vector<std::string> warnings;
    if (options.Settings.ScopeType != 0) return warnings;
    const std::string far = DescribeMoves(
        summary, "; it follows up to 8 % of width and height in all and loses what drifts farther",
        [&](const FrameMove& move) { return IsAtEnd(move.X, summary.Width) || IsAtEnd(move.Y, summary.Height); });
    const std::string wild = DescribeMoves(
        summary, ", as hardly any stack does: are its areas found again? Expected --area-pos at places with detail",
        [](const FrameMove& move) { return IsWild(move.ScaleX) || IsWild(move.ScaleY); });
    for (const std::string& warning : {far, wild})
        if (!warning.empty()) warnings.push_back(warning);
    return warnings;
}

std::vector<std::string> PlaneWarnings(const ComposeOptions& options, const std::vector<double>& heights) {
    const KyfPlaneType plane = options.Settings.PlaneType;
    const bool hasLevel = plane == KyfPlaneTypeBottom || plane == KyfPlaneTypeTop;
    if (options.Settings.AlgType == KyfAlgorithmType2DSelection || !hasLevel || heights.size() < 2) return {};
    const auto [least, greatest] = std::minmax_element(heights.begin(), heights.end());
    const double level = plane == KyfPlaneTypeBottom ? *least : *greatest;
    const auto last = static_cast<double>(heights.size() - 1);
    const double filled = HeightAt(heights, std::clamp(level, 0.0, last)); // the library takes it for a frame number
    if (std::abs(filled - level) <= (*greatest - *least) / last / 2) return {};
    return {DescribePlane(plane, level, filled)};
}

std::vector<std::string> SettingWarnings(const ComposeOptions& options, const KyiImageData& frame, int processors) {
    std::vector<std::string> warnings;
    WarnOfCutSamples(options, frame, processors, warnings);
    const KyfAlgorithmType mode = options.Settings.AlgType;
    const bool isGpuAsked = options.Gpu == GpuChoice::Cuda || options.Gpu == GpuChoice::OpenCl;
    if (isGpuAsked && SpoilsOnGpu(options.Settings, frame))
        warnings.emplace_back(
            "--gpu judges single bytes of 16-bit frames, and finds nothing in focus with --scope 2 and "
            "3, which spoils the result, expected --gpu auto or --no-gpu");
    if (isGpuAsked && IsJudgedByBlue(options, frame))
        warnings.emplace_back("--gpu judges colour by its blue alone in one thread, expected --gpu auto, --no-gpu or "
                              "--threads 1 in the place of --no-parallel");
    if (mode != KyfAlgorithmType3DSafe)
        WarnOfCutoff("--comp-size", options.Settings.CompSize, WorkingWidth(options, frame.Width), warnings);
    if (mode == KyfAlgorithmType2DSelection && options.WantsHeights())
        WarnOfCutoff("--smoothing", options.Settings.Smoothing, frame.Width, warnings);
    if (mode == KyfAlgorithmTypeComplexProcessing && options.IsGiven("--smoothing"))
        warnings.emplace_back("--smoothing does nothing in --mode complex, whose heights are those of 3d, expected "
                              "--shape-smoothing");
    return warnings;
}

} // namespace app
