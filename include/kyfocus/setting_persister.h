/// A composition setting in a parameter file. C++20.
#ifndef KYFOCUS_SETTING_PERSISTER_H
#define KYFOCUS_SETTING_PERSISTER_H

#include <string>

#include <kyfocus/composition_setting.h>

/// Two calls and no instances. The file is an INI file; section "FocusCompositionSetting" holds a decimal number a key,
/// and everything else in the file is left alone.
class KYF_API CKyfFocusCompositionSettingPersister {
  public:
    /// Overlays the setting with the file's values. A key that is missing or whose value is no number leaves its field
    /// alone; so does a file that cannot be read. Numbers are taken without regard to ranges, cut to 32 bits. The two
    /// switches HalationMeasures and DisableGPU are 0 or 1 afterwards. All values are of one moment, whoever writes the
    /// file meanwhile.
    static void Load(const std::wstring& path, CKyfFocusCompositionSetting& setting);

    /// Writes all values at once: a reader finds the old file or the new one. Makes the file as needed, but no folder;
    /// keys that are there are replaced in place. Failure leaves the file as it was and is not told.
    static void Save(const std::wstring& path, const CKyfFocusCompositionSetting& setting);

    CKyfFocusCompositionSettingPersister(const CKyfFocusCompositionSettingPersister&) = delete;
    CKyfFocusCompositionSettingPersister& operator=(const CKyfFocusCompositionSettingPersister&) = delete;

  private:
    CKyfFocusCompositionSettingPersister();
    virtual ~CKyfFocusCompositionSettingPersister();
};

#endif
