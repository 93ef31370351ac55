#include "platform/own_file.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/files.h"
#include "platform/text.h"

namespace platform {

namespace {

bool IsOwnFile(const struct stat& status) {
    const bool isOwned = status.st_uid == geteuid() || status.st_uid == 0;
    return S_ISREG(status.st_mode) && isOwned && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

bool ReadFully(int descriptor, std::vector<std::uint8_t>& to) {
    std::size_t done = 0;
    while (done < to.size()) {
        const ssize_t got = pread(descriptor, to.data() + done, to.size() - done, static_cast<off_t>(done));
        if (got == 0) break; // has become shorter
        if (got > 0)
            done += static_cast<std::size_t>(got);
        else if (errno != EINTR)
            return false;
    }
    to.resize(done);
    return true;
}

} // namespace

std::optional<std::vector<std::uint8_t>> ReadOwnFile(const wchar_t* path, std::size_t mostBytes) {
    if (!path || !*path) return std::nullopt;
    // Without waiting: a pipe must not hold the caller before it is refused.
    const FileHandle file(open(ToUtf8(path).c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0 || !IsOwnFile(status)) return std::nullopt;
    if (static_cast<std::uint64_t>(status.st_size) > mostBytes) return std::nullopt;
    std::vector<std::uint8_t> content(static_cast<std::size_t>(status.st_size));
    if (!ReadFully(file.Get(), content)) return std::nullopt;
    return content;
}

bool WriteOwnFile(const wchar_t* path, const void* data, std::size_t bytes) {
    try {
        CreatePrivateFile(path);
        FileReplacement file(path); // keeps the mode of the file that it replaces
        file.Append(data, bytes);
        file.Commit();
        return true;
    } catch (const std::system_error&) {
        return false;
    }
}

} // namespace platform
