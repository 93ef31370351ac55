/// The panel that tells which graphics processor is used and can refuse it, for windows of a host. C++20, Qt 6 Widgets.
#ifndef KYFOCUS_UI_GPU_SETTING_CONTROL_H
#define KYFOCUS_UI_GPU_SETTING_CONTROL_H

#include <memory>

#include <QWidget>

#include <kyfocus/settings.h>

/// Only the 3D composition uses the processor: the check can be clicked with AlgType 1 alone. The calls that set
/// something only store; SetEnableControls shows it. All calls belong to the window's thread.
class KYF_API CKyfFocusCompGpuSettingControl : public QWidget {
    Q_OBJECT
  public:
    /// No processor, nothing refused, AlgType 1.
    CKyfFocusCompGpuSettingControl();
    ~CKyfFocusCompGpuSettingControl() override;

    /// Makes the controls, as a child of `parent`; texts as told at the parameter panel. Without a processor its use is
    /// refused from then on.
    /// @return 1; 0 when the controls are there already, and nothing changes.
    KyiBool Create(QWidget* parent);

    void SetAlgType(KyfAlgorithmType type);
    /// Whether there is a processor: KyfGetEnableGpuCuda or KyfGetEnableGpuOpenCl.
    void SetEnableGPU(int32_t enabled);
    /// 0x11BB for CUDA, 0x11BC for OpenCL, 0x11BD for none: the text that is shown while the processor is used.
    void SetProcessorNameId(int32_t id);
    void SetDisableGPU(int32_t disable);
    /// For DisableGPU of the record.
    int32_t GetDisableGPU() const;

    /// Shows what has been set. Without a processor the check is on and cannot be clicked.
    void SetEnableControls();

  protected:
    /// The controls have been made; shows them for the first time.
    virtual void OnInitDialog();
    /// Enter and Escape: both do nothing, and do not reach the host's window either.
    virtual void OnOK();
    virtual void OnCancel();
    void keyPressEvent(QKeyEvent* event) override;

  private:
    struct Insides;
    std::unique_ptr<Insides> m_insides;
};

#endif
