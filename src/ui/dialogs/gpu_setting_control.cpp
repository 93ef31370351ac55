#include <kyfocus/ui/gpu_setting_control.h>

#include <map>

#include <QBoxLayout>
#include <QKeyEvent>

#include "ui/dialogs/widgets.h"
#include "ui/resources/resources.h"
#include "ui/rules/gpu_rules.h"

using namespace kyfui;

namespace {

/// A label as wide as the widest name, so that the window does not jump from one to the other. The names are those of
/// the language that it was made in.
class NameLabel : public QLabel {
  public:
    explicit NameLabel(QWidget* parent) : QLabel(parent), m_caption(AccessibleName(kIdProcessorText)) {
        Describe(*this, kIdProcessorText);
        for (const int id : {kIdCudaName, kIdOpenClName, kIdNoGpuName}) m_names[id] = Text(id);
    }
    void Show(int id) {
        const auto found = m_names.find(id);
        setText(found != m_names.end() ? found->second : Text(id));
        setAccessibleName(m_caption + QStringLiteral(": ") + text());
    }
    QSize sizeHint() const override { return Widened(QLabel::sizeHint()); }
    QSize minimumSizeHint() const override { return Widened(QLabel::minimumSizeHint()); }

  private:
    QSize Widened(QSize hint) const {
        for (const auto& [id, name] : m_names) hint.setWidth(qMax(hint.width(), fontMetrics().horizontalAdvance(name)));
        return hint;
    }

    QString m_caption; ///< for screen readers
    std::map<int, QString> m_names;
};

} // namespace

struct CKyfFocusCompGpuSettingControl::Insides {
    GpuPanel Panel;
    NameLabel* Name = nullptr; ///< null before the controls are made
    QCheckBox* Disable = nullptr;
};

CKyfFocusCompGpuSettingControl::CKyfFocusCompGpuSettingControl() : m_insides(std::make_unique<Insides>()) {}

CKyfFocusCompGpuSettingControl::~CKyfFocusCompGpuSettingControl() = default;

KyiBool CKyfFocusCompGpuSettingControl::Create(QWidget* parent) {
    if (m_insides->Name != nullptr) return 0;
    if (parent != nullptr) setParent(parent);
    UseLanguageFont(*this);
    Describe(*this, kIdGpuPanel);
    auto* const margins = new QVBoxLayout(this);
    QGroupBox* const frame = MakeGroup(kIdGpuPanel, this);
    margins->addWidget(frame);
    auto* const rows = new QVBoxLayout(frame);
    m_insides->Name = new NameLabel(frame);
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
    m_insides->Name->Show(controls.TextId);
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
