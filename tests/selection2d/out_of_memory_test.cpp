// Every allocation of an add and of a make fails once: of the heap, on a boundary or not, of pages, of images. A binary
// of its own: it takes the place of the allocators.
#include <algorithm>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "selection2d/selection2d.h"
#include "selection2d/session_run.h"
#include "support/failing_allocations.h"

KyiImageData* KyiAllocImageData(int32_t width, int32_t height, int32_t format) {
    static auto* const original = test::Original<KyiImageData*(int32_t, int32_t, int32_t)>("KyiAllocImageData");
    return test::MayAllocate(test::Kind::Images) ? original(width, height, format) : nullptr;
}

namespace {

using test::Kind;

constexpr std::int32_t kWidth = 90;
constexpr std::int32_t kHeight = 70;
constexpr int kMostAllocations = 2000;

/// Runs `work` while allocation n of a kind fails, alone or with all later ones, and gives what it returns.
template <typename Work> KyfResult RunWithout(int n, Kind kind, bool isLasting, Work work) {
    struct Restore {
        ~Restore() {
            test::g_allocationsLeft.store(-1);
            test::g_onlyOneFails.store(false);
            test::g_failingKind = Kind::Any;
        }
    } restore;
    test::g_failingKind = kind;
    test::g_onlyOneFails.store(!isLasting);
    test::g_allocationsLeft.store(n);
    return work();
}

/// The same with any kind and all later ones: whether the work got through.
template <typename Work> bool SurvivesAllocations(int n, Work work) {
    bool isDone = true;
    try {
        isDone = RunWithout(n, Kind::Any, /*isLasting=*/true, work) == KyfResultOk;
    } catch (const std::bad_alloc&) {
        isDone = false;
    }
    return isDone;
}

struct AddCase {
    std::int32_t Speed;
    std::int32_t ScopeType;
    KyiBool Parallel;
    std::int32_t AutoPos = 0;
};

class OutOfMemory : public testing::TestWithParam<AddCase> {
  protected:
    test::Session Start() const {
        test::SessionSettings settings;
        settings.Speed = GetParam().Speed;
        settings.ScopeType = GetParam().ScopeType;
        settings.AutoPos = GetParam().AutoPos;
        return test::StartSession(settings);
    }
    /// Two frames with heights. `m_whole` becomes their composite.
    test::Session Stack() {
        test::Session session = Start();
        for (const std::uint32_t seed : {1u, 2u})
            EXPECT_EQ(KyfFocusAddImageWithHeight(session.get(), Frame(seed).get(), 1.0 * seed, 0, nullptr),
                      KyfResultOk);
        m_whole = session->State2D.CompImage;
        return session;
    }
    static KyfResult Make(KyfFocusComposition& session) {
        return KyfFocusMakeCompImage(&session, GetParam().Parallel, nullptr);
    }
    KyfResult Add(KyfFocusComposition& session, std::uint32_t seed, KyiBool& owned) const {
        return kyf::Kyf2DSelectionAddImage(&session, Frame(seed).get(), 0, owned, GetParam().Parallel, nullptr);
    }
    // Brightness is selected from gray frames only.
    static test::Image Frame(std::uint32_t seed) {
        return test::TexturedImage(kWidth, kHeight, GetParam().ScopeType >= 2 ? KyiFormatGray8 : KyiFormatBgr24, seed);
    }

    const KyiImageData* m_whole = nullptr;
};

TEST_P(OutOfMemory, LeavesTheStackWhereItWasWhicheverAllocationOfAnAddFails) {
    const test::Session expected = Start();
    const test::Session session = Start();
    for (const std::uint32_t seed : {1u, 2u, 3u}) {
        const test::Image frame = Frame(seed);
        KyiBool owned = 0;
        ASSERT_EQ(Add(*expected, seed, owned), KyfResultOk);
        const std::int32_t count = session->State2D.FrameCount;
        int allocations = 0;
        const auto add = [&] {
            return kyf::Kyf2DSelectionAddImage(session.get(), frame.get(), 0, owned, GetParam().Parallel, nullptr);
        };
        while (allocations < kMostAllocations) {
            if (SurvivesAllocations(allocations, add)) break;
            ASSERT_EQ(session->State2D.FrameCount, count);
            ASSERT_EQ(owned, 0);
            ++allocations;
        }
        ASSERT_GT(allocations, 0);
        ASSERT_LT(allocations, kMostAllocations);
        EXPECT_EQ(expected->Matching2D.TotalShift, session->Matching2D.TotalShift);
        EXPECT_EQ(expected->Matching2D.MaxShift, session->Matching2D.MaxShift);
        EXPECT_EQ(expected->CommonRect.Left, session->CommonRect.Left);
        EXPECT_EQ(expected->CommonRect.Bottom, session->CommonRect.Bottom);
        EXPECT_TRUE(test::SameValues(test::BestFocus(*expected), test::BestFocus(*session)));
        EXPECT_TRUE(test::SameValues(test::BestFrames(*expected), test::BestFrames(*session)));
        EXPECT_TRUE(test::SameValues(test::Mask(*expected), test::Mask(*session)));
        EXPECT_TRUE(test::SameImage(*expected->State2D.CompImage, *session->State2D.CompImage));
    }
}

// Only the one allocation fails: the make has a result for each, and one more make mends what it left.
TEST_P(OutOfMemory, EndsAMakeWithAResultWhicheverAllocationFails) {
    for (const bool isLasting : {false, true})
        for (int n = 0;; ++n) {
            ASSERT_LT(n, kMostAllocations) << "never done";
            SCOPED_TRACE(testing::Message() << "allocation " << n << (isLasting ? " and all later ones" : ""));
            const test::Session session = Stack();
            KyfCompositionState& state = session->State2D;
            KyfResult result = 0;
            ASSERT_NO_THROW(result = RunWithout(n, Kind::Any, isLasting, [&] { return Make(*session); }));
            ASSERT_TRUE(result == KyfResultOk || result == KyfResultFailAlloc) << result;
            ASSERT_NE(state.CompImage, nullptr);
            if (result == KyfResultOk && state.CuttedAntNoiseHeightDataMap) break; // nothing has failed any more
            ASSERT_EQ(Make(*session), KyfResultOk);
            ASSERT_NE(state.CuttedAntNoiseHeightDataMap, nullptr);
        }
}

// Pages in their order: rows and samples of the heights, of their copy, of the two cut tables.
TEST_P(OutOfMemory, LeavesHeightsOutOfAMakeThatHasNoMemoryForThem) {
    for (const int page : {0, 1}) {
        const test::Session session = Stack();
        const KyfCompositionState& state = session->State2D;
        EXPECT_EQ(RunWithout(page, Kind::Pages, false, [&] { return Make(*session); }), KyfResultOk);
        EXPECT_EQ(state.HeightDataMap, nullptr);
        EXPECT_EQ(state.AntNoiseHeightDataMap, nullptr);
        EXPECT_EQ(state.CuttedHeightDataMap, nullptr);
        EXPECT_EQ(state.CuttedAntNoiseHeightDataMap, nullptr);
        EXPECT_EQ(session->CuttedBestFocusMap, nullptr);
        EXPECT_EQ(state.CuttedWidth, 0);
        EXPECT_NE(state.CompImage, m_whole);
    }
}

TEST_P(OutOfMemory, EndsAMakeThatCannotCopyTheHeights) {
    for (const int page : {2, 3}) {
        const test::Session session = Stack();
        const KyfCompositionState& state = session->State2D;
        EXPECT_EQ(RunWithout(page, Kind::Pages, false, [&] { return Make(*session); }), KyfResultFailAlloc);
        EXPECT_NE(state.HeightDataMap, nullptr);
        EXPECT_EQ(state.AntNoiseHeightDataMap, nullptr);
        EXPECT_EQ(state.CuttedHeightDataMap, nullptr);
        EXPECT_EQ(state.CompImage, m_whole);
        KyfFocusTerminate(session.get());
        EXPECT_EQ(state.HeightDataMap, nullptr);
    }
}

TEST_P(OutOfMemory, KeepsTheCutImageButNoneOfThePairWhereATableCannotBeHad) {
    for (const int page : {4, 5, 6, 7}) {
        const test::Session session = Stack();
        const KyfCompositionState& state = session->State2D;
        EXPECT_EQ(RunWithout(page, Kind::Pages, false, [&] { return Make(*session); }), KyfResultFailAlloc);
        EXPECT_NE(state.AntNoiseHeightDataMap, nullptr);
        EXPECT_NE(state.CompImage, m_whole);
        EXPECT_EQ(state.CuttedHeightDataMap, nullptr);
        EXPECT_EQ(state.CuttedAntNoiseHeightDataMap, nullptr);
        EXPECT_EQ(state.CuttedWidth, 0);
    }
}

TEST_P(OutOfMemory, LeavesTheImageUncutWhereTheCutCannotBeHad) {
    const test::Session session = Stack();
    EXPECT_EQ(RunWithout(0, Kind::Images, false, [&] { return Make(*session); }), KyfResultFailAlloc);
    EXPECT_EQ(session->State2D.CompImage, m_whole);
    EXPECT_EQ(session->State2D.CompImage->Width, kWidth);
    EXPECT_EQ(session->State2D.CuttedHeightDataMap, nullptr);
}

TEST_P(OutOfMemory, LosesOnlyTheSmoothedHeightsWhereTheFilterHasNoScratch) {
    if (!KY_OWN_OPERATORS) GTEST_SKIP() << "the sanitizer's operators do not fail";
    const test::Session session = Stack();
    const KyfCompositionState& state = session->State2D;
    EXPECT_EQ(RunWithout(0, Kind::AlignedHeap, false, [&] { return Make(*session); }), KyfResultFailAlloc);
    EXPECT_NE(state.CuttedHeightDataMap, nullptr);
    EXPECT_EQ(state.CuttedAntNoiseHeightDataMap, nullptr);
    EXPECT_NE(session->CuttedBestFocusMap, nullptr);
}

TEST(HeightMapPair, KeepsItsFirstTableWhereTheSecondCannotBeHad) {
    for (const int page : {0, 1, 2, 3}) {
        double** first = nullptr;
        double** second = nullptr;
        const KyfResult result = RunWithout(page, Kind::Pages, false, [&] {
            kyf::AllocHeightMapPair(&first, &second, 6, 4);
            return KyfResultOk;
        });
        EXPECT_EQ(result, KyfResultOk);
        EXPECT_EQ(first != nullptr, page >= 2);
        EXPECT_EQ(second, nullptr);
        if (first) first[3][5] = 1.0;
        kyf::FreeHeightMapPair(&first, &second);
    }
}

INSTANTIATE_TEST_SUITE_P(Settings, OutOfMemory,
                         testing::Values(AddCase{0, 0, 0}, AddCase{0, 0, 1}, AddCase{1, 0, 0}, AddCase{2, 0, 1},
                                         AddCase{0, 2, 1}, AddCase{0, 1, 1}, AddCase{1, 1, 0}, AddCase{0, 3, 0},
                                         AddCase{0, 0, 1, 1}, AddCase{1, 0, 0, 1}),
                         [](const auto& chosen) {
                             return "speed" + std::to_string(chosen.param.Speed) + "_scope" +
                                    std::to_string(chosen.param.ScopeType) + (chosen.param.AutoPos ? "_areas" : "") +
                                    (chosen.param.Parallel ? "_parallel" : "_sequential");
                         });

} // namespace
