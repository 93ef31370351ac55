/// A private folder for a while.
#ifndef KYFOCUS_APP_TEMPORARY_FOLDER_H
#define KYFOCUS_APP_TEMPORARY_FOLDER_H

#include <filesystem>

namespace app {

/// An empty folder that only its owner may enter. It goes with all that is in it when the object goes, and when the
/// program is interrupted.
class TemporaryFolder {
  public:
    /// @param parent  Folder to make it in; empty: the system's temporary folder. Throws Failure when it can't be made
    ///                or its name is longer than the library takes.
    explicit TemporaryFolder(const std::filesystem::path& parent);
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }

    /// Throws Failure when the file system has no room for this many bytes more.
    void RequireRoom(std::uintmax_t bytes) const;

    /// Number of files of at least this many bytes. Throws Failure where the folder cannot be read.
    std::size_t CountFiles(std::uintmax_t leastBytes) const;

  private:
    std::filesystem::path m_path;
};

} // namespace app

#endif
