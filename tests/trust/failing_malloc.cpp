#include "trust/failing_malloc.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <dlfcn.h>
#include <link.h>
#include <malloc.h>
#include <sys/mman.h>

// The C library's own, under names that nothing stands before.
extern "C" {
void* __libc_malloc(std::size_t bytes);
void* __libc_calloc(std::size_t count, std::size_t bytes);
void* __libc_realloc(void* block, std::size_t bytes);
void* __libc_memalign(std::size_t alignment, std::size_t bytes);
void __libc_free(void* block);
}

namespace test {
namespace {

constexpr int kFresh = 0xA5;
constexpr int kGone = 0xDB;

std::atomic<bool> g_isArmed{false};
std::atomic<long> g_next{0}; // number of the next allocation since arming
std::atomic<long> g_firstToFail{0};
std::atomic<bool> g_allLaterFail{false};
std::atomic<bool> g_hasFailed{false};
std::atomic<long> g_live{0};

/// Where the code of those lies that end the process when they get no memory. Found once, while nothing fails.
struct CodeRange {
    std::uintptr_t First = 0;
    std::uintptr_t End = 0;
};
std::array<CodeRange, 2> g_unfailing; // the OpenMP runtime's and the loader's

int FindCode(dl_phdr_info* info, std::size_t, void*) {
    constexpr std::array kNames{"libgomp", "ld-linux"};
    for (std::size_t which = 0; which < kNames.size(); ++which) {
        if (!info->dlpi_name || !std::strstr(info->dlpi_name, kNames[which])) continue;
        for (int i = 0; i < info->dlpi_phnum; ++i) {
            const auto& part = info->dlpi_phdr[i];
            if (part.p_type != PT_LOAD || (part.p_flags & PF_X) == 0) continue;
            const std::uintptr_t first = info->dlpi_addr + part.p_vaddr;
            g_unfailing[which] = {first, first + part.p_memsz};
        }
    }
    return 0;
}

bool IsUnfailing(const void* caller) {
    const auto from = reinterpret_cast<std::uintptr_t>(caller);
    for (const CodeRange& range : g_unfailing)
        if (from >= range.First && from < range.End) return true;
    return false;
}

/// @param caller  Return address of the allocator.
bool MayAllocate(const void* caller) {
    if (!g_isArmed.load(std::memory_order_relaxed)) return true;
    if (IsUnfailing(caller)) return true;
    const long number = g_next.fetch_add(1);
    const long first = g_firstToFail.load();
    if (number != first && (number < first || !g_allLaterFail.load())) return true;
    g_hasFailed.store(true);
    errno = ENOMEM;
    return false;
}

void* Counted(void* block) {
    if (block) g_live.fetch_add(1);
    return block;
}

void* Fresh(void* block) {
    if (block) std::memset(block, kFresh, malloc_usable_size(block));
    return Counted(block);
}

} // namespace

void FailAllocations(long n, Failing which) {
    if (g_unfailing[0].End == 0) dl_iterate_phdr(FindCode, nullptr);
    g_next.store(0);
    g_firstToFail.store(n);
    g_allLaterFail.store(which == Failing::AllLater);
    g_hasFailed.store(false);
    g_isArmed.store(true);
}

Asked EndFailing() {
    g_isArmed.store(false);
    return {g_next.load(), g_hasFailed.load()};
}

long LiveBlocks() { return g_live.load(); }

} // namespace test

// Shown to the libraries, of which each is bound to what is found first.
#pragma GCC visibility push(default)
extern "C" {

void* malloc(std::size_t bytes) {
    return test::MayAllocate(__builtin_return_address(0)) ? test::Fresh(__libc_malloc(bytes)) : nullptr;
}

void* calloc(std::size_t count, std::size_t bytes) {
    return test::MayAllocate(__builtin_return_address(0)) ? test::Counted(__libc_calloc(count, bytes)) : nullptr;
}

void* realloc(void* block, std::size_t bytes) {
    if (!test::MayAllocate(__builtin_return_address(0))) return nullptr;
    void* const grown = __libc_realloc(block, bytes);
    if (!block) test::Counted(grown);
    if (block && bytes == 0 && !grown) test::g_live.fetch_sub(1);
    return grown;
}

void* memalign(std::size_t alignment, std::size_t bytes) {
    return test::MayAllocate(__builtin_return_address(0)) ? test::Fresh(__libc_memalign(alignment, bytes)) : nullptr;
}

void* aligned_alloc(std::size_t alignment, std::size_t bytes) {
    return test::MayAllocate(__builtin_return_address(0)) ? test::Fresh(__libc_memalign(alignment, bytes)) : nullptr;
}

int posix_memalign(void** block, std::size_t alignment, std::size_t bytes) {
    if (!test::MayAllocate(__builtin_return_address(0))) return ENOMEM;
    void* const made = test::Fresh(__libc_memalign(alignment, bytes));
    if (!made) return ENOMEM;
    *block = made;
    return 0;
}

void free(void* block) {
    if (!block) return;
    std::memset(block, test::kGone, malloc_usable_size(block));
    test::g_live.fetch_sub(1);
    __libc_free(block);
}

// Row tables and large blocks of the library are mappings.
void* mmap(void* address, std::size_t bytes, int protection, int flags, int file, off_t offset) noexcept {
    static auto* const original =
        reinterpret_cast<void* (*)(void*, std::size_t, int, int, int, off_t)>(dlsym(RTLD_NEXT, "mmap"));
    const bool isMemory = (flags & MAP_ANONYMOUS) != 0;
    if (isMemory && !test::MayAllocate(__builtin_return_address(0))) return MAP_FAILED;
    void* const mapping = original(address, bytes, protection, flags, file, offset);
    if (mapping != MAP_FAILED) test::g_live.fetch_add(1);
    return mapping;
}

int munmap(void* address, std::size_t bytes) noexcept {
    static auto* const original = reinterpret_cast<int (*)(void*, std::size_t)>(dlsym(RTLD_NEXT, "munmap"));
    const int result = original(address, bytes);
    if (result == 0) test::g_live.fetch_sub(1);
    return result;
}

} // extern "C"
#pragma GCC visibility pop
