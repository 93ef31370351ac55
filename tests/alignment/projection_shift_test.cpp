#include "alignment/projection_shift.h"

#include <cstring>
#include <memory>
#include <random>

#include <gtest/gtest.h>

#include "alignment/drifting_stack.h"
#include "alignment/projection_shift_search.h"
#include "filters/shapes.h"
#include "reference/projection_shift.h"
#include "support/images.h"

namespace {

using test::Image;
using test::Shape;
using test::Threads;

constexpr std::uint32_t kSeed = 20240229;

test::Content Contents(int turn) { return static_cast<test::Content>(turn % 3); }

struct DestroyRecord {
    void operator()(KyfProjectionShift* shift) const { kyf::DestroyProjectionShift(&shift); }
};
using Record = std::unique_ptr<KyfProjectionShift, DestroyRecord>;

/// Measures, accepts and moves a frame into `moved`.
kyf::ProjectionMove Apply(KyfProjectionShift& shift, const KyiImageData& frame, KyiImageData& moved, KyiBool parallel) {
    const kyf::ProjectionMove move = kyf::MeasureProjection(shift, frame);
    kyf::AcceptProjection(shift, frame, move, parallel);
    kyf::MoveFrame(frame, moved, -shift.TotalX, -shift.TotalY, parallel);
    return move;
}

void ExpectSameRecord(const reference::ProjectionShift& expected, const KyfProjectionShift& actual) {
    EXPECT_EQ(expected.TotalX, actual.TotalX);
    EXPECT_EQ(expected.TotalY, actual.TotalY);
    EXPECT_EQ(expected.MaxPositiveX, actual.MaxPositiveX);
    EXPECT_EQ(expected.MaxPositiveY, actual.MaxPositiveY);
    EXPECT_EQ(expected.MaxNegativeX, actual.MaxNegativeX);
    EXPECT_EQ(expected.MaxNegativeY, actual.MaxNegativeY);
    EXPECT_TRUE(test::SamePixelBytes(*expected.PreviousFrame, *actual.PreviousFrame));
}

void ExpectSameStack(const std::vector<Image>& frames, Threads threads) {
    SCOPED_TRACE(testing::Message() << "flag " << threads.Flag << ", threads " << threads.Count);
    const test::ThreadScope scope(threads.Count);
    reference::ProjectionShift expected(*frames[0]);
    const Record actual(kyf::CreateProjectionShift(frames[0].get(), threads.Flag));
    for (std::size_t i = 1; i < frames.size(); ++i) {
        SCOPED_TRACE("frame " + std::to_string(i));
        const Image plain(KyiDuplicateImageData(frames[i].get(), 0));
        const Image fast = test::RandomImage(plain->Width, plain->Height, plain->Format, 5);
        expected.Apply(*frames[i], *plain);
        Apply(*actual, *frames[i], *fast, threads.Flag);
        ExpectSameRecord(expected, *actual);
        EXPECT_TRUE(test::SameImage(*plain, *fast));
    }
}

TEST(ProjectionShift, EqualsThePlainFormWhateverTheThreads) {
    std::mt19937 random(kSeed);
    const auto step = [&random] { return static_cast<std::int32_t>(random() % 29) - 14; };
    int turn = 0;
    for (const Shape shape : test::kAwkwardShapes)
        for (const std::int32_t format : test::AllFormats()) {
            ++turn;
            SCOPED_TRACE(test::Describe(shape, format, static_cast<std::size_t>(turn % 3)));
            std::vector<test::Step> steps;
            for (int i = 0; i < 3; ++i) steps.push_back({step(), step()});
            const std::vector<Image> frames =
                test::DriftingStack(shape.Width, shape.Height, format, Contents(turn), steps, kSeed);
            for (const Threads threads : test::kThreads) ExpectSameStack(frames, threads);
            if (HasFailure()) return;
        }
}

TEST(ProjectionShift, EqualsThePlainFormForLinesOfEveryLength) {
    std::mt19937 random(kSeed);
    for (std::int32_t count = 1; count < 100; ++count)
        for (const std::uint32_t levels : {2u, 256u, 65536u}) {
            reference::Line before;
            reference::Line after;
            for (std::int32_t i = 0; i < count; ++i) {
                before.push_back(static_cast<std::int32_t>(random() % levels));
                after.push_back(static_cast<std::int32_t>(random() % levels));
            }
            EXPECT_EQ(reference::EdgeStrengthOf(before), kyf::GreatestEdge(before.data(), count)) << count;
            EXPECT_EQ(reference::Displacement(before, after), kyf::FindDisplacement(before.data(), after.data(), count))
                << count;
        }
}

TEST(ProjectionShift, MovesFramesBackToTheFirst) {
    const std::vector<Image> frames =
        test::DriftingStack(240, 180, KyiFormatBgr24, test::Content::CrossedLines, {{7, -3}, {-12, 5}, {2, 2}}, kSeed);
    const Record record(kyf::CreateProjectionShift(frames[0].get(), 0));
    const Image moved(KyiDuplicateImageData(frames[0].get(), 0));
    const std::vector<test::Step> totals{{7, -3}, {-5, 2}, {-3, 4}};
    for (std::size_t i = 1; i < frames.size(); ++i) {
        Apply(*record, *frames[i], *moved, 0);
        EXPECT_EQ(record->TotalX, totals[i - 1].X);
        EXPECT_EQ(record->TotalY, totals[i - 1].Y);
        const Image expected = test::CutOut(*frames[0], 40, 40, 120, 90);
        EXPECT_TRUE(test::SameImage(*expected, *test::CutOut(*moved, 40, 40, 120, 90)));
    }
    EXPECT_EQ(record->MaxPositiveX, 7);
    EXPECT_EQ(record->MaxNegativeX, 5);
    EXPECT_EQ(record->MaxPositiveY, 4);
    EXPECT_EQ(record->MaxNegativeY, 3);
}

TEST(ProjectionShift, LeavesFlatAndEqualFramesWhereTheyAre) {
    const Image flat = test::FromPlanes(60, 50, KyiFormatGray8, std::vector<std::int32_t>(3000, 7));
    const Image textured = test::TexturedImage(60, 50, KyiFormatGray8, 1);
    const Image moved(KyiDuplicateImageData(flat.get(), 0));
    for (const Image* const frame : {&flat, &textured}) {
        const Record record(kyf::CreateProjectionShift(frame->get(), 0));
        Apply(*record, **frame, *moved, 0);
        EXPECT_EQ(record->TotalX, 0);
        EXPECT_EQ(record->TotalY, 0);
        EXPECT_TRUE(test::SameImage(**frame, *moved));
    }
}

TEST(ProjectionShift, FindsTwentyDownwardsButNotUpwards) {
    std::mt19937 random(kSeed);
    reference::Line scene;
    for (int i = 0; i < 200; ++i) scene.push_back(static_cast<std::int32_t>(random() % 256));
    const std::int32_t* const before = scene.data() + 40;
    for (std::int32_t d = -20; d <= 19; ++d) EXPECT_EQ(kyf::FindDisplacement(before, before + d, 120), d);
    EXPECT_NE(kyf::FindDisplacement(before, before + 20, 120), 20);
    EXPECT_NE(kyf::FindDisplacement(before, before - 21, 120), -21);
}

TEST(ProjectionShift, KeepsWhatItHadUntilAFrameIsAccepted) {
    const std::vector<Image> frames =
        test::DriftingStack(120, 90, KyiFormatGray8, test::Content::CrossedLines, {{4, 3}}, kSeed);
    const Record record(kyf::CreateProjectionShift(frames[0].get(), 0));
    for (int i = 0; i < 3; ++i) {
        const kyf::ProjectionMove move = kyf::MeasureProjection(*record, *frames[1]);
        EXPECT_EQ(move.X, 4);
        EXPECT_EQ(move.Y, 3);
    }
    EXPECT_EQ(record->TotalX, 0);
    EXPECT_TRUE(test::SameImage(*frames[0], *record->PreviousFrame));
}

TEST(ProjectionShift, AcceptsNothingAtEveryLevel) {
    kyf::DestroyProjectionShift(nullptr);
    KyfProjectionShift* record = nullptr;
    kyf::DestroyProjectionShift(&record);
    record = kyf::CreateProjectionShift(nullptr, 0);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->PreviousFrame, nullptr);
    kyf::DestroyProjectionShift(&record);
    EXPECT_EQ(record, nullptr);
}

TEST(MoveFrame, LeavesNothingInTheUnusedSample) {
    const test::Image frame = test::RandomImage(9, 6, KyiFormatBgr32, kSeed);
    for (const test::Step offset : {test::Step{0, 0}, test::Step{2, -1}, test::Step{-3, 4}}) {
        const test::Image moved = test::RandomImage(9, 6, KyiFormatBgr32, 5);
        kyf::MoveFrame(*frame, *moved, offset.X, offset.Y, 1);
        for (std::int32_t y = 0; y < 6; ++y)
            for (std::int32_t x = 0; x < 9; ++x)
                EXPECT_EQ(*static_cast<const std::uint8_t*>(KyiGetPixelAddress(moved.get(), x, y)), 0);
    }
}

TEST(MoveFrame, FillsWhatComesInWithZeros) {
    const Image frame = test::FromPlanes(3, 3, KyiFormatGray8, std::vector<std::int32_t>{1, 2, 3, 4, 5, 6, 7, 8, 9});
    const Image moved(KyiDuplicateImageData(frame.get(), 0));
    kyf::MoveFrame(*frame, *moved, 1, -1, 0);
    EXPECT_EQ(test::ToPlanes(*moved), (std::vector<std::int32_t>{0, 0, 0, 2, 3, 0, 5, 6, 0}));
    for (const test::Step far :
         {test::Step{3, 0}, {-3, 0}, {0, 3}, {0, -3}, {1000, -1000}, {INT32_MIN, INT32_MAX}, {INT32_MAX, INT32_MIN}}) {
        kyf::MoveFrame(*frame, *moved, far.X, far.Y, 1);
        EXPECT_EQ(test::ToPlanes(*moved), std::vector<std::int32_t>(9)) << far.X << ", " << far.Y;
    }
}

} // namespace
