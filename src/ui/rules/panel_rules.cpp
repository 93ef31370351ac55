#include "ui/rules/panel_rules.h"

#include "ui/rules/presets.h"

namespace kyfui {

PanelControls ControlsFromSetting(const CKyfFocusCompositionSetting& setting) {
    const bool complex = setting.GetAlgType() == KyfAlgorithmTypeComplexProcessing;
    return {.SpeedIndex = setting.GetSpeed(),
            .AlgorithmRadio = complex ? KyfAlgorithmType2DSelection : setting.GetAlgType(),
            .ComplexCheck = complex ? 1 : 0,
            .ParameterSetRadio = setting.Get2DSelectionFocusCompositionMode(),
            .PlaneRadio = setting.GetPlaneType(),
            .AutoPositionCheck = setting.GetAutoPos()};
}

void WriteControls(const PanelControls& controls, CKyfFocusCompositionSetting& setting) {
    setting.SetSpeed(controls.SpeedIndex);
    setting.SetAlgType(controls.ComplexCheck != 0 ? KyfAlgorithmTypeComplexProcessing : controls.AlgorithmRadio);
    setting.Set2DSelectionFocusCompositionMode(controls.ParameterSetRadio);
    setting.SetPlaneType(controls.PlaneRadio);
    setting.SetAutoPos(controls.AutoPositionCheck);
    if (const auto preset = PresetOf(controls.ParameterSetRadio)) {
        setting.SetCompSize(preset->CompSize);
        setting.SetSmoothing(preset->Smoothing);
    }
}

ControlState StateOfPanelControl(int id, const PanelSituation& situation) {
    const bool is2D = situation.AlgorithmRadio == 0;
    const bool is3D = situation.AlgorithmRadio == 1;
    const bool mayPosition = situation.AutoPositioningDisabled == 0;
    const bool canPosition = situation.ScopeType == 0; // line matching takes its place on other instruments
    switch (id) {
    case kIdAutoPosition: return {mayPosition, canPosition};
    case kIdPositioningButton: return {mayPosition && is2D, canPosition && situation.AutoPositionCheck != 0};
    case kIdSetFine:
    case kIdSetMedium:
    case kIdSetCoarse:
    case kIdSetManual: return {is2D, true};
    case kIdManualButton: return {is2D, situation.CompParamSetType == 3};
    case kIdPlaneBottom:
    case kIdPlaneTop:
    case kIdPlaneOther:
    case kIdPlaneBottomButton:
    case kIdPlaneTopButton:
    case kIdPlaneOtherButton:
    case kIdDetailButton: return {is3D, true};
    default: return {true, true};
    }
}

} // namespace kyfui
