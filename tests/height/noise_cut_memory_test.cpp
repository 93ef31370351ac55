// Every allocation of a noise cut fails once. A binary of its own: it takes the place of the allocators.
#include <vector>

#include <gtest/gtest.h>

#include "height/height_session.h"
#include "height/noise_cut_data.h"
#include "support/failing_allocations.h"
#include "support/images.h"

namespace {

constexpr std::int32_t kWidth = 20;
constexpr std::int32_t kHeight = 9;
constexpr int kMostAllocations = 100;
constexpr int kFewestAllocations = KY_OWN_OPERATORS ? 6 : 2;
constexpr KyfHeightNoiseCutParameter kParameter{0.5, KyfNoiseCutFillNeighbours, 20};

reference::Field Heights() { return reference::Field(kHeight, std::vector<double>(kWidth, 5.0)); }
reference::IntField Map() {
    reference::IntField map(kHeight, std::vector<std::int32_t>(kWidth, 200));
    map[4][4] = 0;
    return map;
}

TEST(OutOfMemory, FailsASessionsCutWithTheHeightsAsTheyWere) {
    const test::Session session = test::MakeSession(KyfMode2DSelection);
    KyfCompositionState& state = session->State2D;
    state.CuttedWidth = kWidth;
    state.CuttedHeight = kHeight;
    const std::vector<double> before(kWidth * kHeight, 1.0);
    state.CuttedHeightDataMap = test::MakeDoubleRows(kWidth, kHeight, test::Flat(Heights()));
    state.CuttedAntNoiseHeightDataMap = test::MakeDoubleRows(kWidth, kHeight, before);
    session->CuttedBestFocusMap = test::MakeIntRows(kWidth, kHeight, test::Flat(Map()));
    int n = 0;
    for (; n < kMostAllocations; ++n) {
        const KyfResult result =
            test::RunWithAllocations(n, [&] { return KyfFocusFilterHeightNoiseCut(session.get(), &kParameter); });
        if (result == KyfResultOk) break;
        ASSERT_EQ(result, KyfResultFailAlloc) << n;
        ASSERT_TRUE(test::SameValues(before, {state.CuttedAntNoiseHeightDataMap[0], before.size()})) << n;
    }
    EXPECT_LT(n, kMostAllocations);
    EXPECT_GE(n, kFewestAllocations) << "too few allocations were seen";
}

TEST(OutOfMemory, FailsAHostsCutWithTheImageAsItWas) {
    test::NoiseCutData data(Heights(), Map(), 256);
    data.Record.Parameter = kParameter;
    const test::Image image(KyiAllocImageData(kWidth, kHeight, KyiFormatGray8));
    KyiFill(image.get(), 99, 0, 0);
    const test::Image before(KyiDuplicateImageData(image.get(), 0));
    int n = 0;
    for (; n < kMostAllocations; ++n) {
        const KyfResult result = test::RunWithAllocations(
            n, [&] { return KyfFilterHeightNoiseCut(image.get(), image.get(), &data.Record, nullptr); });
        if (result == KyfResultOk) break;
        ASSERT_EQ(result, KyfResultFailAlloc) << n;
        ASSERT_TRUE(test::SameImage(*before, *image)) << n;
    }
    EXPECT_LT(n, kMostAllocations);
    EXPECT_GE(n, kFewestAllocations) << "too few allocations were seen";
}

TEST(OutOfMemory, EndsAPreviewWithTheImageAsItWas) {
    if (KY_OWN_OPERATORS == 0) GTEST_SKIP() << "the allocator is the checker's";
    test::NoiseCutData data(Heights(), Map(), 256);
    data.Record.Parameter = kParameter;
    const test::Image image(KyiAllocImageData(kWidth, kHeight, KyiFormatGray8));
    KyiFill(image.get(), 99, 0, 0);
    const test::Image before(KyiDuplicateImageData(image.get(), 0));
    test::RunWithAllocations(0, [&] {
        KyfPreviewFilterHeightNoiseCut(image.get(), image.get(), &data.Record);
        return 0;
    });
    EXPECT_TRUE(test::SameImage(*before, *image));
}

} // namespace
