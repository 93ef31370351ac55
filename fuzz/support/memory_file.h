/// A file in memory that readers open by its name.
#ifndef KYFOCUS_FUZZ_SUPPORT_MEMORY_FILE_H
#define KYFOCUS_FUZZ_SUPPORT_MEMORY_FILE_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

#include "support/require.h"

namespace fuzz {

class MemoryFile {
  public:
    MemoryFile() : m_descriptor(memfd_create("fuzz", MFD_CLOEXEC)) { Require(m_descriptor >= 0, "a file in memory"); }
    ~MemoryFile() { close(m_descriptor); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    void Set(std::span<const std::uint8_t> bytes) {
        const auto size = static_cast<ssize_t>(bytes.size());
        const bool isSet =
            ftruncate(m_descriptor, 0) == 0 && pwrite(m_descriptor, bytes.data(), bytes.size(), 0) == size;
        Require(isSet, "a file in memory");
    }
    std::string Path() const { return "/proc/self/fd/" + std::to_string(m_descriptor); }
    std::wstring WidePath() const {
        const std::string path = Path();
        return {path.begin(), path.end()};
    }

  private:
    int m_descriptor;
};

} // namespace fuzz

#endif
