// Calls in every wrong order: each pair of calls on one session, each call in every state, and long sequences by
// chance. Whatever the order, each call ends with a result of its own, and the session composes as a fresh one does.
#include <cstdlib>
#include <map>
#include <random>
#include <set>

#include <gtest/gtest.h>

#include "trust/session_calls.h"

namespace {

using test::Bench;
using test::SessionCall;

bool IsLong() { return std::getenv("KY_SOAK") != nullptr; }

/// Every ordered pair of numbers below `count`, one next to the other, in one cycle: the last goes with the first.
std::vector<std::size_t> AllPairs(std::size_t count) {
    std::vector<std::size_t> cycle;
    for (std::size_t a = 0; a < count; ++a) {
        cycle.push_back(a);
        for (std::size_t b = a + 1; b < count; ++b) cycle.insert(cycle.end(), {a, b});
    }
    return cycle;
}

/// How far a stack has come before the calls under test.
struct State {
    const char* Name;
    int Mode;
    int Frames;
    bool IsMade;
    bool IsExtracted;
    bool IsTerminated;
};

void BringTo(const State& state, Bench& bench) {
    bench.Initialize();
    KyiImageData* image = nullptr;
    bool isOk = state.Mode < 0 || bench.Start(state.Mode) == KyfResultOk;
    for (int i = 0; i < state.Frames; ++i) isOk = bench.Add() == KyfResultOk && isOk;
    if (state.IsMade) isOk = bench.Make() == KyfResultOk && isOk;
    if (state.IsExtracted) isOk = KyfFocusExtractCompImage(bench.Session(), &image) == KyfResultOk && isOk;
    KyiFreeImageData(image);
    ASSERT_TRUE(isOk);
    if (state.IsTerminated) KyfFocusTerminate(bench.Session());
}

const State kStates[] = {{"initialized", -1, 0, false, false, false}, {"started_2d", 0, 0, false, false, false},
                         {"started_3d", 1, 0, false, false, false},   {"started_both", 2, 0, false, false, false},
                         {"added_2d", 0, 2, false, false, false},     {"added_3d", 1, 2, false, false, false},
                         {"added_both", 2, 2, false, false, false},   {"made_2d", 0, 2, true, false, false},
                         {"made_3d", 1, 2, true, false, false},       {"made_both", 2, 2, true, false, false},
                         {"extracted_2d", 0, 2, true, true, false},   {"extracted_3d", 1, 2, true, true, false},
                         {"extracted_both", 2, 2, true, true, false}, {"terminated_2d", 0, 2, false, false, true},
                         {"terminated_3d", 1, 2, true, false, true}};

class CallOrders : public testing::Test {
  protected:
    CallOrders() {
        for (int mode = 0; mode < 3; ++mode) {
            Bench fresh;
            m_expected.push_back(fresh.ComposeAnew(mode));
        }
    }
    void ExpectFit(Bench& bench) const {
        for (std::size_t mode = 0; mode < m_expected.size(); ++mode) {
            const test::Image image = bench.ComposeAnew(static_cast<int>(mode));
            ASSERT_TRUE(image && m_expected[mode]);
            EXPECT_TRUE(test::SameImage(*m_expected[mode], *image));
        }
    }

  private:
    std::vector<test::Image> m_expected;
};

TEST(AllPairsOfCalls, AreInTheCycleOnce) {
    const std::size_t count = test::SessionCalls().size();
    ASSERT_EQ(count, 40U);
    const std::vector<std::size_t> cycle = AllPairs(count);
    std::vector<int> seen(count * count);
    for (std::size_t i = 0; i < cycle.size(); ++i) ++seen[cycle[i] * count + cycle[(i + 1) % cycle.size()]];
    EXPECT_EQ(seen, std::vector<int>(count * count, 1));
}

TEST_F(CallOrders, EveryPairOfCallsEndsAsTold) {
    const std::vector<SessionCall>& calls = test::SessionCalls();
    Bench bench;
    for (const State& state : kStates) {
        SCOPED_TRACE(state.Name);
        BringTo(state, bench);
        for (const std::size_t index : AllPairs(calls.size())) ASSERT_TRUE(test::RunsAsTold(calls[index], bench));
        ExpectFit(bench);
    }
}

TEST_F(CallOrders, EveryCallInEveryStateLeavesASessionThatIsFit) {
    Bench bench;
    for (const State& state : kStates)
        for (const SessionCall& call : test::SessionCalls()) {
            SCOPED_TRACE(std::string(state.Name) + ", " + call.Name);
            BringTo(state, bench);
            ASSERT_TRUE(test::RunsAsTold(call, bench));
            ASSERT_TRUE(test::RunsAsTold(call, bench)) << "once more";
            if (!IsLong()) continue;
            for (const SessionCall& next : test::SessionCalls()) {
                BringTo(state, bench);
                ASSERT_TRUE(test::RunsAsTold(call, bench));
                ASSERT_TRUE(test::RunsAsTold(next, bench));
            }
        }
    ExpectFit(bench);
}

TEST_F(CallOrders, LongSequencesByChanceEndAsTold) {
    const std::vector<SessionCall>& calls = test::SessionCalls();
    const unsigned sequences = IsLong() ? 2000 : 200;
    constexpr int kLength = 60;
    std::map<std::string, std::set<KyfResult>> seen;
    for (unsigned seed = 1; seed <= sequences; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        Bench bench;
        BringTo(kStates[random() % std::size(kStates)], bench);
        for (int i = 0; i < kLength; ++i) {
            // Life calls, which come first, begin anew: one in eight, so that stacks get on.
            const std::size_t first = random() % 8 == 0 ? 0 : 8;
            const SessionCall& call = calls[first + random() % (calls.size() - first)];
            KyfResult result = 0;
            ASSERT_TRUE(test::RunsAsTold(call, bench, &result));
            seen[call.Name].insert(result);
        }
        if (seed % 20 == 0) ExpectFit(bench);
    }
    // A result that never comes would be allowed for nothing.
    for (const SessionCall& call : calls)
        EXPECT_EQ(seen[call.Name], std::set<KyfResult>(call.Results.begin(), call.Results.end())) << call.Name;
}

} // namespace
