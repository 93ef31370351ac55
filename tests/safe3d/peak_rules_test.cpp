// The limits at which a peak counts or does not, one pixel and one limit at a time.
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "filters/double_image.h"
#include "reference/gaussian_fit.h"
#include "safe3d/gaussian_fit.h"
#include "safe3d/maps.h"
#include "safe3d/peak_search.h"
#include "safe3d/peak_selection.h"

namespace {

using Column = std::vector<double>;

struct PixelResult {
    double Frame;
    std::int32_t Mask;
};

/// Selects the one pixel of a stack of even brightness. Below eight frames the search takes the edge strengths as they
/// are.
PixelResult Select(const Column& edge, std::int32_t sensitivity, std::int32_t scopeType = 0) {
    std::vector<kyf::DoubleImagePtr> images;
    std::vector<KyfImageData*> edgeFrames;
    for (const double value : edge) {
        images.push_back(test::NewDoubles({1, 1}, {value}));
        edgeFrames.push_back(images.back().get());
    }
    const kyf::DoubleImagePtr even = test::NewDoubles({1, 1}, {100.0});
    std::vector<KyfImageData*> kidoFrames(edge.size(), even.get());
    Column heights(edge.size(), 0.0);
    KyfFocusComposition session{};
    session.EdgeDataWidth = session.EdgeDataHeight = 1;
    session.EdgeFrames = edgeFrames.data();
    session.KidoFrames = kidoFrames.data();
    session.HeightList = heights.data();
    session.State3D.FrameCount = static_cast<std::int32_t>(edge.size());
    session.FocusingValueDetectionSensitivity = sensitivity;
    session.AdoptionPeakPosition = 2;
    session.ScopeType = scopeType;
    const kyf::DoubleImagePtr frameMap(kyf::AllocDoubleImage(1, 1));
    const test::Image mask(KyiAllocMaskImageData(1, 1));
    kyf::SelectPeaks(session, *frameMap, *mask, 0);
    return {frameMap->Rows[0][0], test::ToPlanes(*mask)[0]};
}

TEST(PeakRules, HoldThePeakToTheThresholdOfTheSensitivity) {
    constexpr std::array<double, 11> kLeast{70, 52, 35, 25, 18, 13, 11, 9, 7, 6, 5};
    for (std::int32_t sensitivity = -2; sensitivity <= 13; ++sensitivity) {
        const double least = kLeast[static_cast<std::size_t>(std::clamp(sensitivity, 0, 10))];
        EXPECT_EQ(Select({least, 0.0, 0.0, 0.0, 0.0}, sensitivity).Mask, 0) << "sensitivity " << sensitivity;
        EXPECT_EQ(Select({std::nextafter(least, 0.0), 0.0, 0.0, 0.0, 0.0}, sensitivity).Mask, 255)
            << "sensitivity " << sensitivity;
    }
}

// A ridge on a high plain: strong enough for the search, and the fit ends in success too.
TEST(PeakRules, RefuseARidgeOfLessThan2AboveTheRestOfItsWindow) {
    const Column ridge{100.0, 100.5, 101.9, 100.5, 100.0};
    const reference::PeakFit fit = reference::FitPeak(ridge, ridge, 2);
    ASSERT_TRUE(fit.IsConfirmed);
    ASSERT_LT(fit.Estimate[0], 2.0);
    EXPECT_EQ(Select(ridge, 10).Mask, 255);
    EXPECT_EQ(Select(ridge, 10).Frame, 0.0);
    EXPECT_EQ(Select(ridge, 10, /*scopeType=*/2).Mask, 0) << "brightness needs no peak";
    EXPECT_EQ(Select({100.0, 100.5, 102.0, 100.5, 100.0}, 10).Mask, 0);
}

TEST(PeakRules, CallAPeakAmbiguousFromTwoFifthsOfTheStrongestOn) {
    for (const auto& [rival, isFound] : {std::pair{40.0, true}, {std::nextafter(40.0, 50.0), false}, {100.0, true}}) {
        const Column edge{0.0, 100.0, 0.0, rival, 0.0, 0.0, 0.0};
        const auto count = static_cast<std::int32_t>(edge.size());
        Column banded(edge.size());
        Column segmented(edge.size());
        kyf::PeakWorkspace workspace(count);
        std::int32_t peak = -5;
        EXPECT_EQ(isFound, kyf::SearchPeak(count, edge.data(), banded.data(), segmented.data(),
                                           {0.2, 0.6, 5.0, 0, true}, peak, workspace))
            << rival;
        EXPECT_EQ(peak, 1) << rival;
    }
}

TEST(PeakRules, CallAPivotZeroAtATrillionthAndBelow) {
    const double least = 1e-12;
    for (const auto& [pivot, result] :
         {std::pair{least, -1}, {std::nextafter(least, 1.0), 1}, {-least, -1}, {0.0, -1}}) {
        std::array<std::array<double, 4>, 3> rows{{{1.0, 0.0, 0.0, 1.0}, {0.0, 1.0, 0.0, 1.0}, {0.0, 0.0, pivot, 1.0}}};
        kyf::FitParameters solution{};
        EXPECT_EQ(result, kyf::SolveLinear(3, rows.data(), solution.data())) << pivot;
    }
}

} // namespace
