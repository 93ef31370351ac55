// One allocation of a make fails, and all that come after it succeed. A binary of its own: it takes the place of the
// allocators.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "safe3d/safe3d.h"
#include "safe3d/stack_session.h"
#include "safe3d/threads.h"
#include "support/failing_allocations.h"

KyiImageData* KyiAllocMaskImageData(int32_t width, int32_t height) {
    static auto* const original = test::Original<KyiImageData*(int32_t, int32_t)>("KyiAllocMaskImageData");
    return test::MayAllocate() ? original(width, height) : nullptr;
}

namespace {

constexpr std::int32_t kWidth = 64;
constexpr std::int32_t kHeight = 32;
constexpr int kFrames = 4;
constexpr int kMostAllocations = 2000;
constexpr int kFewestAllocations = KY_OWN_OPERATORS ? 40 : 15;
constexpr KyfRect kPart{2, 3, 60, 30};

using Values = std::vector<double>;

/// How a make with one failure can end.
enum class Ending {
    NoMap,     ///< -3: the map itself could not be had; the composite is cut
    NoCut,     ///< -3: heights and composite are made and could not be cut
    Zeros,     ///< 1: a map of zeros
    NoCopy,    ///< 1: heights, and zeros where noise cuts work
    LostFrame, ///< 1: heights, and a composite broken off
    Whole,     ///< 1: what failed can be done without
    Other,
    Count
};

struct Made {
    KyfResult Result;
    Values Heights;
    Values Cut;
    Values CutCopy;
    std::vector<std::int32_t> Composite;
};

class OneFailure : public testing::TestWithParam<std::int32_t> {
  protected:
    /// A stack of which half of the pixels show nothing to focus on.
    static test::Session Stack(const test::TemporaryFolder& folder, std::int32_t planeType) {
        test::StackSettings settings;
        settings.PlaneType = planeType;
        settings.HalationMeasures = 1;
        test::Session session = test::StartStack(settings, folder.Path());
        EXPECT_TRUE(test::AddRelief(*session, kWidth, kHeight, KyiFormatBgr24, kFrames, 3));
        return session;
    }

    static Made Make(KyfFocusComposition& session, KyiBool parallel, int n, bool& hasFailed) {
        const KyfResult result = test::RunWithOneFailure(
            n, hasFailed, [&] { return kyf::Kyf3DSafeMakeCompImage(&session, kPart, parallel, nullptr); });
        const KyfCompositionState& state = session.State3D;
        return {result, test::Flatten(state.HeightDataMap, state.MapWidth, state.MapHeight),
                test::Flatten(state.CuttedHeightDataMap, state.CuttedWidth, state.CuttedHeight),
                test::Flatten(state.CuttedAntNoiseHeightDataMap, state.CuttedWidth, state.CuttedHeight),
                test::ToPlanes(*state.CompImage)};
    }
};

bool IsZero(const Values& values) {
    return !values.empty() && std::all_of(values.begin(), values.end(), [](double v) { return v == 0.0; });
}

bool IsCut(const Made& made) {
    return made.Composite.size() ==
           3U * static_cast<std::size_t>((kPart.Right - kPart.Left) * (kPart.Bottom - kPart.Top));
}

Ending EndingOf(const Made& made, const Made& whole) {
    if (made.Result == KyfResultFailAlloc) {
        if (!made.Cut.empty() || !made.CutCopy.empty()) return Ending::Other;
        if (made.Heights.empty()) return IsCut(made) ? Ending::NoMap : Ending::Other;
        return made.Heights == whole.Heights ? Ending::NoCut : Ending::Other;
    }
    if (made.Result != KyfResultOk || !IsCut(made)) return Ending::Other;
    if (IsZero(made.Heights)) return IsZero(made.Cut) && IsZero(made.CutCopy) ? Ending::Zeros : Ending::Other;
    if (made.Heights != whole.Heights || made.Cut != whole.Cut) return Ending::Other;
    if (made.Composite != whole.Composite) return made.CutCopy == whole.Cut ? Ending::LostFrame : Ending::Other;
    if (IsZero(made.CutCopy)) return Ending::NoCopy;
    return made.CutCopy == whole.Cut ? Ending::Whole : Ending::Other;
}

TEST_P(OneFailure, LeavesNoMapOrZerosOrAllHeights) {
    const test::ThreadScope threads(2);
    for (const KyiBool parallel : {0, 1}) {
        bool hasFailed = true;
        const test::TemporaryFolder wholeFolder;
        const Made whole = Make(*Stack(wholeFolder, GetParam()), parallel, kMostAllocations, hasFailed);
        ASSERT_FALSE(hasFailed);
        ASSERT_EQ(whole.Result, KyfResultOk);
        ASSERT_EQ(whole.Cut, whole.CutCopy);
        std::vector<int> endings(static_cast<std::size_t>(Ending::Count));
        int n = 0;
        for (; n < kMostAllocations; ++n) {
            const test::TemporaryFolder folder;
            const test::Session session = Stack(folder, GetParam());
            const Made made = Make(*session, parallel, n, hasFailed);
            if (!hasFailed) break;
            const Ending ending = EndingOf(made, whole);
            ASSERT_NE(ending, Ending::Other) << "allocation " << n << ", result " << made.Result;
            ++endings[static_cast<std::size_t>(ending)];
        }
        EXPECT_LT(n, kMostAllocations);
        EXPECT_GT(n, kFewestAllocations) << "too few allocations were seen";
        EXPECT_EQ(endings[static_cast<std::size_t>(Ending::NoMap)], 2) << "the map's rows, and its samples";
        EXPECT_EQ(endings[static_cast<std::size_t>(Ending::NoCopy)], 2);
        EXPECT_GT(endings[static_cast<std::size_t>(Ending::NoCut)], 0);
        EXPECT_GT(endings[static_cast<std::size_t>(Ending::Zeros)], 0);
        const int fewestWhole = KY_OWN_OPERATORS ? 1 : 0; // the relaxation's copy comes from them
        EXPECT_GE(endings[static_cast<std::size_t>(Ending::Whole)], fewestWhole);
    }
}

INSTANTIATE_TEST_SUITE_P(Planes, OneFailure, testing::Values(0, 2),
                         [](const auto& chosen) { return "plane_" + std::to_string(chosen.param); });

} // namespace
