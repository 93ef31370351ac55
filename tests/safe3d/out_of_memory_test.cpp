// Every allocation of an add and of a make fails once. A binary of its own: it takes the place of the allocators.
#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "alignment/drifting_stack.h"
#include "safe3d/safe3d.h"
#include "safe3d/stack_session.h"
#include "safe3d/threads.h"
#include "support/failing_allocations.h"

KyiImageData* KyiAllocMaskImageData(int32_t width, int32_t height) {
    static auto* const original = test::Original<KyiImageData*(int32_t, int32_t)>("KyiAllocMaskImageData");
    return test::MayAllocate(test::Kind::Images) ? original(width, height) : nullptr;
}

namespace {

constexpr std::int32_t kWidth = 64;
constexpr std::int32_t kHeight = 16;
constexpr int kFrames = 3;
constexpr int kMostAllocations = 2000;
constexpr int kFewestAllocations = KY_OWN_OPERATORS ? 20 : 8;

using test::RunWithAllocations;

/// A stack that can be added to over and over.
struct Stack {
    test::TemporaryFolder Folder;
    test::Session Session;

    explicit Stack(const test::StackSettings& settings) : Session(test::StartStack(settings, Folder.Path())) {}
    /// The view drifts from frame to frame.
    static test::Image Frame(int i) {
        const test::Image scene = test::ReliefFrame(kWidth + 20, kHeight + 20, KyiFormatBgr24, i, kFrames, 3);
        return test::CutOut(*scene, 3 * i, 2 * i, kWidth, kHeight);
    }
    KyfResult Add(KyiImageData& frame, KyiBool parallel) {
        KyiBool owned = 0;
        return kyf::Kyf3DSafeAddImage(Session.get(), &frame, 0, owned, parallel, nullptr);
    }
    void SetHeights() {
        Session->HeightList = new double[kFrames];
        for (int i = 0; i < kFrames; ++i) Session->HeightList[i] = 10.0 * i;
    }
    KyfResult Make(KyiBool parallel) {
        return kyf::Kyf3DSafeMakeCompImage(Session.get(), {0, 0, kWidth, kHeight}, parallel, nullptr);
    }
    std::vector<double> Heights() const {
        return test::Flatten(Session->State3D.HeightDataMap, Session->State3D.MapWidth, Session->State3D.MapHeight);
    }
};

test::StackSettings Settings(std::int32_t planeType, std::int32_t scopeType = 0, std::int32_t autoPos = 0) {
    test::StackSettings settings;
    settings.PlaneType = planeType;
    settings.ScopeType = scopeType;
    settings.AutoPos = autoPos;
    return settings;
}

class FailingAdds : public testing::TestWithParam<test::StackSettings> {};

TEST_P(FailingAdds, SucceedWhenTheyAreGivenAgain) {
    Stack whole(GetParam());
    for (int i = 0; i < kFrames; ++i) ASSERT_EQ(whole.Add(*Stack::Frame(i), 0), KyfResultOk);
    whole.SetHeights();
    ASSERT_EQ(whole.Make(0), KyfResultOk);
    for (const KyiBool parallel : {0, 1}) {
        const test::ThreadScope threads(2);
        Stack stack(GetParam());
        int failures = 0;
        for (int i = 0; i < kFrames; ++i) {
            const test::Image frame = Stack::Frame(i);
            int n = 0;
            for (; n < kMostAllocations; ++n) {
                const KyfResult result = RunWithAllocations(n, [&] { return stack.Add(*frame, parallel); });
                if (result == KyfResultOk) break;
                ++failures;
                ASSERT_TRUE(result == KyfResultFailAlloc || result == KyfResultFailFile) << n << ": " << result;
                ASSERT_EQ(stack.Session->State3D.FrameCount, i) << n;
            }
            ASSERT_LT(n, kMostAllocations);
        }
        EXPECT_GT(failures, kFewestAllocations) << "too few allocations were seen";
        stack.SetHeights();
        ASSERT_EQ(stack.Make(parallel), KyfResultOk);
        EXPECT_TRUE(test::SameImage(*whole.Session->State3D.CompImage, *stack.Session->State3D.CompImage));
        EXPECT_TRUE(test::SameValues(whole.Heights(), stack.Heights()));
    }
}

INSTANTIATE_TEST_SUITE_P(OutOfMemory, FailingAdds, testing::Values(Settings(0), Settings(0, 1), Settings(0, 0, 1)),
                         [](const auto& chosen) {
                             return chosen.param.AutoPos     ? std::string("projection")
                                    : chosen.param.ScopeType ? std::string("lines")
                                                             : std::string("unmoved");
                         });

// What has failed inside the height data leaves a map of zeros, cut like any other; the session then ends as always.
TEST(OutOfMemory, EndsAMakeWithoutACrash) {
    const test::ThreadScope threads(2);
    for (const std::pair<int, int>& run : {std::pair{0, 1}, std::pair{2, 0}}) {
        const auto [planeType, flag] = run;
        const KyiBool parallel = flag; // clang 14 lets no lambda take a name of a binding
        int failures = 0;
        int n = 0;
        for (bool isWhole = false; !isWhole && n < kMostAllocations; ++n) {
            Stack stack(Settings(planeType));
            for (int i = 0; i < kFrames; ++i) ASSERT_EQ(stack.Add(*Stack::Frame(i), 0), KyfResultOk);
            stack.SetHeights();
            const KyfResult result = RunWithAllocations(n, [&] { return stack.Make(parallel); });
            ASSERT_TRUE(result == KyfResultOk || result == KyfResultFailAlloc) << n << ": " << result;
            const std::vector<double> heights = stack.Heights();
            isWhole = result == KyfResultOk &&
                      std::any_of(heights.begin(), heights.end(), [](double height) { return height != 0.0; });
            if (!isWhole) ++failures;
        }
        EXPECT_LT(n, kMostAllocations);
        EXPECT_GT(failures, kFewestAllocations) << "too few allocations were seen";
    }
}

} // namespace
