// Which image a later frame goes on in, and whether the frame then is the session's.
#include <gtest/gtest.h>

#include "alignment/drifting_stack.h"
#include "filters/shapes.h"
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

// A stack whose first frame was `first`, matched by its middle.
test::Session LineStack(const KyiImageData& first) {
    test::SessionSettings settings;
    settings.ScopeType = 1;
    test::Session session = test::StartSession(settings);
    session->State2D.SourceWidth = first.Width;
    session->State2D.SourceHeight = first.Height;
    kyf::SetUpLineMatching(session->Matching2D, 1, session->State2D, first, kyf::ProfileSource::Gray, 0);
    return session;
}

TEST(AlignByLines, MovesAFrameThatIsTakenOverAndACopyOfAnyOther) {
    const std::vector<test::Image> frames =
        test::DriftingStack(120, 40, KyiFormatBgr32, test::Content::CrossedLines, {{6, 0}}, 1);
    const test::Session session = LineStack(*frames[0]);
    const test::Image expected(KyiDuplicateImageData(frames[1].get(), 0));
    kyf::MoveRows(*expected, 6, 0);
    for (const bool isTakenOver : {false, true}) {
        const test::Image frame(KyiDuplicateImageData(frames[1].get(), 0));
        kyf::AlignedFrame aligned{frame.get(), nullptr, isTakenOver};
        EXPECT_EQ(kyf::AlignByLines(*session, aligned, 0).TotalShift, 6);
        EXPECT_TRUE(test::SamePixelBytes(*expected, *aligned.Image));
        EXPECT_EQ(aligned.IsTakenOver, isTakenOver);
        EXPECT_EQ(aligned.Own == nullptr, isTakenOver);
        EXPECT_EQ(aligned.Image == frame.get(), isTakenOver);
        if (!isTakenOver) {
            EXPECT_TRUE(test::SamePixelBytes(*frames[1], *frame)) << "the host's frame stays";
        }
    }
    EXPECT_EQ(session->Matching2D.TotalShift, 0) << "the match is not accepted yet";
}

TEST(AlignByLines, ReadsAFrameThatHasNotMovedWhereItLies) {
    const test::Image frame = test::TexturedImage(120, 40, KyiFormatGray8, 1);
    const test::Session session = LineStack(*frame);
    kyf::AlignedFrame aligned{frame.get(), nullptr, false};
    EXPECT_EQ(kyf::AlignByLines(*session, aligned, 0).TotalShift, 0);
    EXPECT_EQ(aligned.Image, frame.get());
    EXPECT_EQ(aligned.Own, nullptr);
}

TEST(ChooseAlignedFrame, ReadsAnyOtherFrameWhereItLies) {
    const test::Image frame = Frame();
    for (const std::int32_t scopeType : {0, 1, 2, 3, 7})
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
