// One add after the other: what is taken, what is refused, what stays.
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "alignment/drifting_stack.h"
#include "selection2d/selection2d.h"
#include "selection2d/session_run.h"
#include "support/case_files.h"

namespace {

using test::SessionSettings;

KyfResult Add(KyfFocusComposition& session, const test::Image& frame, KyiBool parallel = 0) {
    return KyfFocusAddImage(&session, frame.get(), parallel, nullptr);
}

TEST(AddImage, MakesTheFirstFrameTheComposite) {
    const test::Session session = test::StartSession({});
    const test::Image frame = test::TexturedImage(61, 45, 4, 1);
    ASSERT_EQ(Add(*session, frame), KyfResultOk);
    EXPECT_NE(session->State2D.CompImage, frame.get());
    EXPECT_TRUE(test::SameImage(*frame, *session->State2D.CompImage));
    EXPECT_TRUE(test::SameValues(std::vector<std::int32_t>(61 * 45, 0), test::BestFrames(*session)));
    EXPECT_TRUE(test::SameValues(std::vector<double>(61 * 45, 0.0), test::Mask(*session)));
    EXPECT_EQ(session->State2D.FrameCount, 1);
}

TEST(AddImage, SelectsNothingFromAnEqualFrame) {
    const test::Session session = test::StartSession({});
    const test::Image frame = test::TexturedImage(61, 45, 7, 1);
    ASSERT_EQ(Add(*session, frame), KyfResultOk);
    const std::vector<std::int32_t> focus = test::BestFocus(*session);
    ASSERT_EQ(Add(*session, frame), KyfResultOk);
    EXPECT_TRUE(test::SameImage(*frame, *session->State2D.CompImage));
    EXPECT_TRUE(test::SameValues(focus, test::BestFocus(*session)));
    EXPECT_TRUE(test::SameValues(std::vector<std::int32_t>(61 * 45, 0), test::BestFrames(*session)));
    EXPECT_EQ(session->State2D.FrameCount, 2);
}

TEST(AddImage, TakesTheSharperFrameInsideTheOuterBand) {
    const test::Session session = test::StartSession({});
    test::Image flat(KyiAllocImageData(80, 70, 3));
    KyiFill(flat.get(), 90, 0, 0);
    const test::Image sharp = test::RandomImage(80, 70, 3, 4);
    ASSERT_EQ(Add(*session, flat), KyfResultOk);
    ASSERT_EQ(Add(*session, sharp), KyfResultOk);
    ASSERT_EQ(session->BlendWindowSize, 9);
    for (std::int32_t y = 0; y < 70; ++y)
        for (std::int32_t x = 0; x < 80; ++x) {
            std::int32_t value = 0;
            std::int32_t wanted = 90;
            const bool isInside = x >= 4 && y >= 4 && x < 75 && y < 65;
            if (isInside) KyiGetPixelData(sharp.get(), x, y, &wanted);
            KyiGetPixelData(session->State2D.CompImage, x, y, &value);
            ASSERT_EQ(value, wanted) << x << ", " << y;
        }
}

TEST(AddImage, ChoosesWorkingSizeAndWindowBySpeed) {
    struct Expected {
        std::int32_t Width, Height, Speed, WorkWidth, WorkHeight, Window;
    };
    for (const Expected& e :
         {Expected{199, 20, 0, 199, 20, 9}, Expected{1000, 5, 0, 1000, 5, 11}, Expected{401, 30, 1, 200, 14, 3},
          Expected{800, 12, 1, 400, 6, 5}, Expected{1000, 750, 2, 250, 187, 3}}) {
        SessionSettings settings;
        settings.Speed = e.Speed;
        const test::Session session = test::StartSession(settings);
        ASSERT_EQ(Add(*session, test::TexturedImage(e.Width, e.Height, 3, 1)), KyfResultOk);
        EXPECT_EQ(session->State2D.WorkWidth, e.WorkWidth);
        EXPECT_EQ(session->State2D.WorkHeight, e.WorkHeight);
        EXPECT_EQ(session->BestFocusWidth, e.WorkWidth);
        EXPECT_EQ(session->BestFocusHeight, e.WorkHeight);
        EXPECT_EQ(session->BlendWindowSize, e.Window);
    }
}

TEST(AddImage, RefusesAFrameThatDoesNotFitTheFirst) {
    const test::Session session = test::StartSession({});
    const test::Image first = test::TexturedImage(30, 20, 3, 1);
    ASSERT_EQ(Add(*session, first), KyfResultOk);
    for (const test::Image& other : {test::RandomImage(31, 20, 3, 2), test::RandomImage(30, 19, 3, 2),
                                     test::RandomImage(30, 20, 5, 2), test::RandomImage(30, 20, 200, 2)}) {
        const test::ProgressLog log;
        KyiBool owned = 5;
        EXPECT_EQ(kyf::Kyf2DSelectionAddImage(session.get(), other.get(), 1, owned, 0, log.Root()),
                  KyfResultInvalidParameter);
        EXPECT_EQ(owned, 0);
        EXPECT_EQ(log.Root()->SubCount, 0);
        EXPECT_TRUE(log.Calls().empty());
    }
    EXPECT_EQ(session->State2D.FrameCount, 1);
    EXPECT_TRUE(test::SameImage(*first, *session->State2D.CompImage));
}

TEST(AddImage, RefusesNullAndUnknownFormats) {
    const test::Session session = test::StartSession({});
    KyiBool owned = 5;
    EXPECT_EQ(kyf::Kyf2DSelectionAddImage(session.get(), nullptr, 1, owned, 0, nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(owned, 0);
    const test::Image frame = test::RandomImage(8, 8, 3, 1);
    EXPECT_EQ(kyf::Kyf2DSelectionAddImage(nullptr, frame.get(), 0, owned, 0, nullptr), KyfResultInvalidParameter);
    frame->Format = 999;
    EXPECT_EQ(Add(*session, frame), KyfResultInvalidParameter);
    EXPECT_EQ(session->State2D.FrameCount, 0);
}

TEST(AddImage, TakesOfferedFramesOnlyAtAReducedWorkingSize) {
    for (const std::int32_t speed : {0, 1}) {
        SessionSettings settings;
        settings.Speed = speed;
        const test::Session session = test::StartSession(settings);
        for (const std::uint32_t seed : {1u, 2u, 3u}) {
            test::Image frame = test::TexturedImage(40, 30, 4, seed);
            KyiBool owned = 5;
            ASSERT_EQ(kyf::Kyf2DSelectionAddImage(session.get(), frame.get(), 1, owned, 0, nullptr), KyfResultOk);
            EXPECT_EQ(owned, speed == 1 && seed > 1 ? 1 : 0);
            if (owned) (void)frame.release();
        }
    }
}

TEST(AddImage, LeavesTheComposedImageToTheFirstFrameWhenColourCompetesInBrightness) {
    SessionSettings settings;
    settings.ScopeType = 2;
    for (const std::int32_t format : {4, 7, 100}) {
        const test::Session session = test::StartSession(settings);
        const test::Image first = test::TexturedImage(40, 30, format, 1);
        ASSERT_EQ(Add(*session, first), KyfResultOk);
        const std::vector<std::int32_t> focus = test::BestFocus(*session);
        ASSERT_EQ(Add(*session, test::TexturedImage(40, 30, format, 2)), KyfResultOk);
        EXPECT_TRUE(test::SameImage(*first, *session->State2D.CompImage));
        EXPECT_TRUE(test::SameValues(focus, test::BestFocus(*session)));
        EXPECT_EQ(session->State2D.FrameCount, 2);
    }
}

/// The trace in a folder of its own, switched on for a test.
class Trace {
  public:
    Trace() {
        KyiSetTraceLogFolder(m_folder.Path().wstring().c_str());
        KyiSetPuttingTraceLog(1);
    }
    ~Trace() { KyiSetPuttingTraceLog(0); }
    Trace(const Trace&) = delete;
    Trace& operator=(const Trace&) = delete;

    /// How often a text stands in the log.
    int Count(const std::string& wanted) const {
        std::ifstream log(m_folder.Path() / "kyimaging.log");
        const std::string text{std::istreambuf_iterator<char>(log), std::istreambuf_iterator<char>()};
        int count = 0;
        for (std::size_t at = text.find(wanted); at != std::string::npos; at = text.find(wanted, at + 1)) ++count;
        return count;
    }

  private:
    test::TemporaryFolder m_folder;
};

TEST(AddImage, SaysOnceAStackThatNoLaterFrameCanWin) {
    struct Stack {
        std::int32_t Speed, ScopeType, Format, Width;
        int UnknownSpeeds, ColoursInBrightness;
    };
    for (const Stack& stack :
         {Stack{3, 0, 4, 40, 1, 0}, Stack{-1, 2, 4, 40, 1, 0}, Stack{2, 0, 3, 3, 1, 0}, Stack{0, 2, 4, 40, 0, 1},
          Stack{1, 2, 7, 40, 0, 1}, Stack{0, 2, 3, 40, 0, 0}, Stack{2, 0, 4, 40, 0, 0}}) {
        SCOPED_TRACE("speed " + std::to_string(stack.Speed) + ", scope " + std::to_string(stack.ScopeType));
        const Trace trace;
        SessionSettings settings;
        settings.Speed = stack.Speed;
        settings.ScopeType = stack.ScopeType;
        const test::Session session = test::StartSession(settings);
        for (const std::uint32_t seed : {1u, 2u, 3u})
            ASSERT_EQ(Add(*session, test::RandomImage(stack.Width, 30, stack.Format, seed)), KyfResultOk);
        EXPECT_EQ(trace.Count("Speed is unknown"), stack.UnknownSpeeds);
        EXPECT_EQ(trace.Count("Brightness is selected from gray frames only"), stack.ColoursInBrightness);
    }
}

// The smoothing then is so strong that nothing is left of any value.
TEST(AddImage, SelectsNothingWithACutoffOfOneOverAWholeNumberOfPixels) {
    for (const std::int32_t width : {100, 50}) {
        SessionSettings settings;
        settings.CompSize = 1;
        const test::Session session = test::StartSession(settings);
        const test::Image first = test::TexturedImage(width, 40, 3, 1);
        ASSERT_EQ(Add(*session, first), KyfResultOk);
        ASSERT_EQ(Add(*session, test::RandomImage(width, 40, 3, 2)), KyfResultOk);
        const std::vector<std::int32_t> nothing(static_cast<std::size_t>(width) * 40, 0);
        EXPECT_TRUE(test::SameValues(nothing, test::BestFocus(*session)));
        EXPECT_TRUE(test::SameImage(*first, *session->State2D.CompImage));
    }
}

TEST(AddImage, SaysThatAStackHasBeenMadeOrTaken) {
    const Trace trace;
    const test::Session session = test::StartSession({});
    const test::Image frame = test::TexturedImage(40, 30, 3, 1);
    ASSERT_EQ(Add(*session, frame), KyfResultOk);
    EXPECT_EQ(Add(*session, test::TexturedImage(41, 30, 3, 1)), KyfResultInvalidParameter);
    EXPECT_EQ(trace.Count("takes no more frames"), 0);
    const KyfRect rectangle{20, 10, 40, 30};
    ASSERT_EQ(kyf::Kyf2DSelectionMakeCompImage(session.get(), rectangle, 0, nullptr), KyfResultOk);
    EXPECT_EQ(Add(*session, frame), KyfResultInvalidParameter);
    EXPECT_EQ(trace.Count("takes no more frames"), 1);
    EXPECT_EQ(kyf::Kyf2DSelectionMakeCompImage(session.get(), rectangle, 0, nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(trace.Count("a stack is made once"), 1);
    KyiImageData* composite = nullptr;
    ASSERT_EQ(KyfFocusExtractCompImage(session.get(), &composite), KyfResultOk);
    const test::Image taken(composite);
    EXPECT_EQ(Add(*session, frame), KyfResultInvalidParameter);
    EXPECT_EQ(trace.Count("takes no more frames"), 2);
    EXPECT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(trace.Count("There is no composite"), 1);
}

TEST(AddImage, SaysThatAutomaticPositioningCannotBeginLater) {
    const Trace trace;
    const test::Session session = test::StartSession({});
    const test::Image frame = test::TexturedImage(40, 30, 3, 1);
    ASSERT_EQ(Add(*session, frame), KyfResultOk);
    session->AutoPos = 1;
    EXPECT_EQ(Add(*session, frame), KyfResultInvalidParameter);
    EXPECT_EQ(trace.Count("Automatic positioning was off when the stack began"), 1);
    session->AutoPos = 0;
    EXPECT_EQ(Add(*session, frame), KyfResultOk);
    EXPECT_EQ(trace.Count("Automatic positioning was off"), 1);
}

TEST(AddImage, SaysThatTheKindOfLineMatchingIsUnknownAndMovesNothing) {
    for (const std::int32_t detectType : {-1, 0, 1, 2}) {
        SCOPED_TRACE(detectType);
        const Trace trace;
        SessionSettings settings;
        settings.ScopeType = 1;
        const test::Session session = test::StartSession(settings);
        session->MatchingDetectType = detectType;
        for (const test::Image& frame :
             test::DriftingStack(120, 60, KyiFormatGray8, test::Content::CrossedLines, {{6, 0}}, 1))
            ASSERT_EQ(Add(*session, frame), KyfResultOk);
        const bool isKnown = detectType == 0 || detectType == 1;
        EXPECT_EQ(trace.Count("The MatchingDetectType is unknown"), isKnown ? 0 : 1);
        EXPECT_EQ(session->Matching2D.TotalShift, isKnown ? 6 : 0);
    }
}

// The session keeps what it is handed at a reduced working size, unless template areas make an image of their own.
TEST(AddImage, LinesUpFramesThatItIsHandedAsItDoesThoseOfTheHost) {
    for (const std::int32_t autoPos : {0, 1})
        for (const std::int32_t speed : {0, 1}) {
            SessionSettings settings;
            settings.ScopeType = 1 - autoPos;
            settings.AutoPos = autoPos;
            settings.Speed = speed;
            settings.CompSize = 20;
            const test::Session handed = test::StartSession(settings);
            const test::Session lent = test::StartSession(settings);
            bool isFirst = true;
            for (const test::Image& frame : test::DriftingStack(120, 90, KyiFormatBgr24, test::Content::CrossedLines,
                                                                {{5, 0}, {-8, 0}, {1, 0}}, 1)) {
                const test::Image before(KyiDuplicateImageData(frame.get(), 0));
                ASSERT_EQ(Add(*lent, frame), KyfResultOk);
                EXPECT_TRUE(test::SameImage(*before, *frame));
                test::Image own(KyiDuplicateImageData(frame.get(), 0));
                KyiBool isTaken = 7;
                ASSERT_EQ(kyf::Kyf2DSelectionAddImage(handed.get(), own.get(), 1, isTaken, 0, nullptr), KyfResultOk);
                EXPECT_EQ(isTaken, !isFirst && autoPos == 0 && speed == 1 ? 1 : 0);
                if (isTaken) own.release(); // NOLINT: freed by the session
                isFirst = false;
            }
            EXPECT_EQ(handed->Matching2D.TotalShift, lent->Matching2D.TotalShift);
            EXPECT_EQ(lent->Matching2D.TotalShift, autoPos ? 0 : -2);
            if (autoPos) {
                EXPECT_NE(lent->FrameShifts[1].ShiftX, 0);
                EXPECT_EQ(handed->FrameShifts[3].ShiftX, lent->FrameShifts[3].ShiftX);
            }
            EXPECT_TRUE(test::SameImage(*lent->State2D.CompImage, *handed->State2D.CompImage));
            EXPECT_TRUE(test::SameValues(test::BestFocus(*lent), test::BestFocus(*handed)));
        }
}

// Without a single working pixel nothing can be compared: the first frame stays.
TEST(AddImage, KeepsTheFirstFrameWhenTheWorkingSizeIsNothing) {
    struct Tiny {
        std::int32_t Width, Height, Speed;
    };
    for (const Tiny& tiny : {Tiny{40, 30, 3}, Tiny{40, 30, -1}, Tiny{3, 9, 2}, Tiny{1, 1, 1}, Tiny{100, 1, 1}}) {
        SCOPED_TRACE(std::to_string(tiny.Width) + " x " + std::to_string(tiny.Height));
        SessionSettings settings;
        settings.Speed = tiny.Speed;
        const test::Session session = test::StartSession(settings);
        const test::Image first = test::RandomImage(tiny.Width, tiny.Height, 4, 1);
        const test::Image second = test::RandomImage(tiny.Width, tiny.Height, 4, 2);
        const test::ProgressLog log;
        ASSERT_EQ(KyfFocusAddImageWithHeight(session.get(), first.get(), 7.5, 1, log.Root()), KyfResultOk);
        EXPECT_EQ(log.Calls().size(), 11u);
        ASSERT_EQ(KyfFocusAddImageWithHeight(session.get(), second.get(), 8.5, 1, nullptr), KyfResultOk);
        EXPECT_EQ(session->State2D.FrameCount, 2);
        ASSERT_EQ(KyfFocusMakeCompImage(session.get(), 1, nullptr), KyfResultOk);
        EXPECT_TRUE(test::SameImage(*first, *session->State2D.CompImage));
        const std::vector<double> heights(static_cast<std::size_t>(tiny.Width * tiny.Height), 7.5);
        EXPECT_TRUE(test::SameValues(heights, test::Flatten(session->State2D.HeightDataMap, tiny.Width, tiny.Height)));
    }
}

TEST(AddImage, WorksOnTheSmallestFrames) {
    for (const std::int32_t format : {3, 4, 5, 7, 100})
        for (const auto& [width, height] : {std::pair{1, 1}, {1, 7}, {7, 1}, {2, 2}, {3, 2}, {4, 4}, {5, 5}})
            for (const std::int32_t speed : {0, 1, 2})
                for (const KyiBool parallel : {0, 1}) {
                    SessionSettings settings;
                    settings.Speed = speed;
                    const test::Session session = test::StartSession(settings);
                    for (const std::uint32_t seed : {1u, 2u, 3u})
                        ASSERT_EQ(Add(*session, test::RandomImage(width, height, format, seed), parallel), KyfResultOk);
                    ASSERT_EQ(KyfFocusMakeCompImage(session.get(), parallel, nullptr), KyfResultOk);
                }
}

TEST(AddImage, RefusesFramesOnceTheComposedImageHasBeenTakenOrCut) {
    const test::Session session = test::StartSession({});
    const test::Image frame = test::TexturedImage(40, 30, 3, 1);
    ASSERT_EQ(Add(*session, frame), KyfResultOk);
    KyiImageData* composite = nullptr;
    ASSERT_EQ(KyfFocusExtractCompImage(session.get(), &composite), KyfResultOk);
    const test::Image taken(composite);
    EXPECT_EQ(Add(*session, frame), KyfResultInvalidParameter);

    session->State2D.CompImage = test::RandomImage(39, 30, 3, 1).release();
    EXPECT_EQ(Add(*session, frame), KyfResultInvalidParameter);
    EXPECT_EQ(session->State2D.FrameCount, 1);
}

TEST(AddImage, GivesTheSameWithAndWithoutThreads) {
    for (const std::int32_t format : {3, 4, 7, 100})
        for (const std::int32_t speed : {0, 1, 2}) {
            SessionSettings settings;
            settings.Speed = speed;
            const test::Session one = test::StartSession(settings);
            const test::Session many = test::StartSession(settings);
            const bool saturates = speed != 0 && format == 7; // the reduction in one thread caps at 255
            for (const std::uint32_t seed : {1u, 2u, 3u, 4u}) {
                const test::Image frame = test::TexturedImage(150, 111, format, seed);
                ASSERT_EQ(Add(*one, frame, 0), KyfResultOk);
                ASSERT_EQ(Add(*many, frame, 1), KyfResultOk);
            }
            if (saturates) continue;
            EXPECT_TRUE(test::SameValues(test::BestFocus(*one), test::BestFocus(*many)));
            EXPECT_TRUE(test::SameValues(test::Mask(*one), test::Mask(*many)));
            EXPECT_TRUE(test::SameImage(*one->State2D.CompImage, *many->State2D.CompImage));
        }
}

} // namespace
