#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "reference/height_repair.h"
#include "safe3d/height_repair.h"
#include "safe3d/maps.h"
#include "safe3d/progress_reports.h"
#include "safe3d/relaxation.h"
#include "safe3d/threads.h"

namespace {

using test::MapShape;

reference::IntGrid Grid(const MapShape& shape, const std::vector<std::int32_t>& values) {
    return {shape.Width, shape.Height, values};
}

// Runs the body for all shapes and numbers of threads.
void ForAll(const std::function<void(const MapShape&, KyiBool, std::uint32_t)>& body) {
    std::uint32_t seed = 0;
    for (const MapShape& shape : test::kMapShapes) {
        ++seed;
        for (const int threads : test::kThreadCounts) {
            SCOPED_TRACE(test::Describe(shape, threads, seed));
            const test::ThreadScope scope(threads);
            body(shape, threads != 0, seed);
        }
    }
}

// For what always runs in one thread.
void ForShapes(const std::function<void(const MapShape&, std::uint32_t)>& body) {
    std::uint32_t seed = 0;
    for (const MapShape& shape : test::kMapShapes) {
        SCOPED_TRACE(test::Describe(shape, 0, ++seed));
        body(shape, seed);
    }
}

void ExpectQuantised(const MapShape& shape, const std::vector<double>& values) {
    const reference::ScaledGrid expected = reference::Quantise({shape.Width, shape.Height, values});
    const test::Uint16Image image(kyf::AllocUint16Image(shape.Width, shape.Height));
    kyf::QuantiseMap(*test::NewDoubles(shape, values), *image);
    EXPECT_TRUE(test::SameValues(expected.Samples.Values, test::ToList(*image)));
    EXPECT_TRUE(test::SameValues(std::vector<double>{expected.Scale, expected.Offset},
                                 std::vector<double>{image->Scale, image->Offset}));
}

TEST(QuantiseMap, EqualsThePlainForm) {
    ForShapes([](const MapShape& shape, std::uint32_t seed) {
        ExpectQuantised(shape, test::RandomDoubles(test::CountOf(shape), 0.0, 49.0, seed));
        ExpectQuantised(shape, test::RandomDoubles(test::CountOf(shape), -3.0, -1.0, seed));
    });
}

TEST(QuantiseMap, EqualsThePlainFormOnValuesThatAreNoHeights) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    ExpectQuantised({3, 1}, {kNaN, 4.0, 9.0});
    ExpectQuantised({3, 1}, {kInfinity, 4.0, 9.0});
    ExpectQuantised({3, 1}, {-kInfinity, 4.0, 9.0});
    ExpectQuantised({2, 1}, {kNaN, kNaN});
}

TEST(QuantiseMap, GivesScaleZeroForAFlatMap) {
    const test::Uint16Image image(kyf::AllocUint16Image(3, 2));
    kyf::QuantiseMap(*test::NewDoubles({3, 2}, std::vector<double>(6, 7.5)), *image);
    EXPECT_EQ(0.0, image->Scale);
    EXPECT_EQ(7.5, image->Offset);
    EXPECT_EQ(std::vector<std::int32_t>(6, 0), test::ToList(*image));
}

TEST(FillPlane, EqualsThePlainForm) {
    ForShapes([](const MapShape& shape, std::uint32_t seed) {
        for (const std::int32_t blot : {1, 9, 40}) {
            reference::ScaledGrid expected{Grid(shape, test::RandomSamples(test::CountOf(shape), 0, 65535, seed)),
                                           0.0007, 1.5};
            auto maskValues = test::RandomMask(shape, 70, blot, seed);
            if (seed % 4 == 0) maskValues[0] = 7; // neither good nor bad
            reference::IntGrid expectedMask = Grid(shape, maskValues);
            const test::Uint16Image image = test::NewUint16(shape, expected.Samples.Values, 0.0007, 1.5);
            const test::Image mask = test::NewMask(shape, maskValues);
            reference::FillPlane(expected, expectedMask, 12.25);
            EXPECT_EQ(1, kyf::FillPlane(*image, *mask, 12.25, nullptr));
            EXPECT_TRUE(test::SameValues(expected.Samples.Values, test::ToList(*image)));
            EXPECT_TRUE(test::SameValues(expectedMask.Values, test::ToPlanes(*mask)));
        }
    });
}

TEST(FillPlane, ReportsTenStepsARoundAndThenWhatLiesAboveEachRow) {
    const test::ProgressReports progress;
    const test::Uint16Image image = test::NewUint16({3, 4}, std::vector<std::int32_t>(12, 5));
    const test::Image mask = test::NewMask({3, 4}, std::vector<std::int32_t>(12, 255));
    EXPECT_EQ(1, kyf::FillPlane(*image, *mask, 3.0, progress.Root()));
    std::vector<std::string> expected;
    for (const std::string round : {"/0/0 ", "/0/1 "}) {
        for (int percent = 10; percent <= 100; percent += 10) expected.push_back(round + std::to_string(percent));
        expected.emplace_back(round == "/0/0 " ? "/0 51" : "/0 101");
    }
    for (const char* const last : {" 90", "/1 25", "/1 50", "/1 75", " 100"}) expected.emplace_back(last);
    EXPECT_EQ(expected, progress.Lines());
}

TEST(HardenMask, EqualsThePlainForm) {
    ForAll([](const MapShape& shape, KyiBool parallel, std::uint32_t seed) {
        for (const std::uint32_t share : {20U, 50U, 80U}) {
            const auto values = test::RandomMask(shape, share, 1, seed);
            const test::Image mask = test::NewMask(shape, values);
            EXPECT_EQ(1, kyf::HardenMask(*mask, parallel));
            EXPECT_TRUE(test::SameValues(reference::HardenMask(Grid(shape, values)).Values, test::ToPlanes(*mask)));
        }
    });
}

TEST(RelaxHoles, EqualsThePlainForm) {
    ForShapes([](const MapShape& shape, std::uint32_t seed) {
        for (const std::uint32_t share : {0U, 10U, 60U, 95U, 100U}) {
            // The sweeps end at changes of 10 without an offset, of 4 and 50 with one.
            const double scale = seed % 3 == 0 ? 1.0 : 0.0001;
            const double offset = seed % 5 == 0 ? 0.0 : seed % 5 < 3 ? 6.0 : -40.0;
            reference::ScaledGrid expected{Grid(shape, test::RandomSamples(test::CountOf(shape), 0, 65535, seed)),
                                           scale, offset};
            auto maskValues = test::RandomMask(shape, share, seed % 2 == 0 ? 1 : 9, seed);
            if (seed % 4 == 0) maskValues[0] = 254; // neither good nor bad
            reference::IntGrid expectedMask = Grid(shape, maskValues);
            const test::Uint16Image image = test::NewUint16(shape, expected.Samples.Values, scale, offset);
            const test::Image mask = test::NewMask(shape, maskValues);
            reference::Relax(expected, expectedMask);
            kyf::RelaxHoles(*image, *mask);
            EXPECT_TRUE(test::SameValues(expected.Samples.Values, test::ToList(*image))) << "share " << share;
            EXPECT_TRUE(test::SameValues(expectedMask.Values, test::ToPlanes(*mask))) << "share " << share;
        }
    });
}

TEST(RelaxByDiagonals, DoesAsManySweepsAsRowsDo) {
    for (const MapShape& shape : test::kMapShapes) {
        for (const std::uint16_t limit : std::vector<std::uint16_t>{0, 6, 300}) {
            SCOPED_TRACE(test::Describe(shape, 0, limit));
            const auto samples = test::RandomSamples(test::CountOf(shape), 0, 65535, limit + 1U);
            const test::Image mask = test::NewMask(shape, test::RandomMask(shape, 70, 7, 3));
            const test::Uint16Image rows = test::NewUint16(shape, samples);
            const test::Uint16Image diagonals = test::NewUint16(shape, samples);
            EXPECT_EQ(kyf::RelaxByRows(*rows, *mask, limit), kyf::RelaxByDiagonals(*diagonals, *mask, limit));
            EXPECT_TRUE(test::SameValues(test::ToList(*rows), test::ToList(*diagonals)));
        }
    }
}

TEST(RelaxHoles, FillsAHoleInAPlaneWithThePlane) {
    std::vector<std::int32_t> samples(9 * 9, 4000);
    std::vector<std::int32_t> maskValues(9 * 9, 0);
    for (const std::size_t at : {40U, 41U, 49U, 50U}) {
        samples[at] = 0;
        maskValues[at] = 255;
    }
    const test::Uint16Image image = test::NewUint16({9, 9}, samples);
    const test::Image mask = test::NewMask({9, 9}, maskValues);
    kyf::RelaxHoles(*image, *mask);
    EXPECT_EQ(std::vector<std::int32_t>(81, 4000), test::ToList(*image));
    EXPECT_EQ(std::vector<std::int32_t>(81, 0), test::ToPlanes(*mask));
}

TEST(TakeHoleMean, EqualsThePlainFormWhateverTheThreads) {
    ForAll([](const MapShape& shape, KyiBool parallel, std::uint32_t seed) {
        const auto samples = test::RandomSamples(test::CountOf(shape), 0, 65535, seed);
        for (const std::int32_t size : {1, 3, 5}) {
            for (const std::int32_t margin : {0, 1, 3}) {
                const test::Uint16Image image = test::NewUint16(shape, samples, 0.5, 2.0);
                EXPECT_EQ(1, kyf::TakeHoleMean(*image, size, margin, parallel, nullptr));
                EXPECT_TRUE(test::SameValues(reference::HoleMean(Grid(shape, samples), size, margin).Values,
                                             test::ToList(*image)))
                    << "size " << size << ", margin " << margin;
                EXPECT_EQ(0.5, image->Scale);
                EXPECT_EQ(2.0, image->Offset);
            }
        }
    });
}

TEST(RoundToWholeFrames, EqualsThePlainFormWhateverTheThreads) {
    ForAll([](const MapShape& shape, KyiBool parallel, std::uint32_t seed) {
        for (const auto& [scale, offset] : {std::pair{0.0007, 0.0},
                                            {0.0007, -3.0},
                                            {1.0, 0.5},
                                            {0.00001, 40.0},
                                            {3.5, 0.0},
                                            {0.0, 2.0},
                                            {1e6, -1e9},
                                            {1e300, 0.0},
                                            {std::numeric_limits<double>::quiet_NaN(), 0.0}}) {
            reference::ScaledGrid expected{Grid(shape, test::RandomSamples(test::CountOf(shape), 0, 65535, seed)),
                                           scale, offset};
            const test::Uint16Image image = test::NewUint16(shape, expected.Samples.Values, scale, offset);
            reference::WholeFrames(expected);
            kyf::RoundToWholeFrames(*image, parallel);
            EXPECT_TRUE(test::SameValues(expected.Samples.Values, test::ToList(*image))) << scale << ' ' << offset;
            EXPECT_EQ(expected.Scale, image->Scale);
            EXPECT_EQ(expected.Offset, image->Offset);
        }
    });
}

TEST(RoundToWholeFrames, AddsTheOffsetBeforeTheHalf) { // the other way round the second value would reach 1018
    const test::Uint16Image image = test::NewUint16({2, 1}, {0, 50593}, 0.01, 511.5699999999999);
    kyf::RoundToWholeFrames(*image, /*parallel=*/0);
    EXPECT_EQ((std::vector<std::int32_t>{0, (1017 - 512) * (65535 / (1017 - 512))}), test::ToList(*image));
    EXPECT_EQ(512.0, image->Offset);
}

const std::vector<MapShape> kTargets{{1, 1}, {5, 5}, {64, 33}, {255, 40}, {256, 7}, {257, 90}, {600, 13}};

TEST(ResampleBilinear, EqualsThePlainFormInDoublesWhateverTheThreads) {
    ForAll([](const MapShape& shape, KyiBool parallel, std::uint32_t seed) {
        const auto values = test::RandomDoubles(test::CountOf(shape), -10.0, 300.0, seed);
        for (const MapShape& target : kTargets) {
            const kyf::DoubleImagePtr result(kyf::AllocDoubleImage(target.Width, target.Height));
            kyf::ResampleBilinear(*test::NewDoubles(shape, values), *result, parallel, nullptr);
            const reference::DoubleGrid source{shape.Width, shape.Height, values};
            EXPECT_TRUE(test::SameValues(reference::Bilinear(source, target.Width, target.Height).Values,
                                         test::ToList(*result)))
                << "to " << target.Width << " x " << target.Height;
        }
    });
}

TEST(ResampleBilinear, EqualsThePlainFormIn16BitsWhateverTheThreads) {
    ForAll([](const MapShape& shape, KyiBool parallel, std::uint32_t seed) {
        const auto samples = test::RandomSamples(test::CountOf(shape), seed % 2 == 0 ? 0 : 65500, 65535, seed);
        for (const MapShape& target : kTargets) {
            const test::Uint16Image result(kyf::AllocUint16Image(target.Width, target.Height));
            kyf::ResampleBilinear(*test::NewUint16(shape, samples), *result, parallel, nullptr);
            EXPECT_TRUE(test::SameValues(
                reference::Bilinear16(Grid(shape, samples), target.Width, target.Height).Values, test::ToList(*result)))
                << "to " << target.Width << " x " << target.Height;
        }
    });
}

TEST(ResampleBilinear, MovesAnImageOfTheSameSizeByOnePixel) {
    const test::Uint16Image result(kyf::AllocUint16Image(3, 3));
    kyf::ResampleBilinear(*test::NewUint16({3, 3}, {1, 2, 3, 4, 5, 6, 7, 8, 9}), *result, /*parallel=*/0, nullptr);
    EXPECT_EQ((std::vector<std::int32_t>{1, 2, 3, 4, 1, 2, 7, 4, 5}), test::ToList(*result));
}

} // namespace
