// Which method lines frames up, and what the result keeps of them.
#include <gtest/gtest.h>

#include "alignment/alignment.h"
#include "alignment/projection_shift.h"

namespace {

using kyf::AlignmentMethod;

constexpr std::int32_t kMargin = 77; // left in the record by an earlier stack

KyfFocusComposition SessionOf(std::int32_t scopeType, std::int32_t autoPos, std::int32_t trim) {
    KyfFocusComposition session{};
    session.ScopeType = scopeType;
    session.AutoPos = autoPos;
    session.TrimInvalidBorder = trim;
    for (KyfCompositionState* state : {&session.State2D, &session.State3D}) {
        state->SourceWidth = 1000;
        state->SourceHeight = 750;
    }
    session.CommonRect = {10, 20, 900, 700};
    session.Matching2D.MinShift = -7;
    session.Matching2D.MaxShift = 12;
    session.Matching2D.Margin = kMargin;
    session.Matching3D.MinShift = -3;
    session.Matching3D.MaxShift = 4;
    session.Matching3D.Margin = kMargin;
    return session;
}

KyfRect Rectangle2D(KyfFocusComposition& session) {
    return kyf::ResultRectangle(session, session.State2D, session.Matching2D);
}

KyfRect Rectangle3D(KyfFocusComposition& session) {
    return kyf::ResultRectangle(session, session.State3D, session.Matching3D);
}

testing::AssertionResult Is(const KyfRect& rectangle, std::int32_t left, std::int32_t top, std::int32_t right,
                            std::int32_t bottom) {
    if (rectangle.Left == left && rectangle.Top == top && rectangle.Right == right && rectangle.Bottom == bottom)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << rectangle.Left << ", " << rectangle.Top << ", " << rectangle.Right << ", "
                                       << rectangle.Bottom;
}

TEST(ChooseAlignment, FollowsScopeTypeAndAutomaticPositioning) {
    for (const std::int32_t autoPos : {0, 1, -1}) {
        const auto method2D = autoPos ? AlignmentMethod::TemplateMatching : AlignmentMethod::None;
        const auto method3D = autoPos ? AlignmentMethod::ProjectionShift : AlignmentMethod::None;
        EXPECT_EQ(kyf::Choose2DAlignment(SessionOf(0, autoPos, 0)), method2D);
        EXPECT_EQ(kyf::Choose3DAlignment(SessionOf(0, autoPos, 0)), method3D);
        for (const std::int32_t scopeType : {1, 3}) {
            EXPECT_EQ(kyf::Choose2DAlignment(SessionOf(scopeType, autoPos, 0)), AlignmentMethod::LineMatching);
            EXPECT_EQ(kyf::Choose3DAlignment(SessionOf(scopeType, autoPos, 0)), AlignmentMethod::LineMatching);
        }
        for (const std::int32_t scopeType : {2, 4, -1}) {
            EXPECT_EQ(kyf::Choose2DAlignment(SessionOf(scopeType, autoPos, 0)), AlignmentMethod::None);
            EXPECT_EQ(kyf::Choose3DAlignment(SessionOf(scopeType, autoPos, 0)), AlignmentMethod::None);
        }
    }
}

TEST(ResultRectangle, IsTheWholeFrameWithoutTrimming) {
    for (const std::int32_t scopeType : {0, 1, 2, 3}) {
        KyfFocusComposition session = SessionOf(scopeType, 1, 0);
        EXPECT_TRUE(Is(Rectangle2D(session), 0, 0, 1000, 750));
        EXPECT_TRUE(Is(Rectangle3D(session), 0, 0, 1000, 750));
        EXPECT_EQ(session.Matching2D.Margin, 0);
        EXPECT_EQ(session.Matching3D.Margin, 0);
    }
}

TEST(ResultRectangle, LosesTheColumnsThatRowsHaveMoved) {
    for (const std::int32_t scopeType : {1, 3}) {
        KyfFocusComposition session = SessionOf(scopeType, 0, 1);
        EXPECT_TRUE(Is(Rectangle2D(session), 12, 0, 993, 750));
        EXPECT_TRUE(Is(Rectangle3D(session), 4, 0, 997, 750));
    }
}

TEST(ResultRectangle, IsTheCommonAreaOfTemplateMatching) {
    KyfFocusComposition session = SessionOf(0, 1, 1);
    EXPECT_TRUE(Is(Rectangle2D(session), 10, 20, 900, 700));
    EXPECT_EQ(session.Matching2D.Margin, 0);
}

TEST(ResultRectangle, KeepsAGuardBandAroundProjectionShift) {
    KyfFocusComposition session = SessionOf(0, 1, 1);
    EXPECT_TRUE(Is(Rectangle3D(session), 32, 32, 968, 718));
    KyfProjectionShift shift{};
    shift.MaxPositiveX = 3;
    shift.MaxPositiveY = 5;
    shift.MaxNegativeX = 7;
    shift.MaxNegativeY = 11;
    session.ProjectionShift = &shift;
    EXPECT_TRUE(Is(Rectangle3D(session), 35, 37, 961, 707));
}

TEST(ResultRectangle, IsTheWholeFrameWhereFramesDoNotMove) {
    for (const std::int32_t scopeType : {0, 2, 4, -1}) {
        // Automatic positioning counts for ScopeType 0 only.
        KyfFocusComposition session = SessionOf(scopeType, scopeType != 0, 1);
        EXPECT_TRUE(Is(Rectangle2D(session), 0, 0, 1000, 750));
        EXPECT_TRUE(Is(Rectangle3D(session), 0, 0, 1000, 750));
    }
}

} // namespace
