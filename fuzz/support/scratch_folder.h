/// A private folder, in memory where the system has such a place, that goes with the program.
#ifndef KYFOCUS_FUZZ_SUPPORT_SCRATCH_FOLDER_H
#define KYFOCUS_FUZZ_SUPPORT_SCRATCH_FOLDER_H

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include "support/require.h"

namespace fuzz {

class ScratchFolder {
  public:
    ScratchFolder() {
        std::error_code error;
        const std::filesystem::path memory = "/dev/shm";
        const bool hasMemory = std::filesystem::is_directory(memory, error);
        std::string name = (hasMemory ? memory : std::filesystem::temp_directory_path()) / "kyfocus_fuzz.XXXXXX";
        Require(mkdtemp(name.data()) != nullptr, "a folder to work in");
        m_path = name;
    }
    ~ScratchFolder() {
        std::error_code error;
        std::filesystem::remove_all(m_path, error);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }

  private:
    std::filesystem::path m_path;
};

} // namespace fuzz

#endif
