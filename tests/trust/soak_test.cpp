// Many frames, many sessions, odd sizes: memory stays flat where it must and grows by the figures of docs/embedding.md
// where it must. KY_SOAK=1 runs the long form and prints its figures.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>
#include <malloc.h>

#include "session/sessions.h"
#include "support/peak_memory.h"

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

    explicit Stack(int mode, KyfSpeed speed = 2)
        : Stack(mode, test::Defaults<KyfFocusComposition2DSelectionParameter>(speed),
                test::Defaults<KyfFocusComposition3DSelectionParameter>(speed)) {}
    Stack(int mode, const KyfFocusComposition2DSelectionParameter& two,
          const KyfFocusComposition3DSelectionParameter& three) {
        KyfFocusInitializeParameter parameter{};
        parameter.TempFolder = Temp.c_str();
        parameter.DisableGPU = 1;
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

// ---- stacks of more frames than a byte counts

constexpr std::int32_t kStackWidth = 64;
constexpr std::int32_t kStackHeight = 32;

template <typename ValueAt> test::Image GrayFrame(const ValueAt& valueAt) {
    std::vector<std::int32_t> plane;
    for (std::int32_t y = 0; y < kStackHeight; ++y)
        for (std::int32_t x = 0; x < kStackWidth; ++x) plane.push_back(valueAt(x, y));
    return test::FromPlanes(kStackWidth, kStackHeight, KyiFormatGray8, plane);
}

/// Squares of 2 pixels for the 3D pipeline, and fields of 8 pixels for the quarter of the size where 2D selection
/// works.
std::int32_t SharpValue(std::int32_t x, std::int32_t y) {
    if ((x / 2 + y / 2) % 2 == 0) return 0;
    return (x / 8 + y / 8) % 2 == 0 ? 255 : 130;
}

/// Places in the middle of a table where `isRight` is false: along the borders not all is taken over.
template <typename IsRight> int WrongInTheMiddle(std::int32_t width, std::int32_t height, const IsRight& isRight) {
    int wrong = 0;
    for (std::int32_t y = height / 4; y < height * 3 / 4; ++y)
        for (std::int32_t x = width / 4; x < width * 3 / 4; ++x) wrong += isRight(x, y) ? 0 : 1;
    return wrong;
}

void ExpectPixelsOf(const KyiImageData& frame, const KyfCompositionState& state) {
    ASSERT_NE(state.CompImage, nullptr);
    const std::vector<std::int32_t> expected = test::ToPlanes(frame);
    const std::vector<std::int32_t> composed = test::ToPlanes(*state.CompImage);
    ASSERT_EQ(composed.size(), expected.size());
    EXPECT_EQ(WrongInTheMiddle(kStackWidth, kStackHeight,
                               [&](std::int32_t x, std::int32_t y) {
                                   const auto at = static_cast<std::size_t>(y * kStackWidth + x);
                                   return composed[at] == expected[at];
                               }),
              0);
}

void ExpectHeight(double height, const KyfCompositionState& state) {
    ASSERT_NE(state.HeightDataMap, nullptr);
    ASSERT_EQ(state.MapWidth, kStackWidth);
    ASSERT_EQ(state.MapHeight, kStackHeight);
    double** const map = state.HeightDataMap;
    EXPECT_EQ(WrongInTheMiddle(
                  kStackWidth, kStackHeight,
                  [&](std::int32_t x, std::int32_t y) { return map[y][x] > height - 1.0 && map[y][x] < height + 1.0; }),
              0)
        << "in the centre it is " << map[kStackHeight / 2][kStackWidth / 2];
}

void ExpectBestFrame(std::int32_t frame, const KyfFocusComposition& session) {
    ASSERT_NE(session.BestFrameMap, nullptr);
    const KyfCompositionState& state = session.State2D;
    ASSERT_GE(state.WorkWidth, 4);
    ASSERT_GE(state.WorkHeight, 4);
    std::int32_t** const map = session.BestFrameMap;
    EXPECT_EQ(WrongInTheMiddle(state.WorkWidth, state.WorkHeight,
                               [&](std::int32_t x, std::int32_t y) { return map[y][x] == frame; }),
              0)
        << "in the centre it is " << map[state.WorkHeight / 2][state.WorkWidth / 2];
}

// The last frame alone is sharp, and its number does not fit into 8 bits, or into 9.
TEST(SoakNumbers, FramesBeyondAByteAndBeyondTwo) {
    const test::Image flat = GrayFrame([](std::int32_t, std::int32_t) { return 100; });
    const test::Image sharp = GrayFrame(SharpValue);
    const auto two = test::Defaults<KyfFocusComposition2DSelectionParameter>(2);
    auto three = test::Defaults<KyfFocusComposition3DSelectionParameter>(2);
    three.PlaneType = KyfPlaneTypeOther;
    three.HalationMeasures = 0; // else a peak at the end of the stack counts as a reflex
    for (const int frames : {257, 513})
        for (const int mode : {0, 1, 2}) {
            SCOPED_TRACE(testing::Message() << frames << " frames, mode " << mode);
            const Stack stack(mode, two, three);
            for (int i = 0; i < frames; ++i)
                ASSERT_EQ(stack.Add(i + 1 < frames ? *flat : *sharp, 2.0 * i), KyfResultOk);
            ASSERT_EQ(stack.Make(), KyfResultOk);
            const KyfFocusComposition& session = *stack.Session;
            if (mode != 1) {
                EXPECT_EQ(session.State2D.FrameCount, frames);
                ExpectBestFrame(frames - 1, session);
                ExpectHeight(2.0 * (frames - 1), session.State2D);
                ExpectPixelsOf(*sharp, session.State2D);
            }
            if (mode != 0) {
                EXPECT_EQ(session.State3D.FrameCount, frames);
                ExpectHeight(2.0 * (frames - 1), session.State3D);
                ExpectPixelsOf(*sharp, session.State3D);
            }
        }
}

// ---- a very large frame

// Bytes a pixel of a session of mode 0 at full speed, where the working size is the frame's.
constexpr double kTables = 4.0 + 4.0 + 8.0; // best focus, best frame, weight: held from the first add on
constexpr double kAdding = 1.0;             // the focus values of a frame of 8 bits a channel
constexpr double kHeights = 4 * 8.0 + 4.0;  // two maps of doubles, whole and cut, and the cut focus values: held
constexpr double kColours = 3.0;            // the composite, and once more while it is cut

/// What may come on top: lines that filters work on, tables of rows, the heap's own.
double WithSlack(double mebibytes) { return 1.01 * mebibytes + 8.0; }

/// What the system can still give.
double AvailableMiB() {
    std::ifstream memory("/proc/meminfo");
    for (std::string line; std::getline(memory, line);)
        if (line.starts_with("MemAvailable:")) return std::stod(line.substr(13)) / 1024.0;
    ADD_FAILURE() << "the system does not tell";
    return 0.0;
}

/// 400 megapixels in the long form, or as many as find room; the host's frame included.
std::int32_t SideOfLargeFrame(double bytesOfPixel) {
    if (!kMemoryTells) return 1000; // the checks are slow
    std::int32_t side = IsLong() ? 20000 : 3600;
    while (side > 1000 && WithSlack((bytesOfPixel + kColours) * side * side / kMiB) > 0.9 * AvailableMiB()) side /= 2;
    return side;
}

/// Bars of 4 by 4 pixels.
void DrawBars(KyiImageData& frame) {
    const std::size_t bytes = static_cast<std::size_t>(frame.Width) * 3;
    std::vector<std::uint8_t> lines[2]{std::vector<std::uint8_t>(bytes), std::vector<std::uint8_t>(bytes)};
    for (std::size_t i = 0; i < bytes; ++i) {
        lines[0][i] = i / 12 % 2 == 0 ? std::uint8_t{40} : std::uint8_t{220};
        lines[1][i] = i / 12 % 2 == 0 ? std::uint8_t{220} : std::uint8_t{40};
    }
    for (std::int32_t y = 0; y < frame.Height; ++y)
        std::memcpy(KyiGetPixelAddress(&frame, 0, y), lines[y / 4 % 2].data(), bytes);
}

/// With and without heights. For processes of their own, as ctest runs them: heaps keep what came before.
class SoakLargeFrame : public testing::TestWithParam<bool> {};

TEST_P(SoakLargeFrame, ComposesWithinTheMemoryThatIsTold) {
    const bool hasHeights = GetParam();
    const std::int32_t side =
        SideOfLargeFrame(kTables + kColours + std::max(kAdding, kColours + (hasHeights ? kHeights : 0.0)));
    const test::Image frame(KyiAllocImageData(side, side, KyiFormatBgr24));
    ASSERT_NE(frame, nullptr);
    KyiFill(frame.get(), 7, 0, 0);
    // Left to itself the heap keeps ever larger blocks that were freed, and the peak depends on what went before.
    mallopt(M_MMAP_THRESHOLD, 1 << 20);
    HeldMiB(); // gives back what earlier tests have left
    test::ForgetPeakMemory();
    const auto before = static_cast<double>(test::PeakMemory());
    const Stack stack(0, 0);
    const auto add = [&](double height) {
        return hasHeights ? stack.Add(*frame, height) : KyfFocusAddImage(stack.Session.get(), frame.get(), 0, nullptr);
    };
    ASSERT_EQ(add(1.0), KyfResultOk);
    DrawBars(*frame);
    ASSERT_EQ(add(2.0), KyfResultOk);
    const double addPeak = static_cast<double>(test::PeakMemory()) - before;
    const double added = HeldMiB() - before;
    test::ForgetPeakMemory();
    ASSERT_EQ(stack.Make(), KyfResultOk);
    const double makePeak = static_cast<double>(test::PeakMemory()) - before;
    const double made = HeldMiB() - before;

    std::int32_t workWidth = 0;
    std::int32_t workHeight = 0;
    ASSERT_EQ(KyfFocusGetMemorySize(stack.Session.get(), &workWidth, &workHeight), KyfResultOk);
    EXPECT_EQ(workWidth, side);
    EXPECT_EQ(workHeight, side);
    KyiImageData* composed = nullptr;
    ASSERT_EQ(KyfFocusGetCompImage(stack.Session.get(), &composed), KyfResultOk);
    ASSERT_NE(composed, nullptr);
    ASSERT_EQ(composed->Width, side);
    ASSERT_EQ(composed->Height, side);
    for (const std::int32_t y : {side / 4, side / 2, side * 3 / 4})
        EXPECT_EQ(std::memcmp(KyiGetPixelAddress(composed, side / 4, y), KyiGetPixelAddress(frame.get(), side / 4, y),
                              static_cast<std::size_t>(side) / 2 * 3),
                  0)
            << "row " << y;
    double** const heights = stack.Session->State2D.CuttedHeightDataMap;
    ASSERT_EQ(heights != nullptr, hasHeights);
    if (hasHeights) {
        EXPECT_EQ(heights[side / 2][side / 2], 2.0);
    }

    // The session tells its working size, and from that follows what it takes.
    const double pixels = 1.0 * workWidth * workHeight / kMiB; // in 2^20, so that bytes a pixel give MiB
    std::printf("%d x %d in mode 0 at full speed %s heights, bytes a pixel: %.2f during the adds, %.2f after them, "
                "%.2f during the make, %.2f after it\n",
                side, side, hasHeights ? "with" : "without", addPeak / pixels, added / pixels, makePeak / pixels,
                made / pixels);
    if (!kMemoryTells) return;
    const double stated = kTables + kColours;
    const double statedMade = stated + (hasHeights ? kHeights : 0.0);
    EXPECT_LT(added, WithSlack(stated * pixels));
    EXPECT_LT(addPeak, WithSlack((stated + kAdding) * pixels));
    EXPECT_LT(made, WithSlack(statedMade * pixels));
    EXPECT_LT(makePeak, WithSlack((hasHeights ? statedMade : stated + kColours) * pixels));
    EXPECT_GT(addPeak, 0.95 * stated * pixels) << "the peak is not measured";
    EXPECT_GT(makePeak, 0.95 * statedMade * pixels) << "the peak is not measured";
}

INSTANTIATE_TEST_SUITE_P(Heights, SoakLargeFrame, testing::Bool());

} // namespace
