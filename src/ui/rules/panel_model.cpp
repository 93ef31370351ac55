#include "ui/rules/panel_model.h"

namespace kyfui {

PanelModel::PanelModel() : m_controls(ControlsFromSetting(m_setting)) {}

void PanelModel::SetData(const CKyfFocusCompositionSetting& setting) {
    m_setting = setting;
    m_controls = ControlsFromSetting(m_setting);
}

ControlState PanelModel::StateOf(int id) const {
    const auto found = m_states.find(id);
    return found != m_states.end() ? found->second : ControlState{true, true};
}

void PanelModel::Show() {
    const PanelSituation situation = {.AutoPositioningDisabled = m_autoPositioningDisabled,
                                      .ScopeType = m_setting.GetMicroscopeType(),
                                      .AutoPositionCheck = m_controls.AutoPositionCheck,
                                      .AlgorithmRadio = m_controls.AlgorithmRadio,
                                      .CompParamSetType = m_setting.Get2DSelectionFocusCompositionMode()};
    for (const int id : kPanelControls) m_states[id] = StateOfPanelControl(id, situation);
    View();
}

void PanelModel::ClickAlgorithm(std::int32_t radio) {
    m_controls.AlgorithmRadio = radio;
    Write();
    Show();
    if (m_delegate != nullptr) m_delegate->OnChangedAlgType(m_controls.AlgorithmRadio);
}

void PanelModel::ClickComplex(bool on) {
    m_controls.ComplexCheck = on ? 1 : 0;
    Write();
    View();
}

void PanelModel::ClickParameterSet(std::int32_t radio) {
    m_controls.ParameterSetRadio = radio;
    Write();
    Show();
}

void PanelModel::ClickPlane(std::int32_t radio) {
    m_controls.PlaneRadio = radio;
    Write();
    View();
}

void PanelModel::ClickAutoPosition(bool on) {
    m_controls.AutoPositionCheck = on ? 1 : 0;
    Write();
    Show();
}

void PanelModel::SelectSpeed(std::int32_t index) {
    m_controls.SpeedIndex = index;
    Write();
    View();
}

void PanelModel::TakeManual(const Preset& values) {
    m_setting.SetCompSize(values.CompSize);
    m_setting.SetSmoothing(values.Smoothing);
}

void PanelModel::TakeDetail(const DetailValues& values) { WriteDetail(values, m_setting); }

void PanelModel::TakeAreas(const Areas& areas) { WriteAreas(areas, m_setting); }

} // namespace kyfui
