// The stages of the repair and of the heights, on small maps put together by hand.
#include "safe3d/map_stages.h"

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "reference/height_repair.h"
#include "safe3d/maps.h"

namespace {

using test::MapShape;

constexpr MapShape kShape{6, 5};

/// A session record with heights that are the test's.
struct Record {
    explicit Record(std::vector<double> heights) : Heights(std::move(heights)) {
        Session.HeightList = Heights.data();
        Session.State3D.FrameCount = static_cast<std::int32_t>(Heights.size());
        Session.EdgeDataWidth = kShape.Width;
        Session.PlaneType = KyfPlaneTypeOther;
    }
    std::vector<double> Heights;
    KyfFocusComposition Session{};
};

/// Repairs a map of frame numbers. @param mask  Of all pixels.
std::vector<std::int32_t> Repair(const KyfFocusComposition& session, const std::vector<double>& frames,
                                 std::int32_t mask) {
    const kyf::DoubleImagePtr frameMap = test::NewDoubles(kShape, frames);
    const test::Image maskImage = test::NewMask(kShape, std::vector<std::int32_t>(test::CountOf(kShape), mask));
    kyf::GridMaps maps(session, *frameMap, *maskImage);
    kyf::CProgressProcManager steps(nullptr, 0);
    kyf::RepairMaps(session, maps, *maskImage, 0, steps);
    return test::ToList(maps.OfHeights());
}

/// Frame numbers from 0 to 3, with both ends: a frame is 21845 samples.
std::vector<double> FramesFrom0To3() {
    std::vector<double> frames = test::RandomDoubles(test::CountOf(kShape), 0.0, 3.0, 4);
    frames.front() = 0.0;
    frames.back() = 3.0;
    return frames;
}

TEST(RepairMaps, FillsThePlaneFromTheExtremeHeightWhereverInTheStackItLies) {
    Record record({0.5, 0.2, 0.8, 0.6});
    const std::size_t count = test::CountOf(kShape);
    record.Session.PlaneType = KyfPlaneTypeBottom;
    EXPECT_EQ(std::vector<std::int32_t>(count, 4369), Repair(record.Session, FramesFrom0To3(), 255));
    record.Session.PlaneType = KyfPlaneTypeTop;
    EXPECT_EQ(std::vector<std::int32_t>(count, 17476), Repair(record.Session, FramesFrom0To3(), 255));
}

TEST(RepairMaps, TakesTheHoleMeanUnlessBrightnessIsTheFocusValue) {
    Record record({0.0, 1.0, 2.0, 3.0});
    const std::vector<double> frames = FramesFrom0To3();
    const reference::IntGrid quantised = reference::Quantise({kShape.Width, kShape.Height, frames}).Samples;
    const reference::IntGrid averaged = reference::HoleMean(quantised, 3, 0);
    ASSERT_NE(quantised.Values, averaged.Values);
    for (const std::int32_t scopeType : {0, 1, 2, 3}) {
        record.Session.ScopeType = scopeType;
        EXPECT_TRUE(test::SameValues((scopeType < 2 ? averaged : quantised).Values, Repair(record.Session, frames, 0)))
            << "scope " << scopeType;
    }
}

/// Heights of a map that holds one frame number everywhere.
double HeightOfFrame(const KyfFocusComposition& session, double frame) {
    const kyf::DoubleImagePtr frameMap = test::NewDoubles(kShape, std::vector<double>(test::CountOf(kShape), frame));
    const test::Image mask = test::NewMask(kShape, std::vector<std::int32_t>(test::CountOf(kShape), 0));
    kyf::GridMaps maps(session, *frameMap, *mask);
    const kyf::DoubleImagePtr full(kyf::AllocDoubleImage(2 * kShape.Width, 2 * kShape.Height));
    kyf::CProgressProcManager steps(nullptr, 0);
    kyf::MakeHeights(session, maps, *frameMap, *full, 0, steps);
    return full->Rows[kShape.Height][kShape.Width];
}

TEST(MakeHeights, TakesAPositionBeyondTheStackAsItsEnd) {
    Record record({10.0, 30.0, 70.0, -1e6, -1e6, -1e6});
    record.Session.State3D.FrameCount = 3;                      // the heights after them are no frames'
    EXPECT_NEAR(HeightOfFrame(record.Session, 0.5), 20.0, 1.0); // the smoothing lifts so small a map a little
    EXPECT_NEAR(HeightOfFrame(record.Session, 1.25), 40.0, 1.0);
    EXPECT_EQ(HeightOfFrame(record.Session, 2.5), 70.0);
    EXPECT_EQ(HeightOfFrame(record.Session, 4.5), 70.0);
    EXPECT_EQ(HeightOfFrame(record.Session, -0.5), 10.0);
    EXPECT_EQ(HeightOfFrame(record.Session, -3.5), 10.0);
}

} // namespace
