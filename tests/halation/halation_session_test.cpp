// States and refusals of a halation record.
#include <cstddef>
#include <cstring>
#include <limits>
#include <type_traits>

#include <gtest/gtest.h>

#include "filters/shapes.h"
#include "halation/record.h"
#include "progress/tree.h"

extern "C" int RunHalationInC(void);

namespace {

constexpr KyfHalationParameter kSettings{100, 20, 50};

static_assert(offsetof(KyfHalationRemoval, Signature) == 0);
static_assert(sizeof(KyfHalationRemoval::Signature) == 12);
static_assert(offsetof(KyfHalationRemoval, Threshold) == 12);
static_assert(offsetof(KyfHalationRemoval, PreSmoothing) == 16);
static_assert(offsetof(KyfHalationRemoval, MaskSmoothing) == 20);
static_assert(offsetof(KyfHalationRemoval, ImageCount) == 24);
static_assert(offsetof(KyfHalationRemoval, RemovalImage) ==
              (28 + alignof(void*) - 1) / alignof(void*) * alignof(void*));
static_assert(sizeof(KyfHalationRemoval) == offsetof(KyfHalationRemoval, RemovalImage) + sizeof(void*));
static_assert(offsetof(KyfHalationParameter, Threshold) == 0);
static_assert(offsetof(KyfHalationParameter, PreSmoothing) == 4);
static_assert(offsetof(KyfHalationParameter, MaskSmoothing) == 8);
static_assert(sizeof(KyfHalationParameter) == 12);
static_assert(std::is_standard_layout_v<KyfHalationRemoval> && std::is_trivially_copyable_v<KyfHalationRemoval>);

void ExpectDefaults(const KyfHalationRemoval& record) {
    EXPECT_EQ(std::memcmp(record.Signature, u"KYFHR", sizeof record.Signature), 0);
    EXPECT_EQ(record.Threshold, 180);
    EXPECT_EQ(record.PreSmoothing, 20);
    EXPECT_EQ(record.MaskSmoothing, 50);
    EXPECT_EQ(record.ImageCount, 0);
    EXPECT_EQ(record.RemovalImage, nullptr);
}

test::Image Frame(std::int32_t width = 24, std::int32_t height = 6, std::int32_t format = KyiFormatBgr24) {
    return test::RandomImage(width, height, format, 7);
}

TEST(HalationRecord, BeginsWithTheDefaults) { ExpectDefaults(*test::NewRecord()); }

TEST(HalationRecord, IsUsableFromC) { EXPECT_EQ(RunHalationInC(), 1); }

TEST(HalationRecord, TakesSettingsAtTheEndsOfTheirRanges) {
    const test::Record record = test::NewRecord();
    for (const KyfHalationParameter& settings : {KyfHalationParameter{1, 1, 1}, KyfHalationParameter{255, 100, 100}}) {
        EXPECT_EQ(KyfHalationStart(record.get(), &settings), KyfResultOk);
        EXPECT_EQ(record->Threshold, settings.Threshold);
        EXPECT_EQ(record->PreSmoothing, settings.PreSmoothing);
        EXPECT_EQ(record->MaskSmoothing, settings.MaskSmoothing);
    }
}

TEST(HalationRecord, RefusesSettingsOutOfRangeAndStaysAsItWas) {
    const test::Record record = test::NewRecord();
    record->ImageCount = 3;
    for (const KyfHalationParameter& settings :
         {KyfHalationParameter{0, 20, 50}, KyfHalationParameter{256, 20, 50}, KyfHalationParameter{-1, 20, 50},
          KyfHalationParameter{100, 0, 50}, KyfHalationParameter{100, 101, 50}, KyfHalationParameter{100, 20, 0},
          KyfHalationParameter{100, 20, 101},
          KyfHalationParameter{100, std::numeric_limits<std::int32_t>::min(), 50}}) {
        EXPECT_EQ(KyfHalationStart(record.get(), &settings), KyfResultInvalidParameter);
        EXPECT_EQ(record->ImageCount, 3);
        record->ImageCount = 0;
        ExpectDefaults(*record);
        record->ImageCount = 3;
    }
}

TEST(HalationRecord, RefusesNullArguments) {
    const test::Record record = test::StartedRecord(kSettings);
    const test::Image frame = Frame();
    KyiImageData* image = nullptr;
    EXPECT_EQ(KyfHalationInitialize(nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(KyfHalationStart(nullptr, &kSettings), KyfResultInvalidParameter);
    EXPECT_EQ(KyfHalationStart(record.get(), nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(KyfHalationAddImage(nullptr, frame.get(), 0, nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(KyfHalationAddImage(record.get(), nullptr, 0, nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(KyfHalationTerminate(nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(KyfHalationGetRemovalImage(nullptr, &image), KyfResultInvalidParameter);
    EXPECT_EQ(KyfHalationGetRemovalImage(record.get(), nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(KyfHalationExtractRemovalImage(nullptr, &image), KyfResultInvalidParameter);
    EXPECT_EQ(KyfHalationExtractRemovalImage(record.get(), nullptr), KyfResultInvalidParameter);
    KyfFreeHalationRemoval(nullptr);
}

TEST(HalationRecord, IsKnownByAllSixCharacters) {
    const test::Record record = test::StartedRecord(kSettings);
    const test::Image frame = Frame();
    KyiImageData* image = nullptr;
    for (char16_t& character : record->Signature) {
        ++character;
        EXPECT_EQ(KyfHalationStart(record.get(), &kSettings), KyfResultInvalidParameter);
        EXPECT_EQ(test::Add(record, frame), KyfResultInvalidParameter);
        EXPECT_EQ(KyfHalationGetRemovalImage(record.get(), &image), KyfResultInvalidParameter);
        EXPECT_EQ(KyfHalationExtractRemovalImage(record.get(), &image), KyfResultInvalidParameter);
        --character;
    }
    EXPECT_EQ(test::Add(record, frame), KyfResultOk);
}

TEST(HalationRecord, CanBeMadeOfRawMemory) {
    KyfHalationRemoval record;
    std::memset(static_cast<void*>(&record), 0xAB, sizeof record); // an image pointer that leads nowhere
    EXPECT_EQ(KyfHalationInitialize(&record), KyfResultOk);
    ExpectDefaults(record);
    EXPECT_EQ(KyfHalationTerminate(&record), KyfResultOk);
}

TEST(HalationRecord, ForgetsItsSignatureAtItsEndUntilItIsInitialized) {
    const test::Record record = test::StartedRecord(kSettings);
    ASSERT_EQ(test::Add(record, Frame()), KyfResultOk);
    EXPECT_EQ(KyfHalationTerminate(record.get()), KyfResultOk);
    const KyfHalationRemoval zero{};
    EXPECT_EQ(std::memcmp(record->Signature, zero.Signature, sizeof zero.Signature), 0);
    EXPECT_EQ(record->Threshold, 0);
    EXPECT_EQ(record->ImageCount, 0);
    EXPECT_EQ(record->RemovalImage, nullptr);
    EXPECT_EQ(KyfHalationStart(record.get(), &kSettings), KyfResultInvalidParameter);
    EXPECT_EQ(test::Add(record, Frame()), KyfResultInvalidParameter);
    EXPECT_EQ(KyfHalationTerminate(record.get()), KyfResultOk);
    EXPECT_EQ(KyfHalationInitialize(record.get()), KyfResultOk);
    ExpectDefaults(*record);
}

// The checks for leaks see whether the image went.
TEST(HalationRecord, FreesItsImageAtItsEndWhateverTheSignature) {
    const test::Record record = test::StartedRecord(kSettings);
    ASSERT_EQ(test::Add(record, Frame()), KyfResultOk);
    record->Signature[0] = u'X';
    EXPECT_EQ(KyfHalationTerminate(record.get()), KyfResultOk);
    EXPECT_EQ(record->RemovalImage, nullptr);
}

TEST(HalationRecord, FreesItsImageWhenItIsInitialized) {
    const test::Record record = test::StartedRecord(kSettings);
    ASSERT_EQ(test::Add(record, Frame()), KyfResultOk);
    EXPECT_EQ(KyfHalationInitialize(record.get()), KyfResultOk);
    ExpectDefaults(*record);
}

TEST(HalationSeries, StartsAgainOnlyWhenTheImageIsGone) {
    const test::Record record = test::StartedRecord(kSettings);
    ASSERT_EQ(test::Add(record, Frame()), KyfResultOk);
    EXPECT_EQ(KyfHalationStart(record.get(), &kSettings), KyfResultInvalidParameter);
    EXPECT_EQ(record->ImageCount, 1);
    KyiImageData* image = nullptr;
    ASSERT_EQ(KyfHalationExtractRemovalImage(record.get(), &image), KyfResultOk);
    KyiFreeImageData(image);
    EXPECT_EQ(test::Add(record, Frame()), KyfResultInvalidParameter) << "a further frame without an image";
    EXPECT_EQ(record->ImageCount, 1);
    EXPECT_EQ(KyfHalationStart(record.get(), &kSettings), KyfResultOk);
    EXPECT_EQ(record->ImageCount, 0);
    EXPECT_EQ(test::Add(record, Frame(9, 9, KyiFormatGray8)), KyfResultOk);
}

TEST(HalationSeries, GivesNullBeforeTheFirstFrame) {
    const test::Record record = test::NewRecord();
    const test::Image other = Frame();
    KyiImageData* image = other.get();
    EXPECT_EQ(KyfHalationGetRemovalImage(record.get(), &image), KyfResultOk);
    EXPECT_EQ(image, nullptr);
    image = other.get();
    EXPECT_EQ(KyfHalationExtractRemovalImage(record.get(), &image), KyfResultOk);
    EXPECT_EQ(image, nullptr);
}

TEST(HalationSeries, BeginsWithACopyOfTheFirstFrame) {
    for (const std::int32_t format : test::AllFormats()) {
        const test::Record record = test::StartedRecord(kSettings);
        const test::Image frame = Frame(13, 5, format);
        frame->Origin = 1;
        ASSERT_EQ(test::Add(record, frame), KyfResultOk);
        KyiImageData* image = nullptr;
        ASSERT_EQ(KyfHalationGetRemovalImage(record.get(), &image), KyfResultOk);
        ASSERT_NE(image, frame.get());
        EXPECT_TRUE(test::SamePixelBytes(*frame, *image));
        EXPECT_EQ(image->Origin, 1);
        EXPECT_EQ(record->ImageCount, 1);
    }
}

TEST(HalationSeries, RefusesAFirstFrameWhileAnImageIsThere) {
    const test::Record record = test::StartedRecord(kSettings);
    ASSERT_EQ(test::Add(record, Frame()), KyfResultOk);
    record->ImageCount = 0;
    EXPECT_EQ(test::Add(record, Frame()), KyfResultInvalidParameter);
    EXPECT_EQ(record->ImageCount, 0);
    EXPECT_NE(record->RemovalImage, nullptr);
}

TEST(HalationSeries, RefusesFramesThatDoNotFitAndStaysAsItWas) {
    const test::Record record = test::StartedRecord(kSettings);
    const test::Image frame = Frame();
    ASSERT_EQ(test::Add(record, frame), KyfResultOk);
    const test::Image turned = Frame();
    turned->Origin = 1;
    for (const test::Image& misfit : {Frame(25, 6), Frame(24, 7), Frame(24, 6, KyiFormatBgr24Other),
                                      Frame(24, 6, KyiFormatGray8), Frame(24, 6, KyiFormatBgr48)})
        EXPECT_EQ(test::Add(record, misfit), KyfResultInvalidParameter);
    EXPECT_EQ(test::Add(record, turned), KyfResultInvalidParameter);
    EXPECT_EQ(record->ImageCount, 1);
    EXPECT_TRUE(test::SamePixelBytes(*frame, *record->RemovalImage));
}

// A host that has got the image goes on seeing it.
TEST(HalationSeries, KeepsTheAddressOfItsImage) {
    const test::Record record = test::StartedRecord(kSettings);
    ASSERT_EQ(test::Add(record, Frame()), KyfResultOk);
    KyiImageData* const image = record->RemovalImage;
    void* const pixels = image->Pixels;
    test::Tree tree;
    ASSERT_EQ(test::Add(record, Frame(), 0, tree.Root), KyfResultOk);
    ASSERT_EQ(test::Add(record, Frame(), 1), KyfResultOk);
    EXPECT_EQ(record->RemovalImage, image);
    EXPECT_EQ(image->Pixels, pixels);
    EXPECT_EQ(record->ImageCount, 3);
}

TEST(HalationSeries, CompletesTheNodeOfAnAddThatWentWellAndNoOther) {
    const test::Record record = test::StartedRecord(kSettings);
    for (int frame = 0; frame < 2; ++frame) {
        test::Tree tree;
        EXPECT_EQ(test::Add(record, Frame(), 1, tree.Root), KyfResultOk);
        EXPECT_NE(tree.Root->Completed, 0);
        EXPECT_EQ(tree.Root->SubCount, frame == 0 ? 0 : 6);
    }
    test::Tree tree;
    EXPECT_EQ(test::Add(record, Frame(5, 5), 1, tree.Root), KyfResultInvalidParameter);
    EXPECT_EQ(tree.Root->Completed, 0);
    EXPECT_TRUE(tree.Events.empty());
}

struct Watch {
    const KyfHalationRemoval* Record;
    const KyiImageData* Before;
    bool IsUnchanged = true;
};

TEST(HalationSeries, ShowsCallbacksTheImageAsItWasUntilTheEnd) {
    const test::Record record = test::StartedRecord({10, 1, 1});
    const test::Image bright = test::HalvesImage(24, 6, KyiFormatBgr24, 200, 220);
    const test::Image dark = test::HalvesImage(24, 6, KyiFormatBgr24, 20, 40);
    ASSERT_EQ(test::Add(record, bright), KyfResultOk);
    Watch watch{record.get(), bright.get()};
    const auto look = [](KyfProgress* node) {
        auto& seen = *static_cast<Watch*>(KyfProgressGetArgs(node));
        const bool isRunning = KyfProgressGetParent(node)->Percent < 84; // before the last step is complete
        if (isRunning && !test::SamePixelBytes(*seen.Before, *seen.Record->RemovalImage)) seen.IsUnchanged = false;
    };
    KyfProgress* const root = KyfAllocProgress(look, &watch);
    EXPECT_EQ(test::Add(record, dark, 0, root), KyfResultOk);
    KyfFreeProgress(root);
    EXPECT_TRUE(watch.IsUnchanged);
    EXPECT_TRUE(test::SamePixelBytes(*dark, *record->RemovalImage)); // too narrow for any smoothing
}

TEST(HalationSeries, LeavesAPictureWithoutBrightSpotsAsItIs) {
    const test::Record record = test::StartedRecord({255, 20, 50});
    const test::Image frame = Frame(120, 40);
    ASSERT_EQ(test::Add(record, frame), KyfResultOk);
    ASSERT_EQ(test::Add(record, test::RandomImage(120, 40, KyiFormatBgr24, 8)), KyfResultOk);
    EXPECT_TRUE(test::SamePixelBytes(*frame, *record->RemovalImage));
}

TEST(HalationSeries, TakesABrightPictureWhollyFromTheNextFrameWhereNothingIsSmoothed) {
    const test::Record record = test::StartedRecord({150, 20, 20}); // 20 / 1024 of 40 pixels are none
    ASSERT_EQ(test::Add(record, test::HalvesImage(40, 8, KyiFormatGray16, 160, 60000)), KyfResultOk);
    const test::Image next = Frame(40, 8, KyiFormatGray16);
    ASSERT_EQ(test::Add(record, next), KyfResultOk);
    EXPECT_TRUE(test::SamePixelBytes(*next, *record->RemovalImage));
}

TEST(HalationSeries, MayBeGivenItsOwnImage) {
    const test::Record record = test::StartedRecord({50, 20, 50});
    const test::Image frame = Frame(120, 40);
    ASSERT_EQ(test::Add(record, frame), KyfResultOk);
    ASSERT_EQ(KyfHalationAddImage(record.get(), record->RemovalImage, 1, nullptr), KyfResultOk);
    EXPECT_TRUE(test::SamePixelBytes(*frame, *record->RemovalImage));
}

// Fields that a host has written: nothing checks them after the start.
TEST(HalationSeries, TakesHostileSettingsInTheRecordAsTheyCome) {
    constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
    for (const std::int32_t setting : {kLeast, -1, 0, kMost}) {
        const test::Record record = test::StartedRecord(kSettings);
        ASSERT_EQ(test::Add(record, Frame(70, 9)), KyfResultOk);
        record->Threshold = setting;
        record->PreSmoothing = setting;
        record->MaskSmoothing = setting;
        record->ImageCount = kMost;
        EXPECT_EQ(test::Add(record, Frame(70, 9)), KyfResultOk);
        EXPECT_EQ(record->ImageCount, kLeast);
    }
}

} // namespace
