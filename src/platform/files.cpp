#include "platform/files.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <system_error>

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/text.h"

namespace platform {

namespace {

// Longest single transfer: the system cuts longer ones short.
constexpr std::size_t kLargestTransfer = std::size_t{1} << 30;
constexpr std::size_t kLongestName = 255;
constexpr int kNameAttempts = 16;

[[noreturn]] void Throw(int error, const char* what) { throw std::system_error(error, std::generic_category(), what); }

std::string Utf8Path(const wchar_t* path) {
    if (!path || !*path) Throw(ENOENT, "no file name");
    return ToUtf8(path);
}

std::size_t ReadFully(int descriptor, std::uint64_t offset, void* to, std::size_t bytes, int& error) noexcept {
    std::size_t done = 0;
    while (done < bytes) {
        const ssize_t got = pread(descriptor, static_cast<char*>(to) + done, std::min(bytes - done, kLargestTransfer),
                                  static_cast<off_t>(offset + done));
        if (got > 0) {
            done += static_cast<std::size_t>(got);
        } else if (got == 0) {
            break;
        } else if (errno != EINTR) {
            error = errno;
            break;
        }
    }
    return done;
}

// "<target>.<8 hexadecimal digits>", the name cut where it would get too long. It begins with the target's name, so
// that whoever sweeps a folder by its names takes what a killed process left behind.
std::string TemporaryName(const std::string& target) {
    std::uint32_t number = 0;
    if (getrandom(&number, sizeof number, 0) != sizeof number) Throw(errno, "no random number");
    std::array<char, 16> suffix{};
    const int length = std::snprintf(suffix.data(), suffix.size(), ".%08x", static_cast<unsigned>(number));
    const std::size_t nameStart = target.rfind('/') + 1; // npos + 1 is 0
    const std::size_t kept = std::min(target.size() - nameStart, kLongestName - static_cast<std::size_t>(length));
    return target.substr(0, nameStart + kept) + suffix.data();
}

} // namespace

FileHandle::~FileHandle() { Close(); }

bool FileHandle::Close() noexcept {
    if (m_descriptor < 0) return true;
    const int descriptor = m_descriptor;
    m_descriptor = -1;
    return close(descriptor) == 0 || errno == EINTR;
}

// A pipe without a writer must not hold the caller: opened without waiting, then refused.
InputFile::InputFile(const wchar_t* path) : m_handle(open(Utf8Path(path).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
    if (!m_handle.IsOpen()) Throw(errno, "the file cannot be opened");
    struct stat status {};
    if (fstat(m_handle.Get(), &status) != 0) Throw(errno, "the file cannot be asked for its size");
    if (S_ISDIR(status.st_mode)) Throw(EISDIR, "the file cannot be read");
    if (!S_ISREG(status.st_mode)) Throw(EINVAL, "pipes and devices are not read");
    m_size = static_cast<std::uint64_t>(status.st_size);
}

std::size_t InputFile::ReadAt(std::uint64_t offset, void* to, std::size_t bytes) noexcept {
    return ReadFully(m_handle.Get(), offset, to, bytes, m_error);
}

FileReplacement::FileReplacement(const wchar_t* path, mode_t newMode) : m_target(Utf8Path(path)) {
    struct stat status {};
    if (lstat(m_target.c_str(), &status) == 0) {
        if (S_ISDIR(status.st_mode)) Throw(EISDIR, "the file cannot be written");
        if (!S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode)) Throw(EINVAL, "pipes and devices are not replaced");
        m_keepsMode = S_ISREG(status.st_mode);
        m_keptMode = status.st_mode & 0777;
        m_keptOwner = status.st_uid;
        m_keptGroup = status.st_gid;
        m_replacesEmpty = m_keepsMode && status.st_size == 0;
    }
    for (int attempt = 0; attempt < kNameAttempts && !m_handle.IsOpen(); ++attempt) {
        m_temporary = TemporaryName(m_target);
        // Until the mode of the file that it replaces is set, nobody else may open it.
        const mode_t mode = m_keepsMode ? 0600 : newMode;
        m_handle.Open(open(m_temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
        if (!m_handle.IsOpen() && errno != EEXIST) break;
    }
    if (!m_handle.IsOpen()) Throw(errno, "the file cannot be created");
}

FileReplacement::~FileReplacement() {
    if (!m_temporary.empty()) unlink(m_temporary.c_str());
}

bool FileReplacement::Fail(int error) noexcept {
    if (m_error == 0) m_error = error;
    return false;
}

bool FileReplacement::Append(const void* from, std::size_t bytes) noexcept { return WriteAt(m_size, from, bytes); }

bool FileReplacement::WriteAt(std::uint64_t offset, const void* from, std::size_t bytes) noexcept {
    if (m_error != 0) return false;
    std::size_t done = 0;
    while (done < bytes) {
        const ssize_t put = pwrite(m_handle.Get(), static_cast<const char*>(from) + done,
                                   std::min(bytes - done, kLargestTransfer), static_cast<off_t>(offset + done));
        if (put > 0)
            done += static_cast<std::size_t>(put);
        else if (put == 0)
            return Fail(ENOSPC);
        else if (errno != EINTR)
            return Fail(errno);
    }
    m_size = std::max(m_size, offset + bytes);
    return true;
}

std::size_t FileReplacement::ReadAt(std::uint64_t offset, void* to, std::size_t bytes) noexcept {
    return ReadFully(m_handle.Get(), offset, to, bytes, m_error);
}

// Some file systems write a file out at once when it replaces another by renaming, so that a crash leaves no empty one.
// Where the other is empty there is nothing to save, and the two change their names instead.
bool FileReplacement::TakePlace() noexcept {
    if (m_replacesEmpty && renameat2(AT_FDCWD, m_temporary.c_str(), AT_FDCWD, m_target.c_str(), RENAME_EXCHANGE) == 0)
        return unlink(m_temporary.c_str()) == 0;
    return rename(m_temporary.c_str(), m_target.c_str()) == 0;
}

/// Only some callers may give files away: for the others the new file is their own.
void FileReplacement::KeepOwnerAndMode() noexcept {
    [[maybe_unused]] const int given = fchown(m_handle.Get(), m_keptOwner, m_keptGroup);
    if (fchmod(m_handle.Get(), m_keptMode) != 0) Fail(errno);
}

void FileReplacement::Commit() {
    if (m_error == 0 && m_keepsMode) KeepOwnerAndMode();
    if (!m_handle.Close()) Fail(errno);
    if (m_error == 0 && !TakePlace()) Fail(errno);
    if (m_error != 0) Throw(m_error, "the file cannot be written");
    m_temporary.clear();
}

void CreatePrivateFile(const wchar_t* path) {
    const std::string name = Utf8Path(path);
    if (unlink(name.c_str()) != 0 && errno != ENOENT) Throw(errno, "the file cannot be replaced");
    FileHandle file(open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file.IsOpen()) Throw(errno, "the file cannot be created");
    if (!file.Close()) Throw(errno, "the file cannot be written");
}

bool IsPlainFile(const wchar_t* path) noexcept {
    std::array<char, PATH_MAX> name;
    struct stat status {};
    return path && ToUtf8(path, name) && lstat(name.data(), &status) == 0 && S_ISREG(status.st_mode);
}

void DeleteFileQuietly(const wchar_t* path) noexcept {
    try {
        unlink(Utf8Path(path).c_str());
    } catch (const std::exception&) { // no memory for the name, or no name
    }
}

} // namespace platform
