#include "safe3d/peak_lanes.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filters/scratch.h"
#include "reference/peak_search.h"
#include "safe3d/maps.h"
#include "safe3d/stack_lanes.h"

namespace {

using Columns = std::vector<std::vector<double>>;

/// Eight columns of unlike kinds: noise, a peak on noise, all zeros, one value throughout.
Columns RandomColumns(std::size_t frames, std::uint32_t seed) {
    Columns columns;
    for (std::uint32_t lane = 0; lane < kyf::kDoubleLanes; ++lane) {
        std::vector<double> column = test::RandomDoubles(frames, 0.0, lane % 2 == 0 ? 5.0 : 200.0, seed * 8 + lane);
        if (lane == 3) std::fill(column.begin(), column.end(), 0.0);
        if (lane == 4) std::fill(column.begin(), column.end(), 41.7);
        if (lane > 4) column[(seed + lane) % frames] += 300.0;
        columns.push_back(column);
    }
    return columns;
}

/// The columns side by side, with the copies of their ends that the kernel reads.
class Block {
  public:
    Block(const Columns& columns, std::int32_t pad)
        : m_pad(pad), m_lanes(columns[0].size() + 2 * static_cast<std::size_t>(pad)) {
        const auto last = static_cast<std::int32_t>(columns[0].size()) - 1;
        for (std::int32_t i = -pad; i <= last + pad; ++i)
            for (std::size_t lane = 0; lane < columns.size(); ++lane)
                m_lanes.Get()[i + pad][lane] = columns[lane][static_cast<std::size_t>(std::clamp(i, 0, last))];
    }
    const kyf::DoubleLanes* First() const { return m_lanes.Get() + m_pad; }

  private:
    std::int32_t m_pad;
    kyf::Scratch<kyf::DoubleLanes> m_lanes;
};

TEST(BandPassLanes, DoInEveryLaneWhatThePlainFormDoes) {
    for (const std::int32_t frames : {1, 2, 4, 5, 7, 8, 9, 14, 15, 16, 29, 50, 75, 300}) {
        const kyf::BandPassTaps taps(frames, 0.2, 0.6);
        for (std::uint32_t seed = 0; seed < 10; ++seed) {
            SCOPED_TRACE(std::to_string(frames) + " frames, seed " + std::to_string(seed));
            const Columns columns = RandomColumns(static_cast<std::size_t>(frames), seed);
            const Block block(columns, taps.Reach());
            const kyf::Scratch<kyf::DoubleLanes> banded(static_cast<std::size_t>(frames));
            kyf::LaneExtremes extremes{};
            kyf::BandPassLanes(taps, block.First(), banded.Get(), extremes);
            for (int lane = 0; lane < kyf::kDoubleLanes; ++lane) {
                const auto expected = reference::SearchPeak(columns[static_cast<std::size_t>(lane)], 0.2, 0.6, 1e300,
                                                            /*adoption=*/2, /*ascending=*/true, /*peakBefore=*/-1);
                std::vector<double> column(static_cast<std::size_t>(frames));
                kyf::CopyLane(banded.Get(), lane, frames, column.data());
                ASSERT_TRUE(test::SameValues(expected.W1, column)) << "lane " << lane;
                EXPECT_EQ(expected.Peak, extremes.Peak[lane]);
                EXPECT_EQ(std::max(0.0, *std::max_element(column.begin(), column.end())), extremes.Top[lane]);
                EXPECT_EQ(*std::min_element(column.begin(), column.end()), extremes.Low[lane]);
            }
        }
    }
}

TEST(FindRange, TakesTheEndsOfEveryLane) {
    for (const std::size_t frames : {1U, 2U, 9U, 50U}) {
        const Columns columns = RandomColumns(frames, 4);
        const Block block(columns, 0);
        kyf::DoubleLanes lowest{};
        kyf::DoubleLanes highest{};
        kyf::FindRange(block.First(), static_cast<std::int32_t>(frames), lowest, highest);
        for (std::size_t lane = 0; lane < columns.size(); ++lane) {
            const auto [low, high] = std::minmax_element(columns[lane].begin(), columns[lane].end());
            EXPECT_EQ(*low, lowest[lane]);
            EXPECT_EQ(*high, highest[lane]);
        }
    }
}

TEST(FindRange, CountsWhatNoIntegerHoldsAsTheSmallest) {
    constexpr double kLeast = std::numeric_limits<std::int32_t>::min();
    for (const double value : {2147483648.0, 1e300, -2147483649.0, -1e300, std::nan("")}) {
        for (const std::size_t at : {0U, 1U, 2U}) {
            kyf::DoubleLanes column[3] = {kyf::DoubleLanes{} + 7.0, kyf::DoubleLanes{} + 7.0, kyf::DoubleLanes{} + 7.0};
            column[at] = kyf::DoubleLanes{} + value;
            kyf::DoubleLanes lowest{};
            kyf::DoubleLanes highest{};
            kyf::FindRange(column, 3, lowest, highest);
            EXPECT_EQ(lowest[5], kLeast) << value << " at " << at;
            EXPECT_EQ(highest[5], 7.0) << value << " at " << at;
        }
    }
    const kyf::DoubleLanes ends[2] = {kyf::DoubleLanes{} + 2147483647.9, kyf::DoubleLanes{} - 2147483648.9};
    kyf::DoubleLanes lowest{};
    kyf::DoubleLanes highest{};
    kyf::FindRange(ends, 2, lowest, highest);
    EXPECT_EQ(lowest[0], -2147483648.9);
    EXPECT_EQ(highest[0], 2147483647.9);
}

} // namespace
