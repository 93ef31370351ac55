#include "safe3d/edge_data.h"

#include <cmath>
#include <string>

#include <gtest/gtest.h>

#include "filters/filters.h"
#include "reference/edge_data.h"
#include "safe3d/extract_channel.h"
#include "safe3d/maps.h"
#include "safe3d/threads.h"
#include "support/arrays.h"
#include "support/case_files.h"

namespace {

using kyf::DoubleImagePtr;
using test::MapShape;

DoubleImagePtr Empty(std::int32_t width, std::int32_t height) {
    return DoubleImagePtr(kyf::AllocDoubleImage(width, height));
}

/// What one frame goes through on the CPU.
struct Stages {
    DoubleImagePtr Channel;
    DoubleImagePtr Blurred;
    DoubleImagePtr BokashiBibun;
    DoubleImagePtr Bibun;
    DoubleImagePtr Edge;
    DoubleImagePtr Kido;
};

Stages RunStages(const KyiImageData& frame, const nlohmann::json& size, const nlohmann::json& run) {
    const KyiBool parallel = run.at("UseParallelProcess").get<KyiBool>();
    const auto width = size.at("WorkWidth").get<std::int32_t>();
    const auto height = size.at("WorkHeight").get<std::int32_t>();
    const test::Image reduced(KyiAllocImageData(width, height, frame.Format));
    kyf::ReduceImage(&frame, reduced.get(), parallel);
    Stages stages{Empty(width, height),
                  Empty(width, height),
                  Empty(width, height),
                  Empty(width, height),
                  Empty(run.at("EdgeDataWidth").get<std::int32_t>(), run.at("EdgeDataHeight").get<std::int32_t>()),
                  Empty(run.at("EdgeDataWidth").get<std::int32_t>(), run.at("EdgeDataHeight").get<std::int32_t>())};
    kyf::ExtractChannel(*reduced, *stages.Channel, parallel);
    kyf::CopyDoubleImage(*stages.Channel, *stages.Bibun, parallel);
    if (run.at("ScopeType").get<std::int32_t>() < 2) {
        const std::vector<double> weights{0.25, 0.5, 0.25};
        kyf::CopyDoubleImage(*stages.Channel, *stages.Blurred, parallel);
        for (int pass = 0; pass < 3; ++pass) {
            kyf::BlurPass(*stages.Blurred, *stages.BokashiBibun, 0, weights.data(), weights.data(), 3, parallel);
            kyf::CopyDoubleImage(*stages.BokashiBibun, *stages.Blurred, parallel);
        }
        kyf::FilterHighPass(*stages.Blurred, *stages.BokashiBibun);
        kyf::FilterHighPass(*stages.Channel, *stages.Bibun);
    }
    kyf::MakeEdgeData(*stages.Bibun, *stages.BokashiBibun, *stages.Channel, *stages.Edge, *stages.Kido, parallel);
    return stages;
}

// Arrays may be thinned to every row_step-th row of each frame; a checksum then stands for the rest.
void ExpectArray(const test::Case& data, const std::string& name, const std::vector<double>& frames,
                 const DoubleImagePtr& shape) {
    const auto expected = test::ReadDoubles(data.File(name + ".npy"));
    const auto& steps = data.Json.value("row_step", nlohmann::json::object());
    if (!steps.contains(name)) {
        EXPECT_TRUE(test::SameValues(expected.Values, frames)) << name;
        return;
    }
    EXPECT_EQ(data.Json.at("checksum").at(name).get<std::string>(), test::Hash(frames)) << name;
    const auto step = steps.at(name).get<std::size_t>();
    const auto width = static_cast<std::size_t>(shape->Width);
    const auto height = static_cast<std::size_t>(shape->Height);
    std::vector<double> rows;
    for (std::size_t frame = 0; frame * width * height < frames.size(); ++frame)
        for (std::size_t y = 0; y < height; y += step)
            for (std::size_t x = 0; x < width; ++x) rows.push_back(frames[(frame * height + y) * width + x]);
    EXPECT_TRUE(test::SameValues(expected.Values, rows)) << name;
}

// Runs of a graphics processor wait for one.
bool IsCpuRun(const nlohmann::json& run) { return run.at("path").get<std::string>() == "cpu"; }

class EdgeCases : public testing::TestWithParam<std::string> {};
TEST_P(EdgeCases, GiveTheEdgeStrengthAndLuminanceOfTheModel) {
    const test::Case data = test::LoadCase("edge3d", GetParam());
    const auto frames = test::ReadInts(data.File("frames.npy"));
    const auto append = [](std::vector<double>& all, const DoubleImagePtr& image) {
        const std::vector<double> values = test::ToList(*image);
        all.insert(all.end(), values.begin(), values.end());
    };
    int runs = 0;
    for (const auto& run : data.Json.at("runs")) {
        if (!IsCpuRun(run)) continue;
        const auto name = run.at("name").get<std::string>();
        std::vector<double> edge;
        std::vector<double> kido;
        Stages stages;
        for (std::size_t frame = 0; frame < frames.Shape[0]; ++frame) {
            const test::Image image =
                test::FromPlanes(data.Json.at("Width").get<std::int32_t>(), data.Json.at("Height").get<std::int32_t>(),
                                 data.Json.at("Format").get<std::int32_t>(), frames.Entry(frame));
            stages = RunStages(*image, data.Json, run);
            append(edge, stages.Edge);
            append(kido, stages.Kido);
        }
        ExpectArray(data, name + "_EdgeFrames", edge, stages.Edge);
        ExpectArray(data, name + "_KidoFrames", kido, stages.Kido);
        if (runs++ != 0 || !std::filesystem::exists(data.File("first_run_blurred.npy"))) continue;
        ExpectArray(data, "first_run_channel", test::ToList(*stages.Channel), stages.Channel);
        ExpectArray(data, "first_run_blurred", test::ToList(*stages.Blurred), stages.Blurred);
        ExpectArray(data, "first_run_bokashi_bibun", test::ToList(*stages.BokashiBibun), stages.BokashiBibun);
        ExpectArray(data, "first_run_bibun", test::ToList(*stages.Bibun), stages.Bibun);
    }
    EXPECT_GT(runs, 0) << "no run for this machine";
}
INSTANTIATE_TEST_SUITE_P(Edges, EdgeCases, testing::ValuesIn(test::CaseNames("edge3d")),
                         [](const auto& test) { return test.param; });

template <typename Body> void ForAll(Body body) {
    std::uint32_t seed = 0;
    for (const MapShape& shape : test::kMapShapes) {
        ++seed;
        for (const int threads : test::kThreadCounts) {
            SCOPED_TRACE(test::Describe(shape, threads, seed));
            const test::ThreadScope scope(threads);
            body(shape, KyiBool{threads != 0}, seed);
        }
    }
}

reference::DoubleGrid RandomGrid(const MapShape& shape, std::uint32_t seed) {
    return {shape.Width, shape.Height, test::RandomDoubles(test::CountOf(shape), 0.0, 255.0, seed)};
}

TEST(BlurPass, EqualsThePlainFormWhateverTheThreads) {
    ForAll([](const MapShape& shape, KyiBool parallel, std::uint32_t seed) {
        for (const std::size_t size : {1U, 2U, 3U, 5U, 9U}) {
            for (const std::int32_t margin : {0, 1, 2}) {
                const auto x = test::RandomDoubles(size, 0.1, 1.0, seed);
                const auto y = test::RandomDoubles(size, 0.1, 1.0, seed + 1);
                const reference::DoubleGrid source = RandomGrid(shape, seed);
                reference::DoubleGrid expected = RandomGrid(shape, seed + 2);
                const DoubleImagePtr result = test::NewDoubles(shape, expected.Values);
                reference::BlurPass(source, expected, margin, x, y);
                kyf::BlurPass(*test::NewDoubles(shape, source.Values), *result, margin, x.data(), y.data(),
                              static_cast<std::int32_t>(size), parallel);
                EXPECT_TRUE(test::SameValues(expected.Values, test::ToList(*result)))
                    << "size " << size << ", margin " << margin;
            }
        }
    });
}

TEST(BlurPass, ReadsTheFourthColumnFromTheRightPastTheRightEdge) {
    const std::vector<double> weights{0.25, 0.5, 0.25};
    const DoubleImagePtr source = test::NewDoubles({5, 1}, {0.0, 16.0, 0.0, 0.0, 0.0});
    const DoubleImagePtr result = Empty(5, 1);
    kyf::BlurPass(*source, *result, 0, weights.data(), weights.data(), 3, /*parallel=*/0);
    EXPECT_EQ((std::vector<double>{8.0, 8.0, 4.0, 0.0, 4.0}), test::ToList(*result));
}

TEST(FilterHighPass, EqualsThePlainFormWhateverTheThreads) {
    ForAll([](const MapShape& shape, KyiBool /*parallel*/, std::uint32_t seed) {
        const reference::DoubleGrid source = RandomGrid(shape, seed);
        const DoubleImagePtr result = Empty(shape.Width, shape.Height);
        kyf::FilterHighPass(*test::NewDoubles(shape, source.Values), *result);
        EXPECT_TRUE(test::SameValues(reference::HighPass(source).Values, test::ToList(*result)));
    });
}

TEST(MakeEdgeData, EqualsThePlainFormWhateverTheThreads) {
    ForAll([](const MapShape& shape, KyiBool parallel, std::uint32_t seed) {
        const auto bibun = RandomGrid(shape, seed);
        const auto bokashi = RandomGrid(shape, seed + 1);
        auto kidoSource = RandomGrid(shape, seed + 2);
        for (double& sample : kidoSource.Values) sample = std::floor(sample * (seed % 2 == 0 ? 1.0 : 257.0));
        for (const MapShape& grid : {MapShape{64, 7}, {512, 9}, {3, 3}, {17, 40}, {1, 1}, {130, 2}, shape}) {
            const reference::EdgeData expected =
                reference::MakeEdgeData(bibun, bokashi, kidoSource, grid.Width, grid.Height);
            const DoubleImagePtr edge = Empty(grid.Width, grid.Height);
            const DoubleImagePtr kido = Empty(grid.Width, grid.Height);
            kyf::MakeEdgeData(*test::NewDoubles(shape, bibun.Values), *test::NewDoubles(shape, bokashi.Values),
                              *test::NewDoubles(shape, kidoSource.Values), *edge, *kido, parallel);
            EXPECT_TRUE(test::SameValues(expected.Edge.Values, test::ToList(*edge))) << grid.Width;
            EXPECT_TRUE(test::SameValues(expected.Kido.Values, test::ToList(*kido))) << grid.Width;
        }
    });
}

TEST(SumWindow, CountsOnlyWhatLiesInside) {
    const DoubleImagePtr image = test::NewDoubles({3, 2}, {1.0, 2.0, 4.0, 8.0, 16.0, 32.0});
    const kyf::WindowSum corner = kyf::SumWindow(*image, {-5, -5, 2, 1});
    EXPECT_EQ(3.0, corner.Sum);
    EXPECT_EQ(2, corner.Count);
    EXPECT_EQ(63.0, kyf::SumWindow(*image, {-1, -1, 9, 9}).Sum);
    EXPECT_EQ(0, kyf::SumWindow(*image, {3, 0, 5, 2}).Count);
}

TEST(ExtractChannel, TakesGreenOrGray) {
    for (const std::int32_t format : test::AllFormats()) {
        for (const MapShape& shape : {MapShape{1, 1}, {65, 3}, {130, 9}}) {
            const test::Image image = test::RandomImage(shape.Width, shape.Height, format, 5);
            const auto planes = test::ToPlanes(*image);
            const std::size_t channel = KyiIsFormatBgr(format) ? 1 : 0;
            std::vector<double> expected;
            for (std::size_t i = 0; i < test::CountOf(shape); ++i)
                expected.push_back(planes[channel * test::CountOf(shape) + i]);
            for (const int threads : test::kThreadCounts) {
                const test::ThreadScope scope(threads);
                const DoubleImagePtr result = Empty(shape.Width, shape.Height);
                kyf::ExtractChannel(*image, *result, threads != 0);
                EXPECT_TRUE(test::SameValues(expected, test::ToList(*result))) << "format " << format;
            }
        }
    }
}

} // namespace
