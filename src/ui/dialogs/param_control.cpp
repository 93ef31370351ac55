#include <kyfocus/ui/param_control.h>

#include <algorithm>

#include <QKeyEvent>

#include "ui/dialogs/dlg_set_2d_selection_param.h"
#include "ui/dialogs/dlg_set_auto_positioning_param.h"
#include "ui/dialogs/dlg_set_detail_param.h"
#include "ui/dialogs/panel_layout.h"
#include "ui/resources/resources.h"
#include "ui/rules/panel_model.h"

using namespace kyfui;

struct CKyfFocusCompParamControl::Insides {
    PanelModel Model;
    std::unique_ptr<PanelLayout> Layout; ///< null before the controls are made
};

CKyfFocusCompParamControl::CKyfFocusCompParamControl() : m_insides(std::make_unique<Insides>()) {}

CKyfFocusCompParamControl::~CKyfFocusCompParamControl() = default;

KyiBool CKyfFocusCompParamControl::CreateControl(QWidget* parent) {
    if (m_insides->Layout) return 0;
    if (parent != nullptr) setParent(parent);
    UseLanguageFont(*this);
    Describe(*this, kIdParameterPanel);
    m_insides->Layout = std::make_unique<PanelLayout>(this);
    Connect();
    OnInitDialog();
    return 1;
}

void CKyfFocusCompParamControl::SetData(const CKyfFocusCompositionSetting& setting) {
    m_insides->Model.SetData(setting);
    if (m_insides->Layout) m_insides->Model.Show();
}

const CKyfFocusCompositionSetting& CKyfFocusCompParamControl::GetData() const { return m_insides->Model.GetData(); }

void CKyfFocusCompParamControl::SetMicroscopeType(KyfScopeType type) {
    m_insides->Model.SetMicroscopeType(type);
    if (m_insides->Layout) m_insides->Model.Show();
}

void CKyfFocusCompParamControl::SetAutoPositioningDisabled(int32_t disabled) {
    m_insides->Model.SetAutoPositioningDisabled(disabled);
}

void CKyfFocusCompParamControl::SetChangedFCDelegate(IChangedFCSettingDelegate* delegate) {
    m_insides->Model.SetDelegate(delegate);
}

void CKyfFocusCompParamControl::OnInitDialog() { m_insides->Model.Show(); }

void CKyfFocusCompParamControl::OnOK() {}

void CKyfFocusCompParamControl::OnCancel() {}

void CKyfFocusCompParamControl::keyPressEvent(QKeyEvent* event) {
    auto* const button = qobject_cast<QAbstractButton*>(focusWidget());
    if (IsEnter(*event) && button != nullptr && !button->isCheckable()) {
        button->click(); // the panel may be gone when its dialog closes
    } else if (IsEnter(*event)) {
        OnOK();
    } else if (IsEscape(*event)) {
        OnCancel();
    } else {
        QWidget::keyPressEvent(event);
    }
}

void CKyfFocusCompParamControl::Connect() {
    const PanelLayout& layout = *m_insides->Layout;
    PanelModel& model = m_insides->Model;
    model.SetView([this] { ShowControls(); });
    // Each click goes to the rules; what they change shows at once, and the delegate hears of it after that.
    const auto onClick = [this](auto* sender, auto signal, auto rule) { connect(sender, signal, this, rule); };
    onClick(layout.Algorithm, &QButtonGroup::idClicked, [&model](int radio) { model.ClickAlgorithm(radio); });
    onClick(layout.Get<QCheckBox>(kIdComplex), &QCheckBox::clicked, [&model](bool on) { model.ClickComplex(on); });
    onClick(layout.ParameterSet, &QButtonGroup::idClicked, [&model](int radio) { model.ClickParameterSet(radio); });
    onClick(layout.Plane, &QButtonGroup::idClicked, [&model](int radio) { model.ClickPlane(radio); });
    onClick(layout.PlanePictures, &QButtonGroup::idClicked, [&model](int radio) { model.ClickPlane(radio); });
    onClick(layout.Get<QCheckBox>(kIdAutoPosition), &QCheckBox::clicked,
            [&model](bool on) { model.ClickAutoPosition(on); });
    onClick(layout.Get<QComboBox>(kIdSpeed), &QComboBox::activated, [&model](int index) { model.SelectSpeed(index); });

    const auto onButton = [this, &layout](int id, void (CKyfFocusCompParamControl::*open)()) {
        connect(layout.Get<QPushButton>(id), &QPushButton::clicked, this, open);
    };
    onButton(kIdManualButton, &CKyfFocusCompParamControl::OpenManualDialog);
    onButton(kIdDetailButton, &CKyfFocusCompParamControl::OpenDetailDialog);
    onButton(kIdPositioningButton, &CKyfFocusCompParamControl::OpenPositioningDialog);
}

void CKyfFocusCompParamControl::ShowControls() {
    const PanelLayout& layout = *m_insides->Layout;
    const PanelControls& controls = m_insides->Model.Controls();
    CheckRadio(*layout.Algorithm, controls.AlgorithmRadio);
    CheckRadio(*layout.ParameterSet, controls.ParameterSetRadio);
    CheckRadio(*layout.Plane, controls.PlaneRadio);
    layout.Get<QCheckBox>(kIdComplex)->setChecked(controls.ComplexCheck != 0);
    layout.Get<QCheckBox>(kIdAutoPosition)->setChecked(controls.AutoPositionCheck != 0);
    auto* const speed = layout.Get<QComboBox>(kIdSpeed);
    speed->setCurrentIndex(controls.SpeedIndex >= 0 && controls.SpeedIndex < speed->count() ? controls.SpeedIndex : -1);

    for (const auto& [id, control] : layout.Controls) {
        const ControlState state = m_insides->Model.StateOf(id);
        control->setVisible(state.Visible);
        control->setEnabled(state.Enabled);
    }
    for (const auto& [frame, ids] : layout.Frames)
        frame->setVisible(std::any_of(ids.begin(), ids.end(), [this](int id) { // while one of its controls is
            return m_insides->Model.StateOf(id).Visible;
        }));
}

void CKyfFocusCompParamControl::OpenManualDialog() {
    RunDialog<CDlgSet2DSelectionParam>(ManualFromSetting(GetData()), this,
                                       [this](const auto& dialog) { m_insides->Model.TakeManual(dialog.Values()); });
}

void CKyfFocusCompParamControl::OpenDetailDialog() {
    RunDialog<CDlgSetDetailParam>(DetailFromSetting(GetData()), this,
                                  [this](const auto& dialog) { m_insides->Model.TakeDetail(dialog.Values()); });
}

void CKyfFocusCompParamControl::OpenPositioningDialog() {
    RunDialog<CDlgSetAutoPositioningParam>(AreasFromSetting(GetData()), this,
                                           [this](const auto& dialog) { m_insides->Model.TakeAreas(dialog.Values()); });
}
