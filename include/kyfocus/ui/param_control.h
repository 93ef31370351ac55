/// The parameter panel, for windows of a host. C++20, Qt 6 Widgets.
#ifndef KYFOCUS_UI_PARAM_CONTROL_H
#define KYFOCUS_UI_PARAM_CONTROL_H

#include <memory>

#include <QWidget>

#include <kyfocus/composition_setting.h>
#include <kyfocus/ui/changed_setting_delegate.h>

/// Shows a setting and writes every click through to it at once: there is no button that confirms. Its three small
/// dialogs hand over their values when they are left with OK. Nothing is tested; a number that no control stands for
/// shows as none chosen and stays until the user chooses.
///
/// The manual and the detail dialog show a value beyond its range as the nearest end of it, and OK writes all values of
/// the dialog: one that was not touched then lies within its range too, and switches that are not 0 become 1.
///
/// Texts come from the language module that is in force when CreateControl runs (CKYFocusResource), else they are
/// English. All calls belong to the window's thread.
class KYF_API CKyfFocusCompParamControl : public QWidget {
    Q_OBJECT
  public:
    /// Holds the default setting and has no window yet.
    CKyfFocusCompParamControl();
    ~CKyfFocusCompParamControl() override;

    /// Makes the controls, as a child of `parent`; the host puts the panel into a layout of its own. With a null parent
    /// the panel is a window by itself.
    /// @return 1; 0 when the controls are there already, and nothing changes.
    KyiBool CreateControl(QWidget* parent);

    /// Copies the setting. Controls that are there show it.
    void SetData(const CKyfFocusCompositionSetting& setting);
    /// The setting as it stands after the last click. Lent.
    const CKyfFocusCompositionSetting& GetData() const;

    /// ScopeType of the setting; automatic positioning can be used with 0 alone.
    void SetMicroscopeType(KyfScopeType type);
    /// Non-zero leaves automatic positioning out of the panel. Call it before CreateControl.
    void SetAutoPositioningDisabled(int32_t disabled);
    /// Who hears of the algorithm. Lent; null for nobody.
    void SetChangedFCDelegate(IChangedFCSettingDelegate* delegate);

  protected:
    /// The controls have been made; shows the setting in them.
    virtual void OnInitDialog();
    /// Enter and Escape: both do nothing, and do not reach the host's window either. On a button that opens a dialog or
    /// sets a plane Enter presses it instead.
    virtual void OnOK();
    virtual void OnCancel();
    void keyPressEvent(QKeyEvent* event) override;

  private:
    struct Insides;
    void Connect();
    void ShowControls();
    void OpenManualDialog();
    void OpenDetailDialog();
    void OpenPositioningDialog();

    std::unique_ptr<Insides> m_insides;
};

#endif
