// Results of a stack, by mode and heights.
#include <cstdint>

#include <gtest/gtest.h>

#include "session/sessions.h"

namespace {

void AddFrames(KyfFocusComposition* session, bool withHeights) {
    for (std::uint32_t i = 0; i < 3; ++i) {
        const test::Image frame = test::TexturedImage(40, 24, KyiFormatBgr24, i);
        if (withHeights)
            KyfFocusAddImageWithHeight(session, frame.get(), 2.0 * i, 1, nullptr);
        else
            KyfFocusAddImage(session, frame.get(), 1, nullptr);
    }
}

TEST(MakeImage, RefusesASessionWithoutAnImageAndLeavesTheNodeAlone) {
    const test::Session session = test::Make2DSession();
    const test::Session raw(KyfAllocFocusComposition());
    for (KyfFocusComposition* const tried : {session.get(), raw.get(), static_cast<KyfFocusComposition*>(nullptr)}) {
        const test::Progress progress = test::MakeProgress();
        EXPECT_EQ(KyfFocusMakeCompImage(tried, 1, progress.get()), KyfResultInvalidParameter);
        EXPECT_EQ(progress->Completed, 0);
    }
}

TEST(MakeImage, LooksForTheImageOfTheModesPipeline) {
    const test::Session session = test::Make2DSession();
    AddFrames(session.get(), false);
    session->Mode = KyfMode3DSafe;
    EXPECT_EQ(KyfFocusMakeCompImage(session.get(), 1, nullptr), KyfResultInvalidParameter);
    session->Mode = KyfMode2DSelection;
    EXPECT_EQ(KyfFocusMakeCompImage(session.get(), 1, nullptr), KyfResultOk);
}

TEST(MakeImage, MakesHeightsFromTheHeightListAlone) {
    for (const bool withHeights : {false, true}) {
        SCOPED_TRACE(withHeights);
        const test::Session session = test::Make2DSession();
        AddFrames(session.get(), withHeights);
        const test::Progress progress = test::MakeProgress();
        ASSERT_EQ(KyfFocusMakeCompImage(session.get(), 1, progress.get()), KyfResultOk);
        EXPECT_NE(progress->Completed, 0);
        EXPECT_EQ(session->State2D.HeightDataMap != nullptr, withHeights);
        EXPECT_EQ(session->State2D.CuttedHeightDataMap != nullptr, withHeights);
    }
}

TEST(MakeImage, MakesThe2DImageAloneInOneStepWithoutHeights) {
    const test::Session session = test::MakeComplexSession();
    AddFrames(session.get(), false);
    const test::Progress progress = test::MakeProgress();
    ASSERT_EQ(KyfFocusMakeCompImage(session.get(), 1, progress.get()), KyfResultOk);
    ASSERT_EQ(progress->SubCount, 1);
    EXPECT_EQ(progress->SubList[0]->Weight, 101);
    EXPECT_NE(progress->SubList[0]->Completed, 0);
    EXPECT_NE(progress->Completed, 0);
    EXPECT_EQ(session->State2D.HeightDataMap, nullptr);
}

TEST(MakeImage, TakesTwoStepsWhenAHeightOf3DFramesIsNot0) {
    for (const double height : {0.0, -0.0, 1e-300, std::numeric_limits<double>::quiet_NaN()}) {
        SCOPED_TRACE(height);
        const test::Session session = test::MakeComplexSession();
        AddFrames(session.get(), false);
        delete[] session->HeightList;
        session->HeightList = new double[3]{0.0, height, 5.0};
        const std::int32_t frameCount = session->State3D.FrameCount;
        session->State3D.FrameCount = 2; // the 5 belongs to no frame of the 3D side
        const test::Progress progress = test::MakeProgress();
        KyfFocusMakeCompImage(session.get(), 1, progress.get());
        EXPECT_EQ(progress->SubCount, height != 0.0 ? 2 : 1);
        for (std::int32_t i = 0; i < progress->SubCount; ++i) EXPECT_NE(progress->SubList[i]->Completed, 0);
        EXPECT_NE(progress->Completed, 0);
        session->State3D.FrameCount = frameCount;
    }
}

TEST(MakeImage, DoesNothingInAnUnknownModeAndCallsItDone) {
    const test::Session session = test::Make2DSession();
    AddFrames(session.get(), true);
    session->Mode = 9;
    const test::Progress progress = test::MakeProgress();
    EXPECT_EQ(KyfFocusMakeCompImage(session.get(), 1, progress.get()), KyfResultOk);
    EXPECT_NE(progress->Completed, 0);
    EXPECT_EQ(session->State2D.HeightDataMap, nullptr);
}

} // namespace
