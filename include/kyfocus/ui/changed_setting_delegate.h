/// What a host hears from the parameter panel. C++20; needs no toolkit.
#ifndef KYFOCUS_UI_CHANGED_SETTING_DELEGATE_H
#define KYFOCUS_UI_CHANGED_SETTING_DELEGATE_H

#include <kyfocus/settings.h>

/// Implemented by whoever shows the panel, on the window's thread.
class KYF_API IChangedFCSettingDelegate {
  public:
    /// The user has clicked one of the two algorithms. `type` is the radio button's value, 0 or 1, also while the check
    /// "complex" makes the setting's AlgType 2. The setting and the panel's controls are up to date by then.
    virtual void OnChangedAlgType(KyfAlgorithmType type) = 0;

  protected:
    ~IChangedFCSettingDelegate() = default; // never owned through this interface
};

#endif
