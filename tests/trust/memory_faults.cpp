// Memory and threads that are refused on demand. Loaded ahead of a program (LD_PRELOAD) and armed by the environment as
// faults.h tells, from main on: KY_FAULT_KIND is "memory", where the n-th block of kLeastBytes or more is refused, or
// "threads", where the n-th thread is. The OpenMP runtime gets all it wants, since it ends the process otherwise.
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

// The C library's own, under names that nothing stands before.
extern "C" {
void* __libc_malloc(std::size_t bytes);
void* __libc_calloc(std::size_t count, std::size_t bytes);
void* __libc_realloc(void* block, std::size_t bytes);
void* __libc_memalign(std::size_t alignment, std::size_t bytes);
}

namespace {

constexpr std::size_t kLeastBytes = 1024;

enum class Kind { None, Memory, Threads };
std::atomic<Kind> g_kind{Kind::None};
std::atomic<int> g_at{0};
std::atomic<int> g_seen{0};
std::uintptr_t g_openMpFirst = 0;
std::uintptr_t g_openMpEnd = 0;

int FindOpenMp(dl_phdr_info* info, std::size_t, void*) {
    if (!info->dlpi_name || !(std::strstr(info->dlpi_name, "libgomp") || std::strstr(info->dlpi_name, "libomp")))
        return 0;
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const auto& part = info->dlpi_phdr[i];
        if (part.p_type != PT_LOAD || (part.p_flags & PF_X) == 0) continue;
        g_openMpFirst = info->dlpi_addr + part.p_vaddr;
        g_openMpEnd = g_openMpFirst + part.p_memsz;
    }
    return 1;
}

/// @param caller  Return address of the call that asks.
bool Refuses(Kind kind, const void* caller) {
    if (g_kind.load() != kind) return false;
    const auto from = reinterpret_cast<std::uintptr_t>(caller);
    if (from >= g_openMpFirst && from < g_openMpEnd) return false;
    return g_seen++ == g_at;
}

bool RefusesBlock(std::size_t bytes, const void* caller) {
    if (bytes < kLeastBytes || !Refuses(Kind::Memory, caller)) return false;
    errno = ENOMEM;
    return true;
}

using Main = int(int, char**, char**);
Main* g_main = nullptr;

int ArmedMain(int count, char** words, char** environment) {
    const char* const kind = std::getenv("KY_FAULT_KIND");
    const char* const at = std::getenv("KY_FAULT_AT");
    if (kind && at) {
        dl_iterate_phdr(FindOpenMp, nullptr);
        g_at = std::atoi(at);
        g_kind = std::strcmp(kind, "memory") == 0    ? Kind::Memory
                 : std::strcmp(kind, "threads") == 0 ? Kind::Threads
                                                     : Kind::None;
    }
    return g_main(count, words, environment);
}

[[gnu::destructor]] void Report() {
    g_kind = Kind::None;
    const char* const report = std::getenv("KY_FAULT_REPORT");
    if (report == nullptr) return;
    char text[16];
    const int length = std::snprintf(text, sizeof text, "%d\n", g_seen.load());
    const int file = static_cast<int>(syscall(SYS_openat, AT_FDCWD, report, O_WRONLY | O_CREAT | O_TRUNC, 0600));
    syscall(SYS_write, file, text, length);
    syscall(SYS_close, file);
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {

int __libc_start_main(Main* program, int count, char** words, void (*start)(), void (*end)(), void (*linker)(),
                      void* stack) {
    g_main = program;
    using Start = int(Main*, int, char**, void (*)(), void (*)(), void (*)(), void*);
    auto* const original = reinterpret_cast<Start*>(dlsym(RTLD_NEXT, "__libc_start_main"));
    return original(ArmedMain, count, words, start, end, linker, stack);
}

void* malloc(std::size_t bytes) {
    return RefusesBlock(bytes, __builtin_return_address(0)) ? nullptr : __libc_malloc(bytes);
}

void* calloc(std::size_t count, std::size_t bytes) {
    std::size_t all = 0;
    const bool isTooMuch = __builtin_mul_overflow(count, bytes, &all);
    return !isTooMuch && RefusesBlock(all, __builtin_return_address(0)) ? nullptr : __libc_calloc(count, bytes);
}

void* realloc(void* block, std::size_t bytes) {
    return RefusesBlock(bytes, __builtin_return_address(0)) ? nullptr : __libc_realloc(block, bytes);
}

void* memalign(std::size_t alignment, std::size_t bytes) {
    return RefusesBlock(bytes, __builtin_return_address(0)) ? nullptr : __libc_memalign(alignment, bytes);
}

void* aligned_alloc(std::size_t alignment, std::size_t bytes) {
    return RefusesBlock(bytes, __builtin_return_address(0)) ? nullptr : __libc_memalign(alignment, bytes);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t bytes) {
    void* const made = RefusesBlock(bytes, __builtin_return_address(0)) ? nullptr : __libc_memalign(alignment, bytes);
    if (!made) return ENOMEM;
    *block = made;
    return 0;
}

// Row tables and large blocks of the library are mappings.
void* mmap(void* address, std::size_t bytes, int protection, int flags, int file, off_t offset) noexcept {
    using Map = void*(void*, std::size_t, int, int, int, off_t);
    static auto* const original = reinterpret_cast<Map*>(dlsym(RTLD_NEXT, "mmap"));
    if ((flags & MAP_ANONYMOUS) != 0 && RefusesBlock(bytes, __builtin_return_address(0))) return MAP_FAILED;
    return original(address, bytes, protection, flags, file, offset);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*), void* data) {
    using Create = int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static auto* const original = reinterpret_cast<Create*>(dlsym(RTLD_NEXT, "pthread_create"));
    return Refuses(Kind::Threads, __builtin_return_address(0)) ? EAGAIN : original(thread, attributes, run, data);
}

} // extern "C"
#pragma GCC visibility pop
