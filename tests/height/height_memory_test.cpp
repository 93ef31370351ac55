// Every allocation of the getters fails once. A binary of its own: it takes the place of the allocators.
#include <cstring>
#include <functional>
#include <numeric>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "height/height_session.h"
#include "support/failing_allocations.h"
#include "support/images.h"

namespace {

constexpr std::int32_t kWidth = 6;
constexpr std::int32_t kHeight = 5;
constexpr int kMostAllocations = 50;

/// All tables of one size, so that every getter has something to give.
test::Session MadeSession() {
    test::Session session = test::MakeSession(KyfMode2DSelection);
    std::vector<double> values(static_cast<std::size_t>(kWidth * kHeight));
    std::iota(values.begin(), values.end(), 1.0);
    KyfCompositionState& state = session->State2D;
    state.SourceWidth = state.CuttedWidth = kWidth;
    state.SourceHeight = state.CuttedHeight = kHeight;
    state.FrameCount = 2;
    state.HeightDataMap = test::MakeDoubleRows(kWidth, kHeight, values);
    state.CuttedHeightDataMap = test::MakeDoubleRows(kWidth, kHeight, values);
    state.CuttedAntNoiseHeightDataMap = test::MakeDoubleRows(kWidth, kHeight, values);
    std::vector<std::int32_t> focus(values.size(), 9);
    focus[3] = 70;
    session->BestFocusMap = test::MakeIntRows(kWidth, kHeight, focus);
    session->BestFocusHeight = kHeight;
    session->CuttedBestFocusMap = test::MakeIntRows(kWidth, kHeight, focus);
    return session;
}

/// Fails one allocation after the other until the call succeeds: -3 each time, and the record as it was.
/// @param fewest  Allocations of the call that are sure to be seen.
template <typename Record>
void ExpectFailures(const char* name, int fewest, const std::function<KyfResult(Record*)>& call,
                    const std::function<void(Record*)>& freeRecord) {
    SCOPED_TRACE(name);
    Record before;
    std::memset(&before, 0x5a, sizeof before);
    int n = 0;
    for (; n < kMostAllocations; ++n) {
        Record record;
        std::memcpy(&record, &before, sizeof record);
        const KyfResult result = test::RunWithAllocations(n, [&] { return call(&record); });
        if (result == KyfResultOk) {
            freeRecord(&record);
            break;
        }
        ASSERT_EQ(result, KyfResultFailAlloc) << "allocation " << n;
        ASSERT_EQ(std::memcmp(&before, &record, sizeof record), 0) << "allocation " << n;
    }
    EXPECT_LT(n, kMostAllocations);
    EXPECT_GE(n, fewest) << "too few allocations were seen";
}

constexpr int kOfOperators = KY_OWN_OPERATORS ? 1 : 0; // the sanitizers' own operators do not fail

TEST(OutOfMemory, FailsTheGettersOfDoublesWithTheRecordAsItWas) {
    const test::Session made = MadeSession();
    const KyfFocusComposition* const session = made.get();
    using Flat = KyfHeightDataArray;
    const auto freeFlat = [](Flat* record) { KyfFreeHeightData16bit(record); };
    ExpectFailures<Flat>(
        "GetHeightData", kOfOperators, [&](Flat* r) { return KyfFocusGetHeightData(session, r); }, freeFlat);
    ExpectFailures<Flat>(
        "GetCuttedHeightData", kOfOperators, [&](Flat* r) { return KyfFocusGetCuttedHeightData(session, r); },
        freeFlat);
    ExpectFailures<Flat>(
        "GetCuttedAntNoiseHeightData", kOfOperators,
        [&](Flat* r) { return KyfFocusGetCuttedAntNoiseHeightData(session, r); }, freeFlat);
    ExpectFailures<KyfImageData>(
        "GetKyfHeightData", 2, [&](KyfImageData* r) { return KyfFocusGetKyfHeightData(session, r); },
        [](KyfImageData* r) { KyfFreeHeightData(r); });
}

TEST(OutOfMemory, FailsTheGettersOfSamplesWithTheRecordAsItWas) {
    const test::Session made = MadeSession();
    const KyfFocusComposition* const session = made.get();
    using Words = KyfHeightData16bit;
    for (const auto call :
         {KyfFocusGetHeightData16Bit, KyfFocusGetCuttedHeightData16Bit, KyfFocusGetAntNoiseHeightData16Bit})
        ExpectFailures<Words>(
            "16-bit record", kOfOperators, [&](Words* r) { return call(session, r); },
            [](Words* r) { KyfFreeHeightData16bit(r); });
    for (const auto call : {KyfFocusGetHeightImage16Bit, KyfFocusGetCuttedHeightImage16Bit,
                            KyfFocusGetCuttedAntNoiseHeightImage16Bit, KyfFocusGetCuttedAntNoiseHeightImage8Bit})
        ExpectFailures<KyiImageData*>(
            "image", 1, [&](KyiImageData** image) { return call(session, image, nullptr); },
            [](KyiImageData** image) { KyiFreeImageData(*image); });
}

TEST(OutOfMemory, GivesNoImageOfAHostsHeights) {
    const KyfImageData heights{test::MakeDoubleRows(1, 2, std::vector<double>{1.0, 5.0}), 1, 2};
    double range[3] = {-1.0, -2.0, -3.0};
    const test::Image image(
        test::RunWithAllocations(0, [&] { return KyfCreateImageDataFromHeightData(&heights, KyiFormatGray8, range); }));
    EXPECT_EQ(image, nullptr);
    EXPECT_EQ(range[0], -1.0);
    KyfImageData record = heights;
    KyfFreeHeightData(&record);
}

TEST(OutOfMemory, FailsTheDifferentiationMapsWithTheRecordAsItWas) {
    const test::Session made = MadeSession();
    const KyfFocusComposition* const session = made.get();
    using Map = KyfDifferentiationMap;
    using Bytes = KyfDifferentiationMap8Bit;
    ExpectFailures<Map>(
        "map", (1 + kHeight) * kOfOperators,
        [&](Map* r) { return KyfFocusGetDifferentiationMap(session, KyiFormatGray8, r); },
        [](Map* r) { KyfFreeDifferentiationMap(r); });
    ExpectFailures<Bytes>(
        "bytes", kOfOperators, [&](Bytes* r) { return KyfFocusGetDifferentiationMap8Bit(session, r); },
        [](Bytes* r) { KyfFreeDifferentiationMap8Bit(r); });
}

} // namespace
