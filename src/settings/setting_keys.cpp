#include "settings/setting_keys.h"

namespace kyf {

namespace {

using Parameter = KyfFocusCompositionParameter;

template <std::int32_t Parameter::*Member> std::int32_t& Field(Parameter& parameter) { return parameter.*Member; }
template <int Index> std::int32_t& AreaX(Parameter& parameter) { return parameter.AreaPos[Index].x; }
template <int Index> std::int32_t& AreaY(Parameter& parameter) { return parameter.AreaPos[Index].y; }

constexpr SettingKey kKeys[] = {
    {L"AlgType", Field<&Parameter::AlgType>, false},
    {L"ScopeType", Field<&Parameter::ScopeType>, false},
    {L"CompositionSize", Field<&Parameter::CompSize>, false},
    {L"Smoothing", Field<&Parameter::Smoothing>, false},
    {L"AutoPos", Field<&Parameter::AutoPos>, false},
    {L"Speed", Field<&Parameter::Speed>, false},
    {L"AreaNo", Field<&Parameter::AreaNo>, false},
    {L"AreaPosX0", AreaX<0>, false},
    {L"AreaPosY0", AreaY<0>, false},
    {L"AreaPosX1", AreaX<1>, false},
    {L"AreaPosY1", AreaY<1>, false},
    {L"AreaPosX2", AreaX<2>, false},
    {L"AreaPosY2", AreaY<2>, false},
    {L"AreaPosX3", AreaX<3>, false},
    {L"AreaPosY3", AreaY<3>, false},
    {L"PlaneType", Field<&Parameter::PlaneType>, false},
    {L"MatchingDetect", Field<&Parameter::MatchingDetectType>, false},
    {L"MatchingPos", Field<&Parameter::MatchingPositionType>, false},
    {L"CompParamSetType", Field<&Parameter::CompParamSetType>, false},
    {L"HalationMeasures", Field<&Parameter::HalationMeasures>, true},
    {L"AdoptionPeakPos", Field<&Parameter::AdoptionPeakPosition>, false},
    {L"FocusingValueDetectionSensitivity", Field<&Parameter::FocusingValueDetectionSensitivity>, false},
    {L"D3ShapeSmoothing", Field<&Parameter::D3ShapeSmoothing>, false},
    {L"ProjectionNoiseRemove", Field<&Parameter::ProjectionNoiseRemove>, false},
    {L"DisableGPU", Field<&Parameter::DisableGPU>, true},
};

} // namespace

std::span<const SettingKey> SettingKeys() noexcept { return kKeys; }

} // namespace kyf
