#include "run_folder.h"

#include <array>
#include <cerrno>
#include <climits>
#include <map>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace app {
namespace {

namespace fs = std::filesystem;

constexpr const char* kLockName = "kyfocus.lock";
constexpr std::string_view kPlaces = "XXXXXX";
constexpr int kAttempts = 16; // another run may take a folder for a dead one's before it is locked

class Descriptor {
  public:
    explicit Descriptor(int number) : m_number(number) {}
    ~Descriptor() {
        if (m_number >= 0) close(m_number);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int Get() const { return m_number; }
    int Release() { return std::exchange(m_number, -1); }

  private:
    int m_number;
};

/// Locks of this process by folder. Never destroyed: an interruption may come at the very end.
struct Locks {
    std::mutex Mutex;
    std::map<fs::path, int> Numbers;
};
Locks& SharedLocks() {
    static Locks* const g_locks = new Locks;
    return *g_locks;
}

[[noreturn]] void Throw(int error) { throw std::system_error(error, std::generic_category()); }

bool IsPrivate(int folder) {
    struct stat status {};
    constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO; // other bits come from the folder that it is in
    return fstat(folder, &status) == 0 && status.st_uid == geteuid() && (status.st_mode & kPermissions) == S_IRWXU;
}

/// What is in a folder beside its lock; not all of it where there is an error.
std::vector<fs::path> EntriesBesideLock(const fs::path& folder, std::error_code& error) {
    std::vector<fs::path> entries;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (entry->path().filename() != kLockName) entries.push_back(entry->path());
    return entries;
}

/// What stands in the lock: a line. Not all file systems that machines share pass their locks on.
const std::string& ThisHost() {
    static const std::string name = [] {
        std::array<char, HOST_NAME_MAX + 1> text{};
        return (gethostname(text.data(), text.size() - 1) == 0 ? std::string(text.data()) : std::string()) + '\n';
    }();
    return name;
}

/// @return the system's number of an error, 0 without one.
int WriteHost(int lock) {
    std::string_view left = ThisHost();
    while (!left.empty()) {
        const ssize_t bytes = write(lock, left.data(), left.size());
        if (bytes < 0 && errno != EINTR) return errno;
        if (bytes == 0) return ENOSPC;
        if (bytes > 0) left.remove_prefix(static_cast<std::size_t>(bytes));
    }
    return 0;
}

/// A lock whose line is not there or cut off counts as made here: its run was killed before or while it wrote.
bool IsOfThisHost(int lock) {
    std::array<char, HOST_NAME_MAX + 2> text{};
    const ssize_t bytes = pread(lock, text.data(), text.size(), 0);
    return bytes >= 0 && ThisHost().starts_with(std::string_view(text.data(), static_cast<std::size_t>(bytes)));
}

/// A folder with a lock that can be had here has lost its run. One without is no run's, or a run's that was killed
/// before its first file.
/// @return whether it may be empty now. Where files are a server's, the open lock is the last thing in it.
bool EmptyIfDead(const fs::path& folder) {
    const Descriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (opened.Get() < 0 || !IsPrivate(opened.Get())) return false;
    // Where locks are a server's, only a file that is open for writing can be locked.
    const Descriptor lock(openat(opened.Get(), kLockName, O_RDWR | O_NOFOLLOW | O_CLOEXEC));
    if (lock.Get() < 0) return errno == ENOENT;
    if (!IsOfThisHost(lock.Get()) || flock(lock.Get(), LOCK_EX | LOCK_NB) != 0) return false;
    return !TryToRemoveRunFolder(folder);
}

void RemoveIfDead(const fs::path& folder) {
    if (EmptyIfDead(folder)) rmdir(folder.c_str()); // fails where there is anything in it
}

bool IsLike(const std::string& name, const std::string& pattern) {
    const std::string_view start(pattern.data(), pattern.size() - kPlaces.size());
    return name.size() == pattern.size() && name.starts_with(start);
}

void RemoveFoldersOfDeadRuns(const fs::path& pattern) {
    const std::string name = pattern.filename();
    const fs::path parent = pattern.has_parent_path() ? pattern.parent_path() : fs::path(".");
    std::error_code error;
    std::vector<fs::path> found;
    for (fs::directory_iterator entry(parent, error), end; !error && entry != end; entry.increment(error))
        if (IsLike(entry->path().filename(), name)) found.push_back(entry->path());
    for (const fs::path& folder : found) RemoveIfDead(folder);
}

/// False when another run has taken the folder for a dead one's meanwhile. Where the file system knows no locks, no run
/// gets one, and nothing is taken for dead.
bool Lock(const fs::path& folder) {
    Descriptor lock(open((folder / kLockName).c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (lock.Get() < 0) return errno == ENOENT ? false : (Throw(errno), false);
    while (flock(lock.Get(), LOCK_EX) != 0 && errno == EINTR) {
    }
    struct stat status {};
    if (fstat(lock.Get(), &status) == 0 && status.st_nlink == 0) return false;
    if (const int error = WriteHost(lock.Get()); error != 0) {
        unlink((folder / kLockName).c_str());
        Throw(error);
    }
    const std::lock_guard guard(SharedLocks().Mutex);
    SharedLocks().Numbers.emplace(folder, lock.Release());
    return true;
}

} // namespace

fs::path MakeRunFolder(const fs::path& pattern) {
    RemoveFoldersOfDeadRuns(pattern);
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        std::string name = pattern.native();
        if (!mkdtemp(name.data())) Throw(errno);
        try {
            if (Lock(name)) return name;
        } catch (const std::system_error&) {
            rmdir(name.c_str());
            throw;
        }
    }
    Throw(EBUSY);
}

bool TryToRemoveRunFolder(const fs::path& folder) noexcept try {
    std::error_code error;
    // Beside outputs a run makes plain files alone: a folder in there is somebody else's, come in by an exchange of
    // names.
    const bool isBesideOutputs = folder.filename().native().starts_with('.');
    for (const fs::path& entry : EntriesBesideLock(folder, error)) {
        if (isBesideOutputs)
            fs::remove(entry, error);
        else
            fs::remove_all(entry, error);
    }
    const bool isEmpty = EntriesBesideLock(folder, error).empty();
    if (error) return error == std::errc::no_such_file_or_directory;
    if (!isEmpty) return false;
    unlink((folder / kLockName).c_str());
    return rmdir(folder.c_str()) == 0 || errno == ENOENT;
} catch (const std::bad_alloc&) {
    return false; // with its lock: the next run removes it
}

void RemoveRunFolder(const fs::path& folder) noexcept {
    for (int attempt = 0; attempt < kAttempts; ++attempt) // a folder that cannot be read now may be in a moment
        if (TryToRemoveRunFolder(folder)) break;
    Locks& locks = SharedLocks();
    const std::lock_guard guard(locks.Mutex);
    const auto lock = locks.Numbers.find(folder);
    if (lock == locks.Numbers.end()) return;
    close(lock->second);
    rmdir(folder.c_str()); // where files are a server's, the open lock was still in it
    locks.Numbers.erase(lock);
}

} // namespace app
