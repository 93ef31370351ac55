// Template matching within sessions: what hosts can do between the calls.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include <gtest/gtest.h>
#include <kyfocus/kyfocus.h>

#include "selection2d/session_run.h"
#include "support/images.h"

namespace {

using test::Session;

constexpr std::int32_t kWidth = 96;
constexpr std::int32_t kHeight = 72;

KyfResult Start(KyfFocusComposition& session, std::int32_t areaNo, std::int32_t autoPos = 1) {
    KyfFocusComposition2DSelectionParameter parameter{};
    parameter.CompSize = 8;
    parameter.AutoPos = autoPos;
    parameter.AreaNo = areaNo;
    const KyPoint places[4] = {{50, 25}, {75, 50}, {50, 75}, {25, 50}};
    std::copy_n(places, 4, parameter.AreaPos);
    return KyfFocusStart2DSelection(&session, &parameter);
}

Session NewSession(std::int32_t areaNo, std::int32_t autoPos = 1) {
    Session session(KyfAllocFocusComposition());
    KyfFocusInitializeParameter initial{};
    initial.TrimInvalidBorder = 1;
    EXPECT_EQ(KyfFocusInitialize(session.get(), &initial), KyfResultOk);
    EXPECT_EQ(Start(*session, areaNo, autoPos), KyfResultOk);
    return session;
}

// Waves, moved by `shift` pixels to the left.
test::Image Frame(std::int32_t shift, std::int32_t width = kWidth, std::int32_t height = kHeight) {
    std::vector<std::int32_t> samples;
    for (std::int32_t channel = 0; channel < 3; ++channel)
        for (std::int32_t y = 0; y < height; ++y)
            for (std::int32_t x = shift; x < width + shift; ++x)
                samples.push_back(static_cast<std::int32_t>(110 + 60 * std::sin(x * 0.05 + y * 0.013) +
                                                            50 * std::cos(y * 0.06 - x * 0.011)) +
                                  channel);
    return test::FromPlanes(width, height, KyiFormatBgr24, samples);
}

KyfResult Add(KyfFocusComposition& session, std::int32_t shift) {
    return KyfFocusAddImage(&session, Frame(shift).get(), 0, nullptr);
}

TEST(TemplateStack, KeepsTheTransformOfEachOfThreeHundredFrames) {
    const Session session = NewSession(0);
    std::vector<std::int32_t> shifts;
    for (std::int32_t i = 0; i < 300; ++i) {
        ASSERT_EQ(KyfFocusAddImage(session.get(), Frame(i % 4, 40, 30).get(), 0, nullptr), KyfResultOk);
        shifts.push_back(session->FrameShifts ? session->FrameShifts[i].ShiftX : 0);
        ASSERT_EQ(session->FrameShiftCapacity, i == 0 ? 0 : i < 256 ? 256 : 512);
    }
    for (std::size_t i = 1; i < 300; ++i) ASSERT_EQ(session->FrameShifts[i].ShiftX, shifts[i]) << "frame " << i;
    EXPECT_TRUE(std::any_of(shifts.begin(), shifts.end(), [](std::int32_t shift) { return shift != 0; }));
}

TEST(TemplateStack, CutsTheResultToWhatAllFramesCover) {
    const Session session = NewSession(2);
    for (const std::int32_t shift : {0, 2, 4})
        ASSERT_EQ(KyfFocusAddImage(session.get(), Frame(shift, 320, 240).get(), 1, nullptr), KyfResultOk);
    EXPECT_EQ(session->FrameShifts[1].ShiftX, 2);
    EXPECT_EQ(session->FrameShifts[2].ShiftX, 4);
    ASSERT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultOk);
    EXPECT_EQ(session->State2D.CompImage->Width, 319 - 4);
    EXPECT_EQ(session->State2D.CompImage->Height, 239);
}

// The areas of a stack are those of its first frame, and all that was made for them goes with the session.
TEST(TemplateStack, OutlivesAnyNumberOfAreasThatAStartBetweenItsFramesAsksFor) {
    constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t greatest = std::numeric_limits<std::int32_t>::max();
    for (const std::int32_t first : {0, 2, -7, 1000})
        for (const std::int32_t later : {0, 1, 2, -2, -3, 50, least, greatest}) {
            const Session expected = NewSession(first);
            const Session session = NewSession(first);
            for (const std::int32_t shift : {0, 1, 3}) {
                ASSERT_EQ(Add(*expected, shift), KyfResultOk);
                ASSERT_EQ(Add(*session, shift), KyfResultOk);
                ASSERT_EQ(Start(*session, later), KyfResultOk);
            }
            EXPECT_TRUE(test::SameImage(*expected->State2D.CompImage, *session->State2D.CompImage));
            KyfFocusTerminate(session.get());
            EXPECT_EQ(session->AreaTemplates, nullptr);
            EXPECT_EQ(session->Matcher, nullptr);
        }
}

TEST(TemplateStack, RefusesToBeginWithItsSecondFrame) {
    const Session session = NewSession(0, /*autoPos=*/0);
    ASSERT_EQ(Add(*session, 0), KyfResultOk);
    ASSERT_EQ(Start(*session, 0, /*autoPos=*/1), KyfResultOk);
    EXPECT_EQ(Add(*session, 1), KyfResultInvalidParameter);
    EXPECT_EQ(session->State2D.FrameCount, 1);
    ASSERT_EQ(Start(*session, 0, /*autoPos=*/0), KyfResultOk);
    EXPECT_EQ(Add(*session, 1), KyfResultOk);
}

TEST(TemplateStack, GoesOnWithoutAlignmentWhereAStartSwitchesItOff) {
    const Session session = NewSession(1);
    ASSERT_EQ(Add(*session, 0), KyfResultOk);
    ASSERT_EQ(Start(*session, 1, /*autoPos=*/0), KyfResultOk);
    EXPECT_EQ(Add(*session, 1), KyfResultOk);
    ASSERT_EQ(Start(*session, 1, /*autoPos=*/1), KyfResultOk);
    EXPECT_EQ(Add(*session, 1), KyfResultOk);
    EXPECT_EQ(session->State2D.FrameCount, 3);
}

TEST(TemplateStack, StartsAfreshWithTheNextStack) {
    const Session session = NewSession(2);
    for (const std::int32_t shift : {0, 2}) ASSERT_EQ(Add(*session, shift), KyfResultOk);
    KyfFocusTerminate(session.get());
    const KyfFocusInitializeParameter initial{};
    ASSERT_EQ(KyfFocusInitialize(session.get(), &initial), KyfResultOk);
    ASSERT_EQ(Start(*session, 0), KyfResultOk);
    ASSERT_EQ(KyfFocusAddImage(session.get(), Frame(0, 50, 40).get(), 0, nullptr), KyfResultOk);
    EXPECT_EQ(session->CommonRect.Right, 49);
    EXPECT_EQ(session->AreaTemplates[2], nullptr);
    EXPECT_EQ(session->FrameShifts, nullptr);
}

// Frames that are nothing but areas of no size.
TEST(TemplateStack, TakesFramesOfAFewPixels) {
    for (std::int32_t width = 1; width <= 12; ++width)
        for (std::int32_t height = 1; height <= 12; ++height) {
            const Session session = NewSession(width % 3);
            for (const std::int32_t shift : {0, 1, 2})
                ASSERT_EQ(KyfFocusAddImage(session.get(), Frame(shift, width, height).get(), 1, nullptr), KyfResultOk);
            KyfFocusMakeCompImage(session.get(), 1, nullptr);
        }
}

} // namespace
