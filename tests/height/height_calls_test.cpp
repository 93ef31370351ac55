// Owners, results and records of the height calls.
#include <cstdint>
#include <numeric>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "height/height_session.h"
#include "support/images.h"

namespace {

constexpr std::int32_t kWidth = 6;
constexpr std::int32_t kHeight = 5;
constexpr std::int32_t kCutWidth = 4;
constexpr std::int32_t kCutHeight = 3;

std::vector<double> Ramp(std::int32_t width, std::int32_t height, double start) {
    std::vector<double> values(static_cast<std::size_t>(width * height));
    std::iota(values.begin(), values.end(), start);
    return values;
}

/// A session of one mode with all height tables and, on the 2D side, focus values.
test::Session MadeSession(std::int32_t mode) {
    test::Session session = test::MakeSession(mode);
    KyfCompositionState& state = mode == KyfMode2DSelection ? session->State2D : session->State3D;
    state.SourceWidth = kWidth;
    state.SourceHeight = kHeight;
    state.FrameCount = 2;
    state.CuttedWidth = kCutWidth;
    state.CuttedHeight = kCutHeight;
    state.HeightDataMap = test::MakeDoubleRows(kWidth, kHeight, Ramp(kWidth, kHeight, 100.0));
    state.CuttedHeightDataMap = test::MakeDoubleRows(kCutWidth, kCutHeight, Ramp(kCutWidth, kCutHeight, 200.0));
    state.CuttedAntNoiseHeightDataMap = test::MakeDoubleRows(kCutWidth, kCutHeight, Ramp(kCutWidth, kCutHeight, 300.0));
    return session;
}

void AddFocusValues(KyfFocusComposition& session) {
    session.State2D.CuttedWidth = kCutWidth;
    session.State2D.CuttedHeight = kCutHeight;
    const std::vector<std::int32_t> values(static_cast<std::size_t>(kWidth * kHeight), 9);
    session.BestFocusMap = test::MakeIntRows(kWidth, kHeight, values);
    session.BestFocusHeight = kHeight;
    session.CuttedBestFocusMap = test::MakeIntRows(kCutWidth, kCutHeight, values);
}

class HeightCalls : public testing::TestWithParam<std::int32_t> {};
INSTANTIATE_TEST_SUITE_P(Modes, HeightCalls, testing::Values(0, 1, 2, 7));

TEST_P(HeightCalls, CopyTheWholeMapAndLeaveItInTheSession) {
    const test::Session session = MadeSession(GetParam());
    KyfHeightDataArray flat{};
    KyfImageData table{};
    ASSERT_EQ(KyfFocusGetHeightData(session.get(), &flat), KyfResultOk);
    ASSERT_EQ(KyfFocusGetKyfHeightData(session.get(), &table), KyfResultOk);
    EXPECT_EQ(flat.Width, kWidth);
    EXPECT_EQ(table.Height, kHeight);
    for (std::int32_t y = 0; y < kHeight; ++y)
        for (std::int32_t x = 0; x < kWidth; ++x) {
            EXPECT_EQ(flat.Data[y * kWidth + x], 100.0 + y * kWidth + x);
            EXPECT_EQ(table.Rows[y][x], 100.0 + y * kWidth + x);
        }
    EXPECT_NE(kyf::HeightState(*session).HeightDataMap, nullptr);
    KyfFreeHeightData16bit(&flat);
    EXPECT_EQ(flat.Data, nullptr);
    KyfFreeHeightData(&table);
    EXPECT_EQ(table.Rows, nullptr);
    KyfFreeHeightData(&table);
}

TEST_P(HeightCalls, HandTheWholeMapOverOnce) {
    const test::Session session = MadeSession(GetParam());
    KyfImageData table{};
    ASSERT_EQ(KyfFocusExtractHeightData(session.get(), &table), KyfResultOk);
    EXPECT_EQ(table.Rows[1][0], 100.0 + kWidth);
    EXPECT_EQ(KyfFocusExtractHeightData(session.get(), &table), KyfResultNoHeightData);
    EXPECT_NE(table.Rows, nullptr) << "a refused call touched the record";
    KyfHeightDataArray flat{};
    EXPECT_EQ(KyfFocusGetHeightData(session.get(), &flat), KyfResultNoHeightData);
    KyfHeightData16bit words{};
    EXPECT_EQ(KyfFocusGetHeightData16Bit(session.get(), &words), KyfResultNoHeightData);
    KyiImageData* image = nullptr;
    EXPECT_EQ(KyfFocusGetCuttedHeightImage16Bit(session.get(), &image, nullptr), KyfResultInvalidParameter);
    KyfFreeHeightData(&table);
}

TEST_P(HeightCalls, HandTheCutMapOverAndThenNull) {
    const test::Session session = MadeSession(GetParam());
    KyfImageData table{};
    ASSERT_EQ(KyfFocusExtractCuttedHeightData(session.get(), &table), KyfResultOk);
    EXPECT_EQ(table.Width, kCutWidth);
    EXPECT_EQ(table.Rows[2][3], 211.0);
    KyfFreeHeightData(&table);
    EXPECT_EQ(KyfFocusExtractCuttedHeightData(session.get(), &table), KyfResultOk);
    EXPECT_EQ(table.Rows, nullptr);
    KyfHeightDataArray flat{};
    EXPECT_EQ(KyfFocusGetCuttedHeightData(session.get(), &flat), KyfResultNoHeightData);
    KyfHeightData16bit words{};
    EXPECT_EQ(KyfFocusGetCuttedHeightData16Bit(session.get(), &words), KyfResultNoHeightData);
    KyiImageData* image = nullptr;
    EXPECT_EQ(KyfFocusGetCuttedHeightImage16Bit(session.get(), &image, nullptr), KyfResultNoHeightData);
    EXPECT_EQ(image, nullptr);
}

TEST_P(HeightCalls, CopyTheCutMaps) {
    const test::Session session = MadeSession(GetParam());
    KyfHeightDataArray cut{};
    KyfHeightDataArray filtered{};
    ASSERT_EQ(KyfFocusGetCuttedHeightData(session.get(), &cut), KyfResultOk);
    ASSERT_EQ(KyfFocusGetCuttedAntNoiseHeightData(session.get(), &filtered), KyfResultOk);
    for (std::int32_t i = 0; i < kCutWidth * kCutHeight; ++i) {
        EXPECT_EQ(cut.Data[i], 200.0 + i);
        EXPECT_EQ(filtered.Data[i], 300.0 + i);
    }
    KyfFreeHeightData16bit(&cut);
    KyfFreeHeightData16bit(&filtered);
}

TEST_P(HeightCalls, TakeTheTopLeftWindowOfTheWholeMapInSamples) {
    const test::Session session = MadeSession(GetParam());
    KyfHeightData16bit words{};
    ASSERT_EQ(KyfFocusGetHeightData16Bit(session.get(), &words), KyfResultOk);
    EXPECT_EQ(words.Width, kCutWidth);
    EXPECT_EQ(words.Height, kCutHeight);
    EXPECT_EQ(words.Min, 100.0);
    EXPECT_EQ(words.Max, 100.0 + 2 * kWidth + 3);
    EXPECT_EQ(words.Data[(kCutHeight - 1) * kCutWidth], 0) << "the top row stands last";
    KyfFreeHeightData16bit(&words);
}

TEST_P(HeightCalls, LendTheHeightList) {
    const test::Session session = MadeSession(GetParam());
    session->HeightList = new double[2]{1.5, 2.5};
    double* list = nullptr;
    ASSERT_EQ(KyfFocusGetHeightList(session.get(), &list), KyfResultOk);
    EXPECT_EQ(list, session->HeightList);
}

TEST_P(HeightCalls, NeedTheNoiseCutMapForEverySampleRecord) {
    const test::Session session = MadeSession(GetParam());
    KyfCompositionState& state = kyf::HeightState(*session);
    kyf::FreeDoubleRows(state.CuttedAntNoiseHeightDataMap);
    state.CuttedAntNoiseHeightDataMap = nullptr;
    KyfHeightData16bit words{};
    EXPECT_EQ(KyfFocusGetHeightData16Bit(session.get(), &words), KyfResultNoHeightData);
    EXPECT_EQ(KyfFocusGetCuttedHeightData16Bit(session.get(), &words), KyfResultNoHeightData);
    EXPECT_EQ(KyfFocusGetAntNoiseHeightData16Bit(session.get(), &words), KyfResultNoHeightData);
    EXPECT_EQ(words.Data, nullptr);
    KyiImageData* image = nullptr;
    EXPECT_EQ(KyfFocusGetCuttedAntNoiseHeightImage8Bit(session.get(), &image, nullptr), KyfResultNoHeightData);
    EXPECT_EQ(KyfFocusGetCuttedHeightImage16Bit(session.get(), &image, nullptr), KyfResultOk);
    KyiFreeImageData(image);
}

TEST_P(HeightCalls, RefuseAnImageOfACutThatIsEmpty) {
    const test::Session session = MadeSession(GetParam());
    kyf::HeightState(*session).CuttedWidth = 0;
    KyiImageData* image = nullptr;
    EXPECT_EQ(KyfFocusGetHeightImage16Bit(session.get(), &image, nullptr), KyfResultFailAlloc);
    EXPECT_EQ(image, nullptr);
    kyf::HeightState(*session).FrameCount = 0;
    EXPECT_EQ(KyfFocusGetHeightImage16Bit(session.get(), &image, nullptr), KyfResultInvalidParameter);
}

TEST_P(HeightCalls, RefuseASampleRecordOfACutThatIsEmpty) {
    const test::Session session = MadeSession(GetParam());
    KyfCompositionState& state = kyf::HeightState(*session);
    for (const auto& [width, height] : {std::pair{0, kCutHeight}, {kCutWidth, 0}, {0, 0}, {-1, kCutHeight}}) {
        state.CuttedWidth = width;
        state.CuttedHeight = height;
        KyfHeightData16bit words{nullptr, -5, -6, 0.0, 0.0, 0.0};
        for (const auto call :
             {KyfFocusGetHeightData16Bit, KyfFocusGetCuttedHeightData16Bit, KyfFocusGetAntNoiseHeightData16Bit})
            EXPECT_EQ(call(session.get(), &words), KyfResultNoHeightData) << width << " x " << height;
        EXPECT_EQ(words.Data, nullptr);
        EXPECT_EQ(words.Width, -5);
    }
}

TEST_P(HeightCalls, GiveAnEmptyRecordThatIsToBeFreedWhereThereIsNoCut) {
    const test::Session session = MadeSession(GetParam());
    KyfCompositionState& state = kyf::HeightState(*session);
    state.CuttedWidth = state.CuttedHeight = 0;
    for (const auto call : {KyfFocusGetCuttedHeightData, KyfFocusGetCuttedAntNoiseHeightData}) {
        KyfHeightDataArray flat{nullptr, -5, -6};
        ASSERT_EQ(call(session.get(), &flat), KyfResultOk);
        EXPECT_EQ(flat.Width, 0);
        EXPECT_EQ(flat.Height, 0);
        EXPECT_NE(flat.Data, nullptr);
        KyfFreeHeightData16bit(&flat);
    }
}

TEST(SampleRecords, AreFreedOnceAndNullIsQuiet) {
    KyfHeightData16bit words{};
    words.Data = new std::uint16_t[4]{};
    KyfFreeHeightData16bit(&words);
    EXPECT_EQ(words.Data, nullptr);
    KyfFreeHeightData16bit(&words);
    KyfFreeHeightData16bit(nullptr);
}

TEST(HeightImages, RefuseABadSignatureAndANullAddressOfAMadeSession) {
    const test::Session session = MadeSession(KyfMode2DSelection);
    KyiImageData* image = nullptr;
    for (const auto call : {KyfFocusGetHeightImage16Bit, KyfFocusGetCuttedHeightImage16Bit,
                            KyfFocusGetCuttedAntNoiseHeightImage16Bit, KyfFocusGetCuttedAntNoiseHeightImage8Bit}) {
        EXPECT_EQ(call(session.get(), nullptr, nullptr), KyfResultInvalidParameter);
        session->Signature[0] = u'x';
        EXPECT_EQ(call(session.get(), &image, nullptr), KyfResultInvalidParameter);
        EXPECT_EQ(image, nullptr);
        session->Signature[0] = u'K';
    }
}

TEST(DifferentiationMap, LiesOnThe2DSideWhateverTheMode) {
    for (const std::int32_t mode : {0, 1, 2}) {
        SCOPED_TRACE(mode);
        const test::Session session = test::MakeSession(mode);
        AddFocusValues(*session);
        KyfDifferentiationMap map{};
        ASSERT_EQ(KyfFocusGetDifferentiationMap(session.get(), KyiFormatGray16, &map), KyfResultOk);
        EXPECT_EQ(map.Width, kCutWidth);
        EXPECT_EQ(map.Height, kCutHeight);
        EXPECT_EQ(map.Depth, 65536);
        EXPECT_NE(map.Rows, session->CuttedBestFocusMap);
        EXPECT_EQ(map.Rows[2][3], 9);
        KyfFreeDifferentiationMap(&map);
        KyfFreeDifferentiationMap(&map);
    }
}

TEST(DifferentiationMap, IsHandedOverOnceAndIsNullFromThenOn) {
    const test::Session session = test::MakeSession(KyfMode2DSelection);
    AddFocusValues(*session);
    KyfDifferentiationMap map{};
    std::int32_t** const rows = session->CuttedBestFocusMap;
    ASSERT_EQ(KyfFocusExtractDifferentiationMap(session.get(), KyiFormatGray8, &map), KyfResultOk);
    EXPECT_EQ(map.Rows, rows);
    EXPECT_EQ(map.Depth, 256);
    KyfDifferentiationMap second{};
    EXPECT_EQ(KyfFocusExtractDifferentiationMap(session.get(), KyiFormatGray8, &second), KyfResultOk);
    EXPECT_EQ(second.Rows, nullptr);
    EXPECT_EQ(second.Width, kCutWidth);
    KyfDifferentiationMap untouched{nullptr, -1, -2, -3};
    EXPECT_EQ(KyfFocusGetDifferentiationMap(session.get(), KyiFormatGray8, &untouched), KyfResultOk);
    EXPECT_EQ(untouched.Width, -1);
    EXPECT_EQ(untouched.Depth, -3);
    KyfDifferentiationMap8Bit bytes{};
    EXPECT_EQ(KyfFocusGetDifferentiationMap8Bit(session.get(), &bytes), KyfResultNoHeightData);
    KyfFreeDifferentiationMap(&map);
}

TEST(DifferentiationMap, IsHandedOverAsNullWhereFocusValuesAreNotCut) {
    const test::Session session = test::MakeSession(KyfModeComplexProcessing);
    AddFocusValues(*session);
    kyf::FreeIntRows(std::exchange(session->CuttedBestFocusMap, nullptr), kCutHeight);
    KyfDifferentiationMap map{nullptr, -1, -2, -3};
    EXPECT_EQ(KyfFocusGetDifferentiationMap(session.get(), KyiFormatGray8, &map), KyfResultOk);
    EXPECT_EQ(map.Width, -1) << "a copy leaves the record alone";
    EXPECT_EQ(KyfFocusExtractDifferentiationMap(session.get(), KyiFormatGray8, &map), KyfResultOk);
    EXPECT_EQ(map.Rows, nullptr);
    EXPECT_EQ(map.Width, kCutWidth);
    EXPECT_EQ(map.Height, kCutHeight);
    EXPECT_EQ(map.Depth, 256);
    KyfFreeDifferentiationMap(&map);
}

TEST(DifferentiationMap, IsZeroInBytesWhenFlat) {
    const test::Session session = test::MakeSession(KyfMode2DSelection);
    AddFocusValues(*session);
    KyfDifferentiationMap8Bit bytes{};
    ASSERT_EQ(KyfFocusGetDifferentiationMap8Bit(session.get(), &bytes), KyfResultOk);
    for (std::int32_t i = 0; i < kCutWidth * kCutHeight; ++i) EXPECT_EQ(bytes.Data[i], 0);
    KyfFreeDifferentiationMap8Bit(&bytes);
    EXPECT_EQ(bytes.Data, nullptr);
    KyfFreeDifferentiationMap8Bit(&bytes);
    KyfFreeDifferentiationMap8Bit(nullptr);
}

TEST(CreatedHeightImage, RefusesARecordWithoutHeights) {
    const KyfImageData empty{nullptr, 4, 4};
    EXPECT_EQ(KyfCreateImageDataFromHeightData(nullptr, KyiFormatGray8, nullptr), nullptr);
    EXPECT_EQ(KyfCreateImageDataFromHeightData(&empty, KyiFormatGray8, nullptr), nullptr);
}

TEST(CreatedHeightImage, ShowsMapRowAsImageRow) {
    KyfImageData record{test::MakeDoubleRows(1, 2, std::vector<double>{1.0, 5.0}), 1, 2};
    const test::Image image(KyfCreateImageDataFromHeightData(&record, KyiFormatGray8, nullptr));
    KyfFreeHeightData(&record);
    EXPECT_EQ(test::ToPlanes(*image), (std::vector<std::int32_t>{0, 254}));
}

} // namespace
