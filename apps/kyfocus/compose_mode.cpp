#include "compose_mode.h"

#include <algorithm>
#include <array>
#include <string>

#include "errors.h"

namespace app {
namespace {

/// An option that not every mode takes.
struct ModeOption {
    const char* Name;
    bool Fits2d;
    bool Fits3d;
    bool FitsComplex;

    bool Fits(KyfAlgorithmType mode) const {
        return mode == KyfAlgorithmType2DSelection ? Fits2d : mode == KyfAlgorithmType3DSafe ? Fits3d : FitsComplex;
    }
    std::string ModeNames() const {
        std::string names;
        if (Fits2d) names = "2d";
        if (Fits3d) names = "3d";
        if (FitsComplex) names += " and complex";
        return names;
    }
};

constexpr std::array<ModeOption, 13> kModeOptions = {{{"--comp-size", true, false, true},
                                                      {"--preset", true, false, true},
                                                      {"--smoothing", true, false, true},
                                                      {"--plane", false, true, true},
                                                      {"--halation", false, true, true},
                                                      {"--no-halation", false, true, true},
                                                      {"--adopt-top", false, true, true},
                                                      {"--no-adopt-top", false, true, true},
                                                      {"--sensitivity", false, true, true},
                                                      {"--noise-remove", false, true, true},
                                                      {"--shape-smoothing", false, true, true},
                                                      {"--temp", false, true, true},
                                                      {"--differentiation-map", true, false, false}}};

bool Asks3d(const ComposeOptions& options) {
    return std::any_of(kModeOptions.begin(), kModeOptions.end(),
                       [&](const ModeOption& option) { return !option.Fits2d && options.IsGiven(option.Name); });
}

void RequireFitting(const ComposeOptions& options) {
    const KyfAlgorithmType mode = options.Settings.AlgType;
    for (const ModeOption& option : kModeOptions) {
        if (option.Fits(mode) || !options.IsGiven(option.Name)) continue;
        const std::string reason = options.IsGiven("--mode") ? ""
                                   : options.HasModeOfFile   ? " (by the file of --params)"
                                   : options.HasHeights()    ? " (heights are given)"
                                                             : " (no heights are given)";
        throw UsageError(std::string(option.Name) + " is for --mode " + option.ModeNames() + ", the mode is " +
                         ModeName(mode) + reason);
    }
}

} // namespace

const char* ModeName(KyfAlgorithmType mode) {
    switch (mode) {
    case KyfAlgorithmType2DSelection: return "2d";
    case KyfAlgorithmType3DSafe: return "3d";
    default: return "complex";
    }
}

void ChooseMode(ComposeOptions& options) {
    KyfAlgorithmType& mode = options.Settings.AlgType;
    if (!options.IsGiven("--mode") && !options.HasModeOfFile) {
        const bool usesHeights = options.HasHeights() && (options.WantsHeights() || Asks3d(options));
        const bool needs2d = !options.DifferentiationMapOutput.empty(); // the only mode that makes one
        mode = usesHeights && !needs2d ? KyfAlgorithmTypeComplexProcessing : KyfAlgorithmType2DSelection;
    }
    RequireFitting(options);
    if (mode != KyfAlgorithmType2DSelection && !options.HasHeights())
        throw UsageError(std::string("--mode ") + ModeName(mode) +
                         " needs the frames' heights: give --heights, or --start and --step");
}

} // namespace app
