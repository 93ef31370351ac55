#include "platform/log_file.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace platform {

std::string LogStamp() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    std::tm local{};
    localtime_r(&now.tv_sec, &local);
    std::array<char, 32> date{};
    const std::size_t length = std::strftime(date.data(), date.size(), "%Y-%m-%d %H:%M:%S", &local);
    std::array<char, 48> rest{};
    std::snprintf(rest.data(), rest.size(), ".%03ld %ld/%ld", now.tv_nsec / 1000000, static_cast<long>(getpid()),
                  syscall(SYS_gettid));
    return std::string(date.data(), length) + rest.data();
}

namespace {

/// A line that a full disk cuts short stays so.
void WriteAll(int file, std::string_view text) noexcept {
    while (!text.empty()) {
        const ssize_t written = write(file, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

} // namespace

void AppendToLogFile(const std::string& path, std::string_view text) noexcept {
    const int before = errno;
    // A pipe with the name of the log would otherwise hold the caller until someone reads it.
    const int file =
        open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0600);
    if (file >= 0) {
        struct stat state {};
        if (fstat(file, &state) == 0 && S_ISREG(state.st_mode)) WriteAll(file, text);
        close(file);
    }
    errno = before;
}

} // namespace platform
