/// State of the process: the language module's name and how it is loaded.
///
/// Plain variables: a host sets them before work starts.
#ifndef KYFOCUS_SESSION_START_UP_H
#define KYFOCUS_SESSION_START_UP_H

#include <string>

#include <kyfocus/session.h>

namespace kyf {

/// File name of the dialogs' resource module; empty until a host or the first dialog names one.
extern std::wstring g_resourceName;

/// How resource modules are loaded and unloaded. Set by the part of the library that shows dialogs; without one no
/// module can be loaded.
struct ResourceLoader {
    void* (*Load)(const wchar_t* name) = nullptr; ///< null when there is no such module
    void (*Unload)(void* module) = nullptr;
};
void SetResourceLoader(const ResourceLoader& loader) noexcept;

/// The module that dialogs take texts and pictures from; null stands for the library's own.
void* CurrentResource() noexcept;

} // namespace kyf

#endif
