#include <kyfocus/ui/gpu_setting_control.h>

#include <map>

#include <QBoxLayout>
#include <QKeyEvent>

#include "ui/dialogs/widgets.h"
#include "ui/resources/resources.h"
#include "ui/rules/gpu_rules.h"

using namespace kyfui;

struct CKyfFocusCompGpuSettingControl::Insides {
    /// The name in the language that the panel was made in.
    QString NameOf(int id) const {
        const auto found = Names.find(id);
        return found != Names.end() ? found->second : Text(id);
    }

    GpuPanel Panel;
    std::map<int, QString> Names;
    QString Caption;        ///< of the name, for screen readers
    QLabel* Name = nullptr; ///< null before the controls are made
    QCheckBox* Disable = nullptr;
};

namespace {

/// As wide as the widest name, so that the window does not jump from one to the other.
int WidestName(const QLabel& label, const std::map<int, QString>& names) {
    int width = 0;
    for (const auto& [id, name] : names) width = qMax(width, label.fontMetrics().horizontalAdvance(name));
    return width;
}

} // namespace

CKyfFocusCompGpuSettingControl::CKyfFocusCompGpuSettingControl() : m_insides(std::make_unique<Insides>()) {}

CKyfFocusCompGpuSettingControl::~CKyfFocusCompGpuSettingControl() = default;

KyiBool CKyfFocusCompGpuSettingControl::Create(QWidget* parent) {
    if (m_insides->Name != nullptr) return 0;
    if (parent != nullptr) setParent(parent);
    Describe(*this, kIdGpuPanel);
    auto* const margins = new QVBoxLayout(this);
    QGroupBox* const frame = MakeGroup(kIdGpuPanel, this);
    margins->addWidget(frame);
    auto* const rows = new QVBoxLayout(frame);
    m_insides->Name = new QLabel(frame);
    Describe(*m_insides->Name, kIdProcessorText);
    m_insides->Caption = AccessibleName(kIdProcessorText);
    for (const int id : {kIdCudaName, kIdOpenClName, kIdNoGpuName}) m_insides->Names[id] = Text(id);
    m_insides->Name->setMinimumWidth(WidestName(*m_insides->Name, m_insides->Names));
    rows->addWidget(m_insides->Name);
    m_insides->Disable = MakeCheck(kIdDisableGpu, frame);
    rows->addWidget(m_insides->Disable);
    rows->addStretch();
    connect(m_insides->Disable, &QCheckBox::clicked, this, [this](bool on) {
        m_insides->Panel.DisableCheck = on ? 1 : 0;
        SetEnableControls();
    });
    OnInitDialog();
    return 1;
}

void CKyfFocusCompGpuSettingControl::SetAlgType(KyfAlgorithmType type) { m_insides->Panel.AlgType = type; }

void CKyfFocusCompGpuSettingControl::SetEnableGPU(int32_t enabled) { m_insides->Panel.GpuEnabled = enabled; }

void CKyfFocusCompGpuSettingControl::SetProcessorNameId(int32_t id) { m_insides->Panel.ProcessorNameId = id; }

void CKyfFocusCompGpuSettingControl::SetDisableGPU(int32_t disable) { m_insides->Panel.DisableCheck = disable; }

int32_t CKyfFocusCompGpuSettingControl::GetDisableGPU() const { return m_insides->Panel.DisableCheck; }

void CKyfFocusCompGpuSettingControl::SetEnableControls() {
    if (m_insides->Name == nullptr) return;
    const GpuControls controls = kyfui::SetEnableControls(m_insides->Panel);
    m_insides->Disable->setEnabled(controls.CheckEnabled);
    m_insides->Disable->setChecked(m_insides->Panel.DisableCheck != 0);
    const QString name = m_insides->NameOf(controls.TextId);
    m_insides->Name->setText(name);
    m_insides->Name->setAccessibleName(m_insides->Caption + QStringLiteral(": ") + name);
}

void CKyfFocusCompGpuSettingControl::OnInitDialog() {
    InitGpuPanel(m_insides->Panel);
    SetEnableControls();
}

void CKyfFocusCompGpuSettingControl::OnOK() {}

void CKyfFocusCompGpuSettingControl::OnCancel() {}

void CKyfFocusCompGpuSettingControl::keyPressEvent(QKeyEvent* event) {
    if (IsEnter(*event)) {
        OnOK();
    } else if (IsEscape(*event)) {
        OnCancel();
    } else {
        QWidget::keyPressEvent(event);
    }
}
