// Every allocation of an add and of a make fails once. A binary of its own: it takes the place of the allocators.
#include <atomic>
#include <cstdlib>
#include <new>
#include <string>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "selection2d/selection2d.h"
#include "selection2d/session_run.h"

namespace {

std::atomic<int> g_allocationsLeft{-1}; // negative: no allocation fails

bool MayAllocate() {
    const int left = g_allocationsLeft.load();
    if (left < 0) return true;
    if (left == 0) return false;
    g_allocationsLeft.store(left - 1);
    return true;
}

template <typename Function> Function* Original(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

// The sanitizers bring operators of their own: there only images run out.
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
    void* const block = MayAllocate() ? std::malloc(bytes ? bytes : 1) : nullptr;
    if (!block) throw std::bad_alloc();
    return block;
}
[[gnu::noinline]] void* operator new[](std::size_t bytes) { return operator new(bytes); }
[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete[](void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
#endif

KyiImageData* KyiAllocImageData(int32_t width, int32_t height, int32_t format) {
    static auto* const original = Original<KyiImageData*(int32_t, int32_t, int32_t)>("KyiAllocImageData");
    return MayAllocate() ? original(width, height, format) : nullptr;
}

KyiImageData* KyiAllocImageDataEx(int32_t width, int32_t height, int32_t format, int32_t origin, int32_t reserved) {
    static auto* const original =
        Original<KyiImageData*(int32_t, int32_t, int32_t, int32_t, int32_t)>("KyiAllocImageDataEx");
    return MayAllocate() ? original(width, height, format, origin, reserved) : nullptr;
}

KyiImageData* KyiDuplicateImageData(const KyiImageData* image, KyiBool parallel) {
    static auto* const original = Original<KyiImageData*(const KyiImageData*, KyiBool)>("KyiDuplicateImageData");
    return MayAllocate() ? original(image, parallel) : nullptr;
}

namespace {

constexpr std::int32_t kWidth = 90;
constexpr std::int32_t kHeight = 70;
constexpr int kMostAllocations = 2000;

/// Runs `work` with the n-th allocation and all later ones failing, and tells whether it got through.
template <typename Work> bool SurvivesAllocations(int n, Work work) {
    g_allocationsLeft.store(n);
    bool isDone = true;
    try {
        isDone = work() == KyfResultOk;
    } catch (const std::bad_alloc&) {
        isDone = false;
    }
    g_allocationsLeft.store(-1);
    return isDone;
}

struct AddCase {
    std::int32_t Speed;
    std::int32_t ScopeType;
    KyiBool Parallel;
};

class OutOfMemory : public testing::TestWithParam<AddCase> {
  protected:
    test::Session Start() const {
        test::SessionSettings settings;
        settings.Speed = GetParam().Speed;
        settings.ScopeType = GetParam().ScopeType;
        return test::StartSession(settings);
    }
    KyfResult Add(KyfFocusComposition& session, std::uint32_t seed, KyiBool& owned) const {
        return kyf::Kyf2DSelectionAddImage(&session, Frame(seed).get(), 0, owned, GetParam().Parallel, nullptr);
    }
    // Brightness is selected from gray frames only.
    static test::Image Frame(std::uint32_t seed) {
        return test::TexturedImage(kWidth, kHeight, GetParam().ScopeType == 2 ? KyiFormatGray8 : KyiFormatBgr24, seed);
    }
};

TEST_P(OutOfMemory, LeavesTheStackWhereItWasWhicheverAllocationOfAnAddFails) {
    const test::Session expected = Start();
    const test::Session session = Start();
    for (const std::uint32_t seed : {1u, 2u, 3u}) {
        const test::Image frame = Frame(seed);
        KyiBool owned = 0;
        ASSERT_EQ(Add(*expected, seed, owned), KyfResultOk);
        const std::int32_t count = session->State2D.FrameCount;
        int allocations = 0;
        const auto add = [&] {
            return kyf::Kyf2DSelectionAddImage(session.get(), frame.get(), 0, owned, GetParam().Parallel, nullptr);
        };
        while (allocations < kMostAllocations) {
            if (SurvivesAllocations(allocations, add)) break;
            ASSERT_EQ(session->State2D.FrameCount, count);
            ASSERT_EQ(owned, 0);
            ++allocations;
        }
        ASSERT_GT(allocations, 0);
        ASSERT_LT(allocations, kMostAllocations);
        EXPECT_TRUE(test::SameValues(test::BestFocus(*expected), test::BestFocus(*session)));
        EXPECT_TRUE(test::SameValues(test::BestFrames(*expected), test::BestFrames(*session)));
        EXPECT_TRUE(test::SameValues(test::Mask(*expected), test::Mask(*session)));
        EXPECT_TRUE(test::SameImage(*expected->State2D.CompImage, *session->State2D.CompImage));
    }
}

TEST_P(OutOfMemory, EndsAMakeWithoutACrash) {
    for (int allocations = 0; allocations < kMostAllocations; ++allocations) {
        const test::Session session = Start();
        for (const std::uint32_t seed : {1u, 2u})
            ASSERT_EQ(KyfFocusAddImageWithHeight(session.get(), Frame(seed).get(), 1.0 * seed, 0, nullptr),
                      KyfResultOk);
        const KyfRect rectangle{3, 4, kWidth - 5, kHeight - 6};
        const bool isDone = SurvivesAllocations(allocations, [&] {
            return kyf::Kyf2DSelectionMakeCompImage(session.get(), rectangle, GetParam().Parallel, nullptr);
        });
        if (isDone && session->State2D.CuttedAntNoiseHeightDataMap) return; // nothing has failed any more
    }
    FAIL() << "never done";
}

INSTANTIATE_TEST_SUITE_P(Settings, OutOfMemory,
                         testing::Values(AddCase{0, 0, 0}, AddCase{0, 0, 1}, AddCase{1, 0, 0}, AddCase{2, 0, 1},
                                         AddCase{0, 2, 1}),
                         [](const auto& chosen) {
                             return "speed" + std::to_string(chosen.param.Speed) + "_scope" +
                                    std::to_string(chosen.param.ScopeType) +
                                    (chosen.param.Parallel ? "_parallel" : "_sequential");
                         });

} // namespace
