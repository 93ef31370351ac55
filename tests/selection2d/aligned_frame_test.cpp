// Which image a later frame goes on in, and whether the frame then is the session's.
#include <gtest/gtest.h>

#include "selection2d/aligned_frame.h"
#include "selection2d/session_run.h"

namespace {

// As after a first frame of 20 x 10.
test::Session Stack(std::int32_t scopeType, std::int32_t autoPos, bool isReduced) {
    test::SessionSettings settings;
    settings.ScopeType = scopeType;
    settings.AutoPos = autoPos;
    test::Session session = test::StartSession(settings);
    KyfCompositionState& state = session->State2D;
    state.SourceWidth = 20;
    state.SourceHeight = 10;
    state.WorkWidth = isReduced ? 10 : 20;
    state.WorkHeight = isReduced ? 5 : 10;
    return session;
}

test::Image Frame() {
    test::Image frame(KyiAllocImageDataEx(20, 10, KyiFormatBgr32, 5, 0));
    KyiFill(frame.get(), 1, 2, 3);
    return frame;
}

TEST(ChooseAlignedFrame, NeverTakesAFrameOverThatTemplateMatchingWarps) {
    const test::Image frame = Frame();
    for (const bool isReduced : {false, true})
        for (const KyiBool offered : {0, 1}) {
            const kyf::AlignedFrame aligned =
                kyf::ChooseAlignedFrame(*Stack(/*scopeType=*/0, /*autoPos=*/1, isReduced), *frame, offered);
            ASSERT_NE(aligned.Own, nullptr);
            EXPECT_EQ(aligned.Image, aligned.Own.get());
            EXPECT_FALSE(aligned.IsTakenOver);
            EXPECT_TRUE(KyiIsSameSize(frame.get(), aligned.Image));
            EXPECT_TRUE(KyiIsSamePixelFormat(frame.get(), aligned.Image));
            EXPECT_TRUE(KyiIsSameOrigin(frame.get(), aligned.Image));
        }
}

TEST(ChooseAlignedFrame, GivesLineMatchingACopyUnlessTheFrameIsTakenOver) {
    const test::Image frame = Frame();
    for (const std::int32_t scopeType : {1, 3})
        for (const bool isReduced : {false, true})
            for (const KyiBool offered : {0, 1}) {
                const kyf::AlignedFrame aligned =
                    kyf::ChooseAlignedFrame(*Stack(scopeType, 0, isReduced), *frame, offered);
                EXPECT_EQ(aligned.IsTakenOver, isReduced && offered);
                EXPECT_EQ(aligned.Image == frame.get(), aligned.IsTakenOver);
                EXPECT_EQ(aligned.Own == nullptr, aligned.IsTakenOver);
                EXPECT_TRUE(test::SameImage(*frame, *aligned.Image));
            }
}

TEST(ChooseAlignedFrame, ReadsAFrameThatDoesNotMoveWhereItLies) {
    const test::Image frame = Frame();
    for (const std::int32_t scopeType : {0, 2, 7})
        for (const bool isReduced : {false, true})
            for (const KyiBool offered : {0, 1}) {
                const kyf::AlignedFrame aligned =
                    kyf::ChooseAlignedFrame(*Stack(scopeType, 0, isReduced), *frame, offered);
                EXPECT_EQ(aligned.Image, frame.get());
                EXPECT_EQ(aligned.Own, nullptr);
                EXPECT_EQ(aligned.IsTakenOver, isReduced && offered);
            }
}

} // namespace
