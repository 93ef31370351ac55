/// Files: reading at a place, and replacing a file as a whole.
///
/// Calls that open, create and commit throw std::system_error, whose text is the reason without the path. Reading and
/// writing do not throw, so that they can be called through libraries written in C; they tell failure by their result
/// and keep the system's error number.
#ifndef KYFOCUS_PLATFORM_FILES_H
#define KYFOCUS_PLATFORM_FILES_H

#include <cstddef>
#include <cstdint>
#include <string>

#include <sys/types.h>

namespace platform {

/// A file descriptor that is closed with its holder.
class FileHandle {
  public:
    FileHandle() = default;
    explicit FileHandle(int descriptor) noexcept : m_descriptor(descriptor) {}
    ~FileHandle();
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;

    /// Takes over another descriptor, or -1.
    void Open(int descriptor) noexcept {
        Close();
        m_descriptor = descriptor;
    }
    int Get() const noexcept { return m_descriptor; }
    bool IsOpen() const noexcept { return m_descriptor >= 0; }
    /// False when the system reports at closing that written data was lost.
    bool Close() noexcept;

  private:
    int m_descriptor = -1;
};

/// A regular file open for reading.
class InputFile {
  public:
    /// Refuses folders, pipes and devices.
    explicit InputFile(const wchar_t* path);

    /// Size in bytes when it was opened.
    std::uint64_t Size() const noexcept { return m_size; }

    /// Reads `bytes` bytes from `offset` on.
    /// @return bytes read; fewer than asked for at the end of the file and after an error.
    std::size_t ReadAt(std::uint64_t offset, void* to, std::size_t bytes) noexcept;

    /// The system's number of the last reading error, 0 without one.
    int ErrorNumber() const noexcept { return m_error; }

  private:
    FileHandle m_handle;
    std::uint64_t m_size = 0;
    int m_error = 0;
};

/// New content for a path. It grows in a temporary file beside the target (created exclusively, no link followed, its
/// name begins with the target's) and takes the target's place in one step; without Commit the target stays as it was
/// and the temporary file goes with the object.
class FileReplacement {
  public:
    /// A target that exists must be a regular file or a link; a link is itself replaced. Permissions of an existing
    /// file are kept, and owner and group where the process may set them.
    /// @param newMode  Permissions of a file where there was none, less what the process takes from new files.
    explicit FileReplacement(const wchar_t* path, mode_t newMode = 0666);
    ~FileReplacement();
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;

    /// Appends. False after an error, and from then on.
    bool Append(const void* from, std::size_t bytes) noexcept;
    /// Writes at a place, which may lie behind the end. False after an error.
    bool WriteAt(std::uint64_t offset, const void* from, std::size_t bytes) noexcept;
    /// Reads back what was written; bytes read as InputFile::ReadAt.
    std::size_t ReadAt(std::uint64_t offset, void* to, std::size_t bytes) noexcept;
    /// One past the last byte written so far.
    std::uint64_t Size() const noexcept { return m_size; }

    /// Makes the new content the target's. Throws when this or an earlier write failed.
    void Commit();

    int ErrorNumber() const noexcept { return m_error; }

  private:
    bool Fail(int error) noexcept;
    void KeepOwnerAndMode() noexcept;
    bool TakePlace() noexcept;

    std::string m_target;
    std::string m_temporary;
    FileHandle m_handle;
    std::uint64_t m_size = 0;
    mode_t m_keptMode = 0;
    uid_t m_keptOwner = 0;
    gid_t m_keptGroup = 0;
    bool m_keepsMode = false;
    bool m_replacesEmpty = false;
    int m_error = 0;
};

/// Puts an empty file at a path that only its owner may open, in the place of a file or link that has the name. No link
/// is followed.
void CreatePrivateFile(const wchar_t* path);

/// Whether a path names a regular file, and no link to one. Needs no memory.
bool IsPlainFile(const wchar_t* path) noexcept;

/// Deletes a file or link; one that cannot be deleted stays. Does not throw.
void DeleteFileQuietly(const wchar_t* path) noexcept;

} // namespace platform

#endif
