#include "trust/faults.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>
#include <fcntl.h>
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

/// What a call does with files.
enum class Deed { Open, Make, Read, Write, Close, Rename, Delete };

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

bool IsWatched(int descriptor) {
    if (g_kind == Kind::None) return false;
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

bool Concerns(Kind kind, Deed deed) {
    switch (kind) {
    case Kind::NoSpace: return deed == Deed::Make || deed == Deed::Write;
    case Kind::IoError: return deed != Deed::Delete;
    case Kind::NoPermission: return deed != Deed::Read && deed != Deed::Write && deed != Deed::Close;
    case Kind::Interrupted: return deed == Deed::Read || deed == Deed::Write;
    default: return false;
    }
}

/// The error that a call on a watched file gives, or 0.
int ErrorOf(Deed deed) {
    const Kind kind = g_kind;
    if (!Concerns(kind, deed)) return 0;
    const int number = g_seen++;
    switch (kind) {
    case Kind::NoSpace: return number >= g_at ? ENOSPC : 0;
    case Kind::IoError: return number == g_at ? EIO : 0;
    case Kind::NoPermission: return number >= g_at ? EACCES : 0;
    default: return number % 2 == 0 ? EINTR : 0;
    }
}

bool Fails(bool isWatched, Deed deed) {
    const int error = isWatched ? ErrorOf(deed) : 0;
    if (error != 0) errno = error;
    return error != 0;
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
                  {"short", Kind::Short},
                  {"interrupted", Kind::Interrupted}};
    for (const auto& kind : kKinds)
        if (std::strcmp(name, kind.Name) == 0) return kind.What;
    return Kind::None;
}

[[gnu::constructor]] void ArmByEnvironment() {
    const char* const kind = std::getenv("KY_FAULT_KIND");
    const char* const at = std::getenv("KY_FAULT_AT");
    const char* const folder = std::getenv("KY_FAULT_FOLDER");
    if (kind && at && folder) Arm({KindNamed(kind), std::atoi(at), folder});
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
    return Original<ssize_t(int, const void*, std::size_t)>("write")(file, from, Moved(isWatched, bytes));
}

KY_SEEN ssize_t pwrite(int file, const void* from, std::size_t bytes, off_t offset) {
    const bool isWatched = IsWatched(file);
    if (Fails(isWatched, Deed::Write)) return -1;
    return Original<ssize_t(int, const void*, std::size_t, off_t)>("pwrite")(file, from, Moved(isWatched, bytes),
                                                                             offset);
}

KY_SEEN ssize_t writev(int file, const iovec* parts, int count) {
    const bool isWatched = IsWatched(file);
    if (Fails(isWatched, Deed::Write)) return -1;
    return Original<ssize_t(int, const iovec*, int)>("writev")(file, parts, count);
}

KY_SEEN std::size_t fwrite(const void* from, std::size_t size, std::size_t count, std::FILE* file) {
    if (Fails(IsWatched(fileno(file)), Deed::Write)) return 0;
    return Original<std::size_t(const void*, std::size_t, std::size_t, std::FILE*)>("fwrite")(from, size, count, file);
}

KY_SEEN int fclose(std::FILE* file) {
    const bool isFailing = Fails(IsWatched(fileno(file)), Deed::Close);
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
    if (Fails(IsWatched(AT_FDCWD, path), Deed::Delete)) return -1;
    return Original<int(const char*)>("unlink")(path);
}

KY_SEEN int unlinkat(int folder, const char* path, int flags) noexcept {
    if (Fails(IsWatched(folder, path), Deed::Delete)) return -1;
    return Original<int(int, const char*, int)>("unlinkat")(folder, path, flags);
}

KY_SEEN int remove(const char* path) noexcept {
    if (Fails(IsWatched(AT_FDCWD, path), Deed::Delete)) return -1;
    return Original<int(const char*)>("remove")(path);
}
