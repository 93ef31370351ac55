#include "align_options.h"

#include <algorithm>
#include <sstream>

#include "compose_mode.h"
#include "compose_options.h"
#include "errors.h"
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

void RequireScope(const ComposeOptions& options, const char* expected) {
    throw UsageError(std::string("--align ") + AlignName(*options.Align.Method) + " and --scope " +
                     std::to_string(options.Settings.ScopeType) + " contradict each other, expected --scope " +
                     expected);
}

/// A scope of the line stands; one of a file, or none, becomes the one that goes with the method.
void ApplyMethod(ComposeOptions& options) {
    KyfFocusCompositionParameter& settings = options.Settings;
    const Align method = *options.Align.Method;
    const bool isBrightness = settings.ScopeType >= 2;
    const bool isLines = method == Align::Lines || method == Align::LinesMulti;
    const int scope = (isBrightness ? 2 : 0) + (isLines ? 1 : 0);
    if (method == Align::Auto && settings.ScopeType != 0 && options.IsGiven("--scope")) RequireScope(options, "0");
    if (settings.ScopeType != scope && options.IsGiven("--scope")) RequireScope(options, isLines ? "1 or 3" : "0 or 2");
    settings.ScopeType = method == Align::Auto ? 0 : scope;
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

} // namespace

void AddAlignOptions(CLI::App& command, ComposeOptions& options, const std::string& group) {
    AlignOptions& align = options.Align;
    AddChoice<Align>(
        command, "--align",
        {{"none", Align::None}, {"auto", Align::Auto}, {"lines", Align::Lines}, {"lines-multi", Align::LinesMulti}},
        [&align](const Align& method) { align.Method = method; },
        "Line frames up that have drifted. auto finds template areas again, for shift and magnification; the heights "
        "of 3d and complex follow shifts by whole pixels. lines compares a band of rows in the middle and moves frames "
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
            "Centres of the template areas, in whole percent of width and height from the top left, such as "
            "'50,25;75,50'. Default '50,25;75,50;50,75;25,50', from the first on.")
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
    if (options.Align.KeepBorder && !LinesFramesUp(options.Settings))
        throw UsageError(std::string("--keep-border is for frames that are lined up, expected --align auto, lines or "
                                     "lines-multi") +
                         (options.Align.Method ? ", not --align none" : ""));
}

bool LinesFramesUp(const KyfFocusCompositionParameter& settings) {
    return settings.ScopeType == 1 || settings.ScopeType == 3 || (settings.ScopeType == 0 && settings.AutoPos != 0);
}

} // namespace app
