// Many frames, many sessions, odd sizes: memory stays flat where it must and grows by the figures of docs/embedding.md
// where it must. KY_SOAK=1 runs the long form and prints its figures.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <tuple>

#include <gtest/gtest.h>
#include <malloc.h>

#include "session/sessions.h"

namespace {

constexpr double kMiB = 1024.0 * 1024.0;

bool IsLong() { return std::getenv("KY_SOAK") != nullptr; }

/// Memory that the process holds now, in MiB, after the heap has given back what it can.
double HeldMiB() {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__clang__)
    malloc_trim(0);
#endif
    std::ifstream status("/proc/self/statm");
    double pages = 0.0;
    status >> pages >> pages;
    return pages * 4096.0 / kMiB;
}

/// The checks keep freed memory for a while: there only results and leaks count.
constexpr bool kMemoryTells =
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(__clang__)
    false;
#else
    true;
#endif

struct Stack {
    test::TemporaryFolder Folder;
    std::wstring Temp = (Folder.Path() / "temp").wstring();
    test::Session Session{KyfAllocFocusComposition()};

    explicit Stack(int mode, KyfSpeed speed = 2) {
        KyfFocusInitializeParameter parameter{};
        parameter.TempFolder = Temp.c_str();
        parameter.DisableGPU = 1;
        const auto two = test::Defaults<KyfFocusComposition2DSelectionParameter>(speed);
        const auto three = test::Defaults<KyfFocusComposition3DSelectionParameter>(speed);
        bool isOk = KyfFocusInitialize(Session.get(), &parameter) == KyfResultOk;
        if (mode == 0) isOk = isOk && KyfFocusStart2DSelection(Session.get(), &two) == KyfResultOk;
        if (mode == 1) isOk = isOk && KyfFocusStart3DSafe(Session.get(), &three) == KyfResultOk;
        if (mode == 2) isOk = isOk && KyfFocusStartComplexProcessing(Session.get(), &two, &three) == KyfResultOk;
        if (!isOk) throw std::runtime_error("no session");
    }
    KyfResult Add(KyiImageData& frame, double height) const {
        return KyfFocusAddImageWithHeight(Session.get(), &frame, height, 0, nullptr);
    }
    KyfResult Make() const { return KyfFocusMakeCompImage(Session.get(), 0, nullptr); }
};

/// MiB that a session of a mode holds after so many frames, and after half as many.
std::pair<double, double> HeldByFrames(int mode, int frames, std::int32_t width, std::int32_t height) {
    const Stack stack(mode);
    const double before = HeldMiB();
    double half = 0.0;
    const test::Image frame = test::TexturedImage(width, height, KyiFormatBgr24, 1);
    for (int i = 0; i < frames; ++i) {
        EXPECT_EQ(stack.Add(*frame, 0.5 * i), KyfResultOk);
        if (i + 1 == frames / 2) half = HeldMiB() - before;
    }
    const double all = HeldMiB() - before;
    EXPECT_EQ(stack.Make(), KyfResultOk);
    std::printf("mode %d, %d frames of %d x %d: %.2f MiB after half of them, %.2f after all\n", mode, frames, width,
                height, half, all);
    return {half, all};
}

TEST(Soak, MemoryOfA2DSessionIsFlat) {
    const int frames = IsLong() ? 3000 : 300;
    const auto [half, all] = HeldByFrames(KyfMode2DSelection, frames, 64, 48);
    EXPECT_TRUE(!kMemoryTells || all - half < 1.0);
}

// Two grids of doubles a frame: 64 by 48 samples of Speed 2 take 48 KiB, and 72 KiB with their row tables in whole
// pages.
TEST(Soak, MemoryOfA3DSessionGrowsByTwoGridsAFrame) {
    const int frames = IsLong() ? 3000 : 300;
    const auto [half, all] = HeldByFrames(KyfMode3DSafe, frames, 64, 48);
    const double grids = 48.0 / 1024.0 * frames / 2;
    if (!kMemoryTells) return;
    EXPECT_GT(all - half, grids * 0.9);
    EXPECT_LT(all - half, grids * 1.6 + 1.0); // pages are whole
}

KyfResult RunSession(int mode, std::uint32_t seed) {
    const Stack stack(mode);
    KyfResult result = KyfResultOk;
    for (std::uint32_t i = 0; i < 2 && result == KyfResultOk; ++i)
        result = stack.Add(*test::TexturedImage(32, 24, KyiFormatBgr24, seed + i), 1.0 * i);
    return result == KyfResultOk ? stack.Make() : result;
}

TEST(Soak, SessionsOneAfterAnotherLeaveNothing) {
    const int sessions = IsLong() ? 500 : 90;
    double third = 0.0;
    for (int i = 0; i < sessions; ++i) {
        ASSERT_EQ(RunSession(i % 3, static_cast<std::uint32_t>(i)), KyfResultOk);
        if (i + 1 == sessions / 3) third = HeldMiB();
    }
    const double all = HeldMiB();
    std::printf("%d sessions: %.2f MiB after a third of them, %.2f after all\n", sessions, third, all);
    EXPECT_TRUE(!kMemoryTells || all - third < 1.0);
}

TEST(Soak, EightSessionsAtOnceGiveWhatOneGives) {
    const int turns = IsLong() ? 60 : 4;
    const auto image = [](int mode) {
        const Stack stack(mode);
        for (std::uint32_t i = 0; i < 3; ++i) stack.Add(*test::TexturedImage(32, 24, KyiFormatBgr24, i), 1.0 * i);
        KyiImageData* composed = nullptr;
        if (stack.Make() == KyfResultOk) KyfFocusExtractCompImage(stack.Session.get(), &composed);
        return test::Image(composed);
    };
    const test::Image expected[] = {image(0), image(1), image(2)};
    std::atomic<int> equal{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([&, t] {
            for (int turn = 0; turn < turns; ++turn) {
                const int mode = (t + turn) % 3;
                const test::Image composed = image(mode);
                if (composed && test::SameImage(*expected[mode], *composed)) ++equal;
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(equal, 8 * turns);
}

using Shape = std::tuple<std::int32_t, std::int32_t, int>;

/// Width, height and mode.
class SoakShapes : public testing::TestWithParam<Shape> {};

// A frame so flat that its grid has no rows is refused by the 3D pipeline.
TEST_P(SoakShapes, EndWithAResultForAnyNumberOfFrames) {
    const auto [width, height, mode] = GetParam();
    const bool isLarge =
        mode != 0 && height / width > 1000; // a grid of 64 times as many samples as the frame has pixels
    for (const int frames : isLarge ? std::vector{1} : std::vector{1, 2, 5}) {
        const Stack stack(mode);
        const bool isFlat = mode != 0 && width / 64 > height;
        KyfResult result = KyfResultOk;
        for (int i = 0; i < frames; ++i) {
            const auto seed = static_cast<std::uint32_t>(i + 1);
            result = stack.Add(*test::TexturedImage(width, height, KyiFormatBgr24, seed), 1.0 + i);
            ASSERT_EQ(result, isFlat ? KyfResultFailAlloc : KyfResultOk);
        }
        if (isFlat) continue;
        ASSERT_EQ(stack.Make(), KyfResultOk);
        KyiImageData* composed = nullptr;
        ASSERT_EQ(KyfFocusGetCompImage(stack.Session.get(), &composed), KyfResultOk);
        EXPECT_EQ(composed->Width, width);
        EXPECT_EQ(composed->Height, height);
    }
}

INSTANTIATE_TEST_SUITE_P(Odd, SoakShapes,
                         testing::Values(Shape{1, 1, 0}, Shape{3, 2, 0}, Shape{5, 400, 0}, Shape{1, 3000, 0},
                                         Shape{3, 2, 1}, Shape{5, 400, 1}, Shape{400, 5, 1}, Shape{3000, 1, 0},
                                         Shape{3000, 1, 1}, Shape{5, 400, 2}, Shape{1, 1, 1}, Shape{1, 1, 2},
                                         Shape{1, 3000, 1}, Shape{3000, 1, 2}));

TEST(SoakNumbers, FramesBeyondAByteAndBeyondTwo) {
    for (const int frames : {257, 513})
        for (const int mode : {0, 1}) {
            const Stack stack(mode);
            for (int i = 0; i < frames; ++i) {
                const auto seed = static_cast<std::uint32_t>(i % 7 + 1);
                ASSERT_EQ(stack.Add(*test::TexturedImage(16, 12, KyiFormatGray8, seed), 1.0 * i), KyfResultOk);
            }
            ASSERT_EQ(stack.Make(), KyfResultOk);
            const KyfCompositionState& state = mode == 0 ? stack.Session->State2D : stack.Session->State3D;
            EXPECT_EQ(state.FrameCount, frames);
        }
}

// One frame of 400 megapixels of colour is 1.2 GB; the long form alone takes it.
TEST(SoakNumbers, AVeryLargeFrameComposesWithinMemory) {
    const std::int32_t width = IsLong() ? 20000 : 1000;
    const std::int32_t height = width;
    const test::Image frame(KyiAllocImageData(width, height, KyiFormatBgr24));
    ASSERT_NE(frame, nullptr);
    KyiFill(frame.get(), 7, 0, 0);
    const double before = HeldMiB();
    const Stack stack(0, 0);
    for (int i = 0; i < 2; ++i) ASSERT_EQ(stack.Add(*frame, 1.0 * i), KyfResultOk);
    std::int32_t workWidth = 0;
    std::int32_t workHeight = 0;
    ASSERT_EQ(KyfFocusGetMemorySize(stack.Session.get(), &workWidth, &workHeight), KyfResultOk);
    EXPECT_EQ(workWidth, width);
    EXPECT_EQ(workHeight, height);
    const double held = (HeldMiB() - before) * kMiB / (1.0 * width * height);
    std::printf("%d x %d, two frames at full speed: %.2f bytes a pixel held\n", width, height, held);
    EXPECT_TRUE(!kMemoryTells || held < 24.0);
}

} // namespace
