/// What happens when the user stops the program: temporary folders go, and the program ends at once.
#ifndef KYFOCUS_APP_INTERRUPTION_H
#define KYFOCUS_APP_INTERRUPTION_H

#include <filesystem>
#include <functional>
#include <system_error>

namespace app {

/// From now on SIGINT, SIGTERM and SIGHUP remove the temporary folders and end the program with 128 + signal, whatever
/// the other threads are doing. A signal that the caller of the program had ignored stays ignored. SIGPIPE and SIGXFSZ
/// are ignored: what they tell fails a write instead, so that its cleaning up is done.
/// To be called once, before any other thread is started.
void WatchInterruptions();

/// Makes a folder (MakeRunFolder) that an interruption removes with all that is in it.
/// @param pattern  Its path, ending in XXXXXX. Throws std::system_error.
std::filesystem::path MakeTemporaryFolder(const std::filesystem::path& pattern);

/// Removes such a folder with all that is in it.
void RemoveTemporaryFolder(const std::filesystem::path& folder);

/// Makes a folder for outputs unless it is there; its parent must be. An interruption removes a new one while it is
/// empty.
/// @param error  Receives why there is no such folder. @return whether it is new.
bool MakeOutputFolder(const std::filesystem::path& folder, std::error_code& error);

/// Runs `step`; an interruption waits until it has ended, 10 s at most. For steps that are soon done: renaming the
/// outputs, adding a frame, which writes into a temporary folder.
void WithoutInterruption(const std::function<void()>& step);

} // namespace app

#endif
