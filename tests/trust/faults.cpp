#include "trust/faults.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <stdio_ext.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

namespace test::faults {
namespace {

constexpr std::size_t kLongestPath = 4096;

std::atomic<Kind> g_kind{Kind::None};
std::atomic<int> g_at{0};
std::atomic<int> g_seen{0};
char g_folder[kLongestPath];
char g_gone[kLongestPath];

/// What a call does with files.
enum class Deed { Open, Make, List, Ask, Read, Write, Close, Change, Rename, Delete };

template <typename Function> Function* Original(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

bool IsBelow(const char* path) {
    const std::size_t length = std::strlen(g_folder);
    return std::strncmp(path, g_folder, length) == 0 && (path[length] == '/' || path[length] == '\0');
}

/// What the watch itself asks leaves no mark on the caller's error number.
struct ErrorKept {
    int Number = errno;
    ~ErrorKept() { errno = Number; }
};

/// What the caller of a program gave it is never watched.
bool IsWatched(int descriptor) {
    if (g_kind == Kind::None || descriptor <= STDERR_FILENO) return false;
    const ErrorKept kept;
    char link[64];
    char path[kLongestPath];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    const long length = syscall(SYS_readlinkat, AT_FDCWD, link, path, sizeof path - 1);
    if (length <= 0) return false;
    path[length] = '\0';
    return IsBelow(path);
}

/// A name of its own, or one below an open folder.
bool IsWatched(int folder, const char* path) {
    if (g_kind == Kind::None || path == nullptr) return false;
    const ErrorKept kept;
    if (path[0] == '/') return IsBelow(path);
    if (folder != AT_FDCWD) return IsWatched(folder);
    char current[kLongestPath];
    return syscall(SYS_getcwd, current, sizeof current) > 0 && IsBelow(current);
}

thread_local bool t_isEnding = false; // a signal has woken the thread

bool Concerns(Kind kind, Deed deed) {
    switch (kind) {
    case Kind::NoSpace: return deed == Deed::Make || deed == Deed::Write;
    case Kind::IoError: return deed != Deed::Delete;
    case Kind::NoPermission:
        return deed == Deed::Open || deed == Deed::Make || deed == Deed::Change || deed == Deed::Rename ||
               deed == Deed::Delete;
    case Kind::NoRename: return deed == Deed::Rename;
    case Kind::Interrupted: return deed == Deed::Read || deed == Deed::Write;
    case Kind::KilledEnding: return t_isEnding && deed == Deed::Delete;
    case Kind::Killed:
    case Kind::Held:
    case Kind::Removed: return true;
    default: return false;
    }
}

[[noreturn]] void Kill() {
    for (;;) syscall(SYS_kill, getpid(), SIGKILL);
}

[[noreturn]] void Hold() {
    for (;;) pause();
}

/// Deletes what is below a folder, with calls that fail nowhere.
void Empty(const char* folder) {
    const Kind kind = g_kind.exchange(Kind::None);
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        std::filesystem::remove_all(entry->path(), error);
    g_kind = kind;
}

thread_local bool t_diesInWrite = false;

/// The error that a call on a watched file gives, or 0.
int ErrorOf(Deed deed) {
    const Kind kind = g_kind;
    if (!Concerns(kind, deed)) return 0;
    const int number = g_seen++;
    switch (kind) {
    case Kind::NoSpace: return number >= g_at ? ENOSPC : 0;
    case Kind::IoError:
    case Kind::NoRename: return number == g_at ? EIO : 0;
    case Kind::NoPermission: return number >= g_at ? EACCES : 0;
    case Kind::Interrupted: return number % 2 == 0 ? EINTR : 0;
    case Kind::Removed:
        if (number == g_at) Empty(g_gone);
        return 0;
    case Kind::Held:
        if (number == g_at) Hold();
        return 0;
    case Kind::Killed:
    case Kind::KilledEnding:
        // A write is killed when it is half done.
        if (number == g_at && deed != Deed::Write) Kill();
        t_diesInWrite = number == g_at;
        return 0;
    default: return 0;
    }
}

bool Fails(bool isWatched, Deed deed) {
    const int error = isWatched ? ErrorOf(deed) : 0;
    if (error != 0) errno = error;
    return error != 0;
}

bool IsUndeletable(const char* path) {
    constexpr char kStart[] = "undeletable";
    const char* const slash = std::strrchr(path, '/');
    return std::strncmp(slash ? slash + 1 : path, kStart, sizeof kStart - 1) == 0;
}

bool DeletionFails(int folder, const char* path) {
    const bool isWatched = IsWatched(folder, path);
    if (!isWatched || g_kind != Kind::Undeletable || !IsUndeletable(path)) return Fails(isWatched, Deed::Delete);
    errno = EIO;
    return true;
}

std::size_t Moved(bool isWatched, std::size_t bytes) {
    return isWatched && g_kind == Kind::Short ? (bytes + 2) / 3 : bytes;
}

Deed DeedOf(int flags) { return (flags & O_CREAT) != 0 ? Deed::Make : Deed::Open; }

Kind KindNamed(const char* name) {
    const struct {
        const char* Name;
        Kind What;
    } kKinds[] = {{"nospace", Kind::NoSpace},
                  {"ioerror", Kind::IoError},
                  {"nopermission", Kind::NoPermission},
                  {"norename", Kind::NoRename},
                  {"killed", Kind::Killed},
                  {"removed", Kind::Removed},
                  {"short", Kind::Short},
                  {"interrupted", Kind::Interrupted},
                  {"held", Kind::Held},
                  {"killedending", Kind::KilledEnding},
                  {"undeletable", Kind::Undeletable},
                  {"serverlocks", Kind::ServerLocks}};
    for (const auto& kind : kKinds)
        if (std::strcmp(name, kind.Name) == 0) return kind.What;
    return Kind::None;
}

[[gnu::constructor]] void ArmByEnvironment() {
    const char* const kind = std::getenv("KY_FAULT_KIND");
    const char* const at = std::getenv("KY_FAULT_AT");
    const char* const folder = std::getenv("KY_FAULT_FOLDER");
    const char* const gone = std::getenv("KY_FAULT_GONE");
    if (kind && at && folder) Arm({KindNamed(kind), std::atoi(at), folder, gone ? gone : ""});
}

[[gnu::destructor]] void Report() {
    const char* const report = std::getenv("KY_FAULT_REPORT");
    if (report == nullptr) return;
    char text[16];
    const int length = std::snprintf(text, sizeof text, "%d\n", Disarm());
    const int file = static_cast<int>(syscall(SYS_openat, AT_FDCWD, report, O_WRONLY | O_CREAT | O_TRUNC, 0600));
    syscall(SYS_write, file, text, length);
    syscall(SYS_close, file);
}

} // namespace

void Arm(const Plan& plan) {
    g_kind = Kind::None;
    std::snprintf(g_folder, sizeof g_folder, "%s", plan.Folder.c_str());
    std::snprintf(g_gone, sizeof g_gone, "%s", plan.Gone.c_str());
    g_at = plan.At;
    g_seen = 0;
    g_kind = plan.What;
}

int Disarm() {
    g_kind = Kind::None;
    return g_seen;
}

} // namespace test::faults

using namespace test::faults;

#define KY_SEEN extern "C" [[gnu::visibility("default")]]

namespace {

int OpenFile(const char* name, int folder, const char* path, int flags, mode_t mode) {
    if (Fails(IsWatched(folder, path), DeedOf(flags))) return -1;
    if (folder == AT_FDCWD) return Original<int(const char*, int, ...)>(name)(path, flags, mode);
    return Original<int(int, const char*, int, ...)>(name)(folder, path, flags, mode);
}

mode_t ModeOf(int flags, va_list arguments) {
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

/// Where a call dies in its write: does half of it, and dies.
template <typename Write> void DieHalfWay(const Write& writeHalf) {
    if (!t_diesInWrite) return;
    writeHalf();
    Kill();
}

/// Whether what a stream still holds can be written. What cannot is lost, as in the C library.
bool FlushIsDone(std::FILE* file) {
    if (__fpending(file) == 0 || !Fails(IsWatched(fileno(file)), Deed::Write)) {
        DieHalfWay([] {});
        return true;
    }
    const ErrorKept kept;
    __fpurge(file);
    return false;
}

std::FILE* OpenStream(const char* name, const char* path, const char* mode) {
    if (Fails(IsWatched(AT_FDCWD, path), mode[0] == 'r' ? Deed::Open : Deed::Make)) return nullptr;
    return Original<std::FILE*(const char*, const char*)>(name)(path, mode);
}

} // namespace

KY_SEEN int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return OpenFile("open", AT_FDCWD, path, flags, mode);
}

KY_SEEN int open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return OpenFile("open64", AT_FDCWD, path, flags, mode);
}

KY_SEEN int openat(int folder, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return OpenFile(folder == AT_FDCWD ? "open" : "openat", folder, path, flags, mode);
}

KY_SEEN std::FILE* fopen(const char* path, const char* mode) { return OpenStream("fopen", path, mode); }
KY_SEEN std::FILE* fopen64(const char* path, const char* mode) { return OpenStream("fopen64", path, mode); }

KY_SEEN ssize_t read(int file, void* to, std::size_t bytes) {
    const bool isWatched = IsWatched(file);
    if (Fails(isWatched, Deed::Read)) return -1;
    return Original<ssize_t(int, void*, std::size_t)>("read")(file, to, Moved(isWatched, bytes));
}

KY_SEEN ssize_t pread(int file, void* to, std::size_t bytes, off_t offset) {
    const bool isWatched = IsWatched(file);
    if (Fails(isWatched, Deed::Read)) return -1;
    return Original<ssize_t(int, void*, std::size_t, off_t)>("pread")(file, to, Moved(isWatched, bytes), offset);
}

KY_SEEN ssize_t write(int file, const void* from, std::size_t bytes) {
    const bool isWatched = IsWatched(file);
    if (Fails(isWatched, Deed::Write)) return -1;
    const auto original = Original<ssize_t(int, const void*, std::size_t)>("write");
    DieHalfWay([&] { original(file, from, bytes / 2); });
    return original(file, from, Moved(isWatched, bytes));
}

KY_SEEN ssize_t pwrite(int file, const void* from, std::size_t bytes, off_t offset) {
    const bool isWatched = IsWatched(file);
    if (Fails(isWatched, Deed::Write)) return -1;
    const auto original = Original<ssize_t(int, const void*, std::size_t, off_t)>("pwrite");
    DieHalfWay([&] { original(file, from, bytes / 2, offset); });
    return original(file, from, Moved(isWatched, bytes), offset);
}

KY_SEEN ssize_t writev(int file, const iovec* parts, int count) {
    const bool isWatched = IsWatched(file);
    if (Fails(isWatched, Deed::Write)) return -1;
    const auto original = Original<ssize_t(int, const iovec*, int)>("writev");
    DieHalfWay([&] { original(file, parts, count / 2); });
    return original(file, parts, count);
}

KY_SEEN std::size_t fwrite(const void* from, std::size_t size, std::size_t count, std::FILE* file) {
    if (Fails(IsWatched(fileno(file)), Deed::Write)) return 0;
    const auto original = Original<std::size_t(const void*, std::size_t, std::size_t, std::FILE*)>("fwrite");
    DieHalfWay([&] {
        original(from, size, count / 2, file);
        Original<int(std::FILE*)>("fflush")(file);
    });
    return original(from, size, count, file);
}

KY_SEEN int fflush(std::FILE* file) {
    if (file != nullptr && !FlushIsDone(file)) return EOF;
    return Original<int(std::FILE*)>("fflush")(file);
}

KY_SEEN int fclose(std::FILE* file) {
    const bool isFailing = !FlushIsDone(file) || Fails(IsWatched(fileno(file)), Deed::Close);
    const int error = errno;
    const int result = Original<int(std::FILE*)>("fclose")(file);
    if (isFailing) errno = error;
    return isFailing ? EOF : result;
}

KY_SEEN int close(int file) {
    const bool isFailing = Fails(IsWatched(file), Deed::Close);
    const int error = errno;
    const int result = Original<int(int)>("close")(file);
    if (isFailing) errno = error;
    return isFailing ? -1 : result;
}

KY_SEEN int rename(const char* from, const char* to) noexcept {
    if (Fails(IsWatched(AT_FDCWD, to), Deed::Rename)) return -1;
    return Original<int(const char*, const char*)>("rename")(from, to);
}

KY_SEEN int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) noexcept {
    if (Fails(IsWatched(toFolder, to), Deed::Rename)) return -1;
    return Original<int(int, const char*, int, const char*, unsigned)>("renameat2")(fromFolder, from, toFolder, to,
                                                                                    flags);
}

KY_SEEN int mkdir(const char* path, mode_t mode) noexcept {
    if (Fails(IsWatched(AT_FDCWD, path), Deed::Make)) return -1;
    return Original<int(const char*, mode_t)>("mkdir")(path, mode);
}

KY_SEEN char* mkdtemp(char* pattern) noexcept {
    if (Fails(IsWatched(AT_FDCWD, pattern), Deed::Make)) return nullptr;
    return Original<char*(char*)>("mkdtemp")(pattern);
}

KY_SEEN int unlink(const char* path) noexcept {
    if (DeletionFails(AT_FDCWD, path)) return -1;
    return Original<int(const char*)>("unlink")(path);
}

KY_SEEN int unlinkat(int folder, const char* path, int flags) noexcept {
    if (DeletionFails(folder, path)) return -1;
    return Original<int(int, const char*, int)>("unlinkat")(folder, path, flags);
}

KY_SEEN int remove(const char* path) noexcept {
    if (DeletionFails(AT_FDCWD, path)) return -1;
    return Original<int(const char*)>("remove")(path);
}

KY_SEEN int rmdir(const char* path) noexcept {
    if (DeletionFails(AT_FDCWD, path)) return -1;
    return Original<int(const char*)>("rmdir")(path);
}

KY_SEEN int flock(int file, int operation) noexcept {
    const bool isLockable = (operation & LOCK_EX) == 0 || (fcntl(file, F_GETFL) & O_ACCMODE) != O_RDONLY;
    if (!isLockable && g_kind == Kind::ServerLocks && IsWatched(file)) {
        errno = EBADF;
        return -1;
    }
    return Original<int(int, int)>("flock")(file, operation);
}

KY_SEEN int sigwait(const sigset_t* signals, int* number) {
    const int error = Original<int(const sigset_t*, int*)>("sigwait")(signals, number);
    t_isEnding = error == 0;
    return error;
}

KY_SEEN DIR* opendir(const char* path) {
    if (Fails(IsWatched(AT_FDCWD, path), Deed::Open)) return nullptr;
    return Original<DIR*(const char*)>("opendir")(path);
}

KY_SEEN DIR* fdopendir(int file) {
    if (Fails(IsWatched(file), Deed::Open)) return nullptr;
    return Original<DIR*(int)>("fdopendir")(file);
}

KY_SEEN dirent* readdir(DIR* folder) {
    if (Fails(IsWatched(dirfd(folder)), Deed::List)) return nullptr;
    return Original<dirent*(DIR*)>("readdir")(folder);
}

KY_SEEN dirent64* readdir64(DIR* folder) {
    if (Fails(IsWatched(dirfd(folder)), Deed::List)) return nullptr;
    return Original<dirent64*(DIR*)>("readdir64")(folder);
}

KY_SEEN int fstat(int file, struct stat* state) noexcept {
    if (Fails(IsWatched(file), Deed::Ask)) return -1;
    return Original<int(int, struct stat*)>("fstat")(file, state);
}

KY_SEEN int fchmod(int file, mode_t mode) noexcept {
    if (Fails(IsWatched(file), Deed::Change)) return -1;
    return Original<int(int, mode_t)>("fchmod")(file, mode);
}

KY_SEEN int chmod(const char* path, mode_t mode) noexcept {
    if (Fails(IsWatched(AT_FDCWD, path), Deed::Change)) return -1;
    return Original<int(const char*, mode_t)>("chmod")(path, mode);
}
