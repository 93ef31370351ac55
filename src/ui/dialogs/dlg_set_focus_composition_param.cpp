#include "ui/dialogs/dlg_set_focus_composition_param.h"

#include <QBoxLayout>

#include "ui/dialogs/widgets.h"
#include "ui/resources/resources.h"

using namespace kyfui;

namespace {

/// The panels keep no margins beyond the dialog's own.
void AddPanel(QBoxLayout& rows, QWidget& panel) {
    panel.layout()->setContentsMargins(0, 0, 0, 0);
    rows.addWidget(&panel);
}

} // namespace

CDlgSetFocusCompositionParam::CDlgSetFocusCompositionParam(const FocusCompositionDialogStart& start, QWidget* parent)
    : QDialog(parent) {
    UseLanguageFont(*this);
    setObjectName(ObjectName(kIdParameterDialog));
    setWindowTitle(Text(kIdParameterDialog));
    setAttribute(Qt::WA_QuitOnClose, false); // the host goes on, also when this is its only window
    m_panel.SetData(CKyfFocusCompositionSetting(start.Parameter));
    m_panel.SetAutoPositioningDisabled(start.AutoPositioningDisabled);
    m_gpuPanel.SetProcessorNameId(start.Processor.ProcessorNameId);
    m_gpuPanel.SetEnableGPU(start.Processor.GpuEnabled);
    m_gpuPanel.SetDisableGPU(start.Parameter.DisableGPU);
    m_gpuPanel.SetAlgType(start.Parameter.AlgType);

    auto* const rows = new QVBoxLayout(this);
    m_panel.CreateControl(this);
    AddPanel(*rows, m_panel);
    m_gpuPanel.Create(this);
    AddPanel(*rows, m_gpuPanel);
    m_gpuPanel.SetEnableControls();
    m_panel.SetChangedFCDelegate(this);
    QDialogButtonBox* const buttons = MakeDialogButtons(this);
    rows->addStretch();
    rows->addWidget(buttons);
    // The panels keep Enter and Escape to themselves: with the focus here, both work as the dialog opens.
    buttons->button(QDialogButtonBox::Ok)->setFocus();
}

KyfFocusCompositionParameter CDlgSetFocusCompositionParam::Values() const {
    KyfFocusCompositionParameter parameter = m_panel.GetData().Get();
    parameter.DisableGPU = m_gpuPanel.GetDisableGPU();
    return parameter;
}

void CDlgSetFocusCompositionParam::OnChangedAlgType(KyfAlgorithmType type) {
    m_gpuPanel.SetAlgType(type);
    m_gpuPanel.SetEnableControls();
}
