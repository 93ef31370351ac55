/// The modal dialog around the two panels.
#ifndef KYFOCUS_UI_DIALOGS_DLG_SET_FOCUS_COMPOSITION_PARAM_H
#define KYFOCUS_UI_DIALOGS_DLG_SET_FOCUS_COMPOSITION_PARAM_H

#include <QDialog>
#include <kyfocus/ui/gpu_setting_control.h>
#include <kyfocus/ui/param_control.h>

#include "ui/rules/gpu_rules.h"

/// What the dialog opens with.
struct FocusCompositionDialogStart {
    KyfFocusCompositionParameter Parameter;
    int32_t AutoPositioningDisabled;
    kyfui::GpuPanel Processor; ///< name and whether there is one
};

class CDlgSetFocusCompositionParam : public QDialog, public IChangedFCSettingDelegate {
    Q_OBJECT
  public:
    CDlgSetFocusCompositionParam(const FocusCompositionDialogStart& start, QWidget* parent);

    /// The panel's record, with DisableGPU of the processor's panel.
    KyfFocusCompositionParameter Values() const;

    void OnChangedAlgType(KyfAlgorithmType type) override;

  private:
    CKyfFocusCompParamControl m_panel;
    CKyfFocusCompGpuSettingControl m_gpuPanel;
};

#endif
