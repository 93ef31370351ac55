// Frames wider than the working size, at every speed, and long stacks: whole sessions against the plain forms and
// against themselves in other numbers of threads.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "reference/edge_data.h"
#include "reference/reduce.h"
#include "safe3d/maps.h"
#include "safe3d/safe3d.h"
#include "safe3d/stack_session.h"
#include "safe3d/threads.h"

namespace {

using reference::DoubleGrid;

/// What a stack leaves in its session.
struct Result {
    std::vector<double> Edge;
    std::vector<double> Kido;
    std::vector<double> Heights;
    std::vector<std::int32_t> Composite;
};

void ExpectSame(const Result& expected, const Result& actual) {
    EXPECT_TRUE(test::SameValues(expected.Edge, actual.Edge));
    EXPECT_TRUE(test::SameValues(expected.Kido, actual.Kido));
    EXPECT_TRUE(test::SameValues(expected.Heights, actual.Heights));
    EXPECT_TRUE(test::SameValues(expected.Composite, actual.Composite));
}

struct Stack {
    std::int32_t Width;
    std::int32_t Height;
    std::int32_t Format;
    std::int32_t Frames;
};

// Frames are added and made under the same flag.
Result MakeStack(const Stack& stack, const test::StackSettings& settings, int threads) {
    const test::ThreadScope scope(threads);
    const test::TemporaryFolder folder;
    const test::Session session = test::StartStack(settings, folder.Path());
    const KyiBool parallel = threads != 0;
    EXPECT_TRUE(test::AddRelief(*session, stack.Width, stack.Height, stack.Format, stack.Frames, 3, parallel));
    EXPECT_EQ(KyfFocusMakeCompImage(session.get(), parallel, nullptr), KyfResultOk);
    Result result;
    const auto append = [](std::vector<double>& all, const KyfImageData& image) {
        const std::vector<double> values = test::ToList(image);
        all.insert(all.end(), values.begin(), values.end());
    };
    for (std::int32_t i = 0; i < stack.Frames; ++i) {
        append(result.Edge, *session->EdgeFrames[i]);
        append(result.Kido, *session->KidoFrames[i]);
    }
    const KyfCompositionState& state = session->State3D;
    result.Heights = test::Flatten(state.HeightDataMap, state.MapWidth, state.MapHeight);
    result.Composite = test::ToPlanes(*state.CompImage);
    return result;
}

class WideStacks : public testing::TestWithParam<std::int32_t> {
  protected:
    static test::StackSettings Settings() {
        test::StackSettings settings;
        settings.Speed = GetParam();
        settings.PlaneType = GetParam() % 3;
        settings.HalationMeasures = 1;
        settings.ProjectionNoiseRemove = 2;
        return settings;
    }
};

TEST_P(WideStacks, GiveTheSameInAnyNumberOfThreads) {
    const Stack stack{700, 260, KyiFormatBgr24, 9};
    const Result alone = MakeStack(stack, Settings(), 0);
    for (const int threads : {1, 2, 5}) {
        SCOPED_TRACE(threads);
        ExpectSame(alone, MakeStack(stack, Settings(), threads));
    }
}

// Deep samples are capped where the flag is off.
TEST_P(WideStacks, OfDeepSamplesGiveTheSameInAnyNumberOfThreadsWithTheFlag) {
    const Stack stack{530, 300, KyiFormatGray16, 8};
    const Result alone = MakeStack(stack, Settings(), 1);
    for (const int threads : {2, 5}) {
        SCOPED_TRACE(threads);
        ExpectSame(alone, MakeStack(stack, Settings(), threads));
    }
}

// The channel of the reduced frame, gray or green, as a grid.
DoubleGrid ChannelOf(const KyiImageData& frame, std::int32_t width, std::int32_t height) {
    const test::Image reduced(KyiAllocImageData(width, height, frame.Format));
    reference::ReduceImage(frame, *reduced, /*parallel=*/false);
    const std::vector<std::int32_t> planes = test::ToPlanes(*reduced);
    const auto count = static_cast<std::ptrdiff_t>(width) * height;
    const std::ptrdiff_t first = KyiIsFormatBgr(frame.Format) ? count : 0;
    return {width, height, {planes.begin() + first, planes.begin() + first + count}};
}

reference::EdgeData PlainEdgeData(const KyiImageData& frame, const KyfFocusComposition& session,
                                  const std::vector<double>& weights) {
    const DoubleGrid channel = ChannelOf(frame, session.State3D.WorkWidth, session.State3D.WorkHeight);
    DoubleGrid blurred = channel;
    for (int pass = 0; pass < 3; ++pass) {
        DoubleGrid next = blurred;
        reference::BlurPass(blurred, next, 0, weights, weights);
        blurred = next;
    }
    return reference::MakeEdgeData(reference::HighPass(channel), reference::HighPass(blurred), channel,
                                   session.EdgeDataWidth, session.EdgeDataHeight);
}

TEST_P(WideStacks, HaveTheEdgeDataOfThePlainForms) {
    for (const std::int32_t format : {KyiFormatBgr24, KyiFormatGray8}) {
        for (const auto& [width, height] : {std::pair{512, 100}, std::pair{513, 99}, std::pair{1100, 230}}) {
            for (const int threads : test::kThreadCounts) {
                SCOPED_TRACE(std::to_string(width) + ", format " + std::to_string(format) + ", threads " +
                             std::to_string(threads));
                const test::ThreadScope scope(threads);
                const test::TemporaryFolder folder;
                const test::Session session = test::StartStack(Settings(), folder.Path());
                const test::Image frame = test::TexturedImage(width, height, format, 4);
                KyiBool owned = 0;
                ASSERT_EQ(kyf::Kyf3DSafeAddImage(session.get(), frame.get(), 0, owned, threads != 0, nullptr),
                          KyfResultOk);
                const auto expected = PlainEdgeData(*frame, *session, {0.25, 0.5, 0.25});
                EXPECT_TRUE(test::SameValues(expected.Edge.Values, test::ToList(*session->EdgeFrames[0])));
                EXPECT_TRUE(test::SameValues(expected.Kido.Values, test::ToList(*session->KidoFrames[0])));
            }
        }
    }
}

// The filters lie in the session's record, where a host may write others after the first frame.
TEST_P(WideStacks, TakeTheBlurThatTheSessionHolds) {
    const test::TemporaryFolder folder;
    const test::Session session = test::StartStack(Settings(), folder.Path());
    const test::Image frame = test::TexturedImage(600, 120, KyiFormatGray8, 5);
    KyiBool owned = 0;
    ASSERT_EQ(kyf::Kyf3DSafeAddImage(session.get(), frame.get(), 0, owned, 0, nullptr), KyfResultOk);
    std::int32_t added = 1;
    for (const std::size_t size : {1U, 5U, 9U, 2U, 10U, 0U}) {
        SCOPED_TRACE(size);
        const std::vector<double> weights = test::RandomDoubles(size, 0.1, 1.0, 7);
        std::copy(weights.begin(), weights.end(), session->BlurFilterX);
        std::copy(weights.begin(), weights.end(), session->BlurFilterY);
        session->BlurFilterSize = static_cast<std::int32_t>(size);
        ASSERT_EQ(kyf::Kyf3DSafeAddImage(session.get(), frame.get(), 0, owned, 1, nullptr), KyfResultOk);
        const auto expected = PlainEdgeData(*frame, *session, weights);
        EXPECT_TRUE(test::SameValues(expected.Edge.Values, test::ToList(*session->EdgeFrames[added])));
        EXPECT_TRUE(test::SameValues(expected.Kido.Values, test::ToList(*session->KidoFrames[added])));
        ++added;
    }
    for (const std::int32_t size : {-3, 11, INT32_MAX, INT32_MIN}) {
        session->BlurFilterSize = size;
        ASSERT_EQ(kyf::Kyf3DSafeAddImage(session.get(), frame.get(), 0, owned, 0, nullptr), KyfResultOk) << size;
    }
}

INSTANTIATE_TEST_SUITE_P(Speeds, WideStacks, testing::Values(0, 1, 2));

TEST(LongStacks, GiveTheSameInAnyNumberOfThreads) {
    const Stack stack{48, 36, KyiFormatBgr24, 257};
    test::StackSettings settings;
    const Result alone = MakeStack(stack, settings, 0);
    double squares = 0.0;
    for (std::int32_t y = 0; y < stack.Height; ++y)
        for (std::int32_t x = 0; x < stack.Width; ++x) {
            const double surface =
                10.0 * (stack.Frames - 1) *
                (0.5 + 0.25 * std::sin(7.0 * x / stack.Width) + 0.25 * std::cos(9.0 * y / stack.Height));
            const double error = alone.Heights[static_cast<std::size_t>(y * stack.Width + x)] - surface;
            squares += error * error;
        }
    EXPECT_LT(std::sqrt(squares / (stack.Width * stack.Height)), 320.0) << "an eighth of the stack";
    for (const int threads : {1, 2, 5}) {
        SCOPED_TRACE(threads);
        ExpectSame(alone, MakeStack(stack, settings, threads));
    }
}

} // namespace
