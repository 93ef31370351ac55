/// Page blocks of the operating system: zero-filled, released whole.
///
/// platform/ is the only folder that calls the operating system directly. It uses no other folder.
#ifndef KYFOCUS_PLATFORM_PAGES_H
#define KYFOCUS_PLATFORM_PAGES_H

#include <cstddef>

namespace platform {

/// A zero-filled block aligned to a page, or null: for a size of 0, and when the system has none.
[[nodiscard]] void* AllocatePages(std::size_t bytes) noexcept;

/// Releases a block of AllocatePages. Null does nothing.
void FreePages(void* block) noexcept;

} // namespace platform

#endif
