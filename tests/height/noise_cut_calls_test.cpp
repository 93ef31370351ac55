// What the calls of the noise cut accept, refuse and leave alone.
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <vector>

#include <gtest/gtest.h>
#include <kyfocus/kyfocus.h>

#include "filters/shapes.h"
#include "height/height_session.h"
#include "height/noise_cut.h"
#include "height/noise_cut_data.h"
#include "support/images.h"

extern "C" int RunNoiseCutInC(void);

namespace {

static_assert(offsetof(KyfHeightNoiseCutParameter, CutRatio) == 0);
static_assert(offsetof(KyfHeightNoiseCutParameter, FillType) == 8);
static_assert(offsetof(KyfHeightNoiseCutParameter, Smoothing) == 12);
static_assert(sizeof(KyfHeightNoiseCutParameter) == 16 && alignof(KyfHeightNoiseCutParameter) == 4);
static_assert(offsetof(KyfHeightNoiseCutData, HeightData) == 0);
static_assert(offsetof(KyfHeightNoiseCutData, DifferentiationMap) == sizeof(KyfImageData));
static_assert(offsetof(KyfHeightNoiseCutData, Parameter) == sizeof(KyfImageData) + sizeof(KyfDifferentiationMap));
static_assert(offsetof(KyfHeightNoiseCutData, IsRawHeight) == offsetof(KyfHeightNoiseCutData, Parameter) + 16);
static_assert(offsetof(KyfHeightNoiseCutData, Offset) == offsetof(KyfHeightNoiseCutData, IsRawHeight) + 4);
static_assert(offsetof(KyfHeightNoiseCutData, Step) == offsetof(KyfHeightNoiseCutData, Offset) + 8);
static_assert(sizeof(KyfHeightNoiseCutData) == offsetof(KyfHeightNoiseCutData, Step) + 8);
static_assert(alignof(KyfHeightNoiseCutData) == 4);
static_assert(offsetof(KyfFilterProgress, Callback) == 0);
static_assert(offsetof(KyfFilterProgress, Reserved) == sizeof(void*));
static_assert(offsetof(KyfFilterProgress, Argument) == 2 * sizeof(void*));

using reference::Field;
using reference::IntField;

constexpr std::int32_t kWidth = 12;
constexpr std::int32_t kHeight = 7;

/// Heights of 0, 1, 2, ... with one pixel that is to be cut.
struct OneWeakPixel : test::NoiseCutData {
    OneWeakPixel() : NoiseCutData(Heights(), Map(), 256) { Record.Parameter = {0.5, KyfNoiseCutFillLargest, 0}; }

    static Field Heights() {
        Field heights(kHeight, std::vector<double>(kWidth));
        double height = 0.0;
        for (auto& row : heights)
            for (double& value : row) value = height++;
        return heights;
    }
    static IntField Map() {
        IntField map(kHeight, std::vector<std::int32_t>(kWidth, 128));
        map[2][3] = 127;
        return map;
    }
};

test::Session SessionWithHeights(std::int32_t mode) {
    test::Session session = test::MakeSession(mode);
    KyfCompositionState& state = kyf::HeightState(*session);
    for (KyfCompositionState* const sized : {&session->State2D, &state}) {
        sized->CuttedWidth = kWidth;
        sized->CuttedHeight = kHeight;
    }
    const std::vector<double> heights = test::Flat(OneWeakPixel::Heights());
    state.CuttedHeightDataMap = test::MakeDoubleRows(kWidth, kHeight, heights);
    state.CuttedAntNoiseHeightDataMap = test::MakeDoubleRows(kWidth, kHeight, heights);
    session->CuttedBestFocusMap = test::MakeIntRows(kWidth, kHeight, test::Flat(OneWeakPixel::Map()));
    return session;
}

constexpr KyfHeightNoiseCutParameter kFillLargest{0.5, KyfNoiseCutFillLargest, 0};
constexpr double kLargest = kWidth * kHeight - 1;

TEST(SessionNoiseCut, TakesTheHeightsOfTheMode) {
    for (const std::int32_t mode : {KyfMode2DSelection, KyfMode3DSafe, KyfModeComplexProcessing}) {
        const test::Session session = SessionWithHeights(mode);
        ASSERT_EQ(KyfFocusFilterHeightNoiseCut(session.get(), &kFillLargest), KyfResultOk);
        KyfHeightDataArray heights{};
        ASSERT_EQ(KyfFocusGetCuttedAntNoiseHeightData(session.get(), &heights), KyfResultOk);
        EXPECT_EQ(heights.Data[2 * kWidth + 3], kLargest);
        EXPECT_EQ(heights.Data[2 * kWidth + 4], 28.0);
        KyfFreeHeightData16bit(&heights);
    }
}

TEST(SessionNoiseCut, RefusesNullArgumentsAndOtherRecords) {
    const test::Session session = SessionWithHeights(KyfMode2DSelection);
    EXPECT_EQ(KyfFocusFilterHeightNoiseCut(nullptr, &kFillLargest), KyfResultInvalidParameter);
    EXPECT_EQ(KyfFocusFilterHeightNoiseCut(session.get(), nullptr), KyfResultInvalidParameter);
    session->Signature[5] = u'X';
    EXPECT_EQ(KyfFocusFilterHeightNoiseCut(session.get(), &kFillLargest), KyfResultInvalidParameter);
    session->Signature[5] = u'\0';
}

TEST(SessionNoiseCut, FailsForUnknownFillsWithTheHeightsAsTheyWere) {
    const test::Session session = SessionWithHeights(KyfMode2DSelection);
    for (const std::int32_t fill : {3, -1, std::numeric_limits<std::int32_t>::min()}) {
        const KyfHeightNoiseCutParameter parameter{0.5, fill, 10};
        EXPECT_EQ(KyfFocusFilterHeightNoiseCut(session.get(), &parameter), KyfResultFail);
        EXPECT_EQ(session->State2D.CuttedAntNoiseHeightDataMap[2][3], 27.0);
    }
}

TEST(SessionNoiseCut, FailsWhereATableIsGone) {
    const test::Session session = SessionWithHeights(KyfModeComplexProcessing);
    for (double*** const table :
         {&session->State3D.CuttedHeightDataMap, &session->State3D.CuttedAntNoiseHeightDataMap}) {
        double** const kept = std::exchange(*table, nullptr);
        EXPECT_EQ(KyfFocusFilterHeightNoiseCut(session.get(), &kFillLargest), KyfResultFail);
        *table = kept;
    }
    std::int32_t** const kept = std::exchange(session->CuttedBestFocusMap, nullptr);
    EXPECT_EQ(KyfFocusFilterHeightNoiseCut(session.get(), &kFillLargest), KyfResultFail);
    session->CuttedBestFocusMap = kept;
    EXPECT_EQ(KyfFocusFilterHeightNoiseCut(session.get(), &kFillLargest), KyfResultOk);
}

TEST(SessionNoiseCut, FailsOnAFreshSession) {
    const test::Session session = test::MakeSession(KyfMode2DSelection);
    EXPECT_EQ(KyfFocusFilterHeightNoiseCut(session.get(), &kFillLargest), KyfResultFail);
}

TEST(SessionNoiseCut, CutsNothingThatTheMapDoesNotReach) {
    const test::Session session = SessionWithHeights(KyfMode3DSafe);
    session->State2D.CuttedWidth = 3; // the weak pixel lies in the column behind
    ASSERT_EQ(KyfFocusFilterHeightNoiseCut(session.get(), &kFillLargest), KyfResultOk);
    EXPECT_EQ(session->State3D.CuttedAntNoiseHeightDataMap[2][3], 27.0);
    session->State2D.CuttedWidth = kWidth;
    session->State2D.CuttedHeight = 2;
    ASSERT_EQ(KyfFocusFilterHeightNoiseCut(session.get(), &kFillLargest), KyfResultOk);
    EXPECT_EQ(session->State3D.CuttedAntNoiseHeightDataMap[2][3], 27.0);
    for (std::int32_t y = 2; y < kHeight; ++y) // the session frees as many rows as it says
        delete[] session->CuttedBestFocusMap[y];
}

test::Image GrayImage(std::int32_t width = kWidth, std::int32_t height = kHeight,
                      std::int32_t format = KyiFormatGray8) {
    test::Image image(KyiAllocImageData(width, height, format));
    KyiFill(image.get(), 99, 0, 0);
    return image;
}

std::int32_t Sample(const test::Image& image, std::int32_t x, std::int32_t y) {
    std::int32_t value = 0;
    KyiGetPixelData(image.get(), x, y, &value);
    return value;
}

TEST(HostNoiseCut, IsUsableFromC) { EXPECT_EQ(RunNoiseCutInC(), 1); }

TEST(HostNoiseCut, ReportsItsStages) {
    const OneWeakPixel data;
    const test::Image image = GrayImage();
    const test::HeardReports heard;
    EXPECT_EQ(KyfFilterHeightNoiseCut(image.get(), image.get(), &data.Record, &heard.Progress), KyfResultOk);
    EXPECT_EQ(heard.Percents, (std::vector<std::int32_t>{0, 60, 80, 100}));
    EXPECT_EQ(Sample(image, 3, 2), static_cast<std::int32_t>(kLargest));
    const KyfFilterProgress silent{};
    EXPECT_EQ(KyfFilterHeightNoiseCut(image.get(), image.get(), &data.Record, &silent), KyfResultOk);
    EXPECT_EQ(KyfFilterHeightNoiseCut(image.get(), image.get(), &data.Record, nullptr), KyfResultOk);
}

TEST(HostNoiseCut, GivesZeroForUnknownFillsAndReportsTheEnd) {
    OneWeakPixel data;
    const test::Image image = GrayImage();
    for (const std::int32_t fill : {3, -1}) {
        data.Record.Parameter.FillType = fill;
        const test::HeardReports heard;
        EXPECT_EQ(KyfFilterHeightNoiseCut(image.get(), image.get(), &data.Record, &heard.Progress), 0);
        EXPECT_EQ(heard.Percents, (std::vector<std::int32_t>{0, 100}));
        EXPECT_EQ(Sample(image, 3, 2), 99);
    }
}

TEST(HostNoiseCut, RefusesNullArgumentsAndTablesWithoutAWord) {
    OneWeakPixel data;
    const test::Image image = GrayImage();
    const test::HeardReports heard;
    const KyfHeightNoiseCutData whole = data.Record;
    const auto expectRefusal = [&](const KyiImageData* reference, KyiImageData* destination,
                                   const KyfHeightNoiseCutData* record) {
        EXPECT_EQ(KyfFilterHeightNoiseCut(reference, destination, record, &heard.Progress), KyfResultInvalidParameter);
        KyfPreviewFilterHeightNoiseCut(reference, destination, record);
    };
    expectRefusal(nullptr, image.get(), &whole);
    expectRefusal(image.get(), nullptr, &whole);
    expectRefusal(image.get(), image.get(), nullptr);
    data.Record.HeightData.Rows = nullptr;
    expectRefusal(image.get(), image.get(), &data.Record);
    data.Record = whole;
    data.Record.DifferentiationMap.Rows = nullptr;
    expectRefusal(image.get(), image.get(), &data.Record);
    data.Record = whole;
    double* const row = std::exchange(whole.HeightData.Rows[kHeight - 1], nullptr);
    expectRefusal(image.get(), image.get(), &data.Record);
    whole.HeightData.Rows[kHeight - 1] = row;
    EXPECT_TRUE(heard.Percents.empty());
    EXPECT_EQ(Sample(image, 3, 2), 99);
}

TEST(HostNoiseCut, RefusesImagesOfTwoSampleWidths) {
    const OneWeakPixel data;
    const test::Image bytes = GrayImage();
    const test::Image words = GrayImage(kWidth, kHeight, KyiFormatGray16);
    EXPECT_EQ(KyfFilterHeightNoiseCut(words.get(), bytes.get(), &data.Record, nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(KyfFilterHeightNoiseCut(bytes.get(), words.get(), &data.Record, nullptr), KyfResultInvalidParameter);
    KyfPreviewFilterHeightNoiseCut(words.get(), bytes.get(), &data.Record);
    KyfPreviewFilterHeightNoiseCut(bytes.get(), words.get(), &data.Record);
    EXPECT_EQ(Sample(bytes, 3, 2), 99);
    EXPECT_EQ(Sample(words, 3, 2), 99);
}

TEST(HostNoiseCut, WritesNothingForAReferenceInColour) {
    const OneWeakPixel data;
    for (const std::int32_t format : {KyiFormatBgr24, KyiFormatBgr32, KyiFormatBgr48}) {
        const test::Image colour = GrayImage(kWidth, kHeight, format);
        const test::Image before(KyiDuplicateImageData(colour.get(), 0));
        EXPECT_EQ(KyfFilterHeightNoiseCut(colour.get(), colour.get(), &data.Record, nullptr), KyfResultOk);
        KyfPreviewFilterHeightNoiseCut(colour.get(), colour.get(), &data.Record);
        EXPECT_TRUE(test::SamePixelBytes(*before, *colour));
        const test::Image gray = GrayImage();
        EXPECT_EQ(KyfFilterHeightNoiseCut(colour.get(), gray.get(), &data.Record, nullptr), KyfResultOk);
        EXPECT_EQ(Sample(gray, 3, 2), 99);
    }
}

TEST(HostNoiseCut, WritesWhereImageAndHeightsOverlap) {
    const OneWeakPixel data;
    const test::Image larger = GrayImage(kWidth + 3, kHeight + 2);
    EXPECT_EQ(KyfFilterHeightNoiseCut(larger.get(), larger.get(), &data.Record, nullptr), KyfResultOk);
    EXPECT_EQ(Sample(larger, kWidth - 1, kHeight - 1), static_cast<std::int32_t>(kLargest));
    EXPECT_EQ(Sample(larger, kWidth, 0), 99);
    EXPECT_EQ(Sample(larger, 0, kHeight), 99);
    const test::Image smaller = GrayImage(2, 1);
    KyfPreviewFilterHeightNoiseCut(smaller.get(), smaller.get(), &data.Record);
    EXPECT_EQ(Sample(smaller, 1, 0), 1);
}

TEST(HostNoiseCut, TakesThePercentOfTheSmoothingFromTheReferencesWidth) {
    OneWeakPixel data;
    data.Record.Parameter.Smoothing = 20;
    data.Record.Step = 0.001;
    const test::Image narrow = GrayImage(kWidth, kHeight, KyiFormatGray16);
    const test::Image wide = GrayImage(400, 1, KyiFormatGray16);
    const test::Image one = GrayImage(kWidth, kHeight, KyiFormatGray16);
    const test::Image other = GrayImage(kWidth, kHeight, KyiFormatGray16);
    ASSERT_EQ(KyfFilterHeightNoiseCut(narrow.get(), one.get(), &data.Record, nullptr), KyfResultOk);
    ASSERT_EQ(KyfFilterHeightNoiseCut(wide.get(), other.get(), &data.Record, nullptr), KyfResultOk);
    EXPECT_FALSE(test::SamePixelBytes(*one, *other));
}

// A map beyond the heights judges those that there are; one of no width or a negative one judges none.
TEST(HostNoiseCut, TakesMapsOfOtherSizes) {
    IntField wide = OneWeakPixel::Map();
    for (auto& row : wide) row.insert(row.end(), 5, 0);
    wide.insert(wide.end(), 3, std::vector<std::int32_t>(kWidth + 5, 0));
    test::NoiseCutData larger(OneWeakPixel::Heights(), wide, 256);
    larger.Record.Parameter = kFillLargest;
    OneWeakPixel none;
    const auto samplesOf = [](const KyfHeightNoiseCutData& record) {
        const test::Image image = GrayImage();
        EXPECT_EQ(KyfFilterHeightNoiseCut(image.get(), image.get(), &record, nullptr), KyfResultOk);
        return test::ToPlanes(*image);
    };
    std::vector<std::int32_t> expected;
    for (const double height : test::Flat(OneWeakPixel::Heights()))
        expected.push_back(static_cast<std::int32_t>(height));
    for (const std::int32_t width : {0, -1, -kWidth, std::numeric_limits<std::int32_t>::min()}) {
        none.Record.DifferentiationMap.Width = width;
        EXPECT_EQ(samplesOf(none.Record), expected) << width;
    }
    expected[2 * kWidth + 3] = static_cast<std::int32_t>(kLargest);
    EXPECT_EQ(samplesOf(larger.Record), expected);
}

// What a filter along whole rows and columns makes of it.
TEST(HostNoiseCut, LosesAllHeightsToOneThatIsNoNumberWhenItSmooths) {
    OneWeakPixel data;
    data.Record.HeightData.Rows[5][7] = std::numeric_limits<double>::quiet_NaN();
    for (const std::int32_t smoothing : {0, 20}) {
        data.Record.Parameter.Smoothing = smoothing;
        const test::Image image = GrayImage();
        ASSERT_EQ(KyfFilterHeightNoiseCut(image.get(), image.get(), &data.Record, nullptr), KyfResultOk);
        const std::vector<std::int32_t> samples = test::ToPlanes(*image);
        EXPECT_EQ(samples[5 * kWidth + 7], 0);
        EXPECT_EQ(std::count(samples.begin(), samples.end(), 0), smoothing == 0 ? 2 : kWidth * kHeight);
    }
}

TEST(HostNoiseCut, HasNothingToDoForAnEmptyRecord) {
    const KyfHeightNoiseCutData nothing{};
    const test::Image image = GrayImage();
    const test::HeardReports heard;
    EXPECT_EQ(KyfFilterHeightNoiseCut(image.get(), image.get(), &nothing, &heard.Progress), KyfResultOk);
    EXPECT_EQ(heard.Percents, (std::vector<std::int32_t>{0, 60, 80, 100}));
    KyfPreviewFilterHeightNoiseCut(image.get(), image.get(), &nothing);
    EXPECT_EQ(Sample(image, 0, 0), 99);
    OneWeakPixel data;
    data.Record.HeightData.Width = -5;
    data.Record.DifferentiationMap.Height = -5;
    EXPECT_EQ(KyfFilterHeightNoiseCut(image.get(), image.get(), &data.Record, nullptr), KyfResultOk);
    KyfPreviewFilterHeightNoiseCut(image.get(), image.get(), &data.Record);
    EXPECT_EQ(Sample(image, 0, 0), 99);
}

// The size that a record claims is more than any memory: nothing of it is read before memory is asked for.
TEST(HostNoiseCut, RunsOutOfMemoryForAHugeRecord) {
    OneWeakPixel data;
    double line[1] = {0.0};
    std::vector<double*> rows(1U << 16U, line);
    data.Record.HeightData = {rows.data(), std::numeric_limits<std::int32_t>::max(),
                              static_cast<std::int32_t>(rows.size())};
    const test::Image image = GrayImage();
    const test::HeardReports heard;
    EXPECT_EQ(KyfFilterHeightNoiseCut(image.get(), image.get(), &data.Record, &heard.Progress), KyfResultFailAlloc);
    EXPECT_EQ(heard.Percents, (std::vector<std::int32_t>{0, 100}));
}

TEST(HostNoiseCut, TakesAnyRatioAndDepth) {
    OneWeakPixel data;
    const test::Image image = GrayImage();
    struct Threshold {
        std::int32_t Depth;
        double Ratio;
        std::int32_t Expected;
    };
    for (const Threshold& threshold :
         {Threshold{256, 0.5, 128}, Threshold{256, 0.0, 0}, Threshold{256, 1.0, 255}, Threshold{65536, 1.0, 65535},
          Threshold{256, -1.0, -255}, Threshold{0, 1.0, -1}, Threshold{1, 7.0, 0}, Threshold{256, 3.0, 765},
          Threshold{256, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<std::int32_t>::min()},
          Threshold{256, 1e300, std::numeric_limits<std::int32_t>::min()},
          Threshold{std::numeric_limits<std::int32_t>::min(), 1.0, std::numeric_limits<std::int32_t>::max()}}) {
        data.Record.DifferentiationMap.Depth = threshold.Depth;
        data.Record.Parameter.CutRatio = threshold.Ratio;
        EXPECT_EQ(kyf::CutThreshold(data.Record.DifferentiationMap, threshold.Ratio), threshold.Expected);
        EXPECT_EQ(KyfFilterHeightNoiseCut(image.get(), image.get(), &data.Record, nullptr), KyfResultOk);
    }
}

// A record may lie anywhere that is a multiple of four.
TEST(HostNoiseCut, TakesARecordAtAPackedAddress) {
    const OneWeakPixel data;
    alignas(16) char block[sizeof(KyfHeightNoiseCutData) + 4];
    std::memcpy(block + 4, &data.Record, sizeof data.Record);
    const auto* const record = reinterpret_cast<const KyfHeightNoiseCutData*>(block + 4);
    const test::Image image = GrayImage();
    EXPECT_EQ(KyfFilterHeightNoiseCut(image.get(), image.get(), record, nullptr), KyfResultOk);
    EXPECT_EQ(Sample(image, 3, 2), static_cast<std::int32_t>(kLargest));
}

} // namespace
