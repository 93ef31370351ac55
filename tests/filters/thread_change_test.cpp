// A progress callback changes the number of threads while a filter runs. Writes behind a block of scratch would go
// unseen on most days, so that blocks get guards here.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>

#include <gtest/gtest.h>
#include <omp.h>

#include "filters/filters.h"
#include "filters/scratch.h"
#include "filters/shapes.h"
#include "reference/spline_image.h"
#include "support/images.h"

// The sanitizers bring operators of their own, which see such writes without guards.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KY_GUARDED_BLOCKS 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KY_GUARDED_BLOCKS 0
#endif
#endif
#ifndef KY_GUARDED_BLOCKS
#define KY_GUARDED_BLOCKS 1
#endif

namespace {

bool g_isGuarding = false;
int g_damagedBlocks = 0;

} // namespace

#if KY_GUARDED_BLOCKS
namespace {

constexpr std::size_t kHeader = 64; // holds the sizes, and keeps the block on its boundary
constexpr std::size_t kGuard = std::size_t{4} << 20;
constexpr std::uint8_t kPattern = 0xA5;

struct Sizes {
    std::size_t Block;
    std::size_t Guard;
};

} // namespace

[[gnu::noinline]] void* operator new(std::size_t bytes, std::align_val_t boundary) {
    const std::size_t guard = g_isGuarding ? kGuard : 0;
    const std::size_t whole = (kHeader + bytes + guard + kHeader - 1) / kHeader * kHeader;
    void* const memory = static_cast<std::size_t>(boundary) <= kHeader ? std::aligned_alloc(kHeader, whole) : nullptr;
    if (!memory) throw std::bad_alloc();
    *static_cast<Sizes*>(memory) = {bytes, guard};
    auto* const block = static_cast<std::uint8_t*>(memory) + kHeader;
    std::fill_n(block + bytes, guard, kPattern);
    return block;
}
[[gnu::noinline]] void operator delete(void* block, std::align_val_t) noexcept {
    if (!block) return;
    auto* const bytes = static_cast<std::uint8_t*>(block);
    auto* const memory = bytes - kHeader;
    const Sizes sizes = *reinterpret_cast<const Sizes*>(memory);
    const std::uint8_t* const guard = bytes + sizes.Block;
    if (std::any_of(guard, guard + sizes.Guard, [](std::uint8_t byte) { return byte != kPattern; })) ++g_damagedBlocks;
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* block, std::size_t, std::align_val_t boundary) noexcept {
    operator delete(block, boundary);
}
#endif

namespace {

using test::Image;

void TakeManyThreads(KyfProgress* /*node*/) { omp_set_num_threads(16); }
void TakeOneThread(KyfProgress* /*node*/) { omp_set_num_threads(1); }

// Three channels: six passes, with a call of the callback behind each. Both axes have blocks for more than 2 threads.
void ExpectPlainFormWhile(int threads, void (*callback)(KyfProgress*)) {
    const Image source = test::RandomImage(330, 300, KyiFormatBgr24, 1);
    const Image expected = test::RandomImage(330, 300, KyiFormatBgr24, 2);
    const Image actual = test::RandomImage(330, 300, KyiFormatBgr24, 2);
    reference::FilterSplineImage(*source, *expected, 5.0, 4.0, 1.0, kyf::UseParallelProcess(source.get(), 1));
    const test::ThreadScope scope(threads);
    KyfProgress* const node = KyfAllocProgress(callback, nullptr);
    g_damagedBlocks = 0;
    g_isGuarding = true;
    kyf::FilterSplineImage(source.get(), actual.get(), 5.0, 4.0, 1.0, 1, node);
    g_isGuarding = false;
    KyfFreeProgress(node);
    EXPECT_EQ(g_damagedBlocks, 0);
    EXPECT_TRUE(test::SamePixelBytes(*expected, *actual));
}

TEST(FilterSplineImage, KeepsToItsScratchWhenACallbackRaisesTheThreads) { ExpectPlainFormWhile(1, TakeManyThreads); }

TEST(FilterSplineImage, EqualsThePlainFormWhenACallbackLowersTheThreads) { ExpectPlainFormWhile(5, TakeOneThread); }

TEST(WorkShare, HasNoMoreChunksThanBlocksOrSlices) {
    for (const std::int32_t blocks : {0, 1, 3, 100})
        for (const std::int32_t mostChunks : {1, 2, 7}) {
            const kyf::WorkShare share = kyf::WorkShare::Within(blocks, mostChunks);
            EXPECT_EQ(share.Chunks, std::max(1, std::min(blocks, mostChunks)));
            EXPECT_EQ(share.First(0), 0);
            EXPECT_EQ(share.Last(share.Chunks - 1), blocks);
        }
}

} // namespace
