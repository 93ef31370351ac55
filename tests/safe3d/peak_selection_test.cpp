#include "safe3d/peak_selection.h"

#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filters/double_image.h"
#include "reference/peak_selection.h"
#include "safe3d/gauss_lanes.h"
#include "safe3d/maps.h"
#include "safe3d/stack_session.h"
#include "safe3d/threads.h"

namespace {

using reference::DoubleGrid;
using test::MapShape;

/// The images of a stack, as grids and in the record of a session that owns none of them.
class RandomStack {
  public:
    RandomStack(const MapShape& shape, std::size_t frames, std::uint32_t seed) {
        for (std::size_t i = 0; i < frames; ++i) {
            const auto frameSeed = seed * 1000 + static_cast<std::uint32_t>(i);
            m_edge.push_back(EdgeGrid(shape, i, frames, seed, frameSeed));
            m_kido.push_back({shape.Width, shape.Height, KidoValues(shape, seed, frameSeed)});
            m_images.push_back(test::NewDoubles(shape, m_edge.back().Values));
            m_images.push_back(test::NewDoubles(shape, m_kido.back().Values));
            m_edgeFrames.push_back(m_images[2 * i].get());
            m_kidoFrames.push_back(m_images[2 * i + 1].get());
            m_heights.push_back(10.0 * static_cast<double>(i));
        }
        m_session.EdgeDataWidth = shape.Width;
        m_session.EdgeDataHeight = shape.Height;
        m_session.EdgeFrames = m_edgeFrames.data();
        m_session.KidoFrames = m_kidoFrames.data();
        m_session.HeightList = m_heights.data();
        m_session.State3D.FrameCount = static_cast<std::int32_t>(frames);
    }

    void SetDescending() { std::reverse(m_heights.begin(), m_heights.end()); }
    bool IsAscending() const { return m_heights.size() > 1 && m_heights[0] < m_heights[1]; }
    KyfFocusComposition& With(const reference::SelectionSettings& settings) {
        m_session.ScopeType = settings.ScopeType;
        m_session.HalationMeasures = settings.HalationMeasures;
        m_session.AdoptionPeakPosition = settings.Adoption;
        m_session.FocusingValueDetectionSensitivity = settings.Sensitivity;
        return m_session;
    }
    const std::vector<DoubleGrid>& Edge() const { return m_edge; }
    const std::vector<DoubleGrid>& Kido() const { return m_kido; }

  private:
    // Peaks of all heights on noise, at places that wander; a third of the pixels, in runs, has no edge at all.
    static DoubleGrid EdgeGrid(const MapShape& shape, std::size_t frame, std::size_t frames, std::uint32_t seed,
                               std::uint32_t frameSeed) {
        std::vector<double> values = test::RandomDoubles(test::CountOf(shape), 0.0, 4.0, frameSeed);
        for (std::size_t at = 0; at < values.size(); ++at) {
            const auto kind = (at / 5 * 7 + seed) % 11;
            const double place = static_cast<double>((at * 37 + seed) % (frames * 4)) / 4.0;
            const double distance = static_cast<double>(frame) - place;
            const double width = 0.3 + static_cast<double>(at % 7) * 0.8;
            values[at] += static_cast<double>(at % 9) * 30.0 * std::exp(-distance * distance / (width * width));
            if (kind == 3) values[at] += 150.0 * std::exp(-(distance + 6.0) * (distance + 6.0));
            if (kind > 7) values[at] = 0.0;
            if (kind == 5) values[at] = 77.0;
        }
        return {shape.Width, shape.Height, values};
    }
    // Most pixels keep their brightness, some vary by a little and some over the whole range.
    static std::vector<double> KidoValues(const MapShape& shape, std::uint32_t seed, std::uint32_t frameSeed) {
        std::vector<double> values = test::RandomDoubles(test::CountOf(shape), 0.0, 1.0, frameSeed + 500);
        for (std::size_t at = 0; at < values.size(); ++at) {
            const std::size_t kind = (at + seed) % 6;
            values[at] = 100.0 + values[at] * (kind < 3 ? 8.0 : kind < 5 ? 40.0 : 60000.0);
        }
        return values;
    }

    std::vector<DoubleGrid> m_edge;
    std::vector<DoubleGrid> m_kido;
    std::vector<kyf::DoubleImagePtr> m_images;
    std::vector<KyfImageData*> m_edgeFrames;
    std::vector<KyfImageData*> m_kidoFrames;
    std::vector<double> m_heights;
    KyfFocusComposition m_session{};
};

void ExpectThePlainForm(RandomStack& stack, const MapShape& shape, const reference::SelectionSettings& settings,
                        int& stalePeaks) {
    const reference::Selection expected =
        reference::SelectPeaks(stack.Edge(), stack.Kido(), settings, stack.IsAscending());
    stalePeaks += expected.StalePeaks;
    const KyfFocusComposition& session = stack.With(settings);
    for (const int threads : test::kThreadCounts) {
        SCOPED_TRACE("threads " + std::to_string(threads) + ", scope " + std::to_string(settings.ScopeType) +
                     ", adoption " + std::to_string(settings.Adoption) + ", halation " +
                     std::to_string(settings.HalationMeasures));
        const test::ThreadScope scope(threads);
        const kyf::DoubleImagePtr frameMap(kyf::AllocDoubleImage(shape.Width, shape.Height));
        const test::Image mask(KyiAllocMaskImageData(shape.Width, shape.Height));
        kyf::SelectPeaks(session, *frameMap, *mask, threads != 0);
        ASSERT_TRUE(test::SameValues(expected.FrameMap, test::ToList(*frameMap)));
        ASSERT_TRUE(test::SameValues(expected.Mask, test::ToPlanes(*mask)));
    }
}

class SelectPeaks : public testing::TestWithParam<std::size_t> {};

TEST_P(SelectPeaks, EqualsThePlainFormWhateverTheThreads) {
    const std::size_t frames = GetParam();
    std::uint32_t seed = static_cast<std::uint32_t>(frames);
    int stalePeaks = 0;
    for (const MapShape& shape : {MapShape{1, 1}, MapShape{7, 3}, MapShape{8, 2}, MapShape{65, 4}, MapShape{130, 5}}) {
        RandomStack stack(shape, frames, ++seed);
        SCOPED_TRACE(test::Describe(shape, 0, seed) + ", frames " + std::to_string(frames));
        for (const int scopeType : {0, 1, 2, 3})
            for (const int adoption : {0, 1, 2})
                ExpectThePlainForm(stack, shape, {scopeType, adoption == 1, adoption, 3 + adoption}, stalePeaks);
        stack.SetDescending();
        ExpectThePlainForm(stack, shape, {0, 1, 1, 99}, stalePeaks);
        ExpectThePlainForm(stack, shape, {3, 0, 1, -1}, stalePeaks);
    }
    EXPECT_GT(stalePeaks, 0) << "no pixel had to take the peak of another one";
}

INSTANTIATE_TEST_SUITE_P(Frames, SelectPeaks,
                         testing::Values(1, 2, 3, 4, 5, 7, 8, 9, 13, 16, 17, 20, 30, 45, 50, 75, 300));

// Brightness from end to end of the integers: the difference wraps to a small one, and the peak stays.
TEST(SelectPeaksOfAWildStack, WrapsTheRangeOfTheBrightness) {
    const MapShape shape{8, 1};
    for (const double bright : {2147483647.0, 1e300}) {
        std::vector<kyf::DoubleImagePtr> images;
        std::vector<KyfImageData*> edge;
        std::vector<KyfImageData*> kido;
        for (int i = 0; i < 10; ++i) {
            images.push_back(test::NewDoubles(shape, std::vector<double>(8, i == 0 ? 200.0 : 0.0)));
            edge.push_back(images.back().get());
            images.push_back(test::NewDoubles(shape, std::vector<double>(8, i == 4   ? bright
                                                                            : i == 5 ? -2147483648.0
                                                                                     : 0.0)));
            kido.push_back(images.back().get());
        }
        std::vector<double> heights(10);
        KyfFocusComposition session{};
        session.EdgeFrames = edge.data();
        session.KidoFrames = kido.data();
        session.HeightList = heights.data();
        session.FocusingValueDetectionSensitivity = 10;
        session.State3D.FrameCount = 10;
        const kyf::DoubleImagePtr frameMap(kyf::AllocDoubleImage(shape.Width, shape.Height));
        const test::Image mask(KyiAllocMaskImageData(shape.Width, shape.Height));
        kyf::SelectPeaks(session, *frameMap, *mask, 0);
        EXPECT_EQ(std::vector<std::int32_t>(8, 0), test::ToPlanes(*mask)) << bright;
        EXPECT_EQ(std::vector<double>(8, 0.0), test::ToList(*frameMap)) << bright;
    }
}

TEST(SelectPeaksOfAnEmptyStack, TakesThePeakBeforeTheFirstPixelAs0) {
    const MapShape shape{70, 3};
    const kyf::DoubleImagePtr zeros = test::NewDoubles(shape, std::vector<double>(test::CountOf(shape)));
    std::vector<KyfImageData*> images(10, zeros.get());
    std::vector<double> heights(10);
    KyfFocusComposition session{};
    session.ScopeType = 2;
    session.EdgeFrames = session.KidoFrames = images.data();
    session.HeightList = heights.data();
    session.State3D.FrameCount = 10;
    for (const int threads : test::kThreadCounts) {
        const test::ThreadScope scope(threads);
        const kyf::DoubleImagePtr frameMap(kyf::AllocDoubleImage(shape.Width, shape.Height));
        const test::Image mask(KyiAllocMaskImageData(shape.Width, shape.Height));
        kyf::SelectPeaks(session, *frameMap, *mask, threads != 0);
        EXPECT_EQ(std::vector<std::int32_t>(test::CountOf(shape), 0), test::ToPlanes(*mask));
        EXPECT_EQ(std::vector<double>(test::CountOf(shape), 0.0), test::ToList(*frameMap));
    }
}

TEST(GaussLanes, TakeTheStepsOfASingleFit) {
    for (const std::int32_t samples : {2, 3, 5, 7, 15, 60}) {
        const std::size_t count = 203;
        std::vector<double> windows;
        std::vector<kyf::FitParameters> starts;
        for (std::size_t i = 0; i < count; ++i) {
            const auto seed = static_cast<std::uint32_t>(i * 31 + static_cast<std::size_t>(samples));
            std::vector<double> window =
                test::RandomDoubles(static_cast<std::size_t>(samples), 0.0, i % 3 == 0 ? 300.0 : 5.0, seed);
            for (std::size_t j = 0; j < window.size(); ++j) {
                const double distance = static_cast<double>(j) - samples * 0.45;
                window[j] += static_cast<double>(i % 5) * 80.0 * std::exp(-0.1 * distance * distance);
            }
            windows.insert(windows.end(), window.begin(), window.end());
            const std::vector<double> start = test::RandomDoubles(3, 0.0, 1.0, seed + 7);
            starts.push_back(
                {i % 17 == 0 ? 0.0 : start[0] * 400.0, i % 19 == 0 ? 1e9 : start[1] * 0.3, start[2] * samples});
        }
        std::vector<kyf::GaussOutcome> outcomes(count);
        kyf::GaussLanes(samples).Fit(windows.data(), starts.data(), static_cast<std::int32_t>(count), outcomes.data());
        kyf::FitWorkspace workspace(samples);
        const kyf::CGauss gauss;
        for (std::size_t i = 0; i < count; ++i) {
            kyf::FitRecord record{
                &windows[i * static_cast<std::size_t>(samples)], samples, &gauss, 3, 0.0, {}, {}, {}, {}};
            kyf::FitParameters fitted{};
            const kyf::FitResult result =
                kyf::FitLevenbergMarquardt(record, starts[i].data(), fitted.data(), workspace);
            EXPECT_EQ(result, outcomes[i].Result) << samples << " samples, fit " << i;
            if (result != kyf::FitResult::Converged) continue;
            EXPECT_TRUE(test::SameValues(std::vector{fitted[0]}, std::vector{outcomes[i].Amplitude}))
                << samples << " samples, fit " << i;
        }
    }
}

} // namespace
