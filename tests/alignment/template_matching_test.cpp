#include <bit>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "alignment/template_session.h"
#include "filters/shapes.h"
#include "reference/template_matching.h"
#include "support/images.h"

namespace {

using test::Shape;

constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kGreatest = std::numeric_limits<std::int32_t>::max();

using Places = std::vector<KyPoint>;

testing::AssertionResult SameShift(const KyfFrameShift& expected, const KyfFrameShift& actual) {
    const auto isSame = [](double a, double b) {
        return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) || (std::isnan(a) && std::isnan(b));
    };
    if (isSame(expected.ScaleX, actual.ScaleX) && isSame(expected.ScaleY, actual.ScaleY) &&
        expected.ShiftX == actual.ShiftX && expected.ShiftY == actual.ShiftY && expected.Angle == actual.Angle)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "expected scale " << expected.ScaleX << ", shift " << expected.ShiftX << ", "
                                       << expected.ShiftY << ", got " << actual.ScaleX << ", " << actual.ShiftX << ", "
                                       << actual.ShiftY;
}

bool IsSame(const KyfRect& a, const KyfRect& b) {
    return a.Left == b.Left && a.Top == b.Top && a.Right == b.Right && a.Bottom == b.Bottom;
}

// A window of the scene that moves on from frame to frame.
test::Image Frame(Shape shape, std::int32_t format, std::size_t content, std::int32_t index) {
    const test::Image scene =
        test::MakeContent({shape.Width + 20, shape.Height + 20}, format, content, static_cast<std::uint32_t>(17));
    test::Image frame(KyiAllocImageData(shape.Width, shape.Height, format));
    const std::int32_t place[4] = {5 + 2 * index, 8 - 3 * index, shape.Width - 1, shape.Height - 1};
    KyiClipImage(scene.get(), frame.get(), place);
    return frame;
}

void ExpectSameAsPlain(Shape shape, std::int32_t format, std::size_t content, const Places& places) {
    SCOPED_TRACE(test::Describe(shape, format, content));
    for (const test::Threads threads : test::kThreads) {
        const test::ThreadScope scope(threads.Count);
        test::TemplateSession session;
        session.Record().AreaNo = static_cast<std::int32_t>(places.size()) - 2;
        std::copy(places.begin(), places.end(), session.Record().AreaPos);
        const test::Image first = Frame(shape, format, content, 0);
        session.SetUp(*first);
        reference::TemplateStack stack = reference::StartTemplateStack(*first, places);
        for (const std::int32_t index : {1, 2, 3}) {
            const test::Image frame = Frame(shape, format, content, index);
            const test::Image expected = test::RandomImage(shape.Width, shape.Height, format, 3);
            const test::Image actual = test::RandomImage(shape.Width, shape.Height, format, 3);
            const KyfFrameShift shift = reference::AddToTemplateStack(stack, *frame, *expected);
            ASSERT_TRUE(SameShift(shift, session.Align(*frame, *actual, threads.Flag, nullptr))) << "frame " << index;
            ASSERT_TRUE(test::SameImage(*expected, *actual));
            ASSERT_TRUE(IsSame(stack.CommonRect, session.Record().CommonRect));
        }
    }
}

const std::vector<Places>& SomePlaces() {
    static const std::vector<Places> places{
        {{50, 25}, {75, 50}},           {{50, 25}, {75, 50}, {25, 50}}, {{50, 25}, {75, 50}, {50, 75}, {25, 50}},
        {{0, 0}, {100, 100}, {0, 100}}, {{-40, 30}, {170, 250}}, // outside the frame
        {{33, 33}, {33, 33}},                                    // one place
        {{50, 50}, {50, 50}, {20, 80}}};
    return places;
}

TEST(AlignByTemplates, EqualsThePlainFormOfWholeStacks) {
    std::size_t turn = 0;
    for (const Shape shape : {Shape{64, 48}, Shape{121, 87}, Shape{203, 40}, Shape{37, 160}})
        for (const Places& places : SomePlaces())
            for (int i = 0; i < 2; ++i, ++turn)
                ExpectSameAsPlain(shape, test::AllFormats()[turn % test::AllFormats().size()], turn % test::kContents,
                                  places);
}

TEST(AlignByTemplates, EqualsThePlainFormOnFramesOfAFewPixels) {
    std::size_t turn = 0;
    for (std::int32_t width = 1; width <= 14; ++width)
        for (std::int32_t height = 1; height <= 14; ++height, ++turn)
            ExpectSameAsPlain({width, height}, test::AllFormats()[turn % test::AllFormats().size()],
                              turn % test::kContents, SomePlaces()[turn % SomePlaces().size()]);
    for (const Shape shape : {Shape{1, 300}, Shape{300, 1}, Shape{6, 200}, Shape{200, 6}})
        ExpectSameAsPlain(shape, KyiFormatBgr24, 0, SomePlaces()[2]);
}

TEST(AlignByTemplates, EqualsThePlainFormAtPlacesFarAway) {
    for (const Places& places : {Places{{kGreatest, kGreatest}, {kLeast, kLeast}}, Places{{kLeast, 50}, {50, 50}},
                                 Places{{1000000, -1000000}, {50, kGreatest}, {2000000000, 3}}})
        for (const std::int32_t format : {KyiFormatGray8, KyiFormatBgr48})
            ExpectSameAsPlain({90, 70}, format, 2, places);
}

TEST(AlignByTemplates, LeavesAScaleThatIsNotFiniteWhereAreasCoincide) {
    test::TemplateSession session;
    const test::Image frame = test::TexturedImage(80, 60, KyiFormatGray8, 1);
    session.SetUp(*frame); // two areas in one corner
    const test::Image aligned = test::RandomImage(80, 60, KyiFormatGray8, 2);
    const KyfFrameShift shift = session.Align(*frame, *aligned, 1, nullptr);
    EXPECT_TRUE(std::isnan(shift.ScaleX));
    EXPECT_LT(shift.ShiftX, -2000000000);
    EXPECT_TRUE(IsSame(session.Record().CommonRect, {0, 0, 0, 0}));
    for (const std::int32_t sample : test::ToPlanes(*aligned)) ASSERT_EQ(sample, 0);
}

TEST(AlignByTemplates, FindsHowAFrameHasMoved) {
    test::TemplateSession session;
    session.Record().AreaNo = 2;
    const Places places = SomePlaces()[2];
    std::copy(places.begin(), places.end(), session.Record().AreaPos);
    const auto scene = [](std::int32_t shiftX, std::int32_t shiftY) {
        std::vector<std::int32_t> samples;
        for (std::int32_t y = shiftY; y < 240 + shiftY; ++y)
            for (std::int32_t x = shiftX; x < 320 + shiftX; ++x)
                samples.push_back(static_cast<std::int32_t>(120 + 50 * std::sin(x * 0.05 + y * 0.013) +
                                                            50 * std::cos(y * 0.06 - x * 0.011)));
        return test::FromPlanes(320, 240, KyiFormatGray8, samples);
    };
    session.SetUp(*scene(0, 0));
    const test::Image aligned = scene(0, 0);
    const KyfFrameShift shift = session.Align(*scene(4, -3), *aligned, 0, nullptr);
    EXPECT_EQ(shift.ScaleX, 1.0);
    EXPECT_EQ(shift.ShiftX, 4);
    EXPECT_EQ(shift.ShiftY, -3);
    EXPECT_TRUE(IsSame(session.Record().CommonRect, {4, 0, 319, 236}));
}

TEST(SetUpTemplateMatching, PlacesTwoToFourAreasWhateverIsAskedFor) {
    const test::Image frame = test::TexturedImage(80, 60, KyiFormatGray8, 1);
    for (const auto& [areaNo, count] : std::vector<std::pair<std::int32_t, std::int32_t>>{
             {kLeast, 2}, {-2, 2}, {-1, 2}, {0, 2}, {1, 3}, {2, 4}, {3, 4}, {kGreatest, 4}}) {
        test::TemplateSession session;
        session.Record().AreaNo = areaNo;
        session.SetUp(*frame);
        session.SetUp(*frame); // once more, as after an add that failed
        for (std::int32_t i = 0; i < kyf::kMostAreas; ++i)
            EXPECT_EQ(session.Record().AreaTemplates[i] != nullptr, i < count) << "AreaNo " << areaNo;
    }
}

TEST(FrameShiftOf, GrowsByAPageOfEntriesAndKeepsTheOldOnes) {
    KyfFocusComposition session{};
    for (std::int32_t i = 1; i <= 255; ++i) kyf::FrameShiftOf(session, i) = {1.0, 1.0, i, -i, 0.0};
    EXPECT_EQ(session.FrameShiftCapacity, 256);
    EXPECT_EQ(kyf::FrameShiftOf(session, 256).ScaleX, 0.0);
    EXPECT_EQ(session.FrameShiftCapacity, 512);
    for (std::int32_t i = 1; i <= 255; ++i) ASSERT_EQ(session.FrameShifts[i].ShiftX, i);
    EXPECT_EQ(session.FrameShifts[0].ScaleX, 0.0);
    EXPECT_EQ(session.FrameShifts[511].ShiftX, 0);
    delete[] session.FrameShifts;
}

TEST(TakeWarpImage, HandsOutTheLastOneGivenBackWhereItFits) {
    test::TemplateSession session;
    const test::Image frame = test::RandomImage(40, 30, KyiFormatBgr24, 1);
    session.SetUp(*frame);
    kyf::ImagePtr image = kyf::TakeWarpImage(session.Record(), *frame);
    const KyiImageData* const first = image.get();
    kyf::KeepWarpImage(session.Record(), std::move(image));
    image = kyf::TakeWarpImage(session.Record(), *frame);
    EXPECT_EQ(image.get(), first);
    EXPECT_NE(kyf::TakeWarpImage(session.Record(), *frame).get(), first);

    kyf::KeepWarpImage(session.Record(), std::move(image));
    const test::Image other = test::RandomImage(40, 30, KyiFormatGray8, 1);
    EXPECT_EQ(kyf::TakeWarpImage(session.Record(), *other)->Format, KyiFormatGray8);
}

TEST(TakeWarpImage, NeedsNoMatcher) {
    const KyfFocusComposition session{};
    const test::Image frame = test::RandomImage(40, 30, KyiFormatBgr24, 1);
    kyf::ImagePtr image = kyf::TakeWarpImage(session, *frame);
    EXPECT_EQ(image->Width, 40);
    kyf::KeepWarpImage(session, std::move(image));
}

} // namespace
