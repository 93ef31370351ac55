#include "safe3d/blend_by_height.h"

#include <gtest/gtest.h>

#include "filters/image_layout.h"
#include "filters/sample_rows.h"
#include "reference/blend_by_height.h"
#include "safe3d/maps.h"
#include "support/arrays.h"
#include "support/case_files.h"

namespace {

using kyf::SampleRows;

template <typename T>
void BlendImages(const kyf::BlendStep& step, const kyf::KyfImageDataUint16& map, const KyiImageData& previous,
                 const KyiImageData& next, KyiImageData& out) {
    const SampleRows<const T> previousRows(previous);
    const SampleRows<const T> nextRows(next);
    const SampleRows<T> outRows(out);
    const kyf::BlendStrides strides{kyf::SampleStride(previous.PixelBytes), kyf::SampleStride(next.PixelBytes),
                                    kyf::SampleStride(out.PixelBytes)};
    for (std::int32_t y = 0; y < out.Height; ++y)
        kyf::BlendRow(step, map.Rows[y], previousRows[y], nextRows[y], outRows[y], strides,
                      KyiIsFormatBgr(out.Format) ? 3 : 1, out.Width);
}

class CompositeCases : public testing::TestWithParam<std::string> {};
TEST_P(CompositeCases, GiveTheBlendOfTheModel) {
    const test::Case data = test::LoadCase("composite3d", GetParam());
    const auto map = test::ReadInts(data.File("full16.npy"));
    const auto frames = test::ReadInts(data.File("frames.npy"));
    const auto expected = test::ReadInts(data.File("CompImage.npy"));
    const auto missing = data.Json.at("missing_frames").get<std::vector<std::int32_t>>();
    const auto count = data.Json.at("FrameCount").get<std::int32_t>();
    const auto format = data.Json.at("Format").get<std::int32_t>();
    const test::MapShape shape{data.Json.at("Width").get<std::int32_t>(), data.Json.at("Height").get<std::int32_t>()};
    const test::Uint16Image full16 =
        test::NewUint16(shape, map.Values, data.Json.at("Scale").get<double>(), data.Json.at("Offset").get<double>());
    const auto frame = [&](std::int32_t i) {
        return test::FromPlanes(shape.Width, shape.Height, format, frames.Entry(static_cast<std::size_t>(i)));
    };
    const auto isMissing = [&](std::int32_t i) {
        return std::find(missing.begin(), missing.end(), i) != missing.end();
    };
    test::Image composite = frame(0);
    std::int32_t steps = 0;
    for (std::int32_t i = 1; i < count && !isMissing(i - 1) && !isMissing(i); ++i, ++steps) {
        const kyf::BlendStep step = kyf::MakeBlendStep(i, count, full16->Scale, full16->Offset);
        const test::Image previous = frame(i - 1);
        const test::Image next = frame(i);
        if (kyf::SampleBytes(composite->PixelBytes) == 1)
            BlendImages<std::uint8_t>(step, *full16, *previous, *next, *composite);
        else
            BlendImages<std::uint16_t>(step, *full16, *previous, *next, *composite);
    }
    EXPECT_EQ(data.Json.at("steps_done").get<std::int32_t>(), steps);
    const test::Image want = test::FromPlanes(shape.Width, shape.Height, format, expected.Values);
    EXPECT_TRUE(test::SameImage(*want, *composite));
    if (composite->PixelBytes != 4) return;
    for (std::int32_t y = 0; y < shape.Height; ++y)
        for (std::int32_t x = 0; x < shape.Width; ++x)
            EXPECT_EQ(*static_cast<std::uint8_t*>(KyiGetPixelAddress(want.get(), x, y)),
                      *static_cast<std::uint8_t*>(KyiGetPixelAddress(composite.get(), x, y)));
}
INSTANTIATE_TEST_SUITE_P(Composites, CompositeCases, testing::ValuesIn(test::CaseNames("composite3d")),
                         [](const auto& test) { return test.param; });

template <typename T> std::vector<T> RandomRow(std::size_t count, std::uint32_t seed) {
    std::vector<T> row;
    for (const std::int32_t value : test::RandomSamples(count, 0, 65535, seed)) row.push_back(static_cast<T>(value));
    return row;
}

struct RowCase {
    std::size_t Width;
    int Frame;
    int Frames;
    double Scale;
    double Offset;
    int PreviousStride;
    int NextStride;
    int OutStride;
    int Channels;
};

template <typename T> void ExpectThePlainForm(const RowCase& row, std::uint32_t seed) {
    std::vector<std::uint16_t> map;
    for (const std::int32_t sample : test::RandomSamples(row.Width, 0, 65535, seed))
        map.push_back(static_cast<std::uint16_t>(seed % 2 == 0 ? sample : sample / 9000 * 7281));
    const auto previous = RandomRow<T>(row.Width * static_cast<std::size_t>(row.PreviousStride), seed + 1);
    const auto next = RandomRow<T>(row.Width * static_cast<std::size_t>(row.NextStride), seed + 2);
    auto out = RandomRow<T>(row.Width * static_cast<std::size_t>(row.OutStride), seed + 3);
    auto expected = out;
    reference::BlendRowByHeight(map, row.Frame, row.Frames, row.Scale, row.Offset, previous.data(), row.PreviousStride,
                                next.data(), row.NextStride, expected.data(), row.OutStride, row.Channels);
    const kyf::BlendStep step = kyf::MakeBlendStep(row.Frame, row.Frames, row.Scale, row.Offset);
    kyf::BlendRow(step, map.data(), previous.data(), next.data(), out.data(),
                  {row.PreviousStride, row.NextStride, row.OutStride}, row.Channels,
                  static_cast<std::int32_t>(row.Width));
    EXPECT_EQ(expected, out) << row.Width << " pixels, frame " << row.Frame << ", strides " << row.PreviousStride << ' '
                             << row.NextStride << ' ' << row.OutStride << ", seed " << seed;
}

TEST(BlendRow, EqualsThePlainForm) {
    std::uint32_t seed = 1;
    for (const std::size_t width : {1U, 2U, 31U, 32U, 33U, 64U, 257U}) {
        for (const int frame : {1, 4, 9}) {
            for (const double scale : {1.0 / 7281, 1.0 / 65535, 0.00016786973308712439, 1.0e9, 0.0}) {
                const double offset = scale == 1.0 / 65535 ? 3.0 : 0.0;
                ++seed;
                ExpectThePlainForm<std::uint8_t>({width, frame, 10, scale, offset, 1, 1, 1, 1}, seed);
                ExpectThePlainForm<std::uint8_t>({width, frame, 10, scale, offset, 3, 3, 3, 3}, seed);
                ExpectThePlainForm<std::uint8_t>({width, frame, 10, scale, offset, 4, 4, 4, 3}, seed);
                ExpectThePlainForm<std::uint8_t>({width, frame, 10, scale, offset, 3, 4, 3, 3}, seed);
                ExpectThePlainForm<std::uint16_t>({width, frame, 10, scale, offset, 1, 1, 1, 1}, seed);
                ExpectThePlainForm<std::uint16_t>({width, frame, 10, scale, offset, 3, 3, 3, 3}, seed);
            }
        }
    }
}

TEST(BlendRow, TakesTheNextFrameOnlyAtTheLast) {
    const std::vector<std::uint16_t> map{0, 1, 2};
    const std::vector<std::uint8_t> previous{10, 10, 10};
    const std::vector<std::uint8_t> next{20, 20, 20};
    std::vector<std::uint8_t> out{7, 7, 7};
    kyf::BlendRow(kyf::MakeBlendStep(2, 3, 1.0, 0.0), map.data(), previous.data(), next.data(), out.data(), {1, 1, 1},
                  1, 3);
    EXPECT_EQ((std::vector<std::uint8_t>{7, 10, 20}), out);
}

} // namespace
