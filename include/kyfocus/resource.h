/// Scoped choice of the module that dialogs take texts and pictures from. C++20.
#ifndef KYFOCUS_RESOURCE_H
#define KYFOCUS_RESOURCE_H

#include <kyfocus/types.h>

/// While it lives, the resource module named by KyfSetLanguageType or KyfSetResourceName is the current one; without a
/// name "KYFResourceJPN.dll" becomes the name. A module that cannot be loaded leaves the current one in force.
class KYF_API CKYFocusResource {
  public:
    CKYFocusResource();
    /// Puts the previous module back and unloads its own.
    ~CKYFocusResource();

    CKYFocusResource(const CKYFocusResource&) = delete;
    /// Copies the two handles: both objects then unload the same module.
    CKYFocusResource& operator=(const CKYFocusResource&) = default;

  private:
    void* m_hPreviousResource; ///< the module to put back
    void* m_hResource;         ///< the loaded module, or null
};

#endif
