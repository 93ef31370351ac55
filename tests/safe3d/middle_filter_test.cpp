#include "safe3d/middle_filter.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gpu/gpu_switches.h"
#include "reference/median.h"
#include "safe3d/maps.h"
#include "safe3d/threads.h"
#include "support/arrays.h"
#include "support/case_files.h"
#include "support/trace_lines.h"

namespace {

using test::MapShape;

std::vector<std::int32_t> RunFilter(const MapShape& shape, const std::vector<std::int32_t>& samples,
                                    const std::vector<std::int32_t>& mask, std::int32_t size, int threads) {
    const test::ThreadScope scope(threads);
    kyf::SetIsDisableGpu(1); // the processor's, whatever the machine has
    const test::Uint16Image image = test::NewUint16(shape, samples, 0.25, 3.0);
    const test::Image maskImage = test::NewMask(shape, mask);
    EXPECT_EQ(1, kyf::MiddleFilter(*image, *maskImage, size, threads != 0));
    EXPECT_EQ(0.25, image->Scale);
    EXPECT_EQ(3.0, image->Offset);
    EXPECT_TRUE(test::SameValues(mask, test::ToPlanes(*maskImage)));
    return test::ToList(*image);
}

class MedianCases : public testing::TestWithParam<std::string> {};
TEST_P(MedianCases, GiveTheMediansOfTheModel) {
    const test::Case data = test::LoadCase("median", GetParam());
    const auto samples = test::ReadInts(data.File("samples.npy"));
    const auto mask = test::ReadInts(data.File("mask.npy"));
    const auto filtered = test::ReadInts(data.File("filtered.npy"));
    const MapShape shape{static_cast<std::int32_t>(samples.Shape[1]), static_cast<std::int32_t>(samples.Shape[0])};
    const auto size = data.Json.at("filter_size").get<std::int32_t>();
    for (const int threads : test::kThreadCounts)
        EXPECT_TRUE(test::SameValues(filtered.Values, RunFilter(shape, samples.Values, mask.Values, size, threads)));
}
INSTANTIATE_TEST_SUITE_P(Medians, MedianCases, testing::ValuesIn(test::CaseNames("median")),
                         [](const auto& test) { return test.param; });

TEST(MiddleFilter, EqualsThePlainFormWhateverTheThreads) {
    std::uint32_t seed = 1;
    for (const MapShape& shape : test::kMapShapes) {
        for (const std::int32_t size : {1, 3, 11, 12, 15, 17, 0}) {
            ++seed;
            // All samples, a narrow range, or the ends of the range, where samples that do not count could slip in.
            const std::int32_t low = seed % 3 == 0 ? 0 : seed % 3 == 1 ? 32700 : 65500;
            const std::int32_t high = seed % 3 == 0 ? 65535 : seed % 3 == 1 ? 32900 : 65535;
            const auto samples = test::RandomSamples(test::CountOf(shape), low, high, seed);
            const auto mask = test::RandomMask(shape, seed % 4 * 33, seed % 2 == 0 ? 1 : 13, seed);
            const auto expected =
                reference::MiddleFilter({shape.Width, shape.Height, samples}, {shape.Width, shape.Height, mask}, size);
            for (const int threads : test::kThreadCounts) {
                SCOPED_TRACE(test::Describe(shape, threads, seed) + ", size " + std::to_string(size));
                EXPECT_TRUE(test::SameValues(expected.Values, RunFilter(shape, samples, mask, size, threads)));
            }
        }
    }
}

TEST(MiddleFilter, TakesTheUpperMiddleOfAnEvenNumber) {
    EXPECT_EQ((std::vector<std::int32_t>{7, 7, 7, 7}), RunFilter({2, 2}, {3, 9, 5, 7}, {0, 0, 0, 0}, 3, 0));
}

TEST(MiddleFilter, LeavesSamplesThatDoNotCount) {
    const std::vector<std::int32_t> samples = test::RandomSamples(20 * 20, 0, 65535, 4);
    EXPECT_EQ(samples, RunFilter({20, 20}, samples, std::vector<std::int32_t>(400, 255), 11, 0));
    std::vector<std::int32_t> mask(400, 1);
    mask[210] = 0;
    EXPECT_EQ(samples, RunFilter({20, 20}, samples, mask, 11, 0)) << "a single sample is its own median";
}

TEST(MiddleFilter, KeepsTheOrderOfSamples) { // a law: the median of rising values of samples is the value of the median
    const MapShape shape{70, 20};
    auto samples = test::RandomSamples(test::CountOf(shape), 0, 20000, 8);
    const auto mask = test::RandomMask(shape, 20, 1, 8);
    auto expected = RunFilter(shape, samples, mask, 11, 0);
    for (auto* list : {&samples, &expected})
        for (std::int32_t& value : *list) value = 3 * value + 17;
    EXPECT_EQ(expected, RunFilter(shape, samples, mask, 11, 0));
}

std::vector<std::int32_t> RunPasses(const MapShape& shape, const std::vector<std::int32_t>& samples,
                                    const std::vector<std::int32_t>& mask, std::int32_t times, bool together) {
    const test::Uint16Image image = test::NewUint16(shape, samples);
    const test::Image maskImage = test::NewMask(shape, mask);
    if (together) {
        EXPECT_EQ(1, kyf::RepeatMiddleFilter(*image, *maskImage, 11, times, 0));
    } else {
        for (std::int32_t i = 0; i < times; ++i) EXPECT_EQ(1, kyf::MiddleFilter(*image, *maskImage, 11, 0));
    }
    return test::ToList(*image);
}

/// Rows of unlike samples in turn: each pass turns them over, and the ends eat into them.
std::vector<std::int32_t> Stripes(const MapShape& shape) {
    std::vector<std::int32_t> samples;
    for (std::int32_t y = 0; y < shape.Height; ++y)
        samples.insert(samples.end(), static_cast<std::size_t>(shape.Width), y % 2 == 0 ? 100 : 60000);
    return samples;
}

TEST(RepeatMiddleFilter, GivesWhatAsManyPassesGive) {
    for (const MapShape& shape : {MapShape{1, 1}, MapShape{20, 9}, MapShape{33, 70}, MapShape{12, 250}}) {
        for (const std::uint32_t share : {0U, 30U, 90U}) {
            const auto mask = test::RandomMask(shape, share, 3, 5);
            for (const auto& samples : {test::RandomSamples(test::CountOf(shape), 0, 65535, 6), Stripes(shape)})
                for (const std::int32_t times : {-1, 0, 1, 2, 3, 16, 17, 18, 31, 50, 77})
                    EXPECT_TRUE(test::SameValues(RunPasses(shape, samples, mask, times, /*together=*/false),
                                                 RunPasses(shape, samples, mask, times, /*together=*/true)))
                        << test::Describe(shape, 0, share) << ", passes " << times;
        }
    }
}

// Four samples in a ring, each with the two beside it in its window and not the one across: every pass turns them over.
TEST(RepeatMiddleFilter, GoesRoundWithSamplesThatTurnOverForever) {
    const MapShape shape{11, 11};
    std::vector<std::int32_t> samples(test::CountOf(shape), 7);
    std::vector<std::int32_t> mask(test::CountOf(shape), 255);
    for (const std::size_t at : {5U, 5U * 11 + 10, 10U * 11 + 5, 5U * 11}) mask[at] = 0;
    samples[5] = samples[10 * 11 + 5] = 100;
    samples[5 * 11] = samples[5 * 11 + 10] = 60000;
    const auto odd = RunPasses(shape, samples, mask, 1, /*together=*/false);
    EXPECT_EQ(odd[5], 60000);
    EXPECT_EQ(odd[55], 100);
    for (const std::int32_t times : {2, 16, 17, 18, 19, 20, 21, 50, 51, 1000, INT32_MAX - 1, INT32_MAX})
        EXPECT_TRUE(
            test::SameValues(times % 2 == 0 ? samples : odd, RunPasses(shape, samples, mask, times, /*together=*/true)))
            << times;
}

TEST(RepeatMiddleFilter, EndsWhateverTheNumber) {
    const MapShape shape{24, 300};
    for (const auto& samples : {Stripes(shape), test::RandomSamples(test::CountOf(shape), 0, 65535, 9)}) {
        const auto many = RunPasses(shape, samples, std::vector<std::int32_t>(test::CountOf(shape)), INT32_MAX, true);
        const auto next = RunPasses(shape, many, std::vector<std::int32_t>(test::CountOf(shape)), 1, true);
        const auto after = RunPasses(shape, next, std::vector<std::int32_t>(test::CountOf(shape)), 1, true);
        EXPECT_TRUE(test::SameValues(many, after)) << "neither at rest nor between two images";
    }
}

TEST(RepeatMiddleFilter, TracesPassesThatItNeedNotCompute) {
    const std::string title = "MiddleFilter( KyfImageDataUint16*, KyiImageData*, int, BOOL )";
    const MapShape shape{20, 20};
    const test::TraceLines lines;
    kyf::SetIsDisableGpu(1);
    RunPasses(shape, test::RandomSamples(400, 7, 7, 1), std::vector<std::int32_t>(400), 4, /*together=*/true);
    std::vector<std::string> expected;
    for (int pass = 0; pass < 4; ++pass)
        for (const std::string& line : {"Begin " + title, std::string("Begin processing by CPU."),
                                        std::string("End processing by CPU."), "End " + title})
            expected.push_back(line);
    EXPECT_EQ(expected, lines.GetWithoutBackEnds());
}

TEST(RepeatMiddleFilter, AsksTheBackEndsInPassesThatItNeedNotCompute) {
    const MapShape shape{20, 20};
    const auto linesOf = [&](bool together) {
        kyf::SetIsDisableGpu(1); // each question then leaves lines of its own
        const test::TraceLines lines;
        RunPasses(shape, test::RandomSamples(400, 7, 7, 1), std::vector<std::int32_t>(400), 4, together);
        return lines.Get();
    };
    const std::vector<std::string> computed = linesOf(/*together=*/false);
    EXPECT_EQ(std::count(computed.begin(), computed.end(), "IsDisableGPU == true") % 4, 0);
    EXPECT_GE(std::count(computed.begin(), computed.end(), "IsDisableGPU == true"), 4);
    EXPECT_EQ(computed, linesOf(/*together=*/true));
}

} // namespace
