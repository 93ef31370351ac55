/// Private folders of a run, told from those of runs that were killed.
#ifndef KYFOCUS_APP_RUN_FOLDER_H
#define KYFOCUS_APP_RUN_FOLDER_H

#include <filesystem>

namespace app {

/// Makes an empty folder that only its owner may enter, but for a file "kyfocus.lock" which the process holds locked to
/// its end, however that comes. First it removes those folders beside it that a killed run has left: of the same name
/// but for the last six characters, of the same owner, for the owner alone, and with a lock that nobody holds. Links
/// are not followed, and a folder without the lock's file is touched only when it is empty.
/// @param pattern  Its path, ending in XXXXXX. Throws std::system_error.
std::filesystem::path MakeRunFolder(const std::filesystem::path& pattern);

/// Tries once to remove such a folder with all that is in it, although other threads may be adding files. The lock and
/// the folder go last, and only when a look finds nothing else there by then: a folder that lost its lock before its
/// other files would stay for ever.
/// @return whether the folder is gone.
bool TryToRemoveRunFolder(const std::filesystem::path& folder) noexcept;

/// Removes such a folder with all that is in it, and unlocks it. What cannot be deleted stays, with the lock's file,
/// for the next run to try again.
void RemoveRunFolder(const std::filesystem::path& folder) noexcept;

} // namespace app

#endif
