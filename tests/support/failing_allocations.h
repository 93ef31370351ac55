/// Allocations that fail on demand: takes the place of the allocators of a test binary. Include it in one source of a
/// binary of its own.
#ifndef KYFOCUS_TESTS_SUPPORT_FAILING_ALLOCATIONS_H
#define KYFOCUS_TESTS_SUPPORT_FAILING_ALLOCATIONS_H

#include <atomic>
#include <cstdlib>
#include <new>

#include <dlfcn.h>
#include <kyimaging/kyimaging.h>
#include <sys/mman.h>

namespace test {

inline std::atomic<int> g_allocationsLeft{-1}; // negative: no allocation fails

inline std::atomic<bool> g_onlyOneFails{false}; // else all that come after the first one fail too

/// What is asked for: a block of the heap, one on a boundary, pages, an image.
enum class Kind { Any, Heap, AlignedHeap, Pages, Images };

inline Kind g_failingKind = Kind::Any; // the others are not counted

inline bool MayAllocate(Kind kind = Kind::Any) {
    if (g_failingKind != Kind::Any && kind != g_failingKind) return true;
    int left = g_allocationsLeft.load();
    while (left > 0 || (left == 0 && g_onlyOneFails.load()))
        if (g_allocationsLeft.compare_exchange_weak(left, left - 1)) break;
    return left != 0;
}

template <typename Function> Function* Original(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// Runs `work` with the n-th allocation, counted from 0, and all later ones failing.
template <typename Work> auto RunWithAllocations(int n, Work work) {
    g_allocationsLeft.store(n);
    const auto result = work();
    g_allocationsLeft.store(-1);
    return result;
}

/// Runs `work` with the n-th allocation failing and no other one. @param hasFailed  Receives whether it came to that.
template <typename Work> auto RunWithOneFailure(int n, bool& hasFailed, Work work) {
    g_onlyOneFails.store(true);
    g_allocationsLeft.store(n);
    const auto result = work();
    hasFailed = g_allocationsLeft.exchange(-1) < 0;
    g_onlyOneFails.store(false);
    return result;
}

} // namespace test

// The sanitizers bring operators of their own: there only images and page blocks run out.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KY_OWN_OPERATORS 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KY_OWN_OPERATORS 0
#endif
#endif
#ifndef KY_OWN_OPERATORS
#define KY_OWN_OPERATORS 1
#endif

#if KY_OWN_OPERATORS
// Not inlined: the compiler would see a block of malloc go to operator delete.
[[gnu::noinline]] void* operator new(std::size_t bytes) {
    void* const block = test::MayAllocate(test::Kind::Heap) ? std::malloc(bytes ? bytes : 1) : nullptr;
    if (!block) throw std::bad_alloc();
    return block;
}
[[gnu::noinline]] void* operator new[](std::size_t bytes) { return operator new(bytes); }
[[gnu::noinline]] void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    return test::MayAllocate(test::Kind::Heap) ? std::malloc(bytes ? bytes : 1) : nullptr;
}
[[gnu::noinline]] void* operator new(std::size_t bytes, std::align_val_t alignment) {
    const auto step = static_cast<std::size_t>(alignment);
    void* const block =
        test::MayAllocate(test::Kind::AlignedHeap) ? std::aligned_alloc(step, (bytes + step) / step * step) : nullptr;
    if (!block) throw std::bad_alloc();
    return block;
}
[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete[](void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, const std::nothrow_t&) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::align_val_t) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::size_t, std::align_val_t) noexcept { std::free(block); }
#endif

// Row tables and the samples of maps.
void* mmap(void* address, std::size_t bytes, int protection, int flags, int file, off_t offset) noexcept {
    static auto* const original = test::Original<void*(void*, std::size_t, int, int, int, off_t)>("mmap");
    return test::MayAllocate(test::Kind::Pages) ? original(address, bytes, protection, flags, file, offset)
                                                : MAP_FAILED;
}

KyiImageData* KyiAllocImageDataEx(int32_t width, int32_t height, int32_t format, int32_t origin, int32_t reserved) {
    static auto* const original =
        test::Original<KyiImageData*(int32_t, int32_t, int32_t, int32_t, int32_t)>("KyiAllocImageDataEx");
    return test::MayAllocate(test::Kind::Images) ? original(width, height, format, origin, reserved) : nullptr;
}

KyiImageData* KyiDuplicateImageData(const KyiImageData* image, KyiBool parallel) {
    static auto* const original = test::Original<KyiImageData*(const KyiImageData*, KyiBool)>("KyiDuplicateImageData");
    return test::MayAllocate(test::Kind::Images) ? original(image, parallel) : nullptr;
}

#endif
