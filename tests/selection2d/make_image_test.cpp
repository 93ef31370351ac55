// From winners to heights, and the cut to the result rectangle.
#include <array>
#include <cstring>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "filters/double_image.h"
#include "selection2d/selection2d.h"
#include "selection2d/session_run.h"

namespace {

using test::SessionSettings;

/// A session with frames of 100 x 74, each with its height.
test::Session Stack(const SessionSettings& settings, std::int32_t format = 4) {
    test::Session session = test::StartSession(settings);
    for (const std::uint32_t seed : {1u, 2u, 3u})
        EXPECT_EQ(KyfFocusAddImageWithHeight(session.get(), test::TexturedImage(100, 74, format, seed).get(),
                                             1.25 * seed, 0, nullptr),
                  KyfResultOk);
    return session;
}

TEST(MakeCompImage, TakesEveryHeightFromItsWinner) {
    for (const std::int32_t speed : {0, 1, 2}) {
        SessionSettings settings;
        settings.Speed = speed;
        const test::Session session = Stack(settings);
        KyfCompositionState& state = session->State2D;
        std::int32_t** const table = session->BestFocusMap;
        const std::vector<std::int32_t> oldFocus = test::BestFocus(*session);
        ASSERT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultOk);
        EXPECT_EQ(session->BestFocusMap == table, speed == 0);
        for (std::int32_t y = 0; y < 74; ++y)
            for (std::int32_t x = 0; x < 100; ++x) {
                const int column = static_cast<int>(x / (100.0 / state.WorkWidth));
                const int row = static_cast<int>(y / (74.0 / state.WorkHeight));
                ASSERT_EQ(state.HeightDataMap[y][x], 1.25 * (1 + session->BestFrameMap[row][column]));
                ASSERT_EQ(session->BestFocusMap[y][x],
                          oldFocus[static_cast<std::size_t>(row * state.WorkWidth + column)]);
            }
    }
}

TEST(MakeCompImage, ReadsTheLastWorkingRowForTheLastFrameRow) {
    SessionSettings settings;
    settings.Speed = 2;
    const test::Session session = test::StartSession(settings);
    const test::Image frame = test::TexturedImage(1000, 750, 3, 1);
    ASSERT_EQ(KyfFocusAddImageWithHeight(session.get(), frame.get(), 1.0, 0, nullptr), KyfResultOk);
    ASSERT_EQ(KyfFocusAddImageWithHeight(session.get(), frame.get(), 2.0, 0, nullptr), KyfResultOk);
    ASSERT_EQ(session->State2D.WorkHeight, 187);
    session->BestFrameMap[186][249] = 1;
    ASSERT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultOk);
    EXPECT_EQ(session->State2D.HeightDataMap[749][999], 2.0);
    EXPECT_EQ(session->State2D.HeightDataMap[745][999], 1.0);
}

TEST(MakeCompImage, OnlyCutsTheImageWithoutHeights) {
    const test::Session session = test::StartSession({});
    const test::Image frame = test::TexturedImage(50, 40, 7, 1);
    ASSERT_EQ(KyfFocusAddImage(session.get(), frame.get(), 0, nullptr), KyfResultOk);
    const KyiImageData* const before = session->State2D.CompImage;
    ASSERT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultOk);
    EXPECT_NE(session->State2D.CompImage, before);
    EXPECT_TRUE(test::SameImage(*frame, *session->State2D.CompImage));
    EXPECT_EQ(session->State2D.HeightDataMap, nullptr);
    EXPECT_EQ(session->State2D.AntNoiseHeightDataMap, nullptr);
    EXPECT_EQ(session->State2D.CuttedHeightDataMap, nullptr);
    EXPECT_EQ(session->State2D.CuttedAntNoiseHeightDataMap, nullptr);
    EXPECT_EQ(session->CuttedBestFocusMap, nullptr);
    EXPECT_EQ(session->State2D.CuttedWidth, 0);
}

TEST(MakeCompImage, LeavesTheCutHeightsAsTheyAreWithoutSmoothing) {
    SessionSettings settings;
    settings.Smoothing = 0;
    const test::Session session = Stack(settings);
    ASSERT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultOk);
    const KyfCompositionState& state = session->State2D;
    EXPECT_TRUE(test::SameValues(test::Flatten(state.CuttedHeightDataMap, 100, 74),
                                 test::Flatten(state.CuttedAntNoiseHeightDataMap, 100, 74)));
}

TEST(MakeCompImage, RaisesSmoothedFlatHeightsByTheTwoPasses) {
    SessionSettings settings;
    settings.Smoothing = 50;
    const test::Session session = test::StartSession(settings);
    const test::Image frame = test::TexturedImage(60, 50, 3, 1);
    ASSERT_EQ(KyfFocusAddImageWithHeight(session.get(), frame.get(), 4.0, 0, nullptr), KyfResultOk);
    ASSERT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultOk);
    for (const double height : test::Flatten(session->State2D.CuttedAntNoiseHeightDataMap, 60, 50))
        ASSERT_NEAR(height, 4.02, 1e-9);
}

TEST(MakeCompImage, CutsEverythingToTheRectangle) {
    for (const std::int32_t format : {3, 4, 5, 7, 100}) {
        const test::Session session = Stack({}, format);
        KyfCompositionState& state = session->State2D;
        const test::Image whole(KyiDuplicateImageData(state.CompImage, 0));
        ASSERT_EQ(kyf::Kyf2DSelectionMakeCompImage(session.get(), {12, 5, 93, 70}, 0, nullptr), KyfResultOk);
        ASSERT_EQ(state.CompImage->Width, 81);
        ASSERT_EQ(state.CompImage->Height, 65);
        test::Image cut(KyiAllocImageData(81, 65, format));
        const std::array<std::int32_t, 4> place{12, 5, 80, 64};
        KyiClipImage(whole.get(), cut.get(), place.data());
        EXPECT_TRUE(test::SameImage(*cut, *state.CompImage));
        ASSERT_EQ(state.CuttedWidth, 81);
        ASSERT_EQ(state.CuttedHeight, 65);
        EXPECT_EQ(state.CuttedHeightDataMap[0][0], state.HeightDataMap[5][12]);
        EXPECT_EQ(state.CuttedHeightDataMap[64][80], state.HeightDataMap[69][92]);
        EXPECT_EQ(session->CuttedBestFocusMap[0][0], session->BestFocusMap[5][12]);
        EXPECT_EQ(session->CuttedBestFocusMap[64][80], session->BestFocusMap[69][92]);
    }
}

TEST(MakeCompImage, RefusesAnEmptyRectangleAndKeepsTheImage) {
    for (const KyfRect& rectangle : {KyfRect{0, 0, 0, 0}, KyfRect{60, 0, 60, 74}, KyfRect{70, 0, 30, 74},
                                     KyfRect{32, 32, -20, 10}, KyfRect{0, 9, 100, 9}}) {
        const test::Session session = Stack({});
        const KyiImageData* const before = session->State2D.CompImage;
        const test::ProgressLog log;
        EXPECT_EQ(kyf::Kyf2DSelectionMakeCompImage(session.get(), rectangle, 0, log.Root()), KyfResultFailAlloc);
        EXPECT_EQ(session->State2D.CompImage, before);
        EXPECT_EQ(session->State2D.CuttedWidth, 0);
        EXPECT_EQ(log.Root()->Percent, 34);
        EXPECT_FALSE(log.Root()->Completed);
    }
}

TEST(MakeCompImage, RefusesARectangleThatLeavesTheImage) {
    for (const KyfRect& rectangle :
         {KyfRect{-1, 0, 50, 50}, KyfRect{0, -1, 50, 50}, KyfRect{0, 0, 101, 50}, KyfRect{0, 0, 50, 75}}) {
        const test::Session session = Stack({});
        EXPECT_EQ(kyf::Kyf2DSelectionMakeCompImage(session.get(), rectangle, 0, nullptr), KyfResultInvalidParameter);
        EXPECT_EQ(session->State2D.CuttedWidth, 0);
    }
}

TEST(MakeCompImage, MayRunTwiceOverTheSameFrame) {
    const test::Session session = Stack({});
    ASSERT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultOk);
    const KyfCompositionState& state = session->State2D;
    const std::vector<double> heights = test::Flatten(state.CuttedAntNoiseHeightDataMap, 100, 74);
    ASSERT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultOk);
    EXPECT_TRUE(test::SameValues(heights, test::Flatten(state.CuttedAntNoiseHeightDataMap, 100, 74)));
}

TEST(MakeCompImage, RefusesToCutTheSameAreaAwayTwice) {
    const test::Session session = Stack({});
    const KyfRect rectangle{20, 10, 90, 60};
    ASSERT_EQ(kyf::Kyf2DSelectionMakeCompImage(session.get(), rectangle, 0, nullptr), KyfResultOk);
    EXPECT_EQ(kyf::Kyf2DSelectionMakeCompImage(session.get(), rectangle, 0, nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(session->State2D.CompImage->Width, 70);
}

TEST(MakeHeightDataMap, NeedsTheTablesOfAStack) {
    KyfFocusComposition session{};
    double height = 1.0;
    session.HeightList = &height;
    EXPECT_EQ(kyf::MakeHeightDataMap(&session, &session.State2D, nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(session.State2D.HeightDataMap, nullptr);
}

TEST(MakeHeightDataMap, ReportsEveryNewPercentAndItsEnd) {
    const test::Session session = Stack({});
    const test::ProgressLog log;
    ASSERT_EQ(kyf::MakeHeightDataMap(session.get(), &session->State2D, log.Root()), KyfResultOk);
    ASSERT_EQ(log.Calls().size(), 74u); // 73 rows above 0 percent, and the end
    EXPECT_EQ(log.Calls().front(), test::ProgressCall("root", 1, 1));
    EXPECT_EQ(log.Calls()[72], test::ProgressCall("root", 98, 98));
    EXPECT_EQ(log.Calls().back(), test::ProgressCall("root", 100, 100));
}

TEST(AllocHeightDataMap, ReplacesTheOldMapAndTakesTheSourceSize) {
    KyfCompositionState state{};
    EXPECT_EQ(kyf::AllocHeightDataMap(&state), nullptr);
    state.SourceWidth = 7;
    state.SourceHeight = 5;
    ASSERT_NE(kyf::AllocHeightDataMap(&state), nullptr);
    EXPECT_EQ(state.MapWidth, 7);
    EXPECT_EQ(state.MapHeight, 5);
    state.SourceWidth = 0;
    EXPECT_EQ(kyf::AllocHeightDataMap(&state), nullptr);
    EXPECT_EQ(state.HeightDataMap, nullptr);
    EXPECT_EQ(state.MapWidth, 0);
}

TEST(CopyAntNoiseHeightDataMap, EndsNullWithoutHeights) {
    KyfCompositionState state{};
    state.AntNoiseHeightDataMap = kyf::AllocDoubleRows(3, 3);
    kyf::CopyAntNoiseHeightDataMap(&state);
    EXPECT_EQ(state.AntNoiseHeightDataMap, nullptr);
}

TEST(HeightMapPair, IsMadeAndReleasedTogether) {
    double** first = nullptr;
    double** second = nullptr;
    kyf::AllocHeightMapPair(&first, &second, 6, 4);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    first[3][5] = second[3][5] = 1.0;
    kyf::FreeHeightMapPair(&first, nullptr);
    EXPECT_EQ(first, nullptr);
    kyf::FreeHeightMapPair(&first, &second);
    EXPECT_EQ(second, nullptr);
    kyf::AllocHeightMapPair(&first, &second, 0, 4);
    EXPECT_EQ(first, nullptr);
    EXPECT_EQ(second, nullptr);
}

TEST(MakeHeightDataMap, MakesTheHeightsOnceAndTheirCopyOnlyWhereItIsMissing) {
    const test::Session session = Stack({});
    KyfCompositionState& state = session->State2D;
    ASSERT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultOk);
    double** const heights = state.HeightDataMap;
    state.HeightDataMap[7][9] = -5.0;
    state.AntNoiseHeightDataMap[8][3] = -6.0;
    const double copied = state.AntNoiseHeightDataMap[7][9];
    ASSERT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultOk);
    EXPECT_EQ(state.HeightDataMap, heights);
    EXPECT_EQ(state.HeightDataMap[7][9], -5.0);
    EXPECT_EQ(state.AntNoiseHeightDataMap[8][3], -6.0);
    EXPECT_EQ(state.AntNoiseHeightDataMap[7][9], copied);

    kyf::FreeDoubleRows(std::exchange(state.AntNoiseHeightDataMap, nullptr));
    ASSERT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultOk);
    ASSERT_NE(state.AntNoiseHeightDataMap, nullptr);
    EXPECT_EQ(state.AntNoiseHeightDataMap[7][9], -5.0);
    EXPECT_EQ(state.CuttedHeightDataMap[7][9], -5.0);
}

// Without winners there are no heights, which the make passes over.
TEST(MakeCompImage, CompletesTheStepOfTheHeightsAlsoWhenItFailed) {
    const test::Session session = Stack({});
    kyf::FreeIntRows(std::exchange(session->BestFrameMap, nullptr), session->State2D.WorkHeight);
    const test::ProgressLog log;
    EXPECT_EQ(kyf::Kyf2DSelectionMakeCompImage(session.get(), {0, 0, 90, 70}, 0, log.Root()), KyfResultOk);
    EXPECT_EQ(session->State2D.HeightDataMap, nullptr);
    EXPECT_EQ(session->State2D.CompImage->Width, 90);
    const std::vector<test::ProgressCall> steps{
        {"root", 34, 34}, {"root", 68, 68}, {"root", 101, 101}, {"root", 100, 100}};
    EXPECT_EQ(log.Calls(), steps);
}

TEST(CutCompImage, KeepsFormatAndOriginAndLeavesThePaletteBehind) {
    constexpr std::size_t kPaletteBytes = 256 * 4;
    for (const std::int32_t format : test::AllFormats()) {
        const test::Session session = test::StartSession({});
        const test::Image frame(KyiAllocImageDataEx(30, 20, format, 5, 0));
        KyiFill(frame.get(), 1, 2, 3);
        std::memset(frame->Palette, 0x5A, kPaletteBytes);
        ASSERT_EQ(KyfFocusAddImage(session.get(), frame.get(), 0, nullptr), KyfResultOk);
        ASSERT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultOk);
        const KyiImageData& cut = *session->State2D.CompImage;
        EXPECT_EQ(cut.Format, format);
        EXPECT_EQ(cut.Origin, frame->Origin);
        EXPECT_EQ(cut.Origin, 5);
        const test::Image fresh(KyiAllocImageData(1, 1, format));
        EXPECT_EQ(std::memcmp(cut.Palette, fresh->Palette, kPaletteBytes), 0);
    }
}

TEST(CutHeightDataMaps, CutsEachTableFromItsOwn) {
    const test::Session session = Stack({});
    KyfCompositionState& state = session->State2D;
    ASSERT_EQ(kyf::MakeHeightDataMap(session.get(), &state, nullptr), KyfResultOk);
    state.HeightDataMap[10][20] = -5.0;
    state.AntNoiseHeightDataMap[10][20] = -6.0;
    kyf::CutHeightDataMaps(session.get(), &state, {15, 8, 60, 50});
    EXPECT_EQ(state.CuttedHeightDataMap[2][5], -5.0);
    EXPECT_EQ(state.CuttedAntNoiseHeightDataMap[2][5], -6.0);
}

TEST(CutHeightDataMaps, MakesNoFocusTableOutsideMode0) {
    const test::Session session = Stack({});
    ASSERT_EQ(kyf::MakeHeightDataMap(session.get(), &session->State2D, nullptr), KyfResultOk);
    session->Mode = KyfModeComplexProcessing;
    kyf::CutHeightDataMaps(session.get(), &session->State2D, {1, 1, 9, 9});
    EXPECT_EQ(session->State2D.CuttedWidth, 8);
    EXPECT_EQ(session->CuttedBestFocusMap, nullptr);
    kyf::CutHeightDataMaps(session.get(), &session->State2D, {1, 1, 7, 7});
    EXPECT_EQ(session->State2D.CuttedWidth, 6);
}

} // namespace
