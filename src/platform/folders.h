/// Folders that the library knows, and what it does in them.
#ifndef KYFOCUS_PLATFORM_FOLDERS_H
#define KYFOCUS_PLATFORM_FOLDERS_H

#include <string>

namespace platform {

/// Per-user folder of the INI file: $XDG_CONFIG_HOME, else ~/.config, joined with "Tessly Corporation/KYFoucs" (spelt
/// so). Empty when neither variable is set. The folder need not exist.
std::wstring PerUserFolder();

/// Default folder of compiled GPU programs: $XDG_CACHE_HOME, else ~/.cache, joined with "Tessly Corporation/KYFocus".
/// Empty when neither variable is set.
std::wstring IntermediateCodeFolder();

/// Makes a folder and its missing parents, for their owner alone. A folder that exists counts as made.
/// @return false when there is none afterwards, and for a null or empty path.
bool MakeFolders(const wchar_t* folder);

/// Deletes the plain entries (no folders) of `folder` whose name contains `part`. Goes on until a search finds none,
/// at most 256 entries a search; an entry that cannot be deleted is found again, so that the call lasts as long as it
/// stays. A null or empty argument ends it at once, as does a folder that cannot be opened. Needs no memory.
void DeleteFilesContaining(const wchar_t* folder, const wchar_t* part) noexcept;

} // namespace platform

#endif
