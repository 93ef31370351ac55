#include "align_options.h"

#include <algorithm>
#include <sstream>

#include "compose_mode.h"
#include "compose_options.h"
#include "errors.h"
#include "frame_move.h"
#include "option_kinds.h"

namespace app {
namespace {

constexpr int kFewestAreas = 2;
constexpr int kMostAreas = 4;
constexpr int kMostPercent = 100;

const char* AlignName(Align align) {
    switch (align) {
    case Align::None: return "none";
    case Align::Auto: return "auto";
    case Align::Lines: return "lines";
    default: return "lines-multi";
    }
}

bool IsPercent(const std::string& text, int& percent) {
    return CLI::detail::lexical_cast(text, percent) && percent >= 0 && percent <= kMostPercent;
}

/// "x,y;x,y": nothing when the text is no such list.
std::vector<KyPoint> ParsePlaces(const std::string& text) {
    std::vector<KyPoint> places;
    std::istringstream list(text);
    for (std::string pair; std::getline(list, pair, ';');) {
        const std::size_t comma = pair.find(',');
        KyPoint place{};
        if (comma == std::string::npos || !IsPercent(pair.substr(0, comma), place.x) ||
            !IsPercent(pair.substr(comma + 1), place.y))
            return {};
        places.push_back(place);
    }
    return places;
}

std::string CheckPlaces(const std::string& text) {
    const std::size_t count = ParsePlaces(text).size();
    if (count >= kFewestAreas && count <= kMostAreas && text.back() != ';') return "";
    return "'" + text + "' is not a list of two to four places 'x,y;x,y', each number a percentage from 0 to 100";
}

[[noreturn]] void RequireScope(const ComposeOptions& options, const char* expected) {
    const std::string scope = std::to_string(options.Settings.ScopeType);
    throw UsageError(std::string("--align ") + AlignName(*options.Align.Method) + " and " +
                     (options.IsGiven("--scope") ? "--scope " + scope : "the ScopeType " + scope + " of --params") +
                     " contradict each other, expected --scope " + expected);
}

/// A scope of the line stands. One of a file, or none, becomes the one that goes with the method, as long as sharpness
/// is judged as before: edges do not take the place of brightness, wherever the scope comes from.
void ApplyMethod(ComposeOptions& options) {
    KyfFocusCompositionParameter& settings = options.Settings;
    const Align method = *options.Align.Method;
    const bool isBrightness = settings.ScopeType >= 2;
    const bool isLines = method == Align::Lines || method == Align::LinesMulti;
    const int scope = (isBrightness ? 2 : 0) + (isLines ? 1 : 0);
    const bool isOfLine = options.IsGiven("--scope");
    if (method == Align::Auto && (isBrightness || (isOfLine && settings.ScopeType != 0))) RequireScope(options, "0");
    if (isOfLine && settings.ScopeType != scope) RequireScope(options, isLines ? "1 or 3" : "0 or 2");
    settings.ScopeType = scope;
    settings.AutoPos = method == Align::Auto ? 1 : 0;
    if (isLines) settings.MatchingDetectType = method == Align::Lines ? 1 : 0;
}

void RequireAreas(const ComposeOptions& options, const char* option) {
    if (!options.IsGiven(option)) return;
    const KyfFocusCompositionParameter& settings = options.Settings;
    if (settings.ScopeType != 0 || settings.AutoPos == 0)
        throw UsageError(
            std::string(option) + " is for --align auto" +
            (options.Align.Method ? std::string(", not --align ") + AlignName(*options.Align.Method) : ""));
    if (settings.AlgType == KyfAlgorithmType3DSafe)
        throw UsageError(std::string(option) + " is for --mode 2d and complex, the mode is 3d");
}

void ApplyAreas(ComposeOptions& options) {
    RequireAreas(options, "--areas");
    RequireAreas(options, "--area-pos");
    const AlignOptions& align = options.Align;
    const auto places = static_cast<int>(align.Places.size());
    if (align.Areas != 0 && places != 0 && align.Areas != places)
        throw UsageError("--areas " + std::to_string(align.Areas) + " and --area-pos with " + std::to_string(places) +
                         " places contradict each other");
    const int areas = align.Areas != 0 ? align.Areas : places;
    if (areas != 0) options.Settings.AreaNo = areas - kFewestAreas;
    std::copy(align.Places.begin(), align.Places.end(), options.Settings.AreaPos);
}

bool IsSamePlace(KyPoint a, KyPoint b) { return a.x == b.x && a.y == b.y; }

/// Magnification is measured by the distances between the areas: without any there is no picture.
void RequireDistance(const KyfFocusCompositionParameter& settings) {
    if (settings.ScopeType != 0 || settings.AutoPos == 0 || settings.AlgType == KyfAlgorithmType3DSafe) return;
    const int areas = std::clamp(settings.AreaNo + kFewestAreas, kFewestAreas, kMostAreas);
    const KyPoint first = settings.AreaPos[0];
    if (!std::all_of(settings.AreaPos, settings.AreaPos + areas,
                     [&](KyPoint place) { return IsSamePlace(place, first); }))
        return;
    throw UsageError("--area-pos: all " + std::to_string(areas) + " template areas lie at " + std::to_string(first.x) +
                     "," + std::to_string(first.y) + ", expected places apart from each other");
}

} // namespace

void AddAlignOptions(CLI::App& command, ComposeOptions& options, const std::string& group) {
    AlignOptions& align = options.Align;
    AddChoice<Align>(
        command, "--align",
        {{"none", Align::None}, {"auto", Align::Auto}, {"lines", Align::Lines}, {"lines-multi", Align::LinesMulti}},
        [&align](const Align& method) { align.Method = method; },
        "Line frames up that have drifted. auto finds template areas again, for shift and magnification, as long as "
        "the drift stays within 8 % of width and height in all; it moves by whole pixels from frame to frame, so that "
        "slower drift and breathing stay. The heights of 3d and complex follow shifts by whole pixels. lines compares "
        "a band of rows in the middle and moves frames "
        "sideways, lines-multi takes five bands, for periodic patterns. Default none, or what --scope says.")
        ->option_text("NAME")
        ->group(group);
    AddInteger(command, "--areas", align.Areas, kFewestAreas, kMostAreas,
               "Template areas of --align auto: 2, 3 or 4. Default 2, or as many as there are places.")
        ->option_text("COUNT")
        ->group(group);
    command
        .add_option_function<std::string>(
            "--area-pos", [&align](const std::string& text) { align.Places = ParsePlaces(text); },
            "Centres of the template areas in whole percent, 0 to 100, from the top left, such as '50,25;75,50': 0 "
            "lies at 10 % of width or height, 100 at 90 %. They must not all be one place. Default "
            "'50,25;75,50;50,75;25,50', from the first on.")
        ->check(CheckPlaces)
        ->option_text("X,Y;...")
        ->group(group);
    command
        .add_flag("--keep-border", align.KeepBorder,
                  "Keep the frames' size. By default the result of frames that are lined up is cut to what all of them "
                  "cover; in 3d and complex with --align auto by 32 pixels more on every side.")
        ->group(group);
}

void CompleteAlignOptions(ComposeOptions& options) {
    if (options.Align.Method) ApplyMethod(options);
    ApplyAreas(options);
    RequireDistance(options.Settings);
    if (options.Align.KeepBorder && !LinesFramesUp(options.Settings))
        throw UsageError(std::string("--keep-border is for frames that are lined up, expected --align auto, lines or "
                                     "lines-multi") +
                         (options.Align.Method ? ", not --align none" : ""));
}

} // namespace app
