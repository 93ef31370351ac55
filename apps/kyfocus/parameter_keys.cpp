#include "parameter_keys.h"

#include <limits>

namespace app {
namespace {

using Parameter = KyfFocusCompositionParameter;
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kMostPercent = 100;
constexpr std::int32_t kMostDegree = 10;

template <std::int32_t Parameter::*Member> std::int32_t& Field(Parameter& parameter) { return parameter.*Member; }
template <int Area> std::int32_t& AreaX(Parameter& parameter) { return parameter.AreaPos[Area].x; }
template <int Area> std::int32_t& AreaY(Parameter& parameter) { return parameter.AreaPos[Area].y; }

using FieldOf = std::int32_t& (*)(Parameter&);
using Choices = std::array<const char*, 4>;

constexpr ParameterKey Number(const char* name, FieldOf field, std::int32_t least, std::int32_t most,
                              const char* subject, const char* option) {
    return {name, field, least, most, subject, {}, option};
}

constexpr ParameterKey AnyNumber(const char* name, FieldOf field, const char* subject, const char* option) {
    return Number(name, field, kLeast, kMost, subject, option);
}

constexpr std::int32_t CountOf(const Choices& choices) {
    std::int32_t count = 0;
    for (const char* choice : choices) count += choice != nullptr ? 1 : 0;
    return count;
}

constexpr ParameterKey Choice(const char* name, FieldOf field, const char* subject, const Choices& choices,
                              const char* option) {
    return {name, field, 0, CountOf(choices) - 1, subject, choices, option};
}

/// Every number that is none of the first choices stands for the last one.
constexpr ParameterKey OpenChoice(const char* name, FieldOf field, const char* subject, const Choices& choices,
                                  const char* option) {
    return {name, field, kLeast, kMost, subject, choices, option};
}

constexpr ParameterKey Percent(const char* name, FieldOf field, const char* subject, const char* option) {
    return Number(name, field, 0, kMostPercent, subject, option);
}

constexpr const char* kFromLeft = "centre of a template area from the left: 0 lies at 10 % of the width, 100 at 90 %";
constexpr const char* kFromTop = "centre of a template area from the top: 0 lies at 10 % of the height, 100 at 90 %";

constexpr ParameterKey kKeys[] = {
    Choice("AlgType", Field<&Parameter::AlgType>, "mode",
           {"2d, the sharpest frame pixel by pixel", "3d, a surface first and the image along it",
            "complex, the image of 2d and the heights of 3d"},
           "--mode"),
    Choice("ScopeType", Field<&Parameter::ScopeType>, "instrument",
           {"judges by edges", "judges by edges, lines frames up by their rows", "judges gray frames by brightness",
            "judges gray frames by brightness, lines frames up by their rows"},
           "--scope"),
    Percent("CompositionSize", Field<&Parameter::CompSize>, "smoothing of the sharpness, in percent of the width",
            "--comp-size"),
    Percent("Smoothing", Field<&Parameter::Smoothing>, "smoothing of the heights of 2d, in percent of the width",
            "--smoothing"),
    AnyNumber("AutoPos", Field<&Parameter::AutoPos>, "lining up by template areas, 0 is off", "--align"),
    Choice("Speed", Field<&Parameter::Speed>, "width at which sharpness is judged",
           {"full", "half; 256 samples in 3d", "quarter; 64 samples in 3d"}, "--speed"),
    Choice("AreaNo", Field<&Parameter::AreaNo>, "template areas", {"2", "3", "4"}, "--areas"),
    Percent("AreaPosX0", AreaX<0>, kFromLeft, "--area-pos"),
    Percent("AreaPosY0", AreaY<0>, kFromTop, "--area-pos"),
    Percent("AreaPosX1", AreaX<1>, kFromLeft, "--area-pos"),
    Percent("AreaPosY1", AreaY<1>, kFromTop, "--area-pos"),
    Percent("AreaPosX2", AreaX<2>, kFromLeft, "--area-pos"),
    Percent("AreaPosY2", AreaY<2>, kFromTop, "--area-pos"),
    Percent("AreaPosX3", AreaX<3>, kFromLeft, "--area-pos"),
    Percent("AreaPosY3", AreaY<3>, kFromTop, "--area-pos"),
    OpenChoice("PlaneType", Field<&Parameter::PlaneType>, "level of areas without detail", {"bottom", "top", "other"},
               "--plane"),
    Choice("MatchingDetect", Field<&Parameter::MatchingDetectType>, "lining up by rows",
           {"in several bands", "in one band"}, "--align"),
    AnyNumber("MatchingPos", Field<&Parameter::MatchingPositionType>, "kept, without effect", nullptr),
    AnyNumber("CompParamSetType", Field<&Parameter::CompParamSetType>,
              "preset that a panel shows: 0 fine, 1 standard, 2 coarse, 3 none", nullptr),
    Choice("HalationMeasures", Field<&Parameter::HalationMeasures>, "heights around highlights",
           {"trusted", "done without"}, "--halation"),
    OpenChoice("AdoptionPeakPos", Field<&Parameter::AdoptionPeakPosition>, "of several heights",
               {"the sharpest, none where two are much alike", "the uppermost", "the sharpest"}, "--adopt-top"),
    Number("FocusingValueDetectionSensitivity", Field<&Parameter::FocusingValueDetectionSensitivity>, 0, kMostDegree,
           "how faint a detail may be to give a height", "--sensitivity"),
    Number("D3ShapeSmoothing", Field<&Parameter::D3ShapeSmoothing>, 0, kMostDegree, "smoothing of the surface of 3d",
           "--shape-smoothing"),
    Number("ProjectionNoiseRemove", Field<&Parameter::ProjectionNoiseRemove>, 0, kMostDegree,
           "how often single wrong heights of 3d are taken away", "--noise-remove"),
    Choice("DisableGPU", Field<&Parameter::DisableGPU>, "graphics processor", {"used where there is one", "left alone"},
           "--gpu"),
};

const char* ChoiceOf(const Choices& choices, std::int32_t value) {
    const std::int32_t last = CountOf(choices) - 1;
    return choices[static_cast<std::size_t>(value >= 0 && value < last ? value : last)];
}

} // namespace

std::string ParameterKey::Range() const { return std::to_string(Least) + " to " + std::to_string(Most); }

std::string ParameterKey::Meaning(std::int32_t value) const {
    std::string text = Subject;
    if (!IsInRange(value))
        text += ": no such value, expected " + Range();
    else if (Choices[0])
        text.append(": ").append(ChoiceOf(Choices, value));
    return Option ? text + " (" + Option + ")" : text;
}

std::span<const ParameterKey> ParameterKeys() { return kKeys; }

} // namespace app
