/// Rules of the parameter panel: control values from a setting and back, what is shown and what can be clicked.
///
/// Uses the public settings and the numbers of the controls. Tests nothing: any number in a setting gives a state.
#ifndef KYFOCUS_UI_RULES_PANEL_RULES_H
#define KYFOCUS_UI_RULES_PANEL_RULES_H

#include <array>
#include <cstdint>

#include <kyfocus/composition_setting.h>

#include "ui/resources/text_ids.h"

namespace kyfui {

/// Values of the controls. An index that no control stands for shows as none chosen and stays until the user chooses.
struct PanelControls {
    std::int32_t SpeedIndex;
    std::int32_t AlgorithmRadio;    ///< 0 or 1
    std::int32_t ComplexCheck;      ///< 0 or 1
    std::int32_t ParameterSetRadio; ///< 0 to 3
    std::int32_t PlaneRadio;        ///< 0 to 2
    std::int32_t AutoPositionCheck; ///< 0, or on: other numbers than 1 stay until the check is clicked
    bool operator==(const PanelControls&) const = default;
};

/// AlgType 2 is algorithm 0 with the complex check on.
PanelControls ControlsFromSetting(const CKyfFocusCompositionSetting& setting);

/// The complex check wins over the algorithm. A parameter set with values of its own puts them into CompSize and
/// Smoothing; the others leave both as they are.
void WriteControls(const PanelControls& controls, CKyfFocusCompositionSetting& setting);

/// All controls that the state rules speak of.
inline constexpr std::array<int, 18> kPanelControls = {
    kIdAlgorithm2D,      kIdAlgorithm3D,  kIdSetFine,           kIdSetMedium,  kIdSetCoarse,         kIdSetManual,
    kIdManualButton,     kIdPlaneBottom,  kIdPlaneTop,          kIdPlaneOther, kIdPlaneBottomButton, kIdPlaneTopButton,
    kIdPlaneOtherButton, kIdAutoPosition, kIdPositioningButton, kIdSpeed,      kIdDetailButton,      kIdComplex};

/// What the state rules go by.
struct PanelSituation {
    std::int32_t AutoPositioningDisabled; ///< the host's switch
    std::int32_t ScopeType;
    std::int32_t AutoPositionCheck;
    std::int32_t AlgorithmRadio;
    std::int32_t CompParamSetType; ///< of the setting
};

struct ControlState {
    bool Visible;
    bool Enabled;
    bool operator==(const ControlState&) const = default;
};

/// State of one control; a number that is none of kPanelControls is visible and enabled.
ControlState StateOfPanelControl(int id, const PanelSituation& situation);

} // namespace kyfui

#endif
