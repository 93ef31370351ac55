/// Language modules that are loaded, and where they are looked for.
///
/// The library makes LoadModule and UnloadModule the loader of the resource scope when it is itself loaded.
#ifndef KYFOCUS_UI_LOADED_MODULES_H
#define KYFOCUS_UI_LOADED_MODULES_H

#include <string>
#include <vector>

#include "ui/resources/language_module.h"

namespace kyfui {

/// The folder of this library, then the data folder of its installation. Neither the working folder nor the
/// environment has a say.
std::vector<std::string> ModuleFolders();

/// Other folders in their place, for tests. An empty list puts them back.
void SetModuleFolders(std::vector<std::string> folders);

/// File name of a module: "KYFResourceJPN.dll" is "KYFResourceJPN.rcc" here. Empty for a name that would lead out of
/// the folders or to a hidden file.
std::string ModuleFileName(const wchar_t* name);

/// Loads a module by name.
/// @return a number of its own that stands for it, never an address; null when there is no such module.
void* LoadModule(const wchar_t* name) noexcept;

/// A number that stands for no module does nothing.
void UnloadModule(void* module) noexcept;

/// What the dialogs take their texts from: the current module, when it is one of those loaded here; else null.
const LanguageModule* CurrentModule() noexcept;

} // namespace kyfui

#endif
