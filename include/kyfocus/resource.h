/*
 * The module that dialogs take texts and pictures from: how it is loaded, which one is current, and a scoped choice of
 * it (C++).
 *
 * State of the process, without locks: use it from the thread that shows dialogs.
 */
#ifndef KYFOCUS_RESOURCE_H
#define KYFOCUS_RESOURCE_H

#include <stddef.h>

#include <kyfocus/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Loads the module of a name, such as "KYFResourceJPN.dll". Null when there is none; does not throw. */
typedef void* (*KyfLoadResource)(const wchar_t* name);
/** Unloads what was loaded. Comes twice for one module when a host has copied a CKYFocusResource; does not throw. */
typedef void (*KyfUnloadResource)(void* module);

/** How modules are loaded and unloaded from now on. Without a loader none can be loaded. The parameter interface sets
 *  its own when its library is loaded. Two nulls take the loader away. Change it only while no module is loaded: what
 *  one loader has loaded, the next cannot unload. */
KYF_API void KyfSetResourceLoader(KyfLoadResource load, KyfUnloadResource unload);

/** The current module as its loader returned it; null stands for the dialogs' own texts. */
KYF_API void* KyfGetCurrentResource(void);

#ifdef __cplusplus
}

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

#endif
