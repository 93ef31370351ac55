#include "platform/pages.h"

#include <cstdint>
#include <limits>
#include <sys/mman.h>
#include <unistd.h>

namespace platform {

namespace {

constexpr std::size_t kLargePage = std::size_t{2} << 20;

// The length of a mapping stands in a page of its own ahead of the block, so that a block is released by its address.
std::size_t PageSize() noexcept {
    static const std::size_t size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return size;
}

} // namespace

void* AllocatePages(std::size_t bytes) noexcept {
    const std::size_t head = PageSize();
    if (bytes == 0 || bytes > std::numeric_limits<std::size_t>::max() - head) return nullptr;
    void* const mapping = mmap(nullptr, bytes + head, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapping == MAP_FAILED) return nullptr;
    PreferLargePages(mapping, bytes + head);
    *static_cast<std::size_t*>(mapping) = bytes + head;
    return static_cast<std::uint8_t*>(mapping) + head;
}

void FreePages(void* block) noexcept {
    if (!block) return;
    void* const mapping = static_cast<std::uint8_t*>(block) - PageSize();
    munmap(mapping, *static_cast<std::size_t*>(mapping));
}

void PreferLargePages(void* block, std::size_t bytes) noexcept {
#ifdef MADV_HUGEPAGE
    if (bytes < kLargePage) return;
    const auto first = reinterpret_cast<std::uintptr_t>(block);
    const std::uintptr_t from = (first + kLargePage - 1) / kLargePage * kLargePage;
    const std::uintptr_t to = (first + bytes) / kLargePage * kLargePage;
    if (to > from) madvise(reinterpret_cast<void*>(from), to - from, MADV_HUGEPAGE);
#else
    static_cast<void>(block);
    static_cast<void>(bytes);
#endif
}

} // namespace platform
